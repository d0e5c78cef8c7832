// The order and the waits of the head search, and one search against a head played by a test.
#include "PtyPair.h"
#include "ScriptedPeer.h"
#include "settings/LichtwartSettings.h"
#include "tls/CHeadSearch.h"
#include "tls/CHeadSearchDevice.h"

#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <memory>

using Probe = CHeadSearch::Probe;

class TestCHeadSearch : public QObject
{
    Q_OBJECT

private slots:
    void likelyPlacesFirst();
    void storedAddressAndRateLead();
    void everyPairOnceWithinTheRange();
    void aRateOutsideTheListIsNotProbed();
    void probeWaitIsLineTimePlusTurnaround();
    void lineNamesEveryPart();
    void portThatCannotBeOpenedEndsTheSearch();
    void cancelEndsAtOnce();
    void aRateTheAdapterRefusesIsSkipped();
    void identificationPollFollowsTheRate();
    void identificationPollsQuickly();
    void rateChangesOnlyAfterTheResponseTime();
};

void TestCHeadSearch::likelyPlacesFirst()
{
    // Stored: 9600 baud, address 1 (the defaults).
    const QList<Probe> plan = CHeadSearch::Plan(LichtwartSettings::BaudRates(), 1, 199, 9600, 1);
    const QList<Probe> first {{9600, 1}, {2400, 1}, {4800, 1}, {19200, 1}, {38400, 1}, {57600, 1}, {115200, 1}};
    QCOMPARE(plan.mid(0, 7), first);
    // Then every address at 9600, then the other rates in turn.
    QCOMPARE(plan.at(7), (Probe {9600, 2}));
    QCOMPARE(plan.at(7 + 197), (Probe {9600, 199}));
    QCOMPARE(plan.at(7 + 198), (Probe {2400, 2}));
    QCOMPARE(plan.last(), (Probe {115200, 199}));
}

void TestCHeadSearch::storedAddressAndRateLead()
{
    const QList<Probe> plan = CHeadSearch::Plan(LichtwartSettings::BaudRates(), 1, 199, 19200, 7);
    const QList<Probe> first {{19200, 7}, {19200, 1}, {9600, 7}, {9600, 1}, {2400, 7}, {2400, 1}};
    QCOMPARE(plan.mid(0, 6), first);
    // After the fourteen likely places: every address at the stored rate, then at 9600.
    QCOMPARE(plan.at(14), (Probe {19200, 2}));
    QCOMPARE(plan.at(14 + 196), (Probe {19200, 199}));
    QCOMPARE(plan.at(14 + 197), (Probe {9600, 2}));
}

void TestCHeadSearch::everyPairOnceWithinTheRange()
{
    const QList<Probe> plan = CHeadSearch::Plan(LichtwartSettings::BaudRates(), 1, 199, 57600, 42);
    QCOMPARE(plan.size(), 7 * 199);
    QSet<QString> seen;
    for (const Probe &probe : plan)
        seen.insert(QStringLiteral("%1/%2").arg(probe.rate).arg(probe.address));
    QCOMPARE(seen.size(), 7 * 199);

    // A stored address outside the range is not probed.
    const QList<Probe> part = CHeadSearch::Plan({9600, 19200}, 5, 9, 9600, 1);
    const QList<Probe> expected {{9600, 5}, {9600, 6}, {9600, 7}, {9600, 8}, {9600, 9},
                                 {19200, 5}, {19200, 6}, {19200, 7}, {19200, 8}, {19200, 9}};
    QCOMPARE(part, expected);
}

void TestCHeadSearch::aRateOutsideTheListIsNotProbed()
{
    // A stored rate the search was not asked for does not lead.
    const QList<Probe> plan = CHeadSearch::Plan({4800}, 3, 4, 9600, 3);
    QCOMPARE(plan, (QList<Probe> {{4800, 3}, {4800, 4}}));
}

