#pragma once

#include "CTimer.h"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

// The timer on POSIX systems: one thread per timer that sleeps on a condition variable until the
// deadline (monotonic clock) and then calls OnExpired. Idle timers use no CPU.
class CTimerPosix : public CTimer
{
public:
    CTimerPosix();
    ~CTimerPosix() override;

    bool Start(int milliseconds) override;
    bool Stop() override;

protected:
    // Ends the timer thread and waits for it. A class that overrides OnExpired calls this in its
    // own destructor, so that no expiry can reach an object that is being destroyed.
    void StopThread();

private:
    void ThreadProc();

    std::mutex m_mutex;
    std::condition_variable m_wake;
    std::chrono::steady_clock::time_point m_deadline;
    bool m_armed = false;
    bool m_quit = false;
    std::thread m_thread;
};
