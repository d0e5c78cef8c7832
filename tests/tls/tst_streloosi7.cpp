// The OSI 7 layer of the device: every telegram it builds, the calling rules of the commands,
// the start-up job queue, the replies it reads and the names in its trace. The link is brought up
// by calling the link callbacks directly, and every telegram the device writes is captured.
#include "RecordingDevice.h"
#include "tls/CStreloProductTable.h"
#include "tls/CStreloSetpoints.h"

#include <QElapsedTimer>
#include <QTest>

#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace {

constexpr int kOsi2Address = 3;
constexpr int kOsi7Address = 7;
constexpr int kWaitMs = 5000;

struct SentFrame
{
    QByteArray bytes;
    qint64 atMs = 0;
    bool fromTest = false; // written on the test's own thread (inside a callback the test made)

    bool IsLong() const { return bytes.size() > 7 && std::uint8_t(bytes.at(0)) == 0x68; }
    std::uint8_t Control() const { return std::uint8_t(bytes.at(IsLong() ? 4 : 1)); }
    std::uint8_t Address() const { return std::uint8_t(bytes.at(IsLong() ? 5 : 2)); }
    QString UserData() const { return IsLong() ? HexText(bytes.mid(6, bytes.size() - 8)) : QString(); }
    int JobNumber() const { return IsLong() ? std::uint8_t(bytes.at(6 + 4)) : -1; }
};

// A device that writes into a list instead of a port.
class CapturingDevice : public RecordingDevice
{
public:
    CapturingDevice() { m_clock.start(); }
    ~CapturingDevice() override { ShutDown(); }

    bool Tx(const ByteVector &data) override
    {
        {
            std::lock_guard lock(m_frameMutex);
            m_frames.append({QByteArray(reinterpret_cast<const char *>(data.data()), qsizetype(data.size())),
                             m_clock.elapsed(), std::this_thread::get_id() == m_owner});
        }
        m_frameChanged.notify_all();
        return true;
    }

    QList<SentFrame> Frames() const
    {
        std::lock_guard lock(m_frameMutex);
        return m_frames;
    }
    int FrameCount() const
    {
        std::lock_guard lock(m_frameMutex);
        return int(m_frames.size());
    }
    bool WaitForFrames(int count, int timeoutMs)
    {
        std::unique_lock lock(m_frameMutex);
        return m_frameChanged.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                       [&] { return m_frames.size() >= count; });
    }

    // Connect and answer status request, reset and first poll as a secondary would.
    bool BringUp()
    {
        Connect(kOsi2Address, kOsi7Address);
        OnShortTelegram(0x0B, kOsi2Address);
        OnAck();
        OnAck();
        return IsLinkUp();
    }

    // Issues a command and plays the secondary: the kick repeats the last request on the timer
    // thread, the answer to it makes the device send the command at once. Returns that frame.
    SentFrame Complete(const std::function<bool()> &command)
    {
        const int before = FrameCount();
        if (!command() || !WaitForFrames(before + 1, kWaitMs))
            return {};
        OnAck();
        const QList<SentFrame> frames = Frames();
        for (int i = frames.size() - 1; i > before; --i) {
            if (frames.at(i).fromTest && frames.at(i).IsLong())
                return frames.at(i);
        }
        return {};
    }

    // Waits for the next long telegram the device sends by itself and answers it.
    SentFrame NextJob(int from)
    {
        for (int seen = from;; ++seen) {
            if (!WaitForFrames(seen + 1, kWaitMs))
                return {};
            const SentFrame frame = Frames().at(seen);
            OnAck();
            if (frame.IsLong())
                return frame;
        }
    }

private:
    const std::thread::id m_owner = std::this_thread::get_id();
    QElapsedTimer m_clock;
    mutable std::mutex m_frameMutex;
    std::condition_variable m_frameChanged;
    QList<SentFrame> m_frames;
};

// Devices live on the heap: the thread sanitizer forgets a mutex only when its memory is freed,
// and a stack slot reused by the next test would look to it like one mutex locked in two orders.
std::unique_ptr<CapturingDevice> OnHeap()
{
    return std::make_unique<CapturingDevice>();
}

ByteVector Reply(const char *hex)
{
    return Octets(QByteArray::fromHex(hex));
}

