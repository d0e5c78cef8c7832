#include "FirmwarePackageBuilder.h"
#include "FlashImage.h"
#include "LineRelay.h"
#include "LogTrigger.h"
#include "SettingsSandbox.h"
#include "SimChild.h"
#include "SimProcess.h"

#include "CliOptions.h"
#include "UpgradeCommand.h"
#include "UpgradeSequencer.h"
#include "settings/LichtwartSettings.h"

#include <QFile>
#include <QRegularExpression>
#include <QSettings>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

#include <memory>

namespace {

const QStringList kStatusLines {
    "Connected to target device",
    "Switching device to programming mode ...",
    "Enabling firmware flasher of target device ...",
    "Erasing flash, do not disconnect ...",
    "Uploading firmware, do not disconnect ...",
    "Upgrade successful, resetting device ...",
    "All done, please close this window now",
};

// What follows the status lines of a successful run: the restarted head proves the new version.
const QStringList kVerifiedLines {"Waiting for the restarted head ...", "verified: software 9.1.0"};

struct CommandResult
{
    int exitCode = -1;
    QString out;
    QString err;

    QStringList OutLines() const { return out.split('\n', Qt::SkipEmptyParts); }
    QStringList ErrLines() const { return err.split('\n', Qt::SkipEmptyParts); }
};

// An image of two separate pieces; the second carries the version the head reports after its
// restart.
QList<FirmwarePackageBuilder::Block> TwoBlocks(std::uint32_t base)
{
    QByteArray first;
    for (int i = 0; i < 200; ++i)
        first.append(char(i * 7 + 3));
    return {{base, first}, {base + 0x1000, QByteArray("STRELO-SWV:9.1.0 new image")}};
}

} // namespace

// lichtwart-cli upgrade, run in this process against strelo-sim.
class TestUpgradeCommand : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void plainTextsOfTheSteps();
    void usageErrors_data();
    void usageErrors();
    void portThatCannotBeOpened();
    void silentHeadGivesNoLink();
    void fingerprintErrorIsAFirmwareError();
    void strelo002EndToEnd();
    void strelo003EndToEnd();
    void uploadBaudOptionTellsTheHead();
    void rawHexFileWhenAllowed();
    void lineCutMidUploadFailsAndRetryCompletes();
    void imagePastTopOfAddressSpaceIsNeverSent_data();
    void imagePastTopOfAddressSpaceIsNeverSent();
    void otherProductIsRefusedUnlessForced();
    void otherProductIsRefusedInRetry();
    void headKeepingItsOldVersionFailsVerification();
    void headThatDoesNotComeBackFailsVerification();
    void noVerifySkipsTheCheck();

private:
    CommandResult Run(const QStringList &arguments);
    QString WritePackage(bool wide, const QList<FirmwarePackageBuilder::Block> &blocks);
    // A package that names product but holds records of the given width.
    QString WritePackageFor(const QByteArray &product, bool wide, const QList<FirmwarePackageBuilder::Block> &blocks);
    // The simulator's log lines that match, from the start of the run.
    QStringList SimLines(SimProcess &sim, const QString &pattern);

    SettingsSandbox m_sandbox;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestUpgradeCommand::init()
{
    m_sandbox.Clear();
    m_dir = std::make_unique<QTemporaryDir>();
}

CommandResult TestUpgradeCommand::Run(const QStringList &arguments)
{
    CliOptions options;
    CommandResult result;
    if (!options.Parse(QStringList {"lichtwart-cli"} + arguments)) {
        result.err = options.ErrorText();
        return result;
    }
    QTextStream out(&result.out);
    QTextStream err(&result.err);
    result.exitCode = RunUpgradeCommand(options, out, err);
    out.flush();
    err.flush();
    return result;
}

QString TestUpgradeCommand::WritePackage(bool wide, const QList<FirmwarePackageBuilder::Block> &blocks)
{
    const QString path = m_dir->filePath(wide ? "s3.fwp" : "s2.fwp");
    if (!FirmwarePackageBuilder::WriteProductPackage(path, blocks, wide, "9.1.0"))
        return QString();
    return path;
}

