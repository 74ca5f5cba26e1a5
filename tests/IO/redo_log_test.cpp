// A change of an image that is interrupted anywhere is completed later, and only on that image.
#include "IO/redo_log.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <filesystem>

#include "IO/sector_batch.hpp"
#include "support/endian.hpp"
#include "support/words.hpp"

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

namespace vellmark {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSectors = 100;
constexpr std::uint64_t kMarked = 3 * kSectorBytes;
// In a folder where nobody makes a file, not even the system's owner.
const std::string kClosedPath = "/sys/image";

class RedoLogTest : public ::testing::Test {
  protected:
    void SetUp() override {
        mark_.offset = kMarked;
        mark_.bytes.fill(9);
        writeTo(path_, image(1));
    }
    static Bytes image(std::uint8_t fill) { return Bytes(kSectors * kSectorBytes, fill); }
    static void writeTo(const std::string& path, const Bytes& bytes) {
        PcFile file(path, PcFile::Mode::CreateTruncate);
        ASSERT_TRUE(file.writeAt(0, bytes));
    }
    static Bytes read(PcFile file) {
        Bytes bytes(file.size());
        EXPECT_TRUE(file.readExactly(0, bytes));
        return bytes;
    }
    Bytes read() { return read(PcFile(path_, PcFile::Mode::Read)); }
    FoundRedoLog find() {
        PcFile file(path_, PcFile::Mode::Read);
        return FindRedoLog(file, path_, guard_);
    }
    // Pieces of a change, and the image with them.
    std::vector<RedoPiece> pieces() const {
        return {{2 * kSectorBytes, std::span(changed_).first(3 * kSectorBytes)},
                {40 * kSectorBytes, std::span(changed_).first(5 * kSectorBytes)},
                {99 * kSectorBytes, std::span(changed_).first(kSectorBytes)}};
    }
    Bytes after() const {
        Bytes bytes = image(1);
        for (const RedoPiece& piece : pieces())
            std::copy(piece.bytes.begin(), piece.bytes.end(),
                      bytes.begin() + static_cast<std::ptrdiff_t>(piece.offset));
        return bytes;
    }
    RedoWriting log(const std::string& imagePath) {
        PcFile file(path_, PcFile::Mode::Read);
        return WriteRedoLog(file, imagePath, guard_, pieces(), mark_, {});
    }
    void log() { ASSERT_EQ(log(path_).error, 0); }
    // Shown, and when it was carried out, the change is there.
    void expectCompleted(bool isCarriedOut) {
        const FoundRedoLog found = find();
        ASSERT_EQ(found.state, RedoState::Pending) << Words(found.problem);
        PcFile image(path_, PcFile::Mode::ReadWrite);
        image.seeThrough(ShownThrough(found.log));
        Bytes shown(kSectors * kSectorBytes);
        for (std::size_t at = 0; at < shown.size(); at += 700)
            ASSERT_GT(image.readAt(at, std::span(shown).subspan(
                                           at, std::min<std::size_t>(700, shown.size() - at))),
                      0u);
        ASSERT_TRUE(shown == after());
        PcFile copy(path_ + " copy", PcFile::Mode::CreateTruncate);
        ASSERT_EQ(copy.copyFrom(image, 0, 0, shown.size()), shown.size());
        ASSERT_TRUE(read(std::move(copy)) == after());
        if (!isCarriedOut)
            return;
        ASSERT_TRUE(CarryOut(found.log->pieces, found.log->mark, image,
                             [&](std::uint64_t offset, std::span<const std::uint8_t> bytes) {
                                 return image.writeAt(offset, bytes);
                             }));
        ASSERT_TRUE(read() == after());
    }

    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/image";
    const FileGuard guard_{0, folder_.path() + "/state/redo"};
    const Bytes changed_ = Bytes(10 * kSectorBytes, 2);
    RedoMark mark_;
};

// Sectors come to the device in any order.
TEST_F(RedoLogTest, CompletesFromAnyPointOn) {
    EXPECT_EQ(find().state, RedoState::None);
    log();
    for (std::size_t written = 0; written <= kSectors; ++written)
        for (const bool fromTheEnd : {false, true})
            for (const bool isMarked : {false, true}) {
                SCOPED_TRACE(written);
                Bytes half = fromTheEnd ? image(1) : after();
                const Bytes other = fromTheEnd ? after() : image(1);
                std::copy(other.begin() + static_cast<std::ptrdiff_t>(written * kSectorBytes),
                          other.end(),
                          half.begin() + static_cast<std::ptrdiff_t>(written * kSectorBytes));
                if (isMarked)
                    std::copy(mark_.bytes.begin(), mark_.bytes.end(), half.begin() + kMarked);
                writeTo(path_, half);
                expectCompleted(written % 9 == 0);
            }
}

TEST_F(RedoLogTest, LeavesAnotherImageAlone) {
    log();
    std::vector<Bytes> others = {image(3), image(1), Bytes(100, 1)};
    others[1].push_back(1);
    for (const RedoPiece& piece : pieces()) {
        others.push_back(image(1));
        others.back()[piece.offset + piece.bytes.size() - 1] = 77;
    }
    for (const Bytes& other : others) {
        writeTo(path_, other);
        EXPECT_EQ(find().state, RedoState::Foreign);
        EXPECT_TRUE(read() == other);
    }
    const std::string aside = PutRedoLogAside(RedoLogPath(path_));
    log();
    EXPECT_NE(PutRedoLogAside(RedoLogPath(path_)), aside) << "none is lost";
    EXPECT_EQ(find().state, RedoState::None);
    EXPECT_TRUE(std::filesystem::exists(aside));
}

// What is wrong or missing in a log, or keeps it from being read, is no reason to do without it.
TEST_F(RedoLogTest, OneThatCannotBeUsedStandsAgainstChanges) {
    log();
    const std::string path = RedoLogPath(path_);
    const Bytes whole = read(PcFile(path, PcFile::Mode::Read));
    const auto expectUnusable = [&](const Bytes& bytes) {
        writeTo(path, bytes);
        const FoundRedoLog found = find();
        ASSERT_EQ(found.state, RedoState::Unusable);
        ASSERT_TRUE(found.problem);
    };
    for (std::size_t at = 0; at < whole.size(); at += at < 700 ? 1 : 97) {
        SCOPED_TRACE(at);
        Bytes damaged = whole;
        damaged[at] ^= 0x40;
        expectUnusable(damaged);
        expectUnusable(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(at)));
    }
    // Lengths and places that are summed rightly: of image, mark, pieces and the first of these.
    for (const std::size_t at : {24u, 32u, 40u, 48u, 568u, 576u})
        for (const std::size_t byte : {0u, 5u}) {
            Bytes forged = whole;
            forged[at + byte] ^= 0x40;
            std::fill_n(forged.begin() + 12, 4, std::uint8_t{0});
            const be32 sum = static_cast<std::uint32_t>(::crc32_z(0, forged.data(), forged.size()));
            std::memcpy(forged.data() + 12, &sum, sizeof sum);
            writeTo(path, forged);
            EXPECT_NE(find().state, RedoState::Pending) << at;
        }
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    EXPECT_EQ(find().state, RedoState::Unusable);
    EXPECT_NE(log(path_).error, 0);
}

