#pragma once

#include "LinkFrame.h"

#include <string>

namespace strelosim {

// The head's side of the link framing: builds the three telegram forms and picks whole, sound
// telegrams out of the received byte stream.
//
// The decoder keeps the bytes of a telegram in progress and, whenever what it holds cannot be a
// telegram (wrong second start octet, length octets that differ, bad checksum, missing end octet),
// drops only the first octet and looks again from the next one. Noise in front of a telegram, or a
// stray start octet inside it, therefore never costs the telegram behind it. A telegram that stays
// incomplete while the line is quiet for longer than `staleAfter` is dropped, so that a torn
// telegram cannot swallow the master's next request.
class FrameCodec
{
public:
    static constexpr std::uint8_t kAck = 0xE5;
    static constexpr std::uint8_t kShortStart = 0x10;
    static constexpr std::uint8_t kLongStart = 0x68;
    static constexpr std::uint8_t kEnd = 0x16;
    static constexpr std::chrono::milliseconds kDefaultStaleAfter {50};

    explicit FrameCodec(Clock::duration staleAfter = kDefaultStaleAfter);

    // Feeds received bytes; returns the telegrams they complete, in order.
    std::vector<LinkFrame> Feed(const std::uint8_t *data, std::size_t size, TimePoint now);
    // The bytes thrown away as noise since the last call.
    Bytes TakeDiscarded();
    // Forgets a telegram in progress (its bytes count as discarded).
    void Reset();
    void SetStaleAfter(Clock::duration staleAfter) { m_staleAfter = staleAfter; }

    static Bytes Encode(const LinkFrame &frame);

    // True when `bytes` hold an octet 0x68 directly followed by 0x00 or 0x01. A master that takes
    // such a 0x68 for the start of a long telegram reads a length below two and stays in that
    // telegram for good, so the head never puts this pair on the line. `before` is the octet sent
    // just ahead of `bytes` (-1 when there is none).
    static bool ContainsLengthTrap(const Bytes &bytes, int before = -1);

    // One readable line: "short C=49 A=1 PRM=1 FCB=0 FCV=0 FN=9 NAME=RQS", "ack",
    // "long C=08 A=1 PRM=0 ACD=0 DFC=0 FN=8 NAME=D LEN=12 DATA=000A...".
    static std::string Describe(const LinkFrame &frame);

private:
    enum class Verdict { Frame, NeedMore, NotAFrame };

    Verdict Examine(LinkFrame &frame, std::size_t &length) const;
    Verdict ExamineShort(LinkFrame &frame, std::size_t &length) const;
    Verdict ExamineLong(LinkFrame &frame, std::size_t &length) const;
    void DiscardFront(std::size_t count);

    Clock::duration m_staleAfter;
    Bytes m_pending;
    Bytes m_discarded;
    TimePoint m_lastByte {};
};

} // namespace strelosim