enum Command {
    SetpointRed,
    SetpointYellow1000,
    SetpointYellow400,
    SetpointYellowSteady,
    SetpointYellowFlasher,
    SetpointGreen,
    SetpointRedYellow,
    SetpointOff,
    IntensityFull,
    IntensityDimmed,
    RefreshCurrents,
    FlasherSyncDevice,
    FlasherSyncDeBroadcast,
    FlasherSyncLinkBroadcast,
    SetOsi2Address,
    FirmwareUploadMode,
    AssignOsi7Address,
};

bool Issue(CStreloDevice &device, int command)
{
    switch (command) {
    case SetpointRed: return device.SetSetpoint(107, 1);
    case SetpointYellow1000: return device.SetSetpoint(108, CTlsOsi7Codec::FlashingValue(1000));
    case SetpointYellow400: return device.SetSetpoint(108, CTlsOsi7Codec::FlashingValue(400));
    case SetpointYellowSteady: return device.SetSetpoint(108, 1);
    case SetpointYellowFlasher: return device.SetSetpoint(61, CTlsOsi7Codec::FlashingValue(1000));
    case SetpointGreen: return device.SetSetpoint(109, 1);
    case SetpointRedYellow: return device.SetSetpoint(110, 1);
    case SetpointOff: return device.SetSetpoint(107, 0);
    case IntensityFull: return device.SetIntensity(true);
    case IntensityDimmed: return device.SetIntensity(false);
    case RefreshCurrents: return device.RefreshCurrentMeters();
    case FlasherSyncDevice: return device.FlasherSynchronisation(false, false, 12, 0);
    case FlasherSyncDeBroadcast: return device.FlasherSynchronisation(true, false, 0, 0);
    case FlasherSyncLinkBroadcast: return device.FlasherSynchronisation(true, true, 12, 0);
    case SetOsi2Address: return device.SetOSI2Address(42);
    case FirmwareUploadMode: return device.SwitchToFirmwareUploadMode(1, 2, 3);
    case AssignOsi7Address: return device.AssignOSI7Address(7);
    default: return false;
    }
}

} // namespace

class TestStreloOsi7 : public QObject
{
    Q_OBJECT

private slots:
    void commandTelegrams_data();
    void commandTelegrams();
    void wholeLongTelegrams_data();
    void wholeLongTelegrams();
    void startUpJobTelegrams_data();
    void startUpJobTelegrams();
    void startUpQueueOneJobPerPollCycle();
    void jobsQueuedBeforeLinkUpAreDiscarded();
    void unknownJobCodeIsDropped();
    void jobNumberWrapsToOneNeverZero();
    void commandsRefusedWhileLinkDown();
    void secondCommandDroppedWhilePending();
    void flasherSyncRefusesLargeParameters();
    void flashingValue_data();
    void flashingValue();
    void replies_data();
    void replies();
    void defectCountZeroAsksForActualValueAgain();
    void osi7TraceRecords();
    void functionGroupNames();
    void applicationIdNames();
    void codecTelegramsWithoutALink();
    void codecJobNumbers();
    void codecActualValueEndPoint();
    void setpointTable_data();
    void setpointTable();
    void setpointTableRefusesOtherNames();
};

void TestStreloOsi7::commandTelegrams_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<QString>("userData");
    QTest::newRow("red") << int(SetpointRed) << "00 0A 04 05 01 01 05 07 37 01 6B 01";
    QTest::newRow("yellow, 1000 ms") << int(SetpointYellow1000) << "00 0A 04 05 01 01 05 07 37 01 6C 52";
    QTest::newRow("yellow, 400 ms") << int(SetpointYellow400) << "00 0A 04 05 01 01 05 07 37 01 6C 22";
    QTest::newRow("yellow steady") << int(SetpointYellowSteady) << "00 0A 04 05 01 01 05 07 37 01 6C 01";
    QTest::newRow("yellow flasher") << int(SetpointYellowFlasher) << "00 0A 04 05 01 01 05 07 37 01 3D 52";
    QTest::newRow("green") << int(SetpointGreen) << "00 0A 04 05 01 01 05 07 37 01 6D 01";
    QTest::newRow("red-yellow") << int(SetpointRedYellow) << "00 0A 04 05 01 01 05 07 37 01 6E 01";
    QTest::newRow("off") << int(SetpointOff) << "00 0A 04 05 01 01 05 07 37 01 6B 00";
    QTest::newRow("intensity full") << int(IntensityFull) << "00 09 04 05 01 01 04 07 31 64 00";
    QTest::newRow("intensity dimmed") << int(IntensityDimmed) << "00 09 04 05 01 01 04 07 31 0A 00";
    QTest::newRow("refresh currents") << int(RefreshCurrents) << "00 07 04 12 01 01 02 07 82";
    QTest::newRow("flasher sync to the device") << int(FlasherSyncDevice) << "00 09 04 05 01 01 04 07 83 0C 00";
    QTest::newRow("flasher sync to DE 255") << int(FlasherSyncDeBroadcast) << "00 09 04 05 01 01 04 FF 83 00 00";
    QTest::newRow("set OSI 2 address") << int(SetOsi2Address) << "00 08 FE 03 01 01 03 FF 84 2A";
    QTest::newRow("firmware upload mode") << int(FirmwareUploadMode) << "00 0A FE 05 01 01 05 07 FE 01 02 03";
    QTest::newRow("assign OSI 7 address") << int(AssignOsi7Address) << "00 0B FE 03 01 01 06 03 21 01 01 04 07";
}

