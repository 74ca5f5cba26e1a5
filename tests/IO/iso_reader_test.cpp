#include "IO/iso_reader.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <string_view>
#include <tuple>

#include "IO/iso_image.hpp"
#include "support/words.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

std::vector<std::string> NamesOf(const std::vector<IsoEntry>& entries) {
    std::vector<std::string> names;
    names.reserve(entries.size());
    for (const IsoEntry& entry : entries)
        names.push_back(entry.name);
    return names;
}

// The disc and its reader.
struct Disc {
    explicit Disc(Bytes bytes) : image(std::move(bytes)), reader(IsoReader::Open(image)) {}
    Result<std::vector<IsoEntry>> listRoot(IsoTree tree = IsoTree::Iso) {
        return reader->list(tree, reader->root(tree));
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
    Disc disc(SmallDisc());
    const IsoVolumeInfo& iso = disc.reader->info(IsoTree::Iso);
    EXPECT_EQ(iso.volumeId + "|" + iso.systemId + "|" + iso.publisher + "|" + iso.application,
              "VOLUME ID|SYSTEM|THE PUBLISHER|");
    EXPECT_EQ(iso.created, "2024-03-01 12:30:00.00 -02:00");
    EXPECT_EQ(iso.modified, "") << "all zeros are no date";
    EXPECT_EQ(iso.spaceSize, kDiscSectors);
    EXPECT_EQ(disc.reader->info(IsoTree::Joliet).volumeId, "Volume \u00E9 \u65E5");
    EXPECT_EQ(NamesOf(disc.listRoot(IsoTree::Joliet).value()),
              (std::vector<std::string>{"F\u00F3lder", "Read me", "read me"}));
}

TEST(IsoReader, NeedsAPrimaryDescriptor) {
    struct Case {
        std::size_t offset;
        std::uint8_t value;
        bool opens, joliet;
    };
    for (const Case c :
         {Case{kPrimaryAt + 1, 'X', false, false}, Case{kPrimaryAt, 255, false, false},
          Case{kPrimaryAt, 7, true, true}, Case{kPrimaryAt + 128, 1, false, false},
          Case{kJolietAt + 1, 'X', true, false}, Case{kJolietAt + 90, 'B', true, false},
          Case{kJolietAt + 90, '@', true, true}, Case{kJolietAt + 90, 'C', true, true}}) {
        Bytes bytes = SmallDisc();
        bytes[c.offset] = c.value;
        // A primary descriptor may also come after others.
        if (c.value == 7)
            std::copy_n(SmallDisc().begin() + kPrimaryAt, kDiscSector,
                        bytes.begin() + 18 * kDiscSector);
        Disc disc(bytes);
        ASSERT_EQ(disc.reader.has_value(), c.opens) << c.offset;
        if (disc.reader) {
            EXPECT_EQ(disc.reader->hasJoliet(), c.joliet) << c.offset;
        }
    }
    EXPECT_FALSE(Disc({}).reader);
    EXPECT_FALSE(Disc(Bytes(17 * kDiscSector - 1)).reader);
}

TEST(IsoReader, ListsAFolderInTheOrderOfTheDisc) {
    Disc disc(SmallDisc());
    const auto entries = disc.listRoot();
    ASSERT_TRUE(entries);
    EXPECT_EQ(NamesOf(*entries),
              (std::vector<std::string>{"FOLDER", "NODOT", "READ.ME", "READ.ME", "TWO.BIN"}));
    EXPECT_TRUE((*entries)[0].isFolder);
    EXPECT_TRUE((*entries)[1].hidden);
    EXPECT_EQ((*entries)[1].fullName, "NODOT.;1");
    EXPECT_TRUE((*entries)[2].associated);
    EXPECT_FALSE((*entries)[3].associated);
    EXPECT_EQ((*entries)[3].extentSector, 23u);
    // date -u -d '2001-02-03 03:05:06' +%s
    EXPECT_EQ((*entries)[3].modified, 981'169'506);
    EXPECT_EQ(disc.read((*entries)[3]), "hello");
}

TEST(IsoReader, JoinsTheExtentsOfAFile) {
    Disc disc(SmallDisc());
    const auto file = disc.reader->find(IsoTree::Iso, "TWO.BIN").value();
    ASSERT_TRUE(file);
    EXPECT_EQ(file->sizeBytes, 2055u);
    const std::string text = disc.read(*file);
    ASSERT_EQ(text.size(), 2055u);
    EXPECT_EQ(text.substr(2046), "\xFE\xFFhello, ");
    IsoFileSource source(disc.image, *file);
    Bytes middle(4);
    EXPECT_EQ(source.readAt(2047, middle), 4u);
    EXPECT_EQ(middle, (Bytes{0xFF, 'h', 'e', 'l'}));
    EXPECT_EQ(source.readAt(2054, middle), 1u);
    EXPECT_EQ(source.readAt(2055, middle), 0u);
    EXPECT_EQ(source.readAt(~std::uint64_t{0}, middle), 0u);
    IsoEntry gaps = *file;
    gaps.interleaved = true;
    EXPECT_EQ(disc.read(gaps), "");
}

TEST(IsoReader, FindsPaths) {
    struct Case {
        IsoTree tree;
        std::string_view path;
        std::string_view contents;  // "-" when there is no such entry
    };
    const Case cases[] = {
        {IsoTree::Iso, "READ.ME", "hello"},
        {IsoTree::Iso, "/read.me;1", "hello"},
        {IsoTree::Iso, "Nodot", "hello"},
        {IsoTree::Iso, "NODOT.", "hello"},
        {IsoTree::Iso, "NODOT.;1", "hello"},
        {IsoTree::Iso, "folder//deep.txt", "hello"},
        {IsoTree::Iso, "folder/deep", "-"},
        {IsoTree::Iso, "read.me/deep", "-"},
        {IsoTree::Iso, "..", "-"},
        {IsoTree::Joliet, "Read me", "hello"},
        {IsoTree::Joliet, "read me", "for"},
        {IsoTree::Joliet, "READ ME", "hello"},
        {IsoTree::Joliet, "f\u00F3lder/DEEP.TXT", "hello"},
        {IsoTree::Joliet, "F\u00D3LDER/deep.txt", "-"},
        {IsoTree::Joliet, "F\u00F3lder/deep.txt;1", "hello"},
    };
    Disc disc(SmallDisc());
    for (const Case& c : cases) {
        const auto found = disc.reader->find(c.tree, c.path);
        ASSERT_TRUE(found) << "not there is no damage";
        EXPECT_EQ(*found ? disc.read(**found) : "-", c.contents) << c.path;
    }
    EXPECT_EQ((*disc.reader->find(IsoTree::Iso, "/"))->extentSector, 19u);
}

TEST(IsoReader, DamagedDirectoriesGiveASentenceThatNamesThem) {
    struct Case {
        std::size_t offset;
        std::uint8_t value;
        std::string_view part;
    };
    // Offsets in the entry "FOLDER", the third record of the root, and in the folder's first file.
    constexpr std::size_t kEntry = kIsoRootAt + 68;
    constexpr std::size_t kFile = kIsoFolderAt + 68;
    for (const Case& c :
         {Case{kEntry + 3, 1, "\"FOLDER\" lies outside the image"},
          Case{kEntry + 11, 0xFF, "\"FOLDER\" lies outside the image"},
          Case{kEntry + 13, 0x80, "\"FOLDER\" claims a size of 2147485696 bytes"},
          Case{kFile, 33, "\"FOLDER\" has a record of 33 bytes at byte 68"},
          Case{kFile + 32, 12, "\"FOLDER\" has a record with a name of 12 bytes at byte 68"},
          Case{kFile + 32, 0, "\"FOLDER\" has a record with a name of 0 bytes"},
          Case{kFile + 25, 0x80, "\"FOLDER\" lacks the last part of \"DEEP.TXT\""}}) {
        Bytes bytes = SmallDisc();
        bytes[c.offset] = c.value;
        Disc disc(bytes);
        const auto found = disc.reader->find(IsoTree::Iso, "FOLDER/DEEP.TXT");
        ASSERT_FALSE(found);
        EXPECT_NE(Words(found.error()).find(c.part), std::string::npos) << found.error();
    }
    Disc disc(SmallDisc());
    const auto file = *disc.reader->find(IsoTree::Iso, "READ.ME");
    EXPECT_EQ(Words(disc.reader->list(IsoTree::Iso, *file).error()),
              "The directory \"READ.ME\" is a file.");
    Bytes bytes = SmallDisc();
    bytes[kIsoRootAt] = 5;
    Disc damagedRoot(bytes);
    EXPECT_EQ(Words(damagedRoot.listRoot().error()),
              "The root directory has a record of 5 bytes at byte 0 of a sector.");
}

TEST(IsoReader, RecordsGoOnInTheNextSectorAfterALengthOf0) {
    Bytes bytes = SmallDisc();
    const std::size_t second = bytes.size();
    bytes.resize(second + 2 * kDiscSector);
    std::copy_n(bytes.begin() + kIsoRootAt, kDiscSector,
                bytes.begin() + static_cast<std::ptrdiff_t>(second));
    std::copy_n(bytes.begin() + kIsoFolderAt, kDiscSector,
                bytes.begin() + static_cast<std::ptrdiff_t>(second + kDiscSector));
    Put(bytes, kPrimaryAt + 158, both32(kDiscSectors));
    Put(bytes, kPrimaryAt + 166, both32(2 * 2048));
    Disc disc(bytes);
    const auto entries = disc.listRoot();
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 6u);
    EXPECT_EQ(entries->back().name, "DEEP.TXT");
}

