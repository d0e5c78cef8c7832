#include "FirmwarePackageBuilder.h"
#include "SimProcess.h"

#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

namespace {

struct CliResult
{
    int exitCode = -1;
    QString out;
    QString err;
};

} // namespace

// lichtwart-cli run as a program against strelo-sim, as scripts use it.
class TestCli : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void usageErrors_data();
    void usageErrors();
    void helpAndVersion();
    void staysEnglishUnderAGermanLocale();
    void portThatCannotBeOpened();
    void silentHeadGivesNoLink();
    void identifyPrintsTheSimulatedIdentity();
    void lampCommandsReportTheActualValue_data();
    void lampCommandsReportTheActualValue();
    void intensityDim();
    void currentsInOrder();
    void defectsAreReported();
    void monitorTracesThePollsWithAlternatingFcb();
    void monitorStopsCleanlyOnSigterm();
    void setOsi2AddressMovesTheHeadAndIsStored();
    void flasherSyncSoftIsABroadcast();
    void firmwareInfoOfAPackage();
    void upgradeFlashesThePackageByteForByte();

private:
    CliResult Run(const QStringList &arguments, int timeoutMs = 30000);
    QProcess *Start(const QStringList &arguments);

    std::unique_ptr<QTemporaryDir> m_config;
};

void TestCli::init()
{
    // Each case gets a settings store of its own; the CLI reads its defaults from there.
    m_config = std::make_unique<QTemporaryDir>();
    qputenv("XDG_CONFIG_HOME", m_config->path().toUtf8());
}

QProcess *TestCli::Start(const QStringList &arguments)
{
    auto *process = new QProcess(this);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("XDG_CONFIG_HOME"), m_config->path());
    process->setProcessEnvironment(environment);
    process->start(qEnvironmentVariable("LICHTWART_BIN_DIR") + QStringLiteral("/lichtwart-cli"), arguments);
    return process;
}

CliResult TestCli::Run(const QStringList &arguments, int timeoutMs)
{
    QProcess *process = Start(arguments);
    CliResult result;
    if (!process->waitForFinished(timeoutMs)) {
        process->kill();
        process->waitForFinished();
        return result;
    }
    result.exitCode = process->exitStatus() == QProcess::NormalExit ? process->exitCode() : -1;
    result.out = QString::fromUtf8(process->readAllStandardOutput());
    result.err = QString::fromUtf8(process->readAllStandardError());
    delete process;
    return result;
}

void TestCli::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::newRow("no command") << QStringList {};
    QTest::newRow("unknown option") << QStringList {"--fast", "identify"};
    QTest::newRow("unknown command") << QStringList {"dance"};
    QTest::newRow("bad trace level") << QStringList {"--trace", "osi4", "monitor"};
    QTest::newRow("baud not a number") << QStringList {"--baud", "quick", "identify"};
    QTest::newRow("lamp colour") << QStringList {"lamp", "purple"};
    QTest::newRow("lamp without colour") << QStringList {"lamp"};
    QTest::newRow("intensity") << QStringList {"intensity", "loud"};
    QTest::newRow("flasher-sync") << QStringList {"flasher-sync", "medium"};
    QTest::newRow("address 0") << QStringList {"set-osi2-address", "0"};
    QTest::newRow("address 200") << QStringList {"set-osi2-address", "200"};
    QTest::newRow("monitor duration") << QStringList {"monitor", "--duration", "soon"};
    QTest::newRow("identify with argument") << QStringList {"identify", "now"};
}

void TestCli::usageErrors()
{
    QFETCH(QStringList, arguments);
    const CliResult result = Run(arguments);
    QCOMPARE(result.exitCode, 2);
    QVERIFY(result.err.startsWith(QStringLiteral("lichtwart-cli: ")));
    QVERIFY(result.out.isEmpty());
}

