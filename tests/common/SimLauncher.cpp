#include "SimLauncher.h"

#include <QByteArray>
#include <QDeadlineTimer>
#include <QList>
#include <QTest>

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
// strelo-sim --strict ends with this code when the head received a telegram no head may receive.
constexpr int kExitViolations = 3;

bool WaitForExit(pid_t pid, int timeoutMs, int *status = nullptr)
{
    QDeadlineTimer deadline(timeoutMs);
    do {
        if (::waitpid(pid, status, WNOHANG) == pid)
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
    QList<QByteArray> arguments = {program, "--verbose", "--strict"};
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
    int status = 0;
    if (!WaitForExit(pid, kStopTimeoutMs, &status)) {
        ::kill(pid, SIGKILL);
        WaitForExit(pid, kStopTimeoutMs);
        return;
    }
    if (WIFEXITED(status) && WEXITSTATUS(status) == kExitViolations)
        ReportViolations(pid);
}

void SimLauncher::ReportViolations(pid_t pid)
{
    const QByteArray message = "strelo-sim (process " + QByteArray::number(pid)
        + ") received telegrams no head may receive; its log names each in a 'link violation' line";
    // Inside a test function the test fails; a simulator ended after the last one ends the run.
    if (QTest::currentTestFunction())
        QTest::qFail(message.constData(), __FILE__, __LINE__);
    else
        qFatal("%s", message.constData());
}
