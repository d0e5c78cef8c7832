#pragma once

#include <cstdint>
#include <vector>

// The octets that cross the serial line. The port and protocol layers use plain C++ types so
// that the Win32 classes also build without the GUI toolkit.
using ByteVector = std::vector<std::uint8_t>;
