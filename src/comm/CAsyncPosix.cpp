#include "CAsyncPosix.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <termios.h>
#include <unistd.h>

namespace {

constexpr speed_t kSpeeds[CAsync::kBaudIndexCount] = {B110,  B300,   B600,   B1200,  B2400, B4800,
                                                      B9600, B19200, B38400, B57600, B115200};
// Unix98 pseudo-terminal slaves use the majors 136 to 143.
constexpr unsigned kPtySlaveMajorFirst = 136;
constexpr unsigned kPtySlaveMajorLast = 143;
constexpr int kWriteStallMs = 2000;

std::string SystemError(int error)
{
    return std::strerror(error);
}

void ApplySelectors(termios &tio, int dataBits, int stopBits, int parity)
{
    if (dataBits == CAsync::kDataBits7 || dataBits == CAsync::kDataBits8) {
        tio.c_cflag &= ~CSIZE;
        tio.c_cflag |= dataBits == CAsync::kDataBits7 ? CS7 : CS8;
    }
    if (stopBits == CAsync::kStopBits1)
        tio.c_cflag &= ~CSTOPB;
    else if (stopBits == CAsync::kStopBits2)
        tio.c_cflag |= CSTOPB;
    if (parity == CAsync::kParityNone) {
        tio.c_cflag &= ~(PARENB | PARODD);
        tio.c_iflag &= ~INPCK;
    } else if (parity == CAsync::kParityEven) {
        tio.c_cflag = (tio.c_cflag | PARENB) & ~PARODD;
        tio.c_iflag |= INPCK;
    } else if (parity == CAsync::kParityOdd) {
        tio.c_cflag |= PARENB | PARODD;
        tio.c_iflag |= INPCK;
    }
}

// Binary mode: no flow control, no character processing, reads return what is there.
void MakeRaw(termios &tio)
{
    const tcflag_t frame = tio.c_cflag & (CSIZE | PARENB | PARODD | CSTOPB);
    const tcflag_t parityCheck = tio.c_iflag & INPCK;
    cfmakeraw(&tio);
    tio.c_cflag = (tio.c_cflag & ~(CSIZE | PARENB | PARODD | CSTOPB)) | frame;
    tio.c_cflag |= CLOCAL | CREAD;
    tio.c_cflag &= ~CRTSCTS;
    tio.c_iflag &= ~(IXON | IXOFF | IXANY);
    tio.c_iflag |= parityCheck;
    tio.c_cc[VMIN] = 1;
    tio.c_cc[VTIME] = 0;
}

bool SameSettings(const termios &want, const termios &have, bool framingCounts)
{
    if (cfgetospeed(&want) != cfgetospeed(&have) || cfgetispeed(&want) != cfgetispeed(&have))
        return false;
    if ((want.c_cflag & CSTOPB) != (have.c_cflag & CSTOPB))
        return false;
    if ((have.c_lflag & (ICANON | ECHO | ISIG)) != 0 || (have.c_oflag & OPOST) != 0)
        return false;
    if ((have.c_iflag & (IXON | IXOFF)) != 0 || (have.c_cflag & CRTSCTS) != 0)
        return false;
    if (framingCounts)
        return (want.c_cflag & (CSIZE | PARENB | PARODD)) == (have.c_cflag & (CSIZE | PARENB | PARODD));
    return true;
}

} // namespace

CAsyncPosix::CAsyncPosix() = default;

CAsyncPosix::~CAsyncPosix()
{
    Close();
}

std::string CAsyncPosix::DevicePath(const std::string &portName)
{
    if (!portName.empty() && portName.front() == '/')
        return portName;
    if (portName.size() > 3 && portName.compare(0, 3, "COM") == 0) {
        const std::string digits = portName.substr(3);
        if (digits.find_first_not_of("0123456789") == std::string::npos) {
            const int n = std::stoi(digits);
            if (n >= 1)
                return "/dev/ttyS" + std::to_string(n - 1);
        }
    }
    return "/dev/" + portName;
}