void TestCHeadSearch::probeWaitIsLineTimePlusTurnaround()
{
    // Ten characters of eleven bits, rounded up, plus 30 ms.
    QCOMPARE(CHeadSearch::ProbeWaitMs(2400), 46 + 30);
    QCOMPARE(CHeadSearch::ProbeWaitMs(9600), 12 + 30);
    QCOMPARE(CHeadSearch::ProbeWaitMs(115200), 1 + 30);
}

void TestCHeadSearch::lineNamesEveryPart()
{
    FoundHead head;
    head.device = QStringLiteral("/dev/ttyUSB0");
    head.rate = 4800;
    head.osi2 = 12;
    QCOMPARE(head.Line(), QStringLiteral("head: device=/dev/ttyUSB0 baud=4800 osi2=12 osi7=unknown product=unknown "
                                         "hardware=unknown software=unknown uid=unknown"));
    QVERIFY(!head.Complete());
}

void TestCHeadSearch::portThatCannotBeOpenedEndsTheSearch()
{
    CHeadSearch search(QStringLiteral("/dev/lichtwart-no-such-port"), {{9600, 1}, {9600, 2}});
    QSignalSpy failed(&search, &CHeadSearch::PortFailed);
    QSignalSpy finished(&search, &CHeadSearch::Finished);
    search.Start();
    QCOMPARE(failed.size(), 1);
    QCOMPARE(failed.at(0).at(1).toInt(), 9600);
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(0).toInt(), 0);
    QCOMPARE(finished.at(0).at(1).toBool(), false);
}

void TestCHeadSearch::cancelEndsAtOnce()
{
    CHeadSearch search(QStringLiteral("/dev/null"), CHeadSearch::Plan({9600}, 1, 199, 9600, 1));
    QSignalSpy progress(&search, &CHeadSearch::Progress);
    QSignalSpy finished(&search, &CHeadSearch::Finished);
    search.Cancel();
    QCOMPARE(finished.size(), 1);
    QCOMPARE(finished.at(0).at(1).toBool(), true);
    search.Cancel();
    QCOMPARE(finished.size(), 1);
    QCOMPARE(progress.size(), 0);
}

namespace {

// An adapter that cannot run at one rate: the port opens, but setting that rate is refused.
class AdapterWithoutRate : public CHeadSearchDevice
{
public:
    explicit AdapterWithoutRate(int missingRate) : m_missingRate(missingRate) {}
    bool SetRate(const QString &device, int rate) override
    {
        const bool set = CHeadSearchDevice::SetRate(device, rate == m_missingRate ? 9600 : rate);
        return set && rate != m_missingRate;
    }

private:
    const int m_missingRate;
};

} // namespace

void TestCHeadSearch::aRateTheAdapterRefusesIsSkipped()
{
    PtyPair line;
    QVERIFY(line.IsValid());
    CHeadSearch search(line.SlavePath(), {{9600, 1}, {4800, 1}, {4800, 2}, {19200, 1}, {4800, 3}},
                       std::make_unique<AdapterWithoutRate>(4800));
    QSignalSpy refused(&search, &CHeadSearch::RateRefused);
    QSignalSpy failed(&search, &CHeadSearch::PortFailed);
    QSignalSpy progress(&search, &CHeadSearch::Progress);
    QSignalSpy finished(&search, &CHeadSearch::Finished);
    search.Start();
    QVERIFY(finished.wait(10000));
    QCOMPARE(finished.at(0).at(0).toInt(), 0);
    QCOMPARE(finished.at(0).at(1).toBool(), false);
    QCOMPARE(failed.size(), 0);
    QCOMPARE(refused.size(), 1);
    QCOMPARE(refused.at(0).at(1).toInt(), 4800);
    // The probes at 9600 and 19200 went out: status requests to addresses 1 (twice), nothing to 2 or 3.
    QList<int> probed;
    for (const QList<QVariant> &step : progress)
        probed << step.at(0).toInt();
    QCOMPARE(probed, (QList<int> {1, 4}));
    QCOMPARE(line.ReadFor(200), QByteArray::fromHex("1049014a16") + QByteArray::fromHex("1049014a16"));
}

