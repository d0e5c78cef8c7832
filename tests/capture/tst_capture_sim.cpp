#include "CaptureFile.h"
#include "FirmwarePackageBuilder.h"
#include "CliRun.h"
#include "SimProcess.h"
#include "tls/CTlsOsi2.h"

#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

namespace {

// The telegram an OSI 2 trace row describes (direction, time, frame type, two data octets, PRM,
// FCB, FCV, ACD, DFC, function, address, checksum, data), built octet by octet; "" for a row that
// does not describe one.
QByteArray TelegramOfTraceRow(const QString &row)
{
    const QStringList cells = row.split(QLatin1Char('\t'));
    if (cells.size() != 14 || (cells.at(0) != QLatin1String("TX") && cells.at(0) != QLatin1String("RX")))
        return {};
    const int direction = cells.at(0) == QLatin1String("TX") ? 1 : 0;
    if (cells.at(2) == QLatin1String("Acknowledge"))
        return QByteArray(1, '\xE5');
    const bool prm = cells.at(5) == QLatin1String("1");
    const int bit5 = (prm ? cells.at(6) : cells.at(8)).toInt();
    const int bit4 = (prm ? cells.at(7) : cells.at(9)).toInt();
    int code = -1;
    for (int candidate = 0; candidate < 16 && code < 0; ++candidate) {
        if (QString::fromStdString(CTlsOsi2::TraceFunctionName(candidate, direction)) == cells.at(10))
            code = candidate;
    }
    if (code < 0)
        return {};
    const auto control = static_cast<char>((prm ? 0x40 : 0) | bit5 << 5 | bit4 << 4 | code);
    const auto address = static_cast<char>(cells.at(11).toInt());
    const QByteArray data = QByteArray::fromHex(cells.at(13).toLatin1());
    QByteArray telegram;
    if (cells.at(2) == QLatin1String("Short"))
        telegram = QByteArray("\x10", 1) + control + address;
    else
        telegram = QByteArray(1, '\x68') + char(data.size() + 2) + char(data.size() + 2) + '\x68' + control + address + data;
    quint8 sum = 0;
    for (int i = telegram.at(0) == '\x10' ? 1 : 4; i < telegram.size(); ++i)
        sum = static_cast<quint8>(sum + static_cast<quint8>(telegram.at(i)));
    if (sum != cells.at(12).toInt())
        return {};
    return telegram + char(sum) + '\x16';
}

int SumOfMatches(const QStringList &lines, const QRegularExpression &pattern)
{
    int sum = 0;
    for (const QString &line : lines) {
        const QRegularExpressionMatch match = pattern.match(line);
        if (match.hasMatch())
            sum += match.captured(1).toInt();
    }
    return sum;
}

} // namespace

// lichtwart-cli --capture against strelo-sim: the file opens in tshark with the Lichtwart profile,
// decoded, and holds every octet that crossed the line.
class TestCaptureSim : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void sessionDecodesAndEqualsTheTrace_data();
    void sessionDecodesAndEqualsTheTrace();
    void anUpgradeKeepsTheBootLoaderBytes();
    void injectedFaultsAreKept();
    void aFullCaptureFileLeavesTheLinkUp();
    void aCaptureFileThatCannotBeCreatedStopsTheRun();

private:
    CliResult Run(const QStringList &arguments, int timeoutMs = 60000);
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestCaptureSim::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CONFIG_HOME", m_dir->path().toUtf8());
}

CliResult TestCaptureSim::Run(const QStringList &arguments, int timeoutMs)
{
    // The settings store is the one init() put into the environment.
    return CliRun::Run(arguments, timeoutMs);
}

void TestCaptureSim::sessionDecodesAndEqualsTheTrace_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::newRow("link-up and identify") << QStringList {"identify"};
    QTest::newRow("lamp") << QStringList {"lamp", "red"};
    QTest::newRow("currents") << QStringList {"currents"};
    QTest::newRow("flasher sync broadcast") << QStringList {"flasher-sync", "soft"};
    QTest::newRow("2 s monitor") << QStringList {"monitor", "--duration", "2000"};
}

