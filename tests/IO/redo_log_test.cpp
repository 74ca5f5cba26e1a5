// A change of an image that is interrupted anywhere is completed later, and only on that image.
#include "IO/redo_log.hpp"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <zlib.h>

#include <filesystem>

#include "IO/io_bench.hpp"
#include "IO/sector_batch.hpp"

namespace {
// Files that were handed to the device, and whether the redo log was there then.
std::vector<std::pair<std::string, bool>> handedOver;
std::string logPath;
}  // namespace

// Stands in front of the system's call, whose effect nothing but a power cut shows.
extern "C" int fsync(int descriptor) {
    namespace fs = std::filesystem;
    handedOver.emplace_back(
        fs::read_symlink("/proc/self/fd/" + std::to_string(descriptor)).filename().string(),
        fs::exists(logPath));
    return static_cast<int>(::syscall(SYS_fsync, descriptor));
}

namespace vellmark::testing {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kImageBytes = 100 * kSectorBytes;
constexpr std::uint64_t kMarked = 3 * kSectorBytes;
const Bytes kBefore(kImageBytes, 1);
const Bytes kChange(5 * kSectorBytes, 2);
const std::vector<RedoPiece> kPieces = {
    {2 * kSectorBytes, std::span(kChange).first(3 * kSectorBytes)},
    {40 * kSectorBytes, kChange},
    {99 * kSectorBytes, std::span(kChange).first(kSectorBytes)}};
// In a folder where nobody makes a file, not even the system's owner.
const std::string kClosedPath = "/sys/image";

const Bytes kAfter = [] {
    Bytes bytes = kBefore;
    for (const RedoPiece& piece : kPieces)
        std::copy(piece.bytes.begin(), piece.bytes.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(piece.offset));
    return bytes;
}();

class RedoLogTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mark_.offset = kMarked;
        mark_.bytes.fill(9);
        write(kBefore);
        ASSERT_EQ(OpenImage(context_, path_).result, OpenResult::Opened);
    }
    void write(const Bytes& bytes) { ASSERT_EQ(MakeFile(folder_, "image", bytes), path_); }
    Bytes read() { return ReadFile(path_); }
    FoundRedoLog find(const std::string& path) {
        PcFile file(path, PcFile::Mode::Read);
        return FindRedoLog(file, path, guard_);
    }
    RedoState state() { return find(path_).state; }
    RedoWriting log(const std::string& imagePath) {
        PcFile file(path_, PcFile::Mode::Read);
        return WriteRedoLog(file, imagePath, guard_, kPieces, mark_, {});
    }
    // Shown, and when it was carried out, the change is there.
    void expectCompleted(bool isCarriedOut) {
        const FoundRedoLog found = find(path_);
        ASSERT_EQ(found.state, RedoState::Pending) << Words(found.problem);
        PcFile image(path_, PcFile::Mode::ReadWrite);
        image.seeThrough(ShownThrough(found.log));
        PcFile copy(path_ + " copy", PcFile::Mode::CreateTruncate);
        ASSERT_EQ(copy.copyFrom(image, {0, 0, kImageBytes}), kImageBytes);
        ASSERT_TRUE(ReadFile(path_ + " copy") == kAfter);
        if (!isCarriedOut)
            return;
        ASSERT_TRUE(CarryOut(found.log->pieces, found.log->mark, image,
                             [&](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
                                 return image.writeAt(offset, bytes);
                             }));
        ASSERT_TRUE(read() == kAfter);
    }
    // Takes the change into a batch, which leaves the image as it is.
    void fill(SectorBatch& batch) {
        const SectorBatch::Recording recording(context_, batch);
        for (const RedoPiece& piece : kPieces)
            ASSERT_EQ(WriteSectors(context_.transferSlot, Sector512(piece.offset / kSectorBytes),
                                   piece.bytes),
                      0);
        ASSERT_TRUE(read() == kBefore);
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/image";
    const FileGuard guard_{0, folder_.path() + "/state/redo"};
    RedoMark mark_;
    MediumContext context_;
};

