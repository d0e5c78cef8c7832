// 300 commands of every kind (except the switch to the boot loader, which ends the link) submitted
// at random moments while the master polls a head on a paced line, at 9600 and at 115200 bit/s.
// Whatever moment a command meets, the head never receives a telegram no head may receive (its
// referee counts them), no short telegram carries user data, and no user data is sent again, the
// same telegram, before its answer could have come. The figures are printed for each rate.
#include "SimProcess.h"

#include "tls/CStreloDevice.h"

#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>

#include <chrono>
#include <functional>
#include <mutex>
#include <vector>

namespace {

constexpr int kCommands = 300;
constexpr int kLongestPauseMs = 300;
constexpr int kLinkUpWaitMs = 15000;
constexpr int kRunTimeoutMs = 600000;
constexpr quint32 kSeed = 22;
constexpr std::uint8_t kShortStart = 0x10;
constexpr std::uint8_t kLongStart = 0x68;

using Command = std::function<bool(CStreloDevice &)>;

// One of every command the master can give in link mode.
const std::vector<Command> &Commands()
{
    static const std::vector<Command> commands = {
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageRed, 1); },
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageGreen, 1); },
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageYellow, CTlsOsi7Codec::FlashingValue(1000)); },
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageYellow, 1); },
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageYellowFlasher, CTlsOsi7Codec::FlashingValue(1000)); },
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageRedYellow, 1); },
        [](CStreloDevice &d) { return d.SetSetpoint(CTlsOsi7Codec::kImageRed, 0); },
        [](CStreloDevice &d) { return d.SetIntensity(true); },
        [](CStreloDevice &d) { return d.SetIntensity(false); },
        [](CStreloDevice &d) { return d.RefreshCurrentMeters(); },
        [](CStreloDevice &d) { return d.FlasherSynchronisation(true, true, 12, 0); },
        [](CStreloDevice &d) { return d.FlasherSynchronisation(true, true, 0, 0); },
        [](CStreloDevice &d) { return d.FlasherSynchronisation(false, false, 12, 0); },
        // The head keeps its link address 1: the assignment is taken and changes nothing.
        [](CStreloDevice &d) { return d.SetOSI2Address(1); },
        [](CStreloDevice &d) { return d.AssignOSI7Address(1); },
    };
    return commands;
}

struct LineEvent
{
    qint64 atUs = 0;
    bool sent = false;
    ByteVector octets; // a sent telegram as written; a received one as its user data, if any
};

// The master with the start-up jobs of the controller, recording every telegram it writes and
// every answer it receives.
class WatchedDevice : public CStreloDevice
{
public:
    WatchedDevice() { m_clock.start(); }
    ~WatchedDevice() override { ShutDown(); }

    std::vector<LineEvent> Events() const
    {
        std::lock_guard lock(m_mutex);
        return m_events;
    }
    // When the link was lost, on the clock of the simulator's log (milliseconds).
    std::vector<double> LinkLosses() const
    {
        std::lock_guard lock(m_mutex);
        return m_losses;
    }

protected:
    void LinkChanged(bool up) override
    {
        if (!up) {
            std::lock_guard lock(m_mutex);
            if (m_wasUp)
                m_losses.push_back(std::chrono::duration<double, std::milli>(
                                       std::chrono::steady_clock::now().time_since_epoch()).count());
            m_wasUp = false;
            return;
        }
        {
            std::lock_guard lock(m_mutex);
            m_wasUp = true;
        }
        QueueStartUpSequence(false, 0);
    }
    void TraceBytes(int level, int direction, const ByteVector &data) override
    {
        // The master writes each telegram whole; what it reads comes in pieces.
        if (direction == kDirectionSent)
            Add(true, data);
    }
    void TraceTelegram(int level, int direction, int frameType, int data1, int data2, bool prm, bool fcbOrAcd,
                       bool fcvOrDfc, const std::string &function, int address, int checksum,
                       const ByteVector &userData) override
    {
        if (direction == kDirectionReceived)
            Add(false, userData);
    }

private:
    void Add(bool sent, const ByteVector &octets)
    {
        std::lock_guard lock(m_mutex);
        m_events.push_back({m_clock.nsecsElapsed() / 1000, sent, octets});
    }

    mutable std::mutex m_mutex;
    QElapsedTimer m_clock;
    std::vector<LineEvent> m_events;
    std::vector<double> m_losses;
    bool m_wasUp = false;
};

struct Figures
{
    int shortUserData = 0;      // a short telegram with function 3 or 4
    int earlyRepetitions = 0;   // user data sent again, unchanged, before half the response time-out
    // The last request sent again, unchanged, after its answer had come in: the kick after a
    // command placed while the master waits for its poll timer does this, as specified. A figure.
    int kickRepetitions = 0;
};

