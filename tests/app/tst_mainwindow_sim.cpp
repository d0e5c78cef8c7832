#include "app/MainWindow.h"

#include "LampIcons.h"
#include "SettingsSandbox.h"
#include "SimProcess.h"
#include "controller/CTrafficLightController.h"
#include "settings/LichtwartSettings.h"
#include "trace/ui/TraceTableExport.h"

#include <QAction>
#include <QLCDNumber>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QSlider>
#include <QStatusBar>
#include <QTableView>
#include <QTemporaryDir>
#include <QtTest>

#include <memory>

namespace {

constexpr int kLinkMs = 10000;
constexpr const char *kUid = "0011AABB2233CCDD4455EEFF";

bool SamePicture(const QPixmap &shown, const QString &resource)
{
    return !shown.isNull() && LampIcons::Pixels(shown) == LampIcons::Pixels(QPixmap(resource));
}

} // namespace

// The whole program against the simulated head: the window connects through the real
// controller and port, and the head's answers come back into the status bar, the trace and the
// remote control.
class TestMainWindowSim : public QObject
{
    Q_OBJECT

private:
    SettingsSandbox m_sandbox;
    std::unique_ptr<SimProcess> m_sim;
    std::unique_ptr<MainWindow> m_window;

    QAction *Action(const char *name) const { return m_window->findChild<QAction *>(QLatin1String(name)); }
    QTableView *Trace() const { return m_window->findChild<QTableView *>(QStringLiteral("listTrace")); }
    QList<QLabel *> StatusLabels() const
    {
        QList<QLabel *> labels = m_window->statusBar()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
        std::sort(labels.begin(), labels.end(), [](QLabel *a, QLabel *b) { return a->x() < b->x(); });
        return labels;
    }
    QString UidText() const { return StatusLabels().value(0)->text(); }
    QString VersionText() const { return StatusLabels().value(1)->text(); }
    QPixmap ConnectionPixmap() const { return StatusLabels().value(2)->pixmap(); }
    StreloVisualDialog *RemoteControl() const { return m_window->Controller()->RemoteControl(); }
    template <typename T>
    T *Control(const char *name) const
    {
        return RemoteControl()->findChild<T *>(QLatin1String(name));
    }
    QString Look(const char *button) const { return LampIcons::Name(Control<QPushButton>(button)); }
    QStringList Row(int row) const
    {
        QStringList cells;
        for (int column = 0; column < Trace()->model()->columnCount(); ++column)
            cells << Trace()->model()->index(row, column).data().toString();
        cells.removeAt(1); // the timestamp
        return cells;
    }
    // The first trace row (without timestamp) that `match` accepts, waiting for it.
    QStringList WaitForRow(const std::function<bool(const QStringList &)> &match)
    {
        QStringList found;
        const bool arrived = QTest::qWaitFor(
            [&] {
                for (int row = 0; row < Trace()->model()->rowCount(); ++row) {
                    const QStringList cells = Row(row);
                    if (match(cells)) {
                        found = cells;
                        return true;
                    }
                }
                return false;
            },
            kLinkMs);
        return arrived ? found : QStringList();
    }
    void Start(const QStringList &simOptions, int traceLevel = -1)
    {
        // The simulator starts before the window's threads exist (see SimProcess).
        m_sim = std::make_unique<SimProcess>();
        QVERIFY(m_sim->Start(simOptions));
        QSettings settings;
        settings.setValue(QLatin1String(LichtwartSettings::InterfaceDevice), m_sim->DevicePath());
        settings.setValue(QLatin1String(LichtwartSettings::TraceEnabled), traceLevel >= 0);
        settings.setValue(QLatin1String(LichtwartSettings::TraceLevel), qMax(traceLevel, 0));
        settings.setValue(QLatin1String(LichtwartSettings::TraceLines), 10000);
        m_window = std::make_unique<MainWindow>(false);
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
        Action("actionConnect")->trigger();
        QVERIFY(m_window->Controller()->IsOpen());
    }
    void WaitUntilIdentified()
    {
        QTRY_COMPARE_WITH_TIMEOUT(UidText().isEmpty(), false, kLinkMs);
        QTRY_COMPARE_WITH_TIMEOUT(VersionText().isEmpty(), false, kLinkMs);
    }

private slots:
    void init() { m_sandbox.Clear(); }
    void cleanup()
    {
        m_window.reset();
        m_sim.reset();
    }

    void connectShowsTheVersionsTheUidAndTheLink()
    {
        Start({"--hardware", "3.0.7", "--software", "2.11.4", "--uid", kUid});
        WaitUntilIdentified();
        QCOMPARE(VersionText(), QStringLiteral("SWV-2.11.4 / HWV-3.0.7 "));
        QCOMPARE(UidText(), QStringLiteral("UID: 0011AABB - 2233CCDD - 4455EEFF"));
        QVERIFY(SamePicture(ConnectionPixmap(), ":/16x16/connected"));
        QVERIFY(Action("actionFSync")->isEnabled());
        QVERIFY(Action("actionUpgradeFirmware")->isEnabled());
        QVERIFY(Action("actionDisconnect")->isEnabled());
        QVERIFY(!Action("actionConnect")->isEnabled());
    }

