#include "ScriptedBootLoader.h"

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr std::uint8_t kEnquiry = 0x05;
constexpr std::uint8_t kStx = 0x02;
constexpr std::uint8_t kWrite32 = 0x32;
// STX, LEN, CMD, CKS and ETX around the data bytes.
constexpr std::size_t kFrameOverhead = 5;

} // namespace

ScriptedBootLoader::ScriptedBootLoader(int masterFd, const QString &slavePath)
    : m_master(masterFd)
    , m_policy([](const Frame &, int) { return Ack(); })
{
    m_spy = ::open(slavePath.toLocal8Bit().constData(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
    m_thread = std::thread([this] { Run(); });
}

ScriptedBootLoader::~ScriptedBootLoader()
{
    Stop();
    if (m_spy >= 0)
        ::close(m_spy);
}

void ScriptedBootLoader::Stop()
{
    m_stop = true;
    if (m_thread.joinable())
        m_thread.join();
}

void ScriptedBootLoader::SetPolicy(Policy policy)
{
    std::lock_guard lock(m_mutex);
    m_policy = std::move(policy);
}

std::vector<ScriptedBootLoader::Frame> ScriptedBootLoader::Frames()
{
    std::lock_guard lock(m_mutex);
    return m_frames;
}

speed_t ScriptedBootLoader::RateAtFirstEnquiry()
{
    std::lock_guard lock(m_mutex);
    return m_rate;
}

std::uint32_t ScriptedBootLoader::Address(const Frame &frame)
{
    const std::size_t width = frame.command == kWrite32 ? 4 : 3;
    std::uint32_t address = 0;
    for (std::size_t i = 0; i < width && i < frame.data.size(); ++i)
        address = address << 8 | frame.data[i];
    return address;
}

ByteVector ScriptedBootLoader::Payload(const Frame &frame)
{
    const std::size_t width = frame.command == kWrite32 ? 4 : 3;
    if (frame.data.size() <= width)
        return {};
    return ByteVector(frame.data.begin() + static_cast<std::ptrdiff_t>(width), frame.data.end());
}

void ScriptedBootLoader::Run()
{
    while (!m_stop.load()) {
        pollfd in {m_master, POLLIN, 0};
        if (poll(&in, 1, 20) <= 0 || !(in.revents & POLLIN))
            continue;
        std::uint8_t buffer[512];
        const ssize_t n = ::read(m_master, buffer, sizeof buffer);
        for (ssize_t i = 0; i < n; ++i)
            Feed(buffer[i]);
    }
}

void ScriptedBootLoader::Feed(std::uint8_t byte)
{
    if (m_partial.empty()) {
        if (byte == kEnquiry) {
            Frame enquiry;
            enquiry.enquiry = true;
            Complete(enquiry);
        } else if (byte == kStx) {
            m_partial.push_back(byte);
        }
        return;
    }
    m_partial.push_back(byte);
    if (m_partial.size() < 2 || m_partial.size() < m_partial[1] + kFrameOverhead)
        return;
    Frame frame;
    frame.length = m_partial[1];
    frame.command = m_partial[2];
    frame.data.assign(m_partial.begin() + 3, m_partial.end() - 2);
    frame.checksum = m_partial[m_partial.size() - 2];
    m_partial.clear();
    Complete(frame);
}

void ScriptedBootLoader::Complete(const Frame &frame)
{
    QByteArray answer;
    {
        std::lock_guard lock(m_mutex);
        if (frame.enquiry && m_rate == B0 && m_spy >= 0) {
            termios tio {};
            if (tcgetattr(m_spy, &tio) == 0)
                m_rate = cfgetospeed(&tio);
        }
        answer = m_policy(frame, static_cast<int>(m_frames.size()));
        m_frames.push_back(frame);
    }
    if (!answer.isEmpty() && ::write(m_master, answer.constData(), static_cast<size_t>(answer.size())) < 0
        && errno != EAGAIN) {
        m_stop = true; // the test closed the line
    }
}
