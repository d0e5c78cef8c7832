#include "LinkReferee.h"

#include "FrameCodec.h"

#include <numeric>

namespace strelosim {

namespace {

constexpr std::uint8_t kBroadcastAddress = 255;
constexpr std::uint8_t kFunctionReset = 0;
constexpr std::uint8_t kFunctionUserData = 3;
constexpr std::uint8_t kFunctionUserDataNoReply = 4;

const char *KindName(LinkReferee::Kind kind)
{
    switch (kind) {
    case LinkReferee::Kind::ShortUserData:
        return "short-user-data";
    case LinkReferee::Kind::BroadcastAnswer:
        return "broadcast-answer";
    case LinkReferee::Kind::FrameCount:
        return "frame-count";
    }
    return "";
}

} // namespace

LinkReferee::LinkReferee(EventLog &log)
    : m_log(log)
{
}

void LinkReferee::Judge(const LinkFrame &frame, std::uint8_t address, TimePoint now)
{
    if (frame.form == LinkFrame::Form::Ack || !frame.FromPrimary())
        return;
    const bool broadcast = frame.address == kBroadcastAddress;
    const bool userData = frame.Function() == kFunctionUserData || frame.Function() == kFunctionUserDataNoReply;
    if (frame.form == LinkFrame::Form::Short && userData) {
        Report(Kind::ShortUserData, frame, now, "user-data-in-a-short-telegram");
        return;
    }
    if (broadcast && frame.Function() != kFunctionUserDataNoReply) {
        Report(Kind::BroadcastAnswer, frame, now, "every-head-would-answer");
        return;
    }
    if (!broadcast && frame.address != address)
        return;
    if (frame.Function() == kFunctionReset) {
        m_afterReset = true;
        m_lastFcb.reset();
        return;
    }
    if (!frame.Bit4())
        return;
    if (const std::optional<std::string> why = FrameCountFault(frame, broadcast))
        Report(Kind::FrameCount, frame, now, *why);
    Remember(frame, broadcast);
}

std::optional<std::string> LinkReferee::FrameCountFault(const LinkFrame &frame, bool broadcast) const
{
    if (m_afterReset && !frame.Bit5())
        return "first-after-reset-without-FCB";
    if (!m_lastFcb || *m_lastFcb != frame.Bit5())
        return std::nullopt;
    if (broadcast)
        return "broadcast-without-new-FCB";
    if (m_lastWasBroadcast)
        return "repeats-a-broadcast";
    if (frame.Function() != m_lastFunction)
        return "repetition-with-another-function";
    return std::nullopt;
}

void LinkReferee::Remember(const LinkFrame &frame, bool broadcast)
{
    m_afterReset = false;
    m_lastFcb = frame.Bit5();
    m_lastFunction = frame.Function();
    m_lastWasBroadcast = broadcast;
}

void LinkReferee::Forget()
{
    m_afterReset = false;
    m_lastFcb.reset();
    m_lastWasBroadcast = false;
}

int LinkReferee::Count() const
{
    return std::accumulate(m_counts.begin(), m_counts.end(), 0);
}

std::string LinkReferee::Summary() const
{
    std::string text = "violations=" + std::to_string(Count());
    for (Kind kind : {Kind::ShortUserData, Kind::BroadcastAnswer, Kind::FrameCount})
        text += std::string(" ") + KindName(kind) + "=" + std::to_string(Count(kind));
    return text;
}

void LinkReferee::Report(Kind kind, const LinkFrame &frame, TimePoint now, const std::string &why)
{
    ++m_counts[static_cast<std::size_t>(kind)];
    m_log.Write(now, "link", std::string("violation KIND=") + KindName(kind) + " WHY=" + why + " " + FrameCodec::Describe(frame));
}

} // namespace strelosim
