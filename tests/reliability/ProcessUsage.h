#pragma once

#include <QtGlobal>

// The resident memory and the CPU time a process (this one, or a child by its id) has used so
// far, read from /proc.
class ProcessUsage
{
public:
    struct Sample
    {
        qint64 residentKiB = 0;
        qint64 cpuMs = 0;     // user and system time of every thread
        qint64 elapsedMs = 0; // monotonic clock when the sample was taken
    };

    static Sample Take(qint64 pid = 0);
    // The CPU load between two samples, in percent of one core.
    static double CpuPercent(const Sample &from, const Sample &to);
};
