#include "app/MainWindow.h"

#include "ModalAnswerer.h"
#include "ModalHandler.h"
#include "PtyPair.h"
#include "RecordingController.h"
#include "ScriptedPeer.h"
#include "SettingsSandbox.h"
#include "app/AboutDialog.h"
#include "app/CCopy2ClipboardLabel.h"
#include "app/OptionsDialog.h"
#include "firmware/ui/CFirmwareUpgrade.h"
#include "firmware/ui/FWUpgradeDialog.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

#include <QAbstractButton>
#include <QAction>
#include <QClipboard>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QGridLayout>
#include <QGroupBox>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QSettings>
#include <QStatusBar>
#include <QTableView>
#include <QToolBar>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

QImage Pixels(const QPixmap &pixmap)
{
    return pixmap.toImage().convertToFormat(QImage::Format_ARGB32);
}

bool SamePicture(const QPixmap &shown, const QString &resource)
{
    return !shown.isNull() && Pixels(shown) == Pixels(QPixmap(resource));
}

bool SameIcon(const QIcon &icon, const QString &resource)
{
    const QPixmap expected(resource);
    return !expected.isNull() && Pixels(icon.pixmap(expected.size())) == Pixels(expected);
}

// The texts of a menu or tool bar, with "|" for a separator.
QStringList Texts(const QList<QAction *> &actions)
{
    QStringList texts;
    for (const QAction *action : actions)
        texts << (action->isSeparator() ? QStringLiteral("|") : action->objectName());
    return texts;
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

private:
    SettingsSandbox m_sandbox;
    std::unique_ptr<MainWindow> m_window;

    RecordingController *Controller() const { return static_cast<RecordingController *>(m_window->Controller()); }
    QAction *Action(const char *name) const
    {
        QAction *action = m_window->findChild<QAction *>(QLatin1String(name));
        if (!action)
            qFatal("the main window has no action %s", name);
        return action;
    }
    QTableView *Trace() const { return m_window->findChild<QTableView *>(QStringLiteral("listTrace")); }
    QAbstractItemModel *TraceModel() const { return Trace()->model(); }
    QStringList TraceRow(int row) const
    {
        QStringList cells;
        for (int column = 0; column < TraceModel()->columnCount(); ++column)
            cells << TraceModel()->index(row, column).data().toString();
        return cells;
    }
    QStringList Headers() const
    {
        QStringList headers;
        for (int column = 0; column < TraceModel()->columnCount(); ++column)
            headers << TraceModel()->headerData(column, Qt::Horizontal).toString();
        return headers;
    }
    QLabel *VersionLabel() const { return StatusLabels().value(1); }
    QLabel *ConnectionLabel() const { return StatusLabels().value(2); }
    CCopy2ClipboardLabel *UidLabel() const { return qobject_cast<CCopy2ClipboardLabel *>(StatusLabels().value(0)); }
    // The status bar's labels from left to right.
    QList<QLabel *> StatusLabels() const
    {
        QList<QLabel *> labels = m_window->statusBar()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
        std::sort(labels.begin(), labels.end(), [](QLabel *a, QLabel *b) { return a->x() < b->x(); });
        return labels;
    }
    QStringList EnabledActions() const
    {
        QStringList enabled;
        for (const char *name : {"actionConnect", "actionDisconnect", "actionSetOSI2Address", "actionFSync",
                                 "actionUpgradeFirmware", "actionStreloVisual"})
            if (Action(name)->isEnabled())
                enabled << QLatin1String(name);
        return enabled;
    }
    static void SetSetting(const char *key, const QVariant &value) { QSettings().setValue(QLatin1String(key), value); }

    void OpenWindow(bool bAllowRawHex = false)
    {
        m_window = std::make_unique<MainWindow>(bAllowRawHex, [](QWidget *w) { return new RecordingController(w); });
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    }
    void ConfigureTrace(bool enabled, int level, int lines = 100)
    {
        SetSetting(LichtwartSettings::TraceEnabled, enabled);
        SetSetting(LichtwartSettings::TraceLevel, level);
        SetSetting(LichtwartSettings::TraceLines, lines);
    }
    void EmitEveryTraceSignal()
    {
        emit Controller()->TraceAsync(true, QStringLiteral("E5"));
        emit Controller()->TraceOSI2(false, QStringLiteral("Short"), 0, 0, true, false, false, QStringLiteral("RQS"), 1,
                                     0x4A, QString());
        emit Controller()->TraceOSI7(false, 7, QStringLiteral("Signal"), QStringLiteral("Command status request"), 1, 1,
                                     QStringLiteral("02 01 37"));
    }

private slots:
    void init()
    {
        m_sandbox.Clear();
    }
    void cleanup()
    {
        m_window.reset();
    }

    void theFormHasItsWidgets()
    {
        OpenWindow();
        QCOMPARE(m_window->objectName(), QStringLiteral("MainWindow"));
        QCOMPARE(m_window->windowTitle(), QStringLiteral("Lichtwart - Varnholt GmbH"));
        QVERIFY(SameIcon(m_window->windowIcon(), ":/24x24/application"));
        QWidget *central = m_window->centralWidget();
        QCOMPARE(central->objectName(), QStringLiteral("centralWidget"));
        auto *grid = qobject_cast<QGridLayout *>(central->layout());
        QVERIFY(grid);
        QCOMPARE(grid->objectName(), QStringLiteral("gridLayout"));
        QCOMPARE(grid->contentsMargins(), QMargins(11, 11, 11, 11));
        QCOMPARE(grid->itemAtPosition(0, 0)->widget(), Trace());
        QCOMPARE(Trace()->sizePolicy().horizontalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(Trace()->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
        QCOMPARE(m_window->menuBar()->objectName(), QStringLiteral("menuBar"));
        QCOMPARE(m_window->statusBar()->objectName(), QStringLiteral("statusBar"));
        auto *toolBar = m_window->findChild<QToolBar *>(QStringLiteral("mainToolBar"));
        QVERIFY(toolBar);
        QVERIFY(!toolBar->isMovable());
        QVERIFY(!toolBar->isFloatable());
        QCOMPARE(m_window->toolBarArea(toolBar), Qt::TopToolBarArea);
    }

    void theActionsHaveTheirTextsIconsAndStartStates_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("toolTip");
        QTest::addColumn<QString>("shortcut");
        QTest::addColumn<QString>("icon");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("exit") << "actionExit" << "E&xit" << "Exit" << "Alt+X" << ":/24x24/exit" << true;
        QTest::newRow("options") << "actionOptions" << "Options.." << "" << "" << ":/24x24/settings" << true;
        QTest::newRow("about") << "actionAbout" << "About.." << "" << "" << ":/24x24/info" << true;
        QTest::newRow("connect") << "actionConnect" << "Connect" << "" << "" << ":/24x24/connect" << true;
        QTest::newRow("clear log") << "actionClearlog" << "Clear Log" << "" << "" << ":/24x24/clear" << true;
        QTest::newRow("disconnect") << "actionDisconnect" << "Disconnect" << "" << "" << ":/24x24/disconnect" << false;
        QTest::newRow("remote control") << "actionStreloVisual" << "Strelo Remote Control" << "" << ""
                                        << ":/24x24/target" << true;
        QTest::newRow("flasher sync") << "actionFSync" << "Flasher Synchronization.." << "Synchronize Flashers" << ""
                                      << ":/24x24/fsync" << false;
        QTest::newRow("osi 2 address") << "actionSetOSI2Address" << "Set &OSI 2 Address.."
                                       << "Change the OSI 2 Address of the connected Strelo" << ""
                                       << ":/24x24/osi2addr" << false;
        QTest::newRow("firmware") << "actionUpgradeFirmware" << "Upgrade Firmware.." << "" << ""
                                  << ":/24x24/fwupload" << false;
    }

    void theActionsHaveTheirTextsIconsAndStartStates()
    {
        QFETCH(QString, name);
        QFETCH(QString, text);
        QFETCH(QString, toolTip);
        QFETCH(QString, shortcut);
        QFETCH(QString, icon);
        QFETCH(bool, enabled);
        OpenWindow();
        QAction *action = Action(qPrintable(name));
        QCOMPARE(action->text(), text);
        if (!toolTip.isEmpty())
            QCOMPARE(action->toolTip(), toolTip);
        QCOMPARE(action->shortcut(), QKeySequence(shortcut));
        QVERIFY(SameIcon(action->icon(), icon));
        QCOMPARE(action->isEnabled(), enabled);
    }

    void theActionsAreCreatedInTheirOrder()
    {
        OpenWindow();
        QStringList names;
        for (QAction *action : m_window->findChildren<QAction *>(QString(), Qt::FindDirectChildrenOnly))
            if (action->objectName().startsWith(QLatin1String("action")))
                names << action->objectName();
        QCOMPARE(names, QStringList({"actionExit", "actionSaveTrace", "actionOptions", "actionAbout", "actionConnect", "actionClearlog",
                                     "actionDisconnect", "actionStreloVisual", "actionFSync", "actionSetOSI2Address",
                                     "actionUpgradeFirmware", "actionFindDevice", "actionCaptureLine"}));
    }

    void menusAndToolBarHoldTheActionsInOrder()
    {
        OpenWindow();
        QStringList menus;
        for (QAction *entry : m_window->menuBar()->actions())
            menus << entry->menu()->objectName() + QLatin1Char('=') + entry->text();
        QCOMPARE(menus, QStringList({"menuExit=&File", "menuView=View", "menuTools=Tools", "menuHelp=Help"}));
        auto menu = [this](const char *name) { return m_window->findChild<QMenu *>(QLatin1String(name))->actions(); };
        // File > Capture Line to File... is an addition of this program's own, above Exit.
        QCOMPARE(Texts(menu("menuExit")), QStringList({"actionSaveTrace", "|", "actionCaptureLine", "|", "actionExit"}));
        QCOMPARE(Texts(menu("menuView")), QStringList({"actionClearlog"}));
        QCOMPARE(Texts(menu("menuTools")),
                 QStringList({"actionConnect", "actionDisconnect", "|", "actionStreloVisual", "actionFSync", "|",
                              "actionSetOSI2Address", "actionUpgradeFirmware", "|", "actionFindDevice", "actionOptions"}));
        QCOMPARE(Texts(menu("menuHelp")), QStringList({"actionAbout"}));
        // Every command of the Tools menu has its picture; Find Device's is this program's own.
        for (QAction *action : menu("menuTools")) {
            if (!action->isSeparator())
                QVERIFY2(!action->icon().isNull(), qPrintable(action->objectName()));
        }
        QCOMPARE(Texts(m_window->findChild<QToolBar *>(QStringLiteral("mainToolBar"))->actions()),
                 QStringList({"actionExit", "actionConnect", "actionDisconnect", "|", "actionStreloVisual",
                              "actionFSync", "|", "actionClearlog", "actionOptions", "actionAbout"}));
    }

    void theStatusBarShowsUidVersionAndConnection()
    {
        OpenWindow();
        const QList<QLabel *> labels = StatusLabels();
        QCOMPARE(labels.size(), 3);
        QVERIFY(UidLabel());
        QVERIFY(UidLabel()->text().isEmpty());
        QVERIFY(VersionLabel()->text().isEmpty());
        QVERIFY(SamePicture(ConnectionLabel()->pixmap(), ":/16x16/disconnected"));
        // The UID takes the free space; version and connection keep to the right.
        QVERIFY(UidLabel()->width() > VersionLabel()->width());
        QVERIFY(ConnectionLabel()->geometry().right() > m_window->statusBar()->width() - 40);
    }

    void anEmptyStoreOpensTheWindowAtItsDefaults()
    {
        m_window = std::make_unique<MainWindow>(false, [](QWidget *w) { return new RecordingController(w); });
        QCOMPARE(m_window->size(), QSize(400, 400));
        QCOMPARE(m_window->pos(), QPoint(200, 200));
    }

    void closingStoresTheGeometryAndTheNextWindowUsesIt()
    {
        OpenWindow();
        m_window->resize(640, 480);
        m_window->move(120, 90);
        const QSize size = m_window->size();
        const QPoint position = m_window->pos();
        QVERIFY(m_window->close());
        QSettings settings;
        QCOMPARE(settings.value(QLatin1String(LichtwartSettings::MainWindowSize)).toSize(), size);
        QCOMPARE(settings.value(QLatin1String(LichtwartSettings::MainWindowPosition)).toPoint(), position);
        QVERIFY(!m_window->Controller());
        m_window.reset();

        m_window = std::make_unique<MainWindow>(false, [](QWidget *w) { return new RecordingController(w); });
        QCOMPARE(m_window->size(), size);
        QCOMPARE(m_window->pos(), position);
    }

    void exitClosesTheWindowAndItsPort()
    {
        OpenWindow();
        PtyPair pty;
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QVERIFY(Controller()->IsOpen());
        Action("actionExit")->trigger();
        QVERIFY(!m_window->isVisible());
        QVERIFY(!m_window->Controller());
        QVERIFY(QSettings().contains(QLatin1String(LichtwartSettings::MainWindowSize)));
        // The port is free again.
        RecordingController probe(nullptr);
        QVERIFY(probe.CTrafficLightController::ConnectPort(pty.SlavePath(), 9600));
    }

    // With an empty store, Connect opens "COM1" at 9600 baud and starts the link with OSI 2
    // address 1 and OSI 7 address 1 (seen in the first request and in the address assignment).
    void connectUsesTheDefaultsOfAnEmptyStore()
    {
        OpenWindow();
        PtyPair pty;
        ScriptedPeer peer(pty);
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QCOMPARE(Controller()->calls, QStringList({"close", "open COM1 9600"}));
        QCOMPARE(EnabledActions(), QStringList({"actionDisconnect", "actionSetOSI2Address", "actionStreloVisual"}));

        QVERIFY(peer.WaitForFrames(1, 3000));
        QCOMPARE(peer.Frames().at(0).raw, QByteArray::fromHex("1049014A16"));
        QTRY_VERIFY_WITH_TIMEOUT(Action("actionFSync")->isEnabled(), 5000);
        QVERIFY(Action("actionUpgradeFirmware")->isEnabled());
        QVERIFY(SamePicture(ConnectionLabel()->pixmap(), ":/16x16/connected"));
        int assignment = -1;
        QTRY_VERIFY_WITH_TIMEOUT((assignment = peer.WaitForFrame(0, [](const PeerFrame &f) {
                                      return f.kind == PeerFrame::Long && f.userData.size() > 8 && f.userData.at(8) == 0x21;
                                  }, 10)) >= 0,
                                 3000);
        const QByteArray data = peer.Frames().at(assignment).userData;
        QCOMPARE(data.mid(6), QByteArray::fromHex("06012101010401"));
    }

    void connectPassesTheStoredSettings()
    {
        SetSetting(LichtwartSettings::InterfaceDevice, QStringLiteral("ttyUSB3"));
        SetSetting(LichtwartSettings::InterfaceBaudrate, 19200);
        SetSetting(LichtwartSettings::AddressOsi2, 7);
        SetSetting(LichtwartSettings::AddressOsi7, 3);
        OpenWindow();
        PtyPair pty;
        ScriptedPeer peer(pty);
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QCOMPARE(Controller()->calls.last(), QStringLiteral("open ttyUSB3 19200"));
        QVERIFY(peer.WaitForFrames(1, 3000));
        QCOMPARE(peer.Frames().at(0).raw, QByteArray::fromHex("1049075016"));
        int assignment = -1;
        QTRY_VERIFY_WITH_TIMEOUT((assignment = peer.WaitForFrame(0, [](const PeerFrame &f) {
                                      return f.kind == PeerFrame::Long && f.userData.size() > 8 && f.userData.at(8) == 0x21;
                                  }, 10)) >= 0,
                                 5000);
        QCOMPARE(peer.Frames().at(assignment).userData.mid(6), QByteArray::fromHex("06072101010403"));
    }

    void aPortThatDoesNotOpenIsReportedAndChangesNoAction()
    {
        OpenWindow();
        QString title;
        QString text;
        QMessageBox::Icon icon = QMessageBox::NoIcon;
        QMessageBox::StandardButtons buttons;
        QWidget *parent = nullptr;
        OnNextModal<QMessageBox>(this, [&](QMessageBox *box) {
            title = box->windowTitle();
            text = box->text();
            icon = box->icon();
            buttons = box->standardButtons();
            parent = box->parentWidget();
            box->button(QMessageBox::Ok)->click();
        });
        Action("actionConnect")->trigger();
        QCOMPARE(title, QStringLiteral("Device open failed"));
        QCOMPARE(text, QStringLiteral("The device COM1 could not be opened."));
        QCOMPARE(icon, QMessageBox::Warning);
        QCOMPARE(buttons, QMessageBox::StandardButtons(QMessageBox::Ok));
        QCOMPARE(parent, m_window.get());
        QCOMPARE(EnabledActions(), QStringList({"actionConnect", "actionStreloVisual"}));
    }

    // The box keeps its text and says below it why the port did not open.
    void theOpenFailureBoxGivesTheReason()
    {
        OpenWindow();
        Controller()->standInDevice = QStringLiteral("/dev/lichtwart-no-such-port");
        QString text;
        QString informative;
        OnNextModal<QMessageBox>(this, [&](QMessageBox *box) {
            text = box->text();
            informative = box->informativeText();
            box->button(QMessageBox::Ok)->click();
        });
        Action("actionConnect")->trigger();
        QCOMPARE(text, QStringLiteral("The device COM1 could not be opened."));
        QVERIFY2(informative.startsWith(QStringLiteral("There is no device /dev/lichtwart-no-such-port. ")),
                 qPrintable(informative));
    }

    void asecondConnectAfterAFailureClosesThenOpensAgain()
    {
        OpenWindow();
        OnNextModal<QMessageBox>(this, [](QMessageBox *box) { box->accept(); });
        Action("actionConnect")->trigger();
        PtyPair pty;
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QCOMPARE(Controller()->calls, QStringList({"close", "open COM1 9600", "close", "open COM1 9600"}));
        QVERIFY(Controller()->IsOpen());
        QCOMPARE(EnabledActions(), QStringList({"actionDisconnect", "actionSetOSI2Address", "actionStreloVisual"}));
    }

    void disconnectStopsTheLinkAndClosesThePort()
    {
        OpenWindow();
        PtyPair pty;
        ScriptedPeer peer(pty);
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(Action("actionFSync")->isEnabled(), 5000);
        m_window->SetStreloVersion(1, 2, 3, 4, 5, 6);
        m_window->SetUID(QStringLiteral("0102"));
        Controller()->calls.clear();

        Action("actionDisconnect")->trigger();
        QCOMPARE(Controller()->calls, QStringList({"close"}));
        QVERIFY(!Controller()->IsOpen());
        QVERIFY(!Controller()->IsLinkUp());
        QCOMPARE(EnabledActions(), QStringList({"actionConnect", "actionStreloVisual"}));
        QVERIFY(VersionLabel()->text().isEmpty());
        QVERIFY(UidLabel()->text().isEmpty());
        QVERIFY(SamePicture(ConnectionLabel()->pixmap(), ":/16x16/disconnected"));
        const int frames = peer.FrameCount();
        QTest::qWait(600);
        QCOMPARE(peer.FrameCount(), frames);
    }

    void acceptingTheOptionsWhileConnectedDisconnectsAndReappliesTheTrace()
    {
        OpenWindow();
        PtyPair pty;
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QVERIFY(Controller()->IsOpen());
        Controller()->calls.clear();
        QCOMPARE(TraceModel()->columnCount(), 0);

        OnNextModal<OptionsDialog>(this, [](OptionsDialog *dialog) {
            dialog->findChild<QGroupBox *>(QStringLiteral("groupTraceLevel"))->setChecked(true);
            dialog->findChild<QRadioButton *>(QStringLiteral("radioTraceOSI2"))->setChecked(true);
            dialog->findChild<QDialogButtonBox *>(QStringLiteral("btOkCancel"))->button(QDialogButtonBox::Ok)->click();
        });
        Action("actionOptions")->trigger();
        QCOMPARE(Controller()->calls, QStringList({"close"}));
        QVERIFY(!Controller()->IsOpen());
        QCOMPARE(EnabledActions(), QStringList({"actionConnect", "actionStreloVisual"}));
        QCOMPARE(TraceModel()->columnCount(), 14);
        QVERIFY(Trace()->isEnabled());
    }

    void acceptingTheOptionsWhileNotConnectedChangesNothing()
    {
        OpenWindow();
        OnNextModal<OptionsDialog>(this, [](OptionsDialog *dialog) {
            dialog->findChild<QDialogButtonBox *>(QStringLiteral("btOkCancel"))->button(QDialogButtonBox::Ok)->click();
        });
        Action("actionOptions")->trigger();
        QVERIFY(Controller()->calls.isEmpty());
        QCOMPARE(EnabledActions(), QStringList({"actionConnect", "actionStreloVisual"}));
    }

    void cancellingTheOptionsKeepsTheConnection()
    {
        OpenWindow();
        PtyPair pty;
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        Controller()->calls.clear();
        OnNextModal<OptionsDialog>(this, [](OptionsDialog *dialog) { dialog->reject(); });
        Action("actionOptions")->trigger();
        QVERIFY(Controller()->calls.isEmpty());
        QVERIFY(Controller()->IsOpen());
    }

    void theStatusBarFollowsTheLink()
    {
        OpenWindow();
        m_window->SetStreloVersion(1, 2, 3, 4, 5, 6);
        QCOMPARE(VersionLabel()->text(), QStringLiteral("SWV-4.5.6 / HWV-1.2.3 "));
        m_window->SetStreloVersion(10, 0, 255, 3, 14, 0);
        QCOMPARE(VersionLabel()->text(), QStringLiteral("SWV-3.14.0 / HWV-10.0.255 "));
        m_window->SetUID(QStringLiteral("0011AABB - 2233CCDD - 4455EEFF"));
        QCOMPARE(UidLabel()->text(), QStringLiteral("UID: 0011AABB - 2233CCDD - 4455EEFF"));

        emit Controller()->ConnectionChanged(true);
        QVERIFY(SamePicture(ConnectionLabel()->pixmap(), ":/16x16/connected"));
        QCOMPARE(VersionLabel()->text(), QStringLiteral("SWV-3.14.0 / HWV-10.0.255 "));
        QCOMPARE(EnabledActions(),
                 QStringList({"actionConnect", "actionFSync", "actionUpgradeFirmware", "actionStreloVisual"}));

        emit Controller()->ConnectionChanged(false);
        QVERIFY(SamePicture(ConnectionLabel()->pixmap(), ":/16x16/disconnected"));
        QVERIFY(VersionLabel()->text().isEmpty());
        QVERIFY(UidLabel()->text().isEmpty());
        QCOMPARE(EnabledActions(), QStringList({"actionConnect", "actionStreloVisual"}));

        emit Controller()->ConnectionChanged(true);
        QVERIFY(SamePicture(ConnectionLabel()->pixmap(), ":/16x16/connected"));
    }

    void clickingTheUidCopiesTheBareUid()
    {
        OpenWindow();
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        QTest::mouseClick(UidLabel(), Qt::LeftButton);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("before"));
        m_window->SetUID(QStringLiteral("0011AABB - 2233CCDD - 4455EEFF"));
        QTest::mouseClick(UidLabel(), Qt::LeftButton);
        QCOMPARE(QGuiApplication::clipboard()->text(), QStringLiteral("0011AABB-2233CCDD-4455EEFF"));
    }

    void theRemoteControlActionWaitsForTheDialogToClose()
    {
        OpenWindow();
        Action("actionStreloVisual")->trigger();
        QVERIFY(!Action("actionStreloVisual")->isEnabled());
        StreloVisualDialog *dialog = Controller()->RemoteControl();
        QVERIFY(dialog->isVisible());
        QVERIFY(!dialog->isModal());
        dialog->findChild<QPushButton *>(QStringLiteral("pbClose"))->click();
        QVERIFY(Action("actionStreloVisual")->isEnabled());
    }

    void aboutShowsTheVersion()
    {
        OpenWindow();
        QString version;
        QWidget *parent = nullptr;
        OnNextModal<AboutDialog>(this, [&](AboutDialog *dialog) {
            version = dialog->findChild<QLabel *>(QStringLiteral("lblVersion"))->text();
            parent = dialog->parentWidget();
            dialog->accept();
        });
        Action("actionAbout")->trigger();
        QCOMPARE(version, QStringLiteral("Version 1.22.2"));
        QCOMPARE(parent, m_window.get());
        QVERIFY(m_window->findChildren<AboutDialog *>().isEmpty());
    }

    // The flasher and firmware actions follow the link; the firmware dialog gets the state of
    // the allow-raw-hex option from the window.
    void upgradeFirmwareOpensTheFirmwareDialog_data()
    {
        QTest::addColumn<bool>("allowRawHex");
        QTest::addColumn<QStringList>("filters");
        QTest::newRow("package only")
            << false << QStringList({"Firmware upgrade package (*.fwp)", "Any (*.*)"});
        QTest::newRow("allow raw hex") << true
                                       << QStringList({"Raw hex file (*.hex *.mhx)", "Firmware upgrade package (*.fwp)",
                                                       "Any (*.*)"});
    }

    void upgradeFirmwareOpensTheFirmwareDialog()
    {
        QFETCH(bool, allowRawHex);
        QFETCH(QStringList, filters);
        OpenWindow(allowRawHex);
        emit Controller()->ConnectionChanged(true);
        emit Controller()->DeviceChanged(CStreloProductTable::FindByHardwareMajor(2));
        Action("actionUpgradeFirmware")->trigger();
        FWUpgradeDialog *dialog = m_window->FirmwareUpgrade()->Dialog();
        QTRY_VERIFY(dialog->isVisible());
        QStringList offered;
        OnNextModal<QFileDialog>(this, [&](QFileDialog *chooser) {
            offered = chooser->nameFilters();
            chooser->reject();
        });
        dialog->findChild<QPushButton *>(QStringLiteral("pbLoad"))->click();
        QCOMPARE(offered, filters);
    }

    void theFirmwareDriverFollowsTheController()
    {
        OpenWindow();
        FWUpgradeDialog *dialog = m_window->FirmwareUpgrade()->Dialog();
        emit Controller()->ConnectionChanged(true);
        emit Controller()->VersionChanged(2, 1, 0, 1, 4, 2);
        QCOMPARE(dialog->findChild<QLabel *>(QStringLiteral("txtDevSWVersion"))->text(), QStringLiteral("1.4.2"));
        QCOMPARE(dialog->findChild<QLabel *>(QStringLiteral("txtDevHWVersion"))->text(), QStringLiteral("2.1.0"));
        QVERIFY(dialog->findChild<QLabel *>(QStringLiteral("txtStatus"))->text().contains("Connected to target device"));
        emit Controller()->ConnectionChanged(false);
        QCOMPARE(dialog->findChild<QLabel *>(QStringLiteral("txtStatus"))->text(), QStringLiteral("unknown"));
    }

    void theStartOfFlashOperationsDisconnects()
    {
        OpenWindow();
        PtyPair pty;
        Controller()->standInDevice = pty.SlavePath();
        Action("actionConnect")->trigger();
        QVERIFY(Controller()->IsOpen());
        emit m_window->FirmwareUpgrade()->StartingFlashOperations();
        QVERIFY(!Controller()->IsOpen());
        QCOMPARE(EnabledActions(), QStringList({"actionConnect", "actionStreloVisual"}));
    }

    // --- trace ---

    void theTraceTableIsConfigured()
    {
        ConfigureTrace(true, 2);
        OpenWindow();
        QTableView *table = Trace();
        QVERIFY(!table->showGrid());
        QVERIFY(!table->isCornerButtonEnabled());
        // Rows can be selected, so that Ctrl+C copies them.
        QCOMPARE(table->selectionMode(), QAbstractItemView::ExtendedSelection);
        QCOMPARE(table->selectionBehavior(), QAbstractItemView::SelectRows);
        QCOMPARE(table->focusPolicy(), Qt::ClickFocus);
        QVERIFY(table->verticalHeader()->isHidden());
        QCOMPARE(table->verticalHeader()->sectionResizeMode(0), QHeaderView::Fixed);
        QCOMPARE(table->verticalHeader()->defaultSectionSize(), 16);
        QHeaderView *header = table->horizontalHeader();
        QCOMPARE(header->sectionResizeMode(0), QHeaderView::ResizeToContents);
        QVERIFY(header->stretchLastSection());
        QVERIFY(!header->sectionsClickable());
        QCOMPARE(header->defaultAlignment(), Qt::AlignCenter);
        emit Controller()->TraceAsync(true, QStringLiteral("E5"));
        QCOMPARE(table->rowHeight(0), 16);
    }

    void aDisabledTraceAddsNothing_data()
    {
        QTest::addColumn<int>("level");
        for (int level : {0, 1, 2, 3})
            QTest::newRow(qPrintable(QStringLiteral("level %1").arg(level))) << level;
    }

    void aDisabledTraceAddsNothing()
    {
        QFETCH(int, level);
        ConfigureTrace(false, level);
        OpenWindow();
        QVERIFY(!Trace()->isEnabled());
        QCOMPARE(TraceModel()->columnCount(), 0);
        EmitEveryTraceSignal();
        QCOMPARE(TraceModel()->rowCount(), 0);
    }

    void anUnknownLevelShowsNeitherColumnsNorRows()
    {
        ConfigureTrace(true, 3);
        OpenWindow();
        QCOMPARE(TraceModel()->columnCount(), 0);
        EmitEveryTraceSignal();
        QCOMPARE(TraceModel()->rowCount(), 0);
        QVERIFY(Trace()->isEnabled()); // left as the form made it
    }

    void eachLevelShowsItsColumnsAndOnlyItsSignal_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<QStringList>("headers");
        QTest::addColumn<QStringList>("row");
        QTest::newRow("osi 7") << 0
                               << QStringList({"Direction", "Timestamp", "Length", "Func. Group", "Application ID",
                                               "Jobnumber", "Blockcount", "Data"})
                               << QStringList({"TX", "7", "Signal", "Command status request", "1", "1", "02 01 37"});
        QTest::newRow("osi 2") << 1
                               << QStringList({"Direction", "Timestamp", "Frametype", "OSI3 Adr. ID", "Length", "PRM",
                                               "FCB", "FCV", "ACD", "DFC", "Function", "Address", "Checksum", "Data"})
                               << QStringList({"TX", "Short", "0", "0", "1", "0", "0", "-", "-", "RQS", "1", "74", ""});
        QTest::newRow("raw serial") << 2 << QStringList({"Direction", "Timestamp", "Data"})
                                    << QStringList({"RX", "E5"});
    }

    void eachLevelShowsItsColumnsAndOnlyItsSignal()
    {
        QFETCH(int, level);
        QFETCH(QStringList, headers);
        QFETCH(QStringList, row);
        ConfigureTrace(true, level);
        OpenWindow();
        QVERIFY(Trace()->isEnabled());
        QCOMPARE(Headers(), headers);
        EmitEveryTraceSignal();
        QCOMPARE(TraceModel()->rowCount(), 1);
        QStringList cells = TraceRow(0);
        const QString timestamp = cells.takeAt(1);
        QVERIFY2(QRegularExpression(QStringLiteral("^\\d\\d:\\d\\d:\\d\\d\\.\\d\\d\\d$")).match(timestamp).hasMatch(),
                 qPrintable(timestamp));
        QCOMPARE(cells, row);
        const QString icon = row.at(0) == QLatin1String("RX") ? ":/16x16/receive" : ":/16x16/transmit";
        QVERIFY(SamePicture(TraceModel()->index(0, 0).data(Qt::DecorationRole).value<QPixmap>(), icon));
    }

    void aSecondaryShowsDashesUnderFcbAndFcv()
    {
        ConfigureTrace(true, 1);
        OpenWindow();
        emit Controller()->TraceOSI2(true, QStringLiteral("Short"), 0, 0, false, true, false, QStringLiteral("S1"), 5,
                                     0x10, QString());
        QStringList cells = TraceRow(0);
        cells.removeAt(1);
        QCOMPARE(cells, QStringList({"RX", "Short", "0", "0", "0", "-", "-", "1", "0", "S1", "5", "16", ""}));
        QVERIFY(SamePicture(TraceModel()->index(0, 0).data(Qt::DecorationRole).value<QPixmap>(), ":/16x16/receive"));
    }

    void theHundredAndFirstRowPushesTheOldestOut()
    {
        ConfigureTrace(true, 2, 100);
        OpenWindow();
        for (int i = 1; i <= 101; ++i)
            emit Controller()->TraceAsync(i % 2 == 0, QString::number(i));
        QCOMPARE(TraceModel()->rowCount(), 100);
        QCOMPARE(TraceModel()->index(0, 2).data().toString(), QStringLiteral("2"));
        QCOMPARE(TraceModel()->index(99, 2).data().toString(), QStringLiteral("101"));
        QScrollBar *scroll = Trace()->verticalScrollBar();
        QTRY_VERIFY(scroll->maximum() > 0);
        QCOMPARE(scroll->value(), scroll->maximum());
        QVERIFY(Trace()->rowAt(Trace()->viewport()->height() - 1) == 99 || Trace()->rowAt(Trace()->viewport()->height() - 8) == 99);
    }

    void theColumnsGrowWithWhatTheyShow()
    {
        ConfigureTrace(true, 1);
        OpenWindow();
        for (int i = 0; i < 40; ++i)
            emit Controller()->TraceOSI2(false, QStringLiteral("Short"), 0, 0, true, true, true, QStringLiteral("RQD3"), 1,
                                         0x79, QString());
        QTest::qWait(50);
        const int function = 10;
        const int narrow = Trace()->columnWidth(function);
        const QString wide = QStringLiteral("Invalid Function !");
        emit Controller()->TraceOSI2(false, QStringLiteral("Short"), 0, 0, true, false, false, wide, 1, 0x42, QString());
        QTRY_VERIFY(Trace()->columnWidth(function) > narrow);
        QVERIFY(Trace()->columnWidth(function) >= Trace()->fontMetrics().horizontalAdvance(wide));
    }

    void clearLogEmptiesTheTrace()
    {
        ConfigureTrace(true, 2);
        OpenWindow();
        EmitEveryTraceSignal();
        QCOMPARE(TraceModel()->rowCount(), 1);
        Action("actionClearlog")->trigger();
        QCOMPARE(TraceModel()->rowCount(), 0);
        QCOMPARE(TraceModel()->columnCount(), 3);
    }

    void reconfiguringSwitchesTheLayoutAndEmptiesTheTable()
    {
        ConfigureTrace(true, 2);
        OpenWindow();
        EmitEveryTraceSignal();
        ConfigureTrace(true, 0);
        OnNextModal<OptionsDialog>(this, [](OptionsDialog *dialog) {
            dialog->findChild<QRadioButton *>(QStringLiteral("radioTraceOSI7"))->setChecked(true);
            dialog->findChild<QDialogButtonBox *>(QStringLiteral("btOkCancel"))->button(QDialogButtonBox::Ok)->click();
        });
        Action("actionOptions")->trigger();
        QCOMPARE(TraceModel()->columnCount(), 8);
        QCOMPARE(TraceModel()->rowCount(), 0);
        EmitEveryTraceSignal();
        QCOMPARE(TraceModel()->rowCount(), 1);
        QCOMPARE(TraceModel()->index(0, 3).data().toString(), QStringLiteral("Signal"));
    }

    // --- keeping the trace ---

