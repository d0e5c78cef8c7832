#include "FirmwarePackageBuilder.h"
#include "ModalAnswerer.h"
#include "PtyPair.h"
#include "ScriptedBootLoader.h"
#include "SettingsSandbox.h"

#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

#include <QApplication>
#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QLabel>
#include <QLayout>
#include <QMessageBox>
#include <QProgressBar>
#include <QPushButton>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int kRunTimeoutMs = 20000;

const QString kDowngradeText = QStringLiteral(
    "The firmware you loaded from the file isn't' more recent then the one running on the device connected.\n"
    "Downgrading a device is supported but not advised.");
const QString kBaudrateText = QStringLiteral(
    "The baudrate to upload the firmware is higher then the operating baudrate of the device.\n"
    "For on-site programming it is highly advised to use an upload baudrate that is lower or equal to the "
    "operating baudrate of the device.");
const QString kProgStartText = QStringLiteral(
    "Make sure the device is connected properly and powerd by a failsafe supply. Do not disconnect or power "
    "off the device during programming! Any interruption of the programming sequence will leave the device in "
    "defective state.\n\nDo you really want to continue ?");

const QString kProductText = QStringLiteral(
    "The firmware package is made for the product 'strelo-003', but the connected device is a 'strelo-002'.\n"
    "Firmware for another product can leave the device unusable.\n\nDo you really want to continue ?");

QByteArray Counting(int count)
{
    QByteArray data;
    for (int i = 0; i < count; ++i)
        data.append(char(i));
    return data;
}

// The driver with its view hook open to the test.
class StatusDriver : public CFirmwareUpgrade
{
public:
    using CFirmwareUpgrade::CFirmwareUpgrade;
    using CFirmwareUpgrade::ShowStatus;
};

template <class Widget>
Widget *Find(CFirmwareUpgrade &upgrade, const char *name)
{
    return upgrade.Dialog()->findChild<Widget *>(QLatin1String(name));
}

void SetSetting(const char *key, const QVariant &value)
{
    QSettings().setValue(QLatin1String(key), value);
}

QVariant Setting(const char *key)
{
    return QSettings().value(QLatin1String(key));
}

// What a warning or message box showed, read when it was answered.
struct Shown
{
    QString title;
    QString text;
    QString informative;
    QStringList filters;
};

// A handler met a window it was not written for: noted in shown, and the window is closed, so the
// test fails on its comparisons instead of hanging or crashing.
bool WrongWindow(QWidget *window, bool fits, Shown &shown)
{
    if (fits)
        return false;
    shown.title = QStringLiteral("unexpected %1").arg(window->metaObject()->className());
    qobject_cast<QDialog *>(window)->reject();
    return true;
}

// Ticks the box when asked, and presses OK (or Continue).
ModalAnswerer::Handler AnswerWarning(Shown &shown, bool dontShowAgain = false)
{
    return [&shown, dontShowAgain](QWidget *window) {
        if (WrongWindow(window, window->findChild<QLabel *>("lblWarnText") != nullptr, shown))
            return;
        shown.title = window->windowTitle();
        shown.text = window->findChild<QLabel *>("lblWarnText")->text();
        window->findChild<QCheckBox *>("checkBoxHide")->setChecked(dontShowAgain);
        auto *ok = window->findChild<QPushButton *>("btOk");
        if (!ok)
            ok = window->findChild<QPushButton *>("btContinue");
        ok->click();
    };
}

ModalAnswerer::Handler AbortWarning(Shown &shown)
{
    return [&shown](QWidget *window) {
        if (WrongWindow(window, window->findChild<QPushButton *>("pbAbort") != nullptr, shown))
            return;
        shown.text = window->findChild<QLabel *>("lblWarnText")->text();
        window->findChild<QPushButton *>("pbAbort")->click();
    };
}

ModalAnswerer::Handler AnswerMessageBox(Shown &shown)
{
    return [&shown](QWidget *window) {
        auto *box = qobject_cast<QMessageBox *>(window);
        if (WrongWindow(window, box != nullptr, shown))
            return;
        shown.title = box->windowTitle();
        shown.text = box->text();
        shown.informative = box->informativeText();
        shown.filters << (box->icon() == QMessageBox::Critical ? "critical" : "other");
        box->accept();
    };
}

// Chooses path in the file dialog (or cancels it with an empty path).
ModalAnswerer::Handler ChooseFile(Shown &shown, const QString &path)
{
    return [&shown, path](QWidget *window) {
        auto *fileDialog = qobject_cast<QFileDialog *>(window);
        if (WrongWindow(window, fileDialog != nullptr, shown))
            return;
        shown.title = fileDialog->windowTitle();
        shown.filters = fileDialog->nameFilters();
        shown.text = fileDialog->directory().absolutePath();
        shown.informative = fileDialog->parentWidget() ? fileDialog->parentWidget()->objectName() : QString();
        ModalAnswerer::Choose(fileDialog, path);
    };
}

} // namespace

