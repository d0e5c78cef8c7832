#include "Version.h"

#include <charconv>

namespace strelosim {

std::optional<Version> Version::Parse(std::string_view text)
{
    std::uint8_t parts[3] {};
    const char *cursor = text.data();
    const char *end = text.data() + text.size();
    for (int i = 0; i < 3; ++i) {
        if (i > 0) {
            if (cursor == end || *cursor != '.')
                return std::nullopt;
            ++cursor;
        }
        unsigned value = 0;
        const auto [next, error] = std::from_chars(cursor, end, value);
        if (error != std::errc() || next == cursor || next - cursor > 3 || value > 255)
            return std::nullopt;
        parts[i] = static_cast<std::uint8_t>(value);
        cursor = next;
    }
    if (cursor != end)
        return std::nullopt;
    return Version {parts[0], parts[1], parts[2]};
}

std::string Version::Text() const
{
    return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
}

} // namespace strelosim
