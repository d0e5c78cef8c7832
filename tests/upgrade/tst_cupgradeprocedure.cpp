#include "FirmwarePackageBuilder.h"
#include "PtyPair.h"
#include "RecordingUpgrade.h"
#include "ScriptedBootLoader.h"
#include "SettingsSandbox.h"

#include "firmware/CFirmwareException.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>
#include <unistd.h>

namespace {

using Status = CUpgradeProcedure::Status;
using Frame = ScriptedBootLoader::Frame;

constexpr int kRunTimeoutMs = 20000;

QString Text(const char *text)
{
    return QString::fromUtf8(text);
}

QByteArray Counting(int count, int first = 0)
{
    QByteArray data;
    for (int i = 0; i < count; ++i)
        data.append(char(first + i));
    return data;
}

QByteArray Bytes(const ByteVector &data)
{
    return QByteArray(reinterpret_cast<const char *>(data.data()), static_cast<qsizetype>(data.size()));
}

void SetSetting(const char *key, const QVariant &value)
{
    QSettings settings;
    settings.setValue(QLatin1String(key), value);
}

std::vector<Frame> Writes(const std::vector<Frame> &frames)
{
    std::vector<Frame> writes;
    for (const Frame &frame : frames) {
        if (!frame.enquiry && (frame.command == 0x24 || frame.command == 0x32))
            writes.push_back(frame);
    }
    return writes;
}

// One head in its boot loader on a pseudo-terminal, and the procedure that upgrades it.
struct Bench
{
    explicit Bench(int hardwareMajor, const QList<FirmwarePackageBuilder::Block> &blocks)
        : loader(pty.MasterFd(), pty.SlavePath())
    {
        SetSetting(LichtwartSettings::InterfaceDevice, pty.SlavePath());
        SetSetting(LichtwartSettings::FirmwareBaudrate, 115200);
        upgrade.SetStreloDevice(CStreloProductTable::FindByHardwareMajor(hardwareMajor));
        const QString path = dir.filePath("upgrade.fwp");
        const bool wide = upgrade.Product() && upgrade.Product()->variant == 1;
        if (FirmwarePackageBuilder::WriteProductPackage(path, blocks, wide))
            upgrade.LoadFirmwareFile(path, false);
        upgrade.ConnectionChanged(true);
    }

    // Program, and the head leaves the link for its boot loader.
    void SwitchOver()
    {
        upgrade.Program();
        upgrade.ConnectionChanged(false);
    }

    PtyPair pty;
    ScriptedBootLoader loader;
    QTemporaryDir dir;
    RecordingUpgrade upgrade;
};

const QList<FirmwarePackageBuilder::Block> kHundredBytes {{0x4000, Counting(100)}};

} // namespace

class TestCUpgradeProcedure : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void baudRateCodes();
    void switchOverTellsTheUploadRateCode_data();
    void switchOverTellsTheUploadRateCode();
    void connectedAndDisconnectedStates();
    void programAbortedByTheUserStaysReady();
    void switchingForbidsClosing();
    void switchTimeOutKeepsState2();
    void secondLinkLossWhileEnablingChangesNothing();
    void hundredBytesInFourChunks();
    void hardware2ErasesWithAAand24BitAddresses();
    void hardware3ErasesWithABand32BitAddresses();
    void portOpensAtTheUploadRate();
    void absentUploadRateOpensAtTheTopRate();
    void silentBootLoaderThenRetry();
    void eraseFailure();
    void writeFailure();
    void naksWithinTheRetryBudget();
    void portThatDoesNotOpenEndsWithoutAnswer();
    void lostLineMidUploadThenRetry();
    void reconnectAfterTheRestartIsReadyAgain();
    void loadingFollowsTheProductVariant();

private:
    SettingsSandbox m_sandbox;
};

void TestCUpgradeProcedure::init()
{
    m_sandbox.Clear();
}