private:
    // Rows of each level, one cell with a comma and a double quote.
    void EmitRowsWithAwkwardCells()
    {
        emit Controller()->TraceAsync(true, QStringLiteral("E5, \"x\""));
        emit Controller()->TraceAsync(false, QStringLiteral("10 49 01 4A 16"));
        emit Controller()->TraceOSI2(true, QStringLiteral("Short"), 0, 0, false, true, false, QStringLiteral("S1, \"ok\""), 1,
                                     0x4A, QString());
        emit Controller()->TraceOSI2(false, QStringLiteral("Long"), 0, 7, true, true, true, QStringLiteral("D"), 1, 0x12,
                                     QStringLiteral("00 07"));
        emit Controller()->TraceOSI7(true, 7, QStringLiteral("Signal"), QStringLiteral("Command reply, \"short\""), 1, 1,
                                     QStringLiteral("02 01 37"));
        emit Controller()->TraceOSI7(false, 7, QStringLiteral("System"), QStringLiteral("Parameter request"), 2, 1,
                                     QStringLiteral("02 FF 87"));
    }
    // A CSV text split into rows and fields, quoted fields taken apart as RFC 4180 writes them.
    static QList<QStringList> ParseCsv(const QString &text)
    {
        QList<QStringList> rows;
        QStringList row;
        QString field;
        bool quoted = false;
        for (qsizetype i = 0; i < text.size(); ++i) {
            const QChar c = text[i];
            if (quoted && c == '"' && i + 1 < text.size() && text[i + 1] == '"') {
                field += '"';
                ++i;
            } else if (c == '"') {
                quoted = !quoted;
            } else if (!quoted && c == ',') {
                row << field;
                field.clear();
            } else if (!quoted && c == '\r' && i + 1 < text.size() && text[i + 1] == '\n') {
                row << field;
                rows << row;
                row.clear();
                field.clear();
                ++i;
            } else {
                field += c;
            }
        }
        return rows;
    }
    QString SaveThroughTheMenu(const QString &path, const QString &filter)
    {
        OnNextModal<QFileDialog>(this, [path, filter](QFileDialog *dialog) {
            dialog->selectNameFilter(filter);
            ModalAnswerer::Choose(dialog, path);
        });
        Action("actionSaveTrace")->trigger();
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }

private slots:
    void savedCsvEqualsTheTableAtEachLevel_data()
    {
        QTest::addColumn<int>("level");
        QTest::newRow("OSI 7") << 0;
        QTest::newRow("OSI 2") << 1;
        QTest::newRow("raw") << 2;
    }
    void savedCsvEqualsTheTableAtEachLevel()
    {
        QFETCH(int, level);
        ConfigureTrace(true, level);
        OpenWindow();
        EmitRowsWithAwkwardCells();
        QCOMPARE(TraceModel()->rowCount(), 2);
        QTemporaryDir dir;
        const QString text = SaveThroughTheMenu(dir.filePath(QStringLiteral("trace.csv")),
                                                QStringLiteral("Comma-separated values (*.csv)"));
        QList<QStringList> expected = {Headers()};
        for (int row = 0; row < TraceModel()->rowCount(); ++row)
            expected << TraceRow(row);
        QCOMPARE(ParseCsv(text), expected);
        QVERIFY(text.endsWith(QStringLiteral("\r\n")));
        QVERIFY(text.contains(QStringLiteral(",\"")));
    }

    void theTextFilterWritesTabSeparatedText()
    {
        ConfigureTrace(true, 0);
        OpenWindow();
        EmitRowsWithAwkwardCells();
        QTemporaryDir dir;
        // Without an extension the chosen filter's is added.
        SaveThroughTheMenu(dir.filePath(QStringLiteral("trace")), QStringLiteral("Tab-separated text (*.txt)"));
        QFile file(dir.filePath(QStringLiteral("trace.txt")));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QStringList lines = QString::fromUtf8(file.readAll()).split('\n', Qt::SkipEmptyParts);
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[0], Headers().join('\t'));
        QCOMPARE(lines[1], TraceRow(0).join('\t'));
        QCOMPARE(lines[2], TraceRow(1).join('\t'));
    }

    void aSaveThatFailsSaysSo()
    {
        ConfigureTrace(true, 2);
        OpenWindow();
        EmitRowsWithAwkwardCells();
        QTemporaryDir dir;
        QString shown;
        OnNextModal<QFileDialog>(this, [&](QFileDialog *dialog) {
            OnNextModal<QMessageBox>(this, [&shown](QMessageBox *box) {
                shown = box->windowTitle() + '|' + box->text();
                box->accept();
            });
            ModalAnswerer::Choose(dialog, dir.filePath(QStringLiteral("no/such/folder/trace.csv")));
        });
        Action("actionSaveTrace")->trigger();
        QTRY_VERIFY(!shown.isEmpty());
        QVERIFY2(shown.startsWith(QStringLiteral("Saving the trace failed|The trace could not be written to ")), qPrintable(shown));
        QVERIFY(shown.contains(QStringLiteral("Choose another file or folder and save again.")));
    }

    void ctrlCCopiesExactlyTheSelectedRows()
    {
        ConfigureTrace(true, 1);
        OpenWindow();
        EmitRowsWithAwkwardCells();
        emit Controller()->TraceOSI2(true, QStringLiteral("Acknowledge"), 0, 0, false, false, false, QStringLiteral("ACK"),
                                     0, 0, QString());
        QCOMPARE(TraceModel()->rowCount(), 3);
        QTableView *table = Trace();
        QGuiApplication::clipboard()->clear();
        // Rows 0 and 2, chosen with a click and a Ctrl+click, in the order of the table.
        QTest::mouseClick(table->viewport(), Qt::LeftButton, {}, table->visualRect(TraceModel()->index(2, 1)).center());
        QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::ControlModifier,
                          table->visualRect(TraceModel()->index(0, 1)).center());
        QCOMPARE(table->selectionModel()->selectedRows().size(), 2);
        QTest::keyClick(table, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(),
                 Headers().join('\t') + '\n' + TraceRow(0).join('\t') + '\n' + TraceRow(2).join('\t') + '\n');
    }
};

QTEST_MAIN(TestMainWindow)
#include "tst_mainwindow.moc"
