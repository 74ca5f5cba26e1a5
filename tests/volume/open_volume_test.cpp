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

constexpr unsigned kLocked = 64;
constexpr unsigned kNotUnmounted = 16;
constexpr unsigned kBinaryNames = 32;
constexpr unsigned kUnknownTree = 128;
constexpr unsigned kJournal = 8;

// The rows follow each other in one record: none of the reasons may outlive its volume.
TEST_F(OpenedVolume, MayOnlyBeReadForWhatItsHeadersTell) {
    struct Case {
        const char* what;
        std::uint16_t signature;
        std::uint32_t attributes;
        std::uint8_t compare;
        std::uint8_t catalogShape;
        unsigned reasons;
    };
    for (const Case c : {
             Case{"HFS, locked by software", kHfsSignature, 0x8100, 0, 0, kLocked},
             Case{"HFS, locked by hardware", kHfsSignature, 0x0180, 0, 0, kLocked},
             Case{"HFS, sound", kHfsSignature, 0x0100, 0, 0, 0},
             Case{"HFS, not unmounted", kHfsSignature, 0, 0, 0, 0},
             Case{"HFS+, not unmounted", kHfsPlusSignature, 0, 0, 6, kNotUnmounted},
             Case{"HFS+, inconsistent", kHfsPlusSignature, 0x0900, 0, 6, kNotUnmounted},
             Case{"HFS+, both locks", kHfsPlusSignature, 0x8180, 0, 6, kLocked},
             Case{"HFS+, a high bit is no lock", kHfsPlusSignature, 0x80000100, 0, 6, 0},
             Case{"HFS+, index keys of one length", kHfsPlusSignature, 0x100, 0, 2, kUnknownTree},
             Case{"HFS+, short keys", kHfsPlusSignature, 0x100, 0, 4, kUnknownTree},
             Case{"HFS+, names are never binary", kHfsPlusSignature, 0x100, 0xBC, 6, 0},
             Case{"HFSX, binary names", kHfsxSignature, 0x100, 0xBC, 6, kBinaryNames},
             Case{"HFSX, unknown order", kHfsxSignature, 0x100, 0, 6, kUnknownTree},
             Case{"HFSX, case folded", kHfsxSignature, 0x100, 0xCF, 6, 0},
         }) {
        Bytes disk = MappedDisk(64);
        if (c.signature == kHfsSignature)
            PutHfs(disk, 96, {.attributes = static_cast<std::uint16_t>(c.attributes)}, "V");
        else
            PutHfsPlus(disk, 96, {.signature = c.signature, .attributes = c.attributes});
        disk[(96 + 20) * 512 + 51] = c.compare;
        disk[(96 + 20) * 512 + 55] = c.catalogShape;
        expectReasons(disk, c.reasons, c.what);
        const bool isBinary = (c.reasons & kBinaryNames) != 0;
        EXPECT_TRUE(!volume_.isHfsPlus || volume_.catalog.format.compare(
                                              HfsPlusCatalogKey(2, u"A"),
                                              HfsPlusCatalogKey(2, u"a")) == (isBinary ? -1 : 0))
            << c.what;
        EXPECT_EQ(static_cast<bool>(VolumeRemark(volume_)),
                  c.signature == kHfsSignature && (c.attributes & 0x100) == 0)
            << c.what;
    }
}

TEST_F(OpenedVolume, JournalsThatMayHoldChangesKeepItFromBeingChanged) {
    struct Case {
        const char* what;
        std::uint32_t infoBlock = 30;
        std::uint32_t flags = 1;
        std::uint64_t offset = 40 * 512;
        std::uint32_t magic = 0x4A4E4C78;
        bool isLittle = false;
        std::uint64_t start = 512;
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
        Bytes disk = MappedDisk(64);
        PutHfsPlus(disk, 96, {.attributes = 0x2100});
        Put(disk, (96 + 2) * 512 + 12, be32(c.infoBlock));
        Put(disk, (96 + 30) * 512, be32(c.flags));
        Put(disk, (96 + 30) * 512 + 36, be64(c.offset));
        const std::size_t header = (96 + 40) * 512;
        const auto put = [&]<typename Word, typename Long>(Word, Long) {
            Put(disk, header, Word(c.magic));
            Put(disk, header + 4, Word(0x12345678));
            Put(disk, header + 8, Long(c.start));
            Put(disk, header + 16, Long(c.end));
        };
        c.isLittle ? put(le32{}, le64{}) : put(be32{}, be64{});
        expectReasons(disk, c.reasons, c.what);
    }
}

