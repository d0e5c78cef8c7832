// The flasher synchronisation and the OSI 2 address change from the main window, through the real
// controller and link, against the simulated head.

#include "app/MainWindow.h"
#include "controller/FlasherSyncDialog.h"
#include "controller/SetOSI2AddressDialog.h"
#include "controller/StreloVisualDialog.h"
#include "settings/LichtwartSettings.h"

#include "SettingsSandbox.h"
#include "SimProcess.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QElapsedTimer>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QTest>
#include <QTimer>

#include <functional>
#include <memory>

using S = LichtwartSettings;

namespace {

constexpr int LinkTimeoutMs = 15000;

QRegularExpression Pattern(const QString &qstrPattern)
{
    return QRegularExpression(qstrPattern);
}

// The flasher synchronisation telegram as the head receives it: 00 09 04 05 jn 01 04 DE 83 a 00.
QString SyncTelegram(int nDE, int nCycles)
{
    return QStringLiteral("DATA=0009040[5][0-9A-F]{2}0104%1 83%2 00")
        .arg(nDE, 2, 16, QLatin1Char('0'))
        .arg(nCycles, 2, 16, QLatin1Char('0'))
        .toUpper()
        .remove(' ');
}

// A poll after a command shows the master has its answer and is free for the next one.
const QRegularExpression Poll = Pattern(QStringLiteral("link rx short .*PRM=1 .*FCV=1 "));

} // namespace

class tst_MaintenanceWithSimulator : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void flasherSyncTelegrams();
    void refusedSoftSyncSendsNothing();
    void lampClickRightAfterBroadcastGoesOutAtOnce();
    void addressChangeReachesTheHeadAndTheNextConnectUsesIt();
    void cancelledAddressChangeSendsNothing();
    void addressChangeWhileTheLinkIsDownStillDisconnectsAndStores();

private:
    bool StartSim(const QStringList &qstrlOptions = {});
    void OpenWindowAndConnect();
    void WaitForIdentification();
    QAction *Action(const char *name) const;
    // Sends a synchronisation through the flasher dialog; returns the index of the head's line.
    int SyncThroughDialog(const char *button, const QString &qstrTelegram);
    void RunAddressDialog(const std::function<void(SetOSI2AddressDialog *)> &act);

    SettingsSandbox m_sandbox;
    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;
};

void tst_MaintenanceWithSimulator::init()
{
    m_sandbox.Clear();
}

void tst_MaintenanceWithSimulator::cleanup()
{
    m_window.reset();
    m_sim.reset();
}

bool tst_MaintenanceWithSimulator::StartSim(const QStringList &qstrlOptions)
{
    m_sim = std::make_unique<SimProcess>();
    if (!m_sim->Start(qstrlOptions))
        return false;
    QSettings().setValue(S::InterfaceDevice, m_sim->DevicePath());
    return true;
}

void tst_MaintenanceWithSimulator::OpenWindowAndConnect()
{
    m_window = std::make_unique<MainWindow>(false);
    Action("actionConnect")->trigger();
    QVERIFY(Action("actionDisconnect")->isEnabled());
}

QAction *tst_MaintenanceWithSimulator::Action(const char *name) const
{
    auto *action = m_window->findChild<QAction *>(QLatin1String(name));
    if (!action)
        qFatal("missing action %s", name);
    return action;
}

// Commands are dropped while a start-up job is pending; the UID is the last of them.
void tst_MaintenanceWithSimulator::WaitForIdentification()
{
    QTRY_VERIFY_WITH_TIMEOUT(Action("actionFSync")->isEnabled(), LinkTimeoutMs);
    QVERIFY(m_sim->WaitForLine(Pattern("link tx long .*DATA=00..FE83..01..FF87"), 0, LinkTimeoutMs) >= 0);
    const int nAfterUid = m_sim->LineCount();
    QVERIFY(m_sim->WaitForLine(Poll, nAfterUid, LinkTimeoutMs) >= 0);
}

int tst_MaintenanceWithSimulator::SyncThroughDialog(const char *button, const QString &qstrTelegram)
{
    const int nFrom = m_sim->LineCount();
    QTimer::singleShot(0, m_window.get(), [this, button] {
        auto *dialog = m_window->findChild<FlasherSyncDialog *>();
        QVERIFY(dialog);
        QTest::mouseClick(dialog->findChild<QPushButton *>(QLatin1String(button)), Qt::LeftButton);
    });
    Action("actionFSync")->trigger();
    const int nLine = m_sim->WaitForLine(Pattern(qstrTelegram), nFrom);
    if (nLine >= 0)
        m_sim->WaitForLine(Poll, nLine + 1);
    return nLine;
}

