#pragma once

#include "tls/CTlsOsi2.h"

#include <string>
#include <vector>

// The link layer without a port: a test feeds it bytes through OnReceive and it records what the
// receive assembler handed up, as one text per event, and the error reports.
class RecordingLink : public CTlsOsi2
{
public:
    struct Event
    {
        enum Kind { Ack, Short, Long } kind;
        std::uint8_t control = 0;
        std::uint8_t address = 0;
        ByteVector userData;
        std::size_t fed = 0; // bytes fed before the call, counting the byte that completed it

        bool operator==(const Event &other) const
        {
            return kind == other.kind && control == other.control && address == other.address
                && userData == other.userData;
        }
    };

    void Feed(const ByteVector &bytes);
    // The line falls quiet for longer than the character time-out before `bytes` arrive.
    void FeedAfterPause(const ByteVector &bytes);

    const std::vector<Event> &Events() const { return m_events; }
    const std::vector<std::string> &Errors() const { return m_errors; }
    std::size_t PendingUserData() const { return m_rxData.size(); }
    unsigned State() const { return m_state.load(); }

protected:
    void OnAck() override;
    void OnShortTelegram(std::uint8_t control, std::uint8_t address) override;
    void OnLongTelegram(std::uint8_t control, std::uint8_t address, const ByteVector &userData) override;
    void ReportError(const std::string &text) override;

private:
    std::size_t m_fed = 0;
    ArrivalTime m_clock {};
    std::vector<Event> m_events;
    std::vector<std::string> m_errors;
};
