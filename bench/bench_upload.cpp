// Figures for the firmware upload against strelo-sim with --pace, which holds every byte for its
// time on a real line: how close the write phase comes to the line's limit (32 payload bytes per
// 40-character frame and its one-character answer for 24-bit addresses, 41 characters for
// 32-bit ones, 10 bits per character), and how long the master takes from an answer to its next
// frame. Prints figures; asserts nothing.
#include "CliDevice.h"
#include "FirmwarePackageBuilder.h"
#include "SimProcess.h"

#include "firmware/CUpgradeProcedure.h"
#include "tls/CStreloProductTable.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <mutex>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

constexpr int kLinkMs = 10000;
constexpr int kUpgradeMs = 180000;
constexpr double kBitsPerCharacter = 10.0;
constexpr double kGoal = 0.95;

// The upgrade procedure with every frame it sends and every answer it receives time-stamped.
class TimedUpgrade : public CUpgradeProcedure
{
public:
    struct Event
    {
        Clock::time_point at;
        bool sent;
        bool write; // a write frame (sent) or an ACK (received)
    };

    ~TimedUpgrade() override
    {
        StopThread();
        Close();
    }

    std::vector<Event> Events()
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }

    void TraceBytes(int level, int direction, const ByteVector &data) override
    {
        const bool sent = direction == kDirectionSent;
        const bool write = sent ? data.size() > 2 && (data[2] == kCmdWrite24 || data[2] == kCmdWrite32)
                                : !data.empty() && data[0] == kAck;
        std::lock_guard lock(m_mutex);
        m_events.push_back({Clock::now(), sent, write});
    }

protected:
    bool ConfirmProgramming() override { return true; }

private:
    std::mutex m_mutex;
    std::vector<Event> m_events;
};

double Milliseconds(Clock::duration duration)
{
    return std::chrono::duration<double, std::milli>(duration).count();
}

// The head's side of each write, from the simulator's log: how long it took from a complete frame
// to handing its answer to the line, and from that answer to the next complete frame.
struct HeadTimes
{
    std::vector<double> answering;
    std::vector<double> cycle;
};

HeadTimes HeadSide(SimProcess &sim)
{
    static const QRegularExpression frame(QStringLiteral("^(\\S+) boot rx frame CMD=(24|32)"));
    static const QRegularExpression ack(QStringLiteral("^(\\S+) boot tx ack"));
    HeadTimes times;
    double frameAt = -1;
    double ackAt = -1;
    const int count = sim.LineCount();
    for (int i = 0; i < count; ++i) {
        const QString line = sim.Line(i);
        if (const auto match = frame.match(line); match.hasMatch()) {
            const double at = match.captured(1).toDouble();
            if (ackAt >= 0)
                times.cycle.push_back(at - ackAt);
            frameAt = at;
        } else if (const auto match = ack.match(line); match.hasMatch() && frameAt >= 0) {
            ackAt = match.captured(1).toDouble();
            times.answering.push_back(ackAt - frameAt);
            frameAt = -1;
        }
    }
    return times;
}

double Quantile(std::vector<double> values, double q)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, std::size_t(q * values.size()))];
}

// Talks the simulated head into its boot loader over the link, then lets go of the port.
bool SwitchToBootLoader(const QString &device, int rate)
{
    CliDevice link(CliOptions::TraceLevel::None);
    QSignalSpy linkChanges(&link, &CliDevice::ConnectionChanged);
    if (!link.OpenLink(device.toStdString(), CAsync::BaudIndexForRate(rate), false))
        return false;
    link.Connect(1, 1);
    if (!QTest::qWaitFor([&] { return !linkChanges.isEmpty() && linkChanges.last().first().toBool(); }, kLinkMs))
        return false;
    const int code = CUpgradeProcedure::BaudRateCode(rate);
    if (!QTest::qWaitFor([&] { return link.SwitchToFirmwareUploadMode(0, code, 31); }, kLinkMs))
        return false;
    const bool left = QTest::qWaitFor([&] { return !linkChanges.last().first().toBool(); }, kLinkMs);
    link.Disconnect();
    link.Close();
    return left;
}