void tst_MaintenanceWithSimulator::RunAddressDialog(
    const std::function<void(SetOSI2AddressDialog *)> &act)
{
    bool bActed = false;
    QTimer::singleShot(0, m_window.get(), [this, &act, &bActed] {
        auto *dialog = m_window->findChild<SetOSI2AddressDialog *>();
        QVERIFY(dialog);
        bActed = true;
        act(dialog);
    });
    Action("actionSetOSI2Address")->trigger();
    QVERIFY(bActed);
}

void tst_MaintenanceWithSimulator::flasherSyncTelegrams()
{
    QVERIFY(StartSim({"--osi2", "5", "--osi7", "3"}));
    QSettings settings;
    settings.setValue(S::AddressOsi2, 5);
    settings.setValue(S::AddressOsi7, 3);
    OpenWindowAndConnect();
    WaitForIdentification();
    if (QTest::currentTestFailed())
        return;

    // Defaults: both broadcasts, 12 soft cycles. Function 4 (send, no reply) to link address 255,
    // DE 255, exactly once.
    int nLine = SyncThroughDialog("pbSoftSync", SyncTelegram(255, 12));
    QVERIFY(nLine >= 0);
    QVERIFY2(m_sim->Line(nLine).contains(" A=255 ") && m_sim->Line(nLine).contains(" FN=4 "),
             qPrintable(m_sim->Line(nLine)));
    QCOMPARE(m_sim->Matching(Pattern(SyncTelegram(255, 12)), nLine, m_sim->LineCount()).size(), 1);
    QVERIFY(m_sim->WaitForLine(Pattern("app flasher-sync DE=255 BROADCAST=1 PARAMS=0C00"), nLine) >= 0);

    nLine = SyncThroughDialog("pbHardSync", SyncTelegram(255, 0));
    QVERIFY(nLine >= 0);
    QVERIFY(m_sim->Line(nLine).contains(" A=255 ") && m_sim->Line(nLine).contains(" FN=4 "));
    QVERIFY(m_sim->WaitForLine(Pattern("app flasher-sync DE=255 BROADCAST=1 PARAMS=0000"), nLine) >= 0);

    // Neither broadcast: confirmed user data (function 3) to the head's own link address and DE.
    settings.setValue(S::FlasherSyncOsi2Broadcast, false);
    settings.setValue(S::FlasherSyncOsi7Broadcast, false);
    settings.setValue(S::FlasherSoftSyncCycles, 7);
    nLine = SyncThroughDialog("pbSoftSync", SyncTelegram(3, 7));
    QVERIFY(nLine >= 0);
    QVERIFY2(m_sim->Line(nLine).contains(" A=5 ") && m_sim->Line(nLine).contains(" FN=3 "),
             qPrintable(m_sim->Line(nLine)));
    QVERIFY(m_sim->WaitForLine(Pattern("app flasher-sync DE=3 BROADCAST=0 PARAMS=0700"), nLine) >= 0);

    nLine = SyncThroughDialog("pbHardSync", SyncTelegram(3, 0));
    QVERIFY(nLine >= 0);
    QVERIFY(m_sim->Line(nLine).contains(" A=5 ") && m_sim->Line(nLine).contains(" FN=3 "));

    // OSI 7 broadcast over the device's own link address.
    settings.setValue(S::FlasherSyncOsi7Broadcast, true);
    nLine = SyncThroughDialog("pbHardSync", SyncTelegram(255, 0));
    QVERIFY(nLine >= 0);
    QVERIFY(m_sim->Line(nLine).contains(" A=5 ") && m_sim->Line(nLine).contains(" FN=3 "));
    QVERIFY(Action("actionFSync")->isEnabled());
}

