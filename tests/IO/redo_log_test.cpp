// A change of an image that is interrupted anywhere is completed later, and only on that image.
#include "IO/redo_log.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "IO/sector_batch.hpp"

namespace vellmark {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t kSectors = 100;
constexpr std::uint64_t kWitness = 2;

class RedoLog : public ::testing::Test {
  protected:
    void SetUp() override { write(image(1)); }
    static Bytes image(std::uint8_t fill) { return Bytes(kSectors * kSectorBytes, fill); }
    void write(const Bytes& bytes) {
        PcFile file(path_, PcFile::Mode::CreateTruncate);
        ASSERT_TRUE(file.writeAt(0, bytes));
    }
    Bytes read() {
        PcFile file(path_, PcFile::Mode::Read);
        Bytes bytes(file.size());
        EXPECT_TRUE(file.readExactly(0, bytes));
        return bytes;
    }
    RedoResult replay() {
        PcFile file(path_, PcFile::Mode::ReadWrite);
        return ReplayRedoLog(file, path_);
    }
    // Pieces of a change, and the image with them.
    std::vector<RedoPiece> pieces() const {
        return {{kWitness * kSectorBytes, std::span(changed_).first(2 * kSectorBytes)},
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
    void log() {
        PcFile file(path_, PcFile::Mode::Read);
        ASSERT_TRUE(WriteRedoLog(file, path_, pieces(), kWitness * kSectorBytes));
    }
    bool isLogged() const { return std::filesystem::exists(RedoLogPath(path_)); }

    TemporaryFolder folder_;
    const std::string path_ = folder_.path() + "/image";
    const Bytes changed_ = Bytes(10 * kSectorBytes, 2);
};

TEST_F(RedoLog, CompletesFromAnyPointOn) {
    EXPECT_EQ(replay(), RedoResult::None);
    for (std::size_t written = 0; written <= kSectors; ++written) {
        SCOPED_TRACE(written);
        log();
        Bytes half = after();
        const Bytes before = image(1);
        std::copy(before.begin() + static_cast<std::ptrdiff_t>(written * kSectorBytes),
                  before.end(), half.begin() + static_cast<std::ptrdiff_t>(written * kSectorBytes));
        write(half);
        ASSERT_EQ(replay(), RedoResult::Completed);
        ASSERT_TRUE(read() == after());
        ASSERT_FALSE(isLogged());
        write(image(1));
    }
}

TEST_F(RedoLog, LeavesAnotherImageAlone) {
    Bytes longer = image(1);
    longer.resize(longer.size() + 1);
    for (const Bytes& other : {image(3), longer, Bytes(100, 1)}) {
        write(image(1));
        log();
        write(other);
        EXPECT_EQ(replay(), RedoResult::Foreign);
        EXPECT_TRUE(read() == other);
        EXPECT_FALSE(isLogged());
    }
}

// Any byte that is wrong or missing in the log lets it change nothing.
TEST_F(RedoLog, DamagedOnesAreNotUsed) {
    log();
    const std::string path = RedoLogPath(path_);
    Bytes whole(PcFile(path, PcFile::Mode::Read).size());
    ASSERT_TRUE(PcFile(path, PcFile::Mode::Read).readExactly(0, whole));
    const auto tryWith = [&](const Bytes& bytes) {
        {
            PcFile file(path, PcFile::Mode::CreateTruncate);
            ASSERT_TRUE(file.writeAt(0, bytes));
        }
        EXPECT_NE(replay(), RedoResult::Completed);
        ASSERT_TRUE(read() == image(1));
    };
    for (std::size_t at = 0; at < whole.size(); at += at < 700 ? 1 : 97) {
        SCOPED_TRACE(at);
        Bytes damaged = whole;
        damaged[at] ^= 0x40;
        tryWith(damaged);
        tryWith(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(at)));
    }
    // A file of that name that is something else is not ours to delete.
    tryWith(Bytes(1000, 'x'));
    EXPECT_TRUE(isLogged());
}

TEST_F(RedoLog, ABatchIsWrittenWholeOrAgain) {
    MediumContext context;
    ASSERT_EQ(OpenImage(context, path_).result, OpenResult::Opened);
    const TransferSlot real = context.transferSlot2;
    for (int failing = 0; failing < 4; ++failing) {
        SCOPED_TRACE(failing);
        write(image(1));
        SectorBatch batch;
        {
            const SectorBatch::Recording recording(context, batch);
            for (const RedoPiece& piece : pieces())
                ASSERT_EQ(
                    WriteSectors(context.transferSlot, piece.offset / kSectorBytes, piece.bytes),
                    0);
        }
        ASSERT_TRUE(read() == image(1));
        int left = failing;
        context.transferSlot2 = [&](const SectorRequest& request) {
            return left-- > 0 ? real(request) : 1;
        };
        EXPECT_EQ(batch.commit(context, kWitness), failing > 2);
        EXPECT_EQ(isLogged(), failing <= 2);
        context.transferSlot2 = real;
        EXPECT_TRUE(batch.commit(context, kWitness));
        EXPECT_FALSE(isLogged());
        EXPECT_TRUE(read() == after());
    }
}

}  // namespace
}  // namespace vellmark