class TestCFirmwareUpgrade : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void formAsBuilt();
    void closingIsGuarded();
    void showWithoutDeviceIsState0();
    void showWhileConnectedIsState1();
    void baudrateWarning();
    void absentUploadRateNeverWarns();
    void tickedWarningIsNotShownAgain();
    void loadWithoutProductFails();
    void rawHexFilterOffersThreeFilters();
    void packageFiltersWithoutRawHex();
    void loadedPackageShowsItsDetails();
    void fingerprintMismatchShowsErrorBox();
    void equalVersionWarnsAboutDowngrade();
    void newerVersionDoesNotWarn();
    void cancelRunsTheDowngradeCheckAgain();
    void programEnabledOnlyWhenConnectedAndLoaded();
    void versionsReportedAreShown();
    void programAskedAndAborted();
    void programAskedAndContinued();
    void progstartOffStartsWithoutAsking();
    void escapeAndCloseRefusedWhileUploading();
    void imagePastTopOfAddressSpaceShowsErrorBox();
    void otherProductWarnedAndCancelled();
    void otherProductWarningTickedIsNotShownAgain();
    void sameProductIsNotQuestioned();
    void upgradeEndToEndOnScriptedBootLoader();
    void statusShowsItsTextAndButtons_data();
    void statusShowsItsTextAndButtons();
    void richTextsAreThePlainTextsMarkedUp();

private:
    std::unique_ptr<CFirmwareUpgrade> MakeUpgrade(bool allowRawHex = false);
    QString WritePackage(const QByteArray &version, const QByteArray &product = "strelo-002");
    // Chooses path (or cancels with an empty one) in the file dialog that Load.. opens; then answers
    // the boxes that follow with the handlers given.
    void Load(CFirmwareUpgrade &upgrade, const QString &path, std::initializer_list<ModalAnswerer::Handler> then = {});

    SettingsSandbox m_sandbox;
    std::unique_ptr<ModalAnswerer> m_answerer;
    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<QWidget> m_parent;
};

void TestCFirmwareUpgrade::initTestCase()
{
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
}

void TestCFirmwareUpgrade::init()
{
    m_sandbox.Clear();
    m_answerer = std::make_unique<ModalAnswerer>();
    m_dir = std::make_unique<QTemporaryDir>();
    m_parent = std::make_unique<QWidget>();
}

void TestCFirmwareUpgrade::cleanup()
{
    QVERIFY2(m_answerer->Unexpected().isEmpty(), qPrintable(m_answerer->Unexpected().join(", ")));
    QCOMPARE(m_answerer->PendingHandlers(), 0);
    m_parent.reset();
}

std::unique_ptr<CFirmwareUpgrade> TestCFirmwareUpgrade::MakeUpgrade(bool allowRawHex)
{
    return std::make_unique<CFirmwareUpgrade>(m_parent.get(), allowRawHex);
}

QString TestCFirmwareUpgrade::WritePackage(const QByteArray &version, const QByteArray &product)
{
    const QString path = m_dir->filePath(QString::fromLatin1("fw-" + version + ".fwp"));
    const QByteArray image = FirmwarePackageBuilder::Image({{0x4000, Counting(100)}}, false);
    FirmwarePackageBuilder::Manifest manifest;
    manifest.product = product;
    manifest.version = version;
    manifest.md5 = FirmwarePackageBuilder::Md5(image);
    FirmwarePackageBuilder::WriteArchive(path, FirmwarePackageBuilder::Format::Zip,
                                         {{"manifest.xml", FirmwarePackageBuilder::ManifestXml(manifest)},
                                          {"firmware.mhx", image}});
    return path;
}

void TestCFirmwareUpgrade::Load(CFirmwareUpgrade &upgrade, const QString &path,
                                std::initializer_list<ModalAnswerer::Handler> then)
{
    Shown chooser;
    m_answerer->Expect(ChooseFile(chooser, path));
    for (const auto &handler : then)
        m_answerer->Expect(handler);
    Find<QPushButton>(upgrade, "pbLoad")->click();
}

