#pragma once

#include "comm/ByteVector.h"

#include <cstdint>

// One contiguous piece of a firmware image: the bytes that go to the flash from a start address on.
struct FirmwareBlock
{
    std::uint32_t address = 0;
    ByteVector data;
};