TEST_F(RedoLogTest, LiesInTheUsersFolderWhereTheImagesIsClosed) {
    const RedoWriting writing = log(kClosedPath);
    ASSERT_EQ(writing.error, 0);
    ASSERT_TRUE(writing.path.starts_with(guard_.logFolder));
    EXPECT_EQ(find().state, RedoState::Pending) << "known by its number, under another name";
    const std::string copyPath = folder_.path() + "/copy";
    writeTo(copyPath, image(1));
    PcFile copy(copyPath, PcFile::Mode::Read);
    EXPECT_EQ(FindRedoLog(copy, copyPath, guard_).state, RedoState::None);
    EXPECT_EQ(FindRedoLog(copy, kClosedPath, guard_).state, RedoState::Pending) << "by its path";
    writeTo(path_, image(4));
    EXPECT_EQ(find().state, RedoState::None) << "not certainly this image's";
    RemoveRedoLogs(kClosedPath, guard_);
    EXPECT_FALSE(std::filesystem::exists(writing.path));
}

class Batch : public RedoLogTest {
  protected:
    void fill(MediumContext& context, SectorBatch& batch) {
        writeTo(path_, image(1));
        const SectorBatch::Recording recording(context, batch);
        for (const RedoPiece& piece : pieces())
            ASSERT_EQ(WriteSectors(context.transferSlot, piece.offset / kSectorBytes, piece.bytes),
                      0);
        ASSERT_TRUE(read() == image(1));
    }
};

