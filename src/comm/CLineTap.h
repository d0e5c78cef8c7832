#pragma once

#include "ByteVector.h"

#include <chrono>

// Something that records the line: every chunk of octets a port writes or reads, exactly as it
// crossed, with the time the port saw it. The port calls Record on the thread that moved the
// octets (the writer's thread or the reader thread), so Record must return at once and never wait
// for a disk or a lock held for long.
class CLineTap
{
public:
    using Clock = std::chrono::system_clock;

    CLineTap() = default;
    virtual ~CLineTap() = default;
    CLineTap(const CLineTap &) = delete;
    CLineTap &operator=(const CLineTap &) = delete;

    // direction is CAsync::kDirectionReceived (0) or CAsync::kDirectionSent (1).
    virtual void Record(int direction, Clock::time_point seen, const ByteVector &data) = 0;
};
