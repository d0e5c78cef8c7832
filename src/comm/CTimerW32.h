#pragma once

#include "CCriticalSectionW32.h"
#include "CTimer.h"

#include <memory>

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
    // Cancels and closes the timer and lets its thread end by itself; the thread handle is not
    // waited for. Only an expiry that is running on another thread at this moment is let finish
    // first, so that no expiry reaches an object that is being destroyed; called from inside the
    // expiry it returns at once. A class overriding OnExpired calls this in its own destructor.
    void StopThread();

private:
    // What the timer thread needs. It outlives the timer object when the thread is still
    // waiting, so the thread never touches a destroyed object.
    struct ThreadState
    {
        HANDLE timer = nullptr;         // the thread's own handle of the waitable timer
        CTimerW32 *owner = nullptr;     // null once the timer is shut down
        CCriticalSectionW32 expiryLock; // held while OnExpired runs
    };

    bool StartTimerThread();
    static DWORD WINAPI ThreadProc(LPVOID state);
    static bool Expire(ThreadState &state);

    HANDLE m_timer = nullptr;
    HANDLE m_thread = nullptr;
    std::shared_ptr<ThreadState> m_state;
};
