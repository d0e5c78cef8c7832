#include "PtyTransport.h"

#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace strelosim {

namespace {

struct Rate
{
    speed_t code;
    unsigned baud;
};

constexpr std::array<Rate, 16> kRates {{
    {B110, 110}, {B300, 300}, {B600, 600}, {B1200, 1200}, {B2400, 2400}, {B4800, 4800}, {B9600, 9600},
    {B19200, 19200}, {B38400, 38400}, {B57600, 57600}, {B115200, 115200}, {B230400, 230400},
    {B460800, 460800}, {B500000, 500000}, {B921600, 921600}, {B1000000, 1000000},
}};

std::string SystemError(const char *what)
{
    return std::string(what) + " (" + std::strerror(errno) + ")";
}

} // namespace

PtyTransport::~PtyTransport()
{
    Release();
}

void PtyTransport::Release()
{
    for (int *fd : {&m_watch, &m_keepOpen, &m_control}) {
        if (*fd >= 0)
            ::close(*fd);
        *fd = -1;
    }
}

bool PtyTransport::Open(std::string &error)
{
    m_control = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_control < 0) {
        error = SystemError("cannot create a pseudo-terminal");
        return false;
    }
    char path[PATH_MAX];
    if (grantpt(m_control) != 0 || unlockpt(m_control) != 0 || ptsname_r(m_control, path, sizeof path) != 0) {
        error = SystemError("cannot unlock the pseudo-terminal");
        Release();
        return false;
    }
    m_terminalPath = path;
    m_keepOpen = ::open(path, O_RDWR | O_NOCTTY | O_CLOEXEC);
    termios tio {};
    if (m_keepOpen < 0 || tcgetattr(m_keepOpen, &tio) != 0) {
        error = SystemError("cannot open the terminal end of the pseudo-terminal");
        Release();
        return false;
    }
    // Raw from the start, so that nothing is echoed back to the head before the master has
    // configured the port.
    cfmakeraw(&tio);
    tcsetattr(m_keepOpen, TCSANOW, &tio);
    fcntl(m_control, F_SETFL, fcntl(m_control, F_GETFL) | O_NONBLOCK);

    m_watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (m_watch < 0 || inotify_add_watch(m_watch, path, IN_CLOSE_WRITE | IN_CLOSE_NOWRITE) < 0) {
        error = SystemError("cannot watch the terminal end of the pseudo-terminal");
        Release();
        return false;
    }
    return true;
}

std::size_t PtyTransport::Read(std::uint8_t *buffer, std::size_t size)
{
    const ssize_t n = ::read(m_control, buffer, size);
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

std::size_t PtyTransport::Write(const Bytes &bytes)
{
    if (bytes.empty())
        return 0;
    const ssize_t n = ::write(m_control, bytes.data(), bytes.size());
    return n > 0 ? static_cast<std::size_t>(n) : 0;
}

bool PtyTransport::TakeCloseEvents()
{
    alignas(inotify_event) char buffer[4096];
    bool closed = false;
    for (;;) {
        const ssize_t n = ::read(m_watch, buffer, sizeof buffer);
        if (n <= 0)
            break;
        closed = true;
    }
    if (closed) {
        ioctl(m_keepOpen, TIOCNXCL);
        tcflush(m_keepOpen, TCIFLUSH);
    }
    return closed;
}

unsigned PtyTransport::BaudRate() const
{
    termios tio {};
    if (tcgetattr(m_control, &tio) != 0)
        return 0;
    const speed_t speed = cfgetospeed(&tio);
    for (const Rate &rate : kRates) {
        if (rate.code == speed)
            return rate.baud;
    }
    return 0;
}

std::chrono::nanoseconds PtyTransport::CharacterTime(bool parityBit) const
{
    termios tio {};
    const unsigned baud = BaudRate();
    if (baud == 0 || tcgetattr(m_control, &tio) != 0)
        return std::chrono::nanoseconds(0);
    unsigned dataBits = 8;
    switch (tio.c_cflag & CSIZE) {
    case CS5:
        dataBits = 5;
        break;
    case CS6:
        dataBits = 6;
        break;
    case CS7:
        dataBits = 7;
        break;
    default:
        break;
    }
    const unsigned bits = 1 + dataBits + ((parityBit || (tio.c_cflag & PARENB)) ? 1 : 0) + ((tio.c_cflag & CSTOPB) ? 2 : 1);
    return std::chrono::nanoseconds(1'000'000'000LL * bits / baud);
}

} // namespace strelosim
