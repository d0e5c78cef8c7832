#include "comm/CCriticalSectionPosix.h"

#include <QTest>

#include <future>

class TestCCriticalSection : public QObject
{
    Q_OBJECT

private slots:
    void reentrantOnOneThread();
    void tryEnterFailsWhileAnotherThreadHoldsIt();
};

void TestCCriticalSection::reentrantOnOneThread()
{
    CCriticalSectionPosix lock;
    lock.Enter();
    lock.Enter();
    QVERIFY(lock.TryEnter());
    lock.Leave();
    lock.Leave();
    lock.Leave();
}

void TestCCriticalSection::tryEnterFailsWhileAnotherThreadHoldsIt()
{
    CCriticalSectionPosix lock;
    lock.Enter();
    const bool whileHeld = std::async(std::launch::async, [&] {
        const bool got = lock.TryEnter();
        if (got)
            lock.Leave();
        return got;
    }).get();
    QVERIFY(!whileHeld);
    lock.Leave();
    const bool afterLeave = std::async(std::launch::async, [&] {
        const bool got = lock.TryEnter();
        if (got)
            lock.Leave();
        return got;
    }).get();
    QVERIFY(afterLeave);
}

QTEST_GUILESS_MAIN(TestCCriticalSection)
#include "tst_ccriticalsection.moc"