bool CAsyncPosix::Open(const std::string &portName)
{
    if (IsOpen() || m_reader.joinable())
        Close();

    const std::string path = DevicePath(portName);
    RecordOpenFailure({PortOpenFailure::Step::None, 0, portName, path});
    m_stopFd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    if (m_stopFd < 0) {
        const int error = errno;
        RecordOpenFailure({PortOpenFailure::Step::Open, error, portName, path});
        ReportError("CAsyncPosix::Open: Unable to create the stop event (" + SystemError(error) + ")");
        return false;
    }
    const int fd = ::open(path.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        const int error = errno;
        ReleaseHandles();
        RecordOpenFailure({PortOpenFailure::Step::Open, error, portName, path});
        ReportError("CAsyncPosix::Open: Unable to open " + path + " (" + SystemError(error) + ")");
        return false;
    }
    // Exclusive access: a second program (or a second open in this one) must not share the line.
    if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
        const int error = errno;
        ::close(fd);
        ReleaseHandles();
        RecordOpenFailure({PortOpenFailure::Step::InUse, error, portName, path});
        ReportError("CAsyncPosix::Open: " + path + " is already in use by another program");
        return false;
    }
    if (!isatty(fd)) {
        const int error = errno;
        ::close(fd);
        ReleaseHandles();
        RecordOpenFailure({PortOpenFailure::Step::NotSerial, error, portName, path});
        ReportError("CAsyncPosix::Open: " + path + " is not a serial device");
        return false;
    }
    ioctl(fd, TIOCEXCL);
    m_fd = fd;
    return true;
}

bool CAsyncPosix::IsPseudoTerminal() const
{
    struct stat st {};
    if (fstat(m_fd.load(), &st) != 0 || !S_ISCHR(st.st_mode))
        return false;
    const unsigned m = major(st.st_rdev);
    return m >= kPtySlaveMajorFirst && m <= kPtySlaveMajorLast;
}

bool CAsyncPosix::Configure(int baudIndex, int dataBits, int stopBits, int parity)
{
    const int fd = m_fd.load();
    if (fd < 0)
        return false;

    termios tio {};
    if (tcgetattr(fd, &tio) != 0) {
        RecordRefusedSettings(errno, baudIndex, dataBits, stopBits, parity);
        ReportError("CAsyncPosix::Configure: Unable to read the device settings (" + SystemError(errno) + ")");
        return false;
    }
    const termios original = tio;
    if (baudIndex >= 0 && baudIndex < kBaudIndexCount) {
        cfsetispeed(&tio, kSpeeds[baudIndex]);
        cfsetospeed(&tio, kSpeeds[baudIndex]);
    }
    ApplySelectors(tio, dataBits, stopBits, parity);
    MakeRaw(tio);

    // A pseudo-terminal always runs eight data bits without parity and refuses a call whose only
    // change is one it cannot hold; there the frame format is left as the terminal has it.
    const bool pty = IsPseudoTerminal();
    if (pty) {
        tio.c_cflag = (tio.c_cflag & ~(CSIZE | PARENB | PARODD)) | (original.c_cflag & (CSIZE | PARENB | PARODD));
    }
    if (tcsetattr(fd, TCSANOW, &tio) != 0) {
        RecordRefusedSettings(errno, baudIndex, dataBits, stopBits, parity);
        ReportError("CAsyncPosix::Configure: Unable to apply the device settings (" + SystemError(errno) + ")");
        return false;
    }
    termios readBack {};
    if (tcgetattr(fd, &readBack) != 0 || !SameSettings(tio, readBack, !pty)) {
        RecordRefusedSettings(0, baudIndex, dataBits, stopBits, parity);
        ReportError("CAsyncPosix::Configure: The device did not take the requested settings");
        return false;
    }

    if (!m_reader.joinable()) {
        m_reading = true;
        m_reader = std::thread([this] { ThreadProc(); });
        m_configured = true;
    }
    return true;
}

void CAsyncPosix::SetModemLine(int line, bool on, const char *operation)
{
    const int fd = m_fd.load();
    if (fd < 0)
        return;
    // A pseudo-terminal has no modem lines: nothing to set.
    if (ioctl(fd, on ? TIOCMBIS : TIOCMBIC, &line) != 0 && !IsPseudoTerminal())
        ReportError(std::string("CAsyncPosix::") + operation + ": Setting the modem line failed (" + SystemError(errno) + ")");
}

void CAsyncPosix::SetRTS(bool on)
{
    SetModemLine(TIOCM_RTS, on, "SetRTS");
}

