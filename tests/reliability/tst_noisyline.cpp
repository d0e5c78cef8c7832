// The master polls strelo-sim over a noisy line: a share of the bytes is spoiled both ways, the
// master's requests and the head's answers alike (half of them lost, half arriving as another
// value). The run measures how much of the time the link is up and the longest outage. The
// receive assembler drops a telegram when the line falls idle in the middle of it, so one spoiled
// length octet costs one exchange, not the following repetitions and their answers.
// SOAK_SECONDS is the length of the run and SPOIL_PERCENT the share of spoiled bytes;
// MAX_OUTAGE_MS and MIN_UP_PERCENT are what the link must achieve.
#include "MainWindowStandIn.h"
#include "SimChild.h"
#include "UsbAdapter.h"

#include "controller/CTrafficLightController.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

constexpr int kRunMs = SOAK_SECONDS * 1000;
constexpr int kLinkUpWaitMs = 15000;
constexpr int kBaudRate = 9600;
constexpr std::uint64_t kNoiseSeed = 4711;

} // namespace

class TestNoisyLine : public QObject
{
    Q_OBJECT

private slots:
    void linkStaysUpOnANoisyLine();

private:
    void OnConnectionChanged(bool up);

    QElapsedTimer m_clock;
    bool m_up = false;
    qint64 m_upSinceMs = 0;
    qint64 m_upTotalMs = 0;
    qint64 m_downSinceMs = 0;
    qint64 m_longestOutageMs = 0;
    int m_losses = 0;
};

void TestNoisyLine::OnConnectionChanged(bool up)
{
    // The controller reports every failed cycle of a silent station; only changes count here.
    if (up == m_up)
        return;
    m_up = up;
    const qint64 now = m_clock.elapsed();
    if (up) {
        m_upSinceMs = now;
        m_longestOutageMs = std::max(m_longestOutageMs, now - m_downSinceMs);
        return;
    }
    ++m_losses;
    m_upTotalMs += now - m_upSinceMs;
    m_downSinceMs = now;
}

void TestNoisyLine::linkStaysUpOnANoisyLine()
{
    SimChild sim;
    QVERIFY(sim.Start({}));
    QTemporaryDir dir;
    UsbAdapter line(sim.DevicePath(), dir.filePath(QStringLiteral("noisy")));
    QVERIFY(line.IsValid());
    MainWindowStandIn window;
    auto controller = std::make_unique<CTrafficLightController>(&window);
    connect(controller.get(), &CTrafficLightController::ConnectionChanged, this, &TestNoisyLine::OnConnectionChanged);
    QVERIFY(controller->ConnectPort(line.Path(), kBaudRate));
    controller->Connect(1, 1);
    QTRY_VERIFY_WITH_TIMEOUT(m_up, kLinkUpWaitMs);

    // The measured time starts with the first link-up on a clean line; the noise starts now.
    line.SetNoise(SPOIL_PERCENT / 100.0, kNoiseSeed);
    m_clock.start();
    m_upSinceMs = 0;
    while (m_clock.elapsed() < kRunMs) {
        QTest::qWait(1000);
        sim.NewLines(); // keeps the log file from being read all at once at the end
    }
    const qint64 endMs = m_clock.elapsed();
    if (m_up)
        m_upTotalMs += endMs - m_upSinceMs;
    else
        m_longestOutageMs = std::max(m_longestOutageMs, endMs - m_downSinceMs);
    controller->disconnect(this);
    controller->Disconnect();
    controller->ShutDown();

    const double upPercent = 100.0 * double(m_upTotalMs) / double(endMs);
    qInfo("noisy line: %d s at %d %% spoiled bytes both ways (%lld of %lld bytes spoiled)", SOAK_SECONDS,
          SPOIL_PERCENT, line.SpoiledBytes(), line.CarriedBytes());
    qInfo("noisy line: link up %.1f %% of the time, %d losses, longest outage %lld ms", upPercent, m_losses,
          m_longestOutageMs);
    QVERIFY2(line.SpoiledBytes() > 0, "the line spoiled bytes");
    QVERIFY2(upPercent >= MIN_UP_PERCENT, "the link was up most of the time");
    QVERIFY2(m_longestOutageMs <= MAX_OUTAGE_MS, "every outage was short");
}

QTEST_MAIN(TestNoisyLine)
#include "tst_noisyline.moc"
