#include "controller/DeviceMaintenance.h"
#include "controller/FlasherSyncDialog.h"
#include "controller/SetOSI2AddressDialog.h"
#include "settings/LichtwartSettings.h"

#include "SettingsSandbox.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QTimer>
#include <QWidget>

#include <functional>
#include <memory>

using S = LichtwartSettings;

class tst_DeviceMaintenance : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void softSyncSendsConfiguredCyclesAndClosesTheDialog();
    void hardSyncSendsZeroCycles();
    void syncFollowsTheBroadcastSettings_data();
    void syncFollowsTheBroadcastSettings();
    void softSyncPassesTheStoredCountUnchanged();
    void cancelledFlasherDialogSendsNothing();
    void flasherButtonsFollowTheLinkWhileOpen();
    void addressDialogIsPresetWithTheStoredAddress();
    void cancelledAddressChangeSendsNothingAndStoresNothing();
    void acceptedAddressChangeDisconnectsClearsAndStoresAfterASecond();

private:
    // Runs the slot and, once its modal dialog is up, plays the user with `act`.
    template <typename Dialog>
    void RunDialog(void (DeviceMaintenance::*slot)(), const std::function<void(Dialog *)> &act);

    SettingsSandbox m_sandbox;
    std::unique_ptr<QWidget> m_window;
    QAction *m_disconnect = nullptr;
    QAction *m_clearLog = nullptr;
    DeviceMaintenance *m_maintenance = nullptr;
    std::unique_ptr<QSignalSpy> m_syncSpy;
    std::unique_ptr<QSignalSpy> m_addressSpy;
};

void tst_DeviceMaintenance::init()
{
    m_sandbox.Clear();
    m_window = std::make_unique<QWidget>();
    m_disconnect = new QAction(QStringLiteral("Disconnect"), m_window.get());
    m_clearLog = new QAction(QStringLiteral("Clear Log"), m_window.get());
    m_maintenance = new DeviceMaintenance(m_window.get(), m_disconnect, m_clearLog, m_window.get());
    m_syncSpy = std::make_unique<QSignalSpy>(m_maintenance, &DeviceMaintenance::FlasherSyncRequested);
    m_addressSpy =
        std::make_unique<QSignalSpy>(m_maintenance, &DeviceMaintenance::SetOSI2AddressRequested);
}

void tst_DeviceMaintenance::cleanup()
{
    m_syncSpy.reset();
    m_addressSpy.reset();
    m_window.reset();
}

template <typename Dialog>
void tst_DeviceMaintenance::RunDialog(void (DeviceMaintenance::*slot)(),
                                      const std::function<void(Dialog *)> &act)
{
    bool bActed = false;
    QTimer::singleShot(0, this, [this, &act, &bActed] {
        auto *dialog = m_window->findChild<Dialog *>();
        QVERIFY(dialog);
        QTRY_VERIFY(dialog->isVisible());
        bActed = true;
        act(dialog);
    });
    (m_maintenance->*slot)();
    QVERIFY(bActed);
}

void tst_DeviceMaintenance::softSyncSendsConfiguredCyclesAndClosesTheDialog()
{
    int nResult = -1;
    RunDialog<FlasherSyncDialog>(&DeviceMaintenance::FlasherSyncDialogOpen,
                                 [this, &nResult](FlasherSyncDialog *dialog) {
        QCOMPARE(m_maintenance->OpenFlasherDialog(), dialog);
        connect(dialog, &QDialog::finished, this, [&nResult](int nCode) { nResult = nCode; });
        QTest::mouseClick(dialog->SoftSyncButton(), Qt::LeftButton);
    });
    QCOMPARE(nResult, 1);
    QCOMPARE(m_syncSpy->count(), 1);
    QCOMPARE(m_syncSpy->at(0), QVariantList({true, true, 12, 0}));
    // The dialog is gone once the modal run returns.
    QCOMPARE(m_maintenance->OpenFlasherDialog(), nullptr);
    QVERIFY(!m_window->findChild<FlasherSyncDialog *>());
    QCOMPARE(m_addressSpy->count(), 0);
}