void TestCFirmwareUpgrade::formAsBuilt()
{
    auto upgrade = MakeUpgrade();
    FWUpgradeDialog *dialog = upgrade->Dialog();
    QCOMPARE(dialog->parentWidget(), m_parent.get());
    QCOMPARE(dialog->objectName(), QString("FWUpgradeDialog"));
    QCOMPARE(dialog->windowTitle(), QString("Firmware upgrade"));
    QCOMPARE(dialog->windowModality(), Qt::ApplicationModal);
    QVERIFY(dialog->isModal());
    QCOMPARE(dialog->layout()->sizeConstraint(), QLayout::SetFixedSize);
    QVERIFY(!dialog->windowIcon().isNull());

    const std::pair<const char *, const char *> labels[] = {
        {"lblFileVersion", "Version:"},   {"txtFileVersion", "unknown"},
        {"lblFileDate", "Date:"},         {"txtFileDate", "unknown"},
        {"lblFileMD5", "Fingerprint:"},   {"txtFileMD5", "unknown"},
        {"lblDevSWVersion", "Software version:"}, {"txtDevSWVersion", "unknown"},
        {"lblDevHWVersion", "Hardware version:"}, {"txtDevHWVersion", "unknown"},
        {"txtStatus", "unknown"}};
    for (const auto &[name, text] : labels)
        QCOMPARE(dialog->findChild<QLabel *>(name)->text(), QString(text));
    QCOMPARE(dialog->findChild<QGroupBox *>("gboxFWFile")->title(), QString("Firmware file"));
    QCOMPARE(dialog->findChild<QGroupBox *>("gboxDevice")->title(), QString("Connected device"));
    QCOMPARE(dialog->findChild<QLabel *>("txtStatus")->alignment(), Qt::AlignCenter);
    QCOMPARE(dialog->findChild<QProgressBar *>("pbarProg")->value(), 0);
    QCOMPARE(dialog->findChild<QProgressBar *>("pbarProg")->alignment(), Qt::AlignCenter);

    const std::pair<const char *, const char *> buttons[] = {
        {"pbLoad", "Load.."}, {"pbProg", "Program"}, {"pbRetry", "Retry"}, {"pbClose", "Close"}};
    for (const auto &[name, text] : buttons)
        QCOMPARE(dialog->findChild<QPushButton *>(name)->text(), QString(text));
    QVERIFY(!Find<QPushButton>(*upgrade, "pbProg")->isEnabled());
    QVERIFY(Find<QPushButton>(*upgrade, "pbClose")->isDefault());
}

void TestCFirmwareUpgrade::closingIsGuarded()
{
    auto upgrade = MakeUpgrade();
    FWUpgradeDialog *dialog = upgrade->Dialog();
    dialog->show();
    dialog->SetCloseAllowed(false);
    Find<QPushButton>(*upgrade, "pbClose")->click();
    QTest::keyClick(dialog, Qt::Key_Escape);
    dialog->close();
    QVERIFY(dialog->isVisible());
    dialog->SetCloseAllowed(true);
    Find<QPushButton>(*upgrade, "pbClose")->click();
    QVERIFY(!dialog->isVisible());
}

void TestCFirmwareUpgrade::showWithoutDeviceIsState0()
{
    auto upgrade = MakeUpgrade();
    upgrade->ShowUpgradeDialog();
    FWUpgradeDialog *dialog = upgrade->Dialog();
    QVERIFY(dialog->isVisible());
    QCOMPARE(upgrade->UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_NO_DEVICE));
    QCOMPARE(Find<QLabel>(*upgrade, "txtStatus")->text(), QString("unknown"));
    QVERIFY(Find<QPushButton>(*upgrade, "pbLoad")->isEnabled());
    QVERIFY(!Find<QPushButton>(*upgrade, "pbProg")->isEnabled());
    QVERIFY(Find<QPushButton>(*upgrade, "pbRetry")->isHidden());
    QVERIFY(dialog->IsCloseAllowed());
    QVERIFY(m_answerer->Seen().isEmpty()); // the default settings give no warning
}

void TestCFirmwareUpgrade::showWhileConnectedIsState1()
{
    auto upgrade = MakeUpgrade();
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    QCOMPARE(upgrade->UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_READY));
    QCOMPARE(Find<QLabel>(*upgrade, "txtStatus")->text(),
             QString("<font color='#009933'>Connected to target device</font>"));
    QVERIFY(Find<QPushButton>(*upgrade, "pbRetry")->isHidden());
    QVERIFY(Find<QPushButton>(*upgrade, "pbClose")->isEnabled());
}

void TestCFirmwareUpgrade::baudrateWarning()
{
    SetSetting(LichtwartSettings::InterfaceBaudrate, 9600);
    SetSetting(LichtwartSettings::FirmwareBaudrate, 19200);
    auto upgrade = MakeUpgrade();
    Shown warning;
    m_answerer->Expect(AnswerWarning(warning));
    upgrade->ShowUpgradeDialog();
    QCOMPARE(warning.text, kBaudrateText);
    QCOMPARE(warning.title, QString("Warning"));
    QCOMPARE(Setting(LichtwartSettings::FirmwareWarnBaudrate).toBool(), true);

    // Equal rates do not warn.
    SetSetting(LichtwartSettings::FirmwareBaudrate, 9600);
    upgrade->ShowUpgradeDialog();
    QCOMPARE(m_answerer->Seen().size(), 1);
}

