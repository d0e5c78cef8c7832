// The master polls strelo-sim for a long time while the head drops and spoils 2 % of the bytes
// it sends (1 % each), and a lamp command is issued every second. The link must keep coming back,
// commands must get through, and the master's memory must stay flat. The figures are printed at the
// end. SOAK_SECONDS is the length of the run: 600 for the soak label, 60 in the default suite.
#include "CountingSim.h"
#include "ProcessUsage.h"
#include "MainWindowStandIn.h"

#include "controller/CTrafficLightController.h"

#include <QElapsedTimer>
#include <QTest>
#include <QTimer>

#include <deque>
#include <memory>

namespace {

constexpr int kRunMs = SOAK_SECONDS * 1000;
// Memory and CPU are compared between a window after the start-up and the last window of the run.
constexpr int kWarmUpMs = kRunMs / 10;
constexpr int kWindowMs = kRunMs / 10;
constexpr int kCommandEveryMs = 1000;
constexpr int kLinkUpWaitMs = 15000;
constexpr int kBaudRate = 115200;
// The link procedure repeats a request five times 100 ms apart and then waits 250 ms; with 2 % of
// the bytes spoiled a loss is rare and the link is back within a few cycles.
constexpr qint64 kLongestOutageMs = 10000;
constexpr double kMaxCpuPercent = 50.0;
constexpr qint64 kMaxGrowthKiB = 4096;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// A sanitizer keeps freed memory in quarantine and shadow memory grows with it; the resident size
// says nothing about our allocations there.
constexpr bool kMemoryIsMeasurable = false;
#else
constexpr bool kMemoryIsMeasurable = true;
#endif

struct Command
{
    int image;
    int value;
};

// Red, green, yellow steady, red-yellow, off: each differs from the one before, so the actual
// value that confirms a command cannot be the report of the previous one.
constexpr Command kCommands[] = {{107, 1}, {109, 1}, {108, 1}, {110, 1}, {107, 0}};

} // namespace

class TestSoak : public QObject
{
    Q_OBJECT

private slots:
    void pollingWithFaultsWhileCommanding();

private:
    void IssueCommand();
    void OnActualValue(int image, bool on, bool blink);
    void OnConnectionChanged(bool up);

    std::unique_ptr<CTrafficLightController> m_controller;
    QElapsedTimer m_clock;
    int m_next = 0;
    int m_issued = 0;
    int m_refused = 0;
    int m_confirmed = 0;
    // Issued and not yet reported back, oldest first. The head answers a poll with one reply, so
    // after a link-up (five start-up replies) its reports lag behind the commands for a while.
    std::deque<const Command *> m_outstanding;
    bool m_up = false;
    bool m_everUp = false;
    int m_losses = 0;
    int m_recoveries = 0;
    qint64 m_downSinceMs = -1;
    qint64 m_longestOutageMs = 0;
};

void TestSoak::IssueCommand()
{
    const Command &command = kCommands[m_next++ % std::size(kCommands)];
    // Refused while the link is down or the previous command still waits for its turn.
    if (!m_controller->SetSetpoint(command.image, command.value)) {
        ++m_refused;
        return;
    }
    ++m_issued;
    m_outstanding.push_back(&command);
}

void TestSoak::OnActualValue(int image, bool on, bool blink)
{
    // The head reports its state after every setpoint, in order; a report that matches an
    // outstanding command confirms it, and older ones whose reports never came stay unconfirmed.
    for (auto it = m_outstanding.begin(); it != m_outstanding.end(); ++it) {
        if ((*it)->image == image && ((*it)->value != 0) == on) {
            ++m_confirmed;
            m_outstanding.erase(m_outstanding.begin(), it + 1);
            return;
        }
    }
}

void TestSoak::OnConnectionChanged(bool up)
{
    // The controller reports every failed cycle of a silent station; only changes count here.
    if (up == m_up)
        return;
    m_up = up;
    if (!up) {
        ++m_losses;
        m_downSinceMs = m_clock.elapsed();
        return;
    }
    if (m_everUp) {
        ++m_recoveries;
        m_longestOutageMs = std::max(m_longestOutageMs, m_clock.elapsed() - m_downSinceMs);
    }
    m_everUp = true;
}