void TestCli::helpAndVersion()
{
    CliResult result = Run({"--version"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.out, QStringLiteral("lichtwart-cli 1.22.2\n"));
    result = Run({"--help"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.startsWith(QStringLiteral("Usage: lichtwart-cli")));
    QVERIFY(result.out.contains(QStringLiteral("firmware-info FILE")));
    QVERIFY(result.out.contains(QStringLiteral("Its output is always English")));
}

// Scripts parse the output, so the desktop's language never reaches it.
void TestCli::staysEnglishUnderAGermanLocale()
{
    qputenv("LANG", "de_DE.UTF-8");
    qputenv("LANGUAGE", "de_DE:de");
    const CliResult result = Run({"--device", "/dev/lichtwart-no-such-port", "identify"});
    qunsetenv("LANGUAGE");
    qunsetenv("LANG");
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.err, QStringLiteral("error: the device /dev/lichtwart-no-such-port could not be opened\n"));
}

void TestCli::portThatCannotBeOpened()
{
    const CliResult result = Run({"--device", "/dev/lichtwart-no-such-port", "identify"});
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.err, QStringLiteral("error: the device /dev/lichtwart-no-such-port could not be opened\n"));
}

void TestCli::silentHeadGivesNoLink()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--silent"}));
    const CliResult result = Run({"--device", sim.DevicePath(), "--timeout", "1200", "identify"});
    QCOMPARE(result.exitCode, 3);
    QCOMPARE(result.err, QStringLiteral("error: no link to the device on %1 within 1200 ms\n").arg(sim.DevicePath()));
    QVERIFY(result.out.isEmpty());
}

void TestCli::identifyPrintsTheSimulatedIdentity()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--hardware", "3.2.1", "--software", "4.5.6", "--uid", "0011AABB2233CCDD4455EEFF"}));
    const CliResult result = Run({"--device", sim.DevicePath(), "identify"});
    QCOMPARE(result.exitCode, 0);
    QCOMPARE(result.out, QStringLiteral("product: strelo-003\nhardware: 3.2.1\nsoftware: 4.5.6\n"
                                        "uid: 0011AABB - 2233CCDD - 4455EEFF\n"));

    SimProcess unknown;
    QVERIFY(unknown.Start({"--hardware", "7.0.0", "--uid", "0102030A0B0C"}));
    const CliResult other = Run({"--device", unknown.DevicePath(), "identify"});
    QCOMPARE(other.exitCode, 0);
    QVERIFY(other.out.startsWith(QStringLiteral("product: unknown\nhardware: 7.0.0\n")));
    QVERIFY(other.out.endsWith(QStringLiteral("uid: 0102030A0B0C\n")));
}

void TestCli::lampCommandsReportTheActualValue_data()
{
    QTest::addColumn<QString>("lamp");
    QTest::addColumn<QString>("report");
    QTest::addColumn<QString>("setpoint");
    QTest::newRow("red") << "red" << "actual: image=107 on=1 blink=0" << "IMAGE=107 VALUE=01";
    QTest::newRow("green") << "green" << "actual: image=109 on=1 blink=0" << "IMAGE=109 VALUE=01";
    QTest::newRow("yellow flashes") << "yellow" << "actual: image=108 on=1 blink=1" << "IMAGE=108 VALUE=52";
    QTest::newRow("yellow steady") << "yellow-steady" << "actual: image=108 on=1 blink=0" << "IMAGE=108 VALUE=01";
    QTest::newRow("flasher") << "yellow-flasher" << "actual: image=61 on=1 blink=1" << "IMAGE=61 VALUE=52";
    QTest::newRow("red-yellow") << "red-yellow" << "actual: image=110 on=1 blink=0" << "IMAGE=110 VALUE=01";
    QTest::newRow("off") << "off" << "actual: image=107 on=0 blink=0" << "IMAGE=107 VALUE=00";
}

void TestCli::lampCommandsReportTheActualValue()
{
    QFETCH(QString, lamp);
    QFETCH(QString, report);
    QFETCH(QString, setpoint);
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult result = Run({"--device", sim.DevicePath(), "lamp", lamp});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(result.out.split('\n').contains(report), qPrintable(result.out));
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("app setpoint ") + setpoint), 0) >= 0);
}

