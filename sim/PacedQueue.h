#pragma once

#include "SimTypes.h"

#include <deque>
#include <optional>

namespace strelosim {

// Bytes on their way along a serial line: each one is due when the character before it has left
// and its own character time has passed. With a character time of zero a byte is due as soon as it
// is ready.
class PacedQueue
{
public:
    void Push(const Bytes &bytes, TimePoint ready, std::chrono::nanoseconds characterTime);

    // The bytes due at `now`, in order, without taking them.
    Bytes Due(TimePoint now) const;
    // Takes the first `count` bytes (count >= 1) and returns when the last of them was due: the
    // moment its last bit arrived on the line.
    TimePoint Pop(std::size_t count);
    std::optional<TimePoint> NextDue() const;
    bool Empty() const { return m_bytes.empty(); }
    void Clear()
    {
        m_bytes.clear();
        m_lastDue = {};
    }

private:
    struct Entry
    {
        TimePoint due;
        std::uint8_t value;
    };

    std::deque<Entry> m_bytes;
    TimePoint m_lastDue {};
};

} // namespace strelosim
