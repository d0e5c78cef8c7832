#pragma once

#include <cstdint>
#include <string>

// Version texts "major.minor.patch" as manifests and devices write them.
namespace FirmwareVersion {

// 1 when version is newer than other, -1 when older, 0 when equal; -2 when either text is no
// version. A text is split at its first two dots; components beyond the third are ignored and
// missing ones are 0. Each component reads as a decimal number the standard way (leading blanks and
// a sign are taken, anything after the digits is ignored) and must hold at least one digit, so
// "2" equals "2.0.0" while "V2.1" is no version.
std::int32_t Compare(const std::string &version, const std::string &other);

} // namespace FirmwareVersion