void tst_DeviceMaintenance::hardSyncSendsZeroCycles()
{
    QSettings().setValue(S::FlasherSoftSyncCycles, 30);
    int nResult = -1;
    RunDialog<FlasherSyncDialog>(&DeviceMaintenance::FlasherSyncDialogOpen,
                                 [this, &nResult](FlasherSyncDialog *dialog) {
        connect(dialog, &QDialog::finished, this, [&nResult](int nCode) { nResult = nCode; });
        QTest::mouseClick(dialog->HardSyncButton(), Qt::LeftButton);
    });
    QCOMPARE(nResult, 1);
    QCOMPARE(m_syncSpy->count(), 1);
    QCOMPARE(m_syncSpy->at(0), QVariantList({true, true, 0, 0}));
}

void tst_DeviceMaintenance::syncFollowsTheBroadcastSettings_data()
{
    QTest::addColumn<bool>("osi7Broadcast");
    QTest::addColumn<bool>("osi2Broadcast");
    QTest::newRow("neither") << false << false;
    QTest::newRow("osi7 only") << true << false;
    QTest::newRow("osi2 only") << false << true;
    QTest::newRow("both") << true << true;
}

void tst_DeviceMaintenance::syncFollowsTheBroadcastSettings()
{
    QFETCH(bool, osi7Broadcast);
    QFETCH(bool, osi2Broadcast);
    QSettings settings;
    settings.setValue(S::FlasherSyncOsi7Broadcast, osi7Broadcast);
    settings.setValue(S::FlasherSyncOsi2Broadcast, osi2Broadcast);
    settings.setValue(S::FlasherSoftSyncCycles, 3);
    // Called directly, as a test or a script may: no dialog is open, the command still goes.
    m_maintenance->FlasherSyncSoft();
    m_maintenance->FlasherSyncHard();
    QCOMPARE(m_syncSpy->count(), 2);
    QCOMPARE(m_syncSpy->at(0), QVariantList({osi7Broadcast, osi2Broadcast, 3, 0}));
    QCOMPARE(m_syncSpy->at(1), QVariantList({osi7Broadcast, osi2Broadcast, 0, 0}));
}

// The device refuses a count of 256 or more; the request carries the stored count as it is.
void tst_DeviceMaintenance::softSyncPassesTheStoredCountUnchanged()
{
    QSettings().setValue(S::FlasherSoftSyncCycles, 256);
    m_maintenance->FlasherSyncSoft();
    QCOMPARE(m_syncSpy->count(), 1);
    QCOMPARE(m_syncSpy->at(0), QVariantList({true, true, 256, 0}));
}

void tst_DeviceMaintenance::cancelledFlasherDialogSendsNothing()
{
    RunDialog<FlasherSyncDialog>(&DeviceMaintenance::FlasherSyncDialogOpen,
                                 [](FlasherSyncDialog *dialog) {
        QTest::mouseClick(dialog->findChild<QPushButton *>("pbCancel"), Qt::LeftButton);
    });
    QCOMPARE(m_syncSpy->count(), 0);
    QCOMPARE(m_maintenance->OpenFlasherDialog(), nullptr);
}

void tst_DeviceMaintenance::flasherButtonsFollowTheLinkWhileOpen()
{
    RunDialog<FlasherSyncDialog>(&DeviceMaintenance::FlasherSyncDialogOpen,
                                 [this](FlasherSyncDialog *dialog) {
        m_maintenance->ConnectionChanged(false);
        QVERIFY(!dialog->SoftSyncButton()->isEnabled());
        QVERIFY(!dialog->HardSyncButton()->isEnabled());
        m_maintenance->ConnectionChanged(true);
        QVERIFY(dialog->SoftSyncButton()->isEnabled());
        QVERIFY(dialog->HardSyncButton()->isEnabled());
        m_maintenance->ConnectionChanged(false);
        dialog->reject();
    });
    // With no dialog open a link change touches nothing.
    m_maintenance->ConnectionChanged(true);
    QCOMPARE(m_syncSpy->count(), 0);
}

