// Changes that end half-way: the n-th write fails, a source ends early, the user stops, the volume
// is full. All is then as before, and the change can be made again.
#include <fmt/core.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "IO/redo_log.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/room_remark.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::kClock;
using testing::ReadFork;
using testing::StateOf;

class ChangeFault : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    void SetUp() override { open({"", isHfsPlus_, isHfsPlus_ ? 1024u : 512u, 2000, 5}); }

    void open(const testing::VolumeShape& shape) {
        ASSERT_TRUE(MakeVolume(path_, shape));
        ASSERT_TRUE(volume_.open(path_));
    }
    // From the `first`-th write on nothing is written, until they are mended with a large one.
    void failWrites(int first) {
        left_ = first;
        hasFailed_ = false;
        volume_->transferSlot = [this](const SectorRequest& request) {
            hasFailed_ = hasFailed_ || (request.command == kCommandWrite && --left_ <= 0);
            return hasFailed_ && request.command == kCommandWrite
                       ? 1
                       : TransferSectors(volume_, request);
        };
    }
    void mendWrites() { failWrites(1'000'000); }
    TreeResult makeFolder(int number) {
        std::uint32_t id = 0;
        return CreateFolder(volume_, fmt::format("folder {:03}", number), kRootFolderId, kClock,
                            id);
    }
    // Both forks have those bytes.
    StoreResult put(const std::string& name, const Bytes& bytes, bool isCut = false,
                    bool stops = false) {
        testing::CutSource data(bytes);
        testing::CutSource resource(bytes, isCut);
        return volume_.put(name, data, resource, testing::StoppingProgress(stops ? 1 : 1000));
    }
    // Leaves free blocks in short rows only; the number of rows.
    int scatter() {
        const std::uint32_t row = isHfsPlus_ ? 8 : 2;
        int rows = 0;
        while (put(fmt::format("gap {}", rows), Bytes(row * volume_->blockSize / 2, 1)) ==
                   StoreResult::Done &&
               put(fmt::format("wall {}", rows), Bytes(1, 1)) == StoreResult::Done)
            ++rows;
        for (int i = 0; i < rows; ++i)
            EXPECT_EQ(volume_.remove(fmt::format("gap {}", i)), EditResult::Done);
        EXPECT_EQ(volume_.flush(), TreeResult::Done);
        return rows;
    }
    void expectSound() {
        ASSERT_EQ(volume_.flush(), TreeResult::Done);
        ASSERT_TRUE(volume_.open(path_));
        EXPECT_EQ(testing::FaultOfBlocks(volume_), "");
        testing::ExpectReadersFindNoFault(path_);
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/volume";
    testing::TestVolume volume_;
    int left_ = 0;
    bool hasFailed_ = false;
};
INSTANTIATE_TEST_SUITE_P(BothFormats, ChangeFault, ::testing::Bool(), testing::FormatName);

// After every other failure the process is taken to have ended there.
TEST_P(ChangeFault, AFlushThatFailsIsToldAndCompletedLater) {
    bool allDone = false;
    for (int sweep = 1; !allDone; ++sweep) {
        SCOPED_TRACE(sweep);
        SetUp();
        for (int i = 0; i < 20; ++i)
            ASSERT_EQ(makeFolder(i), TreeResult::Done);
        ASSERT_EQ(put("file", Bytes(5000, 1)), StoreResult::Done);
        failWrites(sweep);
        const TreeResult result = volume_.flush();
        ASSERT_EQ(result, hasFailed_ ? TreeResult::Failed : TreeResult::Done);
        allDone = !hasFailed_;
        mendWrites();
        if (sweep % 2 == 0) {
            ASSERT_EQ(volume_.flush(), TreeResult::Done);
        }
        ASSERT_TRUE(volume_.open(path_));
        ASSERT_FALSE(std::filesystem::exists(RedoLogPath(path_)));
        ASSERT_EQ(testing::FaultOfBlocks(volume_), "");
        ASSERT_EQ(ReadValence(volume_, kRootFolderId), 21u);
        ASSERT_EQ(volume_.contents("file", true), Bytes(5000, 1));
    }
    testing::ExpectReadersFindNoFault(path_);
}

TEST_P(ChangeFault, AForkThatIsNotWhollyWrittenLeavesNothing) {
    ASSERT_EQ(put("old", Bytes(3000, 7)), StoreResult::Done);
    const std::vector<Bytes> before = StateOf(volume_);
    const Bytes bytes(2'500'000 / 10, 1);
    for (const int sweep : {1, 2}) {
        failWrites(sweep);
        EXPECT_EQ(put("new", bytes), StoreResult::TargetFailed);
        EXPECT_EQ(put("old", bytes), StoreResult::TargetFailed);
        mendWrites();
        EXPECT_TRUE(StateOf(volume_) == before);
    }
    EXPECT_EQ(put("new", bytes, true), StoreResult::SourceFailed);
    EXPECT_EQ(put("old", bytes, true), StoreResult::SourceFailed);
    EXPECT_EQ(put("new", bytes, false, true), StoreResult::Stopped);
    EXPECT_TRUE(StateOf(volume_) == before);
    EXPECT_EQ(volume_.contents("old", false), Bytes(3000, 7));
    expectSound();
}

