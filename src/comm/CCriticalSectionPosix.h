#pragma once

#include "CCriticalSectionBase.h"

#include <mutex>

// The lock on POSIX systems: a recursive mutex, re-entrant like a Win32 critical section.
class CCriticalSectionPosix : public CCriticalSectionBase
{
public:
    void Enter() override { m_mutex.lock(); }
    bool TryEnter() override { return m_mutex.try_lock(); }
    void Leave() override { m_mutex.unlock(); }

private:
    std::recursive_mutex m_mutex;
};
