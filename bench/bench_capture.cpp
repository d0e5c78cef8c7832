// What a line capture costs: a session of the link with the simulated head at 115200 baud, once
// without and once with a capture running (the same polls, every chunk also queued and written by
// the capture's writer thread). Prints the CPU time the master used and how late each poll followed
// the head's answer (the link waits 250 ms); asserts nothing. BENCH_CAPTURE_SECONDS shortens the
// sessions (default 60 s each).
#include "RecordingDevice.h"
#include "SimProcess.h"
#include "capture/CLineCapture.h"
#include "comm/CAsync.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>
#include <mutex>
#include <sys/resource.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;
constexpr int kBaudIndex115200 = 10;
constexpr double kPollIntervalMs = 250.0;

// A device that notes when each telegram was sent and received.
class TimingDevice : public RecordingDevice
{
public:
    ~TimingDevice() override { ShutDown(); }
    std::vector<double> PollLateness() const
    {
        std::lock_guard lock(m_mutex);
        return m_lateness;
    }

protected:
    void TraceTelegram(int, int direction, int, int, int, bool, bool, bool, const std::string &, int, int,
                       const ByteVector &) override
    {
        std::lock_guard lock(m_mutex);
        const Clock::time_point now = Clock::now();
        if (direction == kDirectionReceived) {
            m_lastAnswer = now;
            return;
        }
        const double sinceAnswer = std::chrono::duration<double, std::milli>(now - m_lastAnswer).count();
        // Only the polls wait out the interval; start-up jobs go at once.
        if (m_lastAnswer != Clock::time_point() && sinceAnswer > kPollIntervalMs / 2)
            m_lateness.push_back(sinceAnswer - kPollIntervalMs);
    }

private:
    mutable std::mutex m_mutex;
    Clock::time_point m_lastAnswer;
    std::vector<double> m_lateness;
};

double CpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

void Session(const char *name, int seconds, const QString &capturePath)
{
    SimProcess sim;
    if (!sim.Start({})) {
        std::printf("%s: strelo-sim did not start\n", name);
        return;
    }
    std::shared_ptr<CLineCapture> capture;
    if (!capturePath.isEmpty()) {
        capture = std::make_shared<CLineCapture>();
        if (!capture->Start(capturePath)) {
            std::printf("%s: %s\n", name, qPrintable(capture->ErrorText()));
            return;
        }
        CAsync::SetLineTap(capture);
    }
    auto device = std::make_unique<TimingDevice>();
    const double cpuBefore = CpuSeconds();
    device->OpenLink(sim.DevicePath().toStdString(), kBaudIndex115200, false);
    device->Connect(1, 1);
    // The event loop keeps reading the simulator's log, so it never waits on a full pipe.
    QEventLoop loop;
    QTimer::singleShot(seconds * 1000, &loop, &QEventLoop::quit);
    loop.exec();
    device->Disconnect();
    device->Close();
    CAsync::SetLineTap(nullptr);
    if (capture)
        capture->Stop();
    const double cpu = CpuSeconds() - cpuBefore;

    std::vector<double> lateness = device->PollLateness();
    if (lateness.empty()) {
        std::printf("%s: no polls\n", name);
        return;
    }
    std::sort(lateness.begin(), lateness.end());
    const auto at = [&](double q) { return lateness[std::min(lateness.size() - 1, std::size_t(q * lateness.size()))]; };
    std::printf("%-12s %3d s: CPU %.3f s (%.2f %%), %zu polls, lateness after the answer: median %.3f ms, "
                "p99 %.3f ms, max %.3f ms",
                name, seconds, cpu, 100.0 * cpu / seconds, lateness.size(), at(0.5), at(0.99), lateness.back());
    if (capture)
        std::printf(", capture %lld bytes", static_cast<long long>(QFileInfo(capturePath).size()));
    std::printf("\n");
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    if (qEnvironmentVariableIsEmpty("LICHTWART_BIN_DIR"))
        qputenv("LICHTWART_BIN_DIR", QCoreApplication::applicationDirPath().toUtf8() + "/../bin");
    const int seconds = qEnvironmentVariableIsSet("BENCH_CAPTURE_SECONDS") ? qEnvironmentVariableIntValue("BENCH_CAPTURE_SECONDS") : 60;
    QTemporaryDir dir;
    Session("capture off", seconds, QString());
    Session("capture on", seconds, dir.filePath(QStringLiteral("bench.pcap")));
    return 0;
}
