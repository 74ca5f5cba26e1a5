// Sectors of an image and their transfers; headers and checks of raw ones against ECMA-130.
#include "IO/sector_io.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>

#include "IO/io_bench.hpp"
#include "IO/raw_sector.hpp"

namespace vellmark::testing {
namespace {

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

using Sector = std::array<std::uint8_t, kRawSectorBytes>;

// Remainder of bytes, least significant bits first, by the EDC's polynomial (14.3).
std::uint32_t EdcRest(std::span<const std::uint8_t> bytes) {
    std::uint32_t rest = 0;
    for (const std::uint8_t byte : bytes) {
        rest ^= byte;
        for (int bit = 0; bit < 8; ++bit)
            rest = rest >> 1 ^ ((rest & 1) != 0 ? 0xD8018001 : 0);
    }
    return rest;
}

// Of a code word over the field of annex A: its sum is zero, and so is that of its symbols times
// rising powers of 2, the last symbol's being 1. `place` gives the byte of symbol n of word i.
template <typename Place>
void ExpectCodeWords(const Sector& sector, std::size_t words, std::size_t symbols, Place place) {
    for (std::size_t i = 0; i < words; ++i) {
        unsigned sum = 0, weighted = 0;
        for (std::size_t n = 0; n < symbols; ++n) {
            weighted = weighted << 1 ^ ((weighted & 0x80) != 0 ? 0x11D : 0);
            sum ^= sector[12 + place(i, n)];
            weighted ^= sector[12 + place(i, n)];
        }
        ASSERT_EQ(sum | weighted, 0u) << "word " << i << " of " << symbols << " symbols";
    }
}

TEST(RawSector, ChecksAreTheRemaindersAndCodeWordsOfTheFormat) {
    for (const auto& [kind, from, end] : {std::tuple{RawKind::Mode1, 0u, 2064u},
                                          {RawKind::Mode2Form1, 16u, 2072u},
                                          {RawKind::Mode2Form2, 16u, 2348u}}) {
        Sector sector{};
        std::copy_n(Pattern(end).begin(), end, sector.begin());
        SetRawHeader(sector, 16, kind);
        const Sector bare = sector;
        SetRawChecks(sector, kind);
        EXPECT_TRUE(std::equal(sector.begin(), sector.begin() + end, bare.begin()));
        EXPECT_EQ(EdcRest(std::span(sector).subspan(from, end + 4 - from)), 0u);
        if (kind == RawKind::Mode2Form2)
            continue;
        // The header counts in mode 1 alone.
        if (kind == RawKind::Mode2Form1)
            std::fill_n(sector.begin() + 12, 4, std::uint8_t{0});
        ExpectCodeWords(sector, 86, 26, [](std::size_t i, std::size_t n) { return 86 * n + i; });
        ExpectCodeWords(sector, 52, 45, [](std::size_t i, std::size_t n) {
            return n < 43 ? 2 * ((44 * n + 43 * (i / 2)) % 1118) + i % 2 : 2236 + 52 * (n - 43) + i;
        });
    }
}

TEST(RawSector, HeadersCountFromTwoSecondsOn) {
    for (const auto& [number, header] : {std::pair{0u, Bytes{0x00, 0x02, 0x00}},
                                         {16u, {0x00, 0x02, 0x16}},
                                         {4350u, {0x01, 0x00, 0x00}},
                                         {449'849u, {0x99, 0x59, 0x74}}}) {
        Sector sector{};
        SetRawHeader(sector, number, RawKind::Mode1);
        EXPECT_EQ(Bytes(sector.begin() + 12, sector.begin() + 15), header) << number;
        EXPECT_TRUE(HasRawSync(sector));
        SetRawHeader(sector, number, RawKind::Mode2Form2);
        EXPECT_EQ(sector[15], 2);
    }
    for (int byte = 0; byte < 256; ++byte)
        EXPECT_EQ(FromBcd(static_cast<std::uint8_t>(byte)),
                  byte % 16 < 10 && byte / 16 < 10 ? byte / 16 * 10 + byte % 16 : -1);
}

}  // namespace
}  // namespace vellmark::testing
