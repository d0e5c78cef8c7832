#pragma once

#include "Version.h"

#include <map>
#include <optional>

namespace strelosim {

// The head's program memory as the boot loader fills it: sparse, byte by byte.
class FlashMemory
{
public:
    struct Run
    {
        std::uint32_t address = 0;
        Bytes bytes;
        bool operator==(const Run &) const = default;
    };

    // A firmware image names its version with this ASCII marker followed by "A.B.C".
    static constexpr std::string_view kVersionMarker = "STRELO-SWV:";

    void Write(std::uint32_t address, const Bytes &bytes);
    void Erase() { m_bytes.clear(); }

    // Contiguous runs of written bytes, in address order.
    std::vector<Run> Runs() const;
    std::size_t Size() const { return m_bytes.size(); }

    // The version after the first marker found inside one run; nothing when no run carries a
    // marker with a well-formed version.
    std::optional<Version> FindVersionMarker() const;

private:
    std::map<std::uint32_t, std::uint8_t> m_bytes;
};

} // namespace strelosim