// Until the flush the medium refers to the blocks of files that are deleted or replaced.
TEST_P(ChangeFault, WhatIsReplacedKeepsItsContentsUntilTheFlush) {
    ASSERT_EQ(put("one", Bytes(9000, 1)), StoreResult::Done);
    ASSERT_EQ(put("two", Bytes(9000, 2)), StoreResult::Done);
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    ASSERT_TRUE(volume_.open(path_));
    for (int i = 0; i < 5; ++i) {
        ASSERT_EQ(put("one", Bytes(9000, 3)), StoreResult::Done);
        ASSERT_EQ(put("two", Bytes(9000, 4)), StoreResult::Done);
    }
    ASSERT_EQ(volume_.remove("one"), EditResult::Done);
    ASSERT_EQ(put("three", Bytes(9000, 5)), StoreResult::Done);
    ASSERT_TRUE(volume_.open(path_));
    EXPECT_EQ(volume_.contents("one", false), Bytes(9000, 1));
    EXPECT_EQ(volume_.contents("two", true), Bytes(9000, 2));
    expectSound();
}

// The catalog must grow, and the zeros of its new nodes cannot be written.
TEST_P(ChangeFault, ACatalogThatCannotGrowStaysAsItWas) {
    int failures = 0;
    for (int i = 0; i < 200; ++i) {
        const std::vector<Bytes> before = StateOf(volume_);
        failWrites(1);
        const TreeResult result = makeFolder(i);
        mendWrites();
        if (result == TreeResult::Done)
            continue;
        ++failures;
        ASSERT_EQ(result, TreeResult::Failed);
        ASSERT_TRUE(StateOf(volume_) == before);
        ASSERT_EQ(makeFolder(i), TreeResult::Done);
    }
    EXPECT_GE(failures, 2);
    expectSound();
    EXPECT_EQ(ReadValence(volume_, kRootFolderId), 200u);
}

// The blocks of the old file are the only ones left for the new one: it must not lose its bytes to
// a new one that does not come to its end.
TEST_P(ChangeFault, OnAFullVolumeTheOldFileOutlivesANewOneThatFails) {
    const std::size_t half = std::size_t{volume_->freeBlocks()} * volume_->blockSize / 2 - 60'000;
    const Bytes old(half, 7);
    ASSERT_EQ(put("file", old), StoreResult::Done);
    const std::vector<Bytes> before = StateOf(volume_);
    EXPECT_EQ(put("file", Bytes(half, 8), true), StoreResult::SourceFailed);
    EXPECT_EQ(put("file", Bytes(half, 8), false, true), StoreResult::Stopped);
    EXPECT_EQ(put("file", Bytes(2 * half, 8)), StoreResult::NoRoom);
    EXPECT_TRUE(StateOf(volume_) == before);
    EXPECT_TRUE(volume_.contents("file", false) == old && volume_.contents("file", true) == old);
    EXPECT_EQ(put("file", Bytes(half - 1, 9)), StoreResult::Done);
    EXPECT_TRUE(volume_.contents("file", true) == Bytes(half - 1, 9));
    expectSound();
}