void TestStreloOsi7::commandTelegrams()
{
    QFETCH(int, command);
    QFETCH(QString, userData);
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    const SentFrame frame = device.Complete([&] { return Issue(device, command); });
    QCOMPARE(frame.UserData(), userData);
    // Confirmed user data to the link address; the first after link-up clears the frame count bit.
    QCOMPARE(frame.Control(), std::uint8_t(0x53));
    QCOMPARE(frame.Address(), std::uint8_t(kOsi2Address));
}

void TestStreloOsi7::wholeLongTelegrams_data()
{
    QTest::addColumn<int>("command");
    QTest::addColumn<QByteArray>("telegram");
    QTest::newRow("red") << int(SetpointRed) << QByteArray::fromHex("680E0E685303000A04050101050737016B011B16");
    QTest::newRow("flasher sync, link broadcast")
        << int(FlasherSyncLinkBroadcast) << QByteArray::fromHex("680D0D6854FF00090405010104FF830C00F916");
}

void TestStreloOsi7::wholeLongTelegrams()
{
    QFETCH(int, command);
    QFETCH(QByteArray, telegram);
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    QCOMPARE(device.Complete([&] { return Issue(device, command); }).bytes, telegram);
}

void TestStreloOsi7::startUpJobTelegrams_data()
{
    QTest::addColumn<int>("job");
    QTest::addColumn<QString>("userData");
    QTest::newRow("0 actual value") << 0 << "00 07 04 15 01 01 02 07 37";
    QTest::newRow("1 luminosity") << 1 << "00 07 04 15 01 01 02 07 31";
    QTest::newRow("2 defects") << 2 << "00 07 04 11 01 01 02 07 02";
    QTest::newRow("3 versions") << 3 << "00 07 FE 13 01 01 02 FF 85";
    QTest::newRow("4 UID") << 4 << "00 07 FE 13 01 01 02 FF 87";
}

void TestStreloOsi7::startUpJobTelegrams()
{
    QFETCH(int, job);
    QFETCH(QString, userData);
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    const int from = device.FrameCount();
    device.QueueJob(job);
    const SentFrame frame = device.NextJob(from);
    QCOMPARE(frame.UserData(), userData);
    QCOMPARE(frame.Address(), std::uint8_t(kOsi2Address));
    QVERIFY(!frame.fromTest); // taken from the queue by the poll timer
}

void TestStreloOsi7::startUpQueueOneJobPerPollCycle()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    // As the controller does at link-up: the address assignment, then the five start-up jobs.
    device.SetOnLinkUp([&device] {
        device.AssignOSI7Address(kOsi7Address);
        for (int job = 0; job <= 4; ++job)
            device.QueueJob(job);
    });
    QVERIFY(device.BringUp());
    // Status request, reset, first poll; then the kick repeats the first poll.
    const int from = 3;
    QVERIFY(device.WaitForFrames(from + 1, kWaitMs));
    QCOMPARE(device.Frames().at(from).bytes, QByteArray::fromHex("1078037B16"));
    device.OnAck();
    QList<SentFrame> sent;
    for (int i = 0; i < 6; ++i)
        sent.append(device.NextJob(from + 1 + i));
    const QStringList expected {
        "00 0B FE 03 01 01 06 03 21 01 01 04 07",
        "00 07 04 15 02 01 02 07 37",
        "00 07 04 15 03 01 02 07 31",
        "00 07 04 11 04 01 02 07 02",
        "00 07 FE 13 05 01 02 FF 85",
        "00 07 FE 13 06 01 02 FF 87",
    };
    for (int i = 0; i < 6; ++i)
        QCOMPARE(sent.at(i).UserData(), expected.at(i));
    // Nothing but the jobs went out in between: each one took the place of a poll.
    QCOMPARE(device.FrameCount(), from + 7);
    for (int i = 0; i < 5; ++i) {
        const qint64 gap = sent.at(i + 1).atMs - sent.at(i).atMs;
        QVERIFY2(gap >= 200, qPrintable(QStringLiteral("jobs %1 ms apart").arg(gap)));
    }
    // With the queue empty the station polls again.
    QVERIFY(device.WaitForFrames(from + 8, kWaitMs));
    const SentFrame poll = device.Frames().last();
    QVERIFY(!poll.IsLong());
    QCOMPARE(poll.Control() & 0x0F, 8);
}

