// Which volume of an image is opened, where it ends, and why it may only be read. The images are
// formatted ones of 2 MB, some of whose fields are changed.
#include <gtest/gtest.h>

#include "IO/disk_bytes.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/read_only.hpp"
#include "volume/volume_bench.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)
using Fields = std::vector<Field>;

// HFS: 4,096 blocks of a sector from sector 19 of the volume on, then two sectors; the catalog at
// block 256. HFS+: 1,024 blocks of four sectors, the extents tree at block 2, the catalog at 34.
constexpr std::size_t kHfsAt = 96 * 512;
constexpr std::size_t kMdb = kHfsAt + 1024;
constexpr std::size_t kHfsSectors = 19 + 4096 + 2;
constexpr std::size_t kPlusAt = 64 * 512;
constexpr std::size_t kHeader = kPlusAt + 1024;
constexpr std::size_t kPlusExtents = kPlusAt + 2 * 2048;
constexpr std::size_t kPlusCatalog = kPlusAt + 34 * 2048;
constexpr std::size_t kPlusSectors = 4096;

class OpenedVolume : public ::testing::Test {
  protected:
    bool open(const Bytes& disk, OpenRequest request = {}) {
        messages_.texts.clear();
        request.path = MakeFile(folder_, "disk", disk);
        return OpenVolume(volume_, request, messages_);
    }
    // Holds the reasons of a disk against those that are expected, and nothing else.
    void expectReasons(const Bytes& disk, unsigned expected, const char* what) {
        ASSERT_TRUE(open(disk)) << what;
        for (unsigned bit = 1; bit < 256; bit *= 2)
            EXPECT_EQ(volume_.readOnlyReasons.has(static_cast<ReadOnlyReason>(bit)),
                      (expected & bit) != 0)
                << what << ", reason " << bit;
        EXPECT_EQ(ChangeRefusal(volume_.readOnlyReasons).isNone(), expected == 0) << what;
    }
    TemporaryFolder folder_;
    const Bytes hfs_ = ReadFile(FormatSmall(folder_, false));
    const Bytes plus_ = ReadFile(FormatSmall(folder_, true));
    const Bytes bareHfs_ = {hfs_.begin() + kHfsAt, hfs_.end()};
    const Bytes barePlus_ = {plus_.begin() + kPlusAt, plus_.end()};
    KeptMessages messages_;
    VolumeContext volume_;
};

constexpr unsigned kBare = 2;
constexpr unsigned kJournal = 8;
constexpr unsigned kNotUnmounted = 16;
constexpr unsigned kBinaryNames = 32;
constexpr unsigned kLocked = 64;
constexpr unsigned kUnknownTree = 128;

// The rows follow each other in one record: none of the reasons may outlive its volume.
TEST_F(OpenedVolume, MayOnlyBeReadForWhatItsHeadersTell) {
    const std::size_t compare = kPlusCatalog + 51;
    const std::size_t shape = kPlusCatalog + 52;
    const Field isHfsx = {kHeader, 2, kHfsxSignature};
    const struct {
        const char* what;
        const Bytes& disk;
        Fields fields;
        unsigned reasons;
    } cases[] = {
        {"HFS, locked by software", hfs_, {{kMdb + 10, 2, 0x8100}}, kLocked},
        {"HFS, locked by hardware", hfs_, {{kMdb + 10, 2, 0x0180}}, kLocked},
        {"HFS, not unmounted", hfs_, {{kMdb + 10, 2, 0}}, 0},
        {"not unmounted", plus_, {{kHeader + 4, 4, 0}}, kNotUnmounted},
        {"both locks", plus_, {{kHeader + 4, 4, 0x8180}}, kLocked},
        {"index keys of one length", plus_, {{shape, 4, 2}}, kUnknownTree},
        {"short keys of extents", plus_, {{kPlusExtents + 52, 4, 0}}, kUnknownTree},
        {"names are never binary", plus_, {{compare, 1, 0xBC}}, 0},
        {"HFSX, binary names", plus_, {isHfsx, {compare, 1, 0xBC}}, kBinaryNames},
        {"HFSX, unknown order", plus_, {isHfsx, {compare, 1, 0}}, kUnknownTree},
        {"HFSX, case folded", plus_, {isHfsx}, 0},
        {"bare and locked", bareHfs_, {{1024 + 10, 2, 0x8100}}, kBare | kLocked},
    };
    for (const auto& c : cases) {
        const Bytes disk = WithFields(c.disk, c.fields);
        expectReasons(disk, c.reasons, c.what);
        const int order =
            volume_.catalog.format.compare(HfsPlusCatalogKey(2, u"A"), HfsPlusCatalogKey(2, u"a"));
        EXPECT_TRUE(!volume_.isHfsPlus || order == ((c.reasons & kBinaryNames) != 0 ? -1 : 0))
            << c.what;
        EXPECT_EQ(static_cast<bool>(VolumeRemark(volume_)),
                  c.what == std::string_view("HFS, not unmounted"));
        ASSERT_TRUE(open(disk, {.path = {}, .writable = true}));
        EXPECT_EQ(volume_.readOnlyReasons.any(), (c.reasons & ~(kBare | kLocked)) != 0)
            << c.what << ", lifted on request";
    }
}

