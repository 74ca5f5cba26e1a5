#include "inspect/fork_page.hpp"

#include <gtest/gtest.h>

#include "inspect/data_segment.hpp"
#include "inspect/fork_search.hpp"
#include "inspect/inspect_bench.hpp"
#include "support/encoding.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::BytesOf;
using testing::operator+;
using testing::CountedSource;

std::string Line(std::uint64_t offset, const Bytes& bytes, unsigned base = kDecimal,
                 CharTable table = CharTable::Macintosh) {
    return DumpLine(offset, bytes, {base, table});
}

TEST(ForkPageTest, WritesALineInEachBaseAndTable) {
    // 8A is a with diaeresis in MacRoman, S with caron in Windows-1252, e with grave in 437.
    const Bytes bytes = Bytes{0, 1, 0x7F, 0x8A, 0xD0, 0x81, 0xAD} + BytesOf("012345678");
    const std::string hex = "00 01 7f 8a d0 81 ad 30  31 32 33 34 35 36 37 38  ";
    EXPECT_EQ(Line(510, bytes), "00000510  " + hex + " _ ä-Å_012345678");
    EXPECT_EQ(Line(510, bytes, kHexadecimal), "000001fe  " + hex + " _ ä-Å_012345678");
    EXPECT_EQ(Line(0, bytes, kDecimal, CharTable::Windows),
              "00000000  " + hex + " __ŠÐ_-012345678");
    EXPECT_EQ(Line(0, bytes, kDecimal, CharTable::Dos), "00000000  " + hex + " ☺⌂è╨ü¡012345678");
    EXPECT_EQ(Line(0, {0x41}), "00000000  41" + std::string(48, ' ') + "A" + std::string(15, ' '));
    for (const CharTable table : {CharTable::Macintosh, CharTable::Windows, CharTable::Dos})
        for (unsigned byte = 0; byte < 256; ++byte) {
            const std::string line = Line(0, {static_cast<std::uint8_t>(byte)}, kDecimal, table);
            EXPECT_EQ(Utf8ToWide(line).size(), kLineColumns) << byte;
            EXPECT_EQ(Printable(line), line) << byte;
        }
}

