#include "volume/block_allocation.hpp"

#include <algorithm>

#include "volume/block_bitmap.hpp"
#include "volume/overflow_extents.hpp"
#include "volume/pc_side.hpp"

namespace vellmark {

namespace {

// The shortest run that is taken when it is not all that is wanted.
constexpr std::uint32_t kShortestHfsRun = 10;
constexpr std::uint32_t kHfsPlusShare = 8;
constexpr std::uint32_t kHfsHintBits = 32;
constexpr std::uint32_t kHfsPlusHintBits = 8;

void AddFreeBlocks(WritableVolume& volume, std::int64_t delta) {
    const std::int64_t sum = std::int64_t{volume->freeBlocks()} + delta;
    if (volume->isHfsPlus)
        volume->vhb.freeBlocks = static_cast<std::uint32_t>(sum);
    else
        volume->mdb.freeBlocks = static_cast<std::uint16_t>(sum);
}

void Take(WritableVolume& volume, BlockRun run) {
    MarkRun(volume.allocation(), run, true);
    AddFreeBlocks(volume, -std::int64_t{run.blockCount});
}

void SetHint(WritableVolume& volume, std::uint32_t block) {
    if (volume->isHfsPlus)
        volume->vhb.nextAllocation = block;
    else
        volume->mdb.nextAllocation = static_cast<std::uint16_t>(block);
}

// By the rules of the format, in as many runs as a catalog record holds.
bool TryReserve(WritableVolume& volume, std::uint32_t blocks, std::vector<BlockRun>& runs) {
    BlockRun run;
    runs.clear();
    while (blocks > 0 && runs.size() < RunsPerRecord(volume->isHfsPlus) &&
           AllocateRun(volume, blocks, run)) {
        runs.push_back(run);
        blocks -= run.blockCount;
    }
    if (blocks == 0)
        return true;
    ReturnBlocks(volume, runs);
    runs.clear();
    return false;
}

// All runs of free blocks.
std::vector<BlockRun> FreeRuns(const WritableVolume& volume) {
    const std::vector<std::uint8_t>& bitmap = volume.allocation().bitmap;
    const std::uint32_t end = AllocationEnd(volume);
    std::vector<BlockRun> runs;
    for (std::uint32_t block = NextFreeBlock(bitmap, 0, end); block < end;) {
        const std::uint32_t count = CountFreeBlocks(bitmap, block, end, end);
        runs.push_back({block, count});
        block = NextFreeBlock(bitmap, block + count, end);
    }
    return runs;
}

bool IsLonger(const BlockRun& a, const BlockRun& b) {
    return a.blockCount > b.blockCount;
}

// The longest runs, in the order in which they lie.
bool ReserveLongest(WritableVolume& volume, std::uint32_t blocks, std::vector<BlockRun>& runs) {
    std::vector<BlockRun> free = FreeRuns(volume);
    std::stable_sort(free.begin(), free.end(), IsLonger);
    for (const BlockRun& run : free) {
        if (blocks == 0)
            break;
        runs.push_back({run.startBlock, std::min(run.blockCount, blocks)});
        blocks -= runs.back().blockCount;
    }
    if (blocks != 0) {
        runs.clear();
        return false;
    }
    std::sort(runs.begin(), runs.end(),
              [](const BlockRun& a, const BlockRun& b) { return a.startBlock < b.startBlock; });
    for (const BlockRun& run : runs)
        Take(volume, run);
    return true;
}

}  // namespace

std::uint64_t BlocksFor(const WritableVolume& volume, std::uint64_t bytes) {
    return bytes / volume->blockSize + (bytes % volume->blockSize != 0 ? 1 : 0);
}

bool AllocateRunHfs(WritableVolume& volume, std::uint32_t wanted, BlockRun& run) {
    const std::vector<std::uint8_t>& bitmap = volume.allocation().bitmap;
    const std::uint32_t end = AllocationEnd(volume);
    std::uint32_t block = volume->mdb.nextAllocation / kHfsHintBits * kHfsHintBits;
    for (;;) {
        block = block < end ? NextFreeBlock(bitmap, block, end) : end;
        // A fork is not begun where it could not end.
        if (block == end || wanted > end - block)
            return false;
        const std::uint32_t count = CountFreeBlocks(bitmap, block, wanted, end);
        if (count == wanted || count >= kShortestHfsRun) {
            run = {block, count};
            Take(volume, run);
            SetHint(volume, block + count);
            return true;
        }
        block += count;
    }
}

bool AllocateRunHfsPlus(WritableVolume& volume, std::uint32_t wanted, BlockRun& run) {
    const std::vector<std::uint8_t>& bitmap = volume.allocation().bitmap;
    const std::uint32_t end = AllocationEnd(volume);
    std::uint32_t block = volume->vhb.nextAllocation / kHfsPlusHintBits * kHfsPlusHintBits;
    for (bool isFirst = true;; isFirst = false) {
        block = block < end ? NextFreeBlock(bitmap, block, end) : end;
        if (block == end)
            return false;
        const std::uint32_t count = CountFreeBlocks(bitmap, block, wanted, end);
        if (count == wanted || count > wanted / kHfsPlusShare) {
            run = {block, count};
            Take(volume, run);
            if (isFirst)
                SetHint(volume, block + count);
            return true;
        }
        // Behind a very short run the next byte is skipped too: the search stays quick where single
        // blocks are free.
        const std::uint32_t next = count < 8 ? count + 8 : count;
        block += std::min(next, end - block);
    }
}

bool AllocateRun(WritableVolume& volume, std::uint32_t wanted, BlockRun& run) {
    return volume->isHfsPlus ? AllocateRunHfsPlus(volume, wanted, run)
                             : AllocateRunHfs(volume, wanted, run);
}

bool AllocateBehind(WritableVolume& volume, BlockRun before, std::uint32_t wanted, BlockRun& run) {
    const std::uint32_t start = before.startBlock + before.blockCount;
    const std::uint32_t end = AllocationEnd(volume);
    const std::uint32_t count =
        start < end ? CountFreeBlocks(volume.allocation().bitmap, start, wanted, end) : 0;
    if (count == 0)
        return false;
    run = {start, count};
    Take(volume, run);
    return true;
}

bool AllocateLongestRun(WritableVolume& volume, std::uint32_t wanted, BlockRun& run) {
    const std::vector<BlockRun> free = FreeRuns(volume);
    const auto longest = std::min_element(free.begin(), free.end(), IsLonger);
    if (longest == free.end())
        return false;
    run = {longest->startBlock, std::min(longest->blockCount, wanted)};
    Take(volume, run);
    return true;
}

std::uint32_t AllocationEnd(const WritableVolume& volume) {
    const std::uint32_t blocks = volume->totalBlocks();
    return volume->isHfsPlus || blocks == 0 ? blocks : blocks - 1;
}

void RestartAllocation(WritableVolume& volume) {
    SetHint(volume, 0);
}

bool ReserveBlocks(WritableVolume& volume, std::uint64_t bytes, std::vector<BlockRun>& runs) {
    const std::uint64_t blocks = BlocksFor(volume, bytes);
    runs.clear();
    if (blocks > volume->freeBlocks())
        return false;
    const auto wanted = static_cast<std::uint32_t>(blocks);
    if (TryReserve(volume, wanted, runs))
        return true;
    RestartAllocation(volume);
    return TryReserve(volume, wanted, runs) || ReserveLongest(volume, wanted, runs);
}

void FreeExtents(WritableVolume& volume, const std::vector<BlockRun>& runs) {
    std::uint32_t lowest = volume->isHfsPlus ? std::uint32_t{volume->vhb.nextAllocation} : 0;
    for (const BlockRun& whole : runs)
        for (const BlockRun& run : WithoutPcSide(volume, whole)) {
            MarkFreed(volume.allocation(), run);
            AddFreeBlocks(volume, run.blockCount);
            lowest = std::min(lowest, run.startBlock);
        }
    if (!runs.empty())
        SetHint(volume, lowest);
}

void ReturnBlocks(WritableVolume& volume, const std::vector<BlockRun>& runs) {
    for (const BlockRun& run : runs) {
        MarkRun(volume.allocation(), run, false);
        AddFreeBlocks(volume, run.blockCount);
    }
}

}  // namespace vellmark
