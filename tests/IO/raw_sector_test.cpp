// Raw sectors: headers and checks against what ECMA-130 asks of them.
#include "IO/raw_sector.hpp"

#include <gtest/gtest.h>

#include <array>

#include "IO/io_bench.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)
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
}  // namespace vellmark
