// Raw sectors: checks against vectors worked out by hand, and against the sectors of another
// program.
#include "IO/raw_sector.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <set>

#include "IO/io_bench.hpp"
#include "IO/raw_image.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using Sector = std::array<std::uint8_t, kRawSectorBytes>;

// A single bit as the last one of the data leaves the polynomial itself; a 1 as the last symbol of
// the first column asks for 3 and 2: 1 + 3 + 2 = 0 and 4 * 1 + 2 * 3 + 2 = 0. The header counts in
// mode 1 alone.
TEST(RawSector, VectorsWorkedOutByHand) {
    const struct {
        RawKind kind;
        std::size_t edc;
    } cases[] = {{RawKind::Mode1, 2064}, {RawKind::Mode2Form1, 2072}, {RawKind::Mode2Form2, 2348}};
    for (const auto& c : cases) {
        const auto at = [](const Sector& sector, std::size_t from, std::size_t count) {
            return Bytes(sector.begin() + static_cast<std::ptrdiff_t>(from),
                         sector.begin() + static_cast<std::ptrdiff_t>(from + count));
        };
        Sector sector{};
        sector[c.edc - 1] = 0x80;
        SetRawChecks(sector, c.kind);
        EXPECT_EQ(at(sector, c.edc, 4), (Bytes{0x01, 0x80, 0x01, 0xD8}));
        if (c.kind == RawKind::Mode2Form2)
            continue;
        sector = {};
        sector[12 + 23 * 86] = 1;  // the EDC that comes with it is in other columns
        SetRawChecks(sector, c.kind);
        EXPECT_EQ(at(sector, 2076, 1), Bytes{3});
        EXPECT_EQ(at(sector, 2076 + 86, 1), Bytes{2});
        sector = {};
        sector[12] = 1;
        SetRawChecks(sector, c.kind);
        EXPECT_EQ(at(sector, 2076, 276) != Bytes(276), c.kind == RawKind::Mode1);
    }
}

