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
    const std::uint32_t blockSize_ = isHfsPlus_ ? 2048 : 512;

    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        ASSERT_TRUE(volume_.open(path_));
    }
    // Runs behind the trees, each apart from the others and lower than the one before.
    static Runs scattered(std::uint32_t count) {
        Runs runs;
        for (std::uint32_t i = 0; i < count; ++i)
            runs.push_back({520 + 5 * (count - i), 1 + i % 3});
        return runs;
    }
    // Extents as they lie on the disk, with empty ones at the end.
    Bytes extents(const Runs& runs, std::size_t first = 0) const {
        Bytes bytes;
        for (std::size_t i = first; i < first + perRecord_; ++i) {
            const BlockRun run = i < runs.size() ? runs[i] : BlockRun{};
            for (const std::uint32_t word : {run.startBlock, run.blockCount})
                for (int shift = isHfsPlus_ ? 24 : 8; shift >= 0; shift -= 8)
                    bytes.push_back(static_cast<std::uint8_t>(word >> shift));
        }
        return bytes;
    }
    void insertOverflow(std::uint32_t startBlock, const Bytes& data) {
        const TreeKey key = isHfsPlus_ ? HfsPlusExtentsKey(77, kResourceFork, startBlock)
                                       : HfsExtentsKey(77, kResourceFork, startBlock);
        ASSERT_EQ(InsertTreeRecord(volume_->extents, key, data), TreeResult::Done);
    }
    // A file with such a resource fork: what its record holds, and the records behind that.
    CatalogItem file(const Runs& runs, std::uint64_t sizeBytes) {
        CatalogItem item;
        item.id = 77;
        item.resource = {sizeBytes, BlocksOf(runs), runs};
        item.resource.runs.resize(std::min<std::size_t>(perRecord_, runs.size()));
        std::uint32_t blocks = 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (i >= perRecord_ && i % perRecord_ == 0)
                insertOverflow(blocks, extents(runs, i));
            blocks += runs[i].blockCount;
        }
        return item;
    }

    TemporaryFolder folder_;
    std::string path_;
    testing::TestVolume volume_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, ForkInPieces, ::testing::Bool(), testing::FormatName);

// A habit of HFS+ that is kept: whoever read such a fork may not change the volume any more.
TEST_P(ForkInPieces, ReadingItBeyondItsRecordKeepsHfsPlusFromChanges) {
    for (const std::uint32_t more : {0, 1}) {
        EXPECT_TRUE(OpenFork(volume_, file(scattered(perRecord_ + more), 1000), true));
        EXPECT_EQ(volume_->readOnlyReasons.has(ReadOnlyReason::OverflowRead),
                  isHfsPlus_ && more == 1);
    }
}

TEST_P(ForkInPieces, IsReadThroughAllItsRecords) {
    const Runs runs = scattered(3 * perRecord_ + 2);
    Bytes contents;
    for (const BlockRun& run : runs) {
        Bytes piece(run.blockCount * blockSize_);
        for (std::size_t i = 0; i < piece.size(); ++i)
            piece[i] = static_cast<std::uint8_t>((contents.size() + i) * 31 + i / 509);
        const std::uint64_t start = isHfsPlus_ ? 64 * 512 : (96 + 19) * 512;
        testing::WriteAt(path_, start + std::uint64_t{run.startBlock} * blockSize_, piece);
        contents.insert(contents.end(), piece.begin(), piece.end());
    }
    const std::size_t size = contents.size() - 100;
    Runs found;
    ASSERT_EQ(ForkRuns(volume_, file(runs, size), true, found), TreeResult::Done);
    ForkSource fork(volume_, found, size);
    EXPECT_EQ(fork.size(), size);
    for (const std::size_t length : {std::size_t{1}, std::size_t{511}, std::size_t{513},
                                     std::size_t{blockSize_ * 4 + 7}, size})
        for (std::size_t offset = 0; offset <= size; offset += size / 13) {
            Bytes read(length, 0xEE);
            const std::size_t expected = std::min(length, size - offset);
            ASSERT_EQ(fork.readAt(offset, read), expected) << offset << " + " << length;
            ASSERT_TRUE(std::equal(read.data(), read.data() + expected, contents.data() + offset));
        }
    Bytes beyond(10);
    EXPECT_EQ(fork.readAt(~0ull, beyond), 0u);
}

TEST_P(ForkInPieces, RecordsThatCannotBeAreDamage) {
    const Runs runs = scattered(perRecord_);
    const std::uint32_t total = volume_->totalBlocks();
    CatalogItem item = file(runs, 1000);
    ++item.resource.totalBlocks;
    Runs found;
    EXPECT_EQ(ForkRuns(volume_, item, true, found), TreeResult::Damaged) << "no record";
    EXPECT_EQ(found.size(), perRecord_) << "what was found stays";
    // Without blocks, too short, and outside the volume.
    for (const Bytes& data : {extents({}), Bytes(4, 1), extents({{total, 1}}),
                              extents({{total - 1, 2}}), extents({{0xFFFFFFFF, 0xFFFFFFFF}})}) {
        insertOverflow(BlocksOf(runs), data);
        EXPECT_EQ(ForkRuns(volume_, item, true, found), TreeResult::Damaged);
        volume_->extents.header().depth = 0;  // an empty tree again
    }
    item.resource.runs = {{total - 1, 2}};
    EXPECT_EQ(ForkRuns(volume_, item, true, found), TreeResult::Damaged) << "in the catalog";
    // The keys of HFS count blocks in 16 bits: a fork that claims more comes back to its beginning.
    item.resource.runs = Runs(perRecord_, {0, 3});
    item.resource.totalBlocks = 0xFFFFFFFF;
    for (std::uint32_t start = 0; start < 6 * total && start < 0x10000; start += 3 * perRecord_)
        insertOverflow(start, extents(item.resource.runs));
    EXPECT_EQ(ForkRuns(volume_, item, true, found), TreeResult::Damaged) << "more than the volume";
    EXPECT_LE(BlocksOf(found), total + 3 * perRecord_);
}

}  // namespace
}  // namespace vellmark
