// Figures for the port and timer stand-ins: one-shot timer precision, pseudo-terminal latency,
// and the CPU an open idle port with two armed timers uses. Prints figures; asserts nothing.
#include "PtyPair.h"
#include "comm/CAsyncPosix.h"
#include "comm/CTimerPosix.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <mutex>
#include <sys/resource.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

struct Summary
{
    double median;
    double p99;
    double max;
};

Summary Summarise(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const auto at = [&](double q) { return values[std::min(values.size() - 1, std::size_t(q * values.size()))]; };
    return {at(0.5), at(0.99), values.back()};
}

class ExpiryTimer : public CTimerPosix
{
public:
    ~ExpiryTimer() override { StopThread(); }
    void OnExpired() override
    {
        std::lock_guard lock(mutex);
        expiredAt = Clock::now();
        expired = true;
        changed.notify_all();
    }
    Clock::time_point WaitExpiry()
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return expired; });
        expired = false;
        return expiredAt;
    }
    std::mutex mutex;
    std::condition_variable changed;
    bool expired = false;
    Clock::time_point expiredAt;
};

void TimerPrecision(int milliseconds, int runs)
{
    ExpiryTimer timer;
    std::vector<double> errors;
    for (int i = 0; i < runs; ++i) {
        const auto started = Clock::now();
        timer.Start(milliseconds);
        const auto expired = timer.WaitExpiry();
        const double elapsed = std::chrono::duration<double, std::milli>(expired - started).count();
        errors.push_back(elapsed - milliseconds);
    }
    const Summary s = Summarise(errors);
    std::printf("timer %4d ms one-shot, %d runs: error median %.3f ms, p99 %.3f ms, max %.3f ms\n",
                milliseconds, runs, s.median, s.p99, s.max);
}

class LatencyPort : public CAsyncPosix
{
public:
    ~LatencyPort() override { Close(); }
    void OnReceive(const ByteVector &data) override
    {
        std::lock_guard lock(mutex);
        receivedAt = Clock::now();
        received += data.size();
        changed.notify_all();
    }
    void ReportError(const std::string &text) override { std::fprintf(stderr, "%s\n", text.c_str()); }
    Clock::time_point WaitBytes(std::size_t total)
    {
        std::unique_lock lock(mutex);
        changed.wait(lock, [&] { return received >= total; });
        return receivedAt;
    }
    std::mutex mutex;
    std::condition_variable changed;
    std::size_t received = 0;
    Clock::time_point receivedAt;
};

void PortLatency(int runs)
{
    PtyPair pty;
    LatencyPort port;
    if (!port.Open(pty.SlavePath().toStdString()) || !port.Configure(10, 1, 0, 1)) {
        std::printf("port latency: could not open a pseudo-terminal\n");
        return;
    }
    std::vector<double> inbound;
    std::vector<double> outbound;
    for (int i = 0; i < runs; ++i) {
        const auto written = Clock::now();
        pty.Write(QByteArray("\xE5", 1));
        inbound.push_back(std::chrono::duration<double, std::micro>(port.WaitBytes(i + 1) - written).count());

        const auto sent = Clock::now();
        port.Tx({0x10, 0x5B, 0x01, 0x5C, 0x16});
        pty.Read(5, 1000);
        outbound.push_back(std::chrono::duration<double, std::micro>(Clock::now() - sent).count());
    }
    const Summary in = Summarise(inbound);
    const Summary out = Summarise(outbound);
    std::printf("pty far end write -> OnReceive, %d runs: median %.0f us, p99 %.0f us\n", runs, in.median, in.p99);
    std::printf("pty Tx -> far end read, %d runs: median %.0f us, p99 %.0f us\n", runs, out.median, out.p99);
}

class IdleTimer : public CTimerPosix
{
public:
    ~IdleTimer() override { StopThread(); }
    void OnExpired() override {}
};

double CpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void IdleCpu(int seconds)
{
    PtyPair pty;
    LatencyPort port;
    port.Open(pty.SlavePath().toStdString());
    port.Configure(6, 1, 0, 1);
    IdleTimer response;
    IdleTimer poll;
    response.Start(seconds * 10000);
    poll.Start(seconds * 10000);
    const double before = CpuSeconds();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const double used = CpuSeconds() - before;
    std::printf("open idle port + two armed timers: %.3f ms CPU in %d s (%.4f%% of a core)\n",
                used * 1000.0, seconds, used * 100.0 / seconds);
}

} // namespace

int main()
{
    TimerPrecision(1, 200);
    TimerPrecision(100, 200);
    TimerPrecision(250, 200);
    PortLatency(1000);
    IdleCpu(5);
    return 0;
}