TEST(RawSector, HeadersCountFromTwoSecondsOn) {
    const struct {
        std::uint32_t number;
        Bytes header;
    } cases[] = {{0, {0x00, 0x02, 0x00}},
                 {16, {0x00, 0x02, 0x16}},
                 {4350, {0x01, 0x00, 0x00}},
                 {449'849, {0x99, 0x59, 0x74}}};
    for (const auto& c : cases) {
        Sector sector{};
        SetRawHeader(sector, c.number, RawKind::Mode1);
        EXPECT_EQ(Bytes(sector.begin() + 12, sector.begin() + 15), c.header) << c.number;
        EXPECT_EQ(sector[15], 1);
        EXPECT_TRUE(HasRawSync(sector));
    }
    for (int byte = 0; byte < 256; ++byte)
        EXPECT_EQ(FromBcd(static_cast<std::uint8_t>(byte)),
                  byte % 16 < 10 && byte / 16 < 10 ? byte / 16 * 10 + byte % 16 : -1);
}

// Every sector of a foreign image, its checks made anew: the same bytes.
void ExpectSameSectors(const std::string& path, std::set<RawKind>& seen) {
    const Bytes image = testing::ReadFile(path);
    ASSERT_GT(image.size(), 0u);
    for (std::size_t at = 0; at + kRawSectorBytes <= image.size(); at += kRawSectorBytes) {
        Sector sector;
        std::copy_n(image.begin() + static_cast<std::ptrdiff_t>(at), sector.size(), sector.begin());
        const Sector foreign = sector;
        const RawKind kind = RawModeOf(sector) == 1 ? RawKind::Mode1
                             : (sector[kRawSubmodeOffset] & kSubmodeForm2) != 0
                                 ? RawKind::Mode2Form2
                                 : RawKind::Mode2Form1;
        seen.insert(kind);
        std::fill(sector.begin() + (kind == RawKind::Mode2Form2   ? 2348
                                    : kind == RawKind::Mode2Form1 ? 2072
                                                                  : 2064),
                  sector.end(), std::uint8_t{0xAA});
        std::fill_n(sector.begin(), 16, std::uint8_t{0xAA});
        SetRawHeader(sector, static_cast<std::uint32_t>(at / kRawSectorBytes), kind);
        SetRawChecks(sector, kind);
        ASSERT_TRUE(sector == foreign) << path << ", sector " << at / kRawSectorBytes;
    }
}

// One pack of an MPEG-1 program stream (ISO 11172-1) with a sequence header: enough to be a track.
Bytes OnePack() {
    Bytes pack = {0, 0, 1, 0xBA, 0x21, 0, 1, 0, 1, 0x80, 0x1B, 0x91, 0, 0, 1, 0xE0};
    const std::size_t rest = 2324 - pack.size() - 2;
    pack.insert(pack.end(),
                {static_cast<std::uint8_t>(rest >> 8), static_cast<std::uint8_t>(rest)});
    pack.insert(pack.end(), {0x0F, 0,    0, 1, 0xB3, 0x16, 0x00, 0xF0, 0x14, 0xFF, 0xFF,
                             0xE0, 0xA4, 0, 0, 1,    0xB8, 0,    8,    0,    0x40, 0,
                             0,    1,    0, 0, 0x0F, 0xFF, 0xF8, 0,    0,    1,    1});
    pack.resize(2324, 0x55);
    return pack;
}

TEST(RawSector, EqualThoseOfVcdimager) {
    if (std::system("command -v vcdimager >/dev/null") != 0)
        GTEST_SKIP() << "vcdimager is not installed";
    const TemporaryFolder folder;
    const std::string track = testing::MakeFile(folder, "t.mpg", OnePack());
    ASSERT_EQ(std::system(("cd " + folder.path() + " && vcdimager -q -b v.bin -c v.cue " + track +
                           " >/dev/null 2>&1")
                              .c_str()),
              0);
    std::set<RawKind> seen;
    ExpectSameSectors(folder.path() + "/v.bin", seen);
    EXPECT_EQ(seen, (std::set<RawKind>{RawKind::Mode2Form1, RawKind::Mode2Form2}));
    PcFile image(folder.path() + "/v.bin", PcFile::Mode::Read);
    EXPECT_EQ(FindDiscForm(image), (DiscForm{2352, 24}));
}

TEST(DiscForm, IsFoundByTheMarkOfTheDescriptor) {
    const struct {
        std::size_t mark;
        std::optional<DiscForm> form;
    } cases[] = {{32'769, DiscForm{2048, 0}},  {37'320, DiscForm{2352, 24}},
                 {37'321, DiscForm{2352, 24}}, {37'649, DiscForm{2352, 16}},
                 {37'657, DiscForm{2352, 24}}, {37'650, std::nullopt}};
    for (const auto& c : cases) {
        Bytes bytes(c.mark + 5);
        testing::PutText(bytes, c.mark, "CD001");
        MemoryBytes image(bytes);
        EXPECT_EQ(FindDiscForm(image), c.form) << c.mark;
        bytes.pop_back();
        MemoryBytes cut(bytes);
        EXPECT_EQ(FindDiscForm(cut), std::nullopt) << c.mark;
    }
}

// Reads across the borders of sectors, and ends with the last whole one.
TEST(RawDataSource, IsTheDataOfAllSectors) {
    const Bytes raw = testing::Pattern(3 * kRawSectorBytes + 100);
    Bytes data;
    for (std::size_t at = 0; at < 3; ++at)
        data.insert(data.end(), raw.begin() + static_cast<std::ptrdiff_t>(at * 2352 + 24),
                    raw.begin() + static_cast<std::ptrdiff_t>(at * 2352 + 24 + 2048));
    MemoryBytes image(raw);
    RawDataSource source(image, {2352, 24});
    ASSERT_EQ(source.size(), data.size());
    for (const std::size_t from : {0u, 2000u, 2048u, 5000u, 6143u, 6144u, 9000u}) {
        Bytes got(5000);
        got.resize(source.readAt(from, got));
        const std::size_t end = std::min<std::size_t>(from + 5000, data.size());
        EXPECT_EQ(got, from < end ? Bytes(data.begin() + static_cast<std::ptrdiff_t>(from),
                                          data.begin() + static_cast<std::ptrdiff_t>(end))
                                  : Bytes{})
            << from;
    }
}

}  // namespace
}  // namespace vellmark
