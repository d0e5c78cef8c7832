#pragma once

#include "SimTypes.h"

#include <string>

namespace strelosim {

// One answer of the head, ready for the line.
struct Transmission
{
    Bytes bytes;
    // Time the head needs before it can answer (the flash erase), on top of the configured latency.
    std::chrono::milliseconds delay {0};
    // Its log line, without the time stamp: channel "link" or "boot", text such as "tx ack".
    std::string channel;
    std::string description;
    // The link runs 8E1 and the boot loader 8N1; a pseudo-terminal cannot hold the parity flag, so
    // the head tells the pacing whether a parity bit belongs to each character.
    bool parityBit = true;
};

} // namespace strelosim
