#pragma once

#include "CTimer.h"

#include <windows.h>

// The timer on Windows: a waitable synchronisation timer with a thread of its own.
class CTimerW32 : public CTimer
{
public:
    CTimerW32();
    ~CTimerW32() override;

    bool Start(int milliseconds) override;
    bool Stop() override;

protected:
    // Closes the timer and waits for its thread; a class overriding OnExpired calls this in its
    // own destructor.
    void StopThread();

private:
    static DWORD WINAPI ThreadEntry(LPVOID self);
    DWORD ThreadProc();

    HANDLE m_timer = nullptr;
    HANDLE m_thread = nullptr;
};
