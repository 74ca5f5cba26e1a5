#include "volume/block_allocation.hpp"

#include <algorithm>

#include "volume/block_bitmap.hpp"
#include "volume/pc_side.hpp"

namespace vellmark {

namespace {

// The shortest run that is taken when it is not all that is wanted.
constexpr std::uint32_t kShortestHfsRun = 10;
constexpr std::uint32_t kHfsPlusShare = 8;
constexpr std::uint32_t kHfsHintBits = 32;
constexpr std::uint32_t kHfsPlusHintBits = 8;

void AddFreeBlocks(VolumeContext& volume, std::int64_t delta) {
    const std::int64_t sum = std::int64_t{volume.freeBlocks()} + delta;
    if (volume.isHfsPlus)
        volume.vhb.freeBlocks = static_cast<std::uint32_t>(sum);
    else
        volume.mdb.freeBlocks = static_cast<std::uint16_t>(sum);
}

void Take(VolumeContext& volume, BlockRun run) {
    MarkRun(volume.allocation, run, true);
    AddFreeBlocks(volume, -std::int64_t{run.blockCount});
}

void SetHint(VolumeContext& volume, std::uint32_t block) {
    if (volume.isHfsPlus)
        volume.vhb.nextAllocation = block;
    else
        volume.mdb.nextAllocation = static_cast<std::uint16_t>(block);
}

ReserveResult TryReserve(VolumeContext& volume, std::uint32_t blocks, std::vector<BlockRun>& runs) {
    const std::size_t most = volume.isHfsPlus ? std::tuple_size_v<HfsPlusExtentRecord>
                                              : std::tuple_size_v<HfsExtentRecord>;
    ReserveResult result = ReserveResult::Done;
    runs.clear();
    while (blocks > 0 && result == ReserveResult::Done) {
        BlockRun run;
        if (runs.size() == most)
            result = ReserveResult::TooFragmented;
        else if (!AllocateRun(volume, blocks, run))
            result = ReserveResult::NoRoom;
        else {
            runs.push_back(run);
            blocks -= run.blockCount;
        }
    }
    if (result == ReserveResult::Done)
        return result;
    ReturnBlocks(volume, runs);
    runs.clear();
    return result;
}

}  // namespace

std::uint64_t BlocksFor(const VolumeContext& volume, std::uint64_t bytes) {
    return bytes / volume.blockSize + (bytes % volume.blockSize != 0 ? 1 : 0);
}

bool AllocateRunHfs(VolumeContext& volume, std::uint32_t wanted, BlockRun& run) {
    const std::vector<std::uint8_t>& bitmap = volume.allocation.bitmap;
    const std::uint32_t end = volume.totalBlocks();
    std::uint32_t block = volume.mdb.nextAllocation / kHfsHintBits * kHfsHintBits;
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

bool AllocateRunHfsPlus(VolumeContext& volume, std::uint32_t wanted, BlockRun& run) {
    const std::vector<std::uint8_t>& bitmap = volume.allocation.bitmap;
    const std::uint32_t end = volume.totalBlocks();
    std::uint32_t block = volume.vhb.nextAllocation / kHfsPlusHintBits * kHfsPlusHintBits;
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

bool AllocateRun(VolumeContext& volume, std::uint32_t wanted, BlockRun& run) {
    return volume.isHfsPlus ? AllocateRunHfsPlus(volume, wanted, run)
                            : AllocateRunHfs(volume, wanted, run);
}

void RestartAllocation(VolumeContext& volume) {
    SetHint(volume, 0);
}

ReserveResult ReserveBlocks(VolumeContext& volume, std::uint64_t bytes,
                            std::vector<BlockRun>& runs) {
    const std::uint64_t blocks = BlocksFor(volume, bytes);
    runs.clear();
    if (blocks > volume.freeBlocks())
        return ReserveResult::NoRoom;
    const auto wanted = static_cast<std::uint32_t>(blocks);
    ReserveResult result = TryReserve(volume, wanted, runs);
    if (result != ReserveResult::Done) {
        RestartAllocation(volume);
        result = TryReserve(volume, wanted, runs);
    }
    return result;
}

void FreeExtents(VolumeContext& volume, const std::vector<BlockRun>& runs) {
    std::uint32_t lowest = volume.isHfsPlus ? std::uint32_t{volume.vhb.nextAllocation} : 0;
    for (const BlockRun& whole : runs)
        for (const BlockRun& run : WithoutPcSide(volume, whole)) {
            MarkFreed(volume.allocation, run);
            AddFreeBlocks(volume, run.blockCount);
            lowest = std::min(lowest, run.startBlock);
        }
    if (!runs.empty())
        SetHint(volume, lowest);
}

void ReturnBlocks(VolumeContext& volume, const std::vector<BlockRun>& runs) {
    for (const BlockRun& run : runs) {
        MarkRun(volume.allocation, run, false);
        AddFreeBlocks(volume, run.blockCount);
    }
}

}  // namespace vellmark