TEST(IsoReader, LogicalBlocksAndExtendedAttributesMoveTheContents) {
    Bytes bytes = SmallDisc();
    Put(bytes, kPrimaryAt + 128, both16(512));
    Put(bytes, kPrimaryAt + 158, both32(19 * 4));
    DiscFolder root(bytes, kIsoRootAt, 76, 76);
    const std::size_t record = root.add("FILE", 0, 23 * 4 - 2, 5);
    bytes[record + 1] = 2;
    bytes[kIsoRootAt + 68 + 38] = 0;
    Disc disc(bytes);
    const auto entries = disc.listRoot();
    ASSERT_TRUE(entries);
    ASSERT_EQ(entries->size(), 1u);
    EXPECT_EQ(disc.read(entries->front()), "hello");
}

TEST(IsoText, DatesOutsideTheCalendarAreNone) {
    EXPECT_EQ(IsoDateToUnix({70, 1, 1, 0, 0, 0, 0}), 0);
    EXPECT_EQ(IsoDateToUnix({70, 1, 1, 0, 0, 0, -4}), 3600);
    EXPECT_EQ(IsoDateToUnix({69, 12, 31, 23, 59, 59, 0}), -1);
    // date -u -d '2155-12-31 23:59:59' +%s
    EXPECT_EQ(IsoDateToUnix({255, 12, 31, 23, 59, 59, 0}), 5'869'583'999);
    for (const IsoShortDate& date :
         {IsoShortDate{}, IsoShortDate{101, 2, 29, 0, 0, 0, 0},
          IsoShortDate{101, 13, 1, 0, 0, 0, 0}, IsoShortDate{101, 1, 1, 24, 0, 0, 0},
          IsoShortDate{101, 1, 1, 0, 60, 0, 0}})
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
    // Bytes 10 to 30, 30 to 40, then what shares some of them or none.
    std::uint64_t sector = 100;
    for (const auto& [first, end, isEntered] : {std::tuple{10u, 30u, true},
                                                {30u, 40u, true},
                                                {0u, 11u, false},
                                                {39u, 41u, false},
                                                {20u, 25u, false},
                                                {0u, 50u, false},
                                                {30u, 30u, true},
                                                {0u, 10u, true},
                                                {40u, 41u, true},
                                                {5u, 6u, false}}) {
        folder.extentSector = ++sector;
        folder.extents = {{first, end - first}};
        EXPECT_EQ(guard.enter(folder, 0), isEntered) << first << " " << end;
    }
}

}  // namespace
}  // namespace vellmark
