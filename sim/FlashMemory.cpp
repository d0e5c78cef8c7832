#include "FlashMemory.h"

#include <algorithm>

namespace strelosim {

namespace {

constexpr std::size_t kLongestVersion = 11; // "255.255.255"

std::optional<Version> VersionAfter(const Bytes &bytes, std::size_t start)
{
    std::string text;
    for (std::size_t i = start; i < bytes.size() && text.size() < kLongestVersion; ++i) {
        const char c = static_cast<char>(bytes[i]);
        if ((c < '0' || c > '9') && c != '.')
            break;
        text += c;
    }
    // The version may be followed by a full stop.
    if (!text.empty() && text.back() == '.')
        text.pop_back();
    return Version::Parse(text);
}

} // namespace

void FlashMemory::Write(std::uint32_t address, const Bytes &bytes)
{
    for (const std::uint8_t b : bytes)
        m_bytes[address++] = b;
}

std::vector<FlashMemory::Run> FlashMemory::Runs() const
{
    std::vector<Run> runs;
    for (const auto &[address, value] : m_bytes) {
        if (runs.empty() || runs.back().address + runs.back().bytes.size() != address)
            runs.push_back(Run {address, {}});
        runs.back().bytes.push_back(value);
    }
    return runs;
}

std::optional<Version> FlashMemory::FindVersionMarker() const
{
    for (const Run &run : Runs()) {
        auto cursor = run.bytes.begin();
        for (;;) {
            cursor = std::search(cursor, run.bytes.end(), kVersionMarker.begin(), kVersionMarker.end());
            if (cursor == run.bytes.end())
                break;
            const auto start = static_cast<std::size_t>(cursor - run.bytes.begin()) + kVersionMarker.size();
            if (const std::optional<Version> version = VersionAfter(run.bytes, start))
                return version;
            ++cursor;
        }
    }
    return std::nullopt;
}

} // namespace strelosim