// A lamp click 50 ms after a flasher-sync broadcast. Nothing answers a broadcast, so the command
// goes out at once in a long telegram with a fresh frame count bit; no short telegram comes between,
// and the head's referee counts nothing.
void tst_MaintenanceWithSimulator::lampClickRightAfterBroadcastGoesOutAtOnce()
{
    QVERIFY(StartSim());
    OpenWindowAndConnect();
    WaitForIdentification();
    if (QTest::currentTestFailed())
        return;
    Action("actionStreloVisual")->trigger();
    auto *remote = m_window->findChild<StreloVisualDialog *>();
    QVERIFY(remote);
    auto *red = remote->findChild<QPushButton *>(QStringLiteral("pbRED"));
    QVERIFY(red);
    QTRY_VERIFY(red->isVisible() && red->isEnabled());

    const int nFrom = m_sim->LineCount();
    QTimer::singleShot(0, m_window.get(), [this] {
        auto *dialog = m_window->findChild<FlasherSyncDialog *>();
        QVERIFY(dialog);
        QTest::mouseClick(dialog->findChild<QPushButton *>(QStringLiteral("pbSoftSync")), Qt::LeftButton);
    });
    Action("actionFSync")->trigger();
    const int nBroadcast = m_sim->WaitForLine(Pattern("link rx long C=[57]4 A=255 .*FN=4 "), nFrom);
    QVERIFY(nBroadcast >= 0);
    QTimer::singleShot(50, red, [red] { QTest::mouseClick(red, Qt::LeftButton); });

    const int nNext = m_sim->WaitForLine(Pattern("link rx (short|long) "), nBroadcast + 1);
    QVERIFY(nNext >= 0);
    const QString qstrCommand = m_sim->Line(nNext);
    QVERIFY2(qstrCommand.contains(Pattern("link rx long C=[57]3 A=1 .* FN=3 .*DATA=000A0405..01050137016B01")),
             qPrintable(qstrCommand));
    const QRegularExpression fcb(QStringLiteral(" FCB=(\\d) "));
    QVERIFY(fcb.match(qstrCommand).captured(1) != fcb.match(m_sim->Line(nBroadcast)).captured(1));
    QVERIFY(m_sim->WaitForLine(Pattern("app setpoint IMAGE=107 VALUE=01"), nNext) >= 0);
    QVERIFY(m_sim->Matching(Pattern("link violation"), 0, m_sim->LineCount()).isEmpty());
}

// 256 cycles do not fit the telegram: the soft synchronisation is refused and nothing goes out.
// The hard synchronisation sent two polls later is the only flasher telegram the head sees.
void tst_MaintenanceWithSimulator::refusedSoftSyncSendsNothing()
{
    QVERIFY(StartSim());
    QSettings().setValue(S::FlasherSoftSyncCycles, 256);
    OpenWindowAndConnect();
    WaitForIdentification();
    if (QTest::currentTestFailed())
        return;
    const int nFrom = m_sim->LineCount();
    QTimer::singleShot(0, m_window.get(), [this] {
        QTest::mouseClick(m_window->findChild<FlasherSyncDialog *>()->SoftSyncButton(), Qt::LeftButton);
    });
    Action("actionFSync")->trigger();
    const int nFirstPoll = m_sim->WaitForLine(Poll, m_sim->LineCount());
    QVERIFY(nFirstPoll >= 0);
    QVERIFY(m_sim->WaitForLine(Poll, nFirstPoll + 1) >= 0);

    const int nHard = SyncThroughDialog("pbHardSync", SyncTelegram(255, 0));
    QVERIFY(nHard >= 0);
    const int nTo = m_sim->LineCount();
    QCOMPARE(m_sim->Matching(Pattern("DATA=0009040.*83"), nFrom, nTo), QStringList({m_sim->Line(nHard)}));
    const QStringList qstrlApplied = m_sim->Matching(Pattern("app flasher-sync "), nFrom, nTo);
    QCOMPARE(qstrlApplied.size(), 1);
    QCOMPARE(qstrlApplied.first().section(' ', 2), QStringLiteral("flasher-sync DE=255 BROADCAST=1 PARAMS=0000"));
}