void Measure(int rate, int hardwareMajor, int imageBytes)
{
    const bool wide = hardwareMajor == 3;
    QTemporaryDir dir;
    const QString package = dir.filePath("bench.fwp");
    QByteArray image;
    for (int i = 0; i < imageBytes; ++i)
        image.append(char(i * 31 + 7));
    if (!FirmwarePackageBuilder::WriteProductPackage(package, {{wide ? 0x00080000u : 0x004000u, image}}, wide)) {
        std::printf("could not write the package\n");
        return;
    }
    SimProcess sim;
    if (!sim.Start({"--pace", "--hardware", QStringLiteral("%1.0.0").arg(hardwareMajor)})
        || !SwitchToBootLoader(sim.DevicePath(), rate)) {
        std::printf("%6d baud: the simulated head did not reach its boot loader\n", rate);
        return;
    }

    TimedUpgrade upgrade;
    upgrade.SetStreloDevice(CStreloProductTable::FindByHardwareMajor(hardwareMajor));
    upgrade.LoadFirmwareFile(package, false);
    upgrade.SetUploadDevice(sim.DevicePath());
    upgrade.SetUploadBaudrate(rate);
    QSignalSpy finished(&upgrade, &CUpgradeProcedure::UpgradeFinished);
    upgrade.StartUpgradeProcess();
    if (!finished.wait(kUpgradeMs) || !finished.first().first().toBool()) {
        std::printf("%6d baud: the upload did not complete\n", rate);
        return;
    }

    // The write phase runs from the first write frame to the answer to the last one.
    const auto events = upgrade.Events();
    std::vector<double> turnarounds;
    Clock::time_point first {};
    Clock::time_point last {};
    Clock::time_point answer {};
    bool answered = false;
    int frames = 0;
    for (const auto &event : events) {
        if (event.sent && event.write) {
            if (frames++ == 0)
                first = event.at;
            else if (answered)
                turnarounds.push_back(Milliseconds(event.at - answer));
            answered = false;
        } else if (!event.sent && event.write && frames > 0) {
            answer = last = event.at;
            answered = true;
        }
    }
    const double seconds = Milliseconds(last - first) / 1000.0;
    const double payloadRate = upgrade.Firmware().GetTotalSize() / seconds;
    const double charactersPerChunk = wide ? 42.0 : 41.0;
    const double lineLimit = rate / kBitsPerCharacter * 32.0 / charactersPerChunk;
    const double efficiency = payloadRate / lineLimit;
    std::printf("%6d baud, %s, %d bytes in %d frames: %.0f payload B/s of %.0f possible, efficiency %.3f (%s %.2f); "
                "master turnaround per chunk median %.3f ms, p99 %.3f ms\n",
                rate, wide ? "32-bit addresses" : "24-bit addresses", upgrade.Firmware().GetTotalSize(), frames,
                payloadRate, lineLimit, efficiency, efficiency >= kGoal ? "meets" : "below", kGoal,
                Quantile(turnarounds, 0.5), Quantile(turnarounds, 0.99));
    // Where the rest of each chunk's time goes: 41 (or 42) characters are on the line at best.
    const HeadTimes head = HeadSide(sim);
    if (!head.answering.empty() && !head.cycle.empty()) {
        const double characterMs = 1000.0 * kBitsPerCharacter / rate;
        std::printf("        head: frame to answer median %.3f ms; answer to next complete frame median %.3f ms "
                    "(%.3f ms of line time for the answer and the frame)\n",
                    Quantile(head.answering, 0.5), Quantile(head.cycle, 0.5), characterMs * (charactersPerChunk));
    }
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setOrganizationName(QStringLiteral("Varnholt GmbH"));
    QCoreApplication::setApplicationName(QStringLiteral("Lichtwart"));
    if (qEnvironmentVariableIsEmpty("LICHTWART_BIN_DIR"))
        qputenv("LICHTWART_BIN_DIR", QCoreApplication::applicationDirPath().toUtf8() + "/../bin");
    std::printf("firmware upload against strelo-sim --pace\n");
    Measure(115200, 2, 32768);
    Measure(115200, 3, 32768);
    Measure(9600, 2, 8192);
    return 0;
}
