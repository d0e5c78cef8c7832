#include "controller/CTrafficLightController.h"

#include "LampIcons.h"
#include "MainWindowStandIn.h"
#include "PtyPair.h"
#include "ScriptedPeer.h"
#include "SettingsSandbox.h"
#include "widgets/CKeyModPushButton.h"
#include "settings/LichtwartSettings.h"
#include "tls/CStreloProductTable.h"

#include <QElapsedTimer>
#include <QLCDNumber>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSignalSpy>
#include <QSlider>
#include <QtTest>

#include <termios.h>

#include <functional>
#include <memory>
#include <thread>

namespace {

// Opens the protocol hooks to the test, which calls them as the reader and timer threads do.
class HookedController : public CTrafficLightController
{
public:
    using CTrafficLightController::CTrafficLightController;
    using CTrafficLightController::LinkChanged;
    using CTrafficLightController::OnActualValue;
    using CTrafficLightController::OnCurrentDrain;
    using CTrafficLightController::OnDefectValue;
    using CTrafficLightController::OnDevice;
    using CTrafficLightController::OnLuminosity;
    using CTrafficLightController::OnUID;
    using CTrafficLightController::OnUserData;
    using CTrafficLightController::OnVersion;
    using CTrafficLightController::TraceBytes;
    using CTrafficLightController::TraceOsi7;
    using CTrafficLightController::TraceTelegram;
};

// Offsets of the OSI 7 telegram in a long frame's user data.
constexpr int kFunctionGroup = 2;
constexpr int kApplicationId = 3;
constexpr int kEndPoint = 7;
constexpr int kType = 8;
constexpr int kFirstParameter = 9;

constexpr int kLinkUpMs = 5000;
constexpr int kFrameMs = 3000;

int Octet(const PeerFrame &frame, int offset)
{
    return offset < frame.userData.size() ? static_cast<std::uint8_t>(frame.userData.at(offset)) : -1;
}

bool IsOsi7(const PeerFrame &frame)
{
    return frame.kind == PeerFrame::Long && frame.userData.size() > kType;
}

// A controller linked over a pseudo-terminal to a well-behaved far station.
struct LinkedController
{
    PtyPair pty;
    ScriptedPeer peer {pty};
    MainWindowStandIn window;
    // On the heap: the thread sanitizer forgets a mutex when its memory is freed, not when a stack
    // frame ends, so controllers of successive tests at one stack address would look like one
    // controller taking its locks in changing orders.
    std::unique_ptr<HookedController> owned = std::make_unique<HookedController>(&window);
    HookedController &controller = *owned;

    // The link's threads end before the controller is torn down.
    ~LinkedController() { controller.ShutDown(); }

    bool Up(int osi2, int osi7)
    {
        if (!controller.ConnectPort(pty.SlavePath(), 9600))
            return false;
        controller.Connect(osi2, osi7);
        return QTest::qWaitFor([&] { return controller.IsLinkUp(); }, kLinkUpMs);
    }

    // The next OSI 7 telegram after frame `from` that `match` accepts; -1 when none came.
    int WaitFor(int from, const std::function<bool(const PeerFrame &)> &match, int timeoutMs = kFrameMs)
    {
        int found = -1;
        // Wait in slices, so that what the controller queues to the GUI thread runs meanwhile.
        const bool arrived = QTest::qWaitFor(
            [&] {
                found = peer.WaitForFrame(from, [&](const PeerFrame &f) { return IsOsi7(f) && match(f); }, 10);
                return found >= 0;
            },
            timeoutMs);
        return arrived ? found : -1;
    }

    int WaitForType(int from, int type, int timeoutMs = kFrameMs)
    {
        return WaitFor(from, [type](const PeerFrame &f) { return Octet(f, kType) == type; }, timeoutMs);
    }

    // Waits until the start-up jobs are through and the link only polls; returns the number of
    // frames so far, or -1 when the jobs did not come. A command issued right after user data
    // goes out twice (the repetition already carries it, then it is sent with a fresh frame
    // count bit), so the tests let each exchange settle like this before the next.
    int Settle(int type = 0x87)
    {
        if (WaitForType(0, type) < 0)
            return -1;
        QTest::qWait(400);
        return peer.FrameCount();
    }

    QList<PeerFrame> Osi7Frames()
    {
        QList<PeerFrame> frames;
        for (const PeerFrame &frame : peer.Frames())
            if (IsOsi7(frame))
                frames << frame;
        return frames;
    }
};

// How long each look of the yellow button lasted while the test watched it.
struct Phase
{
    QString look;
    qint64 ms;
};

QList<Phase> WatchYellow(const QAbstractButton *button, int durationMs)
{
    QList<Phase> phases;
    QElapsedTimer clock;
    clock.start();
    QString look = LampIcons::Name(button);
    qint64 since = 0;
    while (clock.elapsed() < durationMs) {
        QTest::qWait(5);
        const QString now = LampIcons::Name(button);
        if (now != look) {
            phases << Phase {look, clock.elapsed() - since};
            look = now;
            since = clock.elapsed();
        }
    }
    return phases;
}

} // namespace

