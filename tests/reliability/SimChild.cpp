#include "SimChild.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QTest>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

extern char **environ;

namespace {

constexpr int kStartTimeoutMs = 10000;
constexpr int kStopTimeoutMs = 5000;

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

SimChild::SimChild()
    : m_logPath(m_dir.filePath(QStringLiteral("strelo-sim.log")))
{
}

SimChild::~SimChild()
{
    Stop();
}

// posix_spawn rather than QProcess: a process that forked the QProcess way aborts the next thread
// it starts under the thread sanitizer.
bool SimChild::Start(const QStringList &options)
{
    const QByteArray program = qgetenv("LICHTWART_BIN_DIR") + "/strelo-sim";
    QList<QByteArray> arguments = {program, "--verbose"};
    for (const QString &option : options)
        arguments << option.toLocal8Bit();
    std::vector<char *> argv;
    for (QByteArray &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0)
        return false;
    const QByteArray logPath = QFile::encodeName(m_logPath);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, logPath.constData(), O_WRONLY | O_CREAT | O_APPEND,
                                     0600);
    const int spawned = posix_spawn(&m_pid, program.constData(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    if (spawned != 0) {
        m_pid = -1;
        ::close(output[0]);
        return false;
    }
    const bool named = ReadDevicePath(output[0]);
    ::close(output[0]);
    return named;
}

bool SimChild::ReadDevicePath(int outputFd)
{
    QByteArray firstLine;
    QDeadlineTimer deadline(kStartTimeoutMs);
    while (!firstLine.contains('\n') && !deadline.hasExpired()) {
        pollfd ready = {outputFd, POLLIN, 0};
        if (::poll(&ready, 1, int(deadline.remainingTime())) <= 0)
            break;
        char chunk[256];
        const ssize_t n = ::read(outputFd, chunk, sizeof chunk);
        if (n <= 0)
            break;
        firstLine.append(chunk, n);
    }
    const QString first = QString::fromUtf8(firstLine.left(firstLine.indexOf('\n'))).trimmed();
    if (!first.startsWith(QLatin1String("device: ")))
        return false;
    m_devicePath = first.mid(8);
    return true;
}

void SimChild::Reap(int signal)
{
    if (m_pid <= 0)
        return;
    ::kill(m_pid, signal);
    if (!WaitForExit(m_pid, kStopTimeoutMs)) {
        ::kill(m_pid, SIGKILL);
        WaitForExit(m_pid, kStopTimeoutMs);
    }
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
