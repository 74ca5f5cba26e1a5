// Compressed disk images, made here and damaged here, and what their expansion is put together
// from.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "IO/disk_image.hpp"
#include "IO/disk_image_codecs.hpp"
#include "IO/disk_image_list.hpp"
#include "IO/disk_image_maker.hpp"
#include "IO/disk_image_tables.hpp"
#include "IO/expanded_image.hpp"
#include "support/words.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

struct Expanded {
    ExpandResult result;
    Bytes plain;
};

constexpr std::uint64_t kMostRead = std::uint64_t{1} << 24;

Expanded Expand(const Bytes& image, const ExpandOptions& options = {}, int stopAt = 0) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/plain";
    MemoryBytes source(image);
    RecordedProgress progress(stopAt);
    PcFile target(path, PcFile::Mode::CreateNew);
    const ExpandResult result = ExpandImage(source, target, progress, options);
    // A damaged count can make it as long as it likes.
    return {result, target.size() > kMostRead ? Bytes() : ReadFile(path)};
}

Bytes operator+(Bytes first, const Bytes& second) {
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

constexpr std::uint32_t kStoringTypes[] = {kRawBlock, kAdcBlock, kZlibBlock, kBzip2Block,
                                           kLzmaBlock};

TEST(ExpandImage, EveryKindOfBlockInSeveralTablesWithAnyNumberOfThreads) {
    for (const bool told : {true, false}) {
        ImageMaker maker;
        maker.version = told ? 1 : 4;
        maker.sectorCount = told ? std::nullopt : std::optional<std::uint64_t>(0);
        Bytes expected;
        std::uint32_t seed = 1;
        for (int table = 0; table < 3; ++table) {
            std::vector<MadeBlock> blocks;
            Bytes contents;
            Bytes counted;  // what the checksum is of: free sectors do not count
            const auto add = [&](MadeBlock block, const Bytes& plain) {
                contents = contents + plain;
                if (block.type != kIgnoredBlock)
                    counted = counted + plain;
                blocks.push_back(std::move(block));
            };
            for (int round = 0; round < 3; ++round)
                for (const std::uint32_t type : kStoringTypes) {
                    const Bytes plain = Sectors(1 + 13 * seed % 97, seed);
                    add(BlockOf(type, plain), plain);
                    ++seed;
                    blocks.push_back({kCommentBlock, 77});
                    blocks.back().sectors = 0;
                    add({seed % 2 != 0 ? kZeroBlock : kIgnoredBlock, seed}, Bytes(seed * 512));
                }
            maker.table(blocks, ImageMaker::Crc(counted));
            expected = expected + contents;
            if (told)
                maker.section("bm90IGEgdGFibGU=").section("");
        }
        for (const unsigned threads : {1U, 2U, 4U}) {
            const Expanded expanded = Expand(maker.make(), {.verify = true, .threads = threads});
            EXPECT_EQ(expanded.result.end, ExpandEnd::Done) << expanded.result.problem;
            EXPECT_FALSE(expanded.result.remark);
            EXPECT_EQ(expanded.result.checksumsCompared, 5);
            EXPECT_TRUE(expanded.plain == expected) << told << threads;
        }
    }
}

TEST(ExpandImage, BlocksLongerThanTheMemoryGoByInPieces) {
    const Bytes plain = Sectors(9001, 5);
    for (const std::uint32_t type : {kRawBlock, kZlibBlock, kBzip2Block, kLzmaBlock}) {
        ImageMaker maker;
        maker.table({BlockOf(kZlibBlock, Sectors(1, 1)), BlockOf(type, plain),
                     BlockOf(kZlibBlock, Sectors(2, 2))},
                    ImageMaker::Crc(Sectors(1, 1) + plain + Sectors(2, 2)));
        const Expanded expanded = Expand(maker.make(), {.verify = true});
        EXPECT_EQ(expanded.result.end, ExpandEnd::Done) << expanded.result.problem;
        EXPECT_TRUE(expanded.plain == Sectors(1, 1) + plain + Sectors(2, 2)) << type;
    }
}

TEST(ExpandImage, BlocksGoToTheirOwnPositionsWhereTheSectorsAreCounted) {
    ImageMaker maker;
    MadeBlock last = BlockOf(kZlibBlock, Sectors(2, 1));
    last.position = 5;
    MadeBlock first = BlockOf(kRawBlock, Sectors(3, 2));
    first.position = 0;
    MadeBlock middle{kZeroBlock, 2};
    middle.position = 3;
    maker.table({last, first, middle});
    EXPECT_TRUE(Expand(maker.make()).plain == Sectors(3, 2) + Bytes(1024) + Sectors(2, 1));
    maker.sectorCount = 0;
    EXPECT_TRUE(Expand(maker.make()).plain == Sectors(2, 1) + Sectors(3, 2) + Bytes(1024));
}

TEST(ExpandImage, WhatEndsAnImageAndWhatIsWrongWithOne) {
    const Bytes one = Sectors(4, 1);
    const Bytes two = Sectors(4, 2);
    const MadeBlock good = BlockOf(kZlibBlock, one);
    const MadeBlock next = BlockOf(kZlibBlock, two);
    const auto cut = [&](std::uint32_t type) {
        MadeBlock block = BlockOf(type, two);
        block.stored.resize(block.stored.size() / 2 - 1);
        return block;
    };
    const auto damaged = [&](std::uint32_t type) {
        MadeBlock block = BlockOf(type, two);
        std::fill_n(block.stored.begin(), 4, 0xFF);
        return block;
    };
    const auto sized = [&](std::uint32_t type, std::uint64_t sectors) {
        MadeBlock block = BlockOf(type, two);
        block.sectors = sectors;
        return block;
    };
    const auto placed = [&](std::uint64_t position) {
        MadeBlock block = next;
        block.position = position;
        return block;
    };
    const auto stored = [&](std::optional<std::uint64_t> offset,
                            std::optional<std::uint64_t> size) {
        MadeBlock block = good;
        block.offset = offset;
        block.length = size;
        return block;
    };
    constexpr std::uint64_t kUnsized = 0;
    using Tables = std::vector<std::vector<MadeBlock>>;
    const struct {
        std::size_t size;        // of the plain image; 1: it fails
        std::string_view words;  // of the reason, or of a remark
        Tables tables;
        std::optional<std::uint64_t> sectors = {};
        std::uint32_t version = 4;
    } cases[] = {
        {0, "", {{}}},
        {1, "holds no block table", {}},
        {1, "allows no block table", {{good}}, kUnsized, 0},
        {2048, "", {{{kZlibBlock, 0}, {kBzip2Block, 0}, good, {kLzmaBlock, 0}}}},
        {2048, "", {{good}, {next}}, kUnsized, 1},  // the version caps the tables
        {1, "lock 2 of table 1 is of a type that is not known (8", {{good, {0x80000003, 1}}}},
        {1, "compressed with LZFSE", {{good, {0x80000007, 1}}}},
        {1, "block 2 of table 1 (zlib): its compressed data is dam", {{good, damaged(kZlibBlock)}}},
        {1, "block 1 of table 1 (zlib): its compressed data is cut", {{cut(kZlibBlock)}}},
        {1, "expands to more than it says", {{sized(kZlibBlock, 3)}}},
        {2560, "Fewer bytes than they say", {{sized(kZlibBlock, 5)}}},
        {1, "table 2 (bzip2): its compressed data is damaged", {{good}, {damaged(kBzip2Block)}}},
        {1, "cut short", {{cut(kBzip2Block)}}},
        {1, "expands to more", {{sized(kBzip2Block, 3)}}},
        {1, "(LZMA): its compressed data is damaged", {{damaged(kLzmaBlock)}}},
        {1, "cut short", {{cut(kLzmaBlock)}}},
        {1, "(Apple Data Compression): its compressed data is cut", {{cut(kAdcBlock)}}},
        {1, "expands to more", {{sized(kAdcBlock, 3)}}},
        {1, "block 1 of table 1 (zlib): its data lies outside", {{stored(~0ULL - 9, {})}}},
        {1, "its data lies outside", {{stored({}, 1ULL << 32)}}},
        {1, "(raw): its data lies outside", {{sized(kRawBlock, 1 << 20)}}},
        {1, "goes beyond the 4 sectors", {{placed(~0ULL - 1)}}},
        {1, "block 2 of table 1 (zlib): it goes where an ea", {{good, placed(3)}}, 9},
        {1, "block 1 of table 2 (zeros): i", {{placed(5)}, {{kZeroBlock, 4}}}, 9},
        {1, "more sectors than any disk has", {{good, {kZeroBlock, ~0ULL}}}, kUnsized},
        {1, "more sectors than any disk has", {{good}}, 1ULL << 60},
        {5120, "leave out 6 of its 10 sectors", {{good}}, 10},
        {2048, "leave out 4503599627370492", {{good}}, 1ULL << 52},
    };
    const auto expect = [](const ImageMaker& maker, std::size_t size, std::string_view words) {
        for (const unsigned threads : {1U, 4U}) {
            const Expanded expanded = Expand(maker.make(), {.threads = threads});
            const std::string said = Words(expanded.result.problem) + Words(expanded.result.remark);
            EXPECT_EQ(expanded.result.end, size == 1 ? ExpandEnd::Failed : ExpandEnd::Done) << said;
            EXPECT_TRUE(words.empty() ? said.empty() : said.find(words) != said.npos)
                << words << ": " << said;
            EXPECT_TRUE(size == 1 ||
                        (expanded.plain.size() == size && expanded.result.sizeBytes == size))
                << words;
        }
    };
    for (const auto& c : cases) {
        ImageMaker maker;
        maker.sectorCount = c.sectors;
        maker.version = c.version;
        for (const auto& blocks : c.tables)
            maker.table(blocks);
        expect(maker, c.size, c.words);
    }
    // Sections and tables that end in other ways.
    ImageMaker maker;
    maker.sectorCount = kUnsized;
    expect(ImageMaker(maker).table({good}).section("").table({good}), 2048, "");
    expect(ImageMaker(maker).table({good}).section("Zm9yayBvZiBhIHJlc291cmNl").table({good}), 1,
           "Section 2 of its property list is no block table");
    expect(ImageMaker().table({good}, 0, false), 1,
           "Table 1 ends without an end mark, behind 1 bl");
    maker = ImageMaker().table({good});
    maker.listLengthLie = 1ULL << 40;
    expect(maker, 1, "property list outside the file");
    maker.listLengthLie = 0;
    maker.dataLengthLie = 1;
    expect(maker, 1, "does not stand directly behind its data");
    EXPECT_EQ(Expand(Bytes(4096, 'x')).result.end, ExpandEnd::Failed);
}

TEST(ExpandImage, TheFirstWrongBlockIsToldWhateverTheThreadsDo) {
    std::vector<MadeBlock> blocks;
    blocks.reserve(30);
    for (int i = 0; i < 30; ++i)
        blocks.push_back(BlockOf(kBzip2Block, Sectors(100, i)));
    blocks[17] = BlockOf(kZlibBlock, Sectors(1, 1));
    blocks[17].stored[0] = 0;
    blocks[18].stored[0] = 0;
    blocks[20].type = 0x80000001;
    ImageMaker maker;
    maker.table(blocks);
    for (int turn = 0; turn < 8; ++turn) {
        const ExpandResult result = Expand(maker.make(), {.threads = 4}).result;
        EXPECT_EQ(result.end, ExpandEnd::Failed);
        EXPECT_NE(Words(result.problem).find("block 18 of table 1"), std::string::npos)
            << result.problem;
    }
}

TEST(ExpandImage, ChecksumsAreComparedOnRequestAlone) {
    ImageMaker maker;
    maker.table({BlockOf(kZlibBlock, Sectors(4, 1))}, ImageMaker::Crc(Sectors(4, 1)));
    Bytes wrongTable = ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}, 0x1234).make();
    Bytes wrongData = maker.make();
    wrongData[wrongData.size() - 512 + 88] ^= 1;
    Bytes wrongMaster = maker.make();
    wrongMaster[wrongMaster.size() - 512 + 360] ^= 1;
    const std::pair<Bytes, std::string_view> cases[] = {{wrongTable, "Table 1 has the checksum"},
                                                        {wrongData, "of its stored data"},
                                                        {wrongMaster, "the checksums of its tab"}};
    for (const auto& [image, words] : cases) {
        EXPECT_EQ(Expand(image).result.end, ExpandEnd::Done);
        const ExpandResult result = Expand(image, {.verify = true}).result;
        EXPECT_EQ(result.end, ExpandEnd::Failed) << words;
        EXPECT_NE(Words(result.problem).find(words), std::string::npos) << result.problem;
    }
}

