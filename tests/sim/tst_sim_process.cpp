#include "SimTestHelpers.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

using strelosim::Bytes;
using simtest::Hex;

namespace {

constexpr int kAnswerTimeoutMs = 5000;

// A tiny master: opens the terminal raw, writes its own bytes and reads what comes back.
class ScriptedMaster
{
public:
    ~ScriptedMaster() { Close(); }

    bool Open(const QString &path, speed_t speed = B9600)
    {
        Close();
        m_fd = ::open(QFile::encodeName(path).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK);
        termios tio {};
        if (m_fd < 0 || tcgetattr(m_fd, &tio) != 0)
            return false;
        cfmakeraw(&tio);
        cfsetispeed(&tio, speed);
        cfsetospeed(&tio, speed);
        ioctl(m_fd, TIOCEXCL); // as a real master would; the simulator must let the next open through
        return tcsetattr(m_fd, TCSANOW, &tio) == 0;
    }

    void Close()
    {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = -1;
    }

    bool Send(const Bytes &bytes) { return ::write(m_fd, bytes.data(), bytes.size()) == ssize_t(bytes.size()); }

    // Reads until `count` bytes arrived or `timeoutMs` passed.
    Bytes Receive(std::size_t count, int timeoutMs = kAnswerTimeoutMs)
    {
        Bytes bytes;
        QElapsedTimer clock;
        clock.start();
        while (bytes.size() < count && clock.elapsed() < timeoutMs) {
            pollfd in {m_fd, POLLIN, 0};
            if (poll(&in, 1, int(timeoutMs - clock.elapsed())) <= 0)
                continue;
            std::uint8_t buffer[512];
            const ssize_t n = ::read(m_fd, buffer, sizeof buffer);
            if (n > 0)
                bytes.insert(bytes.end(), buffer, buffer + n);
        }
        return bytes;
    }

    Bytes Exchange(const Bytes &request, std::size_t answerSize, int timeoutMs = kAnswerTimeoutMs)
    {
        if (!Send(request))
            return {};
        return Receive(answerSize, timeoutMs);
    }

private:
    int m_fd = -1;
};

} // namespace

class TestSimProcess : public QObject
{
    Q_OBJECT

private:
    struct Sim
    {
        QProcess process;
        QString device;
        ~Sim()
        {
            if (process.state() != QProcess::NotRunning) {
                process.kill();
                process.waitForFinished(5000);
            }
        }
    };

    static QString Binary() { return QDir(qEnvironmentVariable("LICHTWART_BIN_DIR")).filePath("strelo-sim"); }

    // Starts the simulator and reads its device line.
    static bool Start(Sim &sim, const QStringList &arguments)
    {
        if (!QFileInfo(Binary()).isExecutable())
            return false;
        sim.process.start(Binary(), arguments);
        QElapsedTimer clock;
        clock.start();
        while (!sim.process.canReadLine() && clock.elapsed() < 10000)
            sim.process.waitForReadyRead(100);
        const QString line = QString::fromUtf8(sim.process.readLine()).trimmed();
        if (!line.startsWith("device: "))
            return false;
        sim.device = line.mid(8);
        return true;
    }

