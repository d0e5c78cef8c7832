#include "PtyPair.h"
#include "RecordingPort.h"

#include <QElapsedTimer>
#include <QTest>

#include <memory>
#include <fcntl.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

namespace {

termios SlaveSettings(const QString &path)
{
    termios tio {};
    const int fd = ::open(path.toLocal8Bit().constData(), O_RDWR | O_NOCTTY);
    if (fd >= 0) {
        tcgetattr(fd, &tio);
        ::close(fd);
    }
    return tio;
}

std::string Path(const PtyPair &pty)
{
    return pty.SlavePath().toStdString();
}

double ProcessCpuMs()
{
    timespec ts {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &ts);
    return ts.tv_sec * 1000.0 + ts.tv_nsec / 1e6;
}

QByteArray Bytes(const ByteVector &data)
{
    return QByteArray(reinterpret_cast<const char *>(data.data()), static_cast<qsizetype>(data.size()));
}

} // namespace

class TestCAsyncPosix : public QObject
{
    Q_OBJECT

private slots:
    void devicePathMapsWindowsNames_data();
    void devicePathMapsWindowsNames();
    void baudIndexTable();
    void configureLinkFormatOnPty();
    void configureOtherSelectors();
    void configureTwiceAtTheSameRate();
    void bytesBothWays();
    void burstSplitAcrossReads();
    void everyPortPassesItsChunksToTheLineTap();
    void closeWhileReaderBlocked();
    void closeNeverOpenedPort();
    void closeAfterOpenWithoutConfigure();
    void txOnClosedPortFailsSilently();
    void openMissingDeviceReports();
    void secondOpenOfABusyPortFails();
    void farEndVanishing();
};

void TestCAsyncPosix::devicePathMapsWindowsNames_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::newRow("COM1") << "COM1" << "/dev/ttyS0";
    QTest::newRow("COM10") << "COM10" << "/dev/ttyS9";
    QTest::newRow("ttyUSB0") << "ttyUSB0" << "/dev/ttyUSB0";
    QTest::newRow("absolute") << "/dev/pts/7" << "/dev/pts/7";
    QTest::newRow("by-id") << "serial/by-id/usb-FTDI-if00" << "/dev/serial/by-id/usb-FTDI-if00";
    QTest::newRow("COMX is a name") << "COMX" << "/dev/COMX";
}

void TestCAsyncPosix::devicePathMapsWindowsNames()
{
    QFETCH(QString, name);
    QFETCH(QString, path);
    QCOMPARE(QString::fromStdString(CAsyncPosix::DevicePath(name.toStdString())), path);
}

void TestCAsyncPosix::baudIndexTable()
{
    const int rates[] = {110, 300, 600, 1200, 2400, 4800, 9600, 19200, 38400, 57600, 115200};
    for (int i = 0; i < 11; ++i) {
        QCOMPARE(CAsync::BaudIndexForRate(rates[i]), i);
        QCOMPARE(CAsync::RateForBaudIndex(i), rates[i]);
    }
    QCOMPARE(CAsync::BaudIndexForRate(14400), 10);
    QCOMPARE(CAsync::BaudIndexForRate(0), 10);
    QCOMPARE(CAsync::RateForBaudIndex(11), -1);
}

void TestCAsyncPosix::configureLinkFormatOnPty()
{
    PtyPair pty;
    QVERIFY(pty.IsValid());
    RecordingPort port;
    QVERIFY(port.Open(Path(pty)));
    QVERIFY(port.Configure(6, CAsync::kDataBits8, CAsync::kStopBits1, CAsync::kParityEven));
    // A pty cannot hold parity; rate, stop bits and the raw flags are what can be read back.
    const termios tio = SlaveSettings(pty.SlavePath());
    QCOMPARE(cfgetospeed(&tio), speed_t(B9600));
    QCOMPARE(cfgetispeed(&tio), speed_t(B9600));
    QCOMPARE(tio.c_cflag & CSTOPB, tcflag_t(0));
    QCOMPARE(tio.c_cflag & CSIZE, tcflag_t(CS8));
    QCOMPARE(tio.c_lflag & (ICANON | ECHO | ISIG), tcflag_t(0));
    QCOMPARE(tio.c_oflag & OPOST, tcflag_t(0));
    QCOMPARE(tio.c_iflag & (IXON | IXOFF), tcflag_t(0));
    QCOMPARE(tio.c_cflag & CRTSCTS, tcflag_t(0));
    QVERIFY(tio.c_cflag & CLOCAL);
    QVERIFY(tio.c_cflag & CREAD);
    QVERIFY(port.Errors().empty());
}

