#include "SimChild.h"

#include "SimLauncher.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

SimChild::SimChild()
    : m_logPath(m_dir.filePath(QStringLiteral("strelo-sim.log")))
{
}

SimChild::~SimChild()
{
    Stop();
}

bool SimChild::Start(const QStringList &options)
{
    const int log = ::open(QFile::encodeName(m_logPath).constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (log < 0)
        return false;
    const SimLauncher::Child child = SimLauncher::Start(options, log);
    ::close(log);
    m_pid = child.pid;
    m_devicePath = child.devicePath;
    return m_pid > 0 && !m_devicePath.isEmpty();
}

void SimChild::Reap(int signal)
{
    SimLauncher::End(m_pid, signal);
    m_pid = -1;
}

void SimChild::Kill()
{
    Reap(SIGKILL);
}

void SimChild::Stop()
{
    // A frozen simulator must run again to act on SIGTERM.
    if (m_pid > 0)
        ::kill(m_pid, SIGCONT);
    Reap(SIGTERM);
}

void SimChild::Freeze()
{
    if (m_pid > 0)
        ::kill(m_pid, SIGSTOP);
}

void SimChild::Thaw()
{
    if (m_pid > 0)
        ::kill(m_pid, SIGCONT);
}

QList<QByteArray> SimChild::NewLines()
{
    QFile log(m_logPath);
    if (log.open(QIODevice::ReadOnly) && log.seek(m_logOffset)) {
        const QByteArray added = log.readAll();
        m_logOffset += added.size();
        m_partialLine += added;
    }
    QList<QByteArray> lines;
    qsizetype end = 0;
    while ((end = m_partialLine.indexOf('\n')) >= 0) {
        lines << m_partialLine.left(end);
        m_partialLine.remove(0, end + 1);
    }
    return lines;
}

bool SimChild::WaitForLine(const QRegularExpression &pattern, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        for (const QByteArray &line : NewLines()) {
            if (pattern.match(QString::fromUtf8(line)).hasMatch())
                return true;
        }
        if (deadline.hasExpired())
            return false;
        QTest::qWait(10);
    }
}