TEST_F(OpenedVolume, TheBareVolumeAndTheLockAreLiftedOnRequest) {
    for (const bool locked : {false, true}) {
        Bytes disk;
        PutHfs(disk, 0, {.attributes = static_cast<std::uint16_t>(locked ? 0x8100 : 0x100)}, "V");
        expectReasons(disk, locked ? 2 | kLocked : 2, "bare");
        ASSERT_TRUE(open(disk, {.path = {}, .writable = true}));
        EXPECT_FALSE(volume_.readOnlyReasons.any());
    }
}

// A wrong end would put the second header into a file, or onto something that is not the volume's.
TEST_F(OpenedVolume, EndsWhereItsPartitionEnds) {
    // 5 sectors, 20 blocks of 2 sectors, 2 sectors behind them.
    Bytes mapped = MappedDisk(0xFFFFFF00);
    PutHfs(mapped, 96, {}, "V");
    ASSERT_TRUE(open(mapped));
    EXPECT_EQ(volume_.partitionSectors, 200u - 96) << "with the image, whatever the map says";
    Bytes bare;
    PutHfs(bare, 0, {}, "V");
    ASSERT_TRUE(open(bare));
    EXPECT_EQ(volume_.partitionSectors, 47u) << "of the 64 of the image";
    PutText(bare, 62 * 512, "BD");
    ASSERT_TRUE(open(bare));
    EXPECT_EQ(volume_.partitionSectors, 64u) << "the second header stands at the image's end";

    for (const bool foreignType : {false, true}) {
        Bytes disk(200 * 512);
        PutBootEntry(disk, 0, 0xEE, 1, 199);
        PutGptHeader(disk, 2, 4);
        PutGptEntry(disk, 1024, foreignType ? kForeignGuidBytes : kHfsGuidBytes, 100, 163, u"V");
        PutGptEntry(disk, 1152, kHfsGuidBytes, 20, 60, u"second");
        PutHfs(disk, 20, {}, "S");
        PutHfs(disk, 100, {}, "V");
        ASSERT_TRUE(open(disk));
        EXPECT_EQ(volume_.partitionStart, 100u) << "the first, whatever its type";
        EXPECT_EQ(volume_.partitionSectors, 64u) << "the last sector included";
    }

    // The volume begins 16 + 2 * 512 / 512 sectors in the wrapper, which keeps 25 blocks of 1024
    // bytes for it.
    Bytes wrapped = MappedDisk(104);
    PutHfs(wrapped, 96,
           {.blockSize = 1024,
            .allocationStart = 16,
            .clumpSize = 512,
            .embeddedSignature = kHfsPlusSignature,
            .embeddedStart = 2,
            .attributes = 0x8100,
            .embeddedCount = 26},
           "Wrapper");
    std::fill(wrapped.begin() + 100 * 512, wrapped.end(), std::uint8_t{0});
    PutHfsPlus(wrapped, 96 + 18, {.totalBlocks = 50});
    expectReasons(wrapped, 0, "only the wrapper is locked");
    EXPECT_EQ(volume_.partitionSectors, 52u);
    Put(wrapped, (96 + 2) * 512 + 128, be16(0xFFFF));
    ASSERT_TRUE(open(wrapped));
    EXPECT_EQ(volume_.partitionSectors, 104u - 18) << "not behind the wrapper's partition";
}

TEST_F(OpenedVolume, StepsThroughAWrapperByEitherUnit) {
    // Embedded start 2, clump size 512, allocation area at 16: 18 sectors on, or 20 by the blocks.
    const HfsHeader wrapper = {.blockSize = 1024,
                               .allocationStart = 16,
                               .clumpSize = 512,
                               .embeddedSignature = kHfsPlusSignature,
                               .embeddedStart = 2};
    for (const std::size_t sectors : {18u, 20u}) {
        Bytes disk = MappedDisk(104);
        PutHfs(disk, 96, wrapper, "Wrapper");
        std::fill(disk.begin() + 100 * 512, disk.end(), std::uint8_t{0});
        PutHfsPlus(disk, 96 + sectors, {.totalBlocks = 50});
        ASSERT_TRUE(open(disk)) << sectors;
        EXPECT_TRUE(volume_.isHfsPlus);
        EXPECT_EQ(volume_.volumeOffset, 96 + sectors);
        EXPECT_EQ(volume_.totalSectors, 50u);
    }
    Bytes disk = MappedDisk(104);
    PutHfs(disk, 96, wrapper, "Wrapper");
    EXPECT_FALSE(open(disk)) << "with nothing in it";
}