class TestCTrafficLightController : public QObject
{
    Q_OBJECT

private:
    SettingsSandbox m_sandbox;
    std::unique_ptr<MainWindowStandIn> m_window;
    std::unique_ptr<HookedController> m_controller;

    template <typename T>
    T *Widget(const char *name) const
    {
        T *widget = m_controller->RemoteControl()->findChild<T *>(QLatin1String(name));
        if (!widget)
            qFatal("the remote control has no widget %s", name);
        return widget;
    }
    QPushButton *Button(const char *name) const { return Widget<QPushButton>(name); }
    QStringList LampLooks() const
    {
        return {LampIcons::Name(Button("pbRED")), LampIcons::Name(Button("pbYELRED")),
                LampIcons::Name(Button("pbYEL")), LampIcons::Name(Button("pbGRN"))};
    }
    static void SetSetting(const char *key, const QVariant &value) { QSettings().setValue(QLatin1String(key), value); }

private slots:
    void init()
    {
        m_sandbox.Clear();
        m_window = std::make_unique<MainWindowStandIn>();
        m_controller = std::make_unique<HookedController>(m_window.get());
    }
    void cleanup()
    {
        m_controller->ShutDown();
        m_controller.reset();
        m_window.reset();
    }

    void signalsAndSlotsKeepTheirSignaturesAndOrder()
    {
        // Every signal and slot the controller has beyond QObject's, whichever of its classes
        // declares it (the signals come from the device's hook adapter).
        const QMetaObject &meta = CTrafficLightController::staticMetaObject;
        QStringList signalList;
        QStringList slotList;
        for (int i = QObject::staticMetaObject.methodCount(); i < meta.methodCount(); ++i) {
            const QMetaMethod method = meta.method(i);
            if (method.methodType() == QMetaMethod::Signal)
                signalList << QString::fromLatin1(method.methodSignature());
            else if (method.methodType() == QMetaMethod::Slot)
                slotList << QString::fromLatin1(method.methodSignature());
        }
        QCOMPARE(signalList,
                 QStringList({"TraceAsync(bool,QString)",
                              "TraceOSI2(bool,QString,int,int,bool,bool,bool,QString,int,int,QString)",
                              "TraceOSI7(bool,int,QString,QString,int,int,QString)", "ConnectionChanged(bool)",
                              "ActualValueChanged(int,bool,bool)", "DefectValueChanged(int,bool)",
                              "LuminosityChanged(bool)", "CurrentDraineChanged(int,double)",
                              "VersionChanged(int,int,int,int,int,int)", "DeviceChanged(const STRELO_PRODUCT*)",
                              "UIDChanged(QString)"}));
        QCOMPARE(slotList,
                 QStringList({"OnLinkChange(bool)", "SetRedSetpoint()", "SetGreenSetpoint()", "SetYellowSetpoint()",
                              "SetYellowSteadySetpoint()", "SetYellowFlasherSetpoint()", "SetYellowRedSetpoint()",
                              "SetOffSetpoint()", "SetActualValue(int,bool,bool)", "SetDefectValue(int,bool)",
                              "SetIntensity(int)", "SetGUIIntensity(bool)", "RefreshCurrentMeters()",
                              "SetGUICurrentDrain(int,double)", "UpdateBlinkCycle()",
                              "SwitchToFirmwareUploadMode(int,int,int)"}));
        const QMetaMethod connectionChanged = meta.method(meta.indexOfSignal("ConnectionChanged(bool)"));
        QCOMPARE(connectionChanged.parameterNames().value(0), QByteArray("bConncted"));
    }