void TestCAsyncPosix::configureOtherSelectors()
{
    PtyPair pty;
    RecordingPort port;
    QVERIFY(port.Open(Path(pty)));
    QVERIFY(port.Configure(10, CAsync::kDataBits8, CAsync::kStopBits2, CAsync::kParityNone));
    termios tio = SlaveSettings(pty.SlavePath());
    QCOMPARE(cfgetospeed(&tio), speed_t(B115200));
    QVERIFY(tio.c_cflag & CSTOPB);

    // Index 11 and selector 9 leave the rate and the stop bits as the device has them.
    QVERIFY(port.Configure(11, 9, 9, 9));
    tio = SlaveSettings(pty.SlavePath());
    QCOMPARE(cfgetospeed(&tio), speed_t(B115200));
    QVERIFY(tio.c_cflag & CSTOPB);

    QVERIFY(port.Configure(0, CAsync::kDataBits8, CAsync::kStopBits1, CAsync::kParityOdd));
    tio = SlaveSettings(pty.SlavePath());
    QCOMPARE(cfgetospeed(&tio), speed_t(B110));
    QCOMPARE(tio.c_cflag & CSTOPB, tcflag_t(0));
}

void TestCAsyncPosix::configureTwiceAtTheSameRate()
{
    // A second connect to the same far end at the same rate must work like the first.
    PtyPair pty;
    for (int round = 0; round < 3; ++round) {
        RecordingPort port;
        QVERIFY(port.Open(Path(pty)));
        QVERIFY2(port.Configure(6, CAsync::kDataBits8, CAsync::kStopBits1, CAsync::kParityEven),
                 port.Errors().empty() ? "" : port.Errors().front().c_str());
        port.Close();
    }
}

void TestCAsyncPosix::bytesBothWays()
{
    PtyPair pty;
    RecordingPort port;
    QVERIFY(port.Open(Path(pty)));
    QVERIFY(port.Configure(6, 1, 0, 1));

    const ByteVector telegram = {0x10, 0x49, 0x01, 0x4A, 0x16};
    QVERIFY(port.Tx(telegram));
    QCOMPARE(pty.Read(5, 2000), Bytes(telegram));

    QVERIFY(pty.Write(QByteArray::fromHex("100b010c16")));
    QVERIFY(port.WaitForBytes(5, 2000));
    QCOMPARE(Bytes(port.Received()), QByteArray::fromHex("100b010c16"));

    // The sent bytes are traced at level 11 as direction 1, the received ones as direction 0,
    // each received batch before OnReceive sees it.
    const auto traces = port.Traces();
    QVERIFY(traces.size() >= 2);
    QCOMPARE(traces.front().level, 11);
    QCOMPARE(traces.front().direction, 1);
    QCOMPARE(Bytes(traces.front().data), Bytes(telegram));
    ByteVector tracedIn;
    for (std::size_t i = 1; i < traces.size(); ++i) {
        QCOMPARE(traces[i].level, 11);
        QCOMPARE(traces[i].direction, 0);
        QCOMPARE(traces[i].batchesBefore, i - 1);
        tracedIn.insert(tracedIn.end(), traces[i].data.begin(), traces[i].data.end());
    }
    QCOMPARE(Bytes(tracedIn), QByteArray::fromHex("100b010c16"));
}

namespace {

// A line tap that keeps what it is given.
class KeepingTap : public CLineTap
{
public:
    struct Chunk
    {
        int direction;
        ByteVector data;
    };
    void Record(int direction, Clock::time_point seen, const ByteVector &data) override
    {
        std::lock_guard lock(mutex);
        chunks.push_back({direction, data});
        latest = seen;
    }
    std::vector<Chunk> Chunks()
    {
        std::lock_guard lock(mutex);
        return chunks;
    }
    std::mutex mutex;
    std::vector<Chunk> chunks;
    Clock::time_point latest;
};

} // namespace

void TestCAsyncPosix::everyPortPassesItsChunksToTheLineTap()
{
    // The link's port and the boot loader's port take turns on the line: one tap sees both.
    PtyPair linkPty;
    PtyPair bootPty;
    RecordingPort link;
    RecordingPort boot;
    QVERIFY(link.Open(Path(linkPty)) && link.Configure(6, 1, 0, 1));
    QVERIFY(boot.Open(Path(bootPty)) && boot.Configure(10, 1, 0, 0));
    auto tap = std::make_shared<KeepingTap>();
    const auto before = CLineTap::Clock::now();
    CAsync::SetLineTap(tap);
    QCOMPARE(CAsync::LineTap().get(), tap.get());

    QVERIFY(link.Tx({0x10, 0x49, 0x01, 0x4A, 0x16}));
    QCOMPARE(linkPty.Read(5, 2000), QByteArray::fromHex("1049014a16"));
    QVERIFY(linkPty.Write(QByteArray::fromHex("3f10")));        // garbage and a partial telegram, as they are
    QVERIFY(link.WaitForBytes(2, 2000));
    QVERIFY(boot.Tx({0x05}));
    QCOMPARE(bootPty.Read(1, 2000), QByteArray::fromHex("05"));
    QVERIFY(bootPty.Write(QByteArray::fromHex("06")));
    QVERIFY(boot.WaitForBytes(1, 2000));
    CAsync::SetLineTap(nullptr);
    QVERIFY(link.Tx({0xE5})); // after the capture: not recorded
    QCOMPARE(linkPty.Read(1, 2000), QByteArray::fromHex("e5"));

    QByteArray sent;
    QByteArray received;
    for (const KeepingTap::Chunk &chunk : tap->Chunks()) {
        QVERIFY(chunk.direction == CAsync::kDirectionSent || chunk.direction == CAsync::kDirectionReceived);
        (chunk.direction == CAsync::kDirectionSent ? sent : received) += Bytes(chunk.data);
    }
    QCOMPARE(sent, QByteArray::fromHex("1049014a1605"));
    QCOMPARE(received, QByteArray::fromHex("3f1006"));
    QVERIFY(tap->latest >= before && tap->latest <= CLineTap::Clock::now());
    QVERIFY(!CAsync::LineTap());
}

