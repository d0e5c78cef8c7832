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

constexpr std::array<std::int8_t, 256> MakeHexTable()
{
    std::array<std::int8_t, 256> table{};
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

constexpr std::array<std::int8_t, 256> kHexDigits = MakeHexTable();

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

// A two-character hexadecimal value, or a negative number unless both characters are hex digits.
// This is the case of every sound record and is read by table.
template <typename Char>
int HexPair(const Char *pair)
{
    return HexDigit(pair[0]) * 16 | HexDigit(pair[1]);
}

// A two-character value that is not simply two hex digits, read by the standard conversion; a
// pair without any digit fails with the given code.
template <typename Char>
long PairByConversion(const Char *pair, CFirmwareException::ErrorCode code, const char *message)
{
    const std::optional<long> value = ToLong(std::basic_string_view<Char>(pair, 2), 16);
    if (!value)
        throw CFirmwareException(code, message);
    return *value;
}

template <typename Char>
long PairValue(const Char *pair, CFirmwareException::ErrorCode code, const char *message)
{
    const int value = HexPair(pair);
    if (value >= 0) [[likely]]
        return value;
    return PairByConversion(pair, code, message);
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

// Appends the data bytes of a data record (the pairs between address and checksum) to the table.
template <typename Char>
void AppendData(std::basic_string_view<Char> rest, const std::uint8_t *values, std::size_t pairs,
                std::size_t addressPairs, SRecordTable &table)
{
    const std::size_t offset = table.bytes.size();
    if (pairs > addressPairs + 1)
        table.bytes.insert(table.bytes.end(), values + addressPairs, values + pairs - 1);
    table.records.push_back({offset, AddressOf(rest, 2 * addressPairs),
                             static_cast<std::uint32_t>(table.bytes.size() - offset)});
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
    const long count = PairValue(line.data() + 2, CFirmwareException::RecordByteCounterIllegal,
                                 "Record has illegal byte counter");
    const auto rest = line.substr(4);
    if (static_cast<long long>(rest.size()) != 2LL * count)
        Fail(CFirmwareException::RecordByteCountMismatch,
             "Records byte-count does not correspond to the number of bytes in the record");

    // A byte count of two characters is at most 0xFF pairs.
    std::array<std::uint8_t, 0x100> values;
    const std::size_t pairs = rest.size() / 2;
    long sum = count;
    for (std::size_t i = 0; i < pairs; ++i) {
        const long value = PairValue(rest.data() + 2 * i, CFirmwareException::RecordDataIllegal,
                                     "Record has illegal binary data value");
        sum += value;
        values[i] = static_cast<std::uint8_t>(value);
    }
    if ((sum & 0xFF) != 0xFF)
        Fail(CFirmwareException::RecordChecksumWrong, "Record has wrong checksum");
    if (kind == RecordKind::Data)
        AppendData(rest, values.data(), pairs, wideAddresses ? 4 : 3, table);
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
