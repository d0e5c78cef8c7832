#include "StreloHead.h"

#include "HexText.h"

#include <algorithm>

namespace strelosim {

StreloHead::StreloHead(const HeadConfig &config, EventLog &log)
    : m_config(config)
    , m_log(log)
    , m_referee(log)
{
    PowerUp();
}

StreloHead::~StreloHead() = default;

void StreloHead::PowerUp()
{
    m_codec.Reset();
    m_codec.TakeDiscarded();
    m_referee.Forget();
    m_application = std::make_unique<HeadApplication>(m_config, m_log);
    m_station = std::make_unique<SecondaryStation>(m_config.linkAddress, *m_application, m_log);
}

unsigned StreloHead::UploadRate(std::uint8_t baudCode)
{
    switch (baudCode) {
    case 2:
        return 4800;
    case 3:
        return 9600;
    case 4:
        return 19200;
    case 5:
        return 38400;
    case 6:
        return 57600;
    case 7:
        return 115200;
    default:
        return 2400;
    }
}

std::vector<Transmission> StreloHead::Receive(const std::uint8_t *data, std::size_t size, TimePoint now)
{
    std::vector<Transmission> answers;
    std::size_t taken = 0;
    while (taken < size) {
        if (InBootLoader())
            taken += ReceiveBoot(data + taken, size - taken, now, answers);
        else
            taken += ReceiveLink(data + taken, size - taken, now, answers);
    }
    if (!InBootLoader())
        LogNoise(now);
    return answers;
}

std::size_t StreloHead::ReceiveLink(const std::uint8_t *data, std::size_t size, TimePoint now, std::vector<Transmission> &answers)
{
    // Byte by byte, so that the bytes behind the switch-over telegram reach the boot loader.
    for (std::size_t i = 0; i < size; ++i) {
        for (const LinkFrame &frame : m_codec.Feed(data + i, 1, now)) {
            LogNoise(now);
            Handle(frame, now, answers);
        }
        if (InBootLoader())
            return i + 1;
    }
    return size;
}

void StreloHead::Handle(const LinkFrame &frame, TimePoint now, std::vector<Transmission> &answers)
{
    m_log.Write(now, "link", "rx " + FrameCodec::Describe(frame));
    m_referee.Judge(frame, m_station->Address(), now);
    if (const std::optional<LinkFrame> answer = m_station->Handle(frame, now))
        answers.push_back(Transmission {FrameCodec::Encode(*answer), {}, "link", "tx " + FrameCodec::Describe(*answer), true});
    // Written back into the head's configuration, the address survives the restart after a
    // firmware upgrade.
    m_config.linkAddress = m_station->Address();
    if (const std::optional<HeadApplication::UploadRequest> request = m_application->TakeUploadRequest())
        EnterBootLoader(*request, now);
}

void StreloHead::EnterBootLoader(const HeadApplication::UploadRequest &request, TimePoint now)
{
    m_log.Write(now, "boot", "enter PORT=" + std::to_string(request.port) + " BAUD=" + std::to_string(request.baudCode)
            + " RATE=" + std::to_string(UploadRate(request.baudCode)) + " FEATURES=" + std::to_string(request.features));
    LogNoise(now);
    m_bootLoader = std::make_unique<BootLoader>(m_config.eraseTime, m_config.imageOut, m_log, m_staleAfter);
}

std::size_t StreloHead::ReceiveBoot(const std::uint8_t *data, std::size_t size, TimePoint now, std::vector<Transmission> &answers)
{
    const std::size_t taken = m_bootLoader->Receive(data, size, now, answers);
    if (!m_bootLoader->Started())
        return taken;
    const std::optional<Version> version = m_config.softwareAfter ? m_config.softwareAfter : m_bootLoader->Memory().FindVersionMarker();
    if (version) {
        if (FrameCodec::ContainsLengthTrap(HeadApplication::VersionOctets(m_config.hardware, *version)))
            m_log.Error("the flashed version " + version->Text() + " cannot be reported safely; keeping " + m_config.software.Text());
        else
            m_config.software = *version;
    }
    m_bootLoader.reset();
    PowerUp();
    m_log.Write(now, "boot", "leave SOFTWARE=" + m_config.software.Text() + " A=" + std::to_string(m_config.linkAddress));
    return taken;
}

void StreloHead::SetCharacterTime(std::chrono::nanoseconds characterTime)
{
    constexpr int kQuietCharacters = 3;
    m_staleAfter = std::max<Clock::duration>(FrameCodec::kDefaultStaleAfter, characterTime * kQuietCharacters);
    m_codec.SetStaleAfter(m_staleAfter);
    if (m_bootLoader)
        m_bootLoader->SetStaleAfter(m_staleAfter);
}

void StreloHead::PortClosed(TimePoint now)
{
    if (InBootLoader()) {
        m_bootLoader->Reset(now);
        return;
    }
    m_codec.Reset();
    LogNoise(now);
}

void StreloHead::LogNoise(TimePoint now)
{
    const Bytes noise = m_codec.TakeDiscarded();
    if (!noise.empty())
        m_log.Write(now, "link", "rx noise DATA=" + HexText::Compact(noise));
}

} // namespace strelosim
