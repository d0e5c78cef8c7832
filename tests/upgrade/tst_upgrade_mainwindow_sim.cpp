#include "FirmwarePackageBuilder.h"
#include "FlashImage.h"
#include "LineRelay.h"
#include "SettingsSandbox.h"
#include "SimProcess.h"
#include "UpgradeWindow.h"

#include <QApplication>
#include <QFile>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>

#include <atomic>
#include <memory>

namespace {

constexpr int kLinkMs = 10000;
constexpr int kUpgradeMs = 60000;
// 151 enquiries 100 ms apart, with room for a loaded machine.
constexpr int kNoAnswerMs = 40000;

const QString kConnected = QStringLiteral("<font color='#009933'>Connected to target device</font>");
const QString kAllDone = QStringLiteral("<font color='#009933'>All done, please close this window now</font>");

} // namespace

// The whole program upgrading the simulated head: the window connects, the upgrade dialog loads
// a package and programs it through the real controller, port and boot-loader protocol; the line
// between them can be pulled and spoiled.
class TestUpgradeMainWindowSim : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void strelo002UpgradeAndReconnect();
    void strelo003UpgradeAndReconnect();
    void silentBootLoaderThenRetry();
    void naksWithinTheRetryBudget();
    void cablePulledMidUploadThenRetry();

private:
    void Start(const QStringList &simOptions, bool throughRelay);
    QString WritePackage(bool wide);
    void OpenDialogAndLoad(const QString &package);
    void Program();
    int SimLineCount(const QString &pattern);
    void ExpectFlashed(const QString &package, bool wide);

    QAction *Action(const char *name) const { return m_ui.Action(name); }
    FWUpgradeDialog *Dialog() const { return m_ui.Dialog(); }
    template <typename Widget>
    Widget *Find(const char *name) const
    {
        return m_ui.Find<Widget>(name);
    }
    QString Status() const { return m_ui.Status(); }
    bool WaitForStatus(const QString &text, int timeoutMs) const { return m_ui.WaitForStatus(text, timeoutMs); }

    SettingsSandbox m_sandbox;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<LineRelay> m_relay;
    UpgradeWindow m_ui;
    QString m_imageOut;
};

void TestUpgradeMainWindowSim::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestUpgradeMainWindowSim::init()
{
    m_sandbox.Clear();
    m_dir = std::make_unique<QTemporaryDir>();
    m_imageOut = m_dir->filePath("flashed.mhx");
    UpgradeWindow::PrepareSettings();
}

void TestUpgradeMainWindowSim::cleanup()
{
    m_ui.Close();
    m_relay.reset();
    m_sim.reset();
}

void TestUpgradeMainWindowSim::Start(const QStringList &simOptions, bool throughRelay)
{
    // The simulator starts before the window's threads exist.
    m_sim = std::make_unique<SimProcess>();
    QVERIFY(m_sim->Start(QStringList {"--image-out", m_imageOut} + simOptions));
    QString device = m_sim->DevicePath();
    if (throughRelay) {
        m_relay = std::make_unique<LineRelay>(device);
        QVERIFY(m_relay->IsValid());
        device = m_relay->Path();
    }
    QVERIFY(m_ui.Open(device, kLinkMs));
}

QString TestUpgradeMainWindowSim::WritePackage(bool wide)
{
    QByteArray code;
    for (int i = 0; i < 300; ++i)
        code.append(char(i * 13 + 1));
    const QList<FirmwarePackageBuilder::Block> blocks {
        {wide ? 0x00080000u : 0x004000u, code},
        {wide ? 0x00081000u : 0x005001u, QByteArray("STRELO-SWV:9.1.0")}};
    const QString path = m_dir->filePath("upgrade.fwp");
    return FirmwarePackageBuilder::WriteProductPackage(path, blocks, wide, "9.1.0") ? path : QString();
}

void TestUpgradeMainWindowSim::OpenDialogAndLoad(const QString &package)
{
    Action("actionUpgradeFirmware")->trigger();
    QVERIFY(Dialog() && Dialog()->isVisible());
    QTRY_COMPARE_WITH_TIMEOUT(Find<QLabel>("txtDevSWVersion")->text(), QString("1.4.2"), kLinkMs);
    QCOMPARE(Status(), kConnected);
    m_ui.Answerer().Expect(ModalAnswerer::ChooseFile(package));
    Find<QPushButton>("pbLoad")->click();
    QCOMPARE(Find<QLabel>("txtFileVersion")->text(), QString("9.1.0"));
    QVERIFY(Find<QPushButton>("pbProg")->isEnabled());
}

void TestUpgradeMainWindowSim::Program()
{
    Find<QPushButton>("pbProg")->click();
    QCOMPARE(Status(), QString("Switching device to programming mode ..."));
}

int TestUpgradeMainWindowSim::SimLineCount(const QString &pattern)
{
    return static_cast<int>(m_sim->Matching(QRegularExpression(pattern), 0, m_sim->LineCount()).size());
}

void TestUpgradeMainWindowSim::ExpectFlashed(const QString &package, bool wide)
{
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_imageOut), kLinkMs);
    QCOMPARE(FlashImage::Read(m_imageOut), FlashImage::PackageBlocks(package, wide));
}