void tst_MaintenanceWithSimulator::addressChangeReachesTheHeadAndTheNextConnectUsesIt()
{
    QVERIFY(StartSim());
    OpenWindowAndConnect();
    WaitForIdentification();
    if (QTest::currentTestFailed())
        return;
    const int nFrom = m_sim->LineCount();
    QElapsedTimer sinceAccept;
    RunAddressDialog([&sinceAccept](SetOSI2AddressDialog *dialog) {
        QCOMPARE(dialog->Address(), 1);
        dialog->SetAddress(7);
        sinceAccept.start();
        dialog->accept();
    });
    // 00 08 FE 03 jn 01 03 FF 84 07 to the old link address.
    const int nLine = m_sim->WaitForLine(Pattern("link rx long .* A=1 .*FN=3 .*DATA=0008FE03..0103FF8407$"), nFrom);
    QVERIFY(nLine >= 0);
    QVERIFY(m_sim->WaitForLine(Pattern("app link-address N=7"), nLine) >= 0);
    QVERIFY(m_sim->WaitForLine(Pattern("link address OLD=1 NEW=7"), nLine) >= 0);

    // A second later the master lets go of the port and remembers the new address.
    QTRY_VERIFY_WITH_TIMEOUT(Action("actionConnect")->isEnabled(), 10000);
    QVERIFY2(sinceAccept.elapsed() >= 900, qPrintable(QString::number(sinceAccept.elapsed())));
    QVERIFY(!Action("actionDisconnect")->isEnabled());
    QCOMPARE(QSettings().value(S::AddressOsi2).toInt(), 7);

    // It does not reconnect by itself; the next Connect talks to link address 7.
    const int nBeforeConnect = m_sim->LineCount();
    Action("actionConnect")->trigger();
    QVERIFY(m_sim->WaitForLine(Pattern("link rx short .* A=7 "), nBeforeConnect) >= 0);
    QTRY_VERIFY_WITH_TIMEOUT(Action("actionFSync")->isEnabled(), LinkTimeoutMs);
    QVERIFY(m_sim->Matching(Pattern("link rx short .* A=1 "), nBeforeConnect, m_sim->LineCount()).isEmpty());
}

void tst_MaintenanceWithSimulator::cancelledAddressChangeSendsNothing()
{
    QVERIFY(StartSim());
    QSettings().setValue(S::FlasherSyncOsi2Broadcast, false);
    OpenWindowAndConnect();
    WaitForIdentification();
    if (QTest::currentTestFailed())
        return;
    const int nFrom = m_sim->LineCount();
    RunAddressDialog([](SetOSI2AddressDialog *dialog) {
        dialog->SetAddress(9);
        QTest::mouseClick(dialog->findChild<QDialogButtonBox *>()->button(QDialogButtonBox::Cancel),
                          Qt::LeftButton);
    });
    // The next telegram the head sees is the synchronisation sent after the cancel.
    const int nSync = SyncThroughDialog("pbHardSync", SyncTelegram(255, 0));
    QVERIFY(nSync >= 0);
    QCOMPARE(m_sim->Matching(Pattern("link rx long"), nFrom, nSync + 1).size(), 1);
    QVERIFY(m_sim->Matching(Pattern("link-address|address OLD"), nFrom, m_sim->LineCount()).isEmpty());
    QVERIFY(Action("actionDisconnect")->isEnabled());
    QVERIFY(!QSettings().contains(S::AddressOsi2));
}

// A head that never answers: the port is open, the link never comes up, the command is dropped,
// and still the master disconnects a second later and stores the new address.
void tst_MaintenanceWithSimulator::addressChangeWhileTheLinkIsDownStillDisconnectsAndStores()
{
    QVERIFY(StartSim({"--silent"}));
    OpenWindowAndConnect();
    QVERIFY(m_sim->WaitForLine(Pattern("link rx short"), 0) >= 0);
    QVERIFY(!Action("actionFSync")->isEnabled());
    QElapsedTimer sinceAccept;
    RunAddressDialog([&sinceAccept](SetOSI2AddressDialog *dialog) {
        dialog->SetAddress(9);
        sinceAccept.start();
        dialog->accept();
    });
    QVERIFY(Action("actionDisconnect")->isEnabled());
    QTRY_VERIFY_WITH_TIMEOUT(Action("actionConnect")->isEnabled(), 10000);
    QVERIFY2(sinceAccept.elapsed() >= 900, qPrintable(QString::number(sinceAccept.elapsed())));
    QCOMPARE(QSettings().value(S::AddressOsi2).toInt(), 9);
    QVERIFY(m_sim->Matching(Pattern("link rx long"), 0, m_sim->LineCount()).isEmpty());
}

QTEST_MAIN(tst_MaintenanceWithSimulator)
#include "tst_maintenance_sim.moc"
