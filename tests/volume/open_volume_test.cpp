// Which volume of an image is opened, where it ends, and why it may only be read.
#include <gtest/gtest.h>

#include "volume/catalog_keys.hpp"
#include "volume/read_only.hpp"
#include "volume/volume_bench.hpp"
#include "volume/volume_bytes.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

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
    KeptMessages messages_;
    VolumeContext volume_;
};

constexpr unsigned kBare = 2;
constexpr unsigned kJournal = 8;
constexpr unsigned kNotUnmounted = 16;
constexpr unsigned kBinaryNames = 32;
constexpr unsigned kLocked = 64;
constexpr unsigned kUnknownTree = 128;

Bytes MappedHfs(const HfsHeader& header, std::uint32_t volumeSectors = 64) {
    Bytes disk = MappedDisk(volumeSectors);
    PutHfs(disk, 96, header, "V");
    return disk;
}
Bytes MappedHfsPlus(const HfsPlusHeader& header) {
    Bytes disk = MappedDisk(64);
    PutHfsPlus(disk, 96, header);
    return disk;
}
// In a wrapper whose allocation area begins at sector 16, `sectors` into it.
Bytes WrappedHfsPlus(std::size_t sectors) {
    Bytes disk = MappedHfs({.blockSize = 1024,
                            .allocationStart = 16,
                            .clumpSize = 512,
                            .embeddedSignature = kHfsPlusSignature,
                            .embeddedStart = 2,
                            .attributes = 0x8100,
                            .embeddedCount = 26},
                           104);
    std::fill(disk.begin() + 100 * 512, disk.end(), std::uint8_t{0});
    if (sectors != 0)
        PutHfsPlus(disk, 96 + sectors, {.totalBlocks = 50});
    return disk;
}

// The rows follow each other in one record: none of the reasons may outlive its volume.
TEST_F(OpenedVolume, MayOnlyBeReadForWhatItsHeadersTell) {
    const struct {
        const char* what;
        std::uint16_t signature;
        std::uint32_t attributes;
        std::uint8_t compare;
        std::uint8_t catalogShape;
        unsigned reasons;
    } cases[] = {
        {"HFS, locked by software", kHfsSignature, 0x8100, 0, 0, kLocked},
        {"HFS, locked by hardware", kHfsSignature, 0x0180, 0, 0, kLocked},
        {"HFS, sound", kHfsSignature, 0x0100, 0, 0, 0},
        {"HFS, not unmounted", kHfsSignature, 0, 0, 0, 0},
        {"HFS+, not unmounted", kHfsPlusSignature, 0, 0, 6, kNotUnmounted},
        {"HFS+, inconsistent", kHfsPlusSignature, 0x0900, 0, 6, kNotUnmounted},
        {"HFS+, both locks", kHfsPlusSignature, 0x8180, 0, 6, kLocked},
        {"HFS+, a high bit is no lock", kHfsPlusSignature, 0x80000100, 0, 6, 0},
        {"HFS+, index keys of one length", kHfsPlusSignature, 0x100, 0, 2, kUnknownTree},
        {"HFS+, short keys", kHfsPlusSignature, 0x100, 0, 4, kUnknownTree},
        {"HFS+, names are never binary", kHfsPlusSignature, 0x100, 0xBC, 6, 0},
        {"HFSX, binary names", kHfsxSignature, 0x100, 0xBC, 6, kBinaryNames},
        {"HFSX, unknown order", kHfsxSignature, 0x100, 0, 6, kUnknownTree},
        {"HFSX, case folded", kHfsxSignature, 0x100, 0xCF, 6, 0},
    };
    for (const auto& c : cases) {
        const bool isHfs = c.signature == kHfsSignature;
        Bytes disk = isHfs ? MappedHfs({.attributes = static_cast<std::uint16_t>(c.attributes)})
                           : MappedHfsPlus({.signature = c.signature, .attributes = c.attributes});
        disk[(96 + 20) * 512 + 51] = c.compare;
        disk[(96 + 20) * 512 + 55] = c.catalogShape;
        expectReasons(disk, c.reasons, c.what);
        const int order =
            volume_.catalog.format.compare(HfsPlusCatalogKey(2, u"A"), HfsPlusCatalogKey(2, u"a"));
        EXPECT_TRUE(isHfs || order == ((c.reasons & kBinaryNames) != 0 ? -1 : 0)) << c.what;
        EXPECT_EQ(static_cast<bool>(VolumeRemark(volume_)), isHfs && (c.attributes & 0x100) == 0)
            << c.what;
    }
    for (const std::uint16_t attributes : {std::uint16_t{0x100}, std::uint16_t{0x8100}}) {
        Bytes bare;
        PutHfs(bare, 0, {.attributes = attributes}, "V");
        expectReasons(bare, attributes == 0x100 ? kBare : kBare | kLocked, "bare");
        ASSERT_TRUE(open(bare, {.path = {}, .writable = true}));
        EXPECT_FALSE(volume_.readOnlyReasons.any()) << "lifted on request";
    }
    expectReasons(WrappedHfsPlus(18), 0, "only the wrapper is locked");
}

