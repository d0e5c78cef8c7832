#pragma once

#include "SimChild.h"

// strelo-sim for runs of many minutes, whose log is read only to count what a soak run reports:
// answers sent and spoiled by the fault injector, bytes dropped and corrupted, answers sent clean
// because a spoiled form would have stuck the master's assembler, setpoints the head received.
class CountingSim
{
public:
    struct Counts
    {
        qint64 answers = 0;
        qint64 spoiledAnswers = 0;
        qint64 droppedBytes = 0;
        qint64 corruptedBytes = 0;
        qint64 guardedAnswers = 0;
        qint64 setpoints = 0;
    };

    bool Start(const QStringList &options) { return m_sim.Start(options); }
    QString DevicePath() const { return m_sim.DevicePath(); }
    // Counts the lines logged so far.
    Counts Take();

private:
    void CountLine(const QByteArray &line);

    SimChild m_sim;
    Counts m_counts;
};