void TestCFirmwareUpgrade::absentUploadRateNeverWarns()
{
    SetSetting(LichtwartSettings::InterfaceBaudrate, 2400);
    auto upgrade = MakeUpgrade();
    upgrade->ShowUpgradeDialog();
    QVERIFY(m_answerer->Seen().isEmpty());
}

void TestCFirmwareUpgrade::tickedWarningIsNotShownAgain()
{
    SetSetting(LichtwartSettings::InterfaceBaudrate, 9600);
    SetSetting(LichtwartSettings::FirmwareBaudrate, 115200);
    auto upgrade = MakeUpgrade();
    Shown warning;
    m_answerer->Expect(AnswerWarning(warning, true));
    upgrade->ShowUpgradeDialog();
    QCOMPARE(Setting(LichtwartSettings::FirmwareWarnBaudrate).toBool(), false);
    upgrade->ShowUpgradeDialog();
    QCOMPARE(m_answerer->Seen().size(), 1);
}

void TestCFirmwareUpgrade::loadWithoutProductFails()
{
    auto upgrade = MakeUpgrade();
    upgrade->ShowUpgradeDialog();
    Shown box;
    m_answerer->Expect(AnswerMessageBox(box));
    Find<QPushButton>(*upgrade, "pbLoad")->click();
    QCOMPARE(box.title, QString("Product detection error"));
    QCOMPARE(box.text, QString("The connected device couldn't be determined."));
    QCOMPARE(box.informative, QString("Please restart the application and try again."));
    QCOMPARE(box.filters, QStringList {"critical"});
    QCOMPARE(m_answerer->Seen(), QStringList {"QMessageBox"}); // no file dialog
}

void TestCFirmwareUpgrade::rawHexFilterOffersThreeFilters()
{
    auto upgrade = MakeUpgrade(true);
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    SetSetting(LichtwartSettings::FirmwareDirectory, m_dir->path());
    upgrade->ShowUpgradeDialog();
    Shown chooser;
    m_answerer->Expect(ChooseFile(chooser, QString()));
    Find<QPushButton>(*upgrade, "pbLoad")->click();
    QCOMPARE(chooser.title, QString("Open Firmware Upgrade Package"));
    QCOMPARE(chooser.filters, (QStringList {"Raw hex file (*.hex *.mhx)", "Firmware upgrade package (*.fwp)", "Any (*.*)"}));
    QCOMPARE(chooser.text, QDir(m_dir->path()).absolutePath());
    QCOMPARE(chooser.informative, QString("FWUpgradeDialog"));
}

void TestCFirmwareUpgrade::packageFiltersWithoutRawHex()
{
    auto upgrade = MakeUpgrade(false);
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ShowUpgradeDialog();
    Shown chooser;
    m_answerer->Expect(ChooseFile(chooser, QString()));
    Find<QPushButton>(*upgrade, "pbLoad")->click();
    QCOMPARE(chooser.filters, (QStringList {"Firmware upgrade package (*.fwp)", "Any (*.*)"}));
}

void TestCFirmwareUpgrade::loadedPackageShowsItsDetails()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    const QString path = WritePackage("2.4.1");
    Load(*upgrade, path);
    QVERIFY(upgrade->IsFirmwareLoaded());
    QCOMPARE(Find<QLabel>(*upgrade, "txtFileVersion")->text(), QString("2.4.1"));
    QCOMPARE(Find<QLabel>(*upgrade, "txtFileDate")->text(), QString("2024-03-01"));
    const QByteArray image = FirmwarePackageBuilder::Image({{0x4000, Counting(100)}}, false);
    QCOMPARE(Find<QLabel>(*upgrade, "txtFileMD5")->text(), QString::fromLatin1(FirmwarePackageBuilder::Md5(image)));
    QVERIFY(Find<QPushButton>(*upgrade, "pbProg")->isEnabled());
    QCOMPARE(Setting(LichtwartSettings::FirmwareDirectory).toString(), QDir(m_dir->path()).absolutePath());
}

