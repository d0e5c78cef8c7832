#include "SimProcess.h"

#include "SimLauncher.h"

#include <QDeadlineTimer>
#include <QSocketNotifier>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

// Reads what the pipe holds right now (it is non-blocking) and appends it.
void Drain(int fd, QByteArray &buffer)
{
    char chunk[4096];
    ssize_t n = 0;
    while ((n = ::read(fd, chunk, sizeof chunk)) > 0)
        buffer.append(chunk, n);
}

} // namespace

SimProcess::SimProcess() = default;

SimProcess::~SimProcess()
{
    delete m_errorNotifier;
    SimLauncher::End(m_pid, SIGTERM);
    if (m_errorFd >= 0)
        ::close(m_errorFd);
}

bool SimProcess::Start(const QStringList &qstrlOptions)
{
    int errors[2];
    if (::pipe2(errors, O_CLOEXEC) != 0)
        return false;
    const SimLauncher::Child child = SimLauncher::Start(qstrlOptions, errors[1]);
    ::close(errors[1]);
    m_errorFd = errors[0];
    m_pid = child.pid;
    m_qstrDevicePath = child.devicePath;
    if (m_pid <= 0)
        return false;
    ::fcntl(m_errorFd, F_SETFL, O_NONBLOCK);
    // The log is drained while the test's event loop runs, so the simulator never blocks on it.
    m_errorNotifier = new QSocketNotifier(m_errorFd, QSocketNotifier::Read);
    QObject::connect(m_errorNotifier, &QSocketNotifier::activated, m_errorNotifier, [this] { TakeLines(); });
    return !m_qstrDevicePath.isEmpty();
}

int SimProcess::LineCount()
{
    TakeLines();
    return int(m_qstrlLines.size());
}

int SimProcess::WaitForLine(const QRegularExpression &pattern, int nFrom, int nTimeoutMs)
{
    QDeadlineTimer deadline(nTimeoutMs);
    for (;;) {
        TakeLines();
        const int nFound = Find(pattern, nFrom);
        if (nFound >= 0 || deadline.hasExpired())
            return nFound;
        QTest::qWait(10);
    }
}

QStringList SimProcess::Matching(const QRegularExpression &pattern, int nFrom, int nTo) const
{
    QStringList qstrlFound;
    for (int i = nFrom; i < nTo && i < m_qstrlLines.size(); ++i) {
        if (pattern.match(m_qstrlLines.at(i)).hasMatch())
            qstrlFound << m_qstrlLines.at(i);
    }
    return qstrlFound;
}

void SimProcess::TakeLines()
{
    if (m_errorFd < 0)
        return;
    Drain(m_errorFd, m_partialLine);
    qsizetype nEnd = 0;
    while ((nEnd = m_partialLine.indexOf('\n')) >= 0) {
        m_qstrlLines << QString::fromUtf8(m_partialLine.left(nEnd));
        m_partialLine.remove(0, nEnd + 1);
    }
}

int SimProcess::Find(const QRegularExpression &pattern, int nFrom) const
{
    for (int i = nFrom; i < m_qstrlLines.size(); ++i) {
        if (pattern.match(m_qstrlLines.at(i)).hasMatch())
            return i;
    }
    return -1;
}