// Only where smaller blocks would help it is said that they would.
TEST_P(ChangeFault, AVolumeOfSmallFilesTellsThatItsBlocksAreUsedUp) {
    open({"", isHfsPlus_, 2048, 400, isHfsPlus_ ? 5u : 40u});
    int files = 0;
    while (put(fmt::format("tiny {}", files), Bytes(1, 1)) == StoreResult::Done)
        ++files;
    EXPECT_GT(files, 100);
    EXPECT_EQ(RoomRemark(volume_, 1000).sentence(),
              isHfsPlus_ ? Sentence::kNone : Sentence::kBlocksUsedUp);
    EXPECT_FALSE(RoomRemark(volume_, 800'000));
    open({"", isHfsPlus_, 512, 400, 16});
    EXPECT_FALSE(RoomRemark(volume_, 1000)) << "as small as can be";
}

// The extents tree takes what the catalog record does not hold, and grows for it.
TEST_P(ChangeFault, AFileOfManyRunsGoesOnInTheExtentsTree) {
    const int rows = scatter();
    const std::uint32_t nodes = volume_->extents.header().totalNodes;
    const std::uint32_t records = volume_->extents.header().leafRecords;
    Bytes fork(std::size_t{volume_->freeBlocks() - 40} * volume_->blockSize / 2);
    for (const int step : {7, 11}) {
        for (std::size_t i = 0; i < fork.size(); ++i)
            fork[i] = static_cast<std::uint8_t>(i * static_cast<std::size_t>(step) / 512);
        ASSERT_EQ(put("scattered", fork), StoreResult::Done);
        EXPECT_GT(volume_->extents.header().leafRecords, rows / (isHfsPlus_ ? 10 : 4));
        EXPECT_TRUE(isHfsPlus_ || volume_->extents.header().totalNodes > nodes);
        expectSound();
        EXPECT_TRUE(volume_.contents("scattered", false) == fork &&
                    volume_.contents("scattered", true) == fork);
    }
    ASSERT_EQ(volume_.remove("scattered"), EditResult::Done);
    EXPECT_EQ(volume_->extents.header().leafRecords, records);
    expectSound();
}

// Each fork of a file owns its own records: what one has goes, and what the other has stays.
TEST_P(ChangeFault, ADeletionTakesTheRecordsOfItsForksAlone) {
    (void)scatter();
    const std::uint32_t records = volume_->extents.header().leafRecords;
    const Bytes scattered(std::size_t{volume_->freeBlocks()} / 4 * volume_->blockSize, 3);
    for (const bool resource : {false, true}) {
        ASSERT_EQ(volume_.put("kept", scattered, {}), StoreResult::Done);
        ASSERT_EQ(
            volume_.put("gone", resource ? Bytes() : scattered, resource ? scattered : Bytes()),
            StoreResult::Done);
        ASSERT_EQ(volume_.remove("gone"), EditResult::Done);
        expectSound();
        EXPECT_TRUE(volume_.contents("kept", false) == scattered);
        ASSERT_EQ(volume_.remove("kept"), EditResult::Done);
        EXPECT_EQ(volume_->extents.header().leafRecords, records);
    }
}

// Files of the PC are copied without our memory, never over the end of a run of free blocks, and
// what follows a fork in its last sector is zero.
TEST_P(ChangeFault, FilesOfThePcFillTheirBlocksAndNoOthers) {
    // More than the blocks behind the rows, so that gaps between them are filled too.
    Bytes bytes(7945 * 512 + 100);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 251 + 1);
    ASSERT_TRUE(PcFile(folder_.path() + "/source", PcFile::Mode::CreateTruncate).writeAt(0, bytes));
    PcFile file(folder_.path() + "/source", PcFile::Mode::Read);
    MemoryBytes memory(bytes);
    MemoryBytes nothing;
    for (ByteSource* source :
         {static_cast<ByteSource*>(&file), static_cast<ByteSource*>(&memory)}) {
        open({"", isHfsPlus_, 512, 10'000, isHfsPlus_ ? 5u : 40u});
        const auto row = [](char name) {
            return Bytes(150 * 512, static_cast<std::uint8_t>(name));
        };
        for (const char name : std::string_view("abcdefgh"))
            ASSERT_EQ(put({name}, row(name)), StoreResult::Done);
        for (const char name : std::string_view("aceg"))
            ASSERT_EQ(volume_.remove({name}), EditResult::Done);
        ASSERT_EQ(volume_.flush(), TreeResult::Done);
        ASSERT_EQ(volume_.put("large", *source, nothing), StoreResult::Done);
        CatalogItem item = volume_.find("large").value();
        EXPECT_GT(item.data.runs.size(), 1u);
        EXPECT_TRUE(ReadFork(volume_, item, false) == bytes);
        item.data.sizeBytes = (bytes.size() + 511) / 512 * 512;
        Bytes last = ReadFork(volume_, item, false);
        last.erase(last.begin(), last.end() - 412);
        EXPECT_EQ(last, Bytes(412));
        for (const char name : std::string_view("bdfh"))
            EXPECT_TRUE(volume_.contents({&name, 1}, true) == row(name)) << name;
        expectSound();
    }
}

// Free blocks lie in short rows only: the catalog gets a run after the other, until its record in
// the header is full, then in the extents tree, and at last there is no room.
TEST_P(ChangeFault, ACatalogOfManyRunsGoesOnInTheExtentsTree) {
    ASSERT_GT(scatter(), 40);
    const std::uint32_t itemsBefore = ReadValence(volume_, kRootFolderId).value_or(0);
    const std::size_t runsBefore = volume_->catalogNodes->runs().size();
    std::uint32_t folders = 0;
    while (makeFolder(static_cast<int>(folders)) == TreeResult::Done)
        ++folders;
    const std::vector<Bytes> before = StateOf(volume_);
    EXPECT_EQ(makeFolder(static_cast<int>(folders)), TreeResult::Full);
    EXPECT_TRUE(StateOf(volume_) == before);
    EXPECT_GT(volume_->catalogNodes->runs().size(), runsBefore + 16) << "three records";
    expectSound();
    std::vector<CatalogItem> items;
    ASSERT_EQ(ListFolder(volume_, kRootFolderId, kClock, items), TreeResult::Done);
    EXPECT_EQ(items.size(), itemsBefore + folders);
    for (const CatalogItem& item : items)
        ASSERT_EQ(volume_.remove(item.name), EditResult::Done);
    expectSound();
}

}  // namespace
}  // namespace vellmark
