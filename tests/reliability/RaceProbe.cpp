#include "RaceProbe.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

namespace {

constexpr int kIncrements = 10000;
constexpr int kTicks = 200;
constexpr int kWaitMs = 20000;

const RaceProbe::Record kRecords[] = {{107, "red"}, {108, "yellow"}, {109, "green"}};

} // namespace

bool RaceProbe::Run(const QString &mode)
{
    qRegisterMetaType<RaceProbe::Verdict>("RaceProbe::Verdict");
    qRegisterMetaType<const RaceProbe::Record *>("const RaceProbe::Record*");
    connect(this, &RaceProbe::Tick, this, &RaceProbe::OnTick, Qt::QueuedConnection);
    if (mode == QLatin1String("plain"))
        RunPlain();
    else if (mode == QLatin1String("slot"))
        RunSlot();
    else if (mode == QLatin1String("qtthread"))
        RunQtThread();
    else if (mode == QLatin1String("handover"))
        RunHandover();
    else
        return false;
    return true;
}

void RaceProbe::RunPlain()
{
    std::thread first([this] { Bump(); });
    std::thread second([this] { Bump(); });
    first.join();
    second.join();
}

void RaceProbe::RunSlot()
{
    std::thread worker([this] {
        WriteFromWorker();
        EmitTicks(kTicks);
    });
    WaitForTicks(kTicks);
    worker.join();
}

void RaceProbe::RunQtThread()
{
    QThread *thread = QThread::create([this] { WriteFromWorker(); });
    thread->start();
    Bump();
    thread->wait();
    delete thread;
}

void RaceProbe::RunHandover()
{
    std::thread worker([this] { EmitTicks(kTicks); });
    WaitForTicks(kTicks);
    worker.join();
}

void RaceProbe::Bump()
{
    for (int i = 0; i < kIncrements; ++i)
        ++m_counter;
}

void RaceProbe::WriteFromWorker()
{
    for (int i = 0; i < kIncrements; ++i)
        m_counter = i;
}

void RaceProbe::EmitTicks(int count)
{
    for (int i = 0; i < count; ++i) {
        const Verdict verdict = i % 2 == 0 ? Accepted : Refused;
        emit Tick(verdict, &kRecords[i % 3], QStringLiteral("tick %1").arg(i));
    }
}

void RaceProbe::WaitForTicks(int count)
{
    QDeadlineTimer deadline(kWaitMs);
    while (m_ticks < count && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
}

void RaceProbe::OnTick(RaceProbe::Verdict verdict, const RaceProbe::Record *record, const QString &text)
{
    // In the slot mode this read races with the worker's writes; in the handover mode the
    // counter is never written and the arguments are all that crossed.
    if (m_counter < 0 || record == nullptr || text.isEmpty() || (verdict != Accepted && verdict != Refused))
        qFatal("tick with impossible content");
    ++m_ticks;
}