void tst_DeviceMaintenance::addressDialogIsPresetWithTheStoredAddress()
{
    QSettings().setValue(S::AddressOsi2, 42);
    int nShown = -1;
    RunDialog<SetOSI2AddressDialog>(&DeviceMaintenance::SetOSI2Address,
                                    [&nShown](SetOSI2AddressDialog *dialog) {
        nShown = dialog->Address();
        dialog->reject();
    });
    QCOMPARE(nShown, 42);

    m_sandbox.Clear();
    RunDialog<SetOSI2AddressDialog>(&DeviceMaintenance::SetOSI2Address,
                                    [&nShown](SetOSI2AddressDialog *dialog) {
        nShown = dialog->Address();
        dialog->reject();
    });
    QCOMPARE(nShown, 1);
}

void tst_DeviceMaintenance::cancelledAddressChangeSendsNothingAndStoresNothing()
{
    QSettings().setValue(S::AddressOsi2, 5);
    QSignalSpy disconnectSpy(m_disconnect, &QAction::triggered);
    QSignalSpy clearSpy(m_clearLog, &QAction::triggered);
    RunDialog<SetOSI2AddressDialog>(&DeviceMaintenance::SetOSI2Address,
                                    [](SetOSI2AddressDialog *dialog) {
        dialog->SetAddress(77);
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    });
    QVERIFY(!m_window->findChild<SetOSI2AddressDialog *>());
    QCOMPARE(m_addressSpy->count(), 0);
    QCOMPARE(m_maintenance->NewOSI2Address(), -1);
    // Well past the one second an accepted change waits before it disconnects.
    QVERIFY(!disconnectSpy.wait(2500));
    QCOMPARE(clearSpy.count(), 0);
    QCOMPARE(QSettings().value(S::AddressOsi2).toInt(), 5);
    QCOMPARE(QSettings().allKeys(), QStringList({QLatin1String(S::AddressOsi2)}));
}

void tst_DeviceMaintenance::acceptedAddressChangeDisconnectsClearsAndStoresAfterASecond()
{
    QSettings().setValue(S::AddressOsi2, 5);
    QStringList qstrlEvents;
    connect(m_disconnect, &QAction::triggered, this, [&qstrlEvents] {
        qstrlEvents << "disconnect address=" + QSettings().value(S::AddressOsi2).toString();
    });
    connect(m_clearLog, &QAction::triggered, this, [&qstrlEvents] {
        qstrlEvents << "clear address=" + QSettings().value(S::AddressOsi2).toString();
    });
    QSignalSpy clearSpy(m_clearLog, &QAction::triggered);

    QElapsedTimer sinceAccept;
    RunDialog<SetOSI2AddressDialog>(&DeviceMaintenance::SetOSI2Address,
                                    [&sinceAccept](SetOSI2AddressDialog *dialog) {
        dialog->findChild<QSpinBox *>("spinOSI2Address")->setValue(77);
        sinceAccept.start();
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Ok),
                          Qt::LeftButton);
    });
    QVERIFY(!m_window->findChild<SetOSI2AddressDialog *>());
    // The command goes out at once, with the new address ...
    QCOMPARE(m_addressSpy->count(), 1);
    QCOMPARE(m_addressSpy->at(0), QVariantList({77}));
    QCOMPARE(m_maintenance->NewOSI2Address(), 77);
    // ... the disconnect and the stored address only a second later.
    QVERIFY(qstrlEvents.isEmpty());
    QCOMPARE(QSettings().value(S::AddressOsi2).toInt(), 5);
    QVERIFY(clearSpy.wait(10000));
    QVERIFY2(sinceAccept.elapsed() >= 900, qPrintable(QString::number(sinceAccept.elapsed())));
    QCOMPARE(qstrlEvents, QStringList({"disconnect address=5", "clear address=5"}));
    QCOMPARE(QSettings().value(S::AddressOsi2).toInt(), 77);
    QCOMPARE(m_syncSpy->count(), 0);
}

QTEST_MAIN(tst_DeviceMaintenance)
#include "tst_devicemaintenance.moc"
