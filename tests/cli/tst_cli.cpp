#include "CliRun.h"
#include "FirmwarePackageBuilder.h"
#include "SimProcess.h"
#include "firmware/CFirmwareFile.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QRegularExpression>
#include <QScopeGuard>
#include <QSerialPortInfo>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <sys/stat.h>

namespace {

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
    void portInUseNamesTheProgramHoldingIt();
    void portsListsEveryPortPresent();
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
    void packRoundTrip_data();
    void packRoundTrip();
    void packRefusesWhatTheLoaderRefuses_data();
    void packRefusesWhatTheLoaderRefuses();
    void packUsageErrors_data();
    void packUsageErrors();
    void traceFileHoldsTheRowsAsCsv();
    void traceFileAtTheTraceLevelEqualsTheStderrRows();
    void demoPackagesUpgradeTheSimulatedHead();

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
    return CliRun::Run(arguments, timeoutMs, m_config->path());
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
    const QStringList lines = result.err.split('\n', Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines[0], QStringLiteral("error: the device /dev/lichtwart-no-such-port could not be opened"));
    QVERIFY2(lines[1].startsWith(QStringLiteral("reason: There is no device /dev/lichtwart-no-such-port.")),
             qPrintable(lines[1]));
}

void TestCli::portThatCannotBeOpened()
{
    const CliResult result = Run({"--device", "/dev/lichtwart-no-such-port", "identify"});
    QCOMPARE(result.exitCode, 1);
    const QStringList lines = result.err.split(QLatin1Char('\n'), Qt::SkipEmptyParts);
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), QStringLiteral("error: the device /dev/lichtwart-no-such-port could not be opened"));
    // The reason lists the ports present, so the technician can pick the right one.
    QString expected = QStringLiteral("reason: There is no device /dev/lichtwart-no-such-port. ");
    QStringList present;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        present << info.systemLocation();
    QVERIFY2(lines.at(1).startsWith(expected), qPrintable(lines.at(1)));
    if (present.isEmpty())
        QVERIFY(lines.at(1).endsWith(QStringLiteral("No serial port is present on this computer: plug in the adapter, then try again.")));
    for (const QString &path : present)
        QVERIFY2(lines.at(1).contains(path), qPrintable(lines.at(1)));
}

// A port held by another lichtwart-cli: the reason names that program and its process id.
void TestCli::portInUseNamesTheProgramHoldingIt()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--silent"}));
    QProcess *holder = Start({"--device", sim.DevicePath(), "--timeout", "60000", "monitor"});
    QVERIFY(holder->waitForStarted());
    const QString device = QFileInfo(sim.DevicePath()).canonicalFilePath();
    const QString fdLinks = QStringLiteral("/proc/%1/fd").arg(holder->processId());
    QTRY_VERIFY_WITH_TIMEOUT(
        [&] {
            for (const QFileInfo &fd : QDir(fdLinks).entryInfoList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot))
                if (fd.symLinkTarget() == device)
                    return true;
            return false;
        }(),
        10000);
    const CliResult result = Run({"--device", sim.DevicePath(), "identify"});
    const qint64 holderPid = holder->processId();
    holder->kill();
    holder->waitForFinished();
    QCOMPARE(result.exitCode, 1);
    QCOMPARE(result.err, QStringLiteral("error: the device %1 could not be opened\n"
                                        "reason: %1 is in use by another program: lichtwart-cli (process %2). "
                                        "Close that program (or end its connection), then try again.\n")
                             .arg(sim.DevicePath())
                             .arg(holderPid));
}

