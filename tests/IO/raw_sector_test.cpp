// Raw sectors: checks against a model that divides and adds as the standard says, against vectors
// worked out by hand, and against the sectors of another program.
#include "IO/raw_sector.hpp"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <random>
#include <set>

#include "IO/io_bench.hpp"
#include "IO/raw_image.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using Sector = std::array<std::uint8_t, kRawSectorBytes>;

// Remainder of the bits, least significant first, and the EDC behind them, over the product of the
// standard's two polynomials, bit by bit. 0 when the EDC is right.
std::uint32_t EdcRemainder(std::span<const std::uint8_t> bytes) {
    constexpr std::uint32_t kTaps =
        1u << 31 | 1u << 16 | 1u << 15 | 1u << 4 | 1u << 3 | 1u << 1 | 1;
    std::uint32_t rest = 0;
    for (const std::uint8_t byte : bytes)
        for (int bit = 0; bit < 8; ++bit) {
            const bool out = (rest & 1u << 31) != 0;
            rest = rest << 1 | (byte >> bit & 1);
            if (out)
                rest ^= kTaps;
        }
    return rest;
}

std::uint8_t Times(std::uint8_t a, std::uint8_t b) {
    unsigned product = 0;
    for (int bit = 0; bit < 8; ++bit)
        product ^= (b >> bit & 1u) * (unsigned{a} << bit);
    for (int bit = 15; bit >= 8; --bit)
        if ((product >> bit & 1) != 0)
            product ^= 0x11Du << (bit - 8);
    return static_cast<std::uint8_t>(product);
}

// A code word is right when both sums are 0: plain, and with the powers of 2 falling to 1.
bool IsCodeWord(const Bytes& word) {
    std::uint8_t plain = 0;
    std::uint8_t weighted = 0;
    std::uint8_t weight = 1;
    for (auto symbol = word.rbegin(); symbol != word.rend(); ++symbol) {
        plain ^= *symbol;
        weighted ^= Times(weight, *symbol);
        weight = Times(weight, 2);
    }
    return plain == 0 && weighted == 0;
}

// ECMA-130, annex A: bytes 12 to 2075 in 43 columns of words give P, with P in 26 diagonals Q.
void ExpectCodeWords(Sector sector, bool isMode1, const std::string& what) {
    if (!isMode1)
        std::fill_n(sector.begin() + 12, 4, std::uint8_t{0});
    const auto at = [&](int word, int half) {
        const int offset = 12 + 2 * word + half;
        return sector[static_cast<std::size_t>(offset)];
    };
    for (int half = 0; half < 2; ++half) {
        for (int n = 0; n < 43; ++n) {
            Bytes word;
            for (int m = 0; m < 26; ++m)
                word.push_back(at(43 * m + n, half));
            EXPECT_TRUE(IsCodeWord(word)) << what << ": P column " << n;
        }
        for (int n = 0; n < 26; ++n) {
            Bytes word;
            for (int m = 0; m < 43; ++m)
                word.push_back(at((44 * m + 43 * n) % 1118, half));
            word.push_back(at(43 * 26 + n, half));
            word.push_back(at(44 * 26 + n, half));
            EXPECT_TRUE(IsCodeWord(word)) << what << ": Q diagonal " << n;
        }
    }
}

// Catches a wrong polynomial, a wrong place, a wrong diagonal, a header that counts where it must
// not.
TEST(RawSector, ChecksAreThoseOfTheStandard) {
    constexpr unsigned kSeed = 20'041;
    std::mt19937 random(kSeed);
    for (const RawKind kind : {RawKind::Mode1, RawKind::Mode2Form1, RawKind::Mode2Form2})
        for (int round = 0; round < 20; ++round) {
            Sector sector;
            for (std::uint8_t& byte : sector)
                byte = static_cast<std::uint8_t>(random());
            SetRawHeader(sector, static_cast<std::uint32_t>(random() % kMostRawSectors), kind);
            SetRawChecks(sector, kind);
            const std::string what = "kind " + std::to_string(static_cast<int>(kind)) + ", seed " +
                                     std::to_string(kSeed);
            const std::span<const std::uint8_t> all = sector;
            EXPECT_EQ(EdcRemainder(kind == RawKind::Mode1        ? all.first(2068)
                                   : kind == RawKind::Mode2Form1 ? all.subspan(16, 2060)
                                                                 : all.subspan(16)),
                      0u)
                << what;
            if (kind == RawKind::Mode1) {
                EXPECT_TRUE(std::all_of(all.begin() + 2068, all.begin() + 2076,
                                        [](std::uint8_t byte) { return byte == 0; }));
            }
            if (kind != RawKind::Mode2Form2)
                ExpectCodeWords(sector, kind == RawKind::Mode1, what);
        }
}

// A single bit as the last one of the data leaves the polynomial itself; a 1 as the last symbol of
// the first column asks for 3 and 2: 1 + 3 + 2 = 0 and 4 * 1 + 2 * 3 + 2 = 0.
TEST(RawSector, VectorsWorkedOutByHand) {
    Sector sector{};
    sector[2071] = 0x80;
    SetRawChecks(sector, RawKind::Mode2Form1);
    EXPECT_EQ(Bytes(sector.begin() + 2072, sector.begin() + 2076), (Bytes{0x01, 0x80, 0x01, 0xD8}));
    sector = {};
    sector[2347] = 0x80;
    SetRawChecks(sector, RawKind::Mode2Form2);
    EXPECT_EQ(Bytes(sector.begin() + 2348, sector.end()), (Bytes{0x01, 0x80, 0x01, 0xD8}));
    // The EDC that comes with it is in other columns.
    sector = {};
    sector[12 + 23 * 86] = 1;
    SetRawChecks(sector, RawKind::Mode2Form1);
    EXPECT_EQ(sector[2076], 3);
    EXPECT_EQ(sector[2076 + 86], 2);
    // Nothing but zeros needs no checks: the gap of a disc is empty as it is.
    sector = {};
    SetRawChecks(sector, RawKind::Mode2Form1);
    EXPECT_EQ(sector, Sector{});
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

TEST(RawSector, EqualThoseOfADiscInMode1) {
    const char* samples = std::getenv("VELLMARK_SAMPLES");
    const std::string path = std::string(samples ? samples : "") + "/raw/isofs-m1.bin";
    if (samples == nullptr || !std::filesystem::exists(path))
        GTEST_SKIP() << "VELLMARK_SAMPLES does not name a folder with raw/isofs-m1.bin";
    std::set<RawKind> seen;
    ExpectSameSectors(path, seen);
    EXPECT_EQ(seen, std::set<RawKind>{RawKind::Mode1});
    PcFile image(path, PcFile::Mode::Read);
    EXPECT_EQ(FindDiscForm(image), (DiscForm{2352, 16}));
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
