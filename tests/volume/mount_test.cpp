#include "volume/mount.hpp"

#include <gtest/gtest.h>

#include "volume/catalog_keys.hpp"
#include "volume/volume_bench.hpp"
#include "volume/volume_bytes.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

class Mount : public ::testing::Test {
  protected:
    bool mount(const Bytes& disk) {
        messages_.texts.clear();
        return OpenVolume(volume_, {MakeFile(folder_, "disk", disk)}, messages_);
    }
    TemporaryFolder folder_;
    KeptMessages messages_;
    VolumeContext volume_;
};

TEST_F(Mount, APartitionEndsWithTheImageWhateverTheMapTells) {
    Bytes disk = MappedDisk(0xFFFFFF00);
    PutHfs(disk, 96, {}, "A");
    ASSERT_TRUE(mount(disk));
    EXPECT_EQ(volume_.partitionSectors, 200u - 96);
}

TEST_F(Mount, BareVolumesAreForReading) {
    Bytes disk;
    PutHfs(disk, 0, {}, "Bare");
    ASSERT_TRUE(mount(disk));
    EXPECT_TRUE(volume_.readOnlyReasons.any());
    EXPECT_EQ(volume_.volumeOffset, 5u);
    EXPECT_EQ(LoadAllocationState(volume_), TreeResult::Failed);
    disk.clear();
    PutHfsPlus(disk, 0, {});
    ASSERT_TRUE(mount(disk));
    EXPECT_TRUE(volume_.readOnlyReasons.any() && volume_.isHfsPlus);
    EXPECT_EQ(volume_.volumeOffset, 0u);
    EXPECT_EQ(volume_.totalSectors, 60u);
}

TEST_F(Mount, BinaryNamesOnlyWithTheSignatureForThem) {
    struct Case {
        std::uint16_t signature;
        std::uint8_t compare;
        bool binary;
    };
    for (const Case c : {Case{kHfsxSignature, 0xBC, true}, Case{kHfsxSignature, 0xCF, false},
                         Case{kHfsPlusSignature, 0xBC, false}, Case{kHfsPlusSignature, 0, false}}) {
        Bytes disk = MappedDisk(64);
        PutHfsPlus(disk, 96, {.signature = c.signature});
        disk[(96 + 20) * 512 + 51] = c.compare;
        ASSERT_TRUE(mount(disk));
        const TreeKey upper = HfsPlusCatalogKey(2, u"A");
        const TreeKey lower = HfsPlusCatalogKey(2, u"a");
        EXPECT_EQ(volume_.catalog.format.compare(upper, lower), c.binary ? -1 : 0);
    }
}

TEST_F(Mount, WrappersAreSteppedThroughByEitherUnit) {
    // Embedded start 2, clump size 512, allocation area at 16: 18 sectors on.
    HfsHeader wrapper = {.blockSize = 1024,
                         .allocationStart = 16,
                         .clumpSize = 512,
                         .embeddedSignature = kHfsPlusSignature,
                         .embeddedStart = 2};
    for (const std::size_t sectors : {18u, 20u}) {
        Bytes disk = MappedDisk(104);
        PutHfs(disk, 96, wrapper, "Wrapper");
        std::fill(disk.begin() + 100 * 512, disk.end(), std::uint8_t{0});
        PutHfsPlus(disk, 96 + sectors, {.totalBlocks = 50});
        ASSERT_TRUE(mount(disk)) << sectors;
        EXPECT_TRUE(volume_.isHfsPlus);
        EXPECT_EQ(volume_.volumeOffset, 96 + sectors);
        EXPECT_EQ(volume_.partitionStart, 96 + sectors);
        EXPECT_EQ(volume_.totalSectors, 50u);
    }
    Bytes disk = MappedDisk(104);
    PutHfs(disk, 96, wrapper, "Wrapper");
    EXPECT_FALSE(mount(disk)) << "with nothing in it";
}

TEST_F(Mount, HfsHeadersThatCannotBeAreRefused) {
    struct Case {
        const char* what;
        HfsHeader header;
        bool mounts;
    };
    const Case cases[] = {
        {"sound", {}, true},
        {"block size 0", {.blockSize = 0}, false},
        {"block size 513", {.blockSize = 513}, false},
        {"block size 256", {.blockSize = 256}, false},
        {"block size 1536", {.blockSize = 1536}, true},
        {"no blocks", {.totalBlocks = 0}, false},
        {"bitmap behind the blocks", {.allocationStart = 3}, false},
        {"no first catalog extent", {.catalogBlocks = 0}, false},
        {"catalog outside", {.catalogStart = 19}, false},
        {"a cache size where a wrapper has its sign", {.embeddedSignature = 0x0101}, false},
    };
    for (const Case& c : cases) {
        Bytes disk = MappedDisk(64);
        PutHfs(disk, 96, c.header, "V");
        EXPECT_EQ(mount(disk), c.mounts) << c.what;
        EXPECT_EQ(volume_.image != nullptr, c.mounts) << c.what;
        if (!c.mounts) {
            ASSERT_EQ(messages_.texts.size(), 1u) << c.what;
            EXPECT_NE(messages_.texts[0].find("disk"), std::string::npos) << "names the file";
        }
    }
}