TEST(ForkPageTest, KeepsLargeOffsetsWhole) {
    EXPECT_EQ(Line(999'999'984, {0x41}).substr(0, 13), "999999984 41 ");
    EXPECT_EQ(Line(1'000'000'000, {0x41}).substr(0, 14), "1000000000 41 ");
    EXPECT_EQ(Line(0xFFFFFFFF0, {0x41}, kHexadecimal).substr(0, 13), "ffffffff0 41 ");
    EXPECT_EQ(ColumnsAt(1'000'000'000, kDecimal).characterOf(0), 61U);
    EXPECT_EQ(ColumnsAt(999'999'999, kDecimal).hexOf(8), 35U);
}

TEST(ForkPageTest, ShowsOneSectorWithAnEmptyLineBehindEachSixteen) {
    CountedSource fork(Bytes(512 * 3 - 500, 0x42));
    const ForkPage page = ReadPage(fork, 2, {});
    EXPECT_EQ(page.count, 12U);
    EXPECT_EQ(page.bytes[11], 0x42);
    EXPECT_EQ(page.bytes[12], 0);
    ASSERT_EQ(page.lines.size(), 34U);
    EXPECT_EQ(page.lines[0].substr(0, 8), "00001024");
    EXPECT_EQ(page.lines[16], "");
    EXPECT_EQ(page.lines[33], "");
    EXPECT_EQ(page.lines[LineOfByte(256)].substr(0, 8), "00001280");
    EXPECT_EQ(LastSector(fork), 2U);
    EXPECT_TRUE(ReadPage(fork, 3, {}).lines.empty());
    EXPECT_TRUE(ReadPage(fork, ~std::uint64_t{0}, {}).lines.empty());
    CountedSource unreadable(Bytes(1024), 512);
    EXPECT_TRUE(ReadPage(unreadable, 1, {}).lines.empty());
}

TEST(ForkPageTest, ReadsNumbersAsTyped) {
    struct Case {
        std::string_view text;
        unsigned base;
        std::optional<std::uint64_t> sector;
    };
    for (const Case& each : std::initializer_list<Case>{{"10", 10, 10},
                                                        {"10", 16, 16},
                                                        {"0x1f", 16, 31},
                                                        {" +3 ", 10, 53},
                                                        {"-50", 10, 0},
                                                        {"-51", 10, {}},
                                                        {"+50", 10, 100},
                                                        {"+51", 10, {}},
                                                        {"101", 10, {}},
                                                        {"+", 10, {}},
                                                        {"", 10, {}},
                                                        {"1f", 10, {}},
                                                        {"--1", 10, {}},
                                                        {"+18446744073709551615", 10, {}},
                                                        {"99999999999999999999", 10, {}}})
        EXPECT_EQ(SectorToGoTo(each.text, each.base, 50, 100), each.sector) << each.text;
    EXPECT_EQ(BytesOfHexDigits("4 1"), std::nullopt);
    EXPECT_EQ(BytesOfHexDigits("41 4a4B"), "AJK");
    for (const char* wrong : {"", " ", "4", "414", "4g", "-1"})
        EXPECT_EQ(BytesOfHexDigits(wrong), std::nullopt) << wrong;
}

TEST(ForkSearchTest, FindsAcrossBordersAndAtEveryPlace) {
    // Beside the borders of sectors lie those of the pieces that are read.
    constexpr std::size_t kSize = (256 << 10) * 2 + 700;
    for (const std::string_view text : {"z", "Zebra", "ZZZZZebra"})
        for (const std::size_t border : {std::size_t{512}, std::size_t{256 << 10}, kSize})
            for (std::size_t back = text.size(); back <= text.size() + 1; ++back)
                for (const std::size_t at : {border - back, border - 1}) {
                    if (at + text.size() > kSize)
                        continue;
                    Bytes bytes(kSize, 'Z');
                    std::copy(text.begin(), text.end(),
                              bytes.begin() + static_cast<std::ptrdiff_t>(at));
                    const auto expected = static_cast<std::uint64_t>(
                        std::search(bytes.begin(), bytes.end(), text.begin(), text.end()) -
                        bytes.begin());
                    CountedSource fork(bytes);
                    testing::RecordedProgress progress;
                    const SearchResult found = SearchFork(fork, {BytesOf(text)}, progress);
                    EXPECT_EQ(found.end, SearchEnd::Found) << text << at;
                    EXPECT_EQ(found.offset, expected) << text << at;
                    EXPECT_NE(SearchFork(fork, {BytesOf(text), expected + 1}, progress).end,
                              SearchEnd::Failed);
                    EXPECT_EQ(SearchFork(fork, {BytesOf(text), expected}, progress).offset,
                              expected);
                }
}

TEST(ForkSearchTest, AgreesWithAPlainSearchAmongFewLetters) {
    testing::Noise noise(7);
    for (int round = 0; round < 300; ++round) {
        Bytes bytes = noise.bytes(noise.next() % 3000);
        Bytes text = noise.bytes(1 + noise.next() % 6);
        for (Bytes* each : {&bytes, &text})
            for (std::uint8_t& byte : *each)
                byte %= 2;
        const std::size_t from = noise.next() % (bytes.size() + 2);
        const bool starts = round % 3 == 0;
        std::optional<std::size_t> expected;
        for (std::size_t at = from; at + text.size() <= bytes.size() && !expected; ++at)
            if ((!starts || at % 512 == 0) && std::equal(text.begin(), text.end(), &bytes[at]))
                expected = at;
        CountedSource fork(bytes);
        testing::RecordedProgress progress;
        const SearchResult found = SearchFork(fork, {text, from, starts}, progress);
        EXPECT_EQ(found.end == SearchEnd::Found, expected.has_value()) << round;
        EXPECT_EQ(expected.value_or(found.offset), found.offset) << round;
    }
}

TEST(ForkSearchTest, StopsAndSaysWhatItCouldNotRead) {
    CountedSource fork(Bytes(3 << 20), 2 << 20);
    testing::RecordedProgress whole;
    EXPECT_EQ(SearchFork(fork, {BytesOf("x")}, whole).end, SearchEnd::Failed);
    testing::RecordedProgress stopping(2);
    EXPECT_EQ(SearchFork(fork, {BytesOf("x")}, stopping).end, SearchEnd::Stopped);
    EXPECT_EQ(stopping.counted, 512U << 10);
}

TEST(ForkSearchTest, TurnsTypedTextIntoTheBytesOfTheTable) {
    EXPECT_EQ(BytesOfText("é", CharTable::Macintosh), Bytes{0x8E});
    EXPECT_EQ(BytesOfText("é", CharTable::Windows), Bytes{0xE9});
    EXPECT_EQ(BytesOfText("é☺", CharTable::Dos), (Bytes{0x82, 0x01}));
    EXPECT_EQ(BytesOfText("☺", CharTable::Windows), std::nullopt);
}

TEST(DataSegmentTest, SavesTheBytesAndTheirLines) {
    Bytes bytes = testing::Pattern(70'000);
    CountedSource fork(bytes);
    testing::RecordedProgress progress;
    const DataSegment sectors = SegmentOfSectors(fork, 1, 200);
    EXPECT_EQ(sectors.begin, 512U);
    EXPECT_EQ(sectors.end, 70'000U);
    MemoryBytes saved;
    EXPECT_EQ(SaveSegment(fork, sectors, saved, 0, progress), SegmentEnd::Done);
    EXPECT_EQ(saved.bytes(), Bytes(bytes.begin() + 512, bytes.end()));
    EXPECT_EQ(SaveSegment(fork, {5, 70'001}, saved, 0, progress), SegmentEnd::OutsideSource);
    EXPECT_EQ(SaveSegment(fork, {5, 4}, saved, 0, progress), SegmentEnd::OutsideSource);
    MemoryBytes text;
    EXPECT_EQ(SaveSegmentAsText(fork, {512, 1024 + 20}, {}, text, progress), SegmentEnd::Done);
    std::string expected;
    for (std::size_t at = 512; at < 1044; at += 16)
        expected += Line(at, Bytes(bytes.begin() + static_cast<std::ptrdiff_t>(at),
                                   bytes.begin() + static_cast<std::ptrdiff_t>(
                                                       std::min<std::size_t>(at + 16, 1044)))) +
                    (at == 1008 || at == 1040 ? "\n\n" : "\n");
    EXPECT_EQ(text.bytes(), BytesOf(expected));
}

}  // namespace
}  // namespace vellmark