TEST_F(OpenedVolume, JournalsThatMayHoldChangesKeepItFromBeingChanged) {
    struct Case {
        const char* what;
        std::uint32_t infoBlock = 30;
        std::uint32_t flags = 1;
        std::uint64_t offset = 40 * 512;
        std::uint32_t magic = 0x4A4E4C78;
        bool isLittle = false;
        std::uint64_t end = 512;
        unsigned reasons = kJournal;
    };
    for (const Case& c : {
             Case{.what = "empty", .reasons = 0},
             Case{.what = "empty, little-endian", .isLittle = true, .reasons = 0},
             Case{.what = "changes wait", .end = 1024},
             Case{.what = "changes wait, little-endian", .isLittle = true, .end = 1024},
             Case{.what = "not begun", .flags = 5, .magic = 0, .reasons = 0},
             Case{.what = "on another device", .flags = 2},
             Case{.what = "no information block", .infoBlock = 0},
             Case{.what = "information behind the volume", .infoBlock = 60},
             Case{.what = "behind the volume", .offset = 60 * 512},
             Case{.what = "far behind the volume", .offset = ~std::uint64_t{511}},
             Case{.what = "between sectors", .offset = 40 * 512 + 1},
             Case{.what = "no journal there", .magic = 0},
         }) {
        Bytes disk = MappedHfsPlus({.attributes = 0x2100});
        Put(disk, (96 + 2) * 512 + 12, be32(c.infoBlock));
        Put(disk, (96 + 30) * 512, be32(c.flags));
        Put(disk, (96 + 30) * 512 + 36, be64(c.offset));
        const auto put = [&]<typename Word, typename Long>(Word, Long) {
            const std::size_t header = (96 + 40) * 512;
            Put(disk, header, Word(c.magic));
            Put(disk, header + 4, Word(0x12345678));
            Put(disk, header + 8, Long(512));
            Put(disk, header + 16, Long(c.end));
        };
        c.isLittle ? put(le32{}, le64{}) : put(be32{}, be64{});
        expectReasons(disk, c.reasons, c.what);
    }
}

// A wrong end would put the second header into a file, or onto something that is not the volume's.
TEST_F(OpenedVolume, EndsWhereItsPartitionEnds) {
    // 5 sectors, 20 blocks of 2 sectors, 2 sectors behind them.
    ASSERT_TRUE(open(MappedHfs({}, 0xFFFFFF00)));
    EXPECT_EQ(volume_.partitionSectors, 200u - 96) << "with the image, whatever the map says";
    Bytes bare;
    PutHfs(bare, 0, {}, "V");
    ASSERT_TRUE(open(bare));
    EXPECT_EQ(volume_.partitionSectors, 47u) << "of the 64 of the image";
    PutText(bare, 62 * 512, "BD");
    ASSERT_TRUE(open(bare));
    EXPECT_EQ(volume_.partitionSectors, 64u) << "the second header stands at the image's end";
    for (const Bytes& type : {kForeignGuidBytes, kHfsGuidBytes}) {
        Bytes disk(200 * 512);
        PutBootEntry(disk, 0, 0xEE, 1, 199);
        PutGptHeader(disk, 2, 4);
        PutGptEntry(disk, 1024, type, 100, 163, u"V");
        PutGptEntry(disk, 1152, kHfsGuidBytes, 20, 60, u"second");
        PutHfs(disk, 20, {}, "S");
        PutHfs(disk, 100, {}, "V");
        ASSERT_TRUE(open(disk));
        EXPECT_EQ(volume_.partitionStart, 100u) << "the first, whatever its type";
        EXPECT_EQ(volume_.partitionSectors, 64u) << "the last sector included";
    }
    Bytes booted(200 * 512);
    PutBootEntry(booted, 0, 0xAF, 10, 40);
    PutBootEntry(booted, 1, 0xAF, 100, 64);
    PutHfsPlus(booted, 100, {});
    ASSERT_TRUE(open(booted));
    EXPECT_EQ(volume_.partitionStart, 100u) << "the first that holds a volume";
}