void TestStreloOsi7::jobsQueuedBeforeLinkUpAreDiscarded()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    device.Connect(kOsi2Address, kOsi7Address);
    device.QueueJob(0);
    device.OnShortTelegram(0x0B, kOsi2Address);
    device.OnAck();
    device.OnAck();
    QVERIFY(device.IsLinkUp());
    const int from = device.FrameCount();
    QVERIFY(device.WaitForFrames(from + 1, kWaitMs));
    QVERIFY(!device.Frames().at(from).IsLong());
    QCOMPARE(device.Frames().at(from).Control(), std::uint8_t(0x58));
}

void TestStreloOsi7::unknownJobCodeIsDropped()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    const int from = device.FrameCount();
    device.QueueJob(9);
    device.QueueJob(1);
    // The first poll cycle takes the unknown code and polls instead; the next one sends job 1.
    QVERIFY(device.WaitForFrames(from + 1, kWaitMs));
    QVERIFY(!device.Frames().at(from).IsLong());
    const SentFrame job = device.NextJob(from);
    QCOMPARE(job.UserData(), QStringLiteral("00 07 04 15 01 01 02 07 31"));
}

void TestStreloOsi7::jobNumberWrapsToOneNeverZero()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    for (int i = 1; i <= 256; ++i) {
        const SentFrame frame = device.Complete([&] { return device.SetIntensity(i % 2 == 0); });
        QCOMPARE(frame.JobNumber(), i <= 255 ? i : 1);
    }
    for (const SentFrame &frame : device.Frames()) {
        if (frame.IsLong())
            QVERIFY(frame.JobNumber() != 0);
    }
}

void TestStreloOsi7::commandsRefusedWhileLinkDown()
{
    {
        auto owner = OnHeap();
    CapturingDevice &device = *owner;
        for (int command = SetpointRed; command <= AssignOsi7Address; ++command)
            QVERIFY(!Issue(device, command));
        QTest::qWait(150);
        QCOMPARE(device.FrameCount(), 0);
    }
    {
        auto owner = OnHeap();
    CapturingDevice &device = *owner;
        QVERIFY(device.BringUp());
        device.Disconnect();
        const int count = device.FrameCount();
        for (int command = SetpointRed; command <= AssignOsi7Address; ++command)
            QVERIFY(!Issue(device, command));
        QTest::qWait(150);
        QCOMPARE(device.FrameCount(), count);
    }
}

void TestStreloOsi7::secondCommandDroppedWhilePending()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    const SentFrame frame = device.Complete([&] {
        const bool first = device.SetSetpoint(107, 1);
        const bool second = device.SetSetpoint(109, 1);
        const bool third = device.SetIntensity(true);
        return first && !second && !third;
    });
    QCOMPARE(frame.UserData(), QStringLiteral("00 0A 04 05 01 01 05 07 37 01 6B 01"));
    // Once it has gone out, the next command is taken.
    const SentFrame next = device.Complete([&] { return device.SetSetpoint(109, 1); });
    QCOMPARE(next.UserData(), QStringLiteral("00 0A 04 05 02 01 05 07 37 01 6D 01"));
}