    void theDialogIsTheFormOfTheRemoteControl()
    {
        StreloVisualDialog *dialog = m_controller->RemoteControl();
        QCOMPARE(dialog->parentWidget(), m_window.get());
        QVERIFY(!dialog->isVisible());
        QCOMPARE(dialog->objectName(), QStringLiteral("StreloVisualDialog"));
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Strelo Visual"));
        QVERIFY(!dialog->windowIcon().isNull());
        QCOMPARE(dialog->maximumSize(), QSize(596, 199));
        QCOMPARE(Widget<QLabel>("lblAutoSetpoint")->text(), QStringLiteral("Automatic setpoint"));
        QCOMPARE(Widget<QLabel>("lblCurrent")->text(), QStringLiteral("Current (mA)"));
        QCOMPARE(Widget<QLabel>("lblIntensity")->text(), QStringLiteral("Intensity"));
        QCOMPARE(Widget<QLabel>("lblLumDim")->text(), QStringLiteral("Dim"));
        QCOMPARE(Widget<QLabel>("lblLumFull")->text(), QStringLiteral("Full"));
        QCOMPARE(Button("pbOFF")->text(), QStringLiteral("OFF"));
        QCOMPARE(Button("pbRefresh")->text(), QStringLiteral("Refresh"));
        QCOMPARE(Button("pbClose")->text(), QStringLiteral("Close"));
        for (const char *lamp : {"pbRED", "pbYELRED", "pbYEL", "pbGRN"})
            QVERIFY2(Button(lamp)->text().isEmpty(), lamp);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-off", "yel-off", "grn-off"}));
        QVERIFY(qobject_cast<CKeyModPushButton *>(Button("pbYEL")));
        QCOMPARE(Button("pbYEL")->toolTip(),
                 QStringLiteral("<html><head/><body><p style=\"white-space:nowrap;\">Use Schift+Click for steady "
                                "yellow,<br>Ctrl+Click for flashing yellow</p></body></html>"));
        QSlider *slider = Widget<QSlider>("hsIntensity");
        QCOMPARE(slider->orientation(), Qt::Horizontal);
        QCOMPARE(slider->minimum(), 0);
        QCOMPARE(slider->maximum(), 1);
        QVERIFY(LampIcons::LabelShows(Widget<QLabel>("lblIntensityActValue"), "bulb-off"));
        for (const char *lcd : {"lcdRED", "lcdYEL", "lcdGRN"})
            QVERIFY2(Widget<QLCDNumber>(lcd), lcd);
    }

    // The controller tells the dialog the link is down as its last construction step: the
    // controls start disabled, nothing else follows, and no port is open.
    void constructionReportsTheLinkDownOnce()
    {
        const QStringList controls = {"pbRED",     "pbGRN",       "pbYEL",     "pbYELRED",  "pbOFF",
                                      "pbRefresh", "hsIntensity", "lblLumDim", "lblLumFull"};
        for (const QString &name : controls) {
            QWidget *control = m_controller->RemoteControl()->findChild<QWidget *>(name);
            QVERIFY2(control && !control->isEnabled(), qPrintable(name));
        }
        QVERIFY(Widget<QLabel>("lblIntensity")->isEnabled());
        QVERIFY(Button("pbClose")->isEnabled());
        QVERIFY(!m_controller->IsOpen());

        QSignalSpy spy(m_controller.get(), &CTrafficLightController::ConnectionChanged);
        QTest::qWait(300);
        QCOMPARE(spy.count(), 0);
    }

    void enableControlsFollowsTheLink()
    {
        m_controller->RemoteControl()->EnableControls(true);
        for (const char *name : {"pbRED", "pbGRN", "pbYEL", "pbYELRED", "pbOFF", "pbRefresh", "hsIntensity",
                                 "lblLumDim", "lblLumFull"})
            QVERIFY2(Widget<QWidget>(name)->isEnabled(), name);
        emit m_controller->ConnectionChanged(false);
        QVERIFY(!Button("pbRED")->isEnabled());
        QVERIFY(!Widget<QLabel>("lblLumFull")->isEnabled());
    }

    void closingTheDialogTellsTheMainWindow()
    {
        m_controller->ShowRemoteControl();
        QVERIFY(m_controller->RemoteControl()->isVisible());
        QTest::mouseClick(Button("pbClose"), Qt::LeftButton);
        QVERIFY(!m_controller->RemoteControl()->isVisible());
        QCOMPARE(m_window->closedCount, 1);
        // Closing only hides: the same dialog shows again.
        m_controller->ShowRemoteControl();
        QVERIFY(m_controller->RemoteControl()->isVisible());
    }

    void octetsBecomeTraceText()
    {
        QSignalSpy spy(m_controller.get(), &CTrafficLightController::TraceAsync);
        m_controller->TraceBytes(11, 0, {0x00, 0xAB});
        m_controller->TraceBytes(11, 1, {0x68, 0x0A, 0x0A, 0x68});
        m_controller->TraceBytes(11, 1, {});
        m_controller->TraceBytes(11, 2, {0x10});
        QCOMPARE(spy.count(), 3);
        QCOMPARE(spy.at(0), QVariantList({true, QStringLiteral("00 AB")}));
        QCOMPARE(spy.at(1), QVariantList({false, QStringLiteral("68 0A 0A 68")}));
        QCOMPARE(spy.at(2), QVariantList({false, QString()}));
    }

