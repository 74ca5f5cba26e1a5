// Whatever bytes there are, and whatever structure they are taken for, something is shown or a
// reason given.
#include <fmt/format.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "containers/codec_bench.hpp"
#include "inspect/inspect_bench.hpp"
#include "inspect/resource_pictures.hpp"
#include "inspect/resource_texts.hpp"
#include "inspect/structure_reader.hpp"
#include "inspect/tree_listing.hpp"

namespace vellmark {
namespace {

using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::CountedSource;
using testing::operator+;
using Code = StructureCode;

// An image in a file, which volumes and maps are looked for in.
class ForcedTest : public ::testing::Test {
  protected:
    // Tests of this room run side by side.
    ForcedTest() : path_(::testing::TempDir() + fmt::format("forced-{}.img", ::getpid())) {}
    ~ForcedTest() override { std::filesystem::remove(path_); }

    void take(const Bytes& bytes) {
        auto file = std::make_shared<PcFile>(path_, PcFile::Mode::CreateTruncate);
        ASSERT_TRUE(file->writeAt(0, bytes));
        image_ = std::make_unique<InspectedImage>(file);
        whole_ = InspectWhole(file);
    }
    Result<Analysis> show(Code as, std::uint64_t sector = 0) {
        return AnalyseSector(*image_, whole_, {sector, as, Language::English});
    }
    std::string valueOf(Code as, std::string_view key, std::uint64_t sector = 0) {
        const auto analysis = show(as, sector);
        for (const AnalysedPage& page : analysis->pages)
            for (const AnalysedField& field : page.fields)
                if (field.key == key) {
                    std::string text = field.value;
                    for (const SectorLink& link : field.links)
                        text += " " + link.name + ">" + std::to_string(link.sector);
                    return text;
                }
        return "none";
    }
    std::vector<std::string> rowsOf(Code as, std::uint64_t sector = 0) {
        std::vector<std::string> rows;
        const auto analysis = show(as, sector);
        for (const AnalysedPage& page : analysis->pages)
            if (page.list)
                for (const AnalysedRow& row : page.list->rows) {
                    rows.emplace_back();
                    for (const std::string& cell : row.cells)
                        rows.back() += cell + "|";
                    rows.back() += row.link ? std::to_string(row.link->sector) : "";
                }
        return rows;
    }