TEST(ExpandImage, ATablesChecksumTellsWhatAnOverlappingMatchMeans) {
    const Bytes stored = {0x81, 'a', 'b', 0x7F, 0x00, 0x01, 0x7F, 0x00, 0x01};
    Bytes filled(512);
    std::fill_n(filled.begin(), 136, 'a');
    filled[1] = 'b';
    // The second match begins at an even place, and has an `a` at its distance again.
    Bytes pattern(512);
    for (std::size_t i = 0; i < 136; ++i)
        pattern[i] = i % 2 == 0 ? 'a' : 'b';
    Bytes room(512);
    ASSERT_EQ(ExpandAdc(stored, room, AdcMatch::Pattern).length, 136);
    const Bytes next = Sectors(3, 1);
    const std::pair<std::uint32_t, const Bytes*> cases[] = {
        {0, &filled},
        {1, &filled},
        {ImageMaker::Crc(next + filled + next), &filled},
        {ImageMaker::Crc(next + pattern + next), &pattern}};
    for (const auto& [crc, expected] : cases) {
        ImageMaker maker;
        maker.table({BlockOf(kAdcBlock, next), {kAdcBlock, 1, stored}, BlockOf(kZlibBlock, next)},
                    crc);
        EXPECT_TRUE(Expand(maker.make()).plain == next + *expected + next) << crc;
    }
}

