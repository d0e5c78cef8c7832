#include "Utf8.h"

#include <cstdint>
#include <cstring>

namespace {

constexpr char32_t kReplacement = U'\uFFFD';

struct Sequence
{
    int length;         // bytes in the sequence, 0 for a byte that cannot begin one
    char32_t leadBits;  // the code point bits of the first byte
    char32_t smallest;  // the smallest code point the sequence may carry (no overlong forms)
};

Sequence SequenceOf(unsigned char lead)
{
    if ((lead & 0xE0) == 0xC0)
        return {2, char32_t(lead & 0x1F), 0x80};
    if ((lead & 0xF0) == 0xE0)
        return {3, char32_t(lead & 0x0F), 0x800};
    if ((lead & 0xF8) == 0xF0)
        return {4, char32_t(lead & 0x07), 0x10000};
    return {0, 0, 0};
}

// The code point of the sequence at the start of bytes, or nothing when it is malformed.
bool DecodeOne(std::string_view bytes, const Sequence &sequence, char32_t &codePoint)
{
    if (sequence.length == 0 || bytes.size() < std::size_t(sequence.length))
        return false;
    codePoint = sequence.leadBits;
    for (int i = 1; i < sequence.length; ++i) {
        const auto byte = static_cast<unsigned char>(bytes[i]);
        if ((byte & 0xC0) != 0x80)
            return false;
        codePoint = codePoint << 6 | (byte & 0x3F);
    }
    const bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    return codePoint >= sequence.smallest && codePoint <= 0x10FFFF && !surrogate;
}

} // namespace

namespace Utf8 {

bool IsAscii(std::string_view bytes)
{
    // Eight bytes at a time: the image text is checked as a whole before it is read.
    std::uint64_t all = 0;
    std::size_t i = 0;
    for (; i + 8 <= bytes.size(); i += 8) {
        std::uint64_t word;
        std::memcpy(&word, bytes.data() + i, sizeof word);
        all |= word;
    }
    for (; i < bytes.size(); ++i)
        all |= static_cast<unsigned char>(bytes[i]);
    return (all & 0x8080808080808080u) == 0;
}

std::u32string Decode(std::string_view bytes)
{
    std::u32string text;
    text.reserve(bytes.size());
    while (!bytes.empty()) {
        const auto lead = static_cast<unsigned char>(bytes.front());
        char32_t codePoint = lead;
        std::size_t used = 1;
        if (lead >= 0x80) {
            const Sequence sequence = SequenceOf(lead);
            if (DecodeOne(bytes, sequence, codePoint))
                used = std::size_t(sequence.length);
            else
                codePoint = kReplacement;
        }
        text.push_back(codePoint);
        bytes.remove_prefix(used);
    }
    return text;
}

std::string Encode(std::u32string_view text)
{
    std::string bytes;
    for (const char32_t c : text) {
        if (c < 0x80) {
            bytes.push_back(char(c));
        } else if (c < 0x800) {
            bytes.push_back(char(0xC0 | c >> 6));
            bytes.push_back(char(0x80 | (c & 0x3F)));
        } else if (c < 0x10000) {
            bytes.push_back(char(0xE0 | c >> 12));
            bytes.push_back(char(0x80 | (c >> 6 & 0x3F)));
            bytes.push_back(char(0x80 | (c & 0x3F)));
        } else {
            bytes.push_back(char(0xF0 | c >> 18));
            bytes.push_back(char(0x80 | (c >> 12 & 0x3F)));
            bytes.push_back(char(0x80 | (c >> 6 & 0x3F)));
            bytes.push_back(char(0x80 | (c & 0x3F)));
        }
    }
    return bytes;
}

} // namespace Utf8