// The ports line by line: the device path first, then tab-separated key=value fields.
void TestCli::portsListsEveryPortPresent()
{
    const CliResult result = Run({"ports"});
    QCOMPARE(result.exitCode, 0);
    QStringList listed;
    const QStringList keys {"by-id", "description", "manufacturer", "serial", "usb"};
    for (const QString &line : result.out.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(QLatin1Char('\t'));
        QVERIFY2(fields.at(0).startsWith(QLatin1Char('/')), qPrintable(line));
        listed << fields.at(0);
        for (const QString &field : fields.mid(1)) {
            const QString key = field.section(QLatin1Char('='), 0, 0);
            QVERIFY2(keys.contains(key) && field.size() > key.size() + 1, qPrintable(line));
            if (key == QLatin1String("usb"))
                QVERIFY2(QRegularExpression(QStringLiteral("^usb=[0-9a-f]{4}:[0-9a-f]{4}$")).match(field).hasMatch(), qPrintable(field));
            if (key == QLatin1String("by-id"))
                QVERIFY2(field.startsWith(QStringLiteral("by-id=/dev/serial/by-id/")), qPrintable(field));
        }
    }
    QStringList present;
    for (const QSerialPortInfo &info : QSerialPortInfo::availablePorts())
        present << info.systemLocation();
    present.sort();
    listed.sort();
    QCOMPARE(listed, present);
    QCOMPARE(result.err, present.isEmpty() ? QStringLiteral("no serial port is present\n") : QString());
    QCOMPARE(Run({"ports", "extra"}).exitCode, 2);
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
    QVERIFY(status.contains(QStringLiteral("All done, please close this window now")));
    // The restarted head proved the package's version.
    QCOMPARE(status.last(), QStringLiteral("verified: software 1.5.0"));
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

void TestCli::packRoundTrip_data()
{
    QTest::addColumn<QString>("product");
    QTest::addColumn<QString>("format");
    for (const char *product : {"strelo-002", "strelo-003"})
        for (const char *format : {"zip", "tar", "tar.gz"})
            QTest::addRow("%s %s", product, format) << QString::fromLatin1(product) << QString::fromLatin1(format);
}

void TestCli::packRoundTrip()
{
    QFETCH(QString, product);
    QFETCH(QString, format);
    const bool wide = product == QLatin1String("strelo-003");
    QTemporaryDir dir;
    const QString imagePath = dir.filePath(QStringLiteral("head.mhx"));
    const QString package = dir.filePath(QStringLiteral("head.fwp"));
    const QByteArray image = FirmwarePackageBuilder::Image(
        {{0x2000, QByteArray(70, '\x21')}, {0x8000, QByteArray(10, '\x42')}}, wide);
    QVERIFY(FirmwarePackageBuilder::WriteFile(imagePath, image));
    const QString notes = QStringLiteral("Fixes <flasher> & \"phase\", 'dim' mode");
    const mode_t umaskBefore = ::umask(022);
    const auto restoreUmask = qScopeGuard([umaskBefore] { ::umask(umaskBefore); });

    const CliResult packed = Run({"pack", imagePath, "--version", "2.10.3", "--date", "2026-11-23 & later",
                                  "--product", product, "--release-notes", notes, "--format", format, "-o", package});
    QCOMPARE(packed.err, QString());
    QCOMPARE(packed.exitCode, 0);
    QCOMPARE(packed.out, QStringLiteral("wrote %1\n").arg(package));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), (QStringList {"head.fwp", "head.mhx"}));
    // Readable by whoever may read the user's new files, as the umask says.
    QCOMPARE(QFile::permissions(package) & (QFile::ReadGroup | QFile::ReadOther | QFile::WriteOther),
             QFile::ReadGroup | QFile::ReadOther);

    QStringList info = {"firmware-info", package};
    if (wide)
        info << QStringLiteral("--wide");
    const CliResult shown = Run(info);
    QCOMPARE(shown.exitCode, 0);
    QCOMPARE(shown.out, QStringLiteral("version: 2.10.3\ndate: 2026-11-23 & later\nmd5: %1\nblocks: 2\nbytes: 80\n"
                                       "block: 0x00002000 70\nblock: 0x00008000 10\n")
                            .arg(QString::fromLatin1(FirmwarePackageBuilder::Md5(image))));

    // The manifest gives back every text as it was given, and the image is the member byte for byte.
    CFirmwareFile loaded;
    loaded.Load(package.toStdString(), false, wide);
    QCOMPARE(QString::fromStdString(loaded.GetProduct()), product);
    QCOMPARE(QString::fromStdString(loaded.GetReleaseNotes()), notes);
    QCOMPARE(QString::fromStdString(loaded.GetPackageVersion()), QStringLiteral("1.0"));
    const ByteVector &bytes = loaded.GetFirmwareBytes();
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(bytes.data()), qsizetype(bytes.size())), image);
}

void TestCli::packRefusesWhatTheLoaderRefuses_data()
{
    QTest::addColumn<QString>("product");
    QTest::addColumn<QByteArray>("image");
    QTest::addColumn<QString>("error");
    const QByteArray narrow = FirmwarePackageBuilder::Image({{0x1000, QByteArray(8, '\x01')}}, false);
    const QByteArray wide = FirmwarePackageBuilder::Image({{0x1000, QByteArray(8, '\x01')}}, true);
    QByteArray badChecksum = narrow;
    const qsizetype end = badChecksum.indexOf("\r\n", badChecksum.indexOf("S2"));
    badChecksum[end - 1] = badChecksum[end - 1] == '0' ? '1' : '0';
    QTest::newRow("24-bit records for strelo-003")
        << "strelo-003" << narrow << "firmware error 8: Records of type 'S2' are not supported\n";
    QTest::newRow("32-bit records for strelo-002")
        << "strelo-002" << wide << "firmware error 8: Records of type 'S3' are not supported\n";
    QTest::newRow("wrong checksum") << "strelo-002" << badChecksum << "firmware error 13: Record has wrong checksum\n";
    QTest::newRow("no data") << "strelo-002" << FirmwarePackageBuilder::Image({}, false)
                             << "firmware error 14: The firmware image holds no data to write\n";
}

