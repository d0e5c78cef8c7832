// CTimerW32 run for real (on Windows or under wine): one-shot precision, the edge cases of Start,
// Stop and Restart, re-arming from inside the expiry, one thread per timer, and a shut-down that
// returns at once without waiting for the timer's thread.
#include "TestRunner.h"
#include "W32Event.h"
#include "W32Support.h"
#include "comm/CTimerW32.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <functional>
#include <vector>

using namespace W32Support;

namespace {

constexpr DWORD kGenerousMs = 5000; // far beyond any expiry the tests wait for
constexpr DWORD kQuietMs = 400;     // a cancelled or refused timer must stay silent this long

class ExpiryTimer : public CTimerW32
{
public:
    ~ExpiryTimer() override { StopThread(); }
    void OnExpired() override
    {
        expiredAt = Clock::now();
        threadId = GetCurrentThreadId();
        ++expiries;
        if (onExpired)
            onExpired(*this);
        expired.Set();
    }
    Event expired;
    std::atomic<int> expiries {0};
    std::atomic<DWORD> threadId {0};
    Clock::time_point expiredAt;
    std::function<void(ExpiryTimer &)> onExpired;
};

// Deletes itself in its expiry, as an owner may do that drops a timer from its own callback.
class SelfDeletingTimer : public CTimerW32
{
public:
    explicit SelfDeletingTimer(Event &gone)
        : m_gone(gone)
    {
    }
    ~SelfDeletingTimer() override { StopThread(); }
    void OnExpired() override
    {
        Event &gone = m_gone;
        delete this;
        gone.Set();
    }

private:
    Event &m_gone;
};

struct Figures
{
    double median, p99, max;
};

Figures Summarise(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) { return values[std::min(values.size() - 1, std::size_t(q * values.size()))]; };
    return {at(0.5), at(0.99), values.back()};
}

// Runs one-shots of `ms` and prints the error figures in the format of the POSIX timer bench.
void OneShots(int ms, int runs)
{
    ExpiryTimer timer;
    std::vector<double> errors;
    for (int i = 0; i < runs; ++i) {
        const auto started = Clock::now();
        W32_CHECK(timer.Start(ms));
        W32_CHECK(timer.expired.Wait(kGenerousMs));
        const double elapsed = std::chrono::duration<double, std::milli>(timer.expiredAt - started).count();
        // A one-shot never expires early; the half millisecond covers the two clocks involved.
        W32_CHECK(elapsed >= ms - 0.5);
        errors.push_back(elapsed - ms);
    }
    const Figures f = Summarise(errors);
    std::printf("timer %4d ms one-shot, %d runs: error median %.3f ms, p99 %.3f ms, max %.3f ms\n", ms, runs,
                f.median, f.p99, f.max);
}

} // namespace

W32_TEST(oneShotsAt1ms)
{
    OneShots(1, 100);
}

W32_TEST(oneShotsAt100ms)
{
    OneShots(100, 10);
}

W32_TEST(oneShotsAt250ms)
{
    OneShots(250, 6);
}

W32_TEST(startZeroExpiresAtOnce)
{
    ExpiryTimer timer;
    const auto started = Clock::now();
    W32_CHECK(timer.Start(0));
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    std::printf("       Start(0) expired after %.3f ms\n", MillisecondsSince(started));
    W32_CHECK_EQ(timer.Period(), 0);
}

W32_TEST(startOneIsAKick)
{
    ExpiryTimer timer;
    W32_CHECK(timer.Start(1));
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    W32_CHECK_EQ(timer.expiries.load(), 1);
}

W32_TEST(startNegativeIsRefusedAndLeavesArmedTimer)
{
    ExpiryTimer timer;
    const auto started = Clock::now();
    W32_CHECK(timer.Start(300));
    W32_CHECK(!timer.Start(-1));
    W32_CHECK_EQ(timer.Period(), 300);
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    W32_CHECK(MillisecondsSince(started) >= 299.5);
}

W32_TEST(startNegativeIsRefusedAndLeavesIdleTimer)
{
    ExpiryTimer timer;
    W32_CHECK(!timer.Start(-1));
    W32_CHECK_EQ(timer.Period(), 0);
    W32_CHECK(!timer.expired.Wait(kQuietMs));
}

W32_TEST(stopCancelsArmedTimer)
{
    ExpiryTimer timer;
    W32_CHECK(timer.Start(100));
    W32_CHECK(timer.Stop());
    W32_CHECK(!timer.expired.Wait(kQuietMs));
    W32_CHECK_EQ(timer.expiries.load(), 0);
}

W32_TEST(stopOnIdleTimerSucceeds)
{
    ExpiryTimer timer;
    W32_CHECK(timer.Stop());
    W32_CHECK(!timer.expired.Wait(kQuietMs));
}

W32_TEST(restartUsesLastPeriod)
{
    ExpiryTimer timer;
    W32_CHECK(timer.Start(50));
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    const auto restarted = Clock::now();
    W32_CHECK(timer.Restart());
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    W32_CHECK(MillisecondsSince(restarted) >= 49.5);
    W32_CHECK_EQ(timer.expiries.load(), 2);
    W32_CHECK_EQ(timer.Period(), 50);
}