void TestCaptureSim::sessionDecodesAndEqualsTheTrace()
{
    QFETCH(QStringList, command);
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const QString path = m_dir->filePath(QStringLiteral("session.pcap"));
    const CliResult result = Run(QStringList {"--device", sim.DevicePath(), "--trace", "osi2", "--capture", path} + command);
    QCOMPARE(result.exitCode, 0);

    CaptureFile capture;
    QVERIFY2(capture.Read(path), qPrintable(capture.Error()));
    const QStringList decoded = capture.Decode(path);
    QVERIFY2(!decoded.isEmpty(), qPrintable(capture.Error()));
    QCOMPARE(decoded.size(), capture.Records().size());
    for (int i = 0; i < decoded.size(); ++i) {
        const QStringList fields = decoded.at(i).split(QLatin1Char('\t'));
        // Protocols, expert info, malformed mark, frame format(s).
        QCOMPARE(fields.size(), 4);
        QVERIFY2(fields.at(0) == QLatin1String("rtacser:iec60870_101")
                     || fields.at(0) == QLatin1String("rtacser:iec60870_101:data"),
                 qPrintable(QStringLiteral("record %1: %2").arg(i + 1).arg(decoded.at(i))));
        QVERIFY2(fields.at(1).isEmpty() && fields.at(2).isEmpty(), qPrintable(decoded.at(i)));
        const CaptureFile::Record &record = capture.Records().at(i);
        QCOMPARE(fields.at(3).section(QLatin1Char(','), 0, 0).toInt(nullptr, 16), int(quint8(record.octets.at(0))));
        QVERIFY2(CaptureFile::SoundTelegram(record.octets), qPrintable(record.octets.toHex(' ')));
    }

    QList<QByteArray> traced;
    for (const QString &line : result.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QByteArray telegram = TelegramOfTraceRow(line);
        QVERIFY2(!telegram.isEmpty(), qPrintable(line));
        traced << telegram;
    }
    QList<QByteArray> captured;
    for (const CaptureFile::Record &record : capture.Records())
        captured << record.octets;
    QCOMPARE(captured, traced);
    QVERIFY(captured.size() >= 10);
    if (command.first() == QLatin1String("flasher-sync")) {
        // The broadcast went out to link address 255.
        QVERIFY(std::any_of(captured.begin(), captured.end(), [](const QByteArray &t) {
            return t.at(0) == '\x68' && quint8(t.at(5)) == 255;
        }));
    }
}

void TestCaptureSim::anUpgradeKeepsTheBootLoaderBytes()
{
    const QString package = m_dir->filePath(QStringLiteral("head.fwp"));
    const QByteArray image = QByteArray("STRELO-SWV:1.5.0") + QByteArray(208, '\x22');
    QVERIFY(FirmwarePackageBuilder::WriteProductPackage(package, {{0x4000, image}}, false, "1.5.0"));
    SimProcess sim;
    QVERIFY(sim.Start({"--erase-ms", "50"}));
    const QString path = m_dir->filePath(QStringLiteral("upgrade.pcap"));
    const CliResult result = Run({"--device", sim.DevicePath(), "--capture", path, "upgrade", package}, 120000);
    QCOMPARE(result.exitCode, 0);
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("boot start BYTES=224 ")), 0) >= 0);

    // What the boot loader received: enquiries, frames (LEN data octets and five more), anything else.
    const QStringList log = sim.Matching(QRegularExpression(QStringLiteral(" boot ")), 0, sim.LineCount());
    const int enquiries = log.filter(QRegularExpression(QStringLiteral(" boot rx enq$"))).size();
    const int frames = log.filter(QRegularExpression(QStringLiteral(" boot rx frame "))).size();
    const int frameOctets = SumOfMatches(log, QRegularExpression(QStringLiteral(" boot rx frame CMD=\\S+ LEN=(\\d+)"))) + 5 * frames;
    QVERIFY(enquiries >= 1);
    QCOMPARE(frames, 1 + 7 + 1); // erase, 224 bytes in 32-byte writes, start

    // The boot loader's part of the capture: from the first enquiry to the start command.
    CaptureFile capture;
    QVERIFY2(capture.Read(path), qPrintable(capture.Error()));
    QByteArray bootOctets;
    bool inBootLoader = false;
    for (const CaptureFile::Record &record : capture.Records()) {
        if (!record.Sent())
            continue;
        inBootLoader = inBootLoader || record.octets.startsWith('\x05');
        if (!inBootLoader)
            continue;
        bootOctets += record.octets;
        if (record.octets.endsWith(QByteArray::fromHex("0200CC0003")))
            break;
    }
    QCOMPARE(bootOctets.size(), enquiries + frameOctets);
    QCOMPARE(bootOctets.count('\x05') >= enquiries, true);
    QVERIFY(bootOctets.contains(QByteArray::fromHex("022324004000") + image.left(32)));
    // Every acknowledgement of the boot loader is in the capture as received.
    QVERIFY(capture.Octets(false).count('\x06') >= frames);
}

