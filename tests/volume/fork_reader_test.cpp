// Forks in many pieces, their extents continued in the overflow tree.

#include "volume/fork_reader.hpp"

#include <gtest/gtest.h>

#include <cstring>

#include "volume/catalog_keys.hpp"
#include "volume/open_fork.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;

constexpr std::uint32_t kFileId = 77;
constexpr std::uint32_t kFirstFreeBlock = 520;

// Blocks of the file, each run apart from the others and lower than the one before.
std::vector<BlockRun> ScatteredRuns(std::size_t count) {
    std::vector<BlockRun> runs;
    for (std::size_t i = 0; i < count; ++i)
        runs.push_back({static_cast<std::uint32_t>(kFirstFreeBlock + 5 * (count - i)),
                        static_cast<std::uint32_t>(1 + i % 3)});
    return runs;
}

class ForkInPieces : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    const std::size_t extentsPerRecord_ = isHfsPlus_ ? 8 : 3;

    void SetUp() override {
        path_ = testing::FormatSmall(folder_, isHfsPlus_);
        ASSERT_TRUE(testing::Open(volume_, path_));
        ASSERT_EQ(LoadNodeBitmap(volume_.catalog), TreeResult::Done);
        ASSERT_EQ(LoadNodeBitmap(volume_.extents), TreeResult::Done);
    }

    // Extents as they lie on the disk, with empty ones at the end.
    Bytes extents(const std::vector<BlockRun>& runs, std::size_t first) const {
        Bytes bytes;
        for (std::size_t i = first; i < first + extentsPerRecord_; ++i) {
            const BlockRun run = i < runs.size() ? runs[i] : BlockRun{};
            for (const std::uint32_t word : {run.startBlock, run.blockCount})
                for (int shift = isHfsPlus_ ? 24 : 8; shift >= 0; shift -= 8)
                    bytes.push_back(static_cast<std::uint8_t>(word >> shift));
        }
        return bytes;
    }

    // A file record; its resource fork has the given runs and size.
    void insertFile(const std::vector<BlockRun>& runs, std::uint64_t sizeBytes) {
        const Bytes first = extents(runs, 0);
        Bytes data(isHfsPlus_ ? 248 : 102);
        data[isHfsPlus_ ? 1 : 0] = 2;
        const auto put = [&](std::size_t at, std::uint32_t value) {
            const be32 word = value;
            std::memcpy(data.data() + at, &word, sizeof word);
        };
        put(isHfsPlus_ ? 8 : 20, kFileId);
        put(isHfsPlus_ ? 168 + 4 : 36, static_cast<std::uint32_t>(sizeBytes));
        if (isHfsPlus_)
            put(168 + 12, BlocksOf(runs));
        std::copy(first.begin(), first.end(), data.begin() + (isHfsPlus_ ? 168 + 16 : 86));
        const TreeKey key =
            isHfsPlus_ ? HfsPlusCatalogKey(2, u"in pieces") : HfsCatalogKey(2, "in pieces");
        ASSERT_EQ(InsertTreeRecord(volume_.catalog, key, data), TreeResult::Done);
        ASSERT_EQ(FindPath(volume_, "in pieces", testing::kClock, item_), TreeResult::Done);
        ASSERT_TRUE(item_);
    }

    void insertOverflow(std::uint32_t startBlock, const Bytes& data) {
        const TreeKey key = isHfsPlus_ ? HfsPlusExtentsKey(kFileId, kResourceFork, startBlock)
                                       : HfsExtentsKey(kFileId, kResourceFork, startBlock);
        ASSERT_EQ(InsertTreeRecord(volume_.extents, key, data), TreeResult::Done);
    }
    // The records behind the catalog's; `skip` leaves one out.
    void insertAllOverflow(const std::vector<BlockRun>& runs, std::size_t skip = 0) {
        std::uint32_t blocks = 0;
        for (std::size_t i = 0; i < runs.size(); ++i) {
            if (i >= extentsPerRecord_ && i % extentsPerRecord_ == 0 && i != skip)
                insertOverflow(blocks, extents(runs, i));
            blocks += runs[i].blockCount;
        }
    }
    TreeResult follow() { return ForkRuns(volume_, *item_, true, found_); }

    // Where a block lies in the image: behind 96 + 19 sectors in HFS, 64 in HFS+.
    std::uint64_t byteOf(std::uint32_t block) const {
        return isHfsPlus_ ? 64 * 512 + block * 2048ull : (96 + 19) * 512 + block * 512ull;
    }

    TemporaryFolder folder_;
    std::string path_;
    VolumeContext volume_;
    std::optional<CatalogItem> item_;
    std::vector<BlockRun> found_;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, ForkInPieces, ::testing::Bool(), [](const auto& test) {
    return std::string(test.param ? "HfsPlus" : "Hfs");
});

// A habit of HFS+ that is kept: whoever read such a fork may not change the volume any more.
TEST_P(ForkInPieces, ReadingItBeyondItsRecordKeepsHfsPlusFromChanges) {
    for (const std::size_t more : {0, 1}) {
        const std::vector<BlockRun> runs = ScatteredRuns(extentsPerRecord_ + more);
        if (more == 0)
            insertFile(runs, 1000);
        else
            item_->resource.totalBlocks = BlocksOf(runs), item_->resource.sizeBytes = 1000;
        insertAllOverflow(runs);
        EXPECT_TRUE(OpenFork(volume_, *item_, true));
        EXPECT_EQ(volume_.readOnlyReasons.has(ReadOnlyReason::OverflowRead),
                  isHfsPlus_ && more == 1);
    }
}

