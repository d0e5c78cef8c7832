#include "SecondaryStation.h"

#include "FrameCodec.h"

namespace strelosim {

SecondaryStation::SecondaryStation(std::uint8_t address, HeadApplication &application, EventLog &log)
    : m_address(address)
    , m_application(application)
    , m_log(log)
{
}

std::optional<LinkFrame> SecondaryStation::Handle(const LinkFrame &request, TimePoint now)
{
    // The master never needs to acknowledge anything, and telegrams of another secondary on the
    // line are none of this head's business.
    if (request.form == LinkFrame::Form::Ack || !request.FromPrimary())
        return std::nullopt;
    if (request.address == kBroadcastAddress) {
        TakeBroadcast(request, now);
        return std::nullopt;
    }
    if (request.address != m_address)
        return std::nullopt;

    const bool counted = request.Bit4();
    if (counted && m_lastFcb == request.Bit5()) {
        m_log.Write(now, "link", std::string("repeat FCB=") + (request.Bit5() ? "1" : "0"));
        return m_lastAnswer;
    }
    std::optional<LinkFrame> answer = Answer(request, now);
    if (counted) {
        m_lastFcb = request.Bit5();
        m_lastAnswer = answer;
    }
    ApplyAddressChange(now);
    return answer;
}

std::optional<LinkFrame> SecondaryStation::Answer(const LinkFrame &request, TimePoint now)
{
    const bool isLong = request.form == LinkFrame::Form::Long;
    switch (request.Function()) {
    case kFunctionStatus:
        return LinkFrame::Short(kControlStatus, m_address);
    case kFunctionReset:
        m_lastFcb.reset();
        m_lastAnswer.reset();
        m_application.DropReplies(now);
        return LinkFrame::Ack();
    case kFunctionPoll:
        if (!m_application.HasReply())
            return LinkFrame::Ack();
        return LinkFrame::Long(kControlUserData, m_address,
                               m_application.TakeReply([this](const Bytes &data) { return FramesCleanly(data); }));
    case kFunctionUserData:
        if (!isLong)
            break;
        m_application.Receive(request.data, false, now);
        return LinkFrame::Ack();
    case kFunctionUserDataNoReply:
        if (isLong)
            m_application.Receive(request.data, false, now);
        return std::nullopt;
    default:
        break;
    }
    m_log.Write(now, "link", "unsupported FN=" + std::to_string(request.Function()));
    return std::nullopt;
}

void SecondaryStation::TakeBroadcast(const LinkFrame &request, TimePoint now)
{
    if (request.form != LinkFrame::Form::Long || request.Function() != kFunctionUserDataNoReply)
        return;
    // The master toggles its FCB for a broadcast as well; the next telegram to this head must not
    // pass for a repetition because of it.
    if (request.Bit4()) {
        m_lastFcb = request.Bit5();
        m_lastAnswer.reset();
    }
    m_application.Receive(request.data, true, now);
    ApplyAddressChange(now);
}

void SecondaryStation::ApplyAddressChange(TimePoint now)
{
    const std::optional<std::uint8_t> address = m_application.TakeLinkAddressChange();
    if (!address)
        return;
    m_log.Write(now, "link", "address OLD=" + std::to_string(m_address) + " NEW=" + std::to_string(*address));
    m_address = *address;
}

bool SecondaryStation::FramesCleanly(const Bytes &userData) const
{
    return !FrameCodec::ContainsLengthTrap(FrameCodec::Encode(LinkFrame::Long(kControlUserData, m_address, userData)));
}

} // namespace strelosim
