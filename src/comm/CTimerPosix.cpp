#include "CTimerPosix.h"

CTimerPosix::CTimerPosix()
    : m_thread([this] { ThreadProc(); })
{
}

CTimerPosix::~CTimerPosix()
{
    StopThread();
}

bool CTimerPosix::Start(int milliseconds)
{
    if (milliseconds < 0)
        return false;
    {
        std::lock_guard lock(m_mutex);
        m_period = milliseconds;
        m_deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(milliseconds);
        m_armed = true;
    }
    m_wake.notify_one();
    return true;
}

bool CTimerPosix::Stop()
{
    {
        std::lock_guard lock(m_mutex);
        m_armed = false;
    }
    m_wake.notify_one();
    return true;
}

void CTimerPosix::StopThread()
{
    {
        std::lock_guard lock(m_mutex);
        m_quit = true;
        m_armed = false;
    }
    m_wake.notify_one();
    if (m_thread.joinable() && m_thread.get_id() != std::this_thread::get_id())
        m_thread.join();
    else if (m_thread.joinable())
        m_thread.detach();
}

void CTimerPosix::ThreadProc()
{
    std::unique_lock lock(m_mutex);
    while (!m_quit) {
        if (!m_armed) {
            m_wake.wait(lock);
            continue;
        }
        if (m_wake.wait_until(lock, m_deadline) == std::cv_status::timeout && m_armed && !m_quit
            && std::chrono::steady_clock::now() >= m_deadline) {
            // One-shot: disarm before the callback, which may arm the timer again.
            m_armed = false;
            lock.unlock();
            OnExpired();
            lock.lock();
        }
    }
}
