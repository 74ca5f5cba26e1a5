#include "IO/sector_io.hpp"

#include <gtest/gtest.h>

#include <cerrno>

#include "IO/io_bench.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

class SectorIo : public ::testing::Test {
  protected:
    void open(const Bytes& bytes) {
        path_ = MakeFile(folder_, "image", bytes);
        ASSERT_EQ(OpenImage(context_, path_).result, OpenResult::Opened);
    }
    TemporaryFolder folder_;
    std::string path_;
    MediumContext context_;
};

TEST_F(SectorIo, MovesWholeRunsOfSectorsAndNothingBesides) {
    Bytes expected = Pattern(8 * 512);
    open(expected);
    Bytes buffer(3 * 512, 0xEE);
    EXPECT_EQ(TransferSectors(context_, {kCommandRead, 2, Sector512(3), buffer}), 0);
    EXPECT_EQ(buffer, Slice(expected, 3 * 512, 5 * 512) + Bytes(512, 0xEE));
    EXPECT_EQ(WriteSectors(context_.transferSlot, Sector512(6), Bytes(512, 0x55)), 0);
    std::fill_n(expected.begin() + 6 * 512, 512, std::uint8_t{0x55});
    // Beyond its buffer, and beyond what the file system counts.
    EXPECT_EQ(TransferSectors(context_, {kCommandWrite, 0xFFFFFFFF, Sector512(0), buffer}), 1);
    for (const std::uint64_t sector :
         {~std::uint64_t{0}, std::uint64_t{1} << 55, (std::uint64_t{1} << 54) - 1}) {
        EXPECT_EQ(WriteSectors(context_.transferSlot, Sector512(sector), buffer), 1) << sector;
        EXPECT_EQ(ReadSectors(context_.transferSlot, Sector512(sector), buffer), 1) << sector;
    }
    EXPECT_EQ(ReadFile(path_), expected);
    // Sectors and blocks count in 64 bits.
    ASSERT_EQ(WriteSectors(context_.transferSlot, Sector512(1 << 23), Pattern(512)), 0);
    EXPECT_EQ(context_.image->size(), ((std::uint64_t{1} << 23) + 1) * 512);
    context_.sectorsPerBlock = 8;
    context_.blocksStart = Sector512(100);
    EXPECT_EQ(BlockToSector(context_, {0xFFFFFFFF}).number(), 0xFFFFFFFFull * 8 + 100);
    CloseImage(context_);
    EXPECT_EQ(TransferSectors(context_, {kCommandRead, 1, Sector512(0), buffer}), -1);
}

TEST_F(SectorIo, BehindTheEndTheBufferIsZeroAndTheShortReadIsRemembered) {
    open(Pattern(700));
    Bytes buffer(1024, 0xEE);
    EXPECT_EQ(ReadSectors(context_.transferSlot, Sector512(0), buffer), 1);
    EXPECT_EQ(buffer, Pattern(700) + Bytes(324));
    EXPECT_EQ(ReadSectors(context_.transferSlot, Sector512(0), std::span(buffer).first(512)), 0);
    EXPECT_TRUE(context_.transferFailed) << "a later success does not hide it";
    ASSERT_EQ(OpenImage(context_, path_).result, OpenResult::Opened);
    EXPECT_FALSE(context_.transferFailed) << "a new opening does";
}

TEST_F(SectorIo, OpeningTellsWhatCameOfItAndForgetsTheMediumBefore) {
    EXPECT_EQ(OpenImage(context_, folder_.path() + "/none").systemError, ENOENT);
    EXPECT_EQ(OpenImage(context_, folder_.path()).systemError, EISDIR);
    EXPECT_TRUE(context_.imagePath.empty());
    open(Pattern(512));
    EXPECT_EQ(OpenImageForReading(context_, path_).result, OpenResult::OpenedReadOnly);
    EXPECT_TRUE(context_.readOnlyReasons.any());
    EXPECT_EQ(WriteSectors(context_.transferSlot, Sector512(0), Bytes(512)), 1);
    // A running program may be read and not written, whoever asks.
    EXPECT_EQ(OpenImage(context_, "/proc/self/exe").result, OpenResult::OpenedReadOnly);
    context_.blocksStart = Sector512(64);
    ASSERT_EQ(OpenImage(context_, path_).result, OpenResult::Opened);
    EXPECT_FALSE(context_.readOnlyReasons.any());
    EXPECT_EQ(context_.blocksStart.number(), 0u);
}

TEST_F(SectorIo, RoomIsJudgedByFileSystemAndFreeSpace) {
    constexpr std::uint64_t kPlenty = 1ull << 40;
    EXPECT_EQ(JudgeTargetRoom(kLargeImageBytes - 1, kPlenty, false), TargetRoom::Fits);
    EXPECT_EQ(JudgeTargetRoom(kLargeImageBytes, kPlenty, false), TargetRoom::TooLargeForFileSystem);
    EXPECT_EQ(JudgeTargetRoom(kPlenty, kPlenty, true), TargetRoom::Fits);
    EXPECT_EQ(JudgeTargetRoom(kPlenty + 1, kPlenty, true), TargetRoom::NoRoom);
    EXPECT_EQ(CheckTargetRoom(folder_.path(), 1ull << 62), TargetRoom::NoRoom);
}

}  // namespace
}  // namespace vellmark
