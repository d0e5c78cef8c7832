#pragma once

#include "Version.h"

#include <optional>
#include <string>

namespace strelosim {

// What the head is when it powers up: its addresses, identity, lamp defects and start intensity,
// and how its boot loader behaves.
struct HeadConfig
{
    std::uint8_t linkAddress = 1;
    std::uint8_t osi7Address = 1;
    Version hardware {2, 1, 0};
    Version software {1, 4, 2};
    // The software version reported after the boot loader has started a flashed image, whatever
    // the image holds; unset: the image's version marker decides, or the version stays.
    std::optional<Version> softwareAfter;
    Bytes uid {0x53, 0x54, 0x52, 0x4C, 0x00, 0x02, 0x91, 0x3E, 0x4A, 0x7C, 0x05, 0xD2};
    std::vector<std::uint8_t> defects; // TLS image codes of the broken lamps, in report order
    std::uint8_t luminosity = 100;     // 100 full, 10 dimmed
    std::chrono::milliseconds eraseTime {300};
    std::string imageOut; // where the boot loader writes the flashed image; empty: nowhere
};

} // namespace strelosim
