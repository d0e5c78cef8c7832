#include "RecordingLink.h"

void RecordingLink::Feed(const ByteVector &bytes)
{
    // Counted before the call: the hooks run while the last byte is being assembled.
    m_fed += bytes.size();
    // Deliveries follow each other without a pause, however long the fuzzer takes between
    // them: the same stream must give the same telegrams on a loaded machine. A pause is fed
    // on purpose through FeedAfterPause.
    m_clock += std::chrono::microseconds(1);
    Assemble(bytes, m_clock);
}

void RecordingLink::FeedAfterPause(const ByteVector &bytes)
{
    m_clock += kCharacterTimeout;
    Feed(bytes);
}

void RecordingLink::OnAck()
{
    m_events.push_back({Event::Ack, 0, 0, {}, m_fed});
}

void RecordingLink::OnShortTelegram(std::uint8_t control, std::uint8_t address)
{
    m_events.push_back({Event::Short, control, address, {}, m_fed});
}

void RecordingLink::OnLongTelegram(std::uint8_t control, std::uint8_t address, const ByteVector &userData)
{
    m_events.push_back({Event::Long, control, address, userData, m_fed});
}

void RecordingLink::ReportError(const std::string &text)
{
    m_errors.push_back(text);
}