void TestCUpgradeProcedure::baudRateCodes()
{
    QCOMPARE(CUpgradeProcedure::BaudRateCode(2400), 1);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(4800), 2);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(9600), 3);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(19200), 4);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(38400), 5);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(57600), 6);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(115200), 7);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(0), 1);
    QCOMPARE(CUpgradeProcedure::BaudRateCode(1200), 1);
}

void TestCUpgradeProcedure::switchOverTellsTheUploadRateCode_data()
{
    QTest::addColumn<QVariant>("stored");
    QTest::addColumn<int>("code");
    QTest::newRow("2400") << QVariant(2400) << 1;
    QTest::newRow("absent means 9600") << QVariant() << 3;
    QTest::newRow("57600") << QVariant(57600) << 6;
    QTest::newRow("115200") << QVariant(115200) << 7;
}

void TestCUpgradeProcedure::switchOverTellsTheUploadRateCode()
{
    QFETCH(QVariant, stored);
    QFETCH(int, code);
    if (stored.isValid())
        SetSetting(LichtwartSettings::FirmwareBaudrate, stored);
    RecordingUpgrade upgrade;
    QSignalSpy switchRequests(&upgrade, SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    upgrade.ConnectionChanged(true);
    upgrade.Program();
    QCOMPARE(switchRequests.size(), 1);
    QCOMPARE(switchRequests.first(), (QList<QVariant> {0, code, 31}));
}

void TestCUpgradeProcedure::connectedAndDisconnectedStates()
{
    RecordingUpgrade upgrade;
    upgrade.ConnectionChanged(true);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_READY));
    QCOMPARE(upgrade.LastStatus(), Status::Connected);
    QCOMPARE(upgrade.progress.back().value, 0);

    upgrade.ConnectionChanged(false);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_NO_DEVICE));
    QCOMPARE(upgrade.LastStatus(), Status::Unknown);
    QCOMPARE(upgrade.software, Text("unknown"));
    QCOMPARE(upgrade.hardware, Text("unknown"));
    QCOMPARE(upgrade.progress.back().value, 0);
}

void TestCUpgradeProcedure::programAbortedByTheUserStaysReady()
{
    RecordingUpgrade upgrade;
    QSignalSpy switchRequests(&upgrade, SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    upgrade.ConnectionChanged(false);
    upgrade.confirm = false;
    upgrade.Program();
    QCOMPARE(upgrade.confirmations, 1);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_READY));
    QCOMPARE(switchRequests.size(), 0);
    QCOMPARE(upgrade.LastStatus(), Status::Unknown); // the state changed without its actions
}

void TestCUpgradeProcedure::switchingForbidsClosing()
{
    RecordingUpgrade upgrade;
    upgrade.ConnectionChanged(true);
    upgrade.Program();
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_SWITCHING));
    QCOMPARE(upgrade.LastStatus(), Status::Switching);
}

void TestCUpgradeProcedure::switchTimeOutKeepsState2()
{
    RecordingUpgrade upgrade;
    QSignalSpy finished(&upgrade, SIGNAL(UpgradeFinished(bool)));
    QSignalSpy handOver(&upgrade, SIGNAL(StartingFlashOperations()));
    upgrade.ConnectionChanged(true);
    upgrade.Program();
    QTest::qWait(2000);
    QCOMPARE(finished.size(), 0); // not before 3000 ms
    QVERIFY(finished.wait(5000));
    QCOMPARE(finished.first().first().toBool(), false);
    QCOMPARE(upgrade.LastStatus(), Status::SwitchFailed);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_SWITCHING));

    // A late loss of the link still starts the hand-over.
    upgrade.ConnectionChanged(false);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_ENABLING));
    QCOMPARE(handOver.size(), 1);
    QCOMPARE(upgrade.LastStatus(), Status::Enabling);
}

void TestCUpgradeProcedure::secondLinkLossWhileEnablingChangesNothing()
{
    RecordingUpgrade upgrade;
    QSignalSpy handOver(&upgrade, SIGNAL(StartingFlashOperations()));
    upgrade.ConnectionChanged(true);
    upgrade.Program();
    upgrade.ConnectionChanged(false);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_ENABLING));
    const int calls = upgrade.viewCalls;
    upgrade.ConnectionChanged(false);
    QCOMPARE(upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_ENABLING));
    QCOMPARE(upgrade.viewCalls, calls);
    QCOMPARE(handOver.size(), 1);
}

