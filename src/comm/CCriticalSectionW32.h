#pragma once

#include "CCriticalSectionBase.h"

#include <windows.h>

// The lock on Windows: a critical section allocated with the lock and freed with it.
class CCriticalSectionW32 : public CCriticalSectionBase
{
public:
    CCriticalSectionW32();
    ~CCriticalSectionW32() override;

    void Enter() override;
    bool TryEnter() override;
    void Leave() override;

private:
    CRITICAL_SECTION *m_section;
};