Figures Examine(const std::vector<LineEvent> &events)
{
    Figures figures;
    const LineEvent *lastSent = nullptr;
    bool answeredSince = false;
    for (const LineEvent &event : events) {
        if (!event.sent) {
            answeredSince = true;
            continue;
        }
        const ByteVector &t = event.octets;
        if (t.size() == 5 && t[0] == kShortStart && ((t[1] & 0x0F) == 3 || (t[1] & 0x0F) == 4))
            ++figures.shortUserData;
        if (lastSent && lastSent->octets == t) {
            if (t[0] == kLongStart && event.atUs - lastSent->atUs < CStreloDevice::kResponseTimeoutMs * 1000 / 2)
                ++figures.earlyRepetitions;
            if (answeredSince)
                ++figures.kickRepetitions;
        }
        lastSent = &event;
        answeredSince = false;
    }
    return figures;
}

// The simulator's lines of the last second before `atMs` (its log's clock).
QStringList LogBefore(SimProcess &sim, double atMs)
{
    QStringList lines;
    for (int i = 0; i < sim.LineCount(); ++i) {
        const double stamp = sim.Line(i).section(QLatin1Char(' '), 0, 0).toDouble();
        if (stamp > atMs - 1000 && stamp <= atMs)
            lines << sim.Line(i);
    }
    return lines;
}

} // namespace

class TestCommandRaceSoak : public QObject
{
    Q_OBJECT

private slots:
    void commandsAtRandomMoments_data();
    void commandsAtRandomMoments();
};

void TestCommandRaceSoak::commandsAtRandomMoments_data()
{
    QTest::addColumn<int>("baudRate");
    QTest::addColumn<int>("baudIndex");
    QTest::newRow("9600") << 9600 << 6;
    QTest::newRow("115200") << 115200 << 10;
}

void TestCommandRaceSoak::commandsAtRandomMoments()
{
    QFETCH(int, baudRate);
    QFETCH(int, baudIndex);
    SimProcess sim;
    QVERIFY(sim.Start({"--pace"}));
    auto device = std::make_unique<WatchedDevice>();
    QVERIFY(device->OpenLink(sim.DevicePath().toStdString(), baudIndex, false));
    device->Connect(1, 1);
    QTRY_VERIFY_WITH_TIMEOUT(device->IsLinkUp(), kLinkUpWaitMs);

    QRandomGenerator random(kSeed);
    int accepted = 0;
    int refused = 0;
    QTimer moment;
    moment.setSingleShot(true);
    connect(&moment, &QTimer::timeout, this, [&] {
        const Command &command = Commands()[random.bounded(int(Commands().size()))];
        (command(*device) ? accepted : refused)++;
        if (accepted < kCommands)
            moment.start(random.bounded(kLongestPauseMs + 1));
    });
    moment.start(0);
    QTRY_VERIFY_WITH_TIMEOUT(accepted == kCommands, kRunTimeoutMs);
    // The last command has gone out and been answered once the master polls twice more.
    const QRegularExpression poll(QStringLiteral("link rx short .* FN=8 "));
    const int firstPoll = sim.WaitForLine(poll, sim.LineCount());
    QVERIFY(firstPoll >= 0 && sim.WaitForLine(poll, firstPoll + 1) >= 0);
    // Read before Disconnect, which reports the link down too.
    const std::vector<double> losses = device->LinkLosses();
    device->Disconnect();
    const Figures figures = Examine(device->Events());
    device.reset();
    const int violations = int(sim.Matching(QRegularExpression(QStringLiteral(" link violation ")), 0, sim.LineCount()).size());

    qInfo().noquote() << QStringLiteral("%1 bit/s: %2 commands taken (%3 refused while one was pending); "
                                        "short telegrams with user data %4, user data repeated early %5, "
                                        "answered requests repeated by a kick %6, strelo-sim violations %7, link losses %8")
                             .arg(baudRate).arg(accepted).arg(refused).arg(figures.shortUserData)
                             .arg(figures.earlyRepetitions).arg(figures.kickRepetitions).arg(violations).arg(losses.size());
    for (double lostAt : losses)
        qInfo().noquote() << QStringLiteral("the head's log before the loss at %1:\n").arg(lostAt, 0, 'f', 3)
                                 + LogBefore(sim, lostAt).join(QLatin1Char('\n'));
    QCOMPARE(violations, 0);
    QCOMPARE(figures.shortUserData, 0);
    QCOMPARE(figures.earlyRepetitions, 0);
}

QTEST_GUILESS_MAIN(TestCommandRaceSoak)
#include "tst_commandrace_soak.moc"