void TestCFirmwareUpgrade::fingerprintMismatchShowsErrorBox()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    Load(*upgrade, WritePackage("2.4.1")); // a good package first: its details are shown

    const QByteArray image = FirmwarePackageBuilder::Image({{0x4000, Counting(100)}}, false);
    const QByteArray wrong = "0123456789ABCDEF0123456789ABCDEF";
    FirmwarePackageBuilder::Manifest manifest;
    manifest.md5 = wrong;
    const QString path = m_dir->filePath("tampered.fwp");
    QVERIFY(FirmwarePackageBuilder::WriteArchive(path, FirmwarePackageBuilder::Format::Zip,
                                                 {{"manifest.xml", FirmwarePackageBuilder::ManifestXml(manifest)},
                                                  {"firmware.mhx", image}}));
    Shown box;
    Load(*upgrade, path, {AnswerMessageBox(box)});
    QCOMPARE(box.title, QString("Error loading firmware"));
    QCOMPARE(box.text, QString("The following error occured while loading the firmware package:"));
    QCOMPARE(box.informative, QString("Fingerprint of manifest ('%1') does not match fingerprint of firmware ('%2')")
                                  .arg(QString::fromLatin1(wrong), QString::fromLatin1(FirmwarePackageBuilder::Md5(image))));
    QCOMPARE(box.filters, QStringList {"critical"});
    QVERIFY(!upgrade->IsFirmwareLoaded());
    QVERIFY(!Find<QPushButton>(*upgrade, "pbProg")->isEnabled());
    QCOMPARE(Find<QLabel>(*upgrade, "txtFileVersion")->text(), QString("unknown"));
    QCOMPARE(Find<QLabel>(*upgrade, "txtFileDate")->text(), QString("unknown"));
    QCOMPARE(Find<QLabel>(*upgrade, "txtFileMD5")->text(), QString("unknown"));
}

void TestCFirmwareUpgrade::equalVersionWarnsAboutDowngrade()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->SetStreloVersion(2, 0, 1, 1, 2, 0);
    upgrade->ShowUpgradeDialog();
    Shown warning;
    Load(*upgrade, WritePackage("1.2.0"), {AnswerWarning(warning)});
    QCOMPARE(warning.text, kDowngradeText);
    QCOMPARE(Setting(LichtwartSettings::FirmwareWarnOutdated).toBool(), true);
    // Programming stays possible.
    QVERIFY(Find<QPushButton>(*upgrade, "pbProg")->isEnabled());
}

void TestCFirmwareUpgrade::newerVersionDoesNotWarn()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->SetStreloVersion(2, 0, 1, 1, 2, 0);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, WritePackage("1.3"));
    QCOMPARE(m_answerer->Seen(), QStringList {"QFileDialog"});
    QVERIFY(upgrade->IsFirmwareLoaded());
}

void TestCFirmwareUpgrade::cancelRunsTheDowngradeCheckAgain()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->SetStreloVersion(2, 0, 1, 1, 2, 0);
    upgrade->ShowUpgradeDialog();
    Shown first;
    Load(*upgrade, WritePackage("1.1.9"), {AnswerWarning(first)});
    QCOMPARE(first.text, kDowngradeText);

    Shown second;
    Load(*upgrade, QString(), {AnswerWarning(second)}); // cancelled
    QCOMPARE(second.text, kDowngradeText);
    QCOMPARE(m_answerer->Seen(), (QStringList {"QFileDialog", "CWarningDialog", "QFileDialog", "CWarningDialog"}));
    QVERIFY(upgrade->IsFirmwareLoaded());
}

void TestCFirmwareUpgrade::programEnabledOnlyWhenConnectedAndLoaded()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, WritePackage("1.0.0"));
    // Loaded while no device is connected: Program stays off.
    QVERIFY(upgrade->IsFirmwareLoaded());
    QVERIFY(!Find<QPushButton>(*upgrade, "pbProg")->isEnabled());

    // While the file dialog is open, Program follows "connected and loaded".
    upgrade->ConnectionChanged(true);
    bool enabledWhileChoosing = false;
    m_answerer->Expect([&](QWidget *window) {
        enabledWhileChoosing = Find<QPushButton>(*upgrade, "pbProg")->isEnabled();
        qobject_cast<QFileDialog *>(window)->reject();
    });
    Find<QPushButton>(*upgrade, "pbLoad")->click();
    QVERIFY(enabledWhileChoosing);
}

void TestCFirmwareUpgrade::versionsReportedAreShown()
{
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloVersion(3, 1, 7, 4, 12, 0);
    QCOMPARE(Find<QLabel>(*upgrade, "txtDevSWVersion")->text(), QString("4.12.0"));
    QCOMPARE(Find<QLabel>(*upgrade, "txtDevHWVersion")->text(), QString("3.1.7"));
    QVERIFY(!Find<QPushButton>(*upgrade, "pbProg")->isEnabled()); // nothing loaded yet
}

void TestCFirmwareUpgrade::programAskedAndAborted()
{
    auto upgrade = MakeUpgrade();
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    Shown warning;
    m_answerer->Expect(AbortWarning(warning));
    upgrade->Program();
    QCOMPARE(warning.text, kProgStartText);
    QCOMPARE(switchRequests.size(), 0);
    QCOMPARE(upgrade->UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_READY));
    QCOMPARE(Setting(LichtwartSettings::FirmwareWarnProgStart), QVariant()); // nothing written
}

