// The S-record reader and the block assembly. The first byte picks the address width; the rest is
// the image text. Besides not crashing, an accepted image must come out as blocks in address order,
// each of even, non-zero length and inside the address space of its records (no byte past 0xFFFFFF
// or 0xFFFFFFFF), handed out in chunks of at most 32 bytes that add up to the total and stay inside
// that space too.

#include "firmware/CFirmwareException.h"
#include "firmware/CFirmwareFile.h"
#include "firmware/FirmwareAddressSpace.h"

#include <cstdint>
#include <cstdlib>

namespace {

void Check(bool condition)
{
    if (!condition)
        std::abort();
}

void CheckBlocks(CFirmwareFile &firmware)
{
    std::int64_t total = 0;
    std::uint32_t previous = 0;
    for (const auto &block : firmware.GetBlocks()) {
        Check(!block->data.empty() && block->data.size() % 2 == 0);
        Check(FirmwareAddressSpace::Holds(block->address, block->data.size(), firmware.HasWideAddresses()));
        Check(block->address >= previous);
        previous = block->address;
        total += std::int64_t(block->data.size());
    }
    Check(total == firmware.GetTotalSize());

    std::int64_t handedOut = 0;
    std::uint32_t address = 0;
    ByteVector chunk;
    while (firmware.GetNextBlock(32, address, chunk)) {
        Check(!chunk.empty() && chunk.size() <= 32);
        Check(FirmwareAddressSpace::Holds(address, chunk.size(), firmware.HasWideAddresses()));
        handedOut += std::int64_t(chunk.size());
    }
    Check(handedOut == total);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0)
        return 0;
    CFirmwareFile firmware;
    firmware.SetFirmwareBytes(ByteVector(data + 1, data + size), (data[0] & 1) != 0);
    try {
        firmware.ParseRecords();
    } catch (const CFirmwareException &error) {
        Check((error.Code() >= 8 && error.Code() <= 14) ||
              error.Code() == CFirmwareException::BlockOutsideAddressSpace);
        return 0;
    }
    CheckBlocks(firmware);
    return 0;
}
