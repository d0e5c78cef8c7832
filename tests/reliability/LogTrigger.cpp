#include "LogTrigger.h"

#include "SimChild.h"

namespace {

constexpr int kLookEveryMs = 5;

} // namespace

LogTrigger::LogTrigger(SimChild &sim, const QString &pattern, int count, std::function<void()> action)
    : m_sim(sim)
    , m_pattern(pattern)
    , m_remaining(count)
    , m_action(std::move(action))
{
    connect(&m_timer, &QTimer::timeout, this, &LogTrigger::Look);
    m_timer.start(kLookEveryMs);
}

void LogTrigger::Look()
{
    for (const QByteArray &line : m_sim.NewLines()) {
        if (m_pattern.match(QString::fromUtf8(line)).hasMatch() && --m_remaining == 0) {
            m_timer.stop();
            m_fired = true;
            m_action();
            return;
        }
    }
}
