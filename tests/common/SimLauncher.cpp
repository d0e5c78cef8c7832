#include "SimLauncher.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>

#include <csignal>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

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

QString ReadDevicePath(int outputFd)
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
    const QString prefix = QStringLiteral("device: ");
    return first.startsWith(prefix) ? first.mid(prefix.size()) : QString();
}

} // namespace

SimLauncher::Child SimLauncher::Start(const QStringList &options, int errorFd)
{
    const QByteArray program = qgetenv("LICHTWART_BIN_DIR") + "/strelo-sim";
    QList<QByteArray> arguments = {program, "--verbose"};
    for (const QString &option : options)
        arguments << option.toLocal8Bit();
    std::vector<char *> argv;
    for (QByteArray &argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);

    Child child;
    int output[2];
    if (::pipe2(output, O_CLOEXEC) != 0)
        return child;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, errorFd, STDERR_FILENO);
    if (posix_spawn(&child.pid, program.constData(), &actions, nullptr, argv.data(), environ) != 0)
        child.pid = -1;
    posix_spawn_file_actions_destroy(&actions);
    ::close(output[1]);
    // The simulator writes nothing to its output after the terminal's name.
    if (child.pid > 0)
        child.devicePath = ReadDevicePath(output[0]);
    ::close(output[0]);
    return child;
}

void SimLauncher::End(pid_t pid, int signal)
{
    if (pid <= 0)
        return;
    ::kill(pid, signal);
    if (!WaitForExit(pid, kStopTimeoutMs)) {
        ::kill(pid, SIGKILL);
        WaitForExit(pid, kStopTimeoutMs);
    }
}