void TestSoak::pollingWithFaultsWhileCommanding()
{
    CountingSim sim;
    QVERIFY(sim.Start({"--drop", "0.01", "--corrupt", "0.01", "--seed", "4711"}));
    MainWindowStandIn window;
    m_controller = std::make_unique<CTrafficLightController>(&window);
    connect(m_controller.get(), &CTrafficLightController::ActualValueChanged, this, &TestSoak::OnActualValue);
    connect(m_controller.get(), &CTrafficLightController::ConnectionChanged, this, &TestSoak::OnConnectionChanged);
    m_clock.start();
    QVERIFY(m_controller->ConnectPort(sim.DevicePath(), kBaudRate));
    m_controller->Connect(1, 1);
    QTRY_VERIFY_WITH_TIMEOUT(m_up, kLinkUpWaitMs);

    QTimer commands;
    connect(&commands, &QTimer::timeout, this, &TestSoak::IssueCommand);
    commands.start(kCommandEveryMs);
    // Reading the simulator's log as it comes keeps it out of the master's memory figures.
    QTimer drain;
    connect(&drain, &QTimer::timeout, this, [&sim] { sim.Take(); });
    drain.start(kCommandEveryMs);
    const qint64 startMs = m_clock.elapsed();
    QTest::qWait(kWarmUpMs);
    const ProcessUsage::Sample first = ProcessUsage::Take();
    QTest::qWait(kWindowMs);
    const ProcessUsage::Sample firstWindowEnd = ProcessUsage::Take();
    while (m_clock.elapsed() - startMs < kRunMs - kWindowMs)
        QTest::qWait(kCommandEveryMs);
    const ProcessUsage::Sample lastWindowStart = ProcessUsage::Take();
    QTest::qWait(kWindowMs);
    const ProcessUsage::Sample last = ProcessUsage::Take();
    commands.stop();
    // A link that is down at the end gets the usual time to come back, and the last command
    // the time to be reported.
    QTRY_VERIFY_WITH_TIMEOUT(m_up, kLinkUpWaitMs);
    QTest::qWait(2 * kCommandEveryMs);
    const CountingSim::Counts counts = sim.Take();
    const bool upAtTheEnd = m_up;
    // Our own Disconnect is not a loss.
    m_controller->disconnect(this);
    m_controller->Disconnect();
    m_controller->ShutDown();

    const double cpuStart = ProcessUsage::CpuPercent(first, firstWindowEnd);
    const double cpuEnd = ProcessUsage::CpuPercent(lastWindowStart, last);
    qInfo("soak: %d s, head answers %lld, spoiled %lld (bytes dropped %lld, corrupted %lld), sent clean by the "
          "guard %lld",
          SOAK_SECONDS, counts.answers, counts.spoiledAnswers, counts.droppedBytes, counts.corruptedBytes,
          counts.guardedAnswers);
    qInfo("soak: link losses %d, recoveries %d, longest outage %lld ms", m_losses, m_recoveries, m_longestOutageMs);
    qInfo("soak: commands issued %d, refused %d, confirmed %d, setpoints the head received %lld", m_issued,
          m_refused, m_confirmed, counts.setpoints);
    qInfo("soak: master RSS %lld KiB after %d s, %lld KiB at the end; CPU %.1f %% at the start, %.1f %% at the end",
          first.residentKiB, kWarmUpMs / 1000, last.residentKiB, cpuStart, cpuEnd);

    QVERIFY2(counts.spoiledAnswers > 0, "the head spoiled answers");
    QVERIFY2(upAtTheEnd && m_recoveries == m_losses, "every link loss was recovered");
    QVERIFY2(m_longestOutageMs < kLongestOutageMs, "the link came back within seconds every time");
    QVERIFY2(m_issued * 2 > SOAK_SECONDS, "most seconds a command got out");
    // A command is lost only when the link is lost after it went out and before the head's
    // acknowledgement came through; the head counts a repeated telegram once.
    QVERIFY2(counts.setpoints <= m_issued, "no command reached the head twice");
    QVERIFY2(counts.setpoints >= m_issued - m_losses, "a command was lost only with the link");
    QVERIFY2(m_confirmed * 10 >= m_issued * 8, "eight in ten commands came back as the actual value");
    QVERIFY2(cpuEnd < kMaxCpuPercent, "no busy loop");
    if (kMemoryIsMeasurable)
        QVERIFY2(last.residentKiB - first.residentKiB < kMaxGrowthKiB, "the master's memory stayed flat");
    m_controller.reset();
}

QTEST_MAIN(TestSoak)
#include "tst_soak.moc"
