// The head vanishes while the main window's link is up: the simulator is killed or ends, and its
// terminal goes with it, as a USB adapter that is pulled. The window shows the link down and
// forgets the head's identity, the port's reader ends instead of spinning, and once a head is back
// under the same name, Disconnect and Connect bring the link up again.
#include "ProcessUsage.h"
#include "SettingsSandbox.h"
#include "SimChild.h"

#include "app/MainWindow.h"
#include "controller/CTrafficLightController.h"
#include "settings/LichtwartSettings.h"

#include <QAction>
#include <QLabel>
#include <QSettings>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int kIdentifiedMs = 15000;
// Five unanswered requests 100 ms apart end the link; the rest is margin for a loaded machine.
constexpr int kLinkDownMs = 5000;
constexpr int kCpuWindowMs = 3000;
constexpr double kIdleCpuPercent = 20.0;

bool Shows(const QLabel *label, const char *resource)
{
    return label->pixmap().toImage() == QPixmap(QLatin1String(resource)).toImage();
}

} // namespace

class TestUnplugWindow : public QObject
{
    Q_OBJECT

private slots:
    void lostLinkIsShownAndConnectWorksAgain_data();
    void lostLinkIsShownAndConnectWorksAgain();

private:
    QAction *Action(const char *name) const { return m_window->findChild<QAction *>(QLatin1String(name)); }
    // The permanent widgets of the status bar, left to right: UID, versions, connection.
    QList<QLabel *> StatusLabels() const;
    bool Identified() const;

    SettingsSandbox m_sandbox;
    std::unique_ptr<MainWindow> m_window;
};

QList<QLabel *> TestUnplugWindow::StatusLabels() const
{
    QList<QLabel *> labels = m_window->statusBar()->findChildren<QLabel *>(QString(), Qt::FindDirectChildrenOnly);
    std::sort(labels.begin(), labels.end(), [](QLabel *a, QLabel *b) { return a->x() < b->x(); });
    return labels;
}

bool TestUnplugWindow::Identified() const
{
    const QList<QLabel *> labels = StatusLabels();
    return labels.size() == 3 && !labels[0]->text().isEmpty() && !labels[1]->text().isEmpty()
        && Shows(labels[2], ":/16x16/connected");
}

void TestUnplugWindow::lostLinkIsShownAndConnectWorksAgain_data()
{
    QTest::addColumn<bool>("killed");
    QTest::newRow("simulator killed") << true;
    QTest::newRow("simulator ended, terminal closed") << false;
}

void TestUnplugWindow::lostLinkIsShownAndConnectWorksAgain()
{
    QFETCH(bool, killed);
    m_sandbox.Clear();
    QTemporaryDir dir;
    const QString link = dir.filePath("head");
    // The simulator starts before the window's threads exist.
    auto sim = std::make_unique<SimChild>();
    QVERIFY(sim->Start({"--link", link}));
    QSettings().setValue(QLatin1String(LichtwartSettings::InterfaceDevice), link);
    m_window = std::make_unique<MainWindow>(false);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    Action("actionConnect")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(Identified(), kIdentifiedMs);

    if (killed)
        sim->Kill();
    else
        sim->Stop();
    const QList<QLabel *> labels = StatusLabels();
    QTRY_VERIFY_WITH_TIMEOUT(Shows(labels[2], ":/16x16/disconnected"), kLinkDownMs);
    QCOMPARE(labels[0]->text(), QString());
    QCOMPARE(labels[1]->text(), QString());
    QVERIFY(!Action("actionFSync")->isEnabled());
    QVERIFY(!Action("actionUpgradeFirmware")->isEnabled());
    // The reader saw the hang-up and ended; the link procedure goes on calling a silent station.
    QTRY_VERIFY_WITH_TIMEOUT(!m_window->Controller()->IsReading(), kLinkDownMs);
    const ProcessUsage::Sample before = ProcessUsage::Take();
    QTest::qWait(kCpuWindowMs);
    const double cpu = ProcessUsage::CpuPercent(before, ProcessUsage::Take());
    qInfo("window after the head vanished: %.1f %% CPU", cpu);
    QVERIFY2(cpu < kIdleCpuPercent, "nothing spins on the vanished port");
    QVERIFY(!Identified());

    // A head is back under the same name; Disconnect and Connect reach it.
    sim = std::make_unique<SimChild>();
    QVERIFY(sim->Start({"--link", link}));
    Action("actionDisconnect")->trigger();
    QVERIFY(Action("actionConnect")->isEnabled());
    Action("actionConnect")->trigger();
    QTRY_VERIFY_WITH_TIMEOUT(Identified(), kIdentifiedMs);
    QVERIFY(Action("actionFSync")->isEnabled());
    m_window.reset();
}

QTEST_MAIN(TestUnplugWindow)
#include "tst_unplug_window.moc"