void TestCli::intensityDim()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult result = Run({"--device", sim.DevicePath(), "intensity", "dim"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY2(result.out.split('\n').contains(QStringLiteral("luminosity: dim")), qPrintable(result.out));
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("app intensity VALUE=10")), 0) >= 0);
}

void TestCli::currentsInOrder()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    // The head draws no current with its lamp dark: 0.2 mA on each of the three lamps.
    const CliResult result = Run({"--device", sim.DevicePath(), "currents"});
    QCOMPARE(result.exitCode, 0);
    const QStringList currents = result.out.split('\n').filter(QStringLiteral("current: "));
    QCOMPARE(currents, (QStringList {"current: image=107 mA=0.2", "current: image=108 mA=0.2", "current: image=109 mA=0.2"}));
}

void TestCli::defectsAreReported()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--defect", "yellow"}));
    const CliResult result = Run({"--device", sim.DevicePath(), "monitor", "--duration", "2500"});
    QCOMPARE(result.exitCode, 0);
    const QStringList defects = result.out.split('\n').filter(QStringLiteral("defect: "));
    QCOMPARE(defects.mid(0, 5), (QStringList {"defect: image=107 ok=1", "defect: image=108 ok=1",
                                              "defect: image=109 ok=1", "defect: image=110 ok=1",
                                              "defect: image=108 ok=0"}));
}

void TestCli::monitorTracesThePollsWithAlternatingFcb()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult result = Run({"--device", sim.DevicePath(), "--trace", "osi2", "monitor", "--duration", "3000"});
    QCOMPARE(result.exitCode, 0);
    QList<QStringList> rows;
    for (const QString &line : result.err.split('\n', Qt::SkipEmptyParts))
        rows << line.split('\t');
    QVERIFY(rows.size() > 10);
    for (const QStringList &row : rows)
        QCOMPARE(row.size(), 14);
    // The link comes up with exactly the status request, the reset and the first poll.
    QCOMPARE(rows[0].mid(2), (QStringList {"Short", "0", "0", "1", "0", "0", "-", "-", "RQS", "1", "74", ""}));
    QCOMPARE(rows[1].mid(2), (QStringList {"Short", "0", "0", "0", "-", "-", "0", "0", "S1", "1", "12", ""}));
    QCOMPARE(rows[2].mid(2, 9), (QStringList {"Short", "0", "0", "1", "0", "0", "-", "-", "RES0"}));
    QCOMPARE(rows[4].mid(2, 9), (QStringList {"Short", "0", "0", "1", "1", "1", "-", "-", "RQD3"}));
    // Later polls and user data toggle the frame count bit each time.
    QStringList fcbs;
    for (int i = 6; i < rows.size(); ++i) {
        if (rows[i][0] == QLatin1String("TX") && (rows[i][10] == QLatin1String("RQD3") || rows[i][10] == QLatin1String("D")))
            fcbs << rows[i][6];
    }
    QVERIFY(fcbs.size() >= 6);
    for (int i = 1; i < fcbs.size(); ++i)
        QVERIFY2(fcbs[i] != fcbs[i - 1], qPrintable(fcbs.join(',')));
}

void TestCli::monitorStopsCleanlyOnSigterm()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    QProcess *process = Start({"--device", sim.DevicePath(), "monitor"});
    QVERIFY(process->waitForStarted());
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("link rx short C=(58|78)")), 0) >= 0);
    ::kill(pid_t(process->processId()), SIGTERM);
    QVERIFY(process->waitForFinished(5000));
    QCOMPARE(process->exitStatus(), QProcess::NormalExit);
    QCOMPARE(process->exitCode(), 0);
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("port closed")), 0) >= 0);
}

