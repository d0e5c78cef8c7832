#pragma once

#include "comm/ByteVector.h"

#include <cstddef>
#include <cstdint>
#include <vector>

// The data records of an S-record image as read, before they are assembled into blocks: the data
// bytes of all records back to back in one buffer, and per record its address and its place in
// that buffer. Keeping a few numbers per record instead of a block of its own keeps large images
// cheap to read.
struct SRecordTable
{
    struct Record
    {
        std::size_t offset = 0; // first data byte in bytes
        std::uint32_t address = 0;
        std::uint32_t length = 0;
    };

    ByteVector bytes;
    std::vector<Record> records; // in file order
};
