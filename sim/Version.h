#pragma once

#include "SimTypes.h"

#include <optional>
#include <string>
#include <string_view>

namespace strelosim {

// A three-part version number as the head reports it: one octet each.
struct Version
{
    std::uint8_t major = 0;
    std::uint8_t minor = 0;
    std::uint8_t patch = 0;

    // "A.B.C" with decimal parts 0..255; nothing else may follow.
    static std::optional<Version> Parse(std::string_view text);
    std::string Text() const;
    Bytes Octets() const { return {major, minor, patch}; }

    bool operator==(const Version &) const = default;
};

} // namespace strelosim
