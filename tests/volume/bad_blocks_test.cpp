// What the PC side of a full disc needs, and no room for all records of it.
#include "volume/bad_blocks.hpp"

#include <gtest/gtest.h>

#include "volume/block_bitmap.hpp"
#include "volume/overflow_extents.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

TEST(BadBlocks, TheLargestRunsGetTheRecordsThatFit) {
    const TemporaryFolder folder;
    testing::TestVolume volume;
    const std::string path = folder.path() + "/volume";
    ASSERT_TRUE(testing::MakeVolume(path, {"", false, 512, 4000, 5}));
    ASSERT_TRUE(volume.open(path));
    const std::uint32_t total = volume->totalBlocks();
    // Every other block, far more runs than the nodes of a tree that cannot grow hold; the last of
    // them is the one of two blocks.
    std::vector<BlockRun> needed;
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