void TestStreloOsi7::flasherSyncRefusesLargeParameters()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    const int count = device.FrameCount();
    QVERIFY(!device.FlasherSynchronisation(false, false, 256, 0));
    QVERIFY(!device.FlasherSynchronisation(false, false, 0, 256));
    QVERIFY(!device.FlasherSynchronisation(true, true, 1000, 1000));
    QTest::qWait(60);
    QCOMPARE(device.FrameCount(), count);
    const SentFrame frame = device.Complete([&] { return device.FlasherSynchronisation(false, false, 255, 255); });
    QCOMPARE(frame.UserData(), QStringLiteral("00 09 04 05 01 01 04 07 83 FF FF"));
}

void TestStreloOsi7::flashingValue_data()
{
    QTest::addColumn<int>("period");
    QTest::addColumn<int>("value");
    QTest::newRow("1000 ms") << 1000 << 0x52;
    QTest::newRow("400 ms") << 400 << 0x22;
    QTest::newRow("199 ms") << 199 << 0x02;
    QTest::newRow("3000 ms") << 3000 << 0xF2;
    QTest::newRow("3200 ms wraps") << 3200 << 0x02;
}

void TestStreloOsi7::flashingValue()
{
    QFETCH(int, period);
    QFETCH(int, value);
    QCOMPARE(CTlsOsi7Codec::FlashingValue(period), value);
}

void TestStreloOsi7::replies_data()
{
    QTest::addColumn<QByteArray>("reply");
    QTest::addColumn<QStringList>("events");
    const auto row = [](const char *name, const char *hex, const QStringList &events) {
        QTest::newRow(name) << QByteArray::fromHex(hex) << events;
    };
    row("actual value lit", "000A048201010507370F6B01", {"actual 107 1 0"});
    row("actual value blinking", "000A048201010507370F6C02", {"actual 108 1 1"});
    row("actual value both bits", "000A048201010507370F6C03", {"actual 108 1 1"});
    row("actual value dark", "000A048201010507370F6D00", {"actual 109 0 0"});
    row("actual value other bits", "000A048201010507370F6D04", {"actual 109 0 0"});
    row("actual value from another DE", "000A048201010508370F6B01", {});
    row("actual value from DE 255", "000A0482010105FF370F6B01", {});
    row("no defects", "00080481010103070200",
        {"defect 107 1", "defect 108 1", "defect 109 1", "defect 110 1"});
    row("yellow defective", "000904810101040702016C",
        {"defect 107 1", "defect 108 1", "defect 109 1", "defect 110 1", "defect 108 0"});
    row("red and red-yellow defective", "000A04810101050702026B6E",
        {"defect 107 1", "defect 108 1", "defect 109 1", "defect 110 1", "defect 107 0", "defect 110 0"});
    row("defects from another DE", "000904810101040802016C", {});
    row("luminosity 50", "00080482010103073132", {"luminosity dim"});
    row("luminosity 51", "00080482010103073133", {"luminosity full"});
    row("luminosity 0", "00080482010103073100", {"luminosity dim"});
    row("luminosity 255", "000804820101030731FF", {"luminosity full"});
    row("currents", "000D04820101080782E80310270000",
        {"current 107 100.0", "current 108 1000.0", "current 109 0.0"});
    row("currents odd tenths", "000D04820101080782010002000300",
        {"current 107 0.1", "current 108 0.2", "current 109 0.3"});
    row("versions strelo-002", "000DFE83010108FF85020100040506",
        {"version 2 1 0 4 5 6", "device strelo-002"});
    row("versions strelo-003 from the device DE", "000DFE830101080785030102090807",
        {"version 3 1 2 9 8 7", "device strelo-003"});
    row("versions hardware 0", "000DFE83010108FF85000100040506", {"version 0 1 0 4 5 6", "device null"});
    row("versions hardware 1", "000DFE83010108FF85010100040506", {"version 1 1 0 4 5 6", "device null"});
    row("versions hardware 4", "000DFE83010108FF85040100040506", {"version 4 1 0 4 5 6", "device null"});
    row("versions hardware 255", "000DFE83010108FF85FF0100040506", {"version 255 1 0 4 5 6", "device null"});
    row("UID of 12 octets", "0013FE8301010EFF870011AABB2233CCDD4455EEFF", {"uid 0011AABB - 2233CCDD - 4455EEFF"});
    row("UID of 6 octets", "000DFE83010108FF870102030A0B0C", {"uid 0102030A0B0C"});
    row("UID of 13 octets", "0014FE8301010FFF870102030405060708090A0B0C0D", {"uid 0102030405060708090A0B0C0D"});
    row("empty UID", "0007FE83010102FF87", {"uid "});
    row("function group 1", "000A018201010507370F6B01", {});
    row("unknown type in group 4", "000A048201010507990F6B01", {});
    row("unknown type in group 254", "000DFE83010108FF86020100040506", {});
    row("too short to read", "000A0482", {});
    row("actual value cut short", "000A048201010507370F", {});
    row("UID cut short", "0013FE8301010EFF870011AABB", {});
}

