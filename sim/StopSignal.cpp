#include "StopSignal.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace strelosim {

namespace {

volatile sig_atomic_t g_writeFd = -1;

extern "C" void OnStopSignal(int)
{
    const int saved = errno;
    const char one = 1;
    if (g_writeFd >= 0)
        (void)!::write(g_writeFd, &one, 1);
    errno = saved;
}

} // namespace

bool StopSignal::Install(std::string &error)
{
    int fds[2];
    if (pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0) {
        error = std::string("cannot create the signal pipe (") + std::strerror(errno) + ")";
        return false;
    }
    m_readFd = fds[0];
    g_writeFd = fds[1];
    struct sigaction action {};
    action.sa_handler = OnStopSignal;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    return true;
}

StopSignal::~StopSignal()
{
    if (m_readFd < 0)
        return;
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    ::close(g_writeFd);
    g_writeFd = -1;
    ::close(m_readFd);
}

} // namespace strelosim
