// Which free blocks are taken: by the rules of each format, on bitmaps made by hand.
#include <gtest/gtest.h>

#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/volume_model.hpp"

namespace vellmark {
namespace {

using Runs = std::vector<BlockRun>;

constexpr std::uint32_t kBlocks = 1000;

// A volume in memory in which only those blocks are free.
void Prepare(VolumeContext& volume, bool isHfsPlus, const Runs& freeRuns, std::uint32_t hint) {
    std::uint32_t free = 0;
    volume.isHfsPlus = isHfsPlus;
    volume.blockSize = 512;
    volume.allocation.bitmap.assign(512, 0);
    MarkRun(volume.allocation, {0, kBlocks}, true);
    for (const BlockRun& run : freeRuns) {
        MarkRun(volume.allocation, run, false);
        free += run.blockCount;
    }
    volume.mdb.totalBlocks = kBlocks;
    volume.mdb.freeBlocks = static_cast<std::uint16_t>(free);
    volume.mdb.nextAllocation = static_cast<std::uint16_t>(hint);
    volume.vhb.totalBlocks = kBlocks;
    volume.vhb.freeBlocks = free;
    volume.vhb.nextAllocation = hint;
}

std::uint32_t HintOf(const VolumeContext& volume) {
    return volume.isHfsPlus ? std::uint32_t{volume.vhb.nextAllocation}
                            : std::uint32_t{volume.mdb.nextAllocation};
}

TEST(AllocationRules, OneRun) {
    struct Case {
        const char* what;
        bool isHfsPlus;
        Runs freeRuns;
        std::uint32_t hint, wanted;
        BlockRun got;  // no blocks: none
        std::uint32_t hintAfter;
    };
    const Case cases[] = {
        {"HFS does not wrap", false, {{100, 50}}, 160, 5, {0, 0}, 160},
        {"HFS begins with the word of the hint", false, {{100, 50}}, 150, 5, {128, 5}, 133},
        {"HFS, 9 of 20", false, {{200, 9}, {300, 10}, {400, 50}}, 0, 20, {300, 10}, 310},
        {"HFS, all of 9", false, {{200, 9}, {300, 10}}, 0, 9, {200, 9}, 209},
        {"HFS, up to the last block but one", false, {{980, 20}}, 0, 19, {980, 19}, 999},
        {"HFS, not begun where it cannot end", false, {{980, 20}}, 0, 20, {0, 0}, 0},
        {"HFS, a hint behind the end", false, {{980, 20}}, 60000, 1, {0, 0}, 60000},
        {"HFS+ does not wrap", true, {{100, 50}}, 160, 5, {0, 0}, 160},
        {"HFS+ begins with the byte of the hint", true, {{100, 50}}, 127, 5, {120, 5}, 125},
        {"HFS+, 10 of 80", true, {{200, 10}, {300, 11}}, 0, 80, {300, 11}, 0},
        {"HFS+, 11 of 80", true, {{200, 11}, {300, 80}}, 0, 80, {200, 11}, 211},
        {"HFS+, a byte is skipped", true, {{200, 3}, {204, 40}}, 0, 80, {211, 33}, 0},
        {"HFS+, none is skipped behind 8", true, {{200, 8}, {210, 20}}, 0, 80, {210, 20}, 0},
        {"HFS+, up to the last block", true, {{990, 10}}, 0, 79, {990, 10}, 1000},
        {"HFS+, a hint behind the end", true, {{980, 20}}, 0xFFFFFFFF, 1, {0, 0}, 0xFFFFFFFF},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        VolumeContext volume;
        Prepare(volume, c.isHfsPlus, c.freeRuns, c.hint);
        const std::uint32_t free = volume.freeBlocks();
        BlockRun run;
        ASSERT_EQ(AllocateRun(volume, c.wanted, run), c.got.blockCount != 0);
        EXPECT_EQ(run.startBlock, c.got.startBlock);
        EXPECT_EQ(run.blockCount, c.got.blockCount);
        EXPECT_EQ(HintOf(volume), c.hintAfter);
        EXPECT_EQ(volume.freeBlocks(), free - c.got.blockCount);
        EXPECT_TRUE(IsWhollyUsed(volume.allocation.bitmap, run));
        EXPECT_EQ(TotalFreeBlocks(volume.allocation.bitmap, kBlocks), volume.freeBlocks());
    }
}

TEST(AllocationRules, WholeForks) {
    const Runs eight = {{32, 3},  {64, 2},  {96, 2},  {128, 2},
                        {160, 2}, {192, 2}, {224, 1}, {256, 1}};
    Runs nine = eight;
    nine.push_back({288, 1});
    struct Case {
        const char* what;
        bool isHfsPlus;
        Runs freeRuns;
        std::uint32_t hint;
        std::uint64_t bytes;
        bool hasRoom;
        std::size_t runs;
    };
    const Case cases[] = {
        {"nothing needs nothing", false, {}, 0, 0, true, 0},
        {"more than is free", false, {{32, 10}}, 0, 10 * 512 + 1, false, 0},
        {"HFS, three runs", false, {{32, 10}, {64, 10}, {96, 10}}, 0, 30 * 512, true, 3},
        {"HFS, a fourth", false, {{32, 5}, {64, 10}, {96, 10}, {128, 10}}, 0, 32 * 512, true, 4},
        {"HFS, the longest", false, {{32, 10}, {64, 9}, {96, 10}, {128, 20}}, 0, 40 * 512, true, 3},
        {"HFS, all but the last block", false, {{32, 9}, {990, 10}}, 0, 19 * 512, false, 0},
        {"HFS, from block 0", false, {{32, 20}}, 500, 20 * 512, true, 1},
        {"HFS, short runs only", false, {{32, 9}, {64, 9}}, 0, 18 * 512, true, 2},
        {"HFS+, eight runs", true, eight, 0, 15 * 512, true, 8},
        {"HFS+, a ninth", true, nine, 0, 16 * 512, true, 9},
        {"HFS+, from block 0", true, {{32, 20}}, 500, 20 * 512 - 1, true, 1},
        {"more than 32 bits", true, {{32, 20}}, 0, 512ull << 33, false, 0},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        VolumeContext volume;
        Prepare(volume, c.isHfsPlus, c.freeRuns, c.hint);
        const testing::Bytes before = volume.allocation.bitmap;
        const std::uint32_t free = volume.freeBlocks();
        Runs runs;
        ASSERT_EQ(ReserveBlocks(volume, c.bytes, runs), c.hasRoom);
        ASSERT_EQ(runs.size(), c.runs);
        EXPECT_EQ(TotalFreeBlocks(volume.allocation.bitmap, kBlocks), volume.freeBlocks());
        EXPECT_EQ(volume.freeBlocks(), free - (runs.empty() ? 0 : (c.bytes + 511) / 512));
        // Given back, all is as before, the blocks at the end of each run included.
        // The medium may refer to them until the flush: nothing may be put there before.
        const testing::Bytes taken = volume.allocation.bitmap;
        FreeExtents(volume, runs);
        EXPECT_EQ(volume.allocation.bitmap, taken);
        for (const BlockRun& run : runs)
            EXPECT_FALSE(IsInUse(volume.allocation, run));
        FreeWhatWasFreed(volume.allocation);
        EXPECT_EQ(volume.allocation.bitmap, before);
        EXPECT_EQ(volume.freeBlocks(), free);
        EXPECT_TRUE(runs.empty() || HintOf(volume) == (c.isHfsPlus ? 32u : 0u));
    }
}

}  // namespace
}  // namespace vellmark
