#include "CBlockAssembler.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace {

constexpr std::uint8_t kPadding = 0xFF;

// A run of records, in address order, that end up in one block.
struct Run
{
    std::uint32_t address = 0;
    std::size_t first = 0; // first record of the run in the sorted order
    std::size_t end = 0;   // one past its last record
    std::uint64_t length = 0;
    bool padFront = false;
    bool padBack = false;

    bool EndsAt(std::uint32_t nextAddress) const { return address + length == nextAddress; }
};

// Record indices ordered by address; records at the same address keep their file order.
std::vector<std::size_t> SortedOrder(const SRecordTable &table)
{
    std::vector<std::size_t> order(table.records.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    const auto byAddress = [&](std::size_t a, std::size_t b) {
        return table.records[a].address < table.records[b].address;
    };
    // Images are usually written in address order already.
    if (!std::is_sorted(order.begin(), order.end(), byAddress))
        std::stable_sort(order.begin(), order.end(), byAddress);
    return order;
}

// Collapses every chain of adjacent records into one run and drops the runs without data. A run
// absorbs the next record whenever its end meets that record's address, so an empty record at the
// address of the next one starts the run that takes it.
std::vector<Run> MergeRecords(const SRecordTable &table, const std::vector<std::size_t> &order)
{
    std::vector<Run> runs;
    for (std::size_t i = 0; i < order.size(); ++i) {
        const SRecordTable::Record &record = table.records[order[i]];
        if (runs.empty() || !runs.back().EndsAt(record.address))
            runs.push_back({record.address, i, i, 0});
        runs.back().end = i + 1;
        runs.back().length += record.length;
    }
    std::erase_if(runs, [](const Run &run) { return run.length == 0; });
    return runs;
}

void AlignToWords(std::vector<Run> &runs)
{
    for (Run &run : runs) {
        run.padFront = run.address % 2 != 0;
        run.length += run.padFront;
        run.padBack = run.length % 2 != 0;
        run.length += run.padBack;
    }
}

// Merges once more the runs that padding made adjacent. Runs come in address order (the first
// merge walked the records sorted), so this is the same walk over runs instead of records; it
// returns where each merged group of runs ends.
std::vector<std::size_t> MergeRuns(const std::vector<Run> &runs)
{
    std::vector<std::size_t> groupEnds;
    if (runs.empty())
        return groupEnds;
    std::uint32_t address = runs.front().address;
    std::uint64_t length = runs.front().length;
    for (std::size_t i = 1; i < runs.size(); ++i) {
        if (address + length == runs[i].address) {
            length += runs[i].length;
            continue;
        }
        groupEnds.push_back(i);
        address = runs[i].address;
        length = runs[i].length;
    }
    groupEnds.push_back(runs.size());
    return groupEnds;
}

void AppendRun(const SRecordTable &table, const std::vector<std::size_t> &order, const Run &run,
               ByteVector &data)
{
    if (run.padFront)
        data.push_back(kPadding);
    for (std::size_t i = run.first; i < run.end; ++i) {
        const SRecordTable::Record &record = table.records[order[i]];
        const auto begin = table.bytes.begin() + std::ptrdiff_t(record.offset);
        data.insert(data.end(), begin, begin + record.length);
    }
    if (run.padBack)
        data.push_back(kPadding);
}

} // namespace

FirmwareBlockList CBlockAssembler::Assemble(const SRecordTable &table)
{
    const std::vector<std::size_t> order = SortedOrder(table);
    std::vector<Run> runs = MergeRecords(table, order);
    AlignToWords(runs);
    FirmwareBlockList blocks;
    std::size_t first = 0;
    for (const std::size_t end : MergeRuns(runs)) {
        auto block = std::make_unique<FirmwareBlock>();
        block->address = runs[first].address;
        std::uint64_t length = 0;
        for (std::size_t i = first; i < end; ++i)
            length += runs[i].length;
        block->data.reserve(length);
        for (std::size_t i = first; i < end; ++i)
            AppendRun(table, order, runs[i], block->data);
        blocks.push_back(std::move(block));
        first = end;
    }
    return blocks;
}

FirmwareBlockList CBlockAssembler::Unassembled(const SRecordTable &table)
{
    FirmwareBlockList blocks;
    for (const SRecordTable::Record &record : table.records) {
        auto block = std::make_unique<FirmwareBlock>();
        block->address = record.address;
        const auto begin = table.bytes.begin() + std::ptrdiff_t(record.offset);
        block->data.assign(begin, begin + record.length);
        blocks.push_back(std::move(block));
    }
    return blocks;
}
