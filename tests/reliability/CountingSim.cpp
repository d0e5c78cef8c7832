#include "CountingSim.h"

namespace {

qint64 Field(const QByteArray &line, const char *key)
{
    const int at = line.indexOf(key);
    if (at < 0)
        return 0;
    const int from = at + int(qstrlen(key));
    int to = from;
    while (to < line.size() && line.at(to) >= '0' && line.at(to) <= '9')
        ++to;
    return line.mid(from, to - from).toLongLong();
}

} // namespace

CountingSim::Counts CountingSim::Take()
{
    for (const QByteArray &line : m_sim.NewLines())
        CountLine(line);
    return m_counts;
}

void CountingSim::CountLine(const QByteArray &line)
{
    if (line.contains(" app setpoint "))
        ++m_counts.setpoints;
    if (!line.contains(" tx "))
        return;
    ++m_counts.answers;
    const qint64 dropped = Field(line, "DROPPED=");
    const qint64 corrupted = Field(line, "CORRUPTED=");
    if (line.contains("GUARD=1")) {
        ++m_counts.guardedAnswers;
        return;
    }
    m_counts.droppedBytes += dropped;
    m_counts.corruptedBytes += corrupted;
    if (dropped + corrupted > 0)
        ++m_counts.spoiledAnswers;
}
