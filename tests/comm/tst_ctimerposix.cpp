#include "comm/CTimerPosix.h"

#include <QElapsedTimer>
#include <QTest>

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

namespace {

// A timer that records when and on which thread it expired.
class RecordingTimer : public CTimerPosix
{
public:
    ~RecordingTimer() override { StopThread(); }

    void OnExpired() override
    {
        std::lock_guard lock(m_mutex);
        m_expiries.push_back(m_clock.elapsed());
        m_thread = std::this_thread::get_id();
        m_changed.notify_all();
    }

    void ResetClock()
    {
        std::lock_guard lock(m_mutex);
        m_clock.start();
        m_expiries.clear();
    }
    bool WaitForExpiries(std::size_t count, int timeoutMs)
    {
        std::unique_lock lock(m_mutex);
        return m_changed.wait_for(lock, std::chrono::milliseconds(timeoutMs),
                                  [&] { return m_expiries.size() >= count; });
    }
    std::vector<qint64> Expiries()
    {
        std::lock_guard lock(m_mutex);
        return m_expiries;
    }
    std::thread::id Thread()
    {
        std::lock_guard lock(m_mutex);
        return m_thread;
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    QElapsedTimer m_clock;
    std::vector<qint64> m_expiries;
    std::thread::id m_thread;
};

} // namespace

class TestCTimerPosix : public QObject
{
    Q_OBJECT

private slots:
    void startZeroExpiresAtOnce();
    void startOneIsAnImmediateKick();
    void expiresOnceAfterItsTime();
    void negativeTimeIsRefusedAndLeavesTheTimer();
    void startWhileArmedRearms();
    void stopCancels();
    void restartUsesTheStoredPeriod();
    void busyFlagStaysFalse();
    void eachTimerHasItsOwnThread();
    void callbackMayRearmItsOwnTimer();
};

void TestCTimerPosix::startZeroExpiresAtOnce()
{
    RecordingTimer timer;
    timer.ResetClock();
    QVERIFY(timer.Start(0));
    QVERIFY(timer.WaitForExpiries(1, 1000));
    QVERIFY(timer.Expiries().front() < 200);
}

void TestCTimerPosix::startOneIsAnImmediateKick()
{
    RecordingTimer timer;
    timer.ResetClock();
    QVERIFY(timer.Start(1));
    QVERIFY(timer.WaitForExpiries(1, 1000));
    QVERIFY(timer.Expiries().front() < 200);
}

void TestCTimerPosix::expiresOnceAfterItsTime()
{
    RecordingTimer timer;
    timer.ResetClock();
    QVERIFY(timer.Start(100));
    QVERIFY(timer.WaitForExpiries(1, 2000));
    QVERIFY(timer.Expiries().front() >= 100);
    QTest::qWait(300);
    QCOMPARE(timer.Expiries().size(), std::size_t(1)); // one-shot
    QCOMPARE(timer.Period(), 100);
}

void TestCTimerPosix::negativeTimeIsRefusedAndLeavesTheTimer()
{
    RecordingTimer idle;
    QVERIFY(!idle.Start(-1));
    QTest::qWait(200);
    QVERIFY(idle.Expiries().empty());
    QCOMPARE(idle.Period(), 0);

    RecordingTimer armed;
    armed.ResetClock();
    QVERIFY(armed.Start(150));
    QVERIFY(!armed.Start(-1));
    QCOMPARE(armed.Period(), 150);
    QVERIFY(armed.WaitForExpiries(1, 2000));
    QVERIFY(armed.Expiries().front() >= 150);
}

void TestCTimerPosix::startWhileArmedRearms()
{
    RecordingTimer timer;
    timer.ResetClock();
    QVERIFY(timer.Start(5000));
    QVERIFY(timer.Start(50));
    QVERIFY(timer.WaitForExpiries(1, 2000));
    QVERIFY(timer.Expiries().front() < 2000);
    QTest::qWait(200);
    QCOMPARE(timer.Expiries().size(), std::size_t(1));
}

void TestCTimerPosix::stopCancels()
{
    RecordingTimer timer;
    QVERIFY(timer.Start(100));
    QVERIFY(timer.Stop());
    QTest::qWait(400);
    QVERIFY(timer.Expiries().empty());
}

void TestCTimerPosix::restartUsesTheStoredPeriod()
{
    RecordingTimer timer;
    timer.ResetClock();
    QVERIFY(timer.Start(60));
    QVERIFY(timer.WaitForExpiries(1, 2000));
    timer.ResetClock();
    QVERIFY(timer.Restart());
    QVERIFY(timer.WaitForExpiries(1, 2000));
    QVERIFY(timer.Expiries().front() >= 60);
}

void TestCTimerPosix::busyFlagStaysFalse()
{
    RecordingTimer timer;
    QVERIFY(!timer.IsBusy());
    timer.Start(10);
    QVERIFY(!timer.IsBusy());
    QVERIFY(timer.WaitForExpiries(1, 2000));
    QVERIFY(!timer.IsBusy());
}

void TestCTimerPosix::eachTimerHasItsOwnThread()
{
    RecordingTimer first;
    RecordingTimer second;
    first.Start(1);
    second.Start(1);
    QVERIFY(first.WaitForExpiries(1, 2000));
    QVERIFY(second.WaitForExpiries(1, 2000));
    QVERIFY(first.Thread() != second.Thread());
    QVERIFY(first.Thread() != std::this_thread::get_id());
}

namespace {

class ChainTimer : public CTimerPosix
{
public:
    ~ChainTimer() override { StopThread(); }
    void OnExpired() override
    {
        if (++count < 5)
            Start(1);
    }
    std::atomic<int> count{0};
};

} // namespace

void TestCTimerPosix::callbackMayRearmItsOwnTimer()
{
    ChainTimer timer;
    timer.Start(1);
    QTRY_COMPARE_WITH_TIMEOUT(timer.count.load(), 5, 2000);
}

QTEST_GUILESS_MAIN(TestCTimerPosix)
#include "tst_ctimerposix.moc"