// Sectors come to the device in any order.
TEST_F(RedoLogTest, CompletesFromAnyPointOn) {
    EXPECT_EQ(state(), RedoState::None);
    ASSERT_EQ(log(path_).error, 0);
    for (std::size_t written = 0; written <= kImageBytes; written += kSectorBytes)
        for (const bool isMarked : {false, true}) {
            SCOPED_TRACE(written);
            Bytes half = Slice(kAfter, 0, written) + Slice(kBefore, written, kImageBytes);
            if (written % (2 * kSectorBytes) == 0)
                half = Slice(kBefore, 0, written) + Slice(kAfter, written, kImageBytes);
            if (isMarked)
                std::copy(mark_.bytes.begin(), mark_.bytes.end(), half.begin() + kMarked);
            write(half);
            expectCompleted(written % 9 == 0);
        }
}

TEST_F(RedoLogTest, LeavesAnotherImageAlone) {
    ASSERT_EQ(log(path_).error, 0);
    std::vector<Bytes> others = {Bytes(kImageBytes, 3), kBefore + Bytes{1}, Bytes(100, 1)};
    for (const RedoPiece& piece : kPieces) {
        others.push_back(kBefore);
        others.back()[piece.offset + piece.bytes.size() - 1] = 77;
    }
    for (const Bytes& other : others) {
        write(other);
        EXPECT_EQ(state(), RedoState::Foreign);
        EXPECT_TRUE(read() == other);
    }
    const std::string aside = PutRedoLogAside(RedoLogPath(path_));
    ASSERT_EQ(log(path_).error, 0);
    EXPECT_NE(PutRedoLogAside(RedoLogPath(path_)), aside) << "none is lost";
    EXPECT_TRUE(fs::exists(aside));
}

// What is wrong or missing in a log, or keeps it from being read, is no reason to do without it.
TEST_F(RedoLogTest, OneThatCannotBeUsedStandsAgainstChanges) {
    ASSERT_EQ(log(path_).error, 0);
    const std::string path = RedoLogPath(path_);
    const Bytes whole = ReadFile(path);
    const auto found = [&](const Bytes& bytes) {
        (void)MakeFile(folder_, fs::path(path).filename(), bytes);
        return find(path_);
    };
    for (std::size_t at = 0; at < whole.size(); at += at < 700 ? 1 : 97) {
        Bytes damaged = whole;
        damaged[at] ^= 0x40;
        for (const Bytes& bytes : {damaged, Slice(whole, 0, at)}) {
            const FoundRedoLog unusable = found(bytes);
            ASSERT_EQ(unusable.state, RedoState::Unusable) << at;
            ASSERT_TRUE(unusable.problem);
        }
    }
    // Lengths and places that are summed rightly: of image, mark, pieces and the first of these.
    for (const std::size_t at : {24u, 32u, 40u, 48u, 568u, 576u})
        for (const std::size_t byte : {0u, 5u}) {
            Bytes forged = whole;
            forged[at + byte] ^= 0x40;
            Put(forged, 12, be32(0));
            const auto sum = ::crc32_z(0, forged.data(), forged.size());
            Put(forged, 12, be32(static_cast<std::uint32_t>(sum)));
            EXPECT_NE(found(forged).state, RedoState::Pending) << at;
        }
    fs::remove(path);
    fs::create_directory(path);
    EXPECT_EQ(state(), RedoState::Unusable);
    EXPECT_NE(log(path_).error, 0);
}

TEST_F(RedoLogTest, LiesInTheUsersFolderWhereTheImagesIsClosed) {
    const RedoWriting writing = log(kClosedPath);
    ASSERT_EQ(writing.error, 0);
    ASSERT_TRUE(writing.path.starts_with(guard_.logFolder));
    EXPECT_EQ(state(), RedoState::Pending) << "known by its number, under another name";
    PcFile copy(MakeFile(folder_, "copy", kBefore), PcFile::Mode::Read);
    EXPECT_EQ(find(folder_.path() + "/copy").state, RedoState::None);
    EXPECT_EQ(FindRedoLog(copy, kClosedPath, guard_).state, RedoState::Pending) << "by its path";
    write(Bytes(kImageBytes, 4));
    EXPECT_EQ(state(), RedoState::None) << "not certainly this image's";
    RemoveRedoLogs(kClosedPath, guard_);
    EXPECT_FALSE(fs::exists(writing.path));
}

