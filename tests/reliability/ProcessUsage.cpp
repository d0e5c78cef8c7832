#include "ProcessUsage.h"

#include <QElapsedTimer>
#include <QFile>
#include <QString>

#include <unistd.h>

namespace {

QString ProcFile(qint64 pid, const char *name)
{
    return QStringLiteral("/proc/%1/%2").arg(pid > 0 ? QString::number(pid) : QStringLiteral("self"), QLatin1String(name));
}

qint64 ResidentKiB(qint64 pid)
{
    QFile status(ProcFile(pid, "status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n')) {
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLongLong();
    }
    return -1;
}

qint64 CpuMs(qint64 pid)
{
    QFile stat(ProcFile(pid, "stat"));
    if (!stat.open(QIODevice::ReadOnly))
        return -1;
    // The command name may hold blanks; the fields after its closing parenthesis do not.
    const QByteArray text = stat.readAll();
    const QList<QByteArray> fields = text.mid(text.lastIndexOf(')') + 2).split(' ');
    // utime and stime are fields 14 and 15 of the line, 12 and 13 after the name.
    const qint64 ticks = fields.value(11).toLongLong() + fields.value(12).toLongLong();
    return ticks * 1000 / sysconf(_SC_CLK_TCK);
}

} // namespace

ProcessUsage::Sample ProcessUsage::Take(qint64 pid)
{
    static QElapsedTimer clock;
    if (!clock.isValid())
        clock.start();
    return Sample {ResidentKiB(pid), CpuMs(pid), clock.elapsed()};
}

double ProcessUsage::CpuPercent(const Sample &from, const Sample &to)
{
    const qint64 wall = to.elapsedMs - from.elapsedMs;
    return wall > 0 ? 100.0 * double(to.cpuMs - from.cpuMs) / double(wall) : 0.0;
}