    void disconnectClearsWhatTheHeadReported()
    {
        Start({"--uid", kUid});
        WaitUntilIdentified();
        m_window->Controller()->ShowRemoteControl();
        QTRY_VERIFY(Control<QPushButton>("pbRED")->isEnabled());
        QTest::mouseClick(Control<QPushButton>("pbGRN"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(Look("pbGRN"), QStringLiteral("grn-on"), kLinkMs);

        Action("actionDisconnect")->trigger();
        QVERIFY(VersionText().isEmpty());
        QVERIFY(UidText().isEmpty());
        QVERIFY(SamePicture(ConnectionPixmap(), ":/16x16/disconnected"));
        QVERIFY(!Action("actionFSync")->isEnabled());
        QVERIFY(!Action("actionUpgradeFirmware")->isEnabled());
        QCOMPARE(Look("pbGRN"), QStringLiteral("grn-off"));
        QVERIFY(!Control<QPushButton>("pbGRN")->isEnabled());
        QVERIFY(!m_window->Controller()->IsOpen());
    }

    void theOsi7TraceShowsJobsAndReplies()
    {
        Start({}, 0);
        const QStringList job = WaitForRow([](const QStringList &cells) { return cells.value(6) == "02 01 37"; });
        QCOMPARE(job.mid(0, 3), QStringList({"TX", "7", "Signal"}));
        QCOMPARE(job.value(3), QStringLiteral("Command status request"));
        QCOMPARE(job.value(5), QStringLiteral("1"));
        const QStringList reply = WaitForRow([](const QStringList &cells) {
            return cells.value(0) == "RX" && cells.value(6).startsWith("08 FF 85");
        });
        QCOMPARE(reply.value(2), QStringLiteral("System"));
        QCOMPARE(Trace()->model()->columnCount(), 8);
    }

    void theOsi2TraceShowsTheLinkProcedure()
    {
        Start({}, 1);
        const QStringList request = WaitForRow([](const QStringList &cells) { return cells.value(9) == "RQS"; });
        QCOMPARE(request, QStringList({"TX", "Short", "0", "0", "1", "0", "0", "-", "-", "RQS", "1", "74", ""}));
        const QStringList status = WaitForRow([](const QStringList &cells) { return cells.value(9) == "S1"; });
        QCOMPARE(status, QStringList({"RX", "Short", "0", "0", "0", "-", "-", "0", "0", "S1", "1", "12", ""}));
        const QStringList ack = WaitForRow([](const QStringList &cells) { return cells.value(1) == "Acknowledge"; });
        QCOMPARE(ack.value(0), QStringLiteral("RX"));
        const QStringList userData = WaitForRow([](const QStringList &cells) {
            return cells.value(0) == "TX" && cells.value(1) == "Long" && cells.value(12).endsWith("02 01 37");
        });
        QCOMPARE(userData.mid(2, 2), QStringList({"0", "7"}));
        QCOMPARE(userData.value(9), QStringLiteral("D"));
    }

    // Saving copies the table on this thread and writes the copy; the link goes on polling, and the
    // rows that arrive meanwhile are appended after the save: none is lost.
    void aSaveWhileTheLinkPollsLosesNoRow()
    {
        Start({}, 1);
        WaitUntilIdentified();
        int traced = 0;
        connect(m_window->Controller(), &CTrafficLightController::TraceOSI2, this, [&traced] { ++traced; },
                Qt::QueuedConnection);
        const int before = Trace()->model()->rowCount();
        auto *exporter = m_window->findChild<TraceTableExport *>();
        QVERIFY(exporter != nullptr);
        QTemporaryDir dir;
        int lastSaved = 0;
        for (int save = 0; save < 5; ++save) {
            const QString path = dir.filePath(QStringLiteral("trace-%1.csv").arg(save));
            const int shown = Trace()->model()->rowCount();
            QVERIFY(exporter->Save(path, CTraceExport::Format::Csv));
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadOnly));
            const int saved = int(file.readAll().count("\r\n")) - 1;
            QCOMPARE(saved, shown);
            QVERIFY(saved > lastSaved || save == 0);
            lastSaved = saved;
            QTRY_VERIFY_WITH_TIMEOUT(Trace()->model()->rowCount() > shown, kLinkMs); // the link polls on
        }
        QTRY_COMPARE_WITH_TIMEOUT(Trace()->model()->rowCount(), before + traced, kLinkMs);
        QVERIFY(traced >= 5);
    }

    void theRawTraceShowsTheBytes()
    {
        Start({}, 2);
        QCOMPARE(WaitForRow([](const QStringList &cells) { return cells.value(1) == "10 49 01 4A 16"; }).value(0),
                 QStringLiteral("TX"));
        QCOMPARE(WaitForRow([](const QStringList &cells) { return cells.value(1) == "10 0B 01 0C 16"; }).value(0),
                 QStringLiteral("RX"));
        QCOMPARE(WaitForRow([](const QStringList &cells) { return cells.value(1) == "E5"; }).value(0),
                 QStringLiteral("RX"));
        QCOMPARE(Trace()->model()->columnCount(), 3);
    }