// Embedded start 2, clump size 512, allocation area at 16: 18 sectors on, or 20 by the blocks. The
// wrapper keeps 26 blocks of 1024 bytes for it.
TEST_F(OpenedVolume, StepsThroughAWrapperByEitherUnit) {
    for (const std::size_t sectors : {18u, 20u}) {
        ASSERT_TRUE(open(WrappedHfsPlus(sectors))) << sectors;
        EXPECT_TRUE(volume_.isHfsPlus);
        EXPECT_EQ(volume_.volumeOffset, 96 + sectors);
        EXPECT_EQ(volume_.totalSectors, 50u);
        EXPECT_EQ(volume_.partitionSectors, 52u);
    }
    EXPECT_FALSE(open(WrappedHfsPlus(0))) << "with nothing in it";
    Bytes large = WrappedHfsPlus(18);
    Put(large, (96 + 2) * 512 + 128, be16(0xFFFF));
    ASSERT_TRUE(open(large));
    EXPECT_EQ(volume_.partitionSectors, 104u - 18) << "not behind the wrapper's partition";
}

TEST_F(OpenedVolume, HasAHeaderThatCanBe) {
    const struct {
        const char* what;
        Bytes disk;
        bool opens;
    } cases[] = {
        {"sound", MappedHfs({}), true},
        {"block size 0", MappedHfs({.blockSize = 0}), false},
        {"block size 513", MappedHfs({.blockSize = 513}), false},
        {"block size 1536", MappedHfs({.blockSize = 1536}), true},
        {"no blocks", MappedHfs({.totalBlocks = 0}), false},
        {"bitmap behind the blocks", MappedHfs({.allocationStart = 3}), false},
        {"no first catalog extent", MappedHfs({.catalogBlocks = 0}), false},
        {"catalog outside", MappedHfs({.catalogStart = 19}), false},
        {"a cache size in place of the wrapper's sign", MappedHfs({.embeddedSignature = 9}), false},
        {"sound, HFS+", MappedHfsPlus({}), true},
        {"block size 0", MappedHfsPlus({.blockSize = 0}), false},
        {"block size 768", MappedHfsPlus({.blockSize = 768}), false},
        {"block size 2^31", MappedHfsPlus({.blockSize = 0x80000000}), false},
        {"no blocks", MappedHfsPlus({.totalBlocks = 0}), false},
        {"system files outside", MappedHfsPlus({.totalBlocks = 27}), false},
        {"catalog node size 0", MappedHfsPlus({.catalogNodeSize = 0}), false},
        {"catalog node size 1536", MappedHfsPlus({.catalogNodeSize = 1536}), false},
        {"nodes larger than their file", MappedHfsPlus({.catalogNodeSize = 32768}), false},
        {"extents node size 513", MappedHfsPlus({.extentsNodeSize = 513}), false},
        {"empty", {}, false},
        {"zeros", Bytes(100'000), false},
        {"map without volumes", MappedDisk(64), false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(open(c.disk), c.opens) << c.what;
        EXPECT_EQ(volume_.image != nullptr, c.opens) << c.what;
        ASSERT_EQ(messages_.texts.size(), c.opens ? 0u : 1u) << c.what;
        EXPECT_TRUE(c.opens || messages_.texts[0].find(c.disk.empty() ? "Null length" : "disk: ") !=
                                   std::string::npos)
            << messages_.texts[0];
    }
    EXPECT_FALSE(OpenVolume(volume_, {folder_.path() + "/missing"}, messages_));
    EXPECT_NE(messages_.texts.back().find("missing"), std::string::npos);
}

// Sectors that are cut off take the opening along, never more.
TEST_F(OpenedVolume, IsCutShortWithItsImage) {
    for (const bool isHfsPlus : {false, true}) {
        const Bytes disk = isHfsPlus ? MappedHfsPlus({}) : MappedHfs({});
        for (std::size_t sectors = 0; sectors < 170; ++sectors) {
            const bool opened = open({disk.data(), disk.data() + sectors * 512});
            // The last that is needed is the catalog's node 0: 1 sector in HFS, 2 in HFS+. The
            // very last sector of an HFS volume is none of the volume's.
            EXPECT_EQ(opened, sectors >= (isHfsPlus ? 118u : 106u)) << sectors;
            const std::size_t end = isHfsPlus ? 96 + 60 : 96 + 5 + 20 * 2 + 1;
            // The map lies in the first three sectors; sector 1 tells that it goes on.
            EXPECT_EQ(volume_.readOnlyReasons.has(ReadOnlyReason::CutImage),
                      sectors > 2 && sectors < end)
                << sectors;
            EXPECT_TRUE(
                sectors <= 2 || opened ||
                messages_.texts.back().ends_with(": The image ends before its volume does."));
        }
    }
}

TEST_F(OpenedVolume, IsTheOneOfTheNumber) {
    Bytes disk(300 * 512);
    PutDescriptor(disk, 512, 300);
    PutMapEntry(disk, 512, "Apple", "Apple_partition_map", 1, 9, 9);
    PutMapEntry(disk, 1024, "empty", "Apple_HFS", 20, 40, 9);
    PutMapEntry(disk, 1536, "a", "Apple_HFS", 96, 64, 9);
    PutMapEntry(disk, 2048, "b", "Apple_HFS", 160, 4096, 9);
    PutHfs(disk, 96, {}, "A");
    PutHfs(disk, 160, {}, "B");
    Bytes bare;
    PutHfs(bare, 0, {}, "V");
    const struct {
        const Bytes& disk;
        std::optional<unsigned> number;
        std::uint64_t start;
        const char* problem;
    } cases[] = {
        {disk, {}, 96, ""},
        {disk, 2, 96, ""},
        {disk, 3, 160, ""},
        {disk, 1, 0, "disk: Partition 1 holds no volume"},
        {disk, 0, 0, "no partition 0; there are: [1] empty (Type MacOS, size 0 MB), [2] A"},
        {disk, 4, 0, "[3] B (Type MacOS, size 2 MB)."},
        {bare, 1, 0, "not divided"}};
    for (const auto& c : cases) {
        ASSERT_EQ(open(c.disk, {.path = {}, .partition = c.number}), c.start != 0);
        ASSERT_EQ(messages_.texts.size(), c.start == 0 ? 1u : 0u);
        EXPECT_EQ(volume_.image != nullptr, c.start != 0);
        if (c.start != 0)
            EXPECT_EQ(volume_.partitionStart, c.start);
        else
            EXPECT_NE(messages_.texts[0].find(c.problem), std::string::npos) << messages_.texts[0];
    }
}

TEST_F(OpenedVolume, IsNoneOfADiskImageThatHasToBeExpanded) {
    for (const char* start : {"x", "PM", "BZ", "sp", ""}) {
        Bytes disk = MappedHfs({});
        PutText(disk, 0, start);
        PutText(disk, disk.size() - 512, "koly");
        EXPECT_FALSE(open(disk)) << start;
        ASSERT_EQ(messages_.texts.size(), 1u);
        EXPECT_NE(messages_.texts[0].find("disk image"), std::string::npos) << messages_.texts[0];
    }
}

TEST_F(OpenedVolume, IsChangedByOneAtATime) {
    ASSERT_TRUE(open(MappedHfs({})));
    const std::string path = volume_.imagePath;
    VolumeContext second;
    VolumeContext third;
    for (const Access access : {Access::Read, Access::Change}) {
        EXPECT_FALSE(OpenVolume(second, {.path = path, .access = access}, messages_));
        EXPECT_NE(messages_.texts.back().find("another process"), std::string::npos);
    }
    CloseImage(volume_);
    ASSERT_TRUE(OpenVolume(second, {.path = path, .access = Access::Read}, messages_));
    EXPECT_TRUE(OpenVolume(third, {.path = path, .access = Access::Read}, messages_));
    EXPECT_FALSE(OpenVolume(volume_, {path}, messages_)) << "while it is read";
    CloseImage(second);
    CloseImage(third);
    EXPECT_TRUE(OpenVolume(second, {path}, messages_)) << "the lock goes with the image";
}

}  // namespace
}  // namespace vellmark