void TestCli::packRefusesWhatTheLoaderRefuses()
{
    QFETCH(QString, product);
    QFETCH(QByteArray, image);
    QFETCH(QString, error);
    QTemporaryDir dir;
    const QString imagePath = dir.filePath(QStringLiteral("head.mhx"));
    QVERIFY(FirmwarePackageBuilder::WriteFile(imagePath, image));
    const CliResult result = Run({"pack", imagePath, "--version", "1.0.0", "--date", "today", "--product", product,
                                  "-o", dir.filePath(QStringLiteral("head.fwp"))});
    QCOMPARE(result.exitCode, 4);
    QCOMPARE(result.err, error);
    QVERIFY(result.out.isEmpty());
    // Nothing is left behind: no package, no half-written temporary file.
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList {"head.mhx"});

    // A missing image is refused with the loader's own text too.
    const QString missing = dir.filePath(QStringLiteral("none.mhx"));
    const CliResult absent = Run({"pack", missing, "--version", "1", "--date", "d", "--product", product, "-o",
                                  dir.filePath(QStringLiteral("x.fwp"))});
    QCOMPARE(absent.exitCode, 4);
    QVERIFY2(absent.err.startsWith(QStringLiteral("firmware error 0: ")), qPrintable(absent.err));
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files | QDir::Hidden), QStringList {"head.mhx"});
}

void TestCli::packUsageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("problem");
    const QStringList full = {"pack", "i.mhx", "--version", "1", "--date", "d", "--product", "strelo-002", "-o", "p.fwp"};
    QTest::newRow("no version") << QStringList(full).mid(0, 2) + full.mid(4) << "--version is missing";
    QTest::newRow("no output") << full.mid(0, 8) << "-o is missing";
    QTest::newRow("no image") << QStringList {"pack"} + full.mid(2) << "no image given";
    QTest::newRow("product") << QStringList(full).replaceInStrings("strelo-002", "strelo-009")
                             << "--product takes strelo-002 or strelo-003, not 'strelo-009'";
    QTest::newRow("format") << full + QStringList {"--format", "rar"} << "--format takes zip, tar or tar.gz, not 'rar'";
    QTest::newRow("twice") << full + QStringList {"--date", "e"} << "option --date given twice";
    QTest::newRow("unknown") << full + QStringList {"--force"} << "unknown option --force";
    QTest::newRow("value missing") << full + QStringList {"--release-notes"} << "option --release-notes needs a value";
}

void TestCli::packUsageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, problem);
    const CliResult result = Run(arguments);
    QCOMPARE(result.exitCode, 2);
    QCOMPARE(result.err.section('\n', 0, 0), QStringLiteral("lichtwart-cli pack: ") + problem);
    QVERIFY(result.err.contains(QStringLiteral("usage: lichtwart-cli pack IMAGE")));
}

namespace {

// A CSV file split into its lines and fields; every field here is unquoted.
QList<QStringList> CsvRows(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QList<QStringList> rows;
    const QByteArray text = file.readAll();
    if (!text.endsWith("\r\n"))
        return {};
    for (const QByteArray &line : text.split('\n'))
        if (!line.isEmpty())
            rows << QString::fromUtf8(line.chopped(1)).split(',');
    return rows;
}

} // namespace