void TestCHeadSearch::identificationPollFollowsTheRate()
{
    // Twice the 33 bit times FT1.2 wants between telegrams, at least 50 ms, at most the link's 250.
    QCOMPARE(CHeadSearchDevice::IdentifyPollMs(115200), 50);
    QCOMPARE(CHeadSearchDevice::IdentifyPollMs(9600), 50);
    QCOMPARE(CHeadSearchDevice::IdentifyPollMs(2400), 50);
    QCOMPARE(CHeadSearchDevice::IdentifyPollMs(1200), 56);
    QCOMPARE(CHeadSearchDevice::IdentifyPollMs(300), 220);
    QCOMPARE(CHeadSearchDevice::IdentifyPollMs(110), CStreloDevice::kPollIntervalMs);
}

void TestCHeadSearch::identificationPollsQuickly()
{
    // A head that answers the link but none of the jobs: the search polls it until the
    // identification time is up and reports what it learnt, which is nothing.
    PtyPair line;
    QVERIFY(line.IsValid());
    ScriptedPeer peer(line);
    CHeadSearch search(line.SlavePath(), {{9600, 1}});
    QSignalSpy found(&search, &CHeadSearch::HeadFound);
    QSignalSpy finished(&search, &CHeadSearch::Finished);
    search.Start();
    QVERIFY(finished.wait(CHeadSearch::kIdentifyTimeoutMs + 5000));
    QCOMPARE(found.size(), 1);
    QCOMPARE(found.at(0).at(0).value<FoundHead>().osi2, 1);

    // The probe, then the link-up (status request, reset, first poll), then jobs and polls.
    const QList<PeerFrame> frames = peer.Frames();
    QVERIFY2(frames.size() > 10, qPrintable(QString::number(frames.size())));
    QCOMPARE(frames.at(3).control, CStreloDevice::kFirstPoll);
    QList<qint64> pausesMs;
    for (int i = 4; i < frames.size(); ++i) {
        if (frames.at(i - 1).answeredUs >= 0)
            pausesMs << (frames.at(i).atUs - frames.at(i - 1).answeredUs) / 1000;
    }
    QVERIFY(!pausesMs.isEmpty());
    // Never closer than the pause the identification keeps; far more often than the link polls.
    QVERIFY2(*std::min_element(pausesMs.begin(), pausesMs.end()) >= CHeadSearchDevice::kIdentifyPollMs - 1,
             qPrintable(QString::number(*std::min_element(pausesMs.begin(), pausesMs.end()))));
    std::sort(pausesMs.begin(), pausesMs.end());
    QVERIFY2(pausesMs.at(pausesMs.size() / 2) < CStreloDevice::kPollIntervalMs,
             qPrintable(QString::number(pausesMs.at(pausesMs.size() / 2))));
    const bool jobsSent = std::any_of(frames.begin(), frames.end(), [](const PeerFrame &frame) {
        return frame.kind == PeerFrame::Long && frame.Function() == CStreloDevice::kFunctionUserData;
    });
    QVERIFY(jobsSent);
}

void TestCHeadSearch::rateChangesOnlyAfterTheResponseTime()
{
    // Nobody answers; the last probe at 9600 is still given the link's response time before the
    // port changes to 19200, so a late answer would be heard at the rate it was sent at.
    PtyPair line;
    QVERIFY(line.IsValid());
    ScriptedPeer peer(line);
    peer.SetSilent(true);
    CHeadSearch search(line.SlavePath(), {{9600, 1}, {19200, 1}});
    QSignalSpy finished(&search, &CHeadSearch::Finished);
    search.Start();
    QVERIFY(finished.wait(5000));
    QVERIFY(peer.WaitForFrames(2, 1000));
    const QList<PeerFrame> frames = peer.Frames();
    // The reading side may have seen the first probe late on a busy machine, which only shortens
    // the gap; without the wait it would be the probe's own 42 ms.
    const qint64 gapMs = (frames.at(1).atUs - frames.at(0).atUs) / 1000;
    QVERIFY2(gapMs >= CHeadSearch::kDrainMs - 40, qPrintable(QString::number(gapMs)));
}

QTEST_MAIN(TestCHeadSearch)
#include "tst_cheadsearch.moc"