void TestCFirmwareUpgrade::programAskedAndContinued()
{
    auto upgrade = MakeUpgrade();
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    Shown warning;
    m_answerer->Expect(AnswerWarning(warning, true));
    upgrade->Program();
    QCOMPARE(switchRequests.size(), 1);
    QCOMPARE(switchRequests.first(), (QList<QVariant> {0, 3, 31}));
    QCOMPARE(upgrade->UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_SWITCHING));
    QCOMPARE(Setting(LichtwartSettings::FirmwareWarnProgStart).toBool(), false);
    QVERIFY(!upgrade->Dialog()->IsCloseAllowed());
}

void TestCFirmwareUpgrade::progstartOffStartsWithoutAsking()
{
    SetSetting(LichtwartSettings::FirmwareWarnProgStart, false);
    auto upgrade = MakeUpgrade();
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    Find<QPushButton>(*upgrade, "pbProg")->setEnabled(true);
    Find<QPushButton>(*upgrade, "pbProg")->click();
    QCOMPARE(switchRequests.size(), 1);
    QVERIFY(m_answerer->Seen().isEmpty());
    QCOMPARE(Find<QLabel>(*upgrade, "txtStatus")->text(), QString("Switching device to programming mode ..."));
}

void TestCFirmwareUpgrade::escapeAndCloseRefusedWhileUploading()
{
    PtyPair pty;
    ScriptedBootLoader loader(pty.MasterFd(), pty.SlavePath());
    // The first chunk goes unanswered once, which holds the upload for a second.
    loader.SetPolicy([](const ScriptedBootLoader::Frame &frame, int index) {
        return frame.command == 0x24 && index == 2 ? QByteArray() : ScriptedBootLoader::Ack();
    });
    SetSetting(LichtwartSettings::InterfaceDevice, pty.SlavePath());
    SetSetting(LichtwartSettings::FirmwareWarnProgStart, false);
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, WritePackage("9.0.0"));
    QSignalSpy finished(upgrade.get(), SIGNAL(UpgradeFinished(bool)));
    upgrade->Program();
    upgrade->ConnectionChanged(false);

    FWUpgradeDialog *dialog = upgrade->Dialog();
    QTRY_COMPARE_WITH_TIMEOUT(Find<QLabel>(*upgrade, "txtStatus")->text(),
                              QString("Uploading firmware, do <b>not</b> disconnect ..."), kRunTimeoutMs);
    QTest::keyClick(dialog, Qt::Key_Escape);
    Find<QPushButton>(*upgrade, "pbClose")->click();
    dialog->reject();
    dialog->close();
    QVERIFY(dialog->isVisible());
    QVERIFY(!Find<QPushButton>(*upgrade, "pbClose")->isEnabled());

    QVERIFY(finished.wait(kRunTimeoutMs));
    QVERIFY(dialog->IsCloseAllowed());
    Find<QPushButton>(*upgrade, "pbClose")->click();
    QVERIFY(!dialog->isVisible());
}

void TestCFirmwareUpgrade::imagePastTopOfAddressSpaceShowsErrorBox()
{
    auto upgrade = MakeUpgrade(true);
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    const QString path = m_dir->filePath("top.hex");
    QVERIFY(FirmwarePackageBuilder::WriteFile(path, FirmwarePackageBuilder::Image({{0xFFFFF0, Counting(64)}}, false, 64)));
    Shown box;
    Load(*upgrade, path, {AnswerMessageBox(box)});
    QCOMPARE(box.title, QString("Error loading firmware"));
    QCOMPARE(box.informative, QString("Block 0x00FFFFF0 (64 bytes) reaches past the top of the 24-bit address space at "
                                      "0x00FFFFFF; check that the image was built for this product"));
    QVERIFY(!upgrade->IsFirmwareLoaded());
    QVERIFY(!Find<QPushButton>(*upgrade, "pbProg")->isEnabled());
}

// A package for another product is questioned before anything is sent; Cancel sends nothing and
// stores nothing.
void TestCFirmwareUpgrade::otherProductWarnedAndCancelled()
{
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, WritePackage("9.0.0", "strelo-003"));
    QVERIFY(upgrade->IsFirmwareLoaded());
    QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    Shown warning;
    m_answerer->Expect(AbortWarning(warning));
    Find<QPushButton>(*upgrade, "pbProg")->click();
    QCOMPARE(warning.text, kProductText);
    QCOMPARE(m_answerer->Seen(), (QStringList {"QFileDialog", "CWarningAbortDialog"}));
    QCOMPARE(switchRequests.size(), 0);
    QCOMPARE(upgrade->UpgradeStateValue(), int(CUpgradeProcedure::UPGRADE_READY));
    QCOMPARE(Setting(LichtwartSettings::FirmwareWarnProduct), QVariant());
}