void TestCli::setOsi2AddressMovesTheHeadAndIsStored()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult result = Run({"--device", sim.DevicePath(), "set-osi2-address", "17"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("link address OLD=1 NEW=17")), 0) >= 0);
    {
        QSettings settings(m_config->path() + QStringLiteral("/Varnholt GmbH/Lichtwart.conf"), QSettings::IniFormat);
        QCOMPARE(settings.value(QStringLiteral("address/osi2")).toInt(), 17);
    }
    // The next session uses the stored address and finds the head there.
    const CliResult again = Run({"--device", sim.DevicePath(), "identify"});
    QCOMPARE(again.exitCode, 0);
    QVERIFY(again.out.startsWith(QStringLiteral("product: strelo-002")));
}

void TestCli::flasherSyncSoftIsABroadcast()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult result = Run({"--device", sim.DevicePath(), "flasher-sync", "soft"});
    QCOMPARE(result.exitCode, 0);
    // Both broadcast settings default to true: link address 255, function 4, DE 255, 12 cycles.
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("link rx long C=[57]4 A=255 .*FN=4 NAME=DNR")), 0) >= 0);
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("app flasher-sync DE=255 BROADCAST=1 PARAMS=0C00")), 0) >= 0);
}

void TestCli::firmwareInfoOfAPackage()
{
    QTemporaryDir dir;
    const QString package = dir.filePath(QStringLiteral("head.fwp"));
    QVERIFY(FirmwarePackageBuilder::WriteProductPackage(package, {{0x1000, QByteArray(40, '\x5A')}}, false, "2.0.1"));
    const CliResult result = Run({"firmware-info", package});
    QCOMPARE(result.exitCode, 0);
    const QStringList lines = result.out.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.value(0), QStringLiteral("version: 2.0.1"));
    QVERIFY(lines.value(2).startsWith(QStringLiteral("md5: ")));
    QCOMPARE(lines.mid(3), (QStringList {"blocks: 1", "bytes: 40", "block: 0x00001000 40"}));

    const CliResult wrongWidth = Run({"firmware-info", package, "--wide"});
    QCOMPARE(wrongWidth.exitCode, 4);
    QCOMPARE(wrongWidth.err, QStringLiteral("firmware error 8: Records of type 'S2' are not supported\n"));
}

void TestCli::upgradeFlashesThePackageByteForByte()
{
    QTemporaryDir dir;
    const QString package = dir.filePath(QStringLiteral("head.fwp"));
    const QString flashed = dir.filePath(QStringLiteral("flashed.mhx"));
    QByteArray image = QByteArray("STRELO-SWV:1.5.0") + QByteArray(84, '\x11');
    QVERIFY(FirmwarePackageBuilder::WriteProductPackage(package, {{0x4000, image}}, false, "1.5.0"));
    SimProcess sim;
    QVERIFY(sim.Start({"--image-out", flashed, "--erase-ms", "50"}));

    const CliResult result = Run({"--device", sim.DevicePath(), "upgrade", package}, 120000);
    QCOMPARE(result.exitCode, 0);
    const QStringList status = result.out.split('\n', Qt::SkipEmptyParts);
    QVERIFY2(status.contains(QStringLiteral("Erasing flash, do not disconnect ...")), qPrintable(result.out));
    QVERIFY(status.contains(QStringLiteral("Uploading firmware, do not disconnect ...")));
    QCOMPARE(status.last(), QStringLiteral("All done, please close this window now"));
    QVERIFY(result.err.contains(QStringLiteral("progress: 100/100")));

    // The head wrote what it was given: one S3 record run of the 100 bytes at 0x4000.
    QVERIFY(sim.WaitForLine(QRegularExpression(QStringLiteral("boot start BYTES=100 RUNS=1 VERSION=1.5.0")), 0) >= 0);
    QFile file(flashed);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray data;
    for (const QByteArray &line : file.readAll().split('\n')) {
        if (line.startsWith("S3"))
            data += QByteArray::fromHex(line.mid(12, line.trimmed().size() - 14));
    }
    QCOMPARE(data, image);

    // After the restart the head answers on the link again, with the software of the image.
    const CliResult after = Run({"--device", sim.DevicePath(), "identify"});
    QCOMPARE(after.exitCode, 0);
    QVERIFY2(after.out.contains(QStringLiteral("software: 1.5.0\n")), qPrintable(after.out));
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
