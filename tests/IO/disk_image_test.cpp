// Compressed disk images, made here and damaged here.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "IO/disk_image.hpp"
#include "IO/disk_image_codecs.hpp"
#include "IO/disk_image_list.hpp"
#include "IO/disk_image_maker.hpp"
#include "IO/expanded_image.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

struct Expanded {
    ExpandResult result;
    Bytes plain;
};

Expanded Expand(const Bytes& image, const ExpandOptions& options = {}, int stopAt = 0) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/plain";
    MemoryBytes source(image);
    RecordedProgress progress(stopAt);
    PcFile target(path, PcFile::Mode::CreateNew);
    const ExpandResult result = ExpandImage(source, target, progress, options);
    return {result, ReadFile(path)};
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
            EXPECT_EQ(expanded.result.code, 0) << expanded.result.problem;
            EXPECT_EQ(expanded.result.remark, "");
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
        EXPECT_EQ(expanded.result.code, 0) << expanded.result.problem;
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
    const auto block = [](std::uint32_t type, const Bytes& plain,
                          const std::function<void(MadeBlock&)>& change) {
        MadeBlock made = BlockOf(type, plain);
        change(made);
        return made;
    };
    const MadeBlock good = BlockOf(kZlibBlock, one);
    const auto cut = [](MadeBlock& b) { b.stored.resize(b.stored.size() / 2 - 1); };
    const auto damage = [](MadeBlock& b) { std::fill_n(b.stored.begin(), 4, 0xFF); };
    const auto smaller = [](MadeBlock& b) { b.sectors -= 1; };
    const auto larger = [](MadeBlock& b) { b.sectors += 1; };
    using Make = std::function<void(ImageMaker&)>;
    struct Case {
        std::string_view name;
        std::int64_t code;
        std::size_t size;  // of the plain image, where the code is 0
        std::string_view words;
        Make make;
    };
    const auto unsized = [](ImageMaker& m) { m.sectorCount = 0; };
    const Case cases[] = {
        {"an end mark alone", 0, 0, "", [&](ImageMaker& m) { m.table({}); }},
        {"no table at all", 0, 0, "", [&](ImageMaker&) {}},
        {"the version caps the tables", 0, 2048, "",
         [&](ImageMaker& m) {
             unsized(m);
             m.version = 1;
             m.table({good}).table({BlockOf(kZlibBlock, two)});
         }},
        {"an empty section ends them", 0, 2048, "",
         [&](ImageMaker& m) {
             unsized(m);
             m.table({good}).section("").table({good});
         }},
        {"another section", -1, 0, "Section 2 of its property list is no block table",
         [&](ImageMaker& m) {
             unsized(m);
             m.table({good}).section("Zm9yayBvZiBhIHJlc291cmNl").table({good});
         }},
        {"a section that does not end", 0, 2048, "",
         [&](ImageMaker& m) {
             m.table({good});
             m.section("");
         }},
        {"an unknown type", 0x80000003, 0, "lock 2 of table 1 is of a type that is not known (8",
         [&](ImageMaker& m) {
             m.table({good, {0x80000003, 1}});
         }},
        {"LZFSE", 0x80000007, 0, "compressed with LZFSE",
         [&](ImageMaker& m) {
             m.table({good, {0x80000007, 1}});
         }},
        {"a table without its end mark", -1, 0, "Table 1 ends without an end mark, behind 1 bl",
         [&](ImageMaker& m) { m.table({good}, 0, false); }},
        {"zlib, damaged", Z_DATA_ERROR, 0, "block 2 of table 1 (zlib): its compressed data is dam",
         [&](ImageMaker& m) {
             m.table({good, block(kZlibBlock, two, damage)});
         }},
        {"zlib, cut", Z_BUF_ERROR, 0, "block 1 of table 1 (zlib): its compressed data is cut",
         [&](ImageMaker& m) { m.table({block(kZlibBlock, two, cut)}); }},
        {"zlib, too long", Z_DATA_ERROR, 0, "expands to more than it says",
         [&](ImageMaker& m) { m.table({block(kZlibBlock, two, smaller)}); }},
        {"zlib, short", 0, 2560, "Fewer bytes than they say",
         [&](ImageMaker& m) { m.table({block(kZlibBlock, two, larger)}); }},
        {"bzip2, damaged", -1, 0, "table 2 (bzip2): its compressed data is damaged",
         [&](ImageMaker& m) { m.table({good}).table({block(kBzip2Block, two, damage)}); }},
        {"bzip2, cut", -1, 0, "cut short",
         [&](ImageMaker& m) { m.table({block(kBzip2Block, two, cut)}); }},
        {"bzip2, too long", -1, 0, "expands to more",
         [&](ImageMaker& m) { m.table({block(kBzip2Block, two, smaller)}); }},
        {"LZMA, damaged", -1, 0, "(LZMA): its compressed data is damaged",
         [&](ImageMaker& m) { m.table({block(kLzmaBlock, two, damage)}); }},
        {"LZMA, cut", -1, 0, "cut short",
         [&](ImageMaker& m) { m.table({block(kLzmaBlock, two, cut)}); }},
        {"ADC, cut", -1, 0, "(Apple Data Compression): its compressed data is cut",
         [&](ImageMaker& m) { m.table({block(kAdcBlock, two, cut)}); }},
        {"ADC, too long", -1, 0, "expands to more",
         [&](ImageMaker& m) { m.table({block(kAdcBlock, two, smaller)}); }},
        {"stored bytes outside the file", -1, 0, "block 1 of table 1 (zlib): its data lies outside",
         [&](ImageMaker& m) {
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.offset = ~0ULL - 9; })});
         }},
        {"more stored bytes than the file has", -1, 0, "its data lies outside",
         [&](ImageMaker& m) {
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.length = 1ULL << 32; })});
         }},
        {"a raw block that the file does not hold", -1, 0, "(raw): its data lies outside",
         [&](ImageMaker& m) {
             m.table({block(kRawBlock, one, [](MadeBlock& b) { b.sectors = 1 << 20; })});
         }},
        {"a position outside the image", -1, 0, "goes beyond the 4 sectors",
         [&](ImageMaker& m) {
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.position = ~0ULL - 1; })});
         }},
        {"blocks over each other", -1, 0, "stand for more than the 4 sectors",
         [&](ImageMaker& m) {
             m.sectorCount = 4;
             m.table({good, block(kZlibBlock, two, [](MadeBlock& b) { b.position = 0; })});
         }},
        {"more sectors than fit 64 bits", -1, 0, "more sectors than any disk has",
         [&](ImageMaker& m) {
             unsized(m);
             m.table({good, {kZeroBlock, ~0ULL}});
         }},
        {"a count that no disk has", -1, 0, "more sectors than any disk has",
         [&](ImageMaker& m) {
             m.sectorCount = 1ULL << 60;
             m.table({good});
         }},
        {"tables that leave something out", 0, 2048, "leave out 6 of its 10 sectors",
         [&](ImageMaker& m) {
             m.sectorCount = 10;
             m.table({good});
         }},
        {"a list outside the file", -1, 0, "property list outside the file",
         [&](ImageMaker& m) {
             m.table({good});
             m.listLengthLie = 1ULL << 40;
         }},
        {"a list elsewhere", -1, 0, "does not stand directly behind its data",
         [&](ImageMaker& m) {
             m.table({good});
             m.dataLengthLie = 1;
         }},
    };
    for (const Case& c : cases) {
        ImageMaker maker;
        c.make(maker);
        for (const unsigned threads : {1U, 4U}) {
            const Expanded expanded = Expand(maker.make(), {.threads = threads});
            EXPECT_EQ(expanded.result.code, c.code) << c.name << ": " << expanded.result.problem;
            const std::string said = expanded.result.problem + expanded.result.remark;
            EXPECT_NE(said.find(c.words), said.npos) << c.name << ": " << said;
            EXPECT_EQ(said.empty(), c.words.empty()) << c.name << ": " << said;
            if (c.code == 0) {
                EXPECT_EQ(expanded.plain.size(), c.size) << c.name;
                EXPECT_EQ(expanded.result.sizeBytes, c.size) << c.name;
            }
        }
    }
    EXPECT_EQ(Expand(Bytes(4096, 'x')).result.code, -1);
    EXPECT_EQ(Expand({}).result.code, -1);
}