TEST_F(RedoLogTest, ABatchIsWrittenWholeOrAgain) {
    const TransferSlot real = context_.transferSlot;
    constexpr int kWrites = 6;  // the mark, what is before and behind it, two pieces, its sector
    for (int failing = 0; failing <= kWrites; ++failing) {
        SCOPED_TRACE(failing);
        SectorBatch batch;
        write(kBefore);
        fill(batch);
        int left = failing;
        context_.transferSlot = [&](const SectorRequest& request) {
            return left-- > 0 ? real(request) : 1;
        };
        const bool isDone = failing == kWrites;
        EXPECT_EQ(batch.commit(context_, mark_),
                  isDone ? CommitResult::Done : CommitResult::Interrupted);
        EXPECT_EQ(batch.problem().isNone(), isDone);
        EXPECT_EQ(state(), isDone ? RedoState::None : RedoState::Pending);
        // Without its log, too, an image that is not whole is seen to be none.
        EXPECT_EQ(read()[kMarked], failing == 0 ? 1 : isDone ? 2 : 9);
        context_.transferSlot = real;
        EXPECT_EQ(batch.commit(context_, mark_), CommitResult::Done);
        EXPECT_EQ(state(), RedoState::None);
        EXPECT_TRUE(read() == kAfter);
    }
}

// An image restored from a copy made before the change has the sectors of before, but not what the
// change wrote into free ones.
TEST_F(RedoLogTest, ABatchIsNotCompletedWithoutTheContentsThatBelongToIt) {
    SectorBatch batch;
    fill(batch);
    ASSERT_EQ(WriteSectors(context_.transferSlot, Sector512(60), Bytes(4 * kSectorBytes, 5)), 0);
    context_.transferSlot = [](const SectorRequest&) { return 1; };
    EXPECT_EQ(batch.commit(context_, mark_), CommitResult::Interrupted);
    EXPECT_EQ(state(), RedoState::Pending);
    write(kBefore);
    EXPECT_EQ(state(), RedoState::Foreign);
}

// What was written before, the log and its name, the mark, all else, the marked sector: each is on
// the device before the next, and only then the log goes.
TEST_F(RedoLogTest, ABatchIsOnTheDeviceStepByStep) {
    SectorBatch batch;
    fill(batch);
    logPath = RedoLogPath(path_);
    handedOver.clear();
    ASSERT_EQ(batch.commit(context_, mark_), CommitResult::Done);
    ASSERT_EQ(handedOver.size(), 6u);
    handedOver.erase(handedOver.begin() + 1);  // the log, under a name for the while
    const std::string folder = fs::path(folder_.path()).filename();
    EXPECT_EQ(
        handedOver,
        (std::vector<std::pair<std::string, bool>>{
            {"image", false}, {folder, true}, {"image", true}, {"image", true}, {"image", true}}));
    EXPECT_FALSE(fs::exists(logPath));
}

TEST_F(RedoLogTest, WithoutALogNothingOfABatchIsWritten) {
    SectorBatch batch;
    fill(batch);
    fs::create_directory(RedoLogPath(path_));
    EXPECT_EQ(batch.commit(context_, mark_), CommitResult::NotBegun);
    EXPECT_TRUE(batch.problem());
    EXPECT_TRUE(read() == kBefore);
    fs::remove(RedoLogPath(path_));
    EXPECT_EQ(batch.commit(context_, mark_), CommitResult::Done);
    EXPECT_TRUE(read() == kAfter);
}

}  // namespace
}  // namespace vellmark::testing