TEST_F(OpenedVolume, HasAHeaderThatCanBe) {
    const struct {
        const char* what;
        HfsHeader header;
        bool opens;
    } hfs[] = {
        {"sound", {}, true},
        {"block size 0", {.blockSize = 0}, false},
        {"block size 513", {.blockSize = 513}, false},
        {"block size 1536", {.blockSize = 1536}, true},
        {"no blocks", {.totalBlocks = 0}, false},
        {"bitmap behind the blocks", {.allocationStart = 3}, false},
        {"no first catalog extent", {.catalogBlocks = 0}, false},
        {"catalog outside", {.catalogStart = 19}, false},
        {"a cache size where a wrapper has its sign", {.embeddedSignature = 0x0101}, false},
    };
    for (const auto& c : hfs) {
        Bytes disk = MappedDisk(64);
        PutHfs(disk, 96, c.header, "V");
        EXPECT_EQ(open(disk), c.opens) << c.what;
        EXPECT_EQ(volume_.image != nullptr, c.opens) << c.what;
        EXPECT_EQ(messages_.texts.size(), c.opens ? 0u : 1u) << c.what;
    }
    const struct {
        const char* what;
        HfsPlusHeader header;
        bool opens;
    } plus[] = {
        {"sound", {}, true},
        {"block size 0", {.blockSize = 0}, false},
        {"block size 768", {.blockSize = 768}, false},
        {"block size 2^31", {.blockSize = 0x80000000}, false},
        {"no blocks", {.totalBlocks = 0}, false},
        {"system files outside", {.totalBlocks = 27}, false},
        {"catalog node size 0", {.catalogNodeSize = 0}, false},
        {"catalog node size 1000", {.catalogNodeSize = 1000}, false},
        {"catalog node size 1536", {.catalogNodeSize = 1536}, false},
        {"catalog nodes larger than their file", {.catalogNodeSize = 32768}, false},
        {"extents node size 513", {.extentsNodeSize = 513}, false},
    };
    for (const auto& c : plus) {
        Bytes disk = MappedDisk(64);
        PutHfsPlus(disk, 96, c.header);
        EXPECT_EQ(open(disk), c.opens) << c.what;
    }
}

TEST_F(OpenedVolume, IsTheFirstBehindABootRecord) {
    Bytes disk(200 * 512);
    PutBootEntry(disk, 0, 0xAF, 10, 40);
    PutBootEntry(disk, 1, 0xAF, 100, 64);
    PutHfsPlus(disk, 100, {});
    ASSERT_TRUE(open(disk));
    EXPECT_EQ(volume_.partitionStart, 100u);
}