TEST(ExpandImage, TheFirstWrongBlockIsToldWhateverTheThreadsDo) {
    std::vector<MadeBlock> blocks;
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
        EXPECT_EQ(result.code, Z_DATA_ERROR);
        EXPECT_NE(result.problem.find("block 18 of table 1"), std::string::npos) << result.problem;
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
        EXPECT_EQ(Expand(image).result.code, 0);
        const ExpandResult result = Expand(image, {.verify = true}).result;
        EXPECT_EQ(result.code, kExpansionFailed) << words;
        EXPECT_NE(result.problem.find(words), std::string::npos) << result.problem;
    }
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

TEST(DataSections, Base64IsReadAsTheFormatHasIt) {
    const std::pair<std::string_view, std::string_view> cases[] = {
        {"<data>\n\tQUJD\r\n\tRE  VG\n</data>", "ABCDEF"},
        {"<data>QUJDRA==</data>", std::string_view("ABCD\0\0", 6)},
        {"<data>QUJDR</data>", std::string_view("ABCD\0\0", 6)},
        {"<x></x><data></data><data>+/+/</data>", ""},
        {"<data>*!~</data>", ""}};
    for (const auto& [text, expected] : cases) {
        MemoryBytes file(BytesOf(text));
        DataSections sections(file, 0, text.size());
        ASSERT_TRUE(sections.next()) << text;
        Bytes out(64);
        out.resize(sections.read(out));
        EXPECT_EQ(out, BytesOf(expected)) << text;
    }
    // A tag that lies across the end of any piece that is read.
    for (std::size_t filler = 16370; filler < 16390; ++filler) {
        const std::string text = std::string(filler, '<') + "<data>QUJD</data><data>QUJD";
        MemoryBytes file(BytesOf(text));
        DataSections sections(file, 0, text.size());
        ASSERT_TRUE(sections.next()) << filler;
        Bytes out(3);
        EXPECT_EQ(sections.read(out), 3);
        EXPECT_EQ(out, BytesOf("ABC"));
        EXPECT_FALSE(sections.next());
    }
}

