// The firmware upgrade in the window, interrupted: the head falls silent while it erases, the USB
// adapter is pulled while chunks are written, the head loses power while chunks are written. Each
// ends in the dialog's failure text; once the head (or the adapter) is back, Retry — or, after a
// power loss, Connect and Program — flashes the image byte for byte.
#include "FirmwarePackageBuilder.h"
#include "FlashImage.h"
#include "LogTrigger.h"
#include "SettingsSandbox.h"
#include "SimChild.h"
#include "UpgradeWindow.h"
#include "UsbAdapter.h"

#include <QApplication>
#include <QFile>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int kLinkMs = 15000;
constexpr int kUpgradeMs = 90000;
// Four erase commands, each given 10 s, with room for a loaded machine.
constexpr int kEraseFailsMs = 60000;
// Four write frames, each given 1 s.
constexpr int kWriteFailsMs = 20000;

const QString kEraseFailed = QStringLiteral("<font color='red'>Failed to erase flash!</font>");
const QString kWriteFailed = QStringLiteral("<font color='red'>Failed to write data block to flash!</font>");
const QString kAllDone = QStringLiteral("<font color='#009933'>All done, please close this window now</font>");

} // namespace

class TestInterruptedUpgradeWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void headSilentWhileErasingThenRetry();
    void adapterPulledWhileWritingThenRetry();
    void headLosesPowerWhileWritingThenProgramAgain();

private:
    // The head's options: a slow erase and slow answers leave time to interrupt either step.
    QStringList HeadOptions() const;
    void OpenWindow(const QString &device);
    void LoadAndProgram();
    bool WaitForStatus(const QString &text, int timeoutMs) const { return m_ui.WaitForStatus(text, timeoutMs); }
    void ExpectRetryOffered();
    void ExpectFlashed();

    QAction *Action(const char *name) const { return m_ui.Action(name); }
    QPushButton *Button(const char *name) const { return m_ui.Find<QPushButton>(name); }
    QString Status() const { return m_ui.Status(); }

    SettingsSandbox m_sandbox;
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_package;
    QString m_imageOut;
    UpgradeWindow m_ui;
};

void TestInterruptedUpgradeWindow::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestInterruptedUpgradeWindow::init()
{
    m_sandbox.Clear();
    m_dir = std::make_unique<QTemporaryDir>();
    m_imageOut = m_dir->filePath("flashed.mhx");
    m_package = m_dir->filePath("upgrade.fwp");
    QByteArray code;
    for (int i = 0; i < 2048; ++i)
        code.append(char(i * 7 + 3));
    QVERIFY(FirmwarePackageBuilder::WriteProductPackage(m_package, {{0x4000, code}}, false, "9.1.0"));
    UpgradeWindow::PrepareSettings();
}

void TestInterruptedUpgradeWindow::cleanup()
{
    m_ui.Close();
}

QStringList TestInterruptedUpgradeWindow::HeadOptions() const
{
    return {"--image-out", m_imageOut, "--erase-ms", "2000", "--latency", "20"};
}

void TestInterruptedUpgradeWindow::OpenWindow(const QString &device)
{
    QVERIFY(m_ui.Open(device, kLinkMs));
}

void TestInterruptedUpgradeWindow::LoadAndProgram()
{
    Action("actionUpgradeFirmware")->trigger();
    QVERIFY(m_ui.Dialog() && m_ui.Dialog()->isVisible());
    // Loading needs the identified product, which the head's software version shows.
    QTRY_COMPARE_WITH_TIMEOUT(m_ui.Find<QLabel>("txtDevSWVersion")->text(), QString("1.4.2"), kLinkMs);
    m_ui.Answerer().Expect(ModalAnswerer::ChooseFile(m_package));
    Button("pbLoad")->click();
    QVERIFY(Button("pbProg")->isEnabled());
    Button("pbProg")->click();
}

void TestInterruptedUpgradeWindow::ExpectRetryOffered()
{
    QVERIFY(Button("pbRetry")->isVisible());
    QVERIFY(Button("pbClose")->isEnabled());
    QVERIFY(!Button("pbProg")->isEnabled());
    QVERIFY(m_ui.Dialog()->IsCloseAllowed());
}

void TestInterruptedUpgradeWindow::ExpectFlashed()
{
    QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(m_imageOut), kLinkMs);
    QCOMPARE(FlashImage::Read(m_imageOut), FlashImage::PackageBlocks(m_package, false));
}

void TestInterruptedUpgradeWindow::headSilentWhileErasingThenRetry()
{
    SimChild head;
    QVERIFY(head.Start(HeadOptions()));
    OpenWindow(head.DevicePath());
    QVERIFY(!QTest::currentTestFailed());
    LogTrigger silence(head, "boot rx frame CMD=AA", 1, [&head] { head.Freeze(); });
    LoadAndProgram();
    QVERIFY(!QTest::currentTestFailed());
    QVERIFY2(WaitForStatus(kEraseFailed, kEraseFailsMs), qPrintable(Status()));
    QVERIFY(silence.Fired());
    ExpectRetryOffered();

    // The head wakes up where it stopped, still in its boot loader.
    head.Thaw();
    Button("pbRetry")->click();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    ExpectFlashed();
}

void TestInterruptedUpgradeWindow::adapterPulledWhileWritingThenRetry()
{
    SimChild head;
    QVERIFY(head.Start(HeadOptions()));
    UsbAdapter adapter(head.DevicePath(), m_dir->filePath("ttyUSB0"));
    QVERIFY(adapter.IsValid());
    OpenWindow(adapter.Path());
    QVERIFY(!QTest::currentTestFailed());
    LogTrigger pull(head, "boot write ADDR=", 4, [&adapter] { adapter.Pull(); });
    LoadAndProgram();
    QVERIFY(!QTest::currentTestFailed());
    QVERIFY2(WaitForStatus(kWriteFailed, kWriteFailsMs + kLinkMs), qPrintable(Status()));
    QVERIFY(pull.Fired());
    ExpectRetryOffered();
    QVERIFY(!QFile::exists(m_imageOut));

    QVERIFY(adapter.PlugIn());
    Button("pbRetry")->click();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    ExpectFlashed();
}

void TestInterruptedUpgradeWindow::headLosesPowerWhileWritingThenProgramAgain()
{
    const QString name = m_dir->filePath("head");
    auto head = std::make_unique<SimChild>();
    QVERIFY(head->Start(HeadOptions() + QStringList {"--link", name}));
    OpenWindow(name);
    QVERIFY(!QTest::currentTestFailed());
    LogTrigger powerLoss(*head, "boot write ADDR=", 4, [&head] { head->Kill(); });
    LoadAndProgram();
    QVERIFY(!QTest::currentTestFailed());
    QVERIFY2(WaitForStatus(kWriteFailed, kWriteFailsMs + kLinkMs), qPrintable(Status()));
    QVERIFY(powerLoss.Fired());
    ExpectRetryOffered();

    // Powered up again the head starts in link mode: the technician connects and programs anew.
    head = std::make_unique<SimChild>();
    QVERIFY(head->Start(HeadOptions() + QStringList {"--link", name}));
    QVERIFY(Action("actionConnect")->isEnabled());
    Action("actionConnect")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(Button("pbProg")->isEnabled(), kLinkMs);
    Button("pbProg")->click();
    QVERIFY2(WaitForStatus(kAllDone, kUpgradeMs), qPrintable(Status()));
    ExpectFlashed();
}

QTEST_MAIN(TestInterruptedUpgradeWindow)
#include "tst_interruptedupgrade_window.moc"
