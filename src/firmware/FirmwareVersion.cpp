#include "FirmwareVersion.h"

#include <array>
#include <cstdlib>
#include <optional>

namespace {

using Components = std::array<long, 3>;

std::optional<long> ReadComponent(const std::string &text)
{
    char *end = nullptr;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (end == text.c_str())
        return std::nullopt;
    return value;
}

std::optional<Components> Parse(const std::string &text)
{
    Components components{0, 0, 0};
    std::string rest = text;
    for (std::size_t i = 0; i < components.size(); ++i) {
        const std::size_t dot = rest.find('.');
        const std::optional<long> value = ReadComponent(rest.substr(0, dot));
        if (!value)
            return std::nullopt;
        components[i] = *value;
        if (dot == std::string::npos)
            break;
        rest.erase(0, dot + 1);
    }
    return components;
}

} // namespace

namespace FirmwareVersion {

std::int32_t Compare(const std::string &version, const std::string &other)
{
    const std::optional<Components> mine = Parse(version);
    const std::optional<Components> theirs = Parse(other);
    if (!mine || !theirs)
        return -2;
    for (std::size_t i = 0; i < mine->size(); ++i) {
        if ((*mine)[i] != (*theirs)[i])
            return (*mine)[i] > (*theirs)[i] ? 1 : -1;
    }
    return 0;
}

} // namespace FirmwareVersion