TEST(ExpandImage, DamageAnywhereGivesAResultAndNeverMoreThanTheImageSays) {
    ImageMaker maker;
    for (const std::uint32_t type : kStoringTypes)
        maker.table({BlockOf(type, Sectors(6, type)), {kZeroBlock, 3}});
    const Bytes whole = maker.make();
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int turn = 0; turn < 300; ++turn) {
        Bytes image = whole;
        if (turn % 4 == 0) {
            // The middle is missing: the trailer stays.
            const auto at = image.begin() + static_cast<std::ptrdiff_t>(random() % 3000);
            image.erase(at, at + static_cast<std::ptrdiff_t>(1 + random() % 500));
        }
        for (unsigned i = 0; i < 1 + random() % 4; ++i)
            image[random() % image.size()] = static_cast<std::uint8_t>(random());
        const Expanded expanded = Expand(image, {.threads = 2});
        EXPECT_EQ(expanded.result.code != 0, !expanded.result.problem.empty());
        // A damaged count may tell of none, or of more.
        EXPECT_LE(expanded.plain.size(), std::size_t{1} << 20);
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
        EXPECT_TRUE(result.isStopped);
        EXPECT_EQ(result.code, kExpansionFailed);
        EXPECT_EQ(ReadFile(out), BytesOf("older"));
    }
    MemoryBytes source(ReadFile(in));
    RecordedProgress progress;
    PcFile full("/dev/full", PcFile::Mode::ReadWrite);
    const ExpandResult result = ExpandImage(source, full, progress);
    EXPECT_EQ(result.code, kExpansionFailed);
    EXPECT_NE(result.problem.find("cannot be written: No space left"), std::string::npos);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 2);
}

TEST(ExpandImageFile, GivesTheCodesThatItsCallersKnow) {
    const TemporaryFolder folder;
    const std::string out = folder.path() + "/out.img";
    Bytes boot(1024);
    boot[510] = 0x55;
    boot[511] = 0xAA;
    Bytes protective = boot;
    boot[450] = 0xAF;
    protective[450] = 0xEE;
    const Bytes good = ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}).make();
    const std::pair<Bytes, std::int64_t> cases[] = {{Bytes(2048), kFileNotExpanded},
                                                    {BytesOf("sprs"), kExpansionFailed},
                                                    {protective, 6},
                                                    {boot, 7},
                                                    {Bytes(2048, 'x'), -1},
                                                    {good, kFileExpanded}};
    RecordedProgress progress;
    for (const auto& [bytes, code] : cases) {
        const std::string in = MakeFile(folder, "in", bytes);
        const ExpandResult result = ExpandImageFile(in, out, progress);
        EXPECT_EQ(result.code, code);
        EXPECT_EQ(result.problem.starts_with(in), code != kFileExpanded) << result.problem;
        EXPECT_EQ(std::filesystem::exists(out), code == kFileExpanded);
    }
    EXPECT_TRUE(ReadFile(out) == Sectors(4, 1));
    EXPECT_EQ(ExpandImageFile(folder.path() + "/none", out, progress).code, kFileNotExpanded);
    EXPECT_EQ(ExpandImageFile(folder.path() + "/in", "/none/out", progress).code, kFileNotExpanded);
}

TEST(ExpandedImage, IsReadByItsPathAndHasNoName) {
    const TemporaryFolder folder;
    const std::string in =
        MakeFile(folder, "in.dmg", ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}).make());
    RecordedProgress progress;
    ExpandResult result;
    const auto image = ExpandedImage::Open(in, progress, result);
    ASSERT_TRUE(image) << result.problem;
    EXPECT_TRUE(ReadFile(image->path()) == Sectors(4, 1));
    EXPECT_NE(std::filesystem::read_symlink(image->path()).string().find("(deleted)"),
              std::string::npos);
    EXPECT_FALSE(ExpandedImage::Open(folder.path(), progress, result));
    EXPECT_NE(result.problem, "");
}

}  // namespace
}  // namespace vellmark