    static void Stop(Sim &sim, int exitCode = 0)
    {
        sim.process.terminate();
        QVERIFY(sim.process.waitForFinished(10000));
        QCOMPARE(sim.process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(sim.process.exitCode(), exitCode);
    }

    static void BringUp(ScriptedMaster &master, std::uint8_t address = 1)
    {
        const std::uint8_t a = address;
        COMPARE_BYTES(master.Exchange({0x10, 0x49, a, std::uint8_t(0x49 + a), 0x16}, 5), (Bytes {0x10, 0x0B, a, std::uint8_t(0x0B + a), 0x16}));
        COMPARE_BYTES(master.Exchange({0x10, 0x40, a, std::uint8_t(0x40 + a), 0x16}, 1), Hex("E5"));
        COMPARE_BYTES(master.Exchange({0x10, 0x78, a, std::uint8_t(0x78 + a), 0x16}, 1), Hex("E5"));
    }

    static long CpuTicks(qint64 pid)
    {
        QFile stat(QString("/proc/%1/stat").arg(pid));
        if (!stat.open(QIODevice::ReadOnly))
            return -1;
        const QString text = QString::fromLatin1(stat.readAll());
        // Fields after the command name, which is in parentheses: utime and stime are the 12th
        // and 13th of them.
        const QStringList fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
        return fields.value(11).toLong() + fields.value(12).toLong();
    }

private slots:
    void linkComesUpSurvivesReopeningAndEndsOnSigterm()
    {
        QTemporaryDir dir;
        const QString link = dir.filePath("strelo");
        Sim sim;
        QVERIFY(Start(sim, {"--link", link, "--verbose"}));
        QVERIFY(sim.device.startsWith("/dev/pts/"));
        QCOMPARE(QFileInfo(link).symLinkTarget(), sim.device);

        ScriptedMaster master;
        QVERIFY(master.Open(link));
        const qint64 before = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
        BringUp(master);
        const qint64 after = std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now().time_since_epoch()).count();
        // Actual value requested as confirmed user data, fetched with the next poll.
        COMPARE_BYTES(master.Exchange(Hex("68 0B 0B 68 53 01 00 07 04 15 01 01 02 01 37 B0 16"), 1), Hex("E5"));
        COMPARE_BYTES(master.Exchange(Hex("10 78 01 79 16"), 20), Hex("68 0E 0E 68 08 01 00 0A 04 85 01 01 05 01 37 01 6B 00 47 16"));

        for (int session = 0; session < 3; ++session) {
            master.Close();
            QVERIFY(master.Open(link));
            BringUp(master);
        }
        master.Close();

        Stop(sim);
        QVERIFY(!QFileInfo::exists(link));
        QVERIFY(!QFileInfo(link).isSymLink());

        QStringList lines = QString::fromUtf8(sim.process.readAllStandardError()).split('\n', Qt::SkipEmptyParts);
        // The referee's summary closes the log: a master that keeps to the link procedure.
        QVERIFY(!lines.isEmpty());
        QCOMPARE(lines.takeLast(), QStringLiteral("strelo-sim: summary violations=0 short-user-data=0 broadcast-answer=0 frame-count=0"));
        const QRegularExpression format(R"(^(\d+)\.(\d{3}) (link|app|boot|port) [a-z0-9-]+( [A-Z0-9]+=\S*| [a-z]+)*$)");
        for (const QString &line : lines)
            QVERIFY2(format.match(line).hasMatch(), qPrintable(line));
        QVERIFY(lines.size() >= 2);
        QVERIFY(lines[0].endsWith(" link rx short C=49 A=1 PRM=1 FCB=0 FCV=0 FN=9 NAME=RQS"));
        QVERIFY(lines[1].endsWith(" link tx short C=0B A=1 PRM=0 ACD=0 DFC=0 FN=11 NAME=S1"));
        // Three closes between sessions; the last one may race with SIGTERM.
        QVERIFY(lines.filter(QRegularExpression(" port closed$")).size() >= 3);
        // The time stamps are the monotonic clock the test reads too.
        const auto match = format.match(lines[0]);
        const qint64 stamp = match.captured(1).toLongLong() * 1000 + match.captured(2).toLongLong();
        QVERIFY2(stamp >= before - 1000 && stamp <= after + 1000, qPrintable(lines[0]));
    }

