#pragma once

#include "comm/ByteVector.h"

#include <cstdint>
#include <memory>
#include <vector>

// One contiguous piece of a firmware image: the bytes that go to the flash from a start address on.
struct FirmwareBlock
{
    std::uint32_t address = 0;
    ByteVector data;
};

// The blocks of an image in address order, each owned by the list.
using FirmwareBlockList = std::vector<std::unique_ptr<FirmwareBlock>>;