void TestCUpgradeProcedure::hundredBytesInFourChunks()
{
    Bench bench(2, kHundredBytes);
    QVERIFY(bench.upgrade.IsFirmwareLoaded());
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.first().first().toBool(), true);

    const auto writes = Writes(bench.loader.Frames());
    QCOMPARE(writes.size(), std::size_t(4));
    const std::uint32_t addresses[] = {0x4000, 0x4020, 0x4040, 0x4060};
    const int sizes[] = {32, 32, 32, 4};
    QByteArray written;
    for (int i = 0; i < 4; ++i) {
        QCOMPARE(ScriptedBootLoader::Address(writes[i]), addresses[i]);
        QCOMPARE(int(ScriptedBootLoader::Payload(writes[i]).size()), sizes[i]);
        written += Bytes(ScriptedBootLoader::Payload(writes[i]));
    }
    QCOMPARE(written, Counting(100));

    // The bar counts 32, 64, 96 and 100 of 100 while writing, and is full before state 7.
    std::vector<std::pair<int, int>> writing;
    bool fullBeforeDone = false;
    for (const auto &step : bench.upgrade.progress) {
        if (step.state == CUpgradeProcedure::UPGRADE_WRITING && step.value > 0)
            writing.emplace_back(step.value, step.maximum);
        if (step.state == CUpgradeProcedure::UPGRADE_WRITING && step.value == 100 && step.maximum == 100)
            fullBeforeDone = true;
    }
    QCOMPARE(writing, (std::vector<std::pair<int, int>> {{32, 100}, {64, 100}, {96, 100}, {100, 100}}));
    QVERIFY(fullBeforeDone);

    QCOMPARE(bench.upgrade.statuses,
             (QList<Status> {Status::Connected, Status::Switching, Status::Enabling, Status::Erasing,
                             Status::Uploading, Status::Successful, Status::AllDone}));
    QCOMPARE(bench.upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_NO_DEVICE));
    QVERIFY(!bench.upgrade.IsOpen()); // the port is released at the end
}

void TestCUpgradeProcedure::hardware2ErasesWithAAand24BitAddresses()
{
    Bench bench(2, {{0x010000, Counting(8)}});
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    const auto frames = bench.loader.Frames();
    QCOMPARE(frames.size(), std::size_t(4));
    QVERIFY(frames[0].enquiry);
    QCOMPARE(frames[1].command, std::uint8_t(0xAA));
    QVERIFY(frames[1].data.empty());
    QCOMPARE(frames[2].command, std::uint8_t(0x24));
    QCOMPARE(frames[2].length, std::uint8_t(3 + 8));
    QCOMPARE(Bytes(frames[2].data), QByteArray::fromHex("010000") + Counting(8));
    QCOMPARE(frames[3].command, std::uint8_t(0xCC));
}

void TestCUpgradeProcedure::hardware3ErasesWithABand32BitAddresses()
{
    Bench bench(3, {{0x00080000, Counting(40)}});
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    const auto frames = bench.loader.Frames();
    QCOMPARE(frames.size(), std::size_t(5));
    QCOMPARE(frames[1].command, std::uint8_t(0xAB));
    QCOMPARE(frames[2].command, std::uint8_t(0x32));
    QCOMPARE(frames[2].length, std::uint8_t(36));
    QCOMPARE(Bytes(frames[2].data), QByteArray::fromHex("00080000") + Counting(32));
    QCOMPARE(Bytes(frames[3].data), QByteArray::fromHex("00080020") + Counting(8, 32));
    QCOMPARE(frames[4].command, std::uint8_t(0xCC));
}

void TestCUpgradeProcedure::portOpensAtTheUploadRate()
{
    Bench bench(2, kHundredBytes);
    SetSetting(LichtwartSettings::FirmwareBaudrate, 19200);
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(bench.loader.RateAtFirstEnquiry(), speed_t(B19200));
}

