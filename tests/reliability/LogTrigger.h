#pragma once

#include <QObject>
#include <QRegularExpression>
#include <QTimer>

#include <functional>

class SimChild;

// Does something to the simulated head at a chosen moment of its work: when the simulator has
// logged `count` lines that match `pattern` (for example the third "boot write"), `action` runs
// once, on the test's thread, while the code under test waits in its own event loop.
class LogTrigger : public QObject
{
public:
    LogTrigger(SimChild &sim, const QString &pattern, int count, std::function<void()> action);
    bool Fired() const { return m_fired; }

private:
    void Look();

    SimChild &m_sim;
    QRegularExpression m_pattern;
    int m_remaining;
    std::function<void()> m_action;
    QTimer m_timer;
    bool m_fired = false;
};
