// Compressed disk images, made here and damaged here, and what their expansion is put together
// from.
#include <gtest/gtest.h>

#include <filesystem>

#include "IO/disk_image.hpp"
#include "IO/disk_image_maker.hpp"
#include "IO/disk_image_tables.hpp"
#include "support/sentences.hpp"

namespace vellmark::testing {
namespace {

struct Expanded {
    ExpandResult result;
    Bytes plain;
};

Expanded Expand(const Bytes& image, const ExpandOptions& options = {}) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/plain";
    MemoryBytes source(image);
    RecordedProgress progress;
    PcFile target(path, PcFile::Mode::CreateNew);
    const ExpandResult result = ExpandImage(source, target, progress, options);
    // A wrong count can make it as long as it likes.
    return {result, target.size() > 1U << 24 ? Bytes() : ReadFile(path)};
}

void ExpectFailed(const ExpandResult& result, std::string_view words) {
    EXPECT_EQ(result.end, ExpandEnd::Failed) << words;
    EXPECT_NE(Words(result.problem).find(words), std::string::npos)
        << words << ": " << result.problem;
}

// Three tables with sections between them that are none, and a block longer than the memory.
TEST(ExpandImage, EveryKindOfBlockInSeveralTablesWithAnyNumberOfThreads) {
    ImageMaker maker;
    Bytes expected;
    std::uint32_t seed = 1;
    for (const std::size_t most : {13u, 9001u, 70u}) {
        std::vector<MadeBlock> blocks;
        const std::size_t start = expected.size();
        for (const std::uint32_t type :
             {kRawBlock, kAdcBlock, kZlibBlock, kBzip2Block, kLzmaBlock}) {
            const bool isLong = type == kRawBlock || type == kZlibBlock;
            const Bytes plain = Sectors(isLong ? most : 13, ++seed);
            blocks.push_back(BlockOf(type, plain));
            blocks.push_back({kCommentBlock, 0});
            blocks.push_back({kZeroBlock, seed});
            expected = expected + plain + Bytes(seed * 512);
        }
        const std::uint32_t crc = ImageMaker::Crc(Slice(expected, start, expected.size()));
        blocks.push_back({kIgnoredBlock, 7});  // free sectors do not count
        expected = expected + Bytes(7 * 512);
        maker.table(blocks, crc).section("bm90IGEgdGFibGU=").section("");
    }
    for (const unsigned threads : {1U, 2U, 4U}) {
        const Expanded expanded = Expand(maker.make(), {.verify = true, .threads = threads});
        EXPECT_EQ(expanded.result.end, ExpandEnd::Done) << expanded.result.problem;
        EXPECT_FALSE(expanded.result.remark);
        EXPECT_EQ(expanded.result.checksumsCompared, 5);
        EXPECT_TRUE(expanded.plain == expected) << threads;
    }
}

TEST(ExpandImage, WhatEndsAnImageAndWhatIsWrongWithOne) {
    const MadeBlock good = BlockOf(kZlibBlock, Sectors(4, 1));
    const MadeBlock next = BlockOf(kLzmaBlock, Sectors(4, 2));
    const auto cut = [](std::uint32_t type) {
        MadeBlock block = BlockOf(type, Sectors(4, 2));
        block.stored.resize(block.stored.size() / 2 - 1);
        return block;
    };
    const auto damaged = [](std::uint32_t type) { return MadeBlock{type, 4, Bytes(40, 0xFF)}; };
    const auto sized = [](std::uint32_t type, std::uint64_t sectors) {
        return MadeBlock{type, sectors, Stored(type, Sectors(4, 2))};
    };
    const auto placed = [](MadeBlock block, std::uint64_t position) {
        block.position = position;
        return block;
    };
    constexpr std::uint64_t kUnsized = 0;
    const struct {
        std::size_t size;        // of the plain image; 1: it fails
        std::string_view words;  // of the reason, or of a remark
        std::vector<std::vector<MadeBlock>> tables;
        std::optional<std::uint64_t> sectors = {};
        std::uint32_t version = 4;
    } cases[] = {
        {0, "", {{}}},
        {1, "holds no block table", {}},
        {1, "allows no block table", {{good}}, kUnsized, 0},
        {2048, "", {{good}, {next}}, kUnsized, 1},  // the version caps the tables
        {1, "is of a type that is not known (8", {{good, {0x80000003, 1}}}},
        {1, "compressed with LZFSE", {{good, {0x80000007, 1}}}},
        {1, "block 2 of table 1 (zlib): its compressed data is dam", {{good, damaged(kZlibBlock)}}},
        {1, "block 1 of table 1 (zlib): its compressed data is cut", {{cut(kZlibBlock)}}},
        {1, "expands to more than it says", {{sized(kZlibBlock, 3)}}},
        {2560, "Fewer bytes than they say", {{sized(kZlibBlock, 5)}}},
        {1, "table 2 (bzip2): its compressed data is damaged", {{good}, {damaged(kBzip2Block)}}},
        {1, "cut short", {{cut(kBzip2Block)}}},
        {1, "(LZMA): its compressed data is damaged", {{damaged(kLzmaBlock)}}},
        {1, "cut short", {{cut(kLzmaBlock)}}},
        {1, "(Apple Data Compression): its compressed data is cut", {{cut(kAdcBlock)}}},
        {1, "expands to more", {{sized(kAdcBlock, 3)}}},
        {1, "is damaged", {{{kAdcBlock, 1, {0x80, 'a', 0x00, 0x01}}}}},  // from before the block
        {1, "data lies outside", {{{kZlibBlock, 4, good.stored, {}, ~0ULL - 9, 9}}}},
        {1, "(raw): its data lies outside", {{sized(kRawBlock, 1 << 20)}}},
        {4096, "", {{placed(next, 4), placed(good, 0)}}},
        {1, "goes beyond the 4 sectors", {{placed(next, ~0ULL - 1)}}},
        {1, "block 2 of table 1 (LZMA): it goes where an ea", {{good, placed(next, 3)}}, 9},
        {1, "block 1 of table 2 (zeros): i", {{placed(next, 5)}, {{kZeroBlock, 4}}}, 9},
        {1, "more sectors than any disk has", {{good}}, 1ULL << 60},
        {5120, "leave out 6 of its 10 sectors", {{good}}, 10}};
    for (const auto& c : cases) {
        ImageMaker maker;
        maker.sectorCount = c.sectors;
        maker.version = c.version;
        for (const auto& blocks : c.tables)
            maker.table(blocks);
        const Expanded expanded = Expand(maker.make());
        if (c.size == 1) {
            ExpectFailed(expanded.result, c.words);
            continue;
        }
        const std::string remark = Words(expanded.result.remark);
        EXPECT_TRUE(c.words.empty() ? remark.empty() : remark.find(c.words) != remark.npos)
            << c.words << ": " << remark;
        EXPECT_EQ(expanded.result.end, ExpandEnd::Done) << expanded.result.problem;
        EXPECT_EQ(expanded.result.sizeBytes, c.size) << c.words;
        EXPECT_EQ(expanded.result.isIncomplete, !c.words.empty()) << c.words;
        // Blocks go to their own places, not one behind the other.
        const Bytes expected = Sectors(4, 1) + Sectors(4, 2);
        EXPECT_TRUE(!c.words.empty() || expanded.plain == Slice(expected, 0, c.size)) << c.words;
    }
    ExpectFailed(Expand(ImageMaker().table({good}, 0, false).make()).result,
                 "Table 1 ends without an end mark, behind 1 bl");
    ImageMaker far;
    far.firstSector = ~0ULL - 1;
    ExpectFailed(Expand(far.table({good}).make()).result, "goes beyond the 4 sectors");
    ImageMaker foreign;
    foreign.sectorCount = kUnsized;
    foreign.table({good}).section("Zm9yayBvZiBhIHJlc291cmNl").table({good});
    ExpectFailed(Expand(foreign.make()).result, "Section 2 of its property list is no block table");
    for (const auto& [field, value, words] :
         {std::tuple{224u, 1ULL << 40, "property list outside the file"},
          {32u, 1ULL, "does not stand directly behind its data"}}) {
        Bytes lying = ImageMaker().table({good}).make();
        Put(lying, lying.size() - 512 + field, be64(value));
        ExpectFailed(Expand(lying).result, words);
    }
    ExpectFailed(Expand(Bytes(4096, 'x')).result, "");
}

TEST(ExpandImage, ChecksumsAreComparedOnRequestAlone) {
    const MadeBlock block = BlockOf(kZlibBlock, Sectors(4, 1));
    const Bytes right = ImageMaker().table({block}, ImageMaker::Crc(Sectors(4, 1))).make();
    Bytes wrongData = right;
    wrongData[wrongData.size() - 512 + 88] ^= 1;
    Bytes wrongMaster = right;
    wrongMaster[wrongMaster.size() - 512 + 360] ^= 1;
    for (const auto& [image, words] :
         {std::pair{ImageMaker().table({block}, 0x1234).make(), "Table 1 has the checksum"},
          {wrongData, "of its stored data"},
          {wrongMaster, "the checksums of its tab"}}) {
        EXPECT_EQ(Expand(image).result.end, ExpandEnd::Done);
        ExpectFailed(Expand(image, {.verify = true}).result, words);
    }
    ImageMaker others;
    others.checksumKind = 4;
    const Bytes image = others.table({block}, 0x1234).make();
    EXPECT_EQ(Words(Expand(image, {.verify = true}).result.remark),
              "3 of its checksums are of a kind that is not compared.");
}

// Runs that touch are one; no more separate ones are kept than a whole disk has.
TEST(SectorRuns, AreAsManyAsTheMemoryMayHold) {
    SectorRuns runs;
    for (std::uint64_t i = 0; i < 65'536; ++i)
        ASSERT_FALSE(runs.add(3 * i, 2)) << i;
    EXPECT_EQ(runs.add(3 * 65'536, 1).sentence(), Sentence::kBlocksScattered);
    EXPECT_FALSE(runs.add(2, 1)) << "it joins the first two";
    EXPECT_EQ(runs.add(4, 1).sentence(), Sentence::kBlockOverEarlier);
    EXPECT_FALSE(runs.add(3 * 65'536, 1));
}

// Literals, two matches of three bytes, whose second begins at an even place and has an `a` at its
// distance again, and one of two bytes, of the first three letters.
TEST(ExpandImage, ATablesChecksumTellsWhatAnOverlappingMatchMeans) {
    const Bytes stored = {0x81, 'a', 'b', 0x7F, 0x00, 0x01, 0x7F, 0x00, 0x01, 0x00, 0x87};
    Bytes filled(512), pattern(512);
    for (std::size_t i = 0; i < 139; ++i) {
        filled[i] = i == 1 || i == 137 ? 'b' : 'a';
        pattern[i] = i % 2 == 0 ? 'a' : 'b';
    }
    const MadeBlock block = {kAdcBlock, 1, stored};
    for (const auto& [crc, expected] : {std::pair{0u, &filled},
                                        {1u, &filled},
                                        {ImageMaker::Crc(filled), &filled},
                                        {ImageMaker::Crc(pattern), &pattern}})
        EXPECT_TRUE(Expand(ImageMaker().table({block}, crc).make()).plain == *expected) << crc;
}

TEST(ExpandImageFile, EndsAsItsCallersKnow) {
    const TemporaryFolder folder;
    const std::string out = folder.path() + "/out.img";
    Bytes boot(1024);
    Put(boot, 510, be16(0x55AA));
    boot[450] = 0xEE;
    const Bytes good = ImageMaker().table({BlockOf(kZlibBlock, Sectors(4, 1))}).make();
    // The first block is raw, and what a disk begins with.
    const Bytes rawFirst = ImageMaker().table({BlockOf(kRawBlock, boot)}).make();
    RecordedProgress progress;
    for (const auto& [bytes, end] : {std::pair{Bytes(2048), ExpandEnd::NotBegun},
                                     {boot, ExpandEnd::Failed},
                                     {boot + good, ExpandEnd::Failed},
                                     {rawFirst, ExpandEnd::Done},
                                     {good, ExpandEnd::Done}}) {
        const std::string in = MakeFile(folder, "in", bytes);
        const ExpandResult result = ExpandImageFile(in, out, progress);
        EXPECT_EQ(result.end, end);
        EXPECT_EQ(Words(result.problem).starts_with(in), end != ExpandEnd::Done) << result.problem;
        EXPECT_EQ(std::filesystem::remove(out), end == ExpandEnd::Done);
    }
    MemoryBytes source(good);
    PcFile full("/dev/full", PcFile::Mode::ReadWrite);
    ExpectFailed(ExpandImage(source, full, progress), "cannot be written: No space left");
}

}  // namespace
}  // namespace vellmark::testing