TEST_F(OpenedVolume, JournalsThatMayHoldChangesKeepItFromBeingChanged) {
    constexpr std::uint64_t kMagic = 0x4A4E4C78;
    constexpr std::size_t kInfo = kPlusAt + 600 * 2048;
    constexpr std::size_t kStart = kPlusAt + 700 * 2048;
    const struct {
        const char* what;
        std::uint64_t infoBlock, flags, offset, magic, end;
        unsigned reasons;
    } cases[] = {
        {"empty", 600, 1, 700 * 2048, kMagic, 512, 0},
        {"changes wait", 600, 1, 700 * 2048, kMagic, 1024, kJournal},
        {"not begun", 600, 5, 700 * 2048, 0, 512, 0},
        {"on another device", 600, 2, 700 * 2048, kMagic, 512, kJournal},
        {"information behind the volume", 1024, 1, 700 * 2048, kMagic, 512, kJournal},
        {"far behind the volume", 600, 1, ~std::uint64_t{511}, kMagic, 512, kJournal},
        {"between sectors", 600, 1, 700 * 2048 + 1, kMagic, 512, kJournal},
        {"no journal there", 600, 1, 700 * 2048, 0, 512, kJournal},
    };
    for (const auto& c : cases) {
        const Fields journal = {{kStart, 4, c.magic},
                                {kStart + 4, 4, 0x12345678},
                                {kStart + 8, 8, 512},
                                {kStart + 16, 8, c.end}};
        Bytes disk = WithFields(WithFields(plus_, journal), {{kHeader + 4, 4, 0x2100},
                                                             {kHeader + 12, 4, c.infoBlock},
                                                             {kInfo, 4, c.flags},
                                                             {kInfo + 36, 8, c.offset}});
        expectReasons(disk, c.reasons, c.what);
        // Its own fields are in the order of the machine that wrote it.
        for (const Field& field : journal)
            std::reverse(disk.begin() + field.offset, disk.begin() + field.offset + field.width);
        expectReasons(disk, c.reasons, c.what);
    }
}

