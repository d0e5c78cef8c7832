#include "UsbAdapter.h"

#include <QFile>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

// The forwarding thread looks at the adapter's state this often when the line is quiet.
constexpr int kPollMs = 10;

} // namespace

UsbAdapter::UsbAdapter(const QString &headTerminal, const QString &path)
    : m_path(path)
{
    m_head = ::open(QFile::encodeName(headTerminal).constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    if (m_head < 0 || !PlugIn())
        return;
    m_thread = std::thread([this] { Run(); });
}

UsbAdapter::~UsbAdapter()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
    Pull();
    if (m_head >= 0)
        ::close(m_head);
}

void UsbAdapter::Pull()
{
    std::lock_guard lock(m_lock);
    m_pty.reset();
    QFile::remove(m_path);
    m_pluggedIn = false;
}

bool UsbAdapter::PlugIn()
{
    std::lock_guard lock(m_lock);
    auto pty = std::make_unique<PtyPair>();
    if (!pty->IsValid())
        return false;
    QFile::remove(m_path);
    if (!QFile::link(pty->SlavePath(), m_path))
        return false;
    m_pty = std::move(pty);
    m_pluggedIn = true;
    return true;
}

void UsbAdapter::SetNoise(double rate, std::uint64_t seed)
{
    std::lock_guard lock(m_lock);
    m_noise = rate;
    m_noiseState = seed;
}

// splitmix64: the same pattern for a seed on every machine.
std::uint64_t UsbAdapter::Draw()
{
    std::uint64_t z = (m_noiseState += 0x9E3779B97F4A7C15ULL);
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

ssize_t UsbAdapter::Spoil(char *bytes, ssize_t count)
{
    m_carried += count;
    if (m_noise <= 0.0)
        return count;
    ssize_t kept = 0;
    for (ssize_t i = 0; i < count; ++i) {
        const double draw = static_cast<double>(Draw() >> 11) * 0x1.0p-53;
        if (draw >= m_noise) {
            bytes[kept++] = bytes[i];
            continue;
        }
        ++m_spoiled;
        if (draw < m_noise / 2)
            continue; // lost
        bytes[kept++] = static_cast<char>(bytes[i] ^ static_cast<char>(1 + Draw() % 255));
    }
    return kept;
}

void UsbAdapter::Run()
{
    while (!m_stop) {
        int master = -1;
        {
            std::lock_guard lock(m_lock);
            master = m_pty ? m_pty->MasterFd() : -1;
        }
        pollfd fds[2] = {{m_head, POLLIN, 0}, {master, POLLIN, 0}};
        if (::poll(fds, 2, kPollMs) <= 0)
            continue;
        std::lock_guard lock(m_lock);
        // The adapter may have been pulled while the thread waited.
        const int current = m_pty ? m_pty->MasterFd() : -1;
        if (fds[0].revents & POLLIN)
            Forward(m_head, current);
        if (current >= 0 && current == master && (fds[1].revents & POLLIN))
            Forward(current, m_head);
    }
}

void UsbAdapter::Forward(int from, int to)
{
    char buffer[4096];
    ssize_t n = ::read(from, buffer, sizeof buffer);
    // Without a terminal on the master's side the bytes fall on the floor.
    if (n <= 0 || to < 0)
        return;
    n = Spoil(buffer, n);
    ssize_t done = 0;
    while (done < n) {
        const ssize_t written = ::write(to, buffer + done, n - done);
        if (written > 0) {
            done += written;
        } else {
            pollfd out {to, POLLOUT, 0};
            if (::poll(&out, 1, 100) <= 0)
                return;
        }
    }
}
