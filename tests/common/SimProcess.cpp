#include "SimProcess.h"

#include <QDeadlineTimer>
#include <QSocketNotifier>
#include <QTest>

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

constexpr int StartTimeoutMs = 10000;
constexpr int StopTimeoutMs = 5000;

// Reads what the pipe holds right now (it is non-blocking) and appends it.
void Drain(int fd, QByteArray &buffer)
{
    char chunk[4096];
    ssize_t n = 0;
    while ((n = ::read(fd, chunk, sizeof chunk)) > 0)
        buffer.append(chunk, n);
}

bool WaitForExit(pid_t pid, int timeoutMs)
{
    QDeadlineTimer deadline(timeoutMs);
    do {
        if (::waitpid(pid, nullptr, WNOHANG) == pid)
            return true;
        ::usleep(10000);
    } while (!deadline.hasExpired());
    return false;
}

} // namespace

SimProcess::SimProcess() = default;

SimProcess::~SimProcess()
{
    delete m_errorNotifier;
    if (m_pid > 0) {
        ::kill(m_pid, SIGTERM);
        if (!WaitForExit(m_pid, StopTimeoutMs)) {
            ::kill(m_pid, SIGKILL);
            WaitForExit(m_pid, StopTimeoutMs);
        }
    }
    for (int fd : {m_outputFd, m_errorFd}) {
        if (fd >= 0)
            ::close(fd);
    }
}

// posix_spawn rather than QProcess: the thread sanitizer lets a process that spawned a child this
// way go on creating threads, while QProcess's way of starting a child makes it abort the next
// thread the test (or the port under test) starts.
bool SimProcess::Start(const QStringList &qstrlOptions)
{
    const QByteArray program = qgetenv("LICHTWART_BIN_DIR") + "/strelo-sim";
    QList<QByteArray> arguments = {program, "--verbose"};
    for (const QString &qstrOption : qstrlOptions)
        arguments << qstrOption.toLocal8Bit();
    std::vector<char *> argv;
    for (QByteArray &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int output[2];
    int errors[2];
    if (::pipe2(output, O_CLOEXEC) != 0)
        return false;
    if (::pipe2(errors, O_CLOEXEC) != 0) {
        ::close(output[0]);
        ::close(output[1]);
        return false;
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errors[1], STDERR_FILENO);
    const int spawned = posix_spawn(&m_pid, program.constData(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    ::close(errors[1]);
    m_outputFd = output[0];
    m_errorFd = errors[0];
    if (spawned != 0) {
        m_pid = -1;
        return false;
    }
    ::fcntl(m_errorFd, F_SETFL, O_NONBLOCK);
    // The log is drained while the test's event loop runs, so the simulator never blocks on it.
    m_errorNotifier = new QSocketNotifier(m_errorFd, QSocketNotifier::Read);
    QObject::connect(m_errorNotifier, &QSocketNotifier::activated, m_errorNotifier, [this] { TakeLines(); });
    return ReadDevicePath();
}

bool SimProcess::ReadDevicePath()
{
    QByteArray firstLine;
    QDeadlineTimer deadline(StartTimeoutMs);
    while (!firstLine.contains('\n') && !deadline.hasExpired()) {
        pollfd ready = {m_outputFd, POLLIN, 0};
        if (::poll(&ready, 1, int(deadline.remainingTime())) <= 0)
            break;
        char chunk[256];
        const ssize_t n = ::read(m_outputFd, chunk, sizeof chunk);
        if (n <= 0)
            break;
        firstLine.append(chunk, n);
    }
    const QString qstrFirst = QString::fromUtf8(firstLine.left(firstLine.indexOf('\n'))).trimmed();
    const QString qstrPrefix = QStringLiteral("device: ");
    if (!qstrFirst.startsWith(qstrPrefix))
        return false;
    m_qstrDevicePath = qstrFirst.mid(qstrPrefix.size());
    return true;
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