void TestCFirmwareUpgrade::otherProductWarningTickedIsNotShownAgain()
{
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    SetSetting(LichtwartSettings::FirmwareWarnProgStart, false);
    const QString package = WritePackage("9.0.0", "strelo-003");
    {
        auto upgrade = MakeUpgrade();
        upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
        upgrade->ConnectionChanged(true);
        upgrade->ShowUpgradeDialog();
        Load(*upgrade, package);
        QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
        Shown warning;
        m_answerer->Expect(AnswerWarning(warning, true));
        upgrade->Program();
        QCOMPARE(warning.text, kProductText);
        QCOMPARE(switchRequests.size(), 1);
        QCOMPARE(Setting(LichtwartSettings::FirmwareWarnProduct).toBool(), false);
        upgrade->SwitchModeFailed();
    }
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, package);
    QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    upgrade->Program();
    QCOMPARE(switchRequests.size(), 1);
    QCOMPARE(m_answerer->Seen(), (QStringList {"QFileDialog", "CWarningAbortDialog", "QFileDialog"}));
    upgrade->SwitchModeFailed();
}

void TestCFirmwareUpgrade::sameProductIsNotQuestioned()
{
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    SetSetting(LichtwartSettings::FirmwareWarnProgStart, false);
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, WritePackage("9.0.0", "STRELO-002"));
    QSignalSpy switchRequests(upgrade.get(), SIGNAL(SwitchToFirmwareUploadMode(int, int, int)));
    upgrade->Program();
    QCOMPARE(switchRequests.size(), 1);
    QCOMPARE(m_answerer->Seen(), QStringList {"QFileDialog"});
    upgrade->SwitchModeFailed();
}

void TestCFirmwareUpgrade::upgradeEndToEndOnScriptedBootLoader()
{
    PtyPair pty;
    ScriptedBootLoader loader(pty.MasterFd(), pty.SlavePath());
    SetSetting(LichtwartSettings::InterfaceDevice, pty.SlavePath());
    SetSetting(LichtwartSettings::FirmwareWarnProgStart, false);
    SetSetting(LichtwartSettings::FirmwareWarnOutdated, false);
    auto upgrade = MakeUpgrade();
    upgrade->SetStreloDevice(CStreloProductTable::FindByHardwareMajor(2));
    upgrade->ConnectionChanged(true);
    upgrade->ShowUpgradeDialog();
    Load(*upgrade, WritePackage("9.0.0"));
    QSignalSpy finished(upgrade.get(), SIGNAL(UpgradeFinished(bool)));
    QSignalSpy handOver(upgrade.get(), SIGNAL(StartingFlashOperations()));
    Find<QPushButton>(*upgrade, "pbProg")->click();
    upgrade->ConnectionChanged(false);
    QCOMPARE(handOver.size(), 1);
    QVERIFY(finished.wait(kRunTimeoutMs));
    QCOMPARE(finished.first().first().toBool(), true);

    QCOMPARE(Find<QLabel>(*upgrade, "txtStatus")->text(), QString("<font color='#009933'>All done, please close this window now</font>"));
    QCOMPARE(Find<QProgressBar>(*upgrade, "pbarProg")->value(), 100);
    QCOMPARE(Find<QProgressBar>(*upgrade, "pbarProg")->maximum(), 100);
    QVERIFY(Find<QPushButton>(*upgrade, "pbClose")->isEnabled());
    QVERIFY(Find<QPushButton>(*upgrade, "pbClose")->isDefault());
    QVERIFY(upgrade->Dialog()->IsCloseAllowed());

    // The head comes back after its restart: the dialog returns to its initial state.
    upgrade->ConnectionChanged(true);
    QCOMPARE(Find<QLabel>(*upgrade, "txtStatus")->text(), QString("<font color='#009933'>Connected to target device</font>"));
    QCOMPARE(Find<QProgressBar>(*upgrade, "pbarProg")->value(), 0);
    QVERIFY(Find<QPushButton>(*upgrade, "pbRetry")->isHidden());
    QVERIFY(Find<QPushButton>(*upgrade, "pbLoad")->isEnabled());
}

