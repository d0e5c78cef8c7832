#pragma once

#include <QString>
#include <QStringList>

#include <sys/types.h>

// Starting and ending strelo-sim as a child process of a test (SimProcess, and the reliability
// tests' SimChild). posix_spawn rather than QProcess: the thread sanitizer lets a process that
// spawned a child this way go on creating threads, while QProcess's way of starting a child makes
// it abort the next thread the test (or the port under test) starts.
namespace SimLauncher {

struct Child
{
    pid_t pid = -1;      // -1: the program could not be started
    QString devicePath;  // empty: it named no terminal in time
};

// Starts strelo-sim --verbose --strict with these options, its log (stderr) going to errorFd, and
// waits for the first line of its output, which names the terminal it serves.
Child Start(const QStringList &options, int errorFd);
// Sends signal and waits for the end; SIGKILL when the end does not come. Every test that runs
// the master against the simulator ends it here, so here the simulator's referee is heard: when
// the head received a telegram no head may receive, the test fails.
void End(pid_t pid, int signal);
void ReportViolations(pid_t pid);

} // namespace SimLauncher