QString TestUpgradeCommand::WritePackageFor(const QByteArray &product, bool wide,
                                            const QList<FirmwarePackageBuilder::Block> &blocks)
{
    const QByteArray image = FirmwarePackageBuilder::Image(blocks, wide);
    FirmwarePackageBuilder::Manifest manifest;
    manifest.product = product;
    manifest.version = "9.1.0";
    manifest.md5 = FirmwarePackageBuilder::Md5(image);
    const QString path = m_dir->filePath(QString::fromLatin1(product) + ".fwp");
    if (!FirmwarePackageBuilder::WriteArchive(path, FirmwarePackageBuilder::Format::Zip,
                                              {{"manifest.xml", FirmwarePackageBuilder::ManifestXml(manifest)},
                                               {"firmware.mhx", image}}))
        return QString();
    return path;
}

QStringList TestUpgradeCommand::SimLines(SimProcess &sim, const QString &pattern)
{
    return sim.Matching(QRegularExpression(pattern), 0, sim.LineCount());
}

void TestUpgradeCommand::plainTextsOfTheSteps()
{
    QCOMPARE(CUpgradeProcedure::PlainText(CUpgradeProcedure::Status::EraseFailed), QString("Failed to erase flash!"));
    QCOMPARE(CUpgradeProcedure::PlainText(CUpgradeProcedure::Status::Erasing),
             QString("Erasing flash, do not disconnect ..."));
}

void TestUpgradeCommand::usageErrors_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QString>("problem");
    QTest::newRow("no file") << QStringList {} << "no file given";
    QTest::newRow("two files") << QStringList {"a.fwp", "b.fwp"} << "more than one file given";
    QTest::newRow("unknown option") << QStringList {"a.fwp", "--fast"} << "unknown option --fast";
    QTest::newRow("baud missing") << QStringList {"a.fwp", "--upload-baud"} << "--upload-baud takes a baud rate";
    QTest::newRow("baud not a number") << QStringList {"a.fwp", "--upload-baud", "fast"} << "--upload-baud takes a baud rate";
    QTest::newRow("retry without product") << QStringList {"a.fwp", "--retry"} << "--retry takes the product";
    QTest::newRow("verify timeout missing") << QStringList {"a.fwp", "--verify-timeout"} << "--verify-timeout takes a time";
    QTest::newRow("verify timeout zero") << QStringList {"a.fwp", "--verify-timeout", "0"} << "--verify-timeout takes a time";
    QTest::newRow("retry unknown product") << QStringList {"a.fwp", "--retry", "strelo-001"} << "--retry takes the product";
}

void TestUpgradeCommand::usageErrors()
{
    QFETCH(QStringList, arguments);
    QFETCH(QString, problem);
    const CommandResult result = Run(QStringList {"--device", "/dev/lichtwart-no-such-port", "upgrade"} + arguments);
    QCOMPARE(result.exitCode, 2);
    QVERIFY2(result.err.contains(problem), qPrintable(result.err));
    QVERIFY(result.out.isEmpty());
}

void TestUpgradeCommand::portThatCannotBeOpened()
{
    const CommandResult result = Run({"--device", "/dev/lichtwart-no-such-port", "upgrade", "a.fwp"});
    QCOMPARE(result.exitCode, 1);
    const QStringList lines = result.ErrLines();
    QCOMPARE(lines.size(), 2);
    QCOMPARE(lines.at(0), QStringLiteral("error: the device /dev/lichtwart-no-such-port could not be opened"));
    QVERIFY2(lines.at(1).startsWith(QStringLiteral("reason: There is no device /dev/lichtwart-no-such-port. ")),
             qPrintable(lines.at(1)));
}

void TestUpgradeCommand::silentHeadGivesNoLink()
{
    SimProcess sim;
    QVERIFY(sim.Start({"--silent"}));
    const CommandResult result = Run({"--device", sim.DevicePath(), "--timeout", "1500", "upgrade", "a.fwp"});
    QCOMPARE(result.exitCode, 3);
    QVERIFY2(result.err.startsWith("error: no link to the device on " + sim.DevicePath()), qPrintable(result.err));
    QVERIFY(result.out.isEmpty());
}

void TestUpgradeCommand::fingerprintErrorIsAFirmwareError()
{
    const QByteArray image = FirmwarePackageBuilder::Image({{0x4000, QByteArray(64, 'x')}}, false);
    FirmwarePackageBuilder::Manifest manifest;
    manifest.md5 = "00000000000000000000000000000000";
    const QString path = m_dir->filePath("tampered.fwp");
    QVERIFY(FirmwarePackageBuilder::WriteArchive(path, FirmwarePackageBuilder::Format::Zip,
                                                 {{"manifest.xml", FirmwarePackageBuilder::ManifestXml(manifest)},
                                                  {"firmware.mhx", image}}));
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", path});
    QCOMPARE(result.exitCode, 4);
    QCOMPARE(result.ErrLines(),
             QStringList {QString("firmware error 7: Fingerprint of manifest ('00000000000000000000000000000000') "
                                  "does not match fingerprint of firmware ('%1')")
                              .arg(QString::fromLatin1(FirmwarePackageBuilder::Md5(image)))});
    // Nothing was asked of the head.
    QVERIFY(SimLines(sim, "upload-mode").isEmpty());
}