    void aBadOptionEndsWithExitCode2()
    {
        QProcess process;
        QVERIFY(QFileInfo(Binary()).isExecutable());
        process.start(Binary(), {"--osi2", "0"});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitStatus(), QProcess::NormalExit);
        QCOMPARE(process.exitCode(), 2);
        const QString error = QString::fromUtf8(process.readAllStandardError());
        QCOMPARE(error.count('\n'), 1);
        QVERIFY2(error.startsWith("strelo-sim: --osi2 needs a whole number from 1 to 254"), qPrintable(error));
        QVERIFY(process.readAllStandardOutput().isEmpty());
    }

    void anExistingFileIsNotReplacedByTheLink()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath("occupied");
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        QProcess process;
        process.start(Binary(), {"--link", path});
        QVERIFY(process.waitForFinished(10000));
        QCOMPARE(process.exitCode(), 1);
        QVERIFY(QString::fromUtf8(process.readAllStandardError()).contains("exists and is not a symbolic link"));
        QVERIFY(QFileInfo(path).isFile());
    }

    void firmwareUpgradeOverTheLine()
    {
        QTemporaryDir dir;
        const QString image = dir.filePath("flashed.mhx");
        Sim sim;
        QVERIFY(Start(sim, {"--image-out", image, "--erase-ms", "50", "--osi2", "3"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        BringUp(master, 3);
        // Switch to firmware upload mode (port 0, 9600 baud, features 31).
        COMPARE_BYTES(master.Exchange(Hex("68 0E 0E 68 53 03 00 0A FE 05 07 01 05 01 FE 00 03 1F 91 16"), 1), Hex("E5"));
        // The head has left the link.
        QVERIFY(master.Exchange(Hex("10 7B 03 7E 16"), 1, 300).empty());
        master.Close();

        QVERIFY(master.Open(sim.device));
        COMPARE_BYTES(master.Exchange(Hex("05"), 1), Hex("06"));
        COMPARE_BYTES(master.Exchange(Hex("02 00 AA 00 03"), 1), Hex("06"));
        // "STRELO-SWV:1.5.0" at 0x004000, then a write whose checksum is wrong.
        COMPARE_BYTES(master.Exchange(Hex("02 13 24 00 40 00 53 54 52 45 4C 4F 2D 53 57 56 3A 31 2E 35 2E 30 8E 03"), 1), Hex("06"));
        COMPARE_BYTES(master.Exchange(Hex("02 07 24 00 50 00 01 02 03 04 00 03"), 1), Hex("15"));
        QVERIFY(master.Send(Hex("02 00 CC 00 03")));
        QTRY_VERIFY_WITH_TIMEOUT(QFileInfo(image).size() > 0, kAnswerTimeoutMs);
        QFile file(image);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), QByteArray("S00D0000737472656C6F2D73696DE3\r\n"
                                            "S31500004000535452454C4F2D5357563A312E352E3078\r\n"
                                            "S70500000000FA\r\n"));

        // Restarted into the link with the new software version.
        BringUp(master, 3);
        COMPARE_BYTES(master.Exchange(Hex("68 0B 0B 68 53 03 00 07 FE 13 14 01 02 FF 85 09 16"), 1), Hex("E5"));
        COMPARE_BYTES(master.Exchange(Hex("10 78 03 7B 16"), 23),
                      Hex("68 11 11 68 08 03 00 0D FE 83 01 01 08 FF 85 02 01 00 01 05 00 30 16"));
        Stop(sim);
    }

    // The broadcast's control octet in a short telegram to the head, as a master that repeats a
    // broadcast would send it: logged, counted in the summary, and with --strict the exit code 3.
    void strictEndsWithExitCode3AfterAViolation()
    {
        Sim sim;
        QVERIFY(Start(sim, {"--verbose", "--strict"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        BringUp(master);
        QVERIFY(master.Exchange(Hex("68 0D 0D 68 54 FF 00 09 04 05 01 01 04 FF 83 0C 00 F9 16"), 1, 300).empty());
        QVERIFY(master.Exchange(Hex("10 54 01 55 16"), 1, 300).empty());
        master.Close();
        Stop(sim, 3);
        const QString log = QString::fromUtf8(sim.process.readAllStandardError());
        QVERIFY2(log.contains(QRegularExpression(" link violation KIND=short-user-data WHY=user-data-in-a-short-telegram "
                                                 "short C=54 A=1 PRM=1 FCB=0 FCV=1 FN=4 NAME=DNR\n")),
                 qPrintable(log));
        QVERIFY(log.endsWith(QStringLiteral("strelo-sim: summary violations=1 short-user-data=1 broadcast-answer=0 frame-count=0\n")));
    }

    // Without --strict the count is reported and the exit code stays 0.
    void violationWithoutStrictEndsWithExitCode0()
    {
        Sim sim;
        QVERIFY(Start(sim, {}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        QVERIFY(master.Exchange(Hex("10 49 FF 48 16"), 1, 300).empty());
        master.Close();
        Stop(sim);
        const QString log = QString::fromUtf8(sim.process.readAllStandardError());
        QCOMPARE(log, QStringLiteral("strelo-sim: summary violations=1 short-user-data=0 broadcast-answer=1 frame-count=0\n"));
    }

    void latencyDelaysEveryAnswer()
    {
        Sim sim;
        QVERIFY(Start(sim, {"--latency", "300"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        QElapsedTimer clock;
        clock.start();
        COMPARE_BYTES(master.Exchange(Hex("10 49 01 4A 16"), 5), Hex("10 0B 01 0C 16"));
        QVERIFY2(clock.elapsed() >= 290, qPrintable(QString::number(clock.elapsed())));
        Stop(sim);
    }

    void headHearsOnlyItsOwnRate()
    {
        Sim sim;
        QVERIFY(Start(sim, {"--baud", "19200", "--osi2", "7"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device, B9600));
        QVERIFY(master.Exchange(Hex("10 49 07 50 16"), 1, 500).empty());
        QVERIFY(master.Open(sim.device, B19200));
        COMPARE_BYTES(master.Exchange(Hex("10 49 07 50 16"), 5), Hex("10 0B 07 12 16"));
        QVERIFY(master.Open(sim.device, B115200));
        QVERIFY(master.Exchange(Hex("10 49 07 50 16"), 1, 500).empty());
        Stop(sim);
        QVERIFY(sim.process.readAllStandardError().startsWith("listening: 19200 baud, OSI 2 address 7\n"));
    }

    void withoutBaudTheHeadHearsAnyRate()
    {
        Sim sim;
        QVERIFY(Start(sim, {}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device, B2400));
        COMPARE_BYTES(master.Exchange(Hex("10 49 01 4A 16"), 5), Hex("10 0B 01 0C 16"));
        Stop(sim);
    }

    void silentAnswersNothing()
    {
        Sim sim;
        QVERIFY(Start(sim, {"--silent"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        QVERIFY(master.Exchange(Hex("10 49 01 4A 16"), 1, 500).empty());
        Stop(sim);
    }

    void pacingTakesTheLineTime()
    {
        Sim sim;
        QVERIFY(Start(sim, {"--pace"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device, B1200));
        QElapsedTimer clock;
        clock.start();
        COMPARE_BYTES(master.Exchange(Hex("10 49 01 4A 16"), 5), Hex("10 0B 01 0C 16"));
        // Five characters each way at 1200 bit/s, 11 bits each (8E1): 91.7 ms at the least.
        QVERIFY2(clock.elapsed() >= 90, qPrintable(QString::number(clock.elapsed())));
        Stop(sim);
    }

    void faultsNeverShowTheMasterALengthTrap()
    {
        Sim sim;
        QVERIFY(Start(sim, {"--drop", "0.2", "--corrupt", "0.3", "--seed", "11"}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        Bytes line;
        for (int i = 0; i < 60; ++i) {
            const Bytes answer = master.Exchange(Hex("10 49 01 4A 16"), 5, 100);
            line.insert(line.end(), answer.begin(), answer.end());
        }
        QVERIFY(!line.empty());
        for (std::size_t i = 1; i < line.size(); ++i)
            QVERIFY(!(line[i - 1] == 0x68 && line[i] <= 1));
        Stop(sim);
    }

    void noCpuWhileIdle()
    {
        Sim sim;
        QVERIFY(Start(sim, {}));
        ScriptedMaster master;
        QVERIFY(master.Open(sim.device));
        BringUp(master);
        master.Close(); // also idle after the master went away
        QTest::qWait(200);
        const long start = CpuTicks(sim.process.processId());
        QVERIFY(start >= 0);
        QTest::qWait(1500);
        const long used = CpuTicks(sim.process.processId()) - start;
        QVERIFY2(used <= 3, qPrintable(QString("%1 clock ticks in 1.5 s").arg(used)));
        Stop(sim);
    }
};

QTEST_GUILESS_MAIN(TestSimProcess)
#include "tst_sim_process.moc"
