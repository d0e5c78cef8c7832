#include "HexText.h"

namespace strelosim {

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

int DigitValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

} // namespace

std::string HexText::Octet(std::uint8_t value)
{
    return {kDigits[value >> 4], kDigits[value & 0x0F]};
}

std::string HexText::Compact(const Bytes &bytes)
{
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t b : bytes)
        text += Octet(b);
    return text;
}

std::optional<Bytes> HexText::Parse(std::string_view text)
{
    Bytes bytes;
    int high = -1;
    for (const char c : text) {
        if ((c == ' ' || c == ':') && high < 0)
            continue;
        const int value = DigitValue(c);
        if (value < 0)
            return std::nullopt;
        if (high < 0) {
            high = value;
        } else {
            bytes.push_back(static_cast<std::uint8_t>(high * 16 + value));
            high = -1;
        }
    }
    if (high >= 0)
        return std::nullopt;
    return bytes;
}

} // namespace strelosim