    std::string path_;
    std::unique_ptr<InspectedImage> image_;
    InspectedBytes whole_;
};

void Put(Bytes& bytes, std::size_t at, const Bytes& what) {
    std::copy(what.begin(), what.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}
Bytes Le(std::uint64_t value, int width) {
    Bytes bytes = Be(value, width);
    std::reverse(bytes.begin(), bytes.end());
    return bytes;
}

TEST_F(ForcedTest, RandomBytesAreShownAsEveryStructure) {
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        testing::Noise noise(seed);
        Bytes bytes = noise.bytes(512 * (1 + seed % 90) + seed % 3);
        // In some of them most bytes are small, as counts and links of real structures are.
        if (seed % 2 == 1)
            for (std::uint8_t& byte : bytes)
                byte = noise.next() % 8 == 0 ? byte : static_cast<std::uint8_t>(byte % 3);
        take(bytes);
        for (unsigned code = 1; code < kStructureCodes; ++code)
            for (const std::uint64_t sector : {std::uint64_t{0}, std::uint64_t{seed % 90}}) {
                const auto analysis = show(static_cast<Code>(code), sector);
                ASSERT_TRUE(analysis) << seed << " " << code;
                EXPECT_FALSE(analysis->pages.empty()) << seed << " " << code;
            }
        bytes[8] = 1;
        take(bytes);
        auto listing = TreeListing::Open(*image_, whole_, 0);
        for (int pages = 0; listing && !listing->next(10).empty(); ++pages)
            ASSERT_LT(pages, 100) << seed;
        for (const std::string_view type :
             {"ICON", "ICN#", "ics#", "icl4", "icl8", "ics4", "ics8", "cicn"})
            (void)DecodePicture(type, std::span(bytes).first(bytes.size() % 2000), bytes);
        for (const std::string_view type : {"STR ", "STR#", "vers", "TEXT"})
            (void)DecodeTexts(type, bytes);
    }
    EXPECT_EQ(show(Code::Unknown, 1000).error().sentence(), Sentence::kSectorNotThere);
    EXPECT_EQ(show(Code::Unknown, ~std::uint64_t{0}).error().sentence(), Sentence::kSectorNotThere);
    take(Bytes(512));
    EXPECT_EQ(show(Code::Unknown).error().told(), 3200);
}

TEST_F(ForcedTest, AListingEndsWhereNodesLeadInACircle) {
    // Header, then two inner nodes that name each other, themselves and one outside.
    Bytes bytes(512 * 4);
    Put(bytes, 8, Be(0x01000003, 4));
    Put(bytes, 14, Be(2, 2) + Be(1, 4));
    Put(bytes, 32, Be(512, 2) + Be(37, 2));
    for (const std::uint32_t node : {1U, 2U}) {
        Bytes records;
        Bytes offsets;
        for (const std::uint32_t child : {3 - node, node, 0U, 77U}) {
            offsets = Be(14 + records.size(), 2) + offsets;
            records = records + Be(0x0600, 2) + Be(child + 5, 4) + Be(0, 2) + Be(child, 4);
        }
        offsets = Be(14 + records.size(), 2) + offsets;
        Put(bytes, 512 * node + 8, Be(0x00020004, 4));
        Put(bytes, 512 * node + 14, records);
        Put(bytes, 512 * (node + 1) - offsets.size(), offsets);
    }
    take(bytes);
    auto listing = TreeListing::Open(*image_, whole_, 0);
    ASSERT_TRUE(listing);
    const std::vector<ListedNode> nodes = listing->next(100);
    ASSERT_EQ(nodes.size(), 3U);
    EXPECT_EQ(nodes[0].kind, 1);
    EXPECT_EQ(Words(nodes[1].line()),
              "Node 1: inner node [00000007] - Node 1 is in the tree a second time and is left out "
              "there.");
    EXPECT_EQ(nodes[1].depth, 0U);
    EXPECT_EQ(nodes[2].sector, 2U);
    EXPECT_TRUE(listing->next(1).empty());
    EXPECT_EQ(rowsOf(Code::IndexNode, 1)[0], "Thread 00000007|7|2|");
    // In a fork of several pieces the sectors of the image are others.
    whole_.imageOffset = [](std::uint64_t offset) { return 4096 - offset; };
    EXPECT_EQ(valueOf(Code::TreeHeader, "root"), "1 go_racine>7");
    bytes[9 + 512] = 9;
    Put(bytes, 8, Be(0x02000003, 4));
    take(bytes);
    EXPECT_FALSE(TreeListing::Open(*image_, whole_, 0));
}

// No volume names the tree: the size of the node shows by the offsets at its end, and the format by
// the first key.
TEST_F(ForcedTest, ALeafThatNoVolumeNames) {
    const auto key = [](std::string_view name) {
        Bytes units;
        for (const char letter : name)
            units = std::move(units) + Be(static_cast<unsigned char>(letter), 2);
        return Be(6 + units.size(), 2) + Be(9, 4) + Be(name.size(), 2) + units;
    };
    Bytes file = Be(2, 2) + Bytes(6) + Be(300, 4) + Bytes(76) + Be(70, 8) + Bytes(152);
    Put(file, 168 + 16, Be(33, 4) + Be(1, 4));  // the first run of the resource fork
    Bytes folder = Be(1, 2) + Bytes(2) + Be(4, 4) + Be(301, 4) + Bytes(76);
    const std::vector<Bytes> records = {key("ab") + file, key("b") + folder, key("") + Be(3, 2),
                                        key("c") + Be(7, 2), key("d") + Be(2, 2)};
    Bytes node = Bytes(8) + Be(0xFF010005, 4) + Bytes(2);
    Bytes offsets;
    for (const Bytes& record : records) {
        offsets = Be(node.size(), 2) + offsets;
        node = std::move(node) + record;
    }
    offsets = Be(node.size(), 2) + offsets;
    node.resize(4096);
    Put(node, node.size() - offsets.size(), offsets);
    take(Bytes(512) + node);
    ASSERT_EQ(rowsOf(Code::Unknown, 1),
              (std::vector<std::string>{"ab|300|70|33|", "b|301|[4]||", "Thread 00000009|9|||",
                                        "***||||", "***||||"}));
    EXPECT_EQ(show(Code::Unknown, 1)->pages[1].list->rows[1].bytes.offset, 14 + records[0].size());
    // Keys of the other trees keep their number behind the fork.
    const Bytes extents = {0, 10, 0xFF, 0, 0, 0, 0, 7, 0, 0, 0, 1};
    EXPECT_EQ(KeyNumber(extents, {true, TreeRole::Extents}), 7U);
    EXPECT_EQ(KeyNumber(Bytes{7, 0, 0, 0, 0, 8, 0, 1}, {false, TreeRole::Extents}), 8U);
}

TEST_F(ForcedTest, BootRecordsAndGuidTables) {
    Bytes bytes(512 * 6);
    const auto entry = [](int type, std::uint32_t first, std::uint32_t count) {
        return Bytes(4) + Bytes{static_cast<std::uint8_t>(type), 0, 0, 0} + Le(first, 4) +
               Le(count, 4);
    };
    Put(bytes, 446, entry(0x0C, 63, 1000) + entry(0x99, 17, 16) + entry(7, 0, 5) + entry(5, 9, 9));
    Put(bytes, 510, {0x55, 0xAA});
    const Bytes guid = {0x28, 0x73, 0x2A, 0xC1, 0x1F, 0xF8, 0xD2, 0x11,
                        0xBA, 0x4B, 0x00, 0xA0, 0xC9, 0x3E, 0xC9, 0x3B};
    Put(bytes, 512,
        BytesOf("EFI PART") + Le(0x00010000, 4) + Le(92, 4) + Bytes(8) + Le(1, 8) + Le(40, 8) +
            Le(34, 8) + Le(99, 8) + guid + Le(2, 8) + Le(4, 4) + Le(256, 4));
    Put(bytes, 1024 + 256, guid + guid + Le(40, 8) + Le(60, 8) + Bytes(8) + BytesOf({"E\0F\0", 4}));
    take(bytes);
    EXPECT_EQ(valueOf(Code::Unknown, "signature"), "0xAA55");
    EXPECT_EQ(rowsOf(Code::Unknown),
              (std::vector<std::string>{"FAT32 Partition|63 (0x3f)|1000 (0x3e8)|63",
                                        "???? (0x99)|17 (0x11)|16 (0x10)|17"}));
    EXPECT_EQ(valueOf(Code::GptHeader, "signature", 1), "EFI PART");
    EXPECT_EQ(valueOf(Code::GptHeader, "revision", 1), "0001.0000");
    EXPECT_EQ(valueOf(Code::GptHeader, "disk", 1), "{c12a7328-f81f-11d2-BA4B-00A0C93EC93B}");
    EXPECT_EQ(valueOf(Code::GptHeader, "entries", 1), "2 go_racine>2");
    // The size of an entry is that of the header; empty entries are left out.
    EXPECT_EQ(show(Code::GptEntries, 2)->pages.size(), 1U);
    EXPECT_EQ(valueOf(Code::GptEntries, "firstSector", 2), "40 lab2>40");
    EXPECT_EQ(valueOf(Code::GptEntries, "lastSector", 2), "60 lab2_last>60");
    EXPECT_EQ(valueOf(Code::GptEntries, "name", 2), "EF");
    EXPECT_EQ(valueOf(Code::GptEntries, "typeName", 2), "EFI System Partition");
}

TEST_F(ForcedTest, BootSectorsOfBothForms) {
    Bytes bytes(512 * 3);
    Put(bytes, 512,
        Bytes{0xEB, 0x3C, 0x90} + BytesOf("MSDOS5.0") + Le(1024, 2) + Bytes{4} + Le(2, 2) +
            Bytes{2} + Le(512, 2) + Le(0, 2) + Bytes{0xF8} + Le(9, 2) + Le(63, 2) + Le(16, 2) +
            Le(63, 4) + Le(70'000, 4));
    Put(bytes, 512 + 36, Bytes{0x80, 0, 0x29} + Le(0x12ABCDEF, 4) + BytesOf("VOLUME     FAT16   "));
    Put(bytes, 1022, {0x55, 0xAA});
    take(bytes);
    EXPECT_EQ(show(Code::Unknown, 1)->code, Code::BootSector);
    EXPECT_EQ(valueOf(Code::Unknown, "sectorCount", 1), "70000");
    EXPECT_EQ(valueOf(Code::Unknown, "fatSize", 1), "9");
    EXPECT_EQ(valueOf(Code::Unknown, "root", 1), "41 go_racine>41") << "1 + 2 * (2 + 2 * 9)";
    EXPECT_EQ(valueOf(Code::Unknown, "serial", 1), "0x12abcdef");
    EXPECT_EQ(valueOf(Code::Unknown, "label", 1), "VOLUME");
    EXPECT_EQ(valueOf(Code::Unknown, "medium", 1), "0xf8");
    Put(bytes, 512 + 22, Le(0, 2));
    Put(bytes, 512 + 36, Le(300, 4) + Le(0, 4) + Le(5, 4));
    Put(bytes, 512 + 64, Bytes{0x81, 0, 0x29} + Le(7, 4) + BytesOf("OTHER      FAT32   "));
    take(bytes);
    EXPECT_EQ(valueOf(Code::Unknown, "fatSize", 1), "300");
    EXPECT_EQ(valueOf(Code::Unknown, "root", 1), "1229 go_racine>1229")
        << "1 + 2 * (2 + 2 * 300 + 3 * 4)";
    EXPECT_EQ(valueOf(Code::Unknown, "drive", 1), "129");
    EXPECT_EQ(valueOf(Code::Unknown, "fatType", 1), "FAT32");
}

TEST_F(ForcedTest, ContainersLeadToTheirForks) {
    Bytes bytes(512 * 20);
    Put(bytes, 1, Bytes{3} + BytesOf("abc"));
    Put(bytes, 65, BytesOf("TEXTttxt"));
    Put(bytes, 83, Be(1000, 4) + Be(5, 4));
    Put(bytes, 120, Be(100, 2));
    Put(bytes, 1024,
        Be(0x00051600, 4) + Be(0x00020000, 4) + Bytes(16) + Be(2, 2) + Be(1, 4) + Be(4096, 4) +
            Be(3, 4) + Be(2, 4) + Be(600, 4) + Be(9, 4));
    take(bytes);
    EXPECT_EQ(valueOf(Code::MacBinary, "name"), "abc");
    EXPECT_EQ(valueOf(Code::MacBinary, "signature"), "TEXTttxt");
    EXPECT_EQ(valueOf(Code::MacBinary, "resourcePosition"), "1280 GoR>2") << "128 + 128 + 1024";
    EXPECT_EQ(valueOf(Code::AppleSingle, "dataPosition", 2), "4096 GoD>10");
    EXPECT_EQ(valueOf(Code::AppleDouble, "resourcePosition", 2), "600 GoR>3");
    EXPECT_EQ(valueOf(Code::AppleDouble, "dataPosition", 2), "none");
}

TEST(ResourceDecodingTest, PicturesAndTexts) {
    constexpr std::uint32_t kBlack = 0xFF000000;
    constexpr std::uint32_t kWhite = 0xFFFFFFFF;
    Bytes icon(256);
    icon[0] = 0x80;
    icon[128] = 0xC0;
    const auto plain = DecodePicture("ICON", icon);
    ASSERT_TRUE(plain);
    EXPECT_EQ(plain->pixels.size(), 1024U);
    EXPECT_EQ(plain->pixels[0], kBlack);
    EXPECT_EQ(plain->pixels[2], kWhite);
    const auto masked = DecodePicture("ICN#", icon);
    EXPECT_EQ(masked->pixels[0], kBlack);
    EXPECT_EQ(masked->pixels[1], kWhite);
    EXPECT_EQ(masked->pixels[2], 0U);
    EXPECT_FALSE(DecodePicture("ICN#", std::span(icon).first(255)));
    Bytes colours(1024);
    colours[0] = 215;  // the first of the ramp of red; the last of the cube is 00 00 33
    colours[1] = 214;
    EXPECT_EQ(DecodePicture("icl8", colours)->pixels[0], 0xFF0000EE);
    EXPECT_EQ(DecodePicture("icl8", colours)->pixels[1], 0xFF330000);
    EXPECT_EQ(DecodePicture("icl8", colours, icon)->pixels[2], 0U);
    EXPECT_EQ(DecodePicture("icl4", Bytes(512, 0x3F))->pixels[0], 0xFF0608DD);
    EXPECT_EQ(DecodePicture("icl4", Bytes(512, 0x3F))->pixels[1], kBlack);
    // Two pixels of two bits, of which the mask shows the second; a table of two colours.
    const Bytes bounds = Be(0, 4) + Be(1, 2) + Be(2, 2);
    const Bytes cicn = Bytes(4) + Be(0x8002, 2) + bounds + Bytes(18) + Be(2, 2) + Bytes(16) +
                       Bytes(4) + Be(2, 2) + bounds + Bytes(4) + Be(2, 2) + bounds + Bytes(4) +
                       Bytes{0x40, 0} + Bytes{0xC0, 0} + Bytes(6) + Be(1, 2) + Be(3, 2) +
                       Be(0x1234, 2) + Be(0x5678, 2) + Be(0x9ABC, 2) + Bytes(8) + Bytes{0x30, 0};
    const auto small = DecodePicture("cicn", cicn);
    ASSERT_TRUE(small);
    EXPECT_EQ(small->pixels, (std::vector<std::uint32_t>{0, 0xFF9A5612}));
    EXPECT_FALSE(DecodePicture("cicn", std::span(cicn).first(cicn.size() - 1)));
    EXPECT_FALSE(DecodePicture("PICT", cicn));

    using Texts = std::vector<std::string>;
    EXPECT_EQ(DecodeTexts("STR ", BytesOf("\x03h\x8Ello")), (Texts{"hél"}));
    EXPECT_EQ(DecodeTexts("STR ", BytesOf("\x06hallo")), std::nullopt);
    EXPECT_EQ(DecodeTexts("STR#", Bytes{0, 2, 1, 'a', 0}), (Texts{"a", ""}));
    EXPECT_EQ(DecodeTexts("STR#", Bytes{0, 2, 1, 'a'}), std::nullopt);
    EXPECT_EQ(DecodeTexts("vers", Bytes(6) + Bytes{1, '1', 2, 'o', 'k'}), (Texts{"1", "ok"}));
    EXPECT_EQ(DecodeTexts("TEXT", BytesOf("a\rb\r\nc\x01")), (Texts{"a\nb\nc\uFFFD"}));
}

}  // namespace
}  // namespace vellmark
