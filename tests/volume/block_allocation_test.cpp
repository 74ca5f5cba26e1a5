// Which free blocks a file gets, and what the PC side of a full disc needs.
#include "volume/block_allocation.hpp"

#include <fmt/core.h>
#include <gtest/gtest.h>

#include "volume/bad_blocks.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/fork_reader.hpp"
#include "volume/overflow_extents.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

using Runs = std::vector<BlockRun>;

std::string Shown(const Runs& runs) {
    std::string text;
    for (const BlockRun& run : runs)
        text += fmt::format("{}+{} ", run.startBlock, run.blockCount);
    return text;
}

// From the hint on, which counts in 32 blocks of HFS and in 8 of HFS+: HFS takes rows of 10 or all
// that is wanted, HFS+ more than an eighth of it. Volumes have 2,000 blocks, the last of which HFS
// leaves free.
TEST(BlockAllocation, AFileGetsTheRunsThatTheFormatPrefers) {
    const struct {
        bool isHfsPlus;
        std::uint32_t hint;
        Runs free;
        std::uint32_t wanted;
        const char* taken;
        std::uint32_t hintBehind;
    } cases[] = {
        {false, 100, {{64, 30}, {97, 4}}, 4, "97+4 ", 101},
        {false, 100, {{64, 30}, {97, 4}}, 5, "64+5 ", 69},
        {false, 0, {{64, 9}, {110, 10}, {130, 40}}, 20, "110+10 130+10 ", 140},
        {false, 9, {{10, 5}, {20, 7}, {30, 6}, {40, 5}, {50, 3}}, 20, "10+5 20+7 30+6 40+2 ", 0},
        {false, 0, {{1995, 5}}, 4, "1995+4 ", 1999},
        {false, 7, {{1995, 5}}, 5, "", 0},
        {true, 0, {{1995, 5}}, 5, "1995+5 ", 2000},
        {true, 7, {{1995, 5}}, 6, "", 7},
        {true, 100, {{64, 30}, {97, 4}}, 4, "97+4 ", 101},
        {true, 0, {{64, 4}, {110, 5}, {130, 60}}, 32, "110+5 64+4 130+23 ", 153},
        {true, 0, {{64, 1}, {67, 20}}, 16, "73+14 64+1 67+1 ", 68},
    };
    const TemporaryFolder folder;
    for (const auto& c : cases) {
        SCOPED_TRACE(Shown(c.free));
        testing::TestVolume volume;
        const std::string path = folder.path() + "/volume";
        ASSERT_TRUE(
            testing::MakeVolume(path, {"", c.isHfsPlus, 512, 2000, c.isHfsPlus ? 5u : 40u}));
        ASSERT_TRUE(volume.open(path));
        MarkRun(volume.allocation(), {0, 2000}, true);
        for (const BlockRun& run : c.free)
            MarkRun(volume.allocation(), run, false);
        const std::uint32_t free = BlocksOf(c.free);
        volume->vhb.freeBlocks = free;
        volume->mdb.freeBlocks = static_cast<std::uint16_t>(free);
        volume->vhb.nextAllocation = c.hint;
        volume->mdb.nextAllocation = static_cast<std::uint16_t>(c.hint);
        Runs taken;
        EXPECT_EQ(ReserveBlocks(volume, c.wanted * 512 - 1, taken), *c.taken != 0);
        EXPECT_EQ(Shown(taken), c.taken);
        const auto hint = [&]() -> std::uint32_t {
            return c.isHfsPlus ? std::uint32_t{volume->vhb.nextAllocation}
                               : std::uint32_t{volume->mdb.nextAllocation};
        };
        EXPECT_EQ(hint(), c.hintBehind);
        EXPECT_EQ(volume->freeBlocks(), free - BlocksOf(taken));
        EXPECT_EQ(TotalFreeBlocks(volume.allocation().bitmap, 2000), volume->freeBlocks());
        FreeExtents(volume, taken);
        EXPECT_EQ(volume->freeBlocks(), free);
        EXPECT_EQ(hint(),
                  taken.empty() ? c.hintBehind
                  : c.isHfsPlus
                      ? std::min(c.hintBehind,
                                 std::ranges::min(taken, {}, &BlockRun::startBlock).startBlock)
                      : 0);
    }
}

TEST(BadBlocks, TheLargestRunsGetTheRecordsThatFit) {
    const TemporaryFolder folder;
    testing::TestVolume volume;
    const std::string path = folder.path() + "/volume";
    ASSERT_TRUE(testing::MakeVolume(path, {"", false, 512, 4000, 5}));
    ASSERT_TRUE(volume.open(path));
    const std::uint32_t total = volume->totalBlocks();
    // Every other block, far more runs than the nodes of a tree that cannot grow hold; the last of
    // them is the one of two blocks.
    Runs needed;
    for (std::uint32_t block = total / 2; block + 4 < total; block += 2)
        needed.push_back({block, 1});
    needed.back().blockCount = 2;
    volume->pcSide = needed;
    MarkRun(volume.allocation(), {0, total}, true);
    volume->mdb.freeBlocks = std::uint16_t{0};
    for (int i = 0; i < 2; ++i) {
        ASSERT_EQ(GivePcSideAnOwner(volume), TreeResult::Done);
        std::vector<OverflowRecord> records;
        ASSERT_EQ(OverflowOf(volume, kBadBlockFileId, kDataFork, records), TreeResult::Done);
        std::size_t runs = 0;
        for (const OverflowRecord& record : records)
            runs += record.runs.size();
        EXPECT_GT(runs, needed.size() / 100);
        EXPECT_LT(runs, needed.size());
        ASSERT_FALSE(records.empty());
        EXPECT_EQ(records.back().runs.back().startBlock, needed.back().startBlock);
    }
}

}  // namespace
}  // namespace vellmark
