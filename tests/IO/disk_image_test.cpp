// Compressed disk images, made here and damaged here.
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <random>

#include "IO/disk_image.hpp"
#include "IO/disk_image_codecs.hpp"
#include "IO/disk_image_maker.hpp"
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
        ExpandEnd end;
        std::size_t size;  // of the plain image, where it is done
        std::string_view words;
        Make make;
    };
    constexpr ExpandEnd kDone = ExpandEnd::Done;
    constexpr ExpandEnd kFailed = ExpandEnd::Failed;
    const auto unsized = [](ImageMaker& m) { m.sectorCount = 0; };
    const Case cases[] = {
        {"an end mark alone", kDone, 0, "", [&](ImageMaker& m) { m.table({}); }},
        {"no table at all", kFailed, 0, "holds no block table", [&](ImageMaker&) {}},
        {"none, where the sectors are counted", kFailed, 0, "holds no block table",
         [&](ImageMaker& m) {
             m.sectorCount = 9;
             m.section("");
         }},
        {"none that the version allows", kFailed, 0, "allows no block table",
         [&](ImageMaker& m) {
             unsized(m);
             m.version = 0;
             m.table({good});
         }},
        {"a stream of nothing", kDone, 2048, "",
         [&](ImageMaker& m) {
             m.table({{kZlibBlock, 0}, {kBzip2Block, 0}, good, {kLzmaBlock, 0}});
         }},
        {"the version caps the tables", kDone, 2048, "",
         [&](ImageMaker& m) {
             unsized(m);
             m.version = 1;
             m.table({good}).table({BlockOf(kZlibBlock, two)});
         }},
        {"an empty section ends them", kDone, 2048, "",
         [&](ImageMaker& m) {
             unsized(m);
             m.table({good}).section("").table({good});
         }},
        {"another section", kFailed, 0, "Section 2 of its property list is no block table",
         [&](ImageMaker& m) {
             unsized(m);
             m.table({good}).section("Zm9yayBvZiBhIHJlc291cmNl").table({good});
         }},
        {"a section that does not end", kDone, 2048, "",
         [&](ImageMaker& m) {
             m.table({good});
             m.section("");
         }},
        {"an unknown type", kFailed, 0, "lock 2 of table 1 is of a type that is not known (8",
         [&](ImageMaker& m) {
             m.table({good, {0x80000003, 1}});
         }},
        {"LZFSE", kFailed, 0, "compressed with LZFSE",
         [&](ImageMaker& m) {
             m.table({good, {0x80000007, 1}});
         }},
        {"a table without its end mark", kFailed, 0,
         "Table 1 ends without an end mark, behind 1 bl",
         [&](ImageMaker& m) { m.table({good}, 0, false); }},
        {"zlib, damaged", kFailed, 0, "block 2 of table 1 (zlib): its compressed data is dam",
         [&](ImageMaker& m) {
             m.table({good, block(kZlibBlock, two, damage)});
         }},
        {"zlib, cut", kFailed, 0, "block 1 of table 1 (zlib): its compressed data is cut",
         [&](ImageMaker& m) { m.table({block(kZlibBlock, two, cut)}); }},
        {"zlib, too long", kFailed, 0, "expands to more than it says",
         [&](ImageMaker& m) { m.table({block(kZlibBlock, two, smaller)}); }},
        {"zlib, short", kDone, 2560, "Fewer bytes than they say",
         [&](ImageMaker& m) { m.table({block(kZlibBlock, two, larger)}); }},
        {"bzip2, damaged", kFailed, 0, "table 2 (bzip2): its compressed data is damaged",
         [&](ImageMaker& m) { m.table({good}).table({block(kBzip2Block, two, damage)}); }},
        {"bzip2, cut", kFailed, 0, "cut short",
         [&](ImageMaker& m) { m.table({block(kBzip2Block, two, cut)}); }},
        {"bzip2, too long", kFailed, 0, "expands to more",
         [&](ImageMaker& m) { m.table({block(kBzip2Block, two, smaller)}); }},
        {"LZMA, damaged", kFailed, 0, "(LZMA): its compressed data is damaged",
         [&](ImageMaker& m) { m.table({block(kLzmaBlock, two, damage)}); }},
        {"LZMA, cut", kFailed, 0, "cut short",
         [&](ImageMaker& m) { m.table({block(kLzmaBlock, two, cut)}); }},
        {"ADC, cut", kFailed, 0, "(Apple Data Compression): its compressed data is cut",
         [&](ImageMaker& m) { m.table({block(kAdcBlock, two, cut)}); }},
        {"ADC, too long", kFailed, 0, "expands to more",
         [&](ImageMaker& m) { m.table({block(kAdcBlock, two, smaller)}); }},
        {"stored bytes outside the file", kFailed, 0,
         "block 1 of table 1 (zlib): its data lies outside",
         [&](ImageMaker& m) {
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.offset = ~0ULL - 9; })});
         }},
        {"more stored bytes than the file has", kFailed, 0, "its data lies outside",
         [&](ImageMaker& m) {
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.length = 1ULL << 32; })});
         }},
        {"a raw block that the file does not hold", kFailed, 0, "(raw): its data lies outside",
         [&](ImageMaker& m) {
             m.table({block(kRawBlock, one, [](MadeBlock& b) { b.sectors = 1 << 20; })});
         }},
        {"a position outside the image", kFailed, 0, "goes beyond the 4 sectors",
         [&](ImageMaker& m) {
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.position = ~0ULL - 1; })});
         }},
        {"a block over the end of another", kFailed, 0,
         "block 2 of table 1 (zlib): it goes where an ea",
         [&](ImageMaker& m) {
             m.sectorCount = 9;
             m.table({good, block(kZlibBlock, two, [](MadeBlock& b) { b.position = 3; })});
         }},
        {"zeros over the start of a block of another table", kFailed, 0,
         "block 1 of table 2 (zeros): i",
         [&](ImageMaker& m) {
             m.sectorCount = 9;
             m.table({block(kZlibBlock, one, [](MadeBlock& b) { b.position = 5; })});
             m.table({{kZeroBlock, 4}});
         }},
        {"more sectors than fit 64 bits", kFailed, 0, "more sectors than any disk has",
         [&](ImageMaker& m) {
             unsized(m);
             m.table({good, {kZeroBlock, ~0ULL}});
         }},
        {"a count that no disk has", kFailed, 0, "more sectors than any disk has",
         [&](ImageMaker& m) {
             m.sectorCount = 1ULL << 60;
             m.table({good});
         }},
        {"tables that leave something out", kDone, 5120, "leave out 6 of its 10 sectors",
         [&](ImageMaker& m) {
             m.sectorCount = 10;
             m.table({good});
         }},
        {"a count that no file has where blocks end before", kDone, 2048,
         "leave out 4503599627370492",
         [&](ImageMaker& m) {
             m.sectorCount = 1ULL << 52;
             m.table({good});
         }},
        {"a list outside the file", kFailed, 0, "property list outside the file",
         [&](ImageMaker& m) {
             m.table({good});
             m.listLengthLie = 1ULL << 40;
         }},
        {"a list elsewhere", kFailed, 0, "does not stand directly behind its data",
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
            EXPECT_EQ(expanded.result.end, c.end) << c.name << ": " << expanded.result.problem;
            const std::string said = Words(expanded.result.problem) + Words(expanded.result.remark);
            EXPECT_NE(said.find(c.words), said.npos) << c.name << ": " << said;
            EXPECT_EQ(said.empty(), c.words.empty()) << c.name << ": " << said;
            if (c.end == kDone) {
                EXPECT_EQ(expanded.plain.size(), c.size) << c.name;
                EXPECT_EQ(expanded.result.sizeBytes, c.size) << c.name;
            }
        }
    }
    EXPECT_EQ(Expand(Bytes(4096, 'x')).result.end, kFailed);
    EXPECT_EQ(Expand({}).result.end, kFailed);
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
        EXPECT_EQ(expanded.result.end != ExpandEnd::Done, !expanded.result.problem.isNone());
        // A damaged count may tell of none, or of more.
        be64 told;
        std::copy_n(image.end() - 20, sizeof told, reinterpret_cast<std::uint8_t*>(&told));
        if (told != 0) {
            EXPECT_LE(expanded.plain.size(), told * 512);
        }
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

}  // namespace
}  // namespace vellmark
