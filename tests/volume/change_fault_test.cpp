// Changes that end half-way: the n-th write fails, a source ends early, the user stops, the volume
// is full. All is then as before, and the change can be made again.
#include <fmt/core.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "IO/redo_log.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/room_remark.hpp"
#include "volume/volume_maker.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::kClock;
using testing::StateOf;

class ChangeFault : public ::testing::TestWithParam<bool> {
  protected:
    const bool isHfsPlus_ = GetParam();
    void SetUp() override { open({"", isHfsPlus_, isHfsPlus_ ? 1024u : 512u, 2000, 5}); }

    void open(const testing::VolumeShape& shape) {
        ASSERT_TRUE(MakeVolume(path_, shape));
        ASSERT_TRUE(volume_.open(path_));
    }
    // From the `first`-th write on nothing is written, until they are mended with a large one; or
    // nothing is read.
    void failWrites(int first, std::int32_t command = kCommandWrite) {
        left_ = first;
        hasFailed_ = false;
        volume_->transferSlot = [this, command](const SectorRequest& request) {
            hasFailed_ = hasFailed_ || (request.command == command && --left_ <= 0);
            return hasFailed_ && request.command == command ? 1 : TransferSectors(volume_, request);
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

// The old file keeps its bytes, also where its blocks are the only ones left for the new one.
TEST_P(ChangeFault, AForkThatIsNotWhollyWrittenLeavesNothing) {
    for (const bool isFull : {false, true}) {
        SetUp();
        const std::size_t room = std::size_t{volume_->freeBlocks()} * volume_->blockSize / 2;
        const Bytes old(isFull ? room - 60'000 : 3000, 7);
        const Bytes bytes(isFull ? old.size() : 250'000, 8);
        ASSERT_EQ(put("old", old), StoreResult::Done);
        const std::vector<Bytes> before = StateOf(volume_);
        for (int sweep = 1; sweep < 3 && !isFull; ++sweep) {
            failWrites(sweep);
            EXPECT_EQ(put("old", bytes), StoreResult::TargetFailed);
            EXPECT_EQ(put("new", bytes), StoreResult::TargetFailed);
            mendWrites();
        }
        EXPECT_EQ(put("old", bytes, true), StoreResult::SourceFailed);
        EXPECT_EQ(put("old", bytes, false, true), StoreResult::Stopped);
        EXPECT_EQ(put("old", Bytes(2 * room)), StoreResult::NoRoom);
        EXPECT_TRUE(StateOf(volume_) == before);
        EXPECT_TRUE(volume_.contents("old") == old && volume_.contents("old", true) == old);
        EXPECT_EQ(put("old", bytes), StoreResult::Done);
        EXPECT_TRUE(volume_.contents("old", true) == bytes);
        expectSound();
    }
}

// Until the flush the medium refers to the blocks of files that are deleted or replaced.
TEST_P(ChangeFault, WhatIsReplacedKeepsItsContentsUntilTheFlush) {
    ASSERT_EQ(put("one", Bytes(9000, 1)), StoreResult::Done);
    ASSERT_EQ(put("two", Bytes(9000, 2)), StoreResult::Done);
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    ASSERT_TRUE(volume_.open(path_));
    for (int i = 0; i < 5; ++i)
        ASSERT_EQ(put("two", Bytes(9000, 4)), StoreResult::Done);
    ASSERT_EQ(volume_.remove("one"), EditResult::Done);
    ASSERT_EQ(put("three", Bytes(9000, 5)), StoreResult::Done);
    ASSERT_TRUE(volume_.open(path_));
    EXPECT_EQ(volume_.contents("one"), Bytes(9000, 1));
    EXPECT_EQ(volume_.contents("two", true), Bytes(9000, 2));
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
}

// Nodes that cannot be read, also in the middle of a change.
TEST_P(ChangeFault, AChangeThatCannotReadItsCatalogIsTakenBack) {
    for (int i = 0; i < 120; ++i)
        ASSERT_EQ(makeFolder(i), TreeResult::Done);
    const Bytes old(3000, 1);
    ASSERT_EQ(put("file", old), StoreResult::Done);
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    ASSERT_TRUE(volume_.open(path_));
    const std::optional<CatalogItem> replaced = volume_.find("file");
    const std::vector<Bytes> before = StateOf(volume_);
    const auto name = [this](const char* shown) { return NameOf(volume_, shown); };
    const std::function<bool()> changes[] = {
        [&] { return makeFolder(120) == TreeResult::Done; },
        [&] {
            testing::CutSource data(old);
            Progress progress;
            NewFile file;
            file.parentId = kRootFolderId;
            file.name = name("file");
            file.data = &data;
            file.replaced = replaced;
            return AddFileToCatalog(volume_, file, kClock, progress) == StoreResult::Done;
        },
        [&] { return volume_.remove("folder 060") == EditResult::Done; },
        [&] { return RenameItem(volume_, 2, name("file"), name("a")) == EditResult::Done; },
        [&] { return MoveItem(volume_, name("folder 007"), 2, 30) == EditResult::Done; },
        [&] { return SwapForks(volume_, name("file"), 2) == SwapResult::Done; },
        [&] { return RenameVolume(volume_, "other") == EditResult::Done; }};
    for (const auto& change : changes) {
        bool isDone = false;
        for (int sweep = 1; !isDone; ++sweep) {
            SCOPED_TRACE(fmt::format("change {}, read {}", &change - changes, sweep));
            ASSERT_TRUE(volume_.open(path_));
            failWrites(sweep, kCommandRead);
            isDone = change();
            ASSERT_NE(isDone, hasFailed_);
            mendWrites();
            ASSERT_EQ(StateOf(volume_) == before, !isDone);
        }
    }
}

// Only where smaller blocks would help it is said that they would.
TEST_P(ChangeFault, AVolumeOfSmallFilesTellsThatItsBlocksAreUsedUp) {
    open({"", isHfsPlus_, 2048, 400, isHfsPlus_ ? 5u : 40u});
    for (int i = 0; put(fmt::format("tiny {}", i), Bytes(1, 1)) == StoreResult::Done;)
        ++i;
    EXPECT_EQ(RoomRemark(volume_, 1000).sentence(),
              isHfsPlus_ ? Sentence::kNone : Sentence::kBlocksUsedUp);
    EXPECT_FALSE(RoomRemark(volume_, 800'000));
    open({"", isHfsPlus_, 512, 400, 16});
    EXPECT_FALSE(RoomRemark(volume_, 1000)) << "as small as can be";
}

// Free blocks lie in short rows only: forks go on in the extents tree, which grows for them, and so
// does the catalog when its record in the header is full. At last there is no room.
TEST_P(ChangeFault, ForksAndCatalogOfManyRunsGoOnInTheExtentsTree) {
    int rows = 0;
    while (put(fmt::format("gap {}", rows), Bytes((isHfsPlus_ ? 8 : 2) * volume_->blockSize / 2)) ==
               StoreResult::Done &&
           put(fmt::format("wall {}", rows), Bytes(1, 1)) == StoreResult::Done)
        ++rows;
    for (int i = 0; i < rows; ++i)
        EXPECT_EQ(volume_.remove(fmt::format("gap {}", i)), EditResult::Done);
    EXPECT_EQ(volume_.flush(), TreeResult::Done);
    const std::uint32_t records = volume_->extents.header().leafRecords;
    Bytes fork(std::size_t{volume_->freeBlocks() - 40} * volume_->blockSize / 2);
    for (const std::size_t step : {7, 11}) {
        for (std::size_t i = 0; i < fork.size(); ++i)
            fork[i] = static_cast<std::uint8_t>(i * step / 512);
        ASSERT_EQ(put("scattered", fork), StoreResult::Done);
        EXPECT_GT(volume_->extents.header().leafRecords, rows / (isHfsPlus_ ? 10 : 4));
        expectSound();
        EXPECT_TRUE(volume_.contents("scattered") == fork &&
                    volume_.contents("scattered", true) == fork);
    }
    ASSERT_EQ(volume_.remove("scattered"), EditResult::Done);
    // Each fork owns its own records: what one file has goes, and what the other has stays.
    fork.resize(fork.size() / 2);
    for (const bool resource : {false, true}) {
        ASSERT_EQ(volume_.put("kept", fork, {}), StoreResult::Done);
        ASSERT_EQ(volume_.put("gone", resource ? Bytes() : fork, resource ? fork : Bytes()),
                  StoreResult::Done);
        ASSERT_EQ(volume_.remove("gone"), EditResult::Done);
        expectSound();
        EXPECT_TRUE(volume_.contents("kept") == fork);
        ASSERT_EQ(volume_.remove("kept"), EditResult::Done);
        EXPECT_EQ(volume_->extents.header().leafRecords, records);
    }

    const std::size_t runs = volume_->catalogNodes->runs().size();
    int folders = 0;
    while (makeFolder(folders) == TreeResult::Done)
        ++folders;
    const std::vector<Bytes> before = StateOf(volume_);
    EXPECT_EQ(makeFolder(folders), TreeResult::Full);
    EXPECT_TRUE(StateOf(volume_) == before);
    EXPECT_GT(volume_->catalogNodes->runs().size(), runs + 16) << "three records";
    expectSound();
    std::vector<CatalogItem> items;
    ASSERT_EQ(ListFolder(volume_, kRootFolderId, kClock, items), TreeResult::Done);
    for (const CatalogItem& item : items)
        ASSERT_EQ(volume_.remove(item.name), EditResult::Done);
    expectSound();
}

// Files of the PC are copied without our memory, never over the end of a run of free blocks, and
// what follows a fork in its last sector is zero.
TEST_P(ChangeFault, FilesOfThePcFillTheirBlocksAndNoOthers) {
    // More than the blocks behind the rows, so that gaps between them are filled too.
    Bytes bytes(7945 * 512 + 100);
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<std::uint8_t>(i % 251 + 1);
    PcFile file(folder_.path() + "/source", PcFile::Mode::CreateTruncate);
    ASSERT_TRUE(file.writeAt(0, bytes));
    MemoryBytes nothing;
    open({"", isHfsPlus_, 512, 10'000, isHfsPlus_ ? 5u : 40u});
    const auto row = [](char name) { return Bytes(150 * 512, static_cast<std::uint8_t>(name)); };
    for (const char name : std::string_view("abcdefgh"))
        ASSERT_EQ(put({name}, row(name)), StoreResult::Done);
    for (const char name : std::string_view("aceg"))
        ASSERT_EQ(volume_.remove({name}), EditResult::Done);
    ASSERT_EQ(volume_.flush(), TreeResult::Done);
    ASSERT_EQ(volume_.put("large", file, nothing), StoreResult::Done);
    CatalogItem item = volume_.find("large").value();
    EXPECT_GT(item.data.runs.size(), 1u);
    item.data.sizeBytes = (bytes.size() + 511) / 512 * 512;
    bytes.resize(item.data.sizeBytes);
    EXPECT_TRUE(testing::ReadFork(volume_, item, false) == bytes);
    for (const char name : std::string_view("bdfh"))
        EXPECT_TRUE(volume_.contents({&name, 1}, true) == row(name)) << name;
    expectSound();
}

}  // namespace
}  // namespace vellmark