void TestCAsyncPosix::burstSplitAcrossReads()
{
    PtyPair pty;
    RecordingPort port;
    QVERIFY(port.Open(Path(pty)));
    QVERIFY(port.Configure(10, 1, 0, 1));

    QByteArray burst;
    for (int i = 0; i < 3000; ++i)
        burst.append(char(i * 7));
    for (int offset = 0; offset < burst.size(); offset += 700) {
        QVERIFY(pty.Write(burst.mid(offset, 700)));
        QTest::qWait(5);
    }
    port.WaitForBytes(3000, 5000);
    QCOMPARE(Bytes(port.Received()).size(), burst.size());
    QCOMPARE(Bytes(port.Received()), burst);
    for (const ByteVector &batch : port.Batches())
        QVERIFY(!batch.empty());
}

void TestCAsyncPosix::closeWhileReaderBlocked()
{
    PtyPair pty;
    RecordingPort port;
    QVERIFY(port.Open(Path(pty)));
    QVERIFY(port.Configure(6, 1, 0, 1));
    QVERIFY(port.IsReading());
    QElapsedTimer clock;
    clock.start();
    port.Close();
    QVERIFY(clock.elapsed() < 2000);
    QVERIFY(!port.IsOpen());
    QVERIFY(!port.IsReading());
    QVERIFY(port.Errors().empty());
}

void TestCAsyncPosix::closeNeverOpenedPort()
{
    RecordingPort port;
    port.Close();
    port.Close();
    QVERIFY(!port.IsOpen());
    QVERIFY(port.Errors().empty());
}

void TestCAsyncPosix::closeAfterOpenWithoutConfigure()
{
    PtyPair pty;
    RecordingPort port;
    QVERIFY(port.Open(Path(pty)));
    QElapsedTimer clock;
    clock.start();
    port.Close();
    QVERIFY(clock.elapsed() < 1000);
    QVERIFY(!port.IsOpen());
}

void TestCAsyncPosix::txOnClosedPortFailsSilently()
{
    RecordingPort port;
    QVERIFY(!port.Tx({0xE5}));
    QVERIFY(port.Errors().empty());
    QVERIFY(port.Traces().empty());
}

void TestCAsyncPosix::openMissingDeviceReports()
{
    RecordingPort port;
    QVERIFY(!port.Open("/dev/lichtwart-no-such-device"));
    QCOMPARE(port.Errors().size(), std::size_t(1));
    QVERIFY(port.Errors().front().rfind("CAsyncPosix::Open: ", 0) == 0);
    QVERIFY(port.Errors().front().find("/dev/lichtwart-no-such-device") != std::string::npos);
    QVERIFY(!port.Configure(6, 1, 0, 1));
}

void TestCAsyncPosix::secondOpenOfABusyPortFails()
{
    PtyPair pty;
    RecordingPort first;
    RecordingPort second;
    QVERIFY(first.Open(Path(pty)));
    QVERIFY(!second.Open(Path(pty)));
    QCOMPARE(second.Errors().size(), std::size_t(1));
    QVERIFY(second.Errors().front().find("already in use") != std::string::npos);
    first.Close();
    QVERIFY(second.Open(Path(pty)));
}

void TestCAsyncPosix::farEndVanishing()
{
    auto pty = std::make_unique<PtyPair>();
    RecordingPort port;
    QVERIFY(port.Open(Path(*pty)));
    QVERIFY(port.Configure(6, 1, 0, 1));
    pty->CloseMaster();

    QVERIFY(port.WaitForErrors(1, 3000));
    QTRY_VERIFY_WITH_TIMEOUT(!port.IsReading(), 3000);
    // No busy loop: the process stays idle after the hang-up.
    const double cpuBefore = ProcessCpuMs();
    QTest::qWait(500);
    QVERIFY2(ProcessCpuMs() - cpuBefore < 100.0, "the port spins after the far end vanished");
    QCOMPARE(port.Errors().size(), std::size_t(1));
    QCOMPARE(QString::fromStdString(port.Errors().front()),
             QStringLiteral("CAsyncPosix::ThreadProc: The device has been disconnected"));

    QVERIFY(!port.Tx({0x10, 0x5B, 0x01, 0x5C, 0x16}));
    QCOMPARE(QString::fromStdString(port.Errors().back()), QStringLiteral("CAsyncPosix::Tx: Sending data failed"));
    port.Close();
    QVERIFY(!port.IsOpen());
}

QTEST_GUILESS_MAIN(TestCAsyncPosix)
#include "tst_casyncposix.moc"
