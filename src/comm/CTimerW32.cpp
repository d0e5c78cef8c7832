#include "CTimerW32.h"

CTimerW32::CTimerW32()
{
    m_timer = CreateWaitableTimerA(nullptr, FALSE, nullptr);
    m_thread = CreateThread(nullptr, 0, &CTimerW32::ThreadEntry, this, 0, nullptr);
}

CTimerW32::~CTimerW32()
{
    StopThread();
}

bool CTimerW32::Start(int milliseconds)
{
    if (m_timer == nullptr || milliseconds < 0)
        return false;
    m_period = milliseconds;
    LARGE_INTEGER due;
    due.QuadPart = -static_cast<LONGLONG>(milliseconds) * 10000;
    return SetWaitableTimer(m_timer, &due, 0, nullptr, nullptr, FALSE) == 1;
}

bool CTimerW32::Stop()
{
    if (m_timer == nullptr)
        return false;
    return CancelWaitableTimer(m_timer) != 0;
}

void CTimerW32::StopThread()
{
    if (m_timer != nullptr) {
        CancelWaitableTimer(m_timer);
        CloseHandle(m_timer);
        m_timer = nullptr;
    }
    if (m_thread != nullptr) {
        if (GetThreadId(m_thread) != GetCurrentThreadId())
            WaitForSingleObject(m_thread, INFINITE);
        CloseHandle(m_thread);
        m_thread = nullptr;
    }
}

DWORD WINAPI CTimerW32::ThreadEntry(LPVOID self)
{
    return static_cast<CTimerW32 *>(self)->ThreadProc();
}

DWORD CTimerW32::ThreadProc()
{
    const HANDLE timer = m_timer;
    if (timer == nullptr)
        return 1;
    for (;;) {
        const DWORD result = WaitForSingleObject(timer, INFINITE);
        if (result == WAIT_OBJECT_0)
            OnExpired();
        else if (result == WAIT_FAILED)
            return 2;
    }
}