TEST_P(ForkInPieces, IsReadThroughAllItsRecords) {
    const std::vector<BlockRun> runs = ScatteredRuns(3 * extentsPerRecord_ + 2);
    const std::uint32_t blockSize = isHfsPlus_ ? 2048 : 512;
    Bytes contents(BlocksOf(runs) * blockSize);
    for (std::size_t i = 0; i < contents.size(); ++i)
        contents[i] = static_cast<std::uint8_t>(i * 31 + i / 509);
    std::size_t done = 0;
    for (const BlockRun& run : runs) {
        const auto from = contents.begin() + static_cast<std::ptrdiff_t>(done);
        done += run.blockCount * blockSize;
        testing::WriteAt(path_, byteOf(run.startBlock),
                         {from, contents.begin() + static_cast<std::ptrdiff_t>(done)});
    }
    const std::size_t size = contents.size() - 100;
    contents.resize(size);
    insertFile(runs, size);
    insertAllOverflow(runs);
    EXPECT_EQ(item_->resource.runs.size(), extentsPerRecord_);
    ASSERT_EQ(follow(), TreeResult::Done);
    ASSERT_EQ(found_.size(), runs.size());
    EXPECT_EQ(found_.back().startBlock, runs.back().startBlock);

    ForkSource fork(volume_, found_, size);
    EXPECT_EQ(fork.size(), size);
    for (const std::size_t length :
         {std::size_t{1}, std::size_t{511}, std::size_t{513}, std::size_t{blockSize * 4 + 7}, size})
        for (std::size_t offset = 0; offset < size; offset += size / 13 + 1) {
            Bytes read(length, 0xEE);
            const std::size_t expected = std::min(length, size - offset);
            ASSERT_EQ(fork.readAt(offset, read), expected) << offset << " + " << length;
            read.resize(expected);
            const auto from = contents.begin() + static_cast<std::ptrdiff_t>(offset);
            ASSERT_TRUE(std::equal(read.begin(), read.end(), from)) << offset << " + " << length;
        }
    Bytes beyond(10);
    EXPECT_EQ(fork.readAt(size, beyond), 0u);
    EXPECT_EQ(fork.readAt(~0ull, beyond), 0u);
}

TEST_P(ForkInPieces, RecordsThatCannotBeAreDamage) {
    const std::vector<BlockRun> runs = ScatteredRuns(extentsPerRecord_ + 1);
    const std::uint32_t inCatalog = BlocksOf(runs) - runs.back().blockCount;
    struct Case {
        const char* what;
        Bytes data;
    };
    const Case cases[] = {
        {"without blocks", extents({}, 0)},
        {"too short", Bytes(4, 1)},
        {"outside the volume", extents({{volume_.totalBlocks(), 1}}, 0)},
        {"reaching outside", extents({{volume_.totalBlocks() - 1, 2}}, 0)},
        {"far outside", extents({{0xFFFFFFFF, 0xFFFFFFFF}}, 0)},
    };
    insertFile(runs, BlocksOf(runs) * volume_.blockSize);
    EXPECT_EQ(follow(), TreeResult::Damaged) << "none at all";
    EXPECT_EQ(found_.size(), extentsPerRecord_) << "what was found stays";
    for (const Case& c : cases) {
        insertOverflow(inCatalog, c.data);
        EXPECT_EQ(follow(), TreeResult::Damaged) << c.what;
        // An empty tree again.
        volume_.extents.header().depth = 0;
    }
    item_->resource.runs = {{volume_.totalBlocks() - 1, 2}};
    EXPECT_EQ(follow(), TreeResult::Damaged) << "in the catalog's record";
}

// The keys of HFS count blocks in 16 bits: a fork that claims more comes back to its beginning.
TEST_P(ForkInPieces, AForkLargerThanItsVolumeIsDamage) {
    const std::vector<BlockRun> runs(extentsPerRecord_, {0, 3});
    insertFile(runs, 0xFFFFFFFF);
    insertOverflow(0, extents(runs, 0));
    item_->resource.totalBlocks = 0xFFFFFFFF;
    for (std::uint32_t start = 3 * static_cast<std::uint32_t>(extentsPerRecord_);
         start < 6 * volume_.totalBlocks() && start < 0x10000;
         start += 3 * static_cast<std::uint32_t>(extentsPerRecord_))
        insertOverflow(start, extents(runs, 0));
    EXPECT_EQ(follow(), TreeResult::Damaged);
    EXPECT_LE(BlocksOf(found_), volume_.totalBlocks() + BlocksOf(runs));
}

TEST_P(ForkInPieces, ASourceEndsWhereItsRunsEnd) {
    ForkSource fork(volume_, {{kFirstFreeBlock, 1}}, 3 * volume_.blockSize);
    Bytes read(volume_.blockSize);
    EXPECT_EQ(fork.readAt(0, read), read.size());
    EXPECT_EQ(fork.readAt(volume_.blockSize, read), 0u);
    // A run behind the end of the image.
    ForkSource outside(volume_, {{0xFFFFFFF0, 4}}, volume_.blockSize);
    EXPECT_EQ(outside.readAt(0, read), 0u);
    EXPECT_TRUE(volume_.transferFailed);
}

}  // namespace
}  // namespace vellmark
