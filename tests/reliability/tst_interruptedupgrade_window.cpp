// The firmware upgrade in the window, interrupted: the head falls silent while it erases, the USB
// adapter is pulled while chunks are written, the head loses power while chunks are written. Each
// ends in the dialog's failure text; once the head (or the adapter) is back, Retry — or, after a
// power loss, Connect and Program — flashes the image byte for byte.
#include "FirmwarePackageBuilder.h"
#include "FlashImage.h"
#include "LogTrigger.h"
#include "ModalAnswerer.h"
#include "SettingsSandbox.h"
#include "SimChild.h"
#include "UsbAdapter.h"

#include "app/MainWindow.h"
#include "firmware/FWUpgradeDialog.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
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
    bool WaitForStatus(const QString &text, int timeoutMs);
    void ExpectRetryOffered();
    void ExpectFlashed();

    QAction *Action(const char *name) const { return m_window->findChild<QAction *>(QLatin1String(name)); }
    FWUpgradeDialog *Dialog() const { return m_window->findChild<FWUpgradeDialog *>(); }
    QPushButton *Button(const char *name) const { return Dialog()->findChild<QPushButton *>(QLatin1String(name)); }
    QString Status() const { return Dialog()->findChild<QLabel *>(QStringLiteral("txtStatus"))->text(); }

    SettingsSandbox m_sandbox;
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_package;
    QString m_imageOut;
    std::unique_ptr<ModalAnswerer> m_answerer;
    std::unique_ptr<MainWindow> m_window;
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
    QSettings settings;
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareWarnProgStart), false);
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareWarnOutdated), false);
    settings.setValue(QLatin1String(LichtwartSettings::FirmwareBaudrate), 115200);
    settings.setValue(QLatin1String(LichtwartSettings::InterfaceBaudrate), 115200);
}

void TestInterruptedUpgradeWindow::cleanup()
{
    m_window.reset();
    m_answerer.reset();
}

QStringList TestInterruptedUpgradeWindow::HeadOptions() const
{
    return {"--image-out", m_imageOut, "--erase-ms", "2000", "--latency", "20"};
}

void TestInterruptedUpgradeWindow::OpenWindow(const QString &device)
{
    QSettings().setValue(QLatin1String(LichtwartSettings::InterfaceDevice), device);
    m_answerer = std::make_unique<ModalAnswerer>();
    m_window = std::make_unique<MainWindow>(false);
    m_window->show();
    Action("actionConnect")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(Action("actionUpgradeFirmware")->isEnabled(), kLinkMs);
}

void TestInterruptedUpgradeWindow::LoadAndProgram()
{
    Action("actionUpgradeFirmware")->trigger();
    QVERIFY(Dialog() && Dialog()->isVisible());
    // Loading needs the identified product, which the head's software version shows.
    QTRY_COMPARE_WITH_TIMEOUT(Dialog()->findChild<QLabel *>(QStringLiteral("txtDevSWVersion"))->text(),
                              QString("1.4.2"), kLinkMs);
    m_answerer->Expect(ModalAnswerer::ChooseFile(m_package));
    Button("pbLoad")->click();
    QVERIFY(Button("pbProg")->isEnabled());
    Button("pbProg")->click();
}

bool TestInterruptedUpgradeWindow::WaitForStatus(const QString &text, int timeoutMs)
{
    return QTest::qWaitFor([&] { return Status() == text; }, timeoutMs);
}

void TestInterruptedUpgradeWindow::ExpectRetryOffered()
{
    QVERIFY(Button("pbRetry")->isVisible());
    QVERIFY(Button("pbClose")->isEnabled());
    QVERIFY(!Button("pbProg")->isEnabled());
    QVERIFY(Dialog()->IsCloseAllowed());
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