    void telegramRecordsBecomeOsi2Trace()
    {
        QSignalSpy spy(m_controller.get(), &CTrafficLightController::TraceOSI2);
        m_controller->TraceTelegram(12, 0, 0, 0, 7, false, true, false, "D", 5, 0x42, {0x00, 0x07, 0x04});
        m_controller->TraceTelegram(12, 1, 1, 0, 0, true, true, true, "RQD3", 1, 0x79, {});
        m_controller->TraceTelegram(12, 0, 2, 0, 0, false, false, false, "", 0, 0, {});
        m_controller->TraceTelegram(12, 3, 1, 0, 0, true, false, false, "RQS", 1, 0x4A, {});
        QCOMPARE(spy.count(), 3);
        QCOMPARE(spy.at(0), QVariantList({true, QStringLiteral("Long"), 0, 7, false, true, false, QStringLiteral("D"),
                                          5, 0x42, QStringLiteral("00 07 04")}));
        QCOMPARE(spy.at(1), QVariantList({false, QStringLiteral("Short"), 0, 0, true, true, true,
                                          QStringLiteral("RQD3"), 1, 0x79, QString()}));
        QCOMPARE(spy.at(2).at(1).toString(), QStringLiteral("Acknowledge"));
    }

    void osi7RecordsBecomeOsi7Trace()
    {
        QSignalSpy spy(m_controller.get(), &CTrafficLightController::TraceOSI7);
        m_controller->TraceOsi7(13, 1, 7, "Signal", "Command status request", 12, 1, {0x02, 0x01, 0x37});
        m_controller->TraceOsi7(13, 0, 9, "System", "Command repy from buffer", 3, 1, {0x0A});
        QCOMPARE(spy.count(), 2);
        QCOMPARE(spy.at(0), QVariantList({false, 7, QStringLiteral("Signal"), QStringLiteral("Command status request"),
                                          12, 1, QStringLiteral("02 01 37")}));
        QCOMPARE(spy.at(1), QVariantList({true, 9, QStringLiteral("System"), QStringLiteral("Command repy from buffer"),
                                          3, 1, QStringLiteral("0A")}));
    }

    void hooksBecomeSignals()
    {
        QSignalSpy link(m_controller.get(), &CTrafficLightController::ConnectionChanged);
        QSignalSpy actual(m_controller.get(), &CTrafficLightController::ActualValueChanged);
        QSignalSpy defect(m_controller.get(), &CTrafficLightController::DefectValueChanged);
        QSignalSpy luminosity(m_controller.get(), &CTrafficLightController::LuminosityChanged);
        QSignalSpy current(m_controller.get(), &CTrafficLightController::CurrentDraineChanged);
        QSignalSpy version(m_controller.get(), &CTrafficLightController::VersionChanged);
        QSignalSpy device(m_controller.get(), &CTrafficLightController::DeviceChanged);
        QSignalSpy uid(m_controller.get(), &CTrafficLightController::UIDChanged);

        m_controller->LinkChanged(true);
        m_controller->OnActualValue(109, true, false);
        m_controller->OnDefectValue(108, false);
        m_controller->OnLuminosity(true);
        m_controller->OnCurrentDrain(107, 100.0);
        m_controller->OnVersion(1, 2, 3, 4, 5, 6);
        const STRELO_PRODUCT *product = CStreloProductTable::FindByHardwareMajor(3);
        m_controller->OnDevice(product);
        m_controller->OnDevice(nullptr);
        m_controller->OnUID("0011AABB - 2233CCDD - 4455EEFF");

        QCOMPARE(link.count(), 1);
        QCOMPARE(link.at(0).at(0).toBool(), true);
        QCOMPARE(actual.at(0), QVariantList({109, true, false}));
        QCOMPARE(defect.at(0), QVariantList({108, false}));
        QCOMPARE(luminosity.at(0), QVariantList({true}));
        QCOMPARE(current.at(0), QVariantList({107, 100.0}));
        QCOMPARE(version.at(0), QVariantList({1, 2, 3, 4, 5, 6}));
        QCOMPARE(device.count(), 2);
        QCOMPARE(device.at(0).at(0).value<const STRELO_PRODUCT *>(), product);
        QCOMPARE(device.at(1).at(0).value<const STRELO_PRODUCT *>(), nullptr);
        QCOMPARE(uid.at(0).at(0).toString(), QStringLiteral("0011AABB - 2233CCDD - 4455EEFF"));
    }

