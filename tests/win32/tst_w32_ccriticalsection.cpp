// CCriticalSectionW32 run for real (on Windows or under wine): re-entrant on one thread,
// exclusive across two.
#include "TestRunner.h"
#include "W32Event.h"
#include "W32Support.h"
#include "comm/CCriticalSectionW32.h"

#include <atomic>

using namespace W32Support;

namespace {

constexpr DWORD kGenerousMs = 5000;

// Runs a function on a thread of its own and joins it when it goes out of scope.
class Worker
{
public:
    template<typename Function>
    explicit Worker(Function function)
        : m_function(function)
        , m_thread(CreateThread(nullptr, 0, &Worker::Entry, this, 0, nullptr))
    {
    }
    ~Worker() { Join(); }
    bool Join()
    {
        if (m_thread == nullptr)
            return false;
        const bool ended = WaitForSingleObject(m_thread, kGenerousMs) == WAIT_OBJECT_0;
        CloseHandle(m_thread);
        m_thread = nullptr;
        return ended;
    }

private:
    static DWORD WINAPI Entry(LPVOID self)
    {
        static_cast<Worker *>(self)->m_function();
        return 0;
    }
    std::function<void()> m_function;
    HANDLE m_thread;
};

} // namespace

W32_TEST(reentrantOnOneThread)
{
    CCriticalSectionW32 lock;
    lock.Enter();
    lock.Enter();
    W32_CHECK(lock.TryEnter());
    lock.Leave();
    lock.Leave();
    lock.Leave();
    // Left as often as entered: another thread gets it now.
    std::atomic<bool> taken {false};
    Worker other([&] {
        taken = lock.TryEnter();
        if (taken)
            lock.Leave();
    });
    W32_CHECK(other.Join());
    W32_CHECK(taken.load());
}

W32_TEST(tryEnterFailsWhileAnotherThreadHoldsIt)
{
    CCriticalSectionW32 lock;
    lock.Enter();
    std::atomic<bool> taken {true};
    Worker other([&] { taken = lock.TryEnter(); });
    W32_CHECK(other.Join());
    lock.Leave();
    W32_CHECK(!taken.load());
}

W32_TEST(enterWaitsUntilTheHolderLeaves)
{
    CCriticalSectionW32 lock;
    Event entered;
    lock.Enter();
    Worker other([&] {
        lock.Enter();
        entered.Set();
        lock.Leave();
    });
    const bool early = entered.Wait(200);
    lock.Leave();
    W32_CHECK(!early);
    W32_CHECK(entered.Wait(kGenerousMs));
}

W32_TEST(exclusiveAcrossTwoThreads)
{
    CCriticalSectionW32 lock;
    constexpr int kRounds = 100000;
    int counter = 0; // plain on purpose: only the lock keeps the two threads apart
    bool overlapped = false;
    int inside = 0;
    auto work = [&] {
        for (int i = 0; i < kRounds; ++i) {
            lock.Enter();
            overlapped = overlapped || ++inside != 1;
            ++counter;
            --inside;
            lock.Leave();
        }
    };
    {
        Worker a(work), b(work);
        W32_CHECK(a.Join() && b.Join());
    }
    W32_CHECK(!overlapped);
    W32_CHECK_EQ(counter, 2 * kRounds);
}

int main(int argc, char **argv)
{
    return TestRunner::Run(argc, argv);
}
