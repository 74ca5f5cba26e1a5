// What the expansion of disk images is put together from.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "IO/disk_image_codecs.hpp"
#include "IO/disk_image_list.hpp"
#include "IO/disk_image_tables.hpp"
#include "IO/io_bench.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

TEST(ExpandAdc, FollowsThePublishedCodes) {
    struct Case {
        Bytes stored;
        std::string_view filled;
        std::string_view pattern;
    };
    const Case cases[] = {
        {{0x82, 'a', 'b', 'c'}, "abc", "abc"},
        // A short match: 3 to 18 bytes, a distance of 1 to 1024.
        {{0x82, 'a', 'b', 'c', 0x00, 0x02}, "abcabc", "abcabc"},
        // A long one: 4 to 67 bytes, a distance of 1 to 65536.
        {{0x83, 'a', 'b', 'c', 'd', 0x40, 0x00, 0x03}, "abcdabcd", "abcdabcd"},
        // A distance of 2 and a length of 6.
        {{0x81, 'a', 'b', 0x0C, 0x01}, "abaaaaaa", "abababab"},
        {{0x80, 'a', 0x42, 0x00, 0x00}, "aaaaaaa", "aaaaaaa"},
    };
    for (const Case& c : cases) {
        for (const AdcMatch match : {AdcMatch::Fill, AdcMatch::Pattern}) {
            Bytes plain(16);
            const AdcResult result = ExpandAdc(c.stored, plain, match);
            plain.resize(result.length);
            EXPECT_EQ(result.end, BlockEnd::Done);
            EXPECT_EQ(plain, BytesOf(match == AdcMatch::Fill ? c.filled : c.pattern));
            EXPECT_EQ(result.isAmbiguous, c.filled != c.pattern) << c.filled;
        }
    }
    Bytes small(4);
    EXPECT_EQ(ExpandAdc(Bytes{0x80, 'a', 0x00, 0x01}, small, AdcMatch::Fill).end, BlockEnd::Damaged)
        << "a distance to before the block";
    EXPECT_EQ(ExpandAdc(Bytes{0x80, 'a', 0x40, 0x00}, small, AdcMatch::Fill).end, BlockEnd::Cut);
    EXPECT_EQ(ExpandAdc(Bytes{0x80, 'a', 0x08, 0x00}, small, AdcMatch::Fill).end,
              BlockEnd::TooLong);
}

TEST(DataSections, Base64IsReadAsTheFormatHasIt) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"<data>\n\tQUJD\r\n\tRE  VG\n</data>", "ABCDEF"},
        {"<data>QUJDRA==</data>", std::string_view("ABCD\0\0", 6)},
        {"<data>QUJDR</data>", std::string_view("ABCD\0\0", 6)},
        {"<x></x><data></data><data>+/+/</data>", ""},
        {"<data>*!~</data>", ""}};
    RecordedProgress progress;
    for (const auto& [text, expected] : cases) {
        MemoryBytes file(BytesOf(text));
        DataSections sections(file, 0, text.size(), progress);
        ASSERT_TRUE(sections.next()) << text;
        Bytes out(64);
        out.resize(sections.read(out));
        EXPECT_EQ(out, BytesOf(expected)) << text;
    }
    // A tag that lies across the end of any piece that is read.
    for (std::size_t filler = 16370; filler < 16390; ++filler) {
        const std::string text = std::string(filler, '<') + "<data>QUJD</data><data>QUJD";
        MemoryBytes file(BytesOf(text));
        DataSections sections(file, 0, text.size(), progress);
        ASSERT_TRUE(sections.next()) << filler;
        Bytes out(3);
        EXPECT_EQ(sections.read(out), 3);
        EXPECT_EQ(out, BytesOf("ABC"));
        EXPECT_FALSE(sections.next());
    }
}

TEST(SectorRuns, TakeEachSectorOnceAndNotTooManyRuns) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int turn = 0; turn < 50; ++turn) {
        SectorRuns runs;
        std::vector<bool> taken(64);
        for (int i = 0; i < 60; ++i) {
            const std::size_t first = random() % 60;
            const std::size_t count = random() % 5;
            const auto begin = taken.begin() + static_cast<std::ptrdiff_t>(first);
            const auto end = begin + static_cast<std::ptrdiff_t>(count);
            const bool isFree = std::find(begin, end, true) == end;
            EXPECT_EQ(runs.add(first, count).isNone(), isFree) << first << '+' << count;
            if (isFree)
                std::fill(begin, end, true);
        }
    }
    SectorRuns scattered;
    for (std::uint64_t i = 0; i < 65536; ++i)
        ASSERT_FALSE(scattered.add(2 * i, 1));
    EXPECT_TRUE(scattered.add(1 << 20, 1));
    EXPECT_FALSE(scattered.add(1, 1)) << "joins two of them";
}

}  // namespace
}  // namespace vellmark