TEST(ExpandImage, StopsAndFailsWithoutLeavingAFile) {
    const TemporaryFolder folder;
    std::vector<MadeBlock> blocks(20, BlockOf(kZlibBlock, Sectors(100, 3)));
    const std::string in = MakeFile(folder, "in.dmg", ImageMaker().table(blocks).make());
    const std::string out = MakeFile(folder, "out.img", BytesOf("older"));
    for (const int stopAt : {1, 7, 20}) {
        RecordedProgress progress(stopAt);
        const ExpandResult result = ExpandImageFile(in, out, progress);
        EXPECT_EQ(result.end, ExpandEnd::Stopped);
        EXPECT_EQ(ReadFile(out), BytesOf("older"));
    }
    // Before any block: a list of many tables that hold nothing.
    ImageMaker empty;
    for (int i = 0; i < 500; ++i)
        empty.table({});
    empty.sectorCount = 1;
    const ExpandResult stopped = Expand(empty.make(), {}, 10).result;
    EXPECT_EQ(stopped.end, ExpandEnd::Stopped) << stopped.problem;

    MemoryBytes source(ReadFile(in));
    RecordedProgress progress;
    PcFile full("/dev/full", PcFile::Mode::ReadWrite);
    const ExpandResult result = ExpandImage(source, full, progress);
    EXPECT_EQ(result.end, ExpandEnd::Failed);
    EXPECT_NE(Words(result.problem).find("cannot be written: No space left"), std::string::npos);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
}

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

