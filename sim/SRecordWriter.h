#pragma once

#include "FlashMemory.h"

#include <string>

namespace strelosim {

// Writes flashed memory as Motorola S-records: an S0 header, S3 data records (32-bit addresses)
// for each contiguous run in address order, and an S7 end record; lines end with CR LF.
class SRecordWriter
{
public:
    static constexpr std::size_t kBytesPerRecord = 32;
    static constexpr std::string_view kHeader = "strelo-sim";

    static std::string Text(const FlashMemory &memory);
    // False with a readable reason when the file cannot be written.
    static bool WriteFile(const std::string &path, const FlashMemory &memory, std::string &error);

private:
    static std::string Record(char type, std::uint32_t address, std::size_t addressOctets, const std::uint8_t *data,
                              std::size_t size);
};

} // namespace strelosim