// What each status lets the user do, starting from Load, Program and Close enabled, Retry shown
// and Load the default: "-" leaves a button as it was.
void TestCFirmwareUpgrade::statusShowsItsTextAndButtons_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("load");    // enabled: 1, 0 or -
    QTest::addColumn<QString>("program");
    QTest::addColumn<QString>("close");
    QTest::addColumn<bool>("retryShown");
    QTest::addColumn<QString>("defaultButton");
    QTest::addColumn<bool>("closeAllowed");
    using S = CUpgradeProcedure::Status;
    const QString failedTail = QStringLiteral("</font>");
    QTest::newRow("unknown") << int(S::Unknown) << "unknown" << "1" << "0" << "-" << false << "pbLoad" << true;
    QTest::newRow("connected") << int(S::Connected) << "<font color='#009933'>Connected to target device</font>"
                               << "1" << "-" << "1" << false << "pbLoad" << true;
    QTest::newRow("switching") << int(S::Switching) << "Switching device to programming mode ..." << "0" << "0"
                               << "0" << true << "pbLoad" << false;
    QTest::newRow("enabling") << int(S::Enabling) << "Enabling firmware flasher of target device ..." << "-" << "-"
                              << "-" << true << "pbLoad" << true;
    QTest::newRow("erasing") << int(S::Erasing) << "Erasing flash, do <b>not</b> disconnect ..." << "-" << "-" << "-"
                             << true << "pbLoad" << true;
    QTest::newRow("uploading") << int(S::Uploading) << "Uploading firmware, do <b>not</b> disconnect ..." << "-"
                               << "-" << "-" << true << "pbLoad" << true;
    QTest::newRow("successful") << int(S::Successful)
                                << "<font color='#009933'>Upgrade successful, resetting device ...</font>" << "-" << "-"
                                << "-" << true << "pbLoad" << true;
    QTest::newRow("all done") << int(S::AllDone) << "<font color='#009933'>All done, please close this window now</font>"
                              << "-" << "-" << "1" << true << "pbClose" << true;
    QTest::newRow("no answer") << int(S::NoAnswer)
                               << "<font color='red'>No valid answer from firmware flasher!" + failedTail << "0" << "0"
                               << "1" << true << "pbRetry" << true;
    QTest::newRow("erase failed") << int(S::EraseFailed) << "<font color='red'>Failed to erase flash!" + failedTail
                                  << "0" << "0" << "1" << true << "pbRetry" << true;
    QTest::newRow("write failed") << int(S::WriteFailed)
                                  << "<font color='red'>Failed to write data block to flash!" + failedTail << "0" << "0"
                                  << "1" << true << "pbRetry" << true;
    QTest::newRow("switch failed") << int(S::SwitchFailed)
                                   << "<font color='red'>Failed to switch device to programming mode!" + failedTail
                                   << "1" << "1" << "1" << true << "pbLoad" << true;
    QTest::newRow("reconnecting") << int(S::Reconnecting) << "Trying to reconnect ..." << "-" << "-" << "0" << false
                                  << "pbClose" << false;
}

void TestCFirmwareUpgrade::statusShowsItsTextAndButtons()
{
    QFETCH(int, status);
    QFETCH(QString, text);
    QFETCH(QString, load);
    QFETCH(QString, program);
    QFETCH(QString, close);
    QFETCH(bool, retryShown);
    QFETCH(QString, defaultButton);
    QFETCH(bool, closeAllowed);
    StatusDriver upgrade(m_parent.get(), false);
    upgrade.Dialog()->show();
    const QStringList names = {"pbLoad", "pbProg", "pbClose", "pbRetry"};
    for (const QString &name : names) {
        Find<QPushButton>(upgrade, name.toLatin1().constData())->setEnabled(true);
        Find<QPushButton>(upgrade, name.toLatin1().constData())->setDefault(name == QLatin1String("pbLoad"));
    }
    Find<QPushButton>(upgrade, "pbRetry")->setVisible(true);
    upgrade.Dialog()->SetCloseAllowed(true);

    upgrade.ShowStatus(CUpgradeProcedure::Status(status));

    QCOMPARE(Find<QLabel>(upgrade, "txtStatus")->text(), text);
    const QList<QPair<const char *, QString>> enabled = {{"pbLoad", load}, {"pbProg", program}, {"pbClose", close}};
    for (const auto &[name, expected] : enabled)
        QCOMPARE(Find<QPushButton>(upgrade, name)->isEnabled(), expected != QLatin1String("0"));
    QCOMPARE(Find<QPushButton>(upgrade, "pbRetry")->isVisible(), retryShown);
    for (const QString &name : names)
        QCOMPARE(Find<QPushButton>(upgrade, name.toLatin1().constData())->isDefault(), name == defaultButton);
    QCOMPARE(upgrade.Dialog()->IsCloseAllowed(), closeAllowed);
    upgrade.Dialog()->SetCloseAllowed(true);
}

// The procedure's words and the dialog's are the same text: the dialog only adds colour and
// emphasis, which the command line, printing the plain text, leaves out.
void TestCFirmwareUpgrade::richTextsAreThePlainTextsMarkedUp()
{
    static const QRegularExpression tag(QStringLiteral("<[^>]*>"));
    for (int status = int(CUpgradeProcedure::Status::Unknown); status <= int(CUpgradeProcedure::Status::Reconnecting);
         ++status) {
        const auto each = CUpgradeProcedure::Status(status);
        QCOMPARE(QString::fromUtf8(CFirmwareUpgrade::RichText(each)).remove(tag), CUpgradeProcedure::PlainText(each));
    }
}

QTEST_MAIN(TestCFirmwareUpgrade)
#include "tst_cfirmwareupgrade.moc"
