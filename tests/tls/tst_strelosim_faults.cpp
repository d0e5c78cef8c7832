// A minute of polling against a simulated head that drops or spoils bytes of its answers: the
// link must stay up or come back within seconds, and nothing may crash or hang.
#include "SimLink.h"

#include <QElapsedTimer>
#include <QTest>

namespace {

constexpr int kLinkUpWaitMs = 15000;
constexpr int kRunMs = 60000;
constexpr int kSampleMs = 100;
constexpr int kCommandEveryMs = 1000;
// A spoiled length octet makes the receive assembler take up to 253 of the following octets as
// user data before it looks for a start octet again; at the 30-odd octets per second a station
// sends while answering status requests that alone costs about 8 s, and a second spoiled
// octet during the recovery can add as much again.
constexpr qint64 kLongestOutageMs = 30000;

} // namespace

class TestStreloSimFaults : public QObject
{
    Q_OBJECT

private slots:
    void linkSurvivesFaults_data();
    void linkSurvivesFaults();
};

void TestStreloSimFaults::linkSurvivesFaults_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::newRow("drop 5 %") << QStringList {"--drop", "0.05"};
    QTest::newRow("corrupt 5 %") << QStringList {"--corrupt", "0.05"};
}

void TestStreloSimFaults::linkSurvivesFaults()
{
    QFETCH(QStringList, options);
    SimLink link;
    QVERIFY(link.Start(options, 1, 1));
    RecordingDevice &device = link.Device();
    QVERIFY(device.WaitForEvent("link 1", 1, kLinkUpWaitMs));

    QElapsedTimer run;
    run.start();
    QElapsedTimer outage;
    qint64 longestOutageMs = 0;
    int upSamples = 0;
    int samples = 0;
    qint64 nextCommandMs = 0;
    while (run.elapsed() < kRunMs) {
        // The event loop keeps reading the simulator's log meanwhile.
        QTest::qWait(kSampleMs);
        ++samples;
        if (device.IsLinkUp()) {
            ++upSamples;
            outage.invalidate();
        } else if (!outage.isValid()) {
            outage.start();
        } else {
            longestOutageMs = std::max(longestOutageMs, outage.elapsed());
        }
        if (run.elapsed() >= nextCommandMs) {
            device.RefreshCurrentMeters(); // refused while the link is down or a telegram waits
            nextCommandMs += kCommandEveryMs;
        }
    }
    const int losses = device.EventsStartingWith("link 0").size() - 1;
    const int replies = device.EventsStartingWith("osi7 13 0").size();
    qInfo("link up %.1f %% of the minute, %d failed cycles, longest outage %lld ms, %d replies",
          100.0 * upSamples / samples, losses, longestOutageMs, replies);
    QVERIFY2(longestOutageMs < kLongestOutageMs, "the link came back within seconds every time");
    QVERIFY(device.EventsStartingWith("current").size() >= 3);
    device.Disconnect();
    QVERIFY(!device.IsLinkUp());
}

QTEST_GUILESS_MAIN(TestStreloSimFaults)
#include "tst_strelosim_faults.moc"
