// Forks in many pieces, their extents continued in the overflow tree.
#include "volume/fork_reader.hpp"

#include <gtest/gtest.h>

#include "volume/catalog_keys.hpp"
#include "volume/open_fork.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using Runs = std::vector<BlockRun>;

class ForkInPieces : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    const std::uint32_t perRecord_ = isHfsPlus_ ? 8 : 3;

    // A file whose record is full.
    void SetUp() override {
        ASSERT_TRUE(volume_.open(testing::FormatSmall(folder_, isHfsPlus_)));
        file_.id = 77;
        for (std::uint32_t i = 0; i < perRecord_; ++i)
            file_.resource.runs.push_back({520 + 5 * i, 1});
        file_.resource.sizeBytes = 1000;
        file_.resource.totalBlocks = perRecord_;
    }
    // The overflow record of those runs, with empty ones at the end.
    void insertOverflow(std::uint32_t startBlock, const Runs& runs) {
        std::vector<testing::Field> fields;
        const int width = isHfsPlus_ ? 4 : 2;
        for (const BlockRun& run : runs)
            for (const std::uint32_t word : {run.startBlock, run.blockCount})
                fields.push_back({fields.size() * width, width, word});
        const TreeKey key = isHfsPlus_ ? HfsPlusExtentsKey(77, kResourceFork, startBlock)
                                       : HfsExtentsKey(77, kResourceFork, startBlock);
        ASSERT_EQ(InsertTreeRecord(volume_->extents, key,
                                   testing::WithFields(Bytes(2 * width * perRecord_), fields)),
                  TreeResult::Done);
    }

    TemporaryFolder folder_;
    testing::TestVolume volume_;
    CatalogItem file_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, ForkInPieces, ::testing::Bool(), testing::FormatName);

// A habit of HFS+ that is kept: whoever read such a fork may not change the volume any more.
TEST_P(ForkInPieces, ReadingItBeyondItsRecordKeepsHfsPlusFromChanges) {
    EXPECT_TRUE(OpenFork(volume_, file_, true));
    EXPECT_FALSE(volume_->readOnlyReasons.has(ReadOnlyReason::OverflowRead));
    insertOverflow(perRecord_, {{900, 1}});
    ++file_.resource.totalBlocks;
    EXPECT_TRUE(OpenFork(volume_, file_, true));
    EXPECT_EQ(volume_->readOnlyReasons.has(ReadOnlyReason::OverflowRead), isHfsPlus_);
}

TEST_P(ForkInPieces, RecordsThatCannotBeAreDamage) {
    const std::uint32_t total = volume_->totalBlocks();
    ++file_.resource.totalBlocks;
    Runs found;
    EXPECT_EQ(ForkRuns(volume_, file_, true, found), TreeResult::Damaged) << "no record";
    EXPECT_EQ(found.size(), perRecord_) << "what was found stays";
    // Without blocks, and outside the volume.
    for (const Runs& runs :
         {Runs{}, Runs{{total, 1}}, Runs{{total - 1, 2}}, Runs{{0xFFFFFFFF, 0xFFFFFFFF}}}) {
        insertOverflow(perRecord_, runs);
        EXPECT_EQ(ForkRuns(volume_, file_, true, found), TreeResult::Damaged);
        volume_->extents.header().depth = 0;  // an empty tree again
    }
    file_.resource.runs = {{total - 1, 2}};
    EXPECT_EQ(ForkRuns(volume_, file_, true, found), TreeResult::Damaged) << "in the catalog";
    file_.resource.runs = {{total - 2, 2}};
    file_.resource.totalBlocks = 2;
    EXPECT_EQ(ForkRuns(volume_, file_, true, found), TreeResult::Done) << "up to the last block";
    // The keys of HFS count blocks in 16 bits: a fork that claims more comes back to its beginning.
    file_.resource.runs = Runs(perRecord_, {0, 3});
    file_.resource.totalBlocks = 0xFFFFFFFF;
    for (std::uint32_t start = 0; start < 6 * total && start < 0x10000; start += 3 * perRecord_)
        insertOverflow(start, file_.resource.runs);
    EXPECT_EQ(ForkRuns(volume_, file_, true, found), TreeResult::Damaged) << "more than the volume";
    EXPECT_LE(BlocksOf(found), total + 3 * perRecord_);
}

}  // namespace
}  // namespace vellmark
