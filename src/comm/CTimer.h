#pragma once

#include <atomic>

// A one-shot millisecond timer whose expiry is delivered on a thread of its own.
class CTimer
{
public:
    CTimer() = default;
    virtual ~CTimer() = default;
    CTimer(const CTimer &) = delete;
    CTimer &operator=(const CTimer &) = delete;

    // Arms the timer once; re-arms it with the new time when it is already armed. Refused
    // (false) for a negative time, which leaves the timer as it was.
    virtual bool Start(int milliseconds) = 0;
    // Arms the timer once more with the period of the last Start.
    virtual bool Restart() { return Start(m_period.load()); }
    virtual bool Stop() = 0;
    // Called on the timer's own thread at each expiry.
    virtual void OnExpired() = 0;

    int Period() const { return m_period.load(); }
    // The busy flag: the timer never sets it, so it stays false for the timer's whole life.
    bool IsBusy() const { return m_busy.load(); }

protected:
    std::atomic<int> m_period{0};
    std::atomic<bool> m_busy{false};
};