void TestStreloOsi7::replies()
{
    QFETCH(QByteArray, reply);
    QFETCH(QStringList, events);
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    device.Connect(kOsi2Address, kOsi7Address);
    device.Disconnect();
    device.ClearEvents();
    device.DispatchReply(Octets(reply));
    QCOMPARE(device.Events(), events);
}

void TestStreloOsi7::defectCountZeroAsksForActualValueAgain()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    const int from = device.FrameCount();
    device.DispatchReply(Reply("00080481010103070200"));
    const SentFrame job = device.NextJob(from);
    QCOMPARE(job.UserData(), QStringLiteral("00 07 04 15 01 01 02 07 37"));

    // A defect list with entries asks for nothing.
    const int after = device.FrameCount();
    device.DispatchReply(Reply("000904810101040702016C"));
    QVERIFY(device.WaitForFrames(after + 1, kWaitMs));
    QVERIFY(!device.Frames().at(after).IsLong());
}

void TestStreloOsi7::osi7TraceRecords()
{
    auto owner = OnHeap();
    CapturingDevice &device = *owner;
    QVERIFY(device.BringUp());
    device.Complete([&] { return device.SetSetpoint(107, 1); });
    // A command issued while the last request was user data: the kick repeats that request with
    // the new buffer, and only the fresh transmission is traced.
    device.Complete([&] { return device.RefreshCurrentMeters(); });
    device.OnLongTelegram(0x08, kOsi2Address, Reply("000D04820101080782E80310270000"));
    const QStringList expected {
        "osi7 13 1 10|Signal|Command|1|1|05 07 37 01 6B 01",
        "osi7 13 1 7|Signal|Status info request|2|1|02 07 82",
        "osi7 13 0 13|Signal|Status info|1|1|08 07 82 E8 03 10 27 00 00",
    };
    QCOMPARE(device.EventsStartingWith("osi7"), expected);
    QCOMPARE(device.EventsStartingWith("current").first(), QStringLiteral("current 107 100.0"));
    int refreshes = 0;
    for (const SentFrame &frame : device.Frames())
        refreshes += frame.UserData() == QStringLiteral("00 07 04 12 02 01 02 07 82") ? 1 : 0;
    QVERIFY2(refreshes >= 2, "the repetition carries the new telegram");
}

void TestStreloOsi7::functionGroupNames()
{
    QCOMPARE(QString::fromStdString(CTlsOsi7Codec::FunctionGroupName(1)), QStringLiteral("Traffic"));
    QCOMPARE(QString::fromStdString(CTlsOsi7Codec::FunctionGroupName(4)), QStringLiteral("Signal"));
    QCOMPARE(QString::fromStdString(CTlsOsi7Codec::FunctionGroupName(254)), QStringLiteral("System"));
    QCOMPARE(QString::fromStdString(CTlsOsi7Codec::FunctionGroupName(0)), QStringLiteral("unknown (0)"));
    QCOMPARE(QString::fromStdString(CTlsOsi7Codec::FunctionGroupName(7)), QStringLiteral("unknown (7)"));
    QCOMPARE(QString::fromStdString(CTlsOsi7Codec::FunctionGroupName(255)), QStringLiteral("unknown (255)"));
}

void TestStreloOsi7::applicationIdNames()
{
    const QList<QPair<int, QString>> names {
        {2, "Status info"},
        {3, "Parameter assignment"},
        {5, "Command"},
        {17, "Error message request"},
        {18, "Status info request"},
        {19, "Parameter request"},
        {20, "Result message request"},
        {21, "Command status request"},
        {129, "Error message"},
        {130, "Status info"},
        {131, "Parameter message"},
        {132, "Result message"},
        {133, "Command reply"},
        {161, "Error message from buffer"},
        {162, "Status info from buffer"},
        {164, "Result message from buffer"},
        {165, "Command repy from buffer"},
        {0, "unknown (0)"},
        {1, "unknown (1)"},
        {7, "unknown (7)"},
        {163, "unknown (163)"},
        {255, "unknown (255)"},
    };
    for (const auto &[id, name] : names)
        QCOMPARE(QString::fromStdString(CTlsOsi7Codec::ApplicationIdName(id)), name);
}

