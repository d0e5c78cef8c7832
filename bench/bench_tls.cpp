// Figures for the link procedure against a far station played on a pseudo-terminal: how exactly
// the next poll follows the station's answer (250 ms), how exactly an unanswered request is
// repeated (100 ms), and the CPU the master uses while the link is up and polling. Prints
// figures; asserts nothing.
#include "PtyPair.h"
#include "RecordingDevice.h"
#include "ScriptedPeer.h"

#include <algorithm>
#include <cmath>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <sys/resource.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {

constexpr int kOsi2Address = 1;
constexpr int kOsi7Address = 1;
constexpr int kBaudIndex115200 = 10;

struct Summary
{
    double median;
    double p99;
    double max;
};

// Deviations in milliseconds, by absolute size for p99 and max.
Summary Summarise(std::vector<double> deviations)
{
    std::sort(deviations.begin(), deviations.end());
    const double median = deviations[deviations.size() / 2];
    for (double &value : deviations)
        value = std::abs(value);
    std::sort(deviations.begin(), deviations.end());
    const auto at = [&](double q) { return deviations[std::min(deviations.size() - 1, std::size_t(q * deviations.size()))]; };
    return {median, at(0.99), deviations.back()};
}

bool Open(RecordingDevice &device, const PtyPair &pty)
{
    if (!device.OpenLink(pty.SlavePath().toStdString(), kBaudIndex115200, false)) {
        std::printf("could not open a pseudo-terminal\n");
        return false;
    }
    return true;
}

void PollCycle(int polls)
{
    PtyPair pty;
    ScriptedPeer peer(pty);
    RecordingDevice device;
    if (!Open(device, pty))
        return;
    device.Connect(kOsi2Address, kOsi7Address);
    // Status request, reset and first poll, then the polls measured.
    if (!peer.WaitForFrames(3 + polls + 1, (polls + 10) * 400)) {
        std::printf("poll cycle: the link did not keep polling\n");
        return;
    }
    const QList<PeerFrame> frames = peer.Frames();
    std::vector<double> deviations;
    for (int i = 3; i < 3 + polls; ++i)
        deviations.push_back((frames.at(i + 1).atUs - frames.at(i).answeredUs) / 1000.0 - CStreloDevice::kPollIntervalMs);
    const Summary s = Summarise(deviations);
    std::printf("answer -> next poll (%d ms), %d cycles: deviation median %+.3f ms, p99 %.3f ms, max %.3f ms\n",
                CStreloDevice::kPollIntervalMs, polls, s.median, s.p99, s.max);
}

void Repetition(int cycles)
{
    PtyPair pty;
    ScriptedPeer peer(pty);
    peer.SetSilent(true);
    RecordingDevice device;
    if (!Open(device, pty))
        return;
    device.Connect(kOsi2Address, kOsi7Address);
    const int requests = cycles * CStreloDevice::kTransmissions;
    if (!peer.WaitForFrames(requests, cycles * 1500)) {
        std::printf("repetition: the status requests stopped\n");
        return;
    }
    const QList<PeerFrame> frames = peer.Frames();
    std::vector<double> deviations;
    for (int i = 0; i + 1 < requests; ++i) {
        if (i % CStreloDevice::kTransmissions == CStreloDevice::kTransmissions - 1)
            continue; // the pause between two cycles
        deviations.push_back((frames.at(i + 1).atUs - frames.at(i).atUs) / 1000.0 - CStreloDevice::kResponseTimeoutMs);
    }
    const Summary s = Summarise(deviations);
    std::printf("request -> repetition (%d ms), %zu repetitions: deviation median %+.3f ms, p99 %.3f ms, max %.3f ms\n",
                CStreloDevice::kResponseTimeoutMs, deviations.size(), s.median, s.p99, s.max);
}

double CpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_utime.tv_sec + usage.ru_stime.tv_sec + (usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}

// The far station runs in a child process, so that the figure is the master's alone.
void IdleCpu(int seconds)
{
    PtyPair pty;
    const pid_t child = fork();
    if (child < 0) {
        std::printf("idle CPU: fork failed\n");
        return;
    }
    if (child == 0) {
        ScriptedPeer peer(pty);
        std::this_thread::sleep_for(std::chrono::seconds(seconds + 10));
        _exit(0);
    }
    {
        RecordingDevice device;
        if (Open(device, pty)) {
            device.Connect(kOsi2Address, kOsi7Address);
            if (device.WaitForEvent(QStringLiteral("link 1"), 1, 5000)) {
                const double before = CpuSeconds();
                const auto started = std::chrono::steady_clock::now();
                std::this_thread::sleep_for(std::chrono::seconds(seconds));
                const double used = CpuSeconds() - before;
                const double wall = std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
                std::printf("master CPU while polling, %d s: %.1f ms CPU (%.3f %% of one core)\n", seconds,
                            used * 1000.0, used / wall * 100.0);
            } else {
                std::printf("idle CPU: the link did not come up\n");
            }
            device.Disconnect();
        }
    }
    kill(child, SIGTERM);
    waitpid(child, nullptr, 0);
}

} // namespace

int main()
{
    IdleCpu(10);
    PollCycle(40);
    Repetition(10);
    return 0;
}
