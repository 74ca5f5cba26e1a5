// The bitmap of blocks: which of it reaches the image, where the copy of the header stands, and
// which free blocks are taken by the rules of each format.
#include <gtest/gtest.h>

#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

using testing::Big;
using testing::Bytes;
using testing::BytesAt;

class Allocation : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    const std::uint64_t header_ = (isHfsPlus_ ? 64 : 96) * 512 + 1024;
    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/volume";
    testing::TestVolume volume_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, Allocation, ::testing::Bool(), testing::FormatName);

// A partition that is no multiple of the block size: the copy of an HFS+ header then stands behind
// the last whole block, which may belong to a file. One that goes on for longer is another matter.
TEST_P(Allocation, BothHeadersAreWrittenAndTheCopyAtTheEndOfThePartition) {
    for (const std::uint32_t more : {0u, 1u, 3u, 4u, 40u}) {
        SCOPED_TRACE(more);
        ASSERT_EQ(testing::FormatSmall(folder_, isHfsPlus_), path_);
        const std::uint64_t size = PcFile(path_, PcFile::Mode::Read).size();
        const std::uint64_t writes = header_ + (isHfsPlus_ ? 68 : 70);
        const std::uint64_t before = Big(path_, writes, 4);
        // Partition and image go on for some sectors.
        const auto sectors = static_cast<std::uint32_t>(Big(path_, 2 * 512 + 12, 4)) + more;
        ASSERT_TRUE(PcFile(path_, PcFile::Mode::ReadWrite).setSize(size + more * 512));
        ASSERT_TRUE(PcFile(path_, PcFile::Mode::ReadWrite)
                        .writeRecord(2 * 512 + 12, static_cast<be32>(sectors)));
        ASSERT_TRUE(volume_.open(path_));
        const std::uint64_t end = size + (!isHfsPlus_ || more < 4 ? more * 512 : 0);
        const Bytes mark(512, 0x77);
        for (std::uint64_t at = size - 4 * 512; at < size + more * 512; at += 512)
            testing::WriteAt(path_, at, mark);
        ASSERT_EQ(volume_.flush(FixedClock(testing::kNow + 1000, 3600)), TreeResult::Done);
        EXPECT_EQ(Big(path_, writes, 4), before + 1);
        // HFS keeps local time.
        EXPECT_EQ(Big(path_, header_ + (isHfsPlus_ ? 20 : 6), 4),
                  testing::kNow + 1000 + 2082844800 + (isHfsPlus_ ? 0 : 3600));
        EXPECT_EQ(BytesAt(path_, end - 1024, 512), BytesAt(path_, header_, 512));
        for (std::uint64_t at = size - 4 * 512; at < size + more * 512; at += 512)
            EXPECT_TRUE(at == end - 1024 || BytesAt(path_, at, 512) == mark) << at;
        EXPECT_EQ(volume_->image->size(), size + more * 512);
    }
}

using Runs = std::vector<BlockRun>;

constexpr std::uint32_t kBlocks = 1000;

class AllocationRules : public ::testing::Test {
  protected:
    // A volume in which only those blocks are free.
    void prepare(bool isHfsPlus, const Runs& freeRuns, std::uint32_t hint) {
        ASSERT_TRUE(testing::MakeVolume(path_, {"", isHfsPlus, 512, kBlocks, 5}));
        ASSERT_TRUE(volume_.open(path_));
        MarkRun(volume_.allocation(), {0, kBlocks}, true);
        std::uint32_t free = 0;
        for (const BlockRun& run : freeRuns) {
            MarkRun(volume_.allocation(), run, false);
            free += run.blockCount;
        }
        volume_->mdb.freeBlocks = static_cast<std::uint16_t>(free);
        volume_->mdb.nextAllocation = static_cast<std::uint16_t>(hint);
        volume_->vhb.freeBlocks = free;
        volume_->vhb.nextAllocation = hint;
    }
    std::uint32_t hint() {
        return volume_->isHfsPlus ? std::uint32_t{volume_->vhb.nextAllocation}
                                  : std::uint32_t{volume_->mdb.nextAllocation};
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/volume";
    testing::TestVolume volume_;
};

TEST_F(AllocationRules, OneRun) {
    const struct {
        const char* what;
        bool isHfsPlus;
        Runs freeRuns;
        std::uint32_t hint, wanted;
        BlockRun got;  // no blocks: none
        std::uint32_t hintAfter;
    } cases[] = {
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
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        prepare(c.isHfsPlus, c.freeRuns, c.hint);
        const std::uint32_t free = volume_->freeBlocks();
        BlockRun run;
        ASSERT_EQ(AllocateRun(volume_, c.wanted, run), c.got.blockCount != 0);
        EXPECT_EQ(run.startBlock, c.got.startBlock);
        EXPECT_EQ(run.blockCount, c.got.blockCount);
        EXPECT_EQ(hint(), c.hintAfter);
        EXPECT_EQ(volume_->freeBlocks(), free - c.got.blockCount);
    }
}

TEST_F(AllocationRules, WholeForks) {
    const Runs eight = {{32, 3},  {64, 2},  {96, 2},  {128, 2},
                        {160, 2}, {192, 2}, {224, 1}, {256, 1}};
    Runs nine = eight;
    nine.push_back({288, 1});
    const struct {
        const char* what;
        bool isHfsPlus;
        Runs freeRuns;
        std::uint64_t bytes;
        bool hasRoom;
        std::size_t runs;
    } cases[] = {
        {"nothing needs nothing", false, {}, 0, true, 0},
        {"more than is free", false, {{32, 10}}, 10 * 512 + 1, false, 0},
        {"HFS, a fourth", false, {{32, 5}, {64, 10}, {96, 10}, {128, 10}}, 32 * 512, true, 4},
        {"HFS, the longest", false, {{32, 10}, {64, 9}, {96, 10}, {128, 20}}, 40 * 512, true, 3},
        {"HFS, all but the last block", false, {{32, 9}, {990, 10}}, 19 * 512, false, 0},
        {"HFS+, eight runs", true, eight, 15 * 512, true, 8},
        {"HFS+, a ninth", true, nine, 16 * 512, true, 9},
        {"more than 32 bits", true, {{32, 20}}, 512ull << 33, false, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        // From there on nothing is free: the search begins anew at block 0.
        prepare(c.isHfsPlus, c.freeRuns, 500);
        const Bytes before = volume_.allocation().bitmap;
        const std::uint32_t free = volume_->freeBlocks();
        Runs runs;
        ASSERT_EQ(ReserveBlocks(volume_, c.bytes, runs), c.hasRoom);
        EXPECT_EQ(runs.size(), c.runs);
        EXPECT_EQ(volume_->freeBlocks(), free - (c.hasRoom ? (c.bytes + 511) / 512 : 0));
        // The medium may refer to them until the flush: nothing may be put there before.
        const Bytes taken = volume_.allocation().bitmap;
        FreeExtents(volume_, runs);
        EXPECT_EQ(volume_.allocation().bitmap, taken);
        FreeWhatWasFreed(volume_.allocation());
        EXPECT_EQ(volume_.allocation().bitmap, before);
        EXPECT_EQ(volume_->freeBlocks(), free);
        EXPECT_TRUE(runs.empty() || hint() == (c.isHfsPlus ? 32u : 0u));
    }
}

}  // namespace
}  // namespace vellmark