void TestCli::traceFileHoldsTheRowsAsCsv()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    QTemporaryDir dir;
    const QString traceFile = dir.filePath(QStringLiteral("trace.csv"));
    const CliResult result = Run({"--device", sim.DevicePath(), "--trace-file", traceFile, "identify"});
    QCOMPARE(result.exitCode, 0);
    QVERIFY(result.out.startsWith(QStringLiteral("product: strelo-002\n")));
    QCOMPARE(result.err, QString()); // without --trace nothing goes to stderr
    const QList<QStringList> rows = CsvRows(traceFile);
    QVERIFY(rows.size() > 10);
    QCOMPARE(rows[0], (QStringList {"Direction", "Timestamp", "Length", "Func. Group", "Application ID", "Jobnumber",
                                    "Blockcount", "Data"}));
    for (const QStringList &row : rows.mid(1))
        QCOMPARE(row.size(), 8);
    // The versions and UID requests and their replies are in it, at the OSI 7 level.
    QVERIFY(std::any_of(rows.begin(), rows.end(), [](const QStringList &row) {
        return row[0] == QLatin1String("RX") && row[4] == QLatin1String("Parameter message") && row[7].contains("FF 87");
    }));

    const CliResult refused = Run({"--device", sim.DevicePath(), "--trace-file", dir.filePath("no/such/folder.csv"),
                                   "identify"});
    QCOMPARE(refused.exitCode, 1);
    QVERIFY2(refused.err.startsWith(QStringLiteral("error: the trace file %1 cannot be written: ")
                                        .arg(dir.filePath("no/such/folder.csv"))), qPrintable(refused.err));
    QVERIFY2(refused.err.endsWith(QStringLiteral("; choose a folder you may write to\n")), qPrintable(refused.err));

    // A disk that fills up during the run: one warning, the trace file ends, the command does not.
    const CliResult full = Run({"--device", sim.DevicePath(), "--trace-file", "/dev/full", "identify"});
    QCOMPARE(full.exitCode, 0);
    const QStringList warnings = full.err.split(QLatin1Char('\n')).filter(QStringLiteral("warning: "));
    QCOMPARE(warnings.size(), 1);
    QVERIFY2(warnings.at(0).startsWith(QStringLiteral("warning: the trace file /dev/full takes no more rows: ")),
             qPrintable(warnings.at(0)));
    QVERIFY(full.out.contains(QStringLiteral("software:")));
}

void TestCli::traceFileAtTheTraceLevelEqualsTheStderrRows()
{
    SimProcess sim;
    QVERIFY(sim.Start({}));
    QTemporaryDir dir;
    const QString traceFile = dir.filePath(QStringLiteral("trace.csv"));
    const CliResult result = Run({"--device", sim.DevicePath(), "--trace", "osi2", "--trace-file", traceFile,
                                  "--settle", "0", "lamp", "red"});
    QCOMPARE(result.exitCode, 0);
    QList<QStringList> stderrRows;
    for (const QString &line : result.err.split('\n', Qt::SkipEmptyParts))
        stderrRows << line.split('\t');
    QList<QStringList> rows = CsvRows(traceFile);
    QVERIFY(!rows.isEmpty());
    QCOMPARE(rows.takeFirst().size(), 14);
    QVERIFY(rows.size() > 10);
    QCOMPARE(rows, stderrRows);
}

void TestCli::demoPackagesUpgradeTheSimulatedHead()
{
    // The packages of `make run`, made by the same script, flashed into the head it starts.
    QTemporaryDir dir;
    QProcess make;
    make.start(QStringLiteral(LICHTWART_SOURCE_DIR "/scripts/make-demo-firmware.sh"),
               {dir.path(), qEnvironmentVariable("LICHTWART_BIN_DIR")});
    QVERIFY(make.waitForFinished(60000));
    QCOMPARE(make.exitCode(), 0);
    const QString newer = dir.filePath(QStringLiteral("strelo-002-1.5.0.fwp"));
    const QString older = dir.filePath(QStringLiteral("strelo-002-1.3.0.fwp"));
    QCOMPARE(QString::fromUtf8(make.readAllStandardOutput()), newer + '\n' + older + '\n');

    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CliResult before = Run({"--device", sim.DevicePath(), "identify"});
    QVERIFY2(before.out.contains(QStringLiteral("product: strelo-002\n")), qPrintable(before.out));
    QVERIFY(before.out.contains(QStringLiteral("software: 1.4.2\n")));
    for (const QString &version : {QStringLiteral("1.5.0"), QStringLiteral("1.3.0")}) {
        const CliResult upgrade = Run({"--device", sim.DevicePath(), "upgrade",
                                       version == QLatin1String("1.5.0") ? newer : older}, 240000);
        QVERIFY2(upgrade.exitCode == 0, qPrintable(version + ": " + upgrade.out + upgrade.err.right(400)));
        QVERIFY2(upgrade.out.contains(QStringLiteral("All done, please close this window now\n")), qPrintable(upgrade.out));
        QCOMPARE(upgrade.out.split('\n', Qt::SkipEmptyParts).last(), QStringLiteral("verified: software %1").arg(version));
        const CliResult after = Run({"--device", sim.DevicePath(), "identify"});
        QVERIFY2(after.out.contains(QStringLiteral("software: %1\n").arg(version)), qPrintable(after.out));
    }
}

QTEST_GUILESS_MAIN(TestCli)
#include "tst_cli.moc"