void CAsyncPosix::SetDTR(bool on)
{
    SetModemLine(TIOCM_DTR, on, "SetDTR");
}

bool CAsyncPosix::Tx(const ByteVector &data)
{
    std::lock_guard lock(m_txMutex);
    if (m_fd.load() < 0 || !m_configured.load())
        return false;
    TraceBytes(kTraceLevelRaw, kDirectionSent, data);
    TapBytes(kDirectionSent, data);
    if (!WriteAll(data)) {
        ReportError("CAsyncPosix::Tx: Sending data failed");
        return false;
    }
    OnTransmitComplete();
    return true;
}

bool CAsyncPosix::WriteAll(const ByteVector &data)
{
    const int fd = m_fd.load();
    std::size_t done = 0;
    while (done < data.size()) {
        const ssize_t n = ::write(fd, data.data() + done, data.size() - done);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0 && errno == EAGAIN) {
            // The output queue is full (a slow line): wait until the device takes more.
            pollfd out {fd, POLLOUT, 0};
            if (poll(&out, 1, kWriteStallMs) <= 0 || (out.revents & (POLLERR | POLLHUP | POLLNVAL)))
                return false;
            continue;
        }
        return false;
    }
    return true;
}

bool CAsyncPosix::ReadAvailable(ByteVector &batch)
{
    std::uint8_t buffer[4096];
    for (;;) {
        const ssize_t n = ::read(m_fd.load(), buffer, sizeof buffer);
        if (n > 0) {
            batch.insert(batch.end(), buffer, buffer + n);
            continue;
        }
        if (n < 0 && errno == EINTR)
            continue;
        // A terminal reports "nothing more for now" as 0 or EAGAIN; a vanished device shows up as a
        // read error or as a hang-up from poll().
        if (n == 0 || (n < 0 && errno == EAGAIN))
            return true;
        return false;
    }
}

void CAsyncPosix::ThreadProc()
{
    // A device that keeps waking the reader without delivering a byte is treated as gone, so a
    // misbehaving driver cannot turn the reader into a busy loop.
    constexpr int kEmptyWakeupLimit = 1000;
    int emptyWakeups = 0;
    pollfd fds[2] = {{m_fd.load(), POLLIN, 0}, {m_stopFd, POLLIN, 0}};
    for (;;) {
        if (poll(fds, 2, -1) < 0) {
            if (errno == EINTR)
                continue;
            ReportError("CAsyncPosix::ThreadProc: Waiting for data failed (" + SystemError(errno) + ")");
            break;
        }
        if (fds[1].revents != 0)
            break;
        const short events = fds[0].revents;
        if (events == 0)
            continue;
        ByteVector batch;
        const bool alive = (events & POLLIN) ? ReadAvailable(batch) : false;
        emptyWakeups = batch.empty() ? emptyWakeups + 1 : 0;
        if (!batch.empty()) {
            TapBytes(kDirectionReceived, batch);
            TraceBytes(kTraceLevelRaw, kDirectionReceived, batch);
            OnReceive(batch);
        }
        if (!alive || (events & (POLLHUP | POLLERR | POLLNVAL)) || emptyWakeups >= kEmptyWakeupLimit) {
            ReportError("CAsyncPosix::ThreadProc: The device has been disconnected");
            break;
        }
    }
    m_reading = false;
}

void CAsyncPosix::Close()
{
    if (m_reader.joinable()) {
        if (m_reader.get_id() == std::this_thread::get_id()) {
            ReportError("CAsyncPosix::Close: The port cannot be closed from its own reader thread");
            return;
        }
        const std::uint64_t one = 1;
        if (::write(m_stopFd, &one, sizeof one) < 0) {
            // The eventfd counter cannot overflow here; a failed write leaves the thread blocked,
            // so report it rather than wait for ever.
            ReportError("CAsyncPosix::Close: Unable to stop the reader thread");
            return;
        }
        m_reader.join();
    }
    std::lock_guard lock(m_txMutex);
    ReleaseHandles();
}

void CAsyncPosix::ReleaseHandles()
{
    m_configured = false;
    const int fd = m_fd.exchange(-1);
    if (fd >= 0)
        ::close(fd);
    if (m_stopFd >= 0) {
        ::close(m_stopFd);
        m_stopFd = -1;
    }
    m_reading = false;
}
