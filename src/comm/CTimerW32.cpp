#include "CTimerW32.h"

CTimerW32::CTimerW32()
    : m_state(std::make_shared<ThreadState>())
{
    m_state->owner = this;
    m_timer = CreateWaitableTimerA(nullptr, FALSE, nullptr);
    if (m_timer != nullptr && !StartTimerThread()) {
        // Without its thread the timer would never expire: Start refuses it.
        CloseHandle(m_timer);
        m_timer = nullptr;
    }
}

// The thread waits on a handle of its own, so closing ours never leaves it waiting on a handle
// value that the system may already have given to another object. The thread owns that handle
// once it runs; until then a failure closes it here.
bool CTimerW32::StartTimerThread()
{
    if (!DuplicateHandle(GetCurrentProcess(), m_timer, GetCurrentProcess(), &m_state->timer, 0, FALSE,
                         DUPLICATE_SAME_ACCESS)) {
        m_state->timer = nullptr;
        return false;
    }
    auto *threadState = new std::shared_ptr<ThreadState>(m_state);
    m_thread = CreateThread(nullptr, 0, &CTimerW32::ThreadProc, threadState, 0, nullptr);
    if (m_thread != nullptr)
        return true;
    delete threadState;
    CloseHandle(m_state->timer);
    m_state->timer = nullptr;
    return false;
}

CTimerW32::~CTimerW32()
{
    StopThread();
}

bool CTimerW32::Start(int milliseconds)
{
    if (m_timer == nullptr || m_thread == nullptr || milliseconds < 0)
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
    m_state->expiryLock.Enter();
    m_state->owner = nullptr;
    m_state->expiryLock.Leave();
    if (m_timer != nullptr) {
        // Windows does not end a wait that is in progress when the handle waited on is closed,
        // so the thread would wait for ever. Instead the timer expires at once: the thread
        // wakes, finds no owner and ends by itself. Nobody waits for it.
        LARGE_INTEGER now;
        now.QuadPart = 0;
        SetWaitableTimer(m_timer, &now, 0, nullptr, nullptr, FALSE);
        CloseHandle(m_timer);
        m_timer = nullptr;
    }
    if (m_thread != nullptr)
        CloseHandle(m_thread);
    m_thread = nullptr;
}

DWORD WINAPI CTimerW32::ThreadProc(LPVOID state)
{
    const std::unique_ptr<std::shared_ptr<ThreadState>> owned(static_cast<std::shared_ptr<ThreadState> *>(state));
    ThreadState &shared = **owned;
    for (;;) {
        const DWORD result = WaitForSingleObject(shared.timer, INFINITE);
        if (result == WAIT_FAILED || (result == WAIT_OBJECT_0 && !Expire(shared))) {
            CloseHandle(shared.timer);
            return 2;
        }
    }
}

// Calls OnExpired unless the timer has been shut down; false when the thread is to end.
bool CTimerW32::Expire(ThreadState &state)
{
    state.expiryLock.Enter();
    if (state.owner != nullptr)
        state.owner->OnExpired();
    // OnExpired may have shut its own timer down.
    const bool alive = state.owner != nullptr;
    state.expiryLock.Leave();
    return alive;
}
