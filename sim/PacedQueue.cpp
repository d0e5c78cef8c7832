#include "PacedQueue.h"

#include <algorithm>

namespace strelosim {

void PacedQueue::Push(const Bytes &bytes, TimePoint ready, std::chrono::nanoseconds characterTime)
{
    TimePoint due = std::max(ready, m_lastDue);
    for (const std::uint8_t b : bytes) {
        due += std::chrono::duration_cast<Clock::duration>(characterTime);
        m_bytes.push_back(Entry {due, b});
    }
    m_lastDue = due;
}

Bytes PacedQueue::Due(TimePoint now) const
{
    Bytes bytes;
    for (const Entry &entry : m_bytes) {
        if (entry.due > now)
            break;
        bytes.push_back(entry.value);
    }
    return bytes;
}

TimePoint PacedQueue::Pop(std::size_t count)
{
    const std::size_t taken = std::min(count, m_bytes.size());
    const TimePoint lastDue = taken > 0 ? m_bytes[taken - 1].due : TimePoint {};
    m_bytes.erase(m_bytes.begin(), m_bytes.begin() + static_cast<std::ptrdiff_t>(taken));
    return lastDue;
}

std::optional<TimePoint> PacedQueue::NextDue() const
{
    if (m_bytes.empty())
        return std::nullopt;
    return m_bytes.front().due;
}

} // namespace strelosim
