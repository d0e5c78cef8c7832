#include "PtyPair.h"

#include <QElapsedTimer>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <stdlib.h>
#include <termios.h>
#include <unistd.h>

PtyPair::PtyPair()
{
    m_master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_master < 0)
        return;
    if (grantpt(m_master) != 0 || unlockpt(m_master) != 0) {
        CloseMaster();
        return;
    }
    m_slavePath = QString::fromLocal8Bit(ptsname(m_master));
    m_keepSlave = ::open(ptsname(m_master), O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios tio {};
    if (m_keepSlave >= 0 && tcgetattr(m_keepSlave, &tio) == 0) {
        cfmakeraw(&tio);
        tcsetattr(m_keepSlave, TCSANOW, &tio);
    }
    fcntl(m_master, F_SETFL, fcntl(m_master, F_GETFL) | O_NONBLOCK);
}

PtyPair::~PtyPair()
{
    CloseMaster();
}

void PtyPair::CloseMaster()
{
    if (m_keepSlave >= 0)
        ::close(m_keepSlave);
    m_keepSlave = -1;
    if (m_master >= 0)
        ::close(m_master);
    m_master = -1;
}

bool PtyPair::Write(const QByteArray &bytes)
{
    qsizetype done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::write(m_master, bytes.constData() + done, bytes.size() - done);
        if (n > 0) {
            done += n;
        } else if (n < 0 && (errno == EAGAIN || errno == EINTR)) {
            pollfd out {m_master, POLLOUT, 0};
            poll(&out, 1, 100);
        } else {
            return false;
        }
    }
    return true;
}

QByteArray PtyPair::Read(int count, int timeoutMs)
{
    QByteArray result;
    QElapsedTimer clock;
    clock.start();
    while (result.size() < count) {
        const qint64 left = timeoutMs - clock.elapsed();
        if (left <= 0)
            break;
        pollfd in {m_master, POLLIN, 0};
        if (poll(&in, 1, static_cast<int>(left)) <= 0)
            continue;
        char buffer[4096];
        const ssize_t n = ::read(m_master, buffer, sizeof buffer);
        if (n > 0)
            result.append(buffer, n);
        else if (n < 0 && errno != EAGAIN && errno != EINTR)
            break;
    }
    return result;
}

QByteArray PtyPair::ReadFor(int timeoutMs)
{
    return Read(1 << 30, timeoutMs);
}