void TestUpgradeMainWindowSim::strelo002UpgradeAndReconnect()
{
    Start({"--hardware", "2.1.0"}, false);
    const QString package = WritePackage(false);
    OpenDialogAndLoad(package);
    Program();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    ExpectFlashed(package, false);
    QCOMPARE(SimLineCount("boot rx frame CMD=AA"), 1);
    QCOMPARE(Find<QProgressBar>("pbarProg")->value(), Find<QProgressBar>("pbarProg")->maximum());
    QVERIFY(Dialog()->IsCloseAllowed());

    // The window stayed disconnected; connecting again finds the restarted head with its new
    // software, and the dialog is back in its initial state.
    QVERIFY(Action("actionConnect")->isEnabled());
    Action("actionConnect")->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(Status(), kConnected, kLinkMs);
    QTRY_COMPARE_WITH_TIMEOUT(Find<QLabel>("txtDevSWVersion")->text(), QString("9.1.0"), kLinkMs);
    QCOMPARE(Find<QProgressBar>("pbarProg")->value(), 0);
    QVERIFY(Find<QPushButton>("pbRetry")->isHidden());
    QVERIFY(Find<QPushButton>("pbLoad")->isEnabled());
    QVERIFY(Find<QPushButton>("pbProg")->isEnabled());
}

void TestUpgradeMainWindowSim::strelo003UpgradeAndReconnect()
{
    Start({"--hardware", "3.0.1"}, false);
    const QString package = WritePackage(true);
    OpenDialogAndLoad(package);
    Program();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    ExpectFlashed(package, true);
    QCOMPARE(SimLineCount("boot rx frame CMD=AB"), 1);
    QVERIFY(SimLineCount("boot rx frame CMD=32") > 0);
    QCOMPARE(SimLineCount("boot rx frame CMD=24"), 0);

    Action("actionConnect")->trigger();
    QTRY_COMPARE_WITH_TIMEOUT(Status(), kConnected, kLinkMs);
    QTRY_COMPARE_WITH_TIMEOUT(Find<QLabel>("txtDevSWVersion")->text(), QString("9.1.0"), kLinkMs);
    QCOMPARE(Find<QLabel>("txtDevHWVersion")->text(), QString("3.0.1"));
}

void TestUpgradeMainWindowSim::silentBootLoaderThenRetry()
{
    Start({}, true);
    const QString package = WritePackage(false);
    OpenDialogAndLoad(package);
    // The line goes dead as soon as the head has entered its boot loader.
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        if (SimLineCount("boot enter") > 0) {
            m_relay->SetCut(true);
            watch.stop();
        }
    });
    watch.start(5);
    Program();
    QVERIFY2(WaitForStatus("<font color='red'>No valid answer from firmware flasher!</font>", kNoAnswerMs),
             qPrintable(Status()));
    QVERIFY(Find<QPushButton>("pbRetry")->isVisible());
    QVERIFY(Find<QPushButton>("pbRetry")->isDefault());
    QVERIFY(Find<QPushButton>("pbClose")->isEnabled());
    QVERIFY(!Find<QPushButton>("pbLoad")->isEnabled());
    QVERIFY(!Find<QPushButton>("pbProg")->isEnabled());
    QCOMPARE(SimLineCount("boot rx enq"), 0);

    m_relay->SetCut(false);
    Find<QPushButton>("pbRetry")->click();
    QCOMPARE(Status(), QString("Trying to reconnect ..."));
    QVERIFY(!Dialog()->IsCloseAllowed());
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    ExpectFlashed(package, false);
}

void TestUpgradeMainWindowSim::naksWithinTheRetryBudget()
{
    Start({}, true);
    const QString package = WritePackage(false);
    OpenDialogAndLoad(package);
    // Every other write frame arrives with a damaged data byte, which the boot loader refuses.
    std::atomic<int> writes {0};
    m_relay->SetToHeadFilter([&writes](QByteArray &batch) {
        if (batch.size() > 8 && batch.at(0) == '\x02' && batch.at(2) == '\x24' && writes++ % 2 == 0)
            batch[7] = char(batch.at(7) ^ 0x5A);
    });
    Program();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    QVERIFY(SimLineCount("boot tx nak") >= 5);
    QVERIFY(SimLineCount("CKS=bad") >= 5);
    ExpectFlashed(package, false);
}

void TestUpgradeMainWindowSim::cablePulledMidUploadThenRetry()
{
    // Answers that take 20 ms each keep the upload long enough for the cut to fall inside it,
    // however fast the machine.
    Start({"--latency", "20"}, true);
    const QString package = WritePackage(false);
    OpenDialogAndLoad(package);
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        if (SimLineCount("boot write ADDR=") >= 4) {
            m_relay->SetCut(true);
            watch.stop();
        }
    });
    watch.start(5);
    Program();
    QVERIFY2(WaitForStatus("<font color='red'>Failed to write data block to flash!</font>", kUpgradeMs),
             qPrintable(Status()));
    QVERIFY(Find<QPushButton>("pbRetry")->isVisible());
    QVERIFY(Dialog()->IsCloseAllowed());

    m_relay->SetCut(false);
    Find<QPushButton>("pbRetry")->click();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    // The retry erased and wrote the whole image again.
    QCOMPARE(SimLineCount("boot rx frame CMD=AA"), 2);
    ExpectFlashed(package, false);
}

QTEST_MAIN(TestUpgradeMainWindowSim)
#include "tst_upgrade_mainwindow_sim.moc"
