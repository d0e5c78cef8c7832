#include "CSRecordReader.h"

#include "CFirmwareException.h"
#include "Utf8.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>

namespace {

enum class RecordKind { Unsupported, Header, Data, End };

constexpr std::array<std::int8_t, 128> MakeHexTable()
{
    std::array<std::int8_t, 128> table{};
    for (auto &value : table)
        value = -1;
    for (int i = 0; i < 10; ++i)
        table['0' + i] = std::int8_t(i);
    for (int i = 0; i < 6; ++i) {
        table['A' + i] = std::int8_t(10 + i);
        table['a' + i] = std::int8_t(10 + i);
    }
    return table;
}

constexpr std::array<std::int8_t, 128> kHexDigits = MakeHexTable();

// The value of a hexadecimal digit, -1 for any other character.
template <typename Char>
int HexDigit(Char c)
{
    const auto code = static_cast<std::uint32_t>(static_cast<std::make_unsigned_t<Char>>(c));
    return code < kHexDigits.size() ? kHexDigits[code] : -1;
}

// The standard string-to-integer conversion of a few characters: it skips leading blanks, takes a
// sign and a "0x", and stops at the first character that is no digit, so " 5", "+5", "-1" and "5x"
// all read. Nothing when not a single digit could be read.
template <typename Char>
std::optional<long> ToLong(std::basic_string_view<Char> chars, int base)
{
    char text[16] = {};
    for (std::size_t i = 0; i < chars.size() && i + 1 < sizeof text; ++i) {
        const auto code = static_cast<std::uint32_t>(chars[i]);
        text[i] = code < 0x80 ? char(code) : '\x7f'; // no other character is a digit or a blank
    }
    char *end = nullptr;
    const long value = std::strtol(text, &end, base);
    if (end == text)
        return std::nullopt;
    return value;
}

// A two-character hexadecimal value. Two hex digits are the case of every sound record and are
// read by table; anything else takes the standard conversion.
template <typename Char>
std::optional<long> PairValue(const Char *pair)
{
    const int value = HexDigit(pair[0]) * 16 | HexDigit(pair[1]); // negative unless both are digits
    if (value >= 0)
        return value;
    return ToLong(std::basic_string_view<Char>(pair, 2), 16);
}

// The start address: the first digits characters after the byte count.
template <typename Char>
std::uint32_t AddressOf(std::basic_string_view<Char> rest, std::size_t digits)
{
    const auto chars = rest.substr(0, digits);
    std::uint32_t address = 0;
    for (const Char c : chars) {
        const int digit = HexDigit(c);
        if (digit < 0)
            return static_cast<std::uint32_t>(ToLong(chars, 16).value_or(0));
        address = address << 4 | std::uint32_t(digit);
    }
    return address;
}

template <typename Char>
RecordKind KindOf(std::basic_string_view<Char> type, bool wideAddresses)
{
    if (type.size() != 2 || type[0] != Char('S'))
        return RecordKind::Unsupported;
    switch (type[1]) {
    case Char('0'):
        return RecordKind::Header;
    case Char('2'):
        return wideAddresses ? RecordKind::Unsupported : RecordKind::Data;
    case Char('8'):
        return wideAddresses ? RecordKind::Unsupported : RecordKind::End;
    case Char('3'):
        return wideAddresses ? RecordKind::Data : RecordKind::Unsupported;
    case Char('7'):
        return wideAddresses ? RecordKind::End : RecordKind::Unsupported;
    default:
        return RecordKind::Unsupported;
    }
}

std::string TextOf(std::string_view chars)
{
    return std::string(chars);
}

std::string TextOf(std::u32string_view chars)
{
    return Utf8::Encode(chars);
}

[[noreturn]] void Fail(CFirmwareException::ErrorCode code, const std::string &message)
{
    throw CFirmwareException(code, message);
}

// Checks one line and, for a data record, appends its data bytes and address to the table. The
// checksum covers the byte count and every pair after it; a pair is summed as it reads, so a sign
// or a blank inside a pair counts as the conversion reads it.
template <typename Char>
void ReadLine(std::basic_string_view<Char> line, bool wideAddresses, SRecordTable &table)
{
    if (line.empty())
        return;
    const auto type = line.substr(0, 2);
    const RecordKind kind = KindOf(type, wideAddresses);
    if (kind == RecordKind::Unsupported)
        Fail(CFirmwareException::RecordTypeUnsupported,
             "Records of type '" + TextOf(type) + "' are not supported");
    if (line.size() < 4)
        Fail(CFirmwareException::RecordSizeIllegal,
             "Record has illegal size (" + std::to_string(line.size()) + ")");
    const std::optional<long> count = PairValue(line.data() + 2);
    if (!count)
        Fail(CFirmwareException::RecordByteCounterIllegal, "Record has illegal byte counter");
    const auto rest = line.substr(4);
    if (static_cast<long long>(rest.size()) != 2LL * *count)
        Fail(CFirmwareException::RecordByteCountMismatch,
             "Records byte-count does not correspond to the number of bytes in the record");

    const std::size_t addressPairs = wideAddresses ? 4 : 3;
    const std::size_t pairs = rest.size() / 2;
    const std::size_t offset = table.bytes.size();
    long sum = *count;
    for (std::size_t i = 0; i < pairs; ++i) {
        const std::optional<long> value = PairValue(rest.data() + 2 * i);
        if (!value)
            Fail(CFirmwareException::RecordDataIllegal, "Record has illegal binary data value");
        sum += *value;
        if (kind == RecordKind::Data && i >= addressPairs && i + 1 < pairs)
            table.bytes.push_back(static_cast<std::uint8_t>(*value));
    }
    if ((sum & 0xFF) != 0xFF)
        Fail(CFirmwareException::RecordChecksumWrong, "Record has wrong checksum");
    if (kind == RecordKind::Data)
        table.records.push_back({offset, AddressOf(rest, 2 * addressPairs),
                                 static_cast<std::uint32_t>(table.bytes.size() - offset)});
}

} // namespace

CSRecordReader::CSRecordReader(bool wideAddresses) : wideAddresses(wideAddresses) {}

void CSRecordReader::Read(const ByteVector &text, SRecordTable &table) const
{
    const std::string_view all(reinterpret_cast<const char *>(text.data()), text.size());
    const bool allAscii = Utf8::IsAscii(all);
    table.bytes.reserve(table.bytes.size() + all.size() / 2); // a data byte takes two characters
    std::size_t start = 0;
    for (;;) {
        const std::size_t end = std::min(all.find('\r', start), all.size());
        std::string_view line = all.substr(start, end - start);
        if (!line.empty() && line.front() == '\n')
            line.remove_prefix(1);
        if (allAscii || Utf8::IsAscii(line)) {
            ReadLine(line, wideAddresses, table);
        } else {
            const std::u32string characters = Utf8::Decode(line);
            ReadLine(std::u32string_view(characters), wideAddresses, table);
        }
        if (end == all.size())
            return;
        start = end + 1;
    }
}