TEST(ExpandImageFile, EndsAsItsCallersKnow) {
    const TemporaryFolder folder;
    const std::string out = folder.path() + "/out.img";
    Bytes boot(1024);
    boot[510] = 0x55;
    boot[511] = 0xAA;
    boot[450] = 0xEE;
    const Bytes good = ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}).make();
    // The first block is raw, and what a disk begins with.
    const Bytes rawFirst = ImageMaker().table({BlockOf(kRawBlock, boot)}).make();
    const std::pair<Bytes, ExpandEnd> cases[] = {{Bytes(2048), ExpandEnd::NotBegun},
                                                 {BytesOf("sprs"), ExpandEnd::Failed},
                                                 {boot, ExpandEnd::Failed},
                                                 {Bytes(2048, 'x'), ExpandEnd::Failed},
                                                 {boot + good, ExpandEnd::Failed},
                                                 {rawFirst, ExpandEnd::Done},
                                                 {good, ExpandEnd::Done}};
    RecordedProgress progress;
    for (const auto& [bytes, end] : cases) {
        const std::string in = MakeFile(folder, "in", bytes);
        const ExpandResult result = ExpandImageFile(in, out, progress);
        EXPECT_EQ(result.end, end);
        EXPECT_EQ(Words(result.problem).starts_with(in), end != ExpandEnd::Done) << result.problem;
        EXPECT_EQ(std::filesystem::remove(out), end == ExpandEnd::Done);
    }
    EXPECT_EQ(ExpandImageFile(folder.path() + "/in", "/none/out", progress).end,
              ExpandEnd::NotBegun);
    ExpandResult result;
    const auto image = ExpandedImage::Open(folder.path() + "/in", progress, result);
    ASSERT_TRUE(image) << result.problem;
    EXPECT_TRUE(ReadFile(image->path()) == Sectors(4, 1));
    EXPECT_TRUE(std::filesystem::read_symlink(image->path()).string().ends_with(" (deleted)"));
    EXPECT_FALSE(ExpandedImage::Open(folder.path(), progress, result));
}

}  // namespace
}  // namespace vellmark