// The codec alone: the same octets as the device sends, for any job number, with no link at all.
void TestStreloOsi7::codecTelegramsWithoutALink()
{
    QCOMPARE(HexText(CTlsOsi7Codec::Telegram(CTlsOsi7Codec::Setpoint(7, 108, CTlsOsi7Codec::FlashingValue(1000)), 200)),
             QStringLiteral("00 0A 04 05 C8 01 05 07 37 01 6C 52"));
    QCOMPARE(HexText(CTlsOsi7Codec::Telegram(CTlsOsi7Codec::Osi7AddressAssignment(3, 7), 1)),
             QStringLiteral("00 0B FE 03 01 01 06 03 21 01 01 04 07"));
    QCOMPARE(HexText(CTlsOsi7Codec::Telegram(*CTlsOsi7Codec::Job(CTlsOsi7Codec::kJobUid, 7), 9)),
             QStringLiteral("00 07 FE 13 09 01 02 FF 87"));
    QVERIFY(!CTlsOsi7Codec::Job(5, 7));
    QVERIFY(!CTlsOsi7Codec::Job(-1, 7));
    QVERIFY(!CTlsOsi7Codec::FlasherSynchronisation(false, 7, 256, 0));
    QVERIFY(!CTlsOsi7Codec::FlasherSynchronisation(false, 7, 0, 256));
    QCOMPARE(HexText(CTlsOsi7Codec::FlasherSynchronisation(true, 7, 255, 255)->block), QStringLiteral("FF 83 FF FF"));
}

void TestStreloOsi7::codecJobNumbers()
{
    QCOMPARE(CTlsOsi7Codec::NextJobNumber(0), 1);
    QCOMPARE(CTlsOsi7Codec::NextJobNumber(254), 255);
    QCOMPARE(CTlsOsi7Codec::NextJobNumber(255), 1);
}

// The head search learns the head's own OSI 7 address from the DE of its actual value.
void TestStreloOsi7::codecActualValueEndPoint()
{
    QCOMPARE(CTlsOsi7Codec::ActualValueEndPoint(Reply("000a04850101052a37006b01")), std::optional<int>(0x2a));
    QCOMPARE(CTlsOsi7Codec::ActualValueEndPoint(Reply("000a0485010105073100")), std::optional<int>());
    QCOMPARE(CTlsOsi7Codec::ActualValueEndPoint(Reply("000afe85010105073700")), std::optional<int>());
    QCOMPARE(CTlsOsi7Codec::ActualValueEndPoint(Reply("000a048501010507")), std::optional<int>());
}

void TestStreloOsi7::setpointTable_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("image");
    QTest::addColumn<int>("value");
    // With a flasher cycle period of 400 ms the flashing value is 0x22.
    QTest::newRow("red") << "red" << 107 << 1;
    QTest::newRow("green") << "green" << 109 << 1;
    QTest::newRow("yellow") << "yellow" << 108 << 0x22;
    QTest::newRow("yellow-steady") << "yellow-steady" << 108 << 1;
    QTest::newRow("yellow-flasher") << "yellow-flasher" << 61 << 0x22;
    QTest::newRow("red-yellow") << "red-yellow" << 110 << 1;
    QTest::newRow("off") << "off" << 107 << 0;
}

void TestStreloOsi7::setpointTable()
{
    QFETCH(QString, name);
    QFETCH(int, image);
    QFETCH(int, value);
    const auto lamp = CStreloSetpoints::FromName(name.toStdString());
    QVERIFY(lamp);
    QCOMPARE(CStreloSetpoints::For(*lamp, 400).image, image);
    QCOMPARE(CStreloSetpoints::For(*lamp, 400).value, value);
}

void TestStreloOsi7::setpointTableRefusesOtherNames()
{
    QVERIFY(!CStreloSetpoints::FromName("blue"));
    QVERIFY(!CStreloSetpoints::FromName("Red"));
    QVERIFY(!CStreloSetpoints::FromName(""));
    QCOMPARE(CStreloSetpoints::Names().size(), std::size_t(7));
}

QTEST_GUILESS_MAIN(TestStreloOsi7)
#include "tst_streloosi7.moc"
