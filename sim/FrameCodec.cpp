#include "FrameCodec.h"

#include "HexText.h"

#include <array>
#include <numeric>
#include <utility>

namespace strelosim {

namespace {

// A long telegram carries at least one user-data octet; L counts C and A as well.
constexpr std::size_t kMinLongLength = 3;
// 0x68 L L 0x68 ... CS 0x16: six octets beside the L counted ones.
constexpr std::size_t kLongOverhead = 6;
constexpr std::size_t kShortSize = 5;

std::uint8_t Sum(std::uint8_t c, std::uint8_t a, const Bytes &data)
{
    return static_cast<std::uint8_t>(std::accumulate(data.begin(), data.end(), unsigned(c) + a));
}

const char *FunctionName(bool fromPrimary, unsigned function)
{
    static constexpr std::array<const char *, 16> kPrimary {
        "RES0", "RES1", "?", "D", "DNR", "?", "?", "TD2", "RQD3", "RQS", "RQD1", "RQD2", "?", "?", "?", "RQT"};
    static constexpr std::array<const char *, 16> kSecondary {
        "ANR1", "REJ1", "?", "?", "?", "?", "?", "?", "D", "ANR2", "REJ2", "S1", "?", "?", "?", "TD1"};
    return (fromPrimary ? kPrimary : kSecondary)[function & 0x0F];
}

} // namespace

FrameCodec::FrameCodec(Clock::duration staleAfter)
    : m_staleAfter(staleAfter)
{
}

std::vector<LinkFrame> FrameCodec::Feed(const std::uint8_t *data, std::size_t size, TimePoint now)
{
    if (!m_pending.empty() && now - m_lastByte > m_staleAfter)
        Reset();
    if (size > 0)
        m_lastByte = now;
    m_pending.insert(m_pending.end(), data, data + size);

    std::vector<LinkFrame> frames;
    while (!m_pending.empty()) {
        LinkFrame frame;
        std::size_t length = 0;
        const Verdict verdict = Examine(frame, length);
        if (verdict == Verdict::NeedMore)
            break;
        if (verdict == Verdict::NotAFrame) {
            DiscardFront(1);
            continue;
        }
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(length));
        frames.push_back(std::move(frame));
    }
    return frames;
}

FrameCodec::Verdict FrameCodec::Examine(LinkFrame &frame, std::size_t &length) const
{
    switch (m_pending.front()) {
    case kAck:
        frame = LinkFrame::Ack();
        length = 1;
        return Verdict::Frame;
    case kShortStart:
        return ExamineShort(frame, length);
    case kLongStart:
        return ExamineLong(frame, length);
    default:
        return Verdict::NotAFrame;
    }
}

FrameCodec::Verdict FrameCodec::ExamineShort(LinkFrame &frame, std::size_t &length) const
{
    if (m_pending.size() < kShortSize)
        return Verdict::NeedMore;
    const std::uint8_t c = m_pending[1];
    const std::uint8_t a = m_pending[2];
    if (m_pending[3] != Sum(c, a, {}) || m_pending[4] != kEnd)
        return Verdict::NotAFrame;
    frame = LinkFrame::Short(c, a);
    length = kShortSize;
    return Verdict::Frame;
}

FrameCodec::Verdict FrameCodec::ExamineLong(LinkFrame &frame, std::size_t &length) const
{
    // The header is checked as soon as it is there, so a stray 0x68 is given up at once rather
    // than after waiting for the length it seems to announce.
    const std::size_t have = m_pending.size();
    if (have >= 2 && m_pending[1] < kMinLongLength)
        return Verdict::NotAFrame;
    if (have >= 3 && m_pending[2] != m_pending[1])
        return Verdict::NotAFrame;
    if (have >= 4 && m_pending[3] != kLongStart)
        return Verdict::NotAFrame;
    if (have < 4)
        return Verdict::NeedMore;

    const std::size_t l = m_pending[1];
    const std::size_t total = l + kLongOverhead;
    if (have < total)
        return Verdict::NeedMore;
    const std::uint8_t c = m_pending[4];
    const std::uint8_t a = m_pending[5];
    Bytes data(m_pending.begin() + 6, m_pending.begin() + static_cast<std::ptrdiff_t>(4 + l));
    if (m_pending[total - 2] != Sum(c, a, data) || m_pending[total - 1] != kEnd)
        return Verdict::NotAFrame;
    frame = LinkFrame::Long(c, a, std::move(data));
    length = total;
    return Verdict::Frame;
}

void FrameCodec::DiscardFront(std::size_t count)
{
    m_discarded.insert(m_discarded.end(), m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(count));
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(count));
}

Bytes FrameCodec::TakeDiscarded()
{
    return std::exchange(m_discarded, {});
}

void FrameCodec::Reset()
{
    DiscardFront(m_pending.size());
}

Bytes FrameCodec::Encode(const LinkFrame &frame)
{
    switch (frame.form) {
    case LinkFrame::Form::Ack:
        return {kAck};
    case LinkFrame::Form::Short:
        return {kShortStart, frame.control, frame.address, Sum(frame.control, frame.address, {}), kEnd};
    case LinkFrame::Form::Long:
        break;
    }
    const auto l = static_cast<std::uint8_t>(frame.data.size() + 2);
    Bytes bytes {kLongStart, l, l, kLongStart, frame.control, frame.address};
    bytes.insert(bytes.end(), frame.data.begin(), frame.data.end());
    bytes.push_back(Sum(frame.control, frame.address, frame.data));
    bytes.push_back(kEnd);
    return bytes;
}

bool FrameCodec::ContainsLengthTrap(const Bytes &bytes, int before)
{
    int previous = before;
    for (const std::uint8_t b : bytes) {
        if (previous == kLongStart && b <= 0x01)
            return true;
        previous = b;
    }
    return false;
}

std::string FrameCodec::Describe(const LinkFrame &frame)
{
    if (frame.form == LinkFrame::Form::Ack)
        return "ack";
    const bool primary = frame.FromPrimary();
    std::string text = frame.form == LinkFrame::Form::Short ? "short" : "long";
    text += " C=" + HexText::Octet(frame.control);
    text += " A=" + std::to_string(frame.address);
    text += primary ? " PRM=1 FCB=" : " PRM=0 ACD=";
    text += frame.Bit5() ? '1' : '0';
    text += primary ? " FCV=" : " DFC=";
    text += frame.Bit4() ? '1' : '0';
    text += " FN=" + std::to_string(frame.Function());
    text += std::string(" NAME=") + FunctionName(primary, frame.Function());
    if (frame.form == LinkFrame::Form::Long)
        text += " LEN=" + std::to_string(frame.data.size()) + " DATA=" + HexText::Compact(frame.data);
    return text;
}

} // namespace strelosim