W32_TEST(startOnArmedTimerRearmsWithNewTime)
{
    ExpiryTimer timer;
    W32_CHECK(timer.Start(60000));
    W32_CHECK(timer.Start(20));
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    // One-shot: the first time was replaced, nothing more comes.
    W32_CHECK(!timer.expired.Wait(kQuietMs));
    W32_CHECK_EQ(timer.expiries.load(), 1);
}

W32_TEST(rearmFromInsideExpiry)
{
    ExpiryTimer timer;
    Event third;
    timer.onExpired = [&](ExpiryTimer &self) {
        if (self.expiries.load() < 3)
            self.Start(5);
        else
            third.Set();
    };
    W32_CHECK(timer.Start(5));
    W32_CHECK(third.Wait(kGenerousMs));
    W32_CHECK(!third.Wait(kQuietMs));
    W32_CHECK_EQ(timer.expiries.load(), 3);
}

W32_TEST(busyFlagStaysFalse)
{
    ExpiryTimer timer;
    W32_CHECK(!timer.IsBusy());
    W32_CHECK(timer.Start(10));
    W32_CHECK(!timer.IsBusy());
    W32_CHECK(timer.expired.Wait(kGenerousMs));
    W32_CHECK(!timer.IsBusy());
    W32_CHECK(timer.Stop());
    W32_CHECK(!timer.IsBusy());
}

W32_TEST(oneThreadPerTimer)
{
    const int before = SettledThreadCount();
    {
        ExpiryTimer a, b, c;
        W32_CHECK(WaitForThreadCount(before + 3, kGenerousMs));
        for (ExpiryTimer *timer : {&a, &b, &c})
            W32_CHECK(timer->Start(1));
        for (ExpiryTimer *timer : {&a, &b, &c})
            W32_CHECK(timer->expired.Wait(kGenerousMs));
        const DWORD main = GetCurrentThreadId();
        W32_CHECK(a.threadId != main && b.threadId != main && c.threadId != main);
        W32_CHECK(a.threadId != b.threadId && b.threadId != c.threadId && a.threadId != c.threadId);
    }
    // Their threads end by themselves once the timers are gone.
    W32_CHECK(WaitForThreadCount(before, kGenerousMs));
}

W32_TEST(destructionWhileArmedReturnsAtOnce)
{
    const int before = SettledThreadCount();
    auto *timer = new ExpiryTimer;
    W32_CHECK(timer->Start(200));
    const auto began = Clock::now();
    delete timer;
    const double ms = MillisecondsSince(began);
    std::printf("       destroying an armed timer took %.3f ms\n", ms);
    W32_CHECK(ms < 150.0); // well before the expiry it was armed for
    W32_CHECK(WaitForThreadCount(before, kGenerousMs));
}

W32_TEST(destructionWhileIdleReturnsAtOnce)
{
    const int before = SettledThreadCount();
    auto *timer = new ExpiryTimer;
    W32_CHECK(WaitForThreadCount(before + 1, kGenerousMs));
    const auto began = Clock::now();
    delete timer;
    std::printf("       destroying an idle timer took %.3f ms\n", MillisecondsSince(began));
    W32_CHECK(WaitForThreadCount(before, kGenerousMs));
}

W32_TEST(destructionLetsRunningExpiryFinish)
{
    auto *timer = new ExpiryTimer;
    Event entered, release, destroyed;
    timer->onExpired = [&](ExpiryTimer &) {
        entered.Set();
        release.Wait(kGenerousMs);
    };
    W32_CHECK(timer->Start(0));
    W32_CHECK(entered.Wait(kGenerousMs));
    struct Job
    {
        ExpiryTimer *timer;
        Event *destroyed;
    } job {timer, &destroyed};
    const HANDLE thread = CreateThread(
        nullptr, 0,
        [](LPVOID p) -> DWORD {
            auto *job = static_cast<Job *>(p);
            delete job->timer;
            job->destroyed->Set();
            return 0;
        },
        &job, 0, nullptr);
    W32_CHECK(thread != nullptr);
    // The expiry is still running on the timer's thread: the object must outlive it.
    const bool early = destroyed.Wait(200);
    release.Set();
    const bool finished = destroyed.Wait(kGenerousMs);
    WaitForSingleObject(thread, kGenerousMs);
    CloseHandle(thread);
    W32_CHECK(!early);
    W32_CHECK(finished);
}

W32_TEST(destructionFromInsideExpiry)
{
    const int before = SettledThreadCount();
    Event gone;
    auto *timer = new SelfDeletingTimer(gone);
    W32_CHECK(timer->Start(1));
    W32_CHECK(gone.Wait(kGenerousMs));
    W32_CHECK(WaitForThreadCount(before, kGenerousMs));
}

int main(int argc, char **argv)
{
    return TestRunner::Run(argc, argv);
}
