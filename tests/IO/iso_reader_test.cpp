#include "IO/iso_reader.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include "IO/iso_coverage.hpp"
#include "IO/iso_image.hpp"

namespace vellmark::testing {
namespace {

// The disc and its reader.
struct Disc {
    explicit Disc(Bytes bytes) : image(std::move(bytes)), reader(IsoReader::Open(image)) {}
    // The entries of the root in their order: name, marks of what they are, place and size.
    std::string listRoot() {
        const auto entries = reader->list(IsoTree::Iso, reader->root(IsoTree::Iso));
        std::string text;
        for (const IsoEntry& entry : *entries)
            text += entry.name + (entry.isFolder ? "/" : "") + (entry.hidden ? "?" : "") +
                    (entry.associated ? "!" : "") + "@" + std::to_string(entry.extentSector) + "+" +
                    std::to_string(entry.sizeBytes) + " ";
        return text;
    }
    std::string read(const IsoEntry& entry) {
        IsoFileSource source(image, entry);
        std::string text(entry.sizeBytes, '?');
        text.resize(source.readAt(0, {reinterpret_cast<std::uint8_t*>(text.data()), text.size()}));
        return text;
    }
    MemoryBytes image;
    std::optional<IsoReader> reader;
};

TEST(IsoReader, TellsWhatTheDescriptorsSayAndListsBothTrees) {
    Bytes bytes = SmallDisc();
    for (const std::size_t at : {190u, 446u, 574u, 702u, 739u, 776u})
        PutText(bytes, kPrimaryAt + at, "at " + std::to_string(at) + "  ");
    Disc disc(bytes);
    const IsoVolumeInfo& iso = disc.reader->info(IsoTree::Iso);
    EXPECT_EQ(iso.volumeId + "|" + iso.systemId + "|" + iso.volumeSetId + "|" + iso.publisher +
                  "|" + iso.preparer + "|" + iso.application + "|" + iso.copyrightFile + "|" +
                  iso.abstractFile + "|" + iso.bibliographicFile + "|" + iso.created + "|" +
                  iso.modified,
              "VOLUME ID|SYSTEM|at 190|THE PUBLISHER|at 446|at 574|at 702|at 739|at 776|"
              "2024-03-01 12:30:00.00 -02:00|")
        << "all zeros are no date";
    EXPECT_EQ(iso.createdAt, 1'709'303'400);  // date -u -d '2024-03-01 14:30:00' +%s
    const IsoVolumeInfo& joliet = disc.reader->info(IsoTree::Joliet);
    EXPECT_EQ(joliet.volumeId, "Volume \u00E9 \u65E5");
    EXPECT_EQ(joliet.createdAt, 0);
    EXPECT_EQ(joliet.modifiedAt, 1'709'303'400);
    EXPECT_EQ(disc.listRoot(),
              "FOLDER/@20+2048 NODOT?@23+5 READ.ME!@25+3 READ.ME@23+5 TWO.BIN@24+2055 ");
    const IsoEntry hidden = disc.reader->find(IsoTree::Iso, "NODOT").value().value();
    EXPECT_EQ(hidden.modified, 981'169'506);  // date -u -d '2001-02-03 03:05:06' +%s
}

TEST(IsoReader, NeedsAPrimaryDescriptor) {
    for (const auto& [offset, value, opens, joliet] :
         {std::tuple{kPrimaryAt + 1, 'X', false, false},
          {kPrimaryAt, '\x07', false, false},
          {kPrimaryAt + 128, '\x01', false, false},
          {kJolietAt + 1, 'X', true, false},
          {kJolietAt + 90, 'B', true, false},
          {kJolietAt + 90, '@', true, true}}) {
        Bytes bytes = SmallDisc();
        bytes[18 * kDiscSector + 1] = offset == kPrimaryAt ? 'X' : 'C';
        bytes[offset] = static_cast<std::uint8_t>(value);
        Disc disc(bytes);
        ASSERT_EQ(disc.reader.has_value(), opens) << offset;
        EXPECT_EQ(disc.reader && disc.reader->hasJoliet(), joliet) << offset;
    }
    EXPECT_FALSE(Disc(Bytes(17 * kDiscSector - 1)).reader);
}

TEST(IsoReader, JoinsTheExtentsOfAFile) {
    Disc disc(SmallDisc());
    IsoEntry file = disc.reader->find(IsoTree::Iso, "TWO.BIN").value().value();
    EXPECT_EQ(disc.read(file).substr(2046), "\xFE\xFFhello, ");
    IsoFileSource source(disc.image, file);
    for (const auto& [at, expected] :
         {std::pair{std::uint64_t{2047}, "\xFFhel"}, {2054, " "}, {~std::uint64_t{0}, ""}}) {
        Bytes piece(4);
        piece.resize(source.readAt(at, piece));
        EXPECT_EQ(piece, BytesOf(expected)) << at;
    }
    file.interleaved = true;
    EXPECT_EQ(disc.read(file), "");
}

TEST(IsoReader, FindsPaths) {
    Disc disc(SmallDisc());
    for (const auto& [tree, path, contents] :  // "-" when there is no such entry
         {std::tuple{IsoTree::Iso, "/read.me;1", "hello"},
          {IsoTree::Iso, "Nodot", "hello"},
          {IsoTree::Iso, "NODOT.;1", "hello"},
          {IsoTree::Iso, "folder//deep.txt", "hello"},
          {IsoTree::Iso, "read.me/deep", "-"},
          {IsoTree::Iso, "..", "-"},
          {IsoTree::Joliet, "read me", "for"},
          {IsoTree::Joliet, "READ ME", "hello"},
          {IsoTree::Joliet, "F\u00D3LDER/deep.txt", "-"},
          {IsoTree::Joliet, "f\u00F3lder/DEEP.TXT;1", "hello"}}) {
        const auto found = disc.reader->find(tree, path);
        ASSERT_TRUE(found) << "not there is no damage";
        EXPECT_EQ(*found ? disc.read(**found) : "-", contents) << path;
    }
    EXPECT_EQ((*disc.reader->find(IsoTree::Iso, "/"))->extentSector, 19u);
}

TEST(IsoReader, DamagedDirectoriesGiveASentenceThatNamesThem) {
    // The entry "FOLDER", the third record of the root, and the folder's first file.
    constexpr std::size_t kEntry = kIsoRootAt + 68;
    constexpr std::size_t kFile = kIsoFolderAt + 68;
    for (const auto& [offset, value, part] :
         {std::tuple{kEntry + 3, 1, "\"FOLDER\" lies outside the image"},
          {kEntry + 13, 0x80, "\"FOLDER\" claims a size of 2147485696 bytes"},
          {kFile, 33, "\"FOLDER\" has a record of 33 bytes at byte 68"},
          {kFile + 32, 12, "\"FOLDER\" has a record with a name of 12 bytes at byte 68"},
          {kFile + 25, 0x80, "\"FOLDER\" lacks the last part of \"DEEP.TXT\""},
          {kEntry + 25, 0, "The directory \"FOLDER\" is a file."},
          {kIsoRootAt, 5, "The root directory has a record of 5 bytes at byte 0 of a sector."}}) {
        Bytes bytes = SmallDisc();
        bytes[offset] = static_cast<std::uint8_t>(value);
        Disc disc(bytes);
        auto found = disc.reader->find(IsoTree::Iso, "FOLDER/DEEP.TXT");
        if (const auto file = disc.reader->find(IsoTree::Iso, "FOLDER"); found && file)
            EXPECT_EQ(Words(disc.reader->list(IsoTree::Iso, **file).error()), part);
        else
            EXPECT_NE(Words(found.error()).find(part), std::string::npos) << found.error();
    }
}

TEST(IsoReader, LogicalBlocksAndExtendedAttributesMoveTheContents) {
    Bytes bytes = SmallDisc();
    Put(bytes, kPrimaryAt + 128, both16(512));
    Put(bytes, kPrimaryAt + 158, both32(19 * 4));
    DiscFolder root(bytes, kIsoRootAt, 76, 76);
    bytes[root.add("FILE", 0, 23 * 4 - 2, 5) + 1] = 2;
    bytes[kIsoRootAt + 68 + 38] = 0;
    Disc disc(bytes);
    EXPECT_EQ(disc.listRoot(), "FILE@92+5 ");
    EXPECT_EQ(disc.read(disc.reader->find(IsoTree::Iso, "FILE").value().value()), "hello");
}

TEST(IsoText, DatesOutsideTheCalendarAreNone) {
    EXPECT_EQ(IsoDateToUnix({69, 12, 31, 23, 59, 59, -4}), 3599);
    // date -u -d '2155-12-31 23:59:59' +%s
    EXPECT_EQ(IsoDateToUnix({255, 12, 31, 23, 59, 59, 0}), 5'869'583'999);
    for (const IsoShortDate& date : {IsoShortDate{}, IsoShortDate{101, 2, 29, 0, 0, 0, 0},
                                     IsoShortDate{101, 1, 1, 24, 0, 0, 0}})
        EXPECT_EQ(IsoDateToUnix(date), 0);
}

TEST(IsoWalkGuard, EntersEachFolderOnceAndNotTooDeep) {
    IsoWalkGuard guard;
    IsoEntry folder;
    folder.extentSector = 19;
    EXPECT_TRUE(guard.enter(folder, 0));
    EXPECT_FALSE(guard.enter(folder, 1));
    folder.extentSector = 20;
    EXPECT_FALSE(guard.enter(folder, IsoWalkGuard::kMostLevels + 1));
    EXPECT_TRUE(guard.enter(folder, IsoWalkGuard::kMostLevels));
    // Bytes that share some with those of a folder before are entered no more.
    for (const auto& [first, end, isEntered] : {std::tuple{10u, 30u, true},
                                                {30u, 40u, true},
                                                {0u, 11u, false},
                                                {20u, 25u, false},
                                                {0u, 50u, false}}) {
        ++folder.extentSector;
        folder.extents = {{first, end - first}};
        EXPECT_EQ(guard.enter(folder, 0), isEntered) << first << " " << end;
    }
}

// What a hybrid disc's Macintosh side has to leave alone.
TEST(CoverIso, TakesTheTreesAndWhatTheDiscStartsFrom) {
    const auto covered = [](const Bytes& bytes) {
        MemoryBytes image(bytes);
        const IsoCoverage coverage = CoverIso(image);
        std::string text = coverage.isWhole ? "" : "not whole ";
        for (const ByteRange& range : coverage.ranges)
            text += std::to_string(range.offset / 2048) + "-" +
                    std::to_string(range.end - range.offset) + " ";
        return text;
    };
    Bytes disc = SmallDisc();
    EXPECT_EQ(covered(disc), "16-14343 24-2051 ");
    Put(disc, kPrimaryAt + 132, both32(10));
    Put(disc, kPrimaryAt + 140, le32(25));
    EXPECT_EQ(covered(disc), "16-14343 24-2058 ") << "a path table too";
    disc[kIsoFolderAt + 68] = 33;
    EXPECT_TRUE(covered(disc).starts_with("not whole 16-"));
    disc[kPrimaryAt] = 7;
    EXPECT_EQ(covered(disc), "");
    disc = SmallDisc();
    disc[kIsoFolderAt + 68 + 26] = 1;
    EXPECT_TRUE(covered(disc).starts_with("not whole 16-")) << "interleaved";
    // A catalog to start from (El Torito) in sector 25 names an image in sector 26, whose length
    // its medium tells, or what lies in it: a table of its own place, or partitions.
    disc = SmallDisc() + Bytes(3'000'000);
    disc[18 * kDiscSector] = 0;
    PutText(disc, 18 * kDiscSector + 7, "EL TORITO SPECIFICATION");
    Put(disc, 18 * kDiscSector + 71, le32(25));
    Put(disc, 25 * kDiscSector + 40, le32(26));
    Put(disc, 26 * kDiscSector + 12, le32(26));
    Put(disc, 26 * kDiscSector + 16, le32(5000));
    Put(disc, 26 * kDiscSector + 454, le32(7));
    Put(disc, 26 * kDiscSector + 458, le32(9));
    for (const auto& [mark, medium, sectors, bytes] : {std::tuple{0x88, 0, 4, 5000},
                                                       {0, 0, 20, 10'240},
                                                       {0x88, 1, 1, 1'228'800},
                                                       {0x88, 2, 1, 1'474'560},
                                                       {0x88, 0x13, 1, 2'949'120},
                                                       {0x88, 4, 1, 16 * 512},
                                                       {0x88, 5, 1, 2048}}) {
        disc[25 * kDiscSector + 32] = static_cast<std::uint8_t>(mark);
        disc[25 * kDiscSector + 33] = static_cast<std::uint8_t>(medium);
        Put(disc, 25 * kDiscSector + 38, le16(static_cast<std::uint16_t>(sectors)));
        EXPECT_EQ(covered(disc), "16-14343 24-" + std::to_string(4096 + bytes) + " ");
    }
    Put(disc, 18 * kDiscSector + 71, le32(99'999));
    EXPECT_TRUE(covered(disc).starts_with("not whole 16-")) << "nobody knows";
}

}  // namespace
}  // namespace vellmark::testing
