#include "LineRelay.h"

#include <fcntl.h>
#include <poll.h>
#include <termios.h>
#include <unistd.h>

LineRelay::LineRelay(const QString &headTerminal)
{
    m_head = ::open(headTerminal.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_head >= 0) {
        termios tio {};
        tcgetattr(m_head, &tio);
        cfmakeraw(&tio);
        tcsetattr(m_head, TCSANOW, &tio);
    }
    m_thread = std::thread([this] { Run(); });
}

LineRelay::~LineRelay()
{
    m_stop = true;
    m_thread.join();
    if (m_head >= 0)
        ::close(m_head);
}

void LineRelay::SetToHeadFilter(std::function<void(QByteArray &)> filter)
{
    std::lock_guard lock(m_filterLock);
    m_toHead = std::move(filter);
}

void LineRelay::Run()
{
    while (!m_stop.load() && IsValid()) {
        pollfd fds[2] = {{m_pty.MasterFd(), POLLIN, 0}, {m_head, POLLIN, 0}};
        if (poll(fds, 2, 20) <= 0)
            continue;
        if (fds[0].revents & POLLIN)
            Forward(m_pty.MasterFd(), m_head);
        if (fds[1].revents & POLLIN)
            Forward(m_head, m_pty.MasterFd());
    }
}

void LineRelay::Forward(int from, int to)
{
    char buffer[1024];
    const ssize_t n = ::read(from, buffer, sizeof buffer);
    if (n <= 0 || m_cut.load())
        return;
    QByteArray batch(buffer, n);
    if (to == m_head) {
        std::lock_guard lock(m_filterLock);
        if (m_toHead)
            m_toHead(batch);
    }
    qsizetype done = 0;
    while (done < batch.size()) {
        const ssize_t written = ::write(to, batch.constData() + done, static_cast<size_t>(batch.size() - done));
        if (written > 0) {
            done += written;
        } else {
            pollfd out {to, POLLOUT, 0};
            if (poll(&out, 1, 100) <= 0)
                return;
        }
    }
}
