#include "PacedQueue.h"
#include "PtyTransport.h"
#include "SimTestHelpers.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using namespace strelosim;
using namespace std::chrono_literals;
using simtest::At;
using simtest::Hex;

class TestTransport : public QObject
{
    Q_OBJECT

private:
    static int OpenTerminal(const PtyTransport &transport, speed_t speed = B9600, bool twoStopBits = false)
    {
        const int fd = ::open(transport.TerminalPath().c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        termios tio {};
        tcgetattr(fd, &tio);
        cfmakeraw(&tio);
        cfsetispeed(&tio, speed);
        cfsetospeed(&tio, speed);
        if (twoStopBits)
            tio.c_cflag |= CSTOPB;
        tcsetattr(fd, TCSANOW, &tio);
        return fd;
    }

    // Adds what the transport has read to `all`; the size of `all` afterwards.
    static std::size_t ReadInto(PtyTransport &transport, Bytes &all)
    {
        std::uint8_t buffer[64];
        for (std::size_t n; (n = transport.Read(buffer, sizeof buffer)) > 0;)
            all.insert(all.end(), buffer, buffer + n);
        return all.size();
    }

    // True once a close was seen; the try macros evaluate their condition more than once.
    static bool SawClose(PtyTransport &transport, bool &seen)
    {
        seen = seen || transport.TakeCloseEvents();
        return seen;
    }

    static qsizetype AppendFrom(int fd, QByteArray &all)
    {
        char buffer[64];
        for (ssize_t n; (n = ::read(fd, buffer, sizeof buffer)) > 0;)
            all.append(buffer, n);
        return all.size();
    }

private slots:
    void pacedBytesFollowEachOther()
    {
        PacedQueue queue;
        QVERIFY(queue.Empty());
        QVERIFY(!queue.NextDue());
        queue.Push(Hex("01 02 03"), At(100), 10ms);
        QCOMPARE(*queue.NextDue(), At(110));
        QVERIFY(queue.Due(At(109)).empty());
        COMPARE_BYTES(queue.Due(At(120)), Hex("01 02"));
        queue.Pop(2);
        // Bytes pushed while the line is busy queue up behind the last one.
        queue.Push(Hex("04"), At(105), 10ms);
        COMPARE_BYTES(queue.Due(At(139)), Hex("03"));
        COMPARE_BYTES(queue.Due(At(140)), Hex("03 04"));
        queue.Pop(5);
        QVERIFY(queue.Empty());
        // A free line starts at once.
        queue.Push(Hex("05"), At(500), 10ms);
        QCOMPARE(*queue.NextDue(), At(510));
    }

    void unpacedBytesAreDueWhenReady()
    {
        PacedQueue queue;
        queue.Push(Hex("01 02"), At(100), 0ms);
        COMPARE_BYTES(queue.Due(At(100)), Hex("01 02"));
    }

    void clearForgetsTheBusyLine()
    {
        PacedQueue queue;
        queue.Push(Hex("01 02 03"), At(100), 100ms);
        queue.Clear();
        QVERIFY(queue.Empty());
        queue.Push(Hex("04"), At(100), 10ms);
        QCOMPARE(*queue.NextDue(), At(110));
    }

    void bytesTravelBothWays()
    {
        PtyTransport transport;
        std::string error;
        QVERIFY2(transport.Open(error), error.c_str());
        QVERIFY(transport.TerminalPath().rfind("/dev/pts/", 0) == 0);
        const int fd = OpenTerminal(transport);
        QVERIFY(fd >= 0);
        QCOMPARE(::write(fd, "\x10\x49\x01\x4A\x16", 5), ssize_t(5));
        Bytes received;
        QTRY_COMPARE(ReadInto(transport, received), 5u);
        COMPARE_BYTES(received, Hex("10 49 01 4A 16"));
        QCOMPARE(transport.Write(Hex("10 0B 01 0C 16")), 5u);
        QByteArray answer;
        QTRY_COMPARE(AppendFrom(fd, answer), 5);
        QCOMPARE(answer, QByteArray("\x10\x0B\x01\x0C\x16", 5));
        ::close(fd);
    }

    void closingTheTerminalIsNoticedAndClearsExclusiveUse()
    {
        PtyTransport transport;
        std::string error;
        QVERIFY2(transport.Open(error), error.c_str());
        QVERIFY(!transport.TakeCloseEvents());
        int fd = OpenTerminal(transport);
        QVERIFY(ioctl(fd, TIOCEXCL) == 0);
        ::close(fd);
        bool closed = false;
        QTRY_VERIFY(SawClose(transport, closed));
        QVERIFY(!transport.TakeCloseEvents());
        fd = OpenTerminal(transport);
        QVERIFY(fd >= 0);
        int exclusive = 1;
        QVERIFY(ioctl(fd, TIOCGEXCL, &exclusive) == 0);
        QCOMPARE(exclusive, 0);
        ::close(fd);
    }

    void unreadAnswersAreDiscardedWhenTheTerminalCloses()
    {
        PtyTransport transport;
        std::string error;
        QVERIFY2(transport.Open(error), error.c_str());
        int fd = OpenTerminal(transport);
        transport.Write(Hex("E5 E5"));
        ::close(fd);
        bool closed = false;
        QTRY_VERIFY(SawClose(transport, closed));
        fd = OpenTerminal(transport);
        char buffer[4];
        QCOMPARE(::read(fd, buffer, sizeof buffer), ssize_t(-1));
        ::close(fd);
    }

    void characterTimeFollowsTheConfiguredLine()
    {
        PtyTransport transport;
        std::string error;
        QVERIFY2(transport.Open(error), error.c_str());
        int fd = OpenTerminal(transport, B2400);
        QCOMPARE(transport.BaudRate(), 2400u);
        // Start, 8 data bits, stop: 10 bits; with the link's parity bit 11.
        QCOMPARE(transport.CharacterTime(false).count(), 1'000'000'000LL * 10 / 2400);
        QCOMPARE(transport.CharacterTime(true).count(), 1'000'000'000LL * 11 / 2400);
        ::close(fd);
        fd = OpenTerminal(transport, B115200, true);
        QCOMPARE(transport.BaudRate(), 115200u);
        QCOMPARE(transport.CharacterTime(false).count(), 1'000'000'000LL * 11 / 115200);
        ::close(fd);
    }
};

QTEST_GUILESS_MAIN(TestTransport)
#include "tst_sim_transport.moc"