    // Reports from the reader and timer threads reach the widgets on the GUI thread.
    void reportsFromOtherThreadsAreQueuedToTheGuiThread()
    {
        QObject receiver;
        const STRELO_PRODUCT *received = nullptr;
        bool onGuiThread = false;
        connect(m_controller.get(), &CTrafficLightController::DeviceChanged, &receiver,
                [&](const STRELO_PRODUCT *product) {
                    received = product;
                    onGuiThread = QThread::currentThread() == qApp->thread();
                });
        const STRELO_PRODUCT *product = CStreloProductTable::FindByHardwareMajor(2);
        std::thread reader([&] {
            m_controller->OnActualValue(107, true, false);
            m_controller->OnDevice(product);
        });
        reader.join();
        QTRY_VERIFY(LampIcons::Shows(Button("pbRED"), "red-on"));
        QTRY_COMPARE(received, product);
        QVERIFY(onGuiThread);
    }

    void actualValuesLightTheirButton_data()
    {
        QTest::addColumn<int>("image");
        QTest::addColumn<QStringList>("looks");
        QTest::newRow("red") << 107 << QStringList({"red-on", "yel-red-off", "yel-off", "grn-off"});
        QTest::newRow("yellow") << 108 << QStringList({"red-off", "yel-red-off", "yel-on", "grn-off"});
        QTest::newRow("green") << 109 << QStringList({"red-off", "yel-red-off", "yel-off", "grn-on"});
        QTest::newRow("red-yellow") << 110 << QStringList({"red-off", "yel-red-on", "yel-off", "grn-off"});
        QTest::newRow("yellow flasher") << 61 << QStringList({"red-off", "yel-red-off", "yel-on", "grn-off"});
    }

    void actualValuesLightTheirButton()
    {
        QFETCH(int, image);
        QFETCH(QStringList, looks);
        m_controller->SetActualValue(110, true, false); // something else lit before
        m_controller->SetActualValue(image, true, false);
        QCOMPARE(LampLooks(), looks);
        m_controller->SetActualValue(image, false, false);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-off", "yel-off", "grn-off"}));
    }

    void anImageOutsideTheLampsTurnsEveryButtonOff()
    {
        m_controller->SetActualValue(107, true, false);
        m_controller->SetActualValue(200, true, false);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-off", "yel-off", "grn-off"}));
    }

    void theYellowFlasherFlashesShortly()
    {
        m_controller->SetActualValue(61, true, true);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-on"));
        const QList<Phase> phases = WatchYellow(Button("pbYEL"), 2800);
        int lit = 0;
        int dark = 0;
        for (int i = 1; i < phases.size(); ++i) { // the first phase began before the watch
            const Phase &phase = phases.at(i);
            if (phase.look == QLatin1String("yel-on")) {
                ++lit;
                QVERIFY2(phase.ms >= 150 && phase.ms <= 500, qPrintable(QString::number(phase.ms)));
            } else {
                QCOMPARE(phase.look, QStringLiteral("yel-off"));
                ++dark;
                QVERIFY2(phase.ms >= 650 && phase.ms <= 1300, qPrintable(QString::number(phase.ms)));
            }
        }
        QVERIFY(lit >= 1 && dark >= 1);
        QVERIFY(phases.value(0).ms >= 150 && phases.value(0).ms <= 500);
    }

    void yellowBlinksEvenly()
    {
        m_controller->SetActualValue(108, true, true);
        const QList<Phase> phases = WatchYellow(Button("pbYEL"), 3000);
        QVERIFY(phases.size() >= 3);
        for (const Phase &phase : phases) {
            QVERIFY(phase.look == QLatin1String("yel-on") || phase.look == QLatin1String("yel-off"));
            QVERIFY2(phase.ms >= 650 && phase.ms <= 1300, qPrintable(QString::number(phase.ms)));
        }
        QCOMPARE(phases.at(0).look, QStringLiteral("yel-on"));
    }

