#pragma once

#include "EventLog.h"
#include "HeadApplication.h"
#include "LinkFrame.h"

#include <optional>

namespace strelosim {

// The head's link station: the secondary of an unbalanced link. It answers only telegrams sent to
// its own address by the primary, and takes broadcast user data without answering.
//
// With the frame count bit valid, a telegram whose FCB equals that of the previous one is a
// repetition: the master did not get the answer. It is answered again with the stored answer and
// its user data is not handed to the application a second time.
//
// A reset of the link forgets the FCB and drops the replies the master has not fetched yet. The
// master treats a link-up as a fresh start: it forgets its own queued jobs, asks for everything
// again, and takes nothing but 0xE5 as the answer to its first poll. Replies kept from before the
// reset would be stale copies of what it asks again, and on a noisy line, where the link is lost
// and rebuilt again and again, they would pile up with every outage, so that every poll carried a
// long reply and the link rarely got past its start-up again.
class SecondaryStation
{
public:
    static constexpr std::uint8_t kBroadcastAddress = 255;
    static constexpr std::uint8_t kFunctionReset = 0;
    static constexpr std::uint8_t kFunctionUserData = 3;
    static constexpr std::uint8_t kFunctionUserDataNoReply = 4;
    static constexpr std::uint8_t kFunctionPoll = 8;
    static constexpr std::uint8_t kFunctionStatus = 9;
    static constexpr std::uint8_t kControlStatus = 0x0B; // S1: status of link
    static constexpr std::uint8_t kControlUserData = 0x08;

    SecondaryStation(std::uint8_t address, HeadApplication &application, EventLog &log);

    // The answer to a received telegram, if any.
    std::optional<LinkFrame> Handle(const LinkFrame &request, TimePoint now);

    std::uint8_t Address() const { return m_address; }
    // True when the telegram can be framed without the length trap at the current address.
    bool FramesCleanly(const Bytes &userData) const;

private:
    std::optional<LinkFrame> Answer(const LinkFrame &request, TimePoint now);
    void TakeBroadcast(const LinkFrame &request, TimePoint now);
    void ApplyAddressChange(TimePoint now);

    std::uint8_t m_address;
    HeadApplication &m_application;
    EventLog &m_log;
    std::optional<bool> m_lastFcb;
    std::optional<LinkFrame> m_lastAnswer;
};

} // namespace strelosim