void TestCUpgradeProcedure::absentUploadRateOpensAtTheTopRate()
{
    // The head is told 9600 (code 3), while the port reads the setting without a default: 0, which
    // the baud-rate table maps to its top rate.
    Bench bench(2, kHundredBytes);
    QSettings().remove(QLatin1String(LichtwartSettings::FirmwareBaudrate));
    QSignalSpy switchRequests(&bench.upgrade, SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QCOMPARE(switchRequests.first(), (QList<QVariant> {0, 3, 31}));
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(bench.loader.RateAtFirstEnquiry(), speed_t(B115200));
}

void TestCUpgradeProcedure::silentBootLoaderThenRetry()
{
    Bench bench(2, kHundredBytes);
    // The boot loader refuses every enquiry: after 151 of them the step fails.
    bench.loader.SetPolicy([](const Frame &frame, int) {
        return frame.enquiry ? ScriptedBootLoader::Nak() : ScriptedBootLoader::Ack();
    });
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.first().first().toBool(), false);
    QCOMPARE(bench.loader.Frames().size(), std::size_t(151));
    QCOMPARE(bench.upgrade.LastStatus(), Status::NoAnswer);
    QCOMPARE(bench.upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_NO_DEVICE));
    QVERIFY(!bench.upgrade.IsOpen());

    bench.loader.SetPolicy([](const Frame &, int) { return ScriptedBootLoader::Ack(); });
    bench.upgrade.Retry();
    QCOMPARE(bench.upgrade.statuses.at(bench.upgrade.statuses.size() - 1), Status::Reconnecting);
    QCOMPARE(bench.upgrade.progress.back().value, 0);
    QCOMPARE(bench.upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_CONNECTING));
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.last().first().toBool(), true);
    QCOMPARE(bench.upgrade.LastStatus(), Status::AllDone);
}

void TestCUpgradeProcedure::eraseFailure()
{
    Bench bench(3, kHundredBytes);
    bench.loader.SetPolicy([](const Frame &frame, int) {
        return frame.enquiry ? ScriptedBootLoader::Ack() : ScriptedBootLoader::Nak();
    });
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(bench.upgrade.LastStatus(), Status::EraseFailed);
    // The erase request and its three repetitions, the repetitions always as 0xAA.
    const auto frames = bench.loader.Frames();
    QCOMPARE(frames.size(), std::size_t(5));
    QCOMPARE(frames[1].command, std::uint8_t(0xAB));
    for (int i = 2; i < 5; ++i)
        QCOMPARE(frames[i].command, std::uint8_t(0xAA));
}

void TestCUpgradeProcedure::writeFailure()
{
    Bench bench(2, kHundredBytes);
    bench.loader.SetPolicy([](const Frame &frame, int) {
        const bool secondWrite = frame.command == 0x24 && ScriptedBootLoader::Address(frame) == 0x4020;
        return secondWrite ? ScriptedBootLoader::Nak() : ScriptedBootLoader::Ack();
    });
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(bench.upgrade.LastStatus(), Status::WriteFailed);
    QCOMPARE(Writes(bench.loader.Frames()).size(), std::size_t(1 + 4));
    QCOMPARE(bench.upgrade.progress.back().value, 64); // the bar stays where the upload stopped
}

void TestCUpgradeProcedure::naksWithinTheRetryBudget()
{
    Bench bench(2, kHundredBytes);
    // Every request is refused three times before it is taken: the budget of three repetitions.
    auto refusals = std::make_shared<int>(0);
    bench.loader.SetPolicy([refusals](const Frame &frame, int) {
        if (frame.command == 0xCC)
            return QByteArray();
        if (++*refusals <= 3)
            return ScriptedBootLoader::Nak();
        *refusals = 0;
        return ScriptedBootLoader::Ack();
    });
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.first().first().toBool(), true);
    QCOMPARE(Writes(bench.loader.Frames()).size(), std::size_t(16));
}