    void aBlinkingReportThatIsOffStartsDark()
    {
        m_controller->SetActualValue(108, false, true);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-off"));
        QTRY_COMPARE_WITH_TIMEOUT(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-on"), 2000);
    }

    void aDefectiveYellowIgnoresYellowButNotTheFlasher()
    {
        m_controller->SetDefectValue(108, false);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-defective"));
        m_controller->SetActualValue(108, true, false);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-off", "yel-defective", "grn-off"}));
        m_controller->SetActualValue(61, true, false);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-off", "yel-on", "grn-off"}));
    }

    void withoutIgnoringADefectiveImageStillShowsItsValue()
    {
        SetSetting(LichtwartSettings::BehaviorIgnoreActVal, false);
        m_controller->SetDefectValue(107, false);
        m_controller->SetActualValue(107, true, false);
        QCOMPARE(LampLooks(), QStringList({"red-on", "yel-red-off", "yel-off", "grn-off"}));
    }

    void defectsOfTheSteadyLamps()
    {
        m_controller->SetDefectValue(107, false);
        QCOMPARE(LampIcons::Name(Button("pbRED")), QStringLiteral("red-defective"));
        m_controller->SetDefectValue(107, true); // dark lamp
        QCOMPARE(LampIcons::Name(Button("pbRED")), QStringLiteral("red-off"));

        m_controller->SetActualValue(109, true, false);
        m_controller->SetDefectValue(109, false);
        QCOMPARE(LampIcons::Name(Button("pbGRN")), QStringLiteral("grn-defective"));
        m_controller->SetDefectValue(109, true); // lit with this image
        QCOMPARE(LampIcons::Name(Button("pbGRN")), QStringLiteral("grn-on"));

        m_controller->SetDefectValue(110, false);
        m_controller->SetDefectValue(110, true); // lit with another image: left as it is
        QCOMPARE(LampIcons::Name(Button("pbYELRED")), QStringLiteral("yel-red-defective"));

        m_controller->SetDefectValue(5, false);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-defective", "yel-off", "grn-on"}));
    }

    void aYellowDefectClearedWhileFlashingRestartsTheSlowPhase()
    {
        m_controller->SetActualValue(61, true, true);
        m_controller->SetDefectValue(61, false);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-defective"));
        QElapsedTimer clock;
        clock.start();
        m_controller->SetDefectValue(61, true);
        // The flasher image itself is not drawn lit; the blink restarts lit with 800 ms.
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-defective"));
        QTRY_COMPARE_WITH_TIMEOUT(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-off"), 2000);
        QVERIFY2(clock.elapsed() >= 650, qPrintable(QString::number(clock.elapsed())));
    }

    void aYellowDefectClearedWhileSteadyShowsTheLamp()
    {
        m_controller->SetActualValue(108, true, false);
        m_controller->SetDefectValue(108, false);
        m_controller->SetDefectValue(108, true);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-on"));
        m_controller->SetActualValue(108, false, false);
        m_controller->SetDefectValue(108, true);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-off"));
    }

    void luminosityMovesTheSwitchAndTheBulb()
    {
        QSlider *slider = Widget<QSlider>("hsIntensity");
        QLabel *bulb = Widget<QLabel>("lblIntensityActValue");
        m_controller->SetGUIIntensity(true);
        QCOMPARE(slider->value(), 1);
        QVERIFY(LampIcons::LabelShows(bulb, "bulb"));
        m_controller->SetGUIIntensity(false);
        QCOMPARE(slider->value(), 0);
        QVERIFY(LampIcons::LabelShows(bulb, "bulb-off"));
        QVERIFY(!slider->signalsBlocked());
    }

    void currentsGoToTheirMeters()
    {
        m_controller->SetGUICurrentDrain(107, 100.0);
        m_controller->SetGUICurrentDrain(108, 23.5);
        m_controller->SetGUICurrentDrain(109, 7.0);
        m_controller->SetGUICurrentDrain(110, 99.0);
        QCOMPARE(Widget<QLCDNumber>("lcdRED")->value(), 100.0);
        QCOMPARE(Widget<QLCDNumber>("lcdYEL")->value(), 23.5);
        QCOMPARE(Widget<QLCDNumber>("lcdGRN")->value(), 7.0);
    }

    void linkDownDarkensTheButtonsAndStopsBlinking()
    {
        m_controller->SetActualValue(108, true, true);
        m_controller->OnLinkChange(false);
        QCOMPARE(LampLooks(), QStringList({"red-off", "yel-red-off", "yel-off", "grn-off"}));
        QTest::qWait(1200);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-off"));
        // Lamp state 0 again: a defect cleared now draws the lamp dark, not lit.
        m_controller->SetDefectValue(108, false);
        m_controller->SetDefectValue(108, true);
        QCOMPARE(LampIcons::Name(Button("pbYEL")), QStringLiteral("yel-off"));
    }

    void connectTranslatesTheRateIntoTheBaudIndex_data()
    {
        QTest::addColumn<int>("rate");
        QTest::addColumn<int>("speed");
        QTest::newRow("110") << 110 << int(B110);
        QTest::newRow("300") << 300 << int(B300);
        QTest::newRow("600") << 600 << int(B600);
        QTest::newRow("1200") << 1200 << int(B1200);
        QTest::newRow("2400") << 2400 << int(B2400);
        QTest::newRow("4800") << 4800 << int(B4800);
        QTest::newRow("9600") << 9600 << int(B9600);
        QTest::newRow("19200") << 19200 << int(B19200);
        QTest::newRow("38400") << 38400 << int(B38400);
        QTest::newRow("57600") << 57600 << int(B57600);
        QTest::newRow("115200") << 115200 << int(B115200);
        QTest::newRow("other rates") << 14400 << int(B115200);
        QTest::newRow("non-numeric setting") << 0 << int(B115200);
    }

    void connectTranslatesTheRateIntoTheBaudIndex()
    {
        QFETCH(int, rate);
        QFETCH(int, speed);
        PtyPair pty;
        QVERIFY(m_controller->ConnectPort(pty.SlavePath(), rate));
        termios tio {};
        QCOMPARE(tcgetattr(pty.MasterFd(), &tio), 0);
        QCOMPARE(int(cfgetospeed(&tio)), speed);
        m_controller->Close();
    }

    void connectFailsOnAMissingPort()
    {
        QVERIFY(!m_controller->ConnectPort(QStringLiteral("/nonexistent/tty"), 9600));
        QVERIFY(!m_controller->IsOpen());
    }

    void linkUpAssignsTheAddressThenAsksTheFiveStartUpJobs()
    {
        // The assignment takes the OSI 7 address from the settings at link-up.
        SetSetting(LichtwartSettings::AddressOsi7, 3);
        LinkedController link;
        QVERIFY(link.Up(5, 3));
        QVERIFY(link.WaitForType(0, 0x87) >= 0);
        const QList<PeerFrame> frames = link.Osi7Frames();
        QVERIFY(frames.size() >= 6);
        const PeerFrame &assignment = frames.at(0);
        QCOMPARE(assignment.address, std::uint8_t(5));
        QCOMPARE(assignment.userData.mid(6), QByteArray::fromHex("0605210101" "0403"));
        QCOMPARE(Octet(assignment, kFunctionGroup), 0xFE);
        QCOMPARE(Octet(assignment, kApplicationId), 0x03);
        const QList<int> types = {0x37, 0x31, 0x02, 0x85, 0x87};
        const QList<int> endPoints = {3, 3, 3, 0xFF, 0xFF};
        for (int i = 0; i < types.size(); ++i) {
            QCOMPARE(Octet(frames.at(i + 1), kType), types.at(i));
            QCOMPARE(Octet(frames.at(i + 1), kEndPoint), endPoints.at(i));
        }
    }

    void withoutAssignmentLinkUpSendsOnlyTheFiveJobs()
    {
        SetSetting(LichtwartSettings::AddressAssign, false);
        LinkedController link;
        QVERIFY(link.Up(1, 1));
        QVERIFY(link.WaitForType(0, 0x87) >= 0);
        QTest::qWait(600); // nothing else follows
        QList<int> types;
        for (const PeerFrame &frame : link.Osi7Frames())
            types << Octet(frame, kType);
        QCOMPARE(types, QList<int>({0x37, 0x31, 0x02, 0x85, 0x87}));
    }

    void setIntensitySendsFullOnlyForOne_data()
    {
        QTest::addColumn<int>("intensity");
        QTest::addColumn<int>("value");
        QTest::newRow("1 is full") << 1 << 0x64;
        QTest::newRow("0 is dimmed") << 0 << 0x0A;
        QTest::newRow("2 is dimmed") << 2 << 0x0A;
        QTest::newRow("-1 is dimmed") << -1 << 0x0A;
    }

    void setIntensitySendsFullOnlyForOne()
    {
        QFETCH(int, intensity);
        QFETCH(int, value);
        SetSetting(LichtwartSettings::AddressAssign, false);
        LinkedController link;
        QVERIFY(link.Up(1, 2));
        const int settled = link.Settle();
        QVERIFY(settled >= 0);
        link.controller.SetIntensity(intensity);
        const int command = link.WaitForType(settled, 0x31);
        QVERIFY(command >= 0);
        const PeerFrame frame = link.peer.Frames().at(command);
        QCOMPARE(frame.userData.mid(2, 2), QByteArray::fromHex("0405"));
        QCOMPARE(frame.userData.mid(6), QByteArray::fromHex("040231") + char(value) + char(0));
    }

    void theSliderSendsButALuminosityReportDoesNotEcho()
    {
        SetSetting(LichtwartSettings::AddressAssign, false);
        LinkedController link;
        QVERIFY(link.Up(1, 1));
        const int settled = link.Settle();
        QVERIFY(settled >= 0);
        QSlider *slider = link.controller.RemoteControl()->findChild<QSlider *>(QStringLiteral("hsIntensity"));
        QTRY_VERIFY(slider->isEnabled());
        slider->setValue(1);
        const int command = link.WaitForType(settled, 0x31);
        QVERIFY(command >= 0);
        QCOMPARE(Octet(link.peer.Frames().at(command), kFirstParameter), 0x64);
        QTest::qWait(400);

        const int reported = link.peer.FrameCount();
        link.controller.SetGUIIntensity(false);
        QCOMPARE(slider->value(), 0);
        QCOMPARE(link.WaitForType(reported, 0x31, 1000), -1);
    }

    void theButtonsSendTheirSetpoints()
    {
        SetSetting(LichtwartSettings::AddressAssign, false);
        SetSetting(LichtwartSettings::FlasherCyclePeriod, 400);
        LinkedController link;
        QVERIFY(link.Up(1, 4));
        int settled = link.Settle();
        QVERIFY(settled >= 0);
        StreloVisualDialog *dialog = link.controller.RemoteControl();
        link.controller.ShowRemoteControl();
        QTRY_VERIFY(dialog->findChild<QPushButton *>(QStringLiteral("pbRED"))->isEnabled());

        const struct
        {
            const char *button;
            Qt::KeyboardModifiers modifiers;
            int image;
            int value;
        } presses[] = {
            {"pbRED", Qt::NoModifier, 107, 1},         {"pbGRN", Qt::NoModifier, 109, 1},
            {"pbYEL", Qt::NoModifier, 108, 0x22},      {"pbYEL", Qt::ShiftModifier, 108, 1},
            {"pbYEL", Qt::ControlModifier, 61, 0x22}, {"pbYELRED", Qt::NoModifier, 110, 1},
            {"pbOFF", Qt::NoModifier, 107, 0},
        };
        for (const auto &press : presses) {
            QTest::mouseClick(dialog->findChild<QPushButton *>(QLatin1String(press.button)), Qt::LeftButton,
                              press.modifiers);
            const int command = link.WaitFor(settled, [&](const PeerFrame &f) {
                return Octet(f, kType) == 0x37 && Octet(f, 10) == press.image && Octet(f, 11) == press.value;
            });
            QVERIFY2(command >= 0, press.button);
            QCOMPARE(link.peer.Frames().at(command).userData.mid(6, 4), QByteArray::fromHex("05043701"));
            // Nothing else was sent: no other setpoint since the press.
            for (int i = settled; i < command; ++i)
                QVERIFY(Octet(link.peer.Frames().at(i), kType) != 0x37);
            QTest::qWait(400);
            settled = link.peer.FrameCount();
        }
    }

    void refreshAndFirmwareSwitchSendTheirCommands()
    {
        SetSetting(LichtwartSettings::AddressAssign, false);
        LinkedController link;
        QVERIFY(link.Up(1, 6));
        int last = link.Settle();
        QVERIFY(last >= 0);
        link.controller.RefreshCurrentMeters();
        last = link.WaitForType(last, 0x82);
        QVERIFY(last >= 0);
        QCOMPARE(link.peer.Frames().at(last).userData.mid(2, 2), QByteArray::fromHex("0412"));
        QCOMPARE(link.peer.Frames().at(last).userData.mid(5), QByteArray::fromHex("01020682"));

        QTest::qWait(400);
        link.controller.SwitchToFirmwareUploadMode(0, 3, 31);
        last = link.WaitForType(link.peer.FrameCount(), 0xFE);
        QVERIFY(last >= 0);
        const PeerFrame frame = link.peer.Frames().at(last);
        QCOMPARE(frame.userData.mid(2, 2), QByteArray::fromHex("FE05"));
        QCOMPARE(frame.userData.mid(6), QByteArray::fromHex("0506FE00031F"));
    }

    void repliesFromTheHeadReachTheDialog()
    {
        SetSetting(LichtwartSettings::AddressAssign, false);
        LinkedController link;
        QVERIFY(link.Up(1, 2));
        // Green lit; luminosity 100 (full); currents 1000, 5 and 256 tenths of a milliampere.
        link.peer.QueueLongAnswer(QByteArray::fromHex("000a048200010502370" "1" "6d01"));
        link.peer.QueueLongAnswer(QByteArray::fromHex("0008048200010302" "3164"));
        link.peer.QueueLongAnswer(QByteArray::fromHex("000d04820001080282" "e803" "0500" "0001"));
        StreloVisualDialog *dialog = link.controller.RemoteControl();
        QTRY_VERIFY(LampIcons::Shows(dialog->findChild<QPushButton *>(QStringLiteral("pbGRN")), "grn-on"));
        QTRY_COMPARE(dialog->findChild<QSlider *>(QStringLiteral("hsIntensity"))->value(), 1);
        QTRY_COMPARE(dialog->findChild<QLCDNumber *>(QStringLiteral("lcdRED"))->value(), 100.0);
        QCOMPARE(dialog->findChild<QLCDNumber *>(QStringLiteral("lcdYEL"))->value(), 0.5);
        QCOMPARE(dialog->findChild<QLCDNumber *>(QStringLiteral("lcdGRN"))->value(), 25.6);
    }
};

QTEST_MAIN(TestCTrafficLightController)
#include "tst_ctrafficlightcontroller.moc"