void TestUpgradeCommand::strelo002EndToEnd()
{
    const QString package = WritePackage(false, TwoBlocks(0x004000));
    const QString imageOut = m_dir->filePath("flashed.mhx");
    SimProcess sim;
    QVERIFY(sim.Start({"--hardware", "2.3.0", "--software", "1.4.2", "--image-out", imageOut}));
    const CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QCOMPARE(result.OutLines(), kStatusLines + kVerifiedLines);

    // The flashed memory holds exactly the package's blocks.
    QCOMPARE(FlashImage::Read(imageOut), FlashImage::PackageBlocks(package, false));
    QVERIFY(!SimLines(sim, "boot rx frame CMD=AA").isEmpty());
    QVERIFY(SimLines(sim, "boot rx frame CMD=AB").isEmpty());
    QVERIFY(SimLines(sim, "boot rx frame CMD=32").isEmpty());
    QVERIFY(!SimLines(sim, "upload-mode PORT=0 BAUD=3 FEATURES=31").isEmpty()); // 9600 by default
    QVERIFY(sim.WaitForLine(QRegularExpression("boot leave SOFTWARE=9.1.0"), 0) >= 0);

    // Progress lines count from 0 up to the image size, chunk by chunk.
    int total = 0;
    for (const auto &block : FlashImage::PackageBlocks(package, false))
        total += block.second.size();
    const QStringList progress = result.ErrLines().filter(QRegularExpression("^progress: "));
    QVERIFY(progress.size() >= 8);
    QCOMPARE(progress.at(0), QString("progress: 0/%1").arg(total));
    QCOMPARE(progress.at(1), QString("progress: 32/%1").arg(total));
    QCOMPARE(progress.last(), QString("progress: %1/%1").arg(total));
}

void TestUpgradeCommand::strelo003EndToEnd()
{
    const QString package = WritePackage(true, TwoBlocks(0x00080000));
    const QString imageOut = m_dir->filePath("flashed.mhx");
    SimProcess sim;
    QVERIFY(sim.Start({"--hardware", "3.0.1", "--image-out", imageOut}));
    const CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QCOMPARE(result.OutLines(), kStatusLines + kVerifiedLines);
    QCOMPARE(FlashImage::Read(imageOut), FlashImage::PackageBlocks(package, true));
    QVERIFY(!SimLines(sim, "boot rx frame CMD=AB").isEmpty());
    QVERIFY(!SimLines(sim, "boot rx frame CMD=32").isEmpty());
    QVERIFY(SimLines(sim, "boot rx frame CMD=24").isEmpty());
}

void TestUpgradeCommand::uploadBaudOptionTellsTheHead()
{
    QSettings().setValue(LichtwartSettings::FirmwareBaudrate, 57600);
    const QString package = WritePackage(false, {{0x4000, QByteArray(40, 'a')}});
    SimProcess sim;
    QVERIFY(sim.Start({"--software-after", "9.1.0"}));
    CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package, "--upload-baud", "19200"});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QVERIFY(!SimLines(sim, "upload-mode PORT=0 BAUD=4 FEATURES=31").isEmpty());

    // Without the option the setting decides.
    sim.WaitForLine(QRegularExpression("boot leave"), 0);
    const int from = sim.LineCount();
    result = Run({"--device", sim.DevicePath(), "upgrade", package});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QVERIFY(!sim.Matching(QRegularExpression("upload-mode PORT=0 BAUD=6 FEATURES=31"), from, sim.LineCount()).isEmpty());
}

void TestUpgradeCommand::rawHexFileWhenAllowed()
{
    const QString path = m_dir->filePath("image.mhx");
    QVERIFY(FirmwarePackageBuilder::WriteFile(path, FirmwarePackageBuilder::Image({{0x4000, QByteArray(70, 'r')}}, false)));
    const QString imageOut = m_dir->filePath("flashed.mhx");
    SimProcess sim;
    QVERIFY(sim.Start({"--image-out", imageOut}));
    CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", path});
    QCOMPARE(result.exitCode, 4);
    QVERIFY2(result.err.startsWith("firmware error 1: Firmware missing in archive"), qPrintable(result.err));

    result = Run({"--device", sim.DevicePath(), "upgrade", path, "--allow-raw-hex"});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    // A raw image declares no version: only the head's return is checked.
    QCOMPARE(result.OutLines().last(), QString("restarted: software 1.4.2 (a raw image names no version to compare)"));
    QCOMPARE(FlashImage::Read(imageOut), (FlashImage::Runs {{0x4000, QByteArray(70, 'r')}}));
}

