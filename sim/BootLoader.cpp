#include "BootLoader.h"

#include "HexText.h"
#include "SRecordWriter.h"

#include <utility>

namespace strelosim {

BootLoader::BootLoader(std::chrono::milliseconds eraseTime, std::string imageOut, EventLog &log,
                       Clock::duration staleAfter)
    : m_eraseTime(eraseTime)
    , m_imageOut(std::move(imageOut))
    , m_log(log)
    , m_staleAfter(staleAfter)
{
}

std::size_t BootLoader::Receive(const std::uint8_t *data, std::size_t size, TimePoint now, std::vector<Transmission> &answers)
{
    if (m_state != State::Idle && size > 0 && now - m_lastByte > m_staleAfter)
        Reset(now);
    std::size_t taken = 0;
    while (taken < size && !m_started)
        Take(data[taken++], now, answers);
    if (size > 0)
        m_lastByte = now;
    FlushNoise(now);
    return taken;
}

void BootLoader::Reset(TimePoint now)
{
    m_noise.insert(m_noise.end(), m_frame.begin(), m_frame.end());
    m_frame.clear();
    m_state = State::Idle;
    FlushNoise(now);
}

void BootLoader::Take(std::uint8_t b, TimePoint now, std::vector<Transmission> &answers)
{
    if (m_state != State::Idle)
        m_frame.push_back(b);
    switch (m_state) {
    case State::Idle:
        if (b == kEnquiry) {
            FlushNoise(now);
            m_log.Write(now, "boot", "rx enq");
            answers.push_back(Answer(kAck));
        } else if (b == kStx) {
            m_frame = {b};
            m_state = State::Length;
        } else {
            m_noise.push_back(b);
        }
        break;
    case State::Length:
        m_length = b;
        m_state = State::Command;
        break;
    case State::Command:
        m_command = b;
        m_data.clear();
        m_state = m_length > 0 ? State::Data : State::Checksum;
        break;
    case State::Data:
        m_data.push_back(b);
        if (m_data.size() == m_length)
            m_state = State::Checksum;
        break;
    case State::Checksum:
        m_checksum = b;
        m_state = State::End;
        break;
    case State::End:
        Complete(b, now, answers);
        break;
    }
}

void BootLoader::Complete(std::uint8_t end, TimePoint now, std::vector<Transmission> &answers)
{
    FlushNoise(now);
    m_state = State::Idle;
    const Bytes frame = std::exchange(m_frame, {});
    if (end != kEtx) {
        m_log.Write(now, "boot", "rx bad DATA=" + HexText::Compact(frame));
        answers.push_back(Answer(kNak));
        return;
    }
    m_log.Write(now, "boot", "rx frame CMD=" + HexText::Octet(m_command) + " LEN=" + std::to_string(m_length) + " DATA="
            + HexText::Compact(m_data) + " CKS=" + HexText::Octet(m_checksum));
    if (m_command == kStart) {
        Start(now);
        return;
    }
    answers.push_back(Execute(now));
}

Transmission BootLoader::Execute(TimePoint now)
{
    switch (m_command) {
    case kEraseA:
    case kEraseB:
        m_memory.Erase();
        m_log.Write(now, "boot", "erase MS=" + std::to_string(m_eraseTime.count()));
        return Answer(kAck, m_eraseTime);
    case kWrite24:
        return Write(3, now);
    case kWrite32:
        return Write(4, now);
    default:
        m_log.Write(now, "boot", "unknown CMD=" + HexText::Octet(m_command));
        return Answer(kNak);
    }
}

Transmission BootLoader::Write(std::size_t addressOctets, TimePoint now)
{
    unsigned sum = m_checksum;
    for (const std::uint8_t b : m_data)
        sum += b;
    const bool sound = (sum & 0xFF) == 0 && m_data.size() > addressOctets;
    std::uint32_t address = 0;
    for (std::size_t i = 0; i < addressOctets && i < m_data.size(); ++i)
        address = (address << 8) | m_data[i];
    const std::size_t size = m_data.size() > addressOctets ? m_data.size() - addressOctets : 0;
    m_log.Write(now, "boot", "write ADDR=" + HexText::Compact({static_cast<std::uint8_t>(address >> 24), static_cast<std::uint8_t>(address >> 16),
                                                              static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address)})
            + " SIZE=" + std::to_string(size) + (sound ? " CKS=ok" : " CKS=bad"));
    if (!sound)
        return Answer(kNak);
    m_memory.Write(address, Bytes(m_data.begin() + static_cast<std::ptrdiff_t>(addressOctets), m_data.end()));
    return Answer(kAck);
}

void BootLoader::Start(TimePoint now)
{
    m_started = true;
    std::string outcome = "-";
    if (!m_imageOut.empty()) {
        std::string error;
        if (SRecordWriter::WriteFile(m_imageOut, m_memory, error))
            outcome = m_imageOut;
        else
            m_log.Error(error);
    }
    const std::optional<Version> version = m_memory.FindVersionMarker();
    m_log.Write(now, "boot", "start BYTES=" + std::to_string(m_memory.Size()) + " RUNS=" + std::to_string(m_memory.Runs().size())
            + " VERSION=" + (version ? version->Text() : "-") + " IMAGE=" + outcome);
}

void BootLoader::FlushNoise(TimePoint now)
{
    if (m_noise.empty())
        return;
    m_log.Write(now, "boot", "rx noise DATA=" + HexText::Compact(m_noise));
    m_noise.clear();
}

Transmission BootLoader::Answer(std::uint8_t code, std::chrono::milliseconds delay)
{
    return Transmission {{code}, delay, "boot", code == kAck ? "tx ack" : "tx nak", false};
}

} // namespace strelosim
