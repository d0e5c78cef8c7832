#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace strelosim {

// Octets as they travel on the line.
using Bytes = std::vector<std::uint8_t>;

// Every time inside the simulator is taken from the monotonic clock, so that a log line can be set
// beside a timestamp taken by the master on the same machine.
using Clock = std::chrono::steady_clock;
using TimePoint = Clock::time_point;

} // namespace strelosim