void TestUpgradeCommand::lineCutMidUploadFailsAndRetryCompletes()
{
    QList<FirmwarePackageBuilder::Block> blocks {{0x4000, QByteArray(2048, 'c')}};
    const QString package = WritePackage(false, blocks);
    const QString imageOut = m_dir->filePath("flashed.mhx");
    SimProcess sim;
    // Each answer takes 20 ms, so the 64 chunks last over a second and the cut reliably falls
    // inside the upload, however fast the machine.
    QVERIFY(sim.Start({"--image-out", imageOut, "--latency", "20", "--software-after", "9.1.0"}));
    LineRelay line(sim.DevicePath());
    QVERIFY(line.IsValid());

    // The cable is pulled once a few chunks have been written.
    QTimer watch;
    watch.setInterval(10);
    connect(&watch, &QTimer::timeout, this, [&] {
        if (SimLines(sim, "boot write ADDR=").size() >= 3) {
            line.SetCut(true);
            watch.stop();
        }
    });
    watch.start();
    const CommandResult result = Run({"--device", line.Path(), "upgrade", package});
    QCOMPARE(result.exitCode, 5);
    QCOMPARE(result.OutLines().last(), QString("Failed to write data block to flash!"));
    QCOMPARE(result.ErrLines().last(), QString("error: Failed to write data block to flash!"));
    QVERIFY(result.OutLines().contains("Uploading firmware, do not disconnect ..."));

    // The head waits in its boot loader; once the cable is back, the upgrade is retried there.
    line.SetCut(false);
    const CommandResult retried = Run({"--device", line.Path(), "upgrade", package, "--retry", "strelo-002"});
    QVERIFY2(retried.exitCode == 0, qPrintable(retried.err));
    QCOMPARE(retried.OutLines(), QStringList {"Trying to reconnect ..."} + kStatusLines.mid(3) + kVerifiedLines);
    QCOMPARE(FlashImage::Read(imageOut), FlashImage::PackageBlocks(package, false));
}

// An image one of whose blocks runs past the top of the address space is refused when it is loaded:
// the head is never asked to switch to its boot loader, and with --retry nothing at all is sent.
void TestUpgradeCommand::imagePastTopOfAddressSpaceIsNeverSent_data()
{
    QTest::addColumn<QString>("hardware");
    QTest::addColumn<bool>("wide");
    QTest::addColumn<quint32>("address");
    QTest::addColumn<QString>("product");
    QTest::addColumn<QString>("message");
    QTest::newRow("24-bit") << "2.1.0" << false << quint32(0xFFFFF0) << "strelo-002"
                            << "firmware error 21: Block 0x00FFFFF0 (64 bytes) reaches past the top of the 24-bit "
                               "address space at 0x00FFFFFF; check that the image was built for this product";
    QTest::newRow("32-bit") << "3.0.1" << true << quint32(0xFFFFFFF0) << "strelo-003"
                            << "firmware error 21: Block 0xFFFFFFF0 (64 bytes) reaches past the top of the 32-bit "
                               "address space at 0xFFFFFFFF; check that the image was built for this product";
}

void TestUpgradeCommand::imagePastTopOfAddressSpaceIsNeverSent()
{
    QFETCH(QString, hardware);
    QFETCH(bool, wide);
    QFETCH(quint32, address);
    QFETCH(QString, product);
    QFETCH(QString, message);
    const QString path = m_dir->filePath("top.hex");
    QVERIFY(FirmwarePackageBuilder::WriteFile(path, FirmwarePackageBuilder::Image({{address, QByteArray(64, 't')}}, wide, 64)));
    SimProcess sim;
    QVERIFY(sim.Start({"--hardware", hardware}));
    CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", path, "--allow-raw-hex"});
    QCOMPARE(result.exitCode, 4);
    QCOMPARE(result.ErrLines(), QStringList {message});
    QVERIFY(SimLines(sim, "upload-mode").isEmpty());
    // The simulator notices the first run's close a moment after the CLI has exited; from then
    // on the line must stay silent.
    QVERIFY(sim.WaitForLine(QRegularExpression("port closed"), 0) >= 0);

    const int before = sim.LineCount();
    result = Run({"--device", sim.DevicePath(), "upgrade", path, "--allow-raw-hex", "--retry", product});
    QCOMPARE(result.exitCode, 4);
    QCOMPARE(result.ErrLines(), QStringList {message});
    QVERIFY(result.out.isEmpty());
    QCOMPARE(sim.LineCount(), before);
}

