#pragma once

#include "FirmwareBlock.h"
#include "SRecordTable.h"

// Turns the data records of an image into the blocks that are written to the flash.
//
// The records are sorted by address and every chain of adjacent records becomes one block;
// overlapping records are neither merged nor rejected, they stay blocks of their own and are
// written in address order. The boot loader writes 16-bit words, so a block at an odd address gets
// a 0xFF in front of its data and keeps its address, and a block of odd length gets a 0xFF at its
// end. Blocks that become adjacent through that padding are merged once more.
class CBlockAssembler
{
public:
    static FirmwareBlockList Assemble(const SRecordTable &table);
    // One block per data record in file order, as far as a failed read got.
    static FirmwareBlockList Unassembled(const SRecordTable &table);
};