// A wrong end would put the second header into a file, or onto something that is not the volume's.
TEST_F(OpenedVolume, EndsWhereItsPartitionEnds) {
    ASSERT_TRUE(open(WithFields(hfs_, {{1024 + 12, 4, 0xFFFFFF00}})));
    EXPECT_EQ(volume_.partitionSectors, kHfsSectors) << "with the image, whatever the map says";
    Bytes bare = bareHfs_;
    bare.resize(bare.size() + 17 * 512);
    ASSERT_TRUE(open(bare));
    EXPECT_EQ(volume_.partitionSectors, kHfsSectors) << "not of the image";
    PutText(bare, bare.size() - 1024, "BD");
    ASSERT_TRUE(open(bare));
    EXPECT_EQ(volume_.partitionSectors, kHfsSectors + 17) << "where the second header stands";

    for (const std::size_t sector : {18u, 20u}) {
        expectReasons(Wrapped(barePlus_, sector), kBare, "only the wrapper is locked");
        EXPECT_EQ(volume_.partitionStart.number(), sector);
        EXPECT_EQ(volume_.partitionSectors, kPlusSectors);
        // Behind the wrapper's partition is nothing of the volume.
        ASSERT_TRUE(open(WithFields(Wrapped(barePlus_, sector), {{1024 + 128, 2, 0xFFFF}})));
        EXPECT_EQ(volume_.partitionSectors, kPlusSectors);
    }
    EXPECT_FALSE(open(Wrapped(Bytes(100 * 512), 20))) << "with nothing in it";
}