void TestUpgradeCommand::otherProductIsRefusedUnlessForced()
{
    // A strelo-003 package, but with the 24-bit records a strelo-002 head loads.
    const QString package = WritePackageFor("strelo-003", false, TwoBlocks(0x004000));
    SimProcess sim;
    QVERIFY(sim.Start({"--hardware", "2.1.0"}));
    CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package});
    QCOMPARE(result.exitCode, 5);
    QCOMPARE(result.ErrLines(),
             QStringList {"error: the package is made for strelo-003, but the head on " + sim.DevicePath() +
                          " is a strelo-002; nothing was sent. Use the package for strelo-002, or add --force if "
                          "you are sure"});
    QVERIFY(result.out.isEmpty());
    QVERIFY(SimLines(sim, "upload-mode").isEmpty());

    result = Run({"--device", sim.DevicePath(), "upgrade", package, "--force"});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QVERIFY(result.ErrLines().contains("warning: the package is made for strelo-003, the head is a strelo-002; "
                                       "flashing it anyway (--force)"));
    QCOMPARE(result.OutLines(), kStatusLines + kVerifiedLines);
}

void TestUpgradeCommand::otherProductIsRefusedInRetry()
{
    const QString package = WritePackageFor("strelo-002", true, TwoBlocks(0x00080000));
    SimProcess sim;
    QVERIFY(sim.Start({}));
    const int before = sim.LineCount();
    const CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package, "--retry", "strelo-003"});
    QCOMPARE(result.exitCode, 5);
    QVERIFY2(result.err.startsWith("error: the package is made for strelo-002, but the head on "), qPrintable(result.err));
    QCOMPARE(sim.LineCount(), before);
}

void TestUpgradeCommand::headKeepingItsOldVersionFailsVerification()
{
    const QString package = WritePackage(false, TwoBlocks(0x004000));
    SimProcess sim;
    QVERIFY(sim.Start({"--software", "1.4.2", "--software-after", "1.4.2"}));
    const CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package});
    QCOMPARE(result.exitCode, 5);
    QCOMPARE(result.OutLines(), kStatusLines + QStringList {"Waiting for the restarted head ..."});
    QCOMPARE(result.ErrLines().last(),
             QString("error: after the upgrade the head reports software 1.4.2, not the package's version 9.1.0; "
                     "the new firmware did not take, run the upgrade again"));
}

void TestUpgradeCommand::headThatDoesNotComeBackFailsVerification()
{
    // The head loses its supply just as it leaves the boot loader for the new image: the line
    // stays, but nothing answers on it.
    const QString package = WritePackage(false, TwoBlocks(0x004000));
    SimChild sim;
    QVERIFY(sim.Start({}));
    LogTrigger powerLoss(sim, "boot leave", 1, [&sim] { sim.Freeze(); });
    const CommandResult result =
        Run({"--device", sim.DevicePath(), "upgrade", package, "--verify-timeout", "2000"});
    QVERIFY(powerLoss.Fired());
    QCOMPARE(result.exitCode, 5);
    QCOMPARE(result.OutLines(), kStatusLines + QStringList {"Waiting for the restarted head ..."});
    QCOMPARE(result.ErrLines().last(),
             "error: the head did not come back on " + sim.DevicePath()
                 + " within 2000 ms after the upgrade; check its power and cable, run identify, and if it stays in "
                   "its boot loader run the upgrade again with --retry PRODUCT");
}

void TestUpgradeCommand::noVerifySkipsTheCheck()
{
    const QString package = WritePackage(false, TwoBlocks(0x004000));
    SimProcess sim;
    QVERIFY(sim.Start({"--software-after", "1.4.2"}));
    const CommandResult result = Run({"--device", sim.DevicePath(), "upgrade", package, "--no-verify"});
    QVERIFY2(result.exitCode == 0, qPrintable(result.err));
    QCOMPARE(result.OutLines(), kStatusLines);
}

QTEST_GUILESS_MAIN(TestUpgradeCommand)
#include "tst_upgradecommand.moc"