TEST_F(Mount, HfsPlusHeadersThatCannotBeAreRefused) {
    struct Case {
        const char* what;
        HfsPlusHeader header;
        bool mounts;
    };
    const Case cases[] = {
        {"sound", {}, true},
        {"block size 0", {.blockSize = 0}, false},
        {"block size 256", {.blockSize = 256}, false},
        {"block size 768", {.blockSize = 768}, false},
        {"block size 2^31", {.blockSize = 0x80000000}, false},
        {"no blocks", {.totalBlocks = 0}, false},
        {"system files outside", {.totalBlocks = 27}, false},
        {"catalog node size 0", {.catalogNodeSize = 0}, false},
        {"catalog node size 256", {.catalogNodeSize = 256}, false},
        {"catalog node size 1000", {.catalogNodeSize = 1000}, false},
        {"catalog node size 1536", {.catalogNodeSize = 1536}, false},
        {"catalog node size 65535", {.catalogNodeSize = 65535}, false},
        {"catalog nodes larger than their file", {.catalogNodeSize = 32768}, false},
        {"extents node size 0", {.extentsNodeSize = 0}, false},
        {"extents node size 513", {.extentsNodeSize = 513}, false},
    };
    for (const Case& c : cases) {
        Bytes disk = MappedDisk(64);
        PutHfsPlus(disk, 96, c.header);
        EXPECT_EQ(mount(disk), c.mounts) << c.what;
    }
}

TEST_F(Mount, OfSeveralPartitionsTheFirstWithAVolume) {
    Bytes disk(200 * 512);
    PutDescriptor(disk, 512, 200);
    PutMapEntry(disk, 512, "Apple", "Apple_partition_map", 1, 3, 3);
    PutMapEntry(disk, 1024, "empty", "Apple_HFS", 20, 40, 3);
    PutMapEntry(disk, 1536, "real", "Apple_HFS", 96, 64, 3);
    EXPECT_FALSE(mount(disk)) << "none";
    PutHfs(disk, 96, {}, "Second one's name");
    ASSERT_TRUE(mount(disk));
    EXPECT_EQ(volume_.partitionStart, 96u);
    EXPECT_EQ(volume_.partitionSectors, 64u);

    disk.assign(200 * 512, 0);
    PutBootEntry(disk, 0, 0xAF, 10, 40);
    PutBootEntry(disk, 1, 0xAF, 100, 64);
    PutHfsPlus(disk, 100, {});
    ASSERT_TRUE(mount(disk)) << "boot record";
    EXPECT_EQ(volume_.partitionStart, 100u);
}

TEST_F(Mount, GuidTables) {
    for (const bool foreignType : {false, true}) {
        Bytes disk(200 * 512);
        PutBootEntry(disk, 0, 0xEE, 1, 199);
        PutGptHeader(disk, 2, 4);
        if (!foreignType)
            PutGptEntry(disk, 1024, kHfsGuidBytes, 40, 60, u"empty");
        PutGptEntry(disk, foreignType ? 1024 : 1152,
                    foreignType ? kForeignGuidBytes : kHfsGuidBytes, 100, 163, u"real");
        PutHfs(disk, 100, {}, "G");
        ASSERT_TRUE(mount(disk)) << "type of another kind: " << foreignType;
        EXPECT_EQ(volume_.partitionStart, 100u);
    }
}

TEST_F(Mount, WhatIsNoVolumeGetsASentence) {
    struct Case {
        const char* what;
        Bytes bytes;
    };
    const Case cases[] = {{"empty", {}},
                          {"one byte", {0x42}},
                          {"zeros", Bytes(100'000)},
                          {"pattern", Pattern(100'000)},
                          {"map without volumes", MappedDisk(64)}};
    for (const Case& c : cases) {
        EXPECT_FALSE(mount(c.bytes)) << c.what;
        EXPECT_EQ(messages_.texts.size(), 1u) << c.what;
        EXPECT_FALSE(volume_.isMounted) << c.what;
    }
    EXPECT_FALSE(OpenVolume(volume_, {folder_.path() + "/missing"}, messages_));
    EXPECT_NE(messages_.texts.back().find("missing"), std::string::npos);
}

// Sectors that are cut off take the mount or the listing along, never more.
TEST_F(Mount, ImagesCutShortAreRefusedOrEmpty) {
    Bytes disk = MappedDisk(64);
    PutHfsPlus(disk, 96, {});
    for (std::size_t sectors = 0; sectors < 200; ++sectors) {
        const bool mounted =
            mount({disk.begin(), disk.begin() + static_cast<std::ptrdiff_t>(sectors * 512)});
        // The catalog's node 0 lies in sectors 116 and 117.
        EXPECT_EQ(mounted, sectors >= 118) << sectors;
        // The map lies in the first three sectors; sector 1 tells that it goes on.
        const bool isCut = volume_.readOnlyReasons.has(ReadOnlyReason::CutImage);
        const std::uint64_t end =
            96 + volume_.totalBlocks() * std::uint64_t{volume_.sectorsPerBlock};
        EXPECT_EQ(isCut, sectors > 2 && (!mounted || sectors < end)) << sectors;
        if (sectors > 2 && !mounted) {
            EXPECT_TRUE(
                messages_.texts.back().ends_with(": The image ends before its volume does."));
        }
    }
}

// What an earlier volume had loaded must not be written into the next one.
TEST_F(Mount, AnotherImageForgetsTheLoadedBitmap) {
    ASSERT_TRUE(Open(volume_, FormatSmall(folder_, false)));
    ASSERT_EQ(LoadAllocationState(volume_), TreeResult::Done);
    Bytes disk = MappedDisk(64);
    PutHfs(disk, 96, {}, "Other");
    ASSERT_TRUE(mount(disk));
    EXPECT_EQ(FlushVolume(volume_, kClock), TreeResult::Done);
    disk.resize(200 * 512);
    EXPECT_EQ(ReadFile(folder_.path() + "/disk"), disk);
}

}  // namespace
}  // namespace vellmark