void TestCaptureSim::injectedFaultsAreKept()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--corrupt", "0.02", "--seed", "7"}));
    const QString path = m_dir->filePath(QStringLiteral("faults.pcap"));
    const CliResult result = Run({"--device", sim.DevicePath(), "--trace", "raw", "--capture", path, "monitor",
                                  "--duration", "4000"});
    QCOMPARE(result.exitCode, 0);
    const int corrupted = SumOfMatches(sim.Matching(QRegularExpression(QStringLiteral("CORRUPTED=")), 0, sim.LineCount()),
                                       QRegularExpression(QStringLiteral("CORRUPTED=(\\d+)")));
    QVERIFY(corrupted > 0);

    CaptureFile capture;
    QVERIFY2(capture.Read(path), qPrintable(capture.Error()));
    // The received chunks, spoiled octets and all, are the ones the link layer was handed.
    QByteArray traced;
    for (const QString &line : result.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        if (line.startsWith(QLatin1String("RX\t")))
            traced += QByteArray::fromHex(line.section(QLatin1Char('\t'), 2).toLatin1());
    }
    QCOMPARE(capture.Octets(false), traced);
    int spoiled = 0;
    for (const CaptureFile::Record &record : capture.Records())
        spoiled += record.Received() && !CaptureFile::SoundTelegram(record.octets) ? 1 : 0;
    QVERIFY2(spoiled > 0, "no spoiled telegram in the capture");
    QCOMPARE(capture.Decode(path).size(), capture.Records().size());
}

void TestCaptureSim::aFullCaptureFileLeavesTheLinkUp()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult result = Run({"--device", sim.DevicePath(), "--trace", "osi2", "--capture", "/dev/full", "monitor",
                                  "--duration", "3000"});
    QCOMPARE(result.exitCode, 0);
    const QStringList lines = result.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    const QString warning = QStringLiteral("warning: The line capture to /dev/full has stopped: the file could not be "
                                           "written (No space left on device). The connection goes on; start a new "
                                           "capture on a disk with free space.");
    const int at = lines.indexOf(warning);
    QVERIFY2(at >= 0, qPrintable(result.err));
    QCOMPARE(lines.count(warning), 1);
    // The polls go on after the capture has ended: the link was never touched.
    const int pollsAfter = lines.mid(at).filter(QRegularExpression(QStringLiteral("^TX\t.*\tRQD3\t"))).size();
    QVERIFY2(pollsAfter >= 4, qPrintable(result.err));
    QVERIFY(!result.out.contains(QStringLiteral("link: down")));
}

void TestCaptureSim::aCaptureFileThatCannotBeCreatedStopsTheRun()
{
    const CliResult result = Run({"--device", "/dev/null", "--capture", "/nonexistent-folder/x.pcap", "identify"});
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.err, QStringLiteral("error: The capture file /nonexistent-folder/x.pcap could not be created (No "
                                        "such file or directory). Choose a folder you may write to.\n"));
    const CliResult empty = Run({"--capture", "", "identify"});
    QCOMPARE(empty.exitCode, 2);
    QVERIFY(empty.err.startsWith(QStringLiteral("lichtwart-cli: --capture needs the name of the file to write\n")));
}

QTEST_GUILESS_MAIN(TestCaptureSim)
#include "tst_capture_sim.moc"