void TestCUpgradeProcedure::portThatDoesNotOpenEndsWithoutAnswer()
{
    Bench bench(2, kHundredBytes);
    SetSetting(LichtwartSettings::InterfaceDevice, "/dev/lichtwart-no-such-port");
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.first().first().toBool(), false);
    QCOMPARE(bench.upgrade.LastStatus(), Status::NoAnswer);
}

void TestCUpgradeProcedure::lostLineMidUploadThenRetry()
{
    // The device name is a link that is pointed at a fresh line for the retry, as a replugged
    // adapter comes back under its old name.
    QTemporaryDir links;
    const QString device = links.filePath("ttyUpgrade");
    auto first = std::make_unique<Bench>(2, QList<FirmwarePackageBuilder::Block> {{0x4000, Counting(256)}});
    QVERIFY(QFile::link(first->pty.SlavePath(), device));
    SetSetting(LichtwartSettings::InterfaceDevice, device);
    first->loader.SetPolicy([](const Frame &frame, int) {
        const bool late = frame.command == 0x24 && ScriptedBootLoader::Address(frame) >= 0x4060;
        return late ? QByteArray() : ScriptedBootLoader::Ack();
    });
    QSignalSpy finished(&first->upgrade, SIGNAL(UpgradeFinished(bool)));
    first->SwitchOver();
    QTRY_VERIFY_WITH_TIMEOUT(first->loader.Frames().size() >= 6, kRunTimeoutMs);
    QCOMPARE(first->upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_WRITING));

    // The line vanishes in the middle of the upload.
    PtyPair replacement;
    ScriptedBootLoader answering(replacement.MasterFd(), replacement.SlavePath());
    RecordingUpgrade &upgrade = first->upgrade;
    first->loader.Stop();
    first->pty.CloseMaster();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.first().first().toBool(), false);
    QCOMPARE(upgrade.LastStatus(), Status::WriteFailed);

    QVERIFY(QFile::remove(device));
    QVERIFY(QFile::link(replacement.SlavePath(), device));
    upgrade.Retry();
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.last().first().toBool(), true);
    QByteArray written;
    for (const Frame &frame : Writes(answering.Frames()))
        written += Bytes(ScriptedBootLoader::Payload(frame));
    QCOMPARE(written, Counting(256));
}

void TestCUpgradeProcedure::reconnectAfterTheRestartIsReadyAgain()
{
    Bench bench(2, kHundredBytes);
    QSignalSpy finished(&bench.upgrade, SIGNAL(UpgradeFinished(bool)));
    bench.SwitchOver();
    QVERIFY(finished.wait(kRunTimeoutMs));
    bench.upgrade.ConnectionChanged(true);
    QCOMPARE(bench.upgrade.UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_READY));
    QCOMPARE(bench.upgrade.LastStatus(), Status::Connected);
    QCOMPARE(bench.upgrade.progress.back().value, 0);
}

void TestCUpgradeProcedure::loadingFollowsTheProductVariant()
{
    QTemporaryDir dir;
    const QString narrow = dir.filePath("narrow.fwp");
    QVERIFY(FirmwarePackageBuilder::WriteProductPackage(narrow, kHundredBytes, false));
    RecordingUpgrade upgrade;
    upgrade.SetStreloDevice(CStreloProductTable::FindByHardwareMajor(3));
    // A strelo-003 takes 32-bit records only: the 24-bit image is refused and nothing is loaded.
    try {
        upgrade.LoadFirmwareFile(narrow, false);
        QFAIL("a 24-bit image loaded for a product of variant 1");
    } catch (const CFirmwareException &error) {
        QCOMPARE(error.Code(), 8);
    }
    QVERIFY(!upgrade.IsFirmwareLoaded());
    upgrade.SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade.LoadFirmwareFile(narrow, false);
    QVERIFY(upgrade.IsFirmwareLoaded());
    QCOMPARE(upgrade.Firmware().GetTotalSize(), 100);
}

QTEST_GUILESS_MAIN(TestCUpgradeProcedure)
#include "tst_cupgradeprocedure.moc"
