#pragma once

#include "SimTypes.h"

#include <optional>
#include <string>
#include <string_view>

namespace strelosim {

// Octets as hexadecimal text, the way the simulator's options and log lines write them.
class HexText
{
public:
    // Two upper-case digits per octet, no separators ("0A1B").
    static std::string Compact(const Bytes &bytes);
    static std::string Octet(std::uint8_t value);
    // Reads an even number of hexadecimal digits; blanks and colons between octets are allowed.
    static std::optional<Bytes> Parse(std::string_view text);
};

} // namespace strelosim