TEST_F(OpenedVolume, IsNoneWhereNoneIs) {
    const struct {
        const char* what;
        Bytes bytes;
        const char* problem;
    } cases[] = {{"empty", {}, "Null length"},
                 {"zeros", Bytes(100'000), "disk: "},
                 {"pattern", Pattern(100'000), "disk: "},
                 {"map without volumes", MappedDisk(64), "disk: "}};
    for (const auto& c : cases) {
        EXPECT_FALSE(open(c.bytes)) << c.what;
        ASSERT_EQ(messages_.texts.size(), 1u) << c.what;
        EXPECT_NE(messages_.texts[0].find(c.problem), std::string::npos) << messages_.texts[0];
    }
    EXPECT_FALSE(OpenVolume(volume_, {folder_.path() + "/missing"}, messages_));
    EXPECT_NE(messages_.texts.back().find("missing"), std::string::npos);
}

// Sectors that are cut off take the opening along, never more.
TEST_F(OpenedVolume, IsCutShortWithItsImage) {
    Bytes disk = MappedDisk(64);
    PutHfsPlus(disk, 96, {});
    for (std::size_t sectors = 0; sectors < 200; ++sectors) {
        const bool opened =
            open({disk.begin(), disk.begin() + static_cast<std::ptrdiff_t>(sectors * 512)});
        // The catalog's node 0 lies in sectors 116 and 117.
        EXPECT_EQ(opened, sectors >= 118) << sectors;
        // The map lies in the first three sectors; sector 1 tells that it goes on.
        const bool isCut = volume_.readOnlyReasons.has(ReadOnlyReason::CutImage);
        const std::uint64_t end =
            96 + volume_.totalBlocks() * std::uint64_t{volume_.sectorsPerBlock};
        EXPECT_EQ(isCut, sectors > 2 && (!opened || sectors < end)) << sectors;
        EXPECT_TRUE(sectors <= 2 || opened ||
                    messages_.texts.back().ends_with(": The image ends before its volume does."));
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
    const struct {
        std::optional<unsigned> number;
        std::uint64_t start;
        const char* problem;
    } cases[] = {{{}, 96, ""},
                 {2, 96, ""},
                 {3, 160, ""},
                 {1, 0, "disk: Partition 1 holds no volume"},
                 {0, 0, "no partition 0; there are: [1] empty (Type MacOS, size 0 MB), [2] A"},
                 {4, 0, "[3] B (Type MacOS, size 2 MB)."}};
    for (const auto& c : cases) {
        EXPECT_EQ(open(disk, {.path = {}, .partition = c.number}), c.start != 0);
        if (c.start != 0) {
            EXPECT_EQ(volume_.partitionStart, c.start);
            continue;
        }
        ASSERT_EQ(messages_.texts.size(), 1u);
        EXPECT_NE(messages_.texts[0].find(c.problem), std::string::npos) << messages_.texts[0];
        EXPECT_FALSE(volume_.isMounted || volume_.image);
    }
    Bytes bare;
    PutHfs(bare, 0, {}, "V");
    EXPECT_FALSE(open(bare, {.path = {}, .partition = 1}));
    EXPECT_NE(messages_.texts[0].find("not divided"), std::string::npos) << messages_.texts[0];
}

TEST_F(OpenedVolume, IsNoneOfADiskImageThatHasToBeExpanded) {
    for (const char* start : {"x", "PM", "BZ", "sp", ""}) {
        Bytes disk = MappedDisk(64);
        PutHfs(disk, 96, {}, "V");
        PutText(disk, 0, start);
        PutText(disk, disk.size() - 512, "koly");
        EXPECT_FALSE(open(disk)) << start;
        ASSERT_EQ(messages_.texts.size(), 1u);
        EXPECT_NE(messages_.texts[0].find("disk image"), std::string::npos) << messages_.texts[0];
    }
}

TEST_F(OpenedVolume, IsChangedByOneAtATime) {
    Bytes disk = MappedDisk(64);
    PutHfs(disk, 96, {}, "V");
    ASSERT_TRUE(open(disk));
    const std::string path = volume_.imagePath;
    VolumeContext second;
    for (const Access access : {Access::Read, Access::Change}) {
        EXPECT_FALSE(OpenVolume(second, {.path = path, .access = access}, messages_));
        EXPECT_NE(messages_.texts.back().find("another process"), std::string::npos);
    }
    CloseImage(volume_);
    VolumeContext third;
    ASSERT_TRUE(OpenVolume(second, {.path = path, .access = Access::Read}, messages_));
    EXPECT_TRUE(OpenVolume(third, {.path = path, .access = Access::Read}, messages_));
    EXPECT_FALSE(OpenVolume(volume_, {path}, messages_)) << "while it is read";
    CloseImage(second);
    CloseImage(third);
    EXPECT_TRUE(OpenVolume(second, {path}, messages_)) << "the lock goes with the image";
}

// What other programs make is taken for what it is: an empty disk of a person, a disc for reading.
TEST_F(OpenedVolume, OfOtherProgramsMayBeChangedUnlessTheyLockedIt) {
    const std::string path = folder_.path() + "/theirs";
    const struct {
        const char* program;
        const char* command;
        bool locked;
    } cases[] = {
        {"hformat", "dd if=/dev/zero of=theirs bs=1M count=2 && hformat -l V theirs", false},
        {"genisoimage", "mkdir -p in && genisoimage -hfs -part -o theirs in", true}};
    for (const auto& c : cases) {
        if (!IsInstalled(c.program))
            continue;
        const CommandResult made =
            RunCommand(folder_.path(), "cd " + folder_.path() + " && " + c.command);
        ASSERT_EQ(made.status, 0) << made.output;
        ASSERT_TRUE(OpenVolume(volume_, {.path = path}, messages_));
        EXPECT_EQ(volume_.readOnlyReasons.has(ReadOnlyReason::Locked), c.locked) << c.program;
        ASSERT_TRUE(OpenVolume(volume_, {.path = path, .writable = true}, messages_));
        EXPECT_FALSE(volume_.readOnlyReasons.any()) << c.program;
        EXPECT_FALSE(VolumeRemark(volume_)) << c.program;
    }
}

}  // namespace
}  // namespace vellmark