TEST_F(Batch, IsWrittenWholeOrAgain) {
    MediumContext context;
    ASSERT_EQ(OpenImage(context, path_).result, OpenResult::Opened);
    const TransferSlot real = context.transferSlot;
    constexpr int kWrites = 6;  // the mark, what is before and behind it, two pieces, its sector
    for (int failing = 0; failing <= kWrites; ++failing) {
        SCOPED_TRACE(failing);
        SectorBatch batch;
        fill(context, batch);
        int left = failing;
        context.transferSlot = [&](const SectorRequest& request) {
            return left-- > 0 ? real(request) : 1;
        };
        const bool isDone = failing == kWrites;
        EXPECT_EQ(batch.commit(context, mark_),
                  isDone ? CommitResult::Done : CommitResult::Interrupted);
        EXPECT_EQ(batch.problem().isNone(), isDone);
        EXPECT_EQ(find().state, isDone ? RedoState::None : RedoState::Pending);
        // Without its log, too, an image that is not whole is seen to be none.
        EXPECT_EQ(read()[kMarked], failing == 0 ? 1 : isDone ? 2 : 9);
        context.transferSlot = real;
        EXPECT_EQ(batch.commit(context, mark_), CommitResult::Done);
        EXPECT_EQ(find().state, RedoState::None);
        EXPECT_TRUE(read() == after());
    }
}

// An image restored from a copy made before the change has the sectors of before, but not what the
// change wrote into free ones.
TEST_F(Batch, IsNotCompletedWithoutTheContentsThatBelongToIt) {
    MediumContext context;
    ASSERT_EQ(OpenImage(context, path_).result, OpenResult::Opened);
    SectorBatch batch;
    fill(context, batch);
    for (const std::uint8_t value : Bytes{5, 6})
        ASSERT_EQ(WriteSectors(context.transferSlot, 60, Bytes(4 * kSectorBytes, value)), 0);
    context.transferSlot = [](const SectorRequest&) { return 1; };
    EXPECT_EQ(batch.commit(context, mark_), CommitResult::Interrupted);
    EXPECT_EQ(find().state, RedoState::Pending);
    writeTo(path_, image(1));
    EXPECT_EQ(find().state, RedoState::Foreign);
}

// What was written before, the log and its name, the mark, all else, the marked sector: each is on
// the device before the next, and only then the log goes.
TEST_F(Batch, IsOnTheDeviceStepByStep) {
    MediumContext context;
    ASSERT_EQ(OpenImage(context, path_).result, OpenResult::Opened);
    SectorBatch batch;
    fill(context, batch);
    logPath = RedoLogPath(path_);
    handedOver.clear();
    ASSERT_EQ(batch.commit(context, mark_), CommitResult::Done);
    ASSERT_EQ(handedOver.size(), 6u);
    const std::string folder = std::filesystem::path(folder_.path()).filename().string();
    for (const auto& [step, name, hasLog] : {std::tuple{0, std::string("image"), false},
                                             {2, folder, true},
                                             {3, "image", true},
                                             {4, "image", true},
                                             {5, "image", true}})
        EXPECT_EQ(handedOver[static_cast<std::size_t>(step)], std::pair(name, hasLog)) << step;
    EXPECT_FALSE(std::filesystem::exists(logPath));
}

TEST_F(Batch, WithoutALogNothingIsWritten) {
    MediumContext context;
    ASSERT_EQ(OpenImage(context, path_).result, OpenResult::Opened);
    SectorBatch batch;
    fill(context, batch);
    std::filesystem::create_directory(RedoLogPath(path_));
    EXPECT_EQ(batch.commit(context, mark_), CommitResult::NotBegun);
    EXPECT_TRUE(batch.problem());
    EXPECT_TRUE(read() == image(1));
    std::filesystem::remove(RedoLogPath(path_));
    EXPECT_EQ(batch.commit(context, mark_), CommitResult::Done);
    EXPECT_TRUE(read() == after());
}

}  // namespace
}  // namespace vellmark
