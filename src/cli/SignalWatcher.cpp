#include "SignalWatcher.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

int SignalWatcher::s_pipe[2] = {-1, -1};

SignalWatcher::SignalWatcher(QObject *parent)
    : QObject(parent)
{
    if (pipe2(s_pipe, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_notifier = new QSocketNotifier(s_pipe[0], QSocketNotifier::Read, this);
    connect(m_notifier, &QSocketNotifier::activated, this, &SignalWatcher::Drain);
    struct sigaction action {};
    action.sa_handler = &SignalWatcher::Handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

SignalWatcher::~SignalWatcher()
{
    signal(SIGINT, SIG_DFL);
    signal(SIGTERM, SIG_DFL);
    delete m_notifier;
    for (int &fd : s_pipe) {
        if (fd >= 0)
            ::close(fd);
        fd = -1;
    }
}

void SignalWatcher::Handler(int)
{
    const char byte = 1;
    [[maybe_unused]] const ssize_t written = ::write(s_pipe[1], &byte, 1);
}

void SignalWatcher::Drain()
{
    char buffer[16];
    while (::read(s_pipe[0], buffer, sizeof buffer) > 0) {
    }
    emit Interrupted();
}