// In a wrapper of HFS, or behind the tables of other systems: nothing around it changes.
TEST_F(OpenedVolume, IsChangedWithinItsPlaceAlone) {
    constexpr std::size_t kStart = 40;
    Bytes boot(kStart * 512);
    PutBootEntry(boot, 0, 0xAF, kStart, kPlusSectors);
    Bytes guid(kStart * 512);
    PutBootEntry(guid, 0, 0xEE, 1, kStart + kPlusSectors);
    PutGptHeader(guid, 2, 128);
    PutGptEntry(guid, 1024, kHfsGuidBytes, kStart, kStart + kPlusSectors - 1, u"v");
    const Bytes behind(1024, 0x55);  // the wrapper's own second header, or that of a table
    const std::pair<Bytes, std::size_t> disks[] = {
        {Wrapped(barePlus_, 20), 20}, {boot + barePlus_, kStart}, {guid + barePlus_, kStart}};
    for (const auto& [front, sector] : disks) {
        const Bytes disk = front + behind;
        const std::string path = MakeFile(folder_, "disk", disk);
        TestVolume volume;
        ASSERT_TRUE(volume.open(path));
        EXPECT_EQ(volume->partitionStart.number(), sector);
        ASSERT_EQ(volume.put("new", Bytes(70'000, 9), Bytes(5, 8)), StoreResult::Done);
        ASSERT_EQ(volume.flush(), TreeResult::Done);
        ASSERT_TRUE(volume.open(path));
        EXPECT_EQ(volume.contents("new"), Bytes(70'000, 9));
        const Bytes changed = ReadFile(path);
        EXPECT_EQ(Slice(changed, 0, sector * 512), Slice(disk, 0, sector * 512));
        EXPECT_EQ(Slice(changed, front.size(), changed.size()), behind);
        ExpectReadersFindNoFault(
            MakeFile(folder_, "inside", Slice(changed, sector * 512, front.size())));
    }
}

TEST_F(OpenedVolume, HasAHeaderThatCanBe) {
    Bytes packed = hfs_;
    PutText(packed, packed.size() - 512, "koly");
    const struct {
        const char* what;
        Bytes disk;
        Fields fields;
    } cases[] = {
        {"block size 0", hfs_, {{kMdb + 20, 4, 0}}},
        {"no blocks", hfs_, {{kMdb + 18, 2, 0}}},
        {"bitmap behind the blocks", hfs_, {{kMdb + 28, 2, 3}}},
        {"no first catalog extent", hfs_, {{kMdb + 152, 2, 0}}},
        {"catalog outside", hfs_, {{kMdb + 150, 2, 4000}}},
        {"a cache size in place of the wrapper's sign", hfs_, {{kMdb + 124, 2, 9}}},
        {"block size 768", plus_, {{kHeader + 40, 4, 768}}},
        {"block size 2^31", plus_, {{kHeader + 40, 4, 0x80000000}}},
        {"no blocks", plus_, {{kHeader + 44, 4, 0}}},
        {"system files outside", plus_, {{kHeader + 44, 4, 200}}},
        {"catalog node size 1536", plus_, {{kPlusCatalog + 32, 2, 1536}}},
        {"a disk image that has to be expanded", packed, {}},
        {"Null length", {}, {}},
    };
    for (const auto& c : cases) {
        EXPECT_FALSE(open(WithFields(c.disk, c.fields))) << c.what;
        EXPECT_FALSE(volume_.image) << c.what;
        ASSERT_EQ(messages_.texts.size(), 1u) << c.what;
        EXPECT_NE(messages_.texts[0].find(c.disk.empty() ? c.what : "disk: "), std::string::npos);
    }
    EXPECT_FALSE(OpenVolume(volume_, {folder_.path() + "/missing"}, messages_));
    EXPECT_NE(messages_.texts.back().find("missing"), std::string::npos);
    // Such an allocation file keeps a volume from being changed alone.
    for (const Field& field : Fields{{12, 4, 0}, {20, 4, 0}, {16, 4, 1024}, {16, 4, 0xFFFFFFFF}}) {
        TestVolume volume;
        const Bytes disk =
            WithFields(plus_, {{kHeader + 112 + field.offset, field.width, field.value}});
        EXPECT_FALSE(volume.open(MakeFile(folder_, "disk", disk))) << field.offset;
        EXPECT_TRUE(volume->isMounted);
    }
}

// Sectors that are cut off take the opening along, never more. The map lies in the first three;
// sector 1 tells that it goes on.
TEST_F(OpenedVolume, IsCutShortWithItsImage) {
    const struct {
        const Bytes& disk;
        std::size_t sectors;
        bool opens, isCut;
    } cases[] = {{hfs_, 2, false, false},
                 {hfs_, 3, false, true},
                 {hfs_, 96 + 19 + 256, false, true},
                 {hfs_, 96 + 19 + 257, true, true},
                 {hfs_, 96 + kHfsSectors - 1, true, false},  // the very last is none of its own
                 {plus_, 64 + 34 * 4, false, true},
                 {plus_, 64 + kPlusSectors - 1, true, true},
                 {plus_, 64 + kPlusSectors, true, false}};
    for (const auto& c : cases) {
        EXPECT_EQ(open({c.disk.begin(), c.disk.begin() + c.sectors * 512}), c.opens) << c.sectors;
        EXPECT_EQ(volume_.readOnlyReasons.has(ReadOnlyReason::CutImage), c.isCut) << c.sectors;
        EXPECT_TRUE(c.opens || !c.isCut ||
                    messages_.texts.back().ends_with(": The image ends before its volume does."));
    }
}

TEST_F(OpenedVolume, IsTheOneOfTheNumber) {
    Bytes disk(100 * 512);
    PutDescriptor(disk, 512, 300);
    PutMapEntry(disk, 512, "empty", "Apple_HFS", 20, 40, 3);
    PutMapEntry(disk, 1024, "a", "Apple_HFS", 100, kHfsSectors, 3);
    PutMapEntry(disk, 1536, "b", "Apple_HFS", 100 + kHfsSectors, kHfsSectors, 3);
    disk = disk + bareHfs_ + bareHfs_;
    const struct {
        std::optional<unsigned> number;
        std::uint64_t start;
        const char* problem;
    } cases[] = {{{}, 100, ""},
                 {3, 100 + kHfsSectors, ""},
                 {1, 0, "disk: Partition 1 holds no volume"},
                 {0, 0, "no partition 0; there are: [1] empty (Type MacOS, size 0 MB), [2] "},
                 {4, 0, "[3] Small (Type MacOS, size 2 MB)."}};
    for (const auto& c : cases) {
        ASSERT_EQ(open(disk, {.path = {}, .partition = c.number}), c.start != 0) << c.problem;
        EXPECT_TRUE(c.start == 0 || volume_.partitionStart.number() == c.start);
        EXPECT_TRUE(c.start != 0 || messages_.texts.at(0).find(c.problem) != std::string::npos);
    }
}

}  // namespace
}  // namespace vellmark
