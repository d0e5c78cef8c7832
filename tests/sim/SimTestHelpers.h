#pragma once

#include "HexText.h"
#include "LinkFrame.h"

#include <QByteArray>
#include <QString>
#include <QTest>

#include <string_view>

namespace simtest {

using strelosim::Bytes;

// "10 49 01 4A 16" -> bytes; a malformed literal is a bug in the test itself.
inline Bytes Hex(std::string_view text)
{
    const std::optional<Bytes> bytes = strelosim::HexText::Parse(text);
    if (!bytes)
        qFatal("bad hex literal in test: %s", std::string(text).c_str());
    return *bytes;
}

inline QString Text(const Bytes &bytes)
{
    return QString::fromStdString(strelosim::HexText::Compact(bytes));
}

inline strelosim::TimePoint At(int ms)
{
    return strelosim::TimePoint(std::chrono::milliseconds(ms));
}

} // namespace simtest

// Failures show octets, not "compared values are not the same".
#define COMPARE_BYTES(actual, expected) QCOMPARE(simtest::Text(actual), simtest::Text(expected))