    void everyLampCommandComesBackOnTheButtons()
    {
        Start({});
        WaitUntilIdentified();
        m_window->Controller()->ShowRemoteControl();
        QTRY_VERIFY(Control<QPushButton>("pbRED")->isEnabled());
        const struct
        {
            const char *button;
            Qt::KeyboardModifiers modifiers;
            QStringList looks; // red, red-yellow, yellow, green
        } presses[] = {
            {"pbRED", Qt::NoModifier, {"red-on", "yel-red-off", "yel-off", "grn-off"}},
            {"pbYELRED", Qt::NoModifier, {"red-off", "yel-red-on", "yel-off", "grn-off"}},
            {"pbGRN", Qt::NoModifier, {"red-off", "yel-red-off", "yel-off", "grn-on"}},
            {"pbYEL", Qt::ShiftModifier, {"red-off", "yel-red-off", "yel-on", "grn-off"}},
            {"pbOFF", Qt::NoModifier, {"red-off", "yel-red-off", "yel-off", "grn-off"}},
        };
        for (const auto &press : presses) {
            QTest::mouseClick(Control<QPushButton>(press.button), Qt::LeftButton, press.modifiers);
            QTRY_COMPARE_WITH_TIMEOUT(QStringList({Look("pbRED"), Look("pbYELRED"), Look("pbYEL"), Look("pbGRN")}),
                                      press.looks, kLinkMs);
        }
    }

    void flashingYellowBlinksOnTheButton_data()
    {
        QTest::addColumn<int>("modifiers");
        QTest::addColumn<int>("image");
        QTest::newRow("yellow") << int(Qt::NoModifier) << 108;
        QTest::newRow("yellow flasher") << int(Qt::ControlModifier) << 61;
    }

    void flashingYellowBlinksOnTheButton()
    {
        QFETCH(int, modifiers);
        QFETCH(int, image);
        Start({});
        WaitUntilIdentified();
        m_window->Controller()->ShowRemoteControl();
        QTRY_VERIFY(Control<QPushButton>("pbYEL")->isEnabled());
        const int from = m_sim->LineCount();
        QTest::mouseClick(Control<QPushButton>("pbYEL"), Qt::LeftButton, Qt::KeyboardModifiers(modifiers));
        QVERIFY(m_sim->WaitForLine(QRegularExpression(QStringLiteral("app setpoint IMAGE=%1 VALUE=52$").arg(image)),
                                   from, kLinkMs) >= 0);
        QTRY_COMPARE_WITH_TIMEOUT(Look("pbYEL"), QStringLiteral("yel-on"), kLinkMs);
        QTRY_COMPARE_WITH_TIMEOUT(Look("pbYEL"), QStringLiteral("yel-off"), 3000);
        QTRY_COMPARE_WITH_TIMEOUT(Look("pbYEL"), QStringLiteral("yel-on"), 3000);
    }

    void intensityAndCurrentsComeBack()
    {
        Start({});
        WaitUntilIdentified();
        m_window->Controller()->ShowRemoteControl();
        QTRY_COMPARE_WITH_TIMEOUT(Control<QSlider>("hsIntensity")->value(), 1, kLinkMs); // the head starts at full
        QVERIFY(LampIcons::LabelShows(Control<QLabel>("lblIntensityActValue"), "bulb"));
        QTest::mouseClick(Control<QPushButton>("pbRED"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(Look("pbRED"), QStringLiteral("red-on"), kLinkMs);

        QTest::mouseClick(Control<QPushButton>("pbRefresh"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(Control<QLCDNumber>("lcdRED")->value(), 124.0, kLinkMs);
        QCOMPARE(Control<QLCDNumber>("lcdYEL")->value(), 0.2);
        QCOMPARE(Control<QLCDNumber>("lcdGRN")->value(), 0.2);

        const int from = m_sim->LineCount();
        Control<QSlider>("hsIntensity")->setValue(0);
        QVERIFY(m_sim->WaitForLine(QRegularExpression(QStringLiteral("DATA=00090405[0-9A-F]{2}010401310A00")), from,
                                   kLinkMs) >= 0);
        QTest::qWait(600);
        QTest::mouseClick(Control<QPushButton>("pbRefresh"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(Control<QLCDNumber>("lcdRED")->value(), 12.4, kLinkMs);
    }

    void aDefectiveLampShowsBroken()
    {
        Start({"--defect", "green"});
        WaitUntilIdentified();
        QTRY_COMPARE_WITH_TIMEOUT(Look("pbGRN"), QStringLiteral("grn-defective"), kLinkMs);
        QCOMPARE(Look("pbRED"), QStringLiteral("red-off"));
    }
};

QTEST_MAIN(TestMainWindowSim)
#include "tst_mainwindow_sim.moc"
