#include "IO/recognition.hpp"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <random>

#include "IO/apple_map.hpp"
#include "IO/disk_bytes.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

class Recognition : public ::testing::Test {
  protected:
    int scan(const Bytes& disk) {
        EXPECT_EQ(OpenImage(context_, MakeFile(folder_, "disk", disk)).result, OpenResult::Opened);
        return ScanMedium(context_, list_);
    }
    void expectRecord(std::size_t index, std::string_view name, std::uint64_t start,
                      std::uint64_t count) {
        ASSERT_LT(index, list_.size());
        EXPECT_EQ(list_[index].name, name);
        EXPECT_EQ(list_[index].startSector, start);
        EXPECT_EQ(list_[index].sectorCount, count);
        EXPECT_FALSE(list_[index].isWindows);
    }
    TemporaryFolder folder_;
    MediumContext context_;
    std::vector<PartitionEntry> list_;
};

TEST_F(Recognition, TheMapHoldsItselfAndOneVolume) {
    Bytes disk(40 * 512);
    PutDescriptor(disk, 512, 4000);
    PutMapEntry(disk, 512, "Apple", "Apple_partition_map", 1, 2, 2);
    PutMapEntry(disk, 1024, "entry name", "Apple_HFS", 20, 1000, 2);
    EXPECT_EQ(scan(disk), 1);
    ASSERT_EQ(list_.size(), 1u);
    expectRecord(0, "entry name", 20, 1000);
    EXPECT_EQ(context_.volumeOffset, 20u);
    EXPECT_EQ(context_.totalSectors, 4000u);
    EXPECT_EQ(context_.driverBlockSize, 512);
    EXPECT_EQ(context_.partitionCount, 1);
    EXPECT_FALSE(context_.readOnlyReasons.any());
    EXPECT_FALSE(context_.transferFailed);
    PutHfsHeader(disk, 20, "Volume \x8E");
    EXPECT_EQ(scan(disk), 1);
    expectRecord(0, "Volume \x8E", 20, 1000);
}

TEST_F(Recognition, BlocksOf2048BytesAreScaledToSectors) {
    Bytes disk(400 * 512);
    PutDescriptor(disk, 2048, 1000);
    PutMapEntry(disk, 2048, "Apple", "Apple_partition_map", 1, 2, 2);
    PutMapEntry(disk, 4096, "disc", "Apple_HFS", 50, 900, 2);
    PutHfsHeader(disk, 200, "A");
    EXPECT_EQ(scan(disk), 1);
    expectRecord(0, "A", 200, 3600);
    EXPECT_EQ(context_.volumeOffset, 200u);
    EXPECT_EQ(context_.totalSectors, 1000u) << "in blocks of the descriptor";
}

// Disks have several partitions, and discs for drives with larger blocks a map in blocks of 512.
TEST_F(Recognition, TheMapIsReadAsFarAsItTellsWhateverTheNamesInIt) {
    for (const int told : {512, 2048, 1024}) {
        Bytes disk(400 * 512);
        PutDescriptor(disk, static_cast<std::uint16_t>(told), 4000);
        for (std::size_t i = 0; i < 60; ++i)
            PutMapEntry(disk, 512 * (i + 1), "entry", i < 40 ? "Apple_HFS" : "Apple_Free",
                        static_cast<std::uint32_t>(100 + i), 10, 45);
        PutMapEntry(disk, 512 * 44, "the last but one", "Apple_HFSX", 300, 10, 45);
        PutMapEntry(disk, 512 * 46, "not told of", "Apple_HFS", 300, 10, 45);
        PutHfsHeader(disk, 100, "A name as long as the map is");
        EXPECT_EQ(scan(disk), 41) << told;
        expectRecord(0, "A name as long as the map is", 100, 10);
        expectRecord(39, "entry", 139, 10);
        expectRecord(40, "the last but one", 300, 10);
        EXPECT_EQ(context_.driverBlockSize, 512);
    }
}

TEST_F(Recognition, TypesMatchAsTheBeginningOfAppleHfs) {
    struct Case {
        std::string_view type;
        int found;
    };
    for (const Case c : {Case{"Apple_HFS", 1}, Case{"Apple_", 1}, Case{"", 1},
                         Case{"Apple_HFSX", 1}, Case{"Apple_Free", 0}, Case{"apple_hfs", 0},
                         Case{"Apple_HFS_and_32_letters_no_zero", 0}}) {
        Bytes disk(40 * 512);
        PutDescriptor(disk, 512, 4000);
        PutMapEntry(disk, 512, "n", c.type, 20, 10, 1);
        EXPECT_EQ(scan(disk), c.found) << c.type;
        PutMapEntry(disk, 512, "n", c.type, 20, 0, 1);
        EXPECT_EQ(scan(disk), 0) << "a count of 0 is skipped";
        EXPECT_EQ(context_.volumeOffset, 0u);
    }
}

TEST_F(Recognition, OtherBlocksBehindTheDescriptor) {
    Bytes disk(32 * 512);
    PutDescriptor(disk, 512, 77);
    EXPECT_EQ(scan(disk), kNoMapAfterDescriptor);
    EXPECT_EQ(context_.totalSectors, 77u);
    PutText(disk, 1024, "BD");
    EXPECT_EQ(scan(disk), 1);
    EXPECT_EQ(context_.volumeOffset, 0u);
    PutText(disk, 512, "TS");
    Put(disk, 514, be32(0x00123456));
    EXPECT_EQ(scan(disk), 1);
    EXPECT_EQ(context_.volumeOffset, 0x123456u);
    EXPECT_TRUE(list_.empty());
}

TEST_F(Recognition, ANonsenseBlockSizeIsTakenFor512) {
    for (const int size : {0, 1, 511, 513, 16384, 16896, 65535}) {
        Bytes disk(40 * 512);
        PutDescriptor(disk, static_cast<std::uint16_t>(size), 100);
        PutMapEntry(disk, 512, "n", "Apple_HFS", 20, 10, 1);
        EXPECT_EQ(scan(disk), 1) << size;
        EXPECT_EQ(context_.driverBlockSize, 512) << size;
        expectRecord(0, "n", 20, 10);
    }
    Bytes disk(32 * 512);
    PutDescriptor(disk, 15872, 100);
    PutMapEntry(disk, 15872, "last block that fits", "Apple_HFS", 2, 10, 1);
    EXPECT_EQ(scan(disk), 1);
    expectRecord(0, "last block that fits", 62, 310);
}

TEST_F(Recognition, AMapWithoutADescriptorBeginsInTheFirstSector) {
    Bytes disk(40 * 512);
    PutMapEntry(disk, 0, "Apple", "Apple_partition_map", 0, 2, 2);
    PutMapEntry(disk, 512, "n", "Apple_HFS", 20, 10, 2);
    EXPECT_EQ(scan(disk), 1);
    expectRecord(0, "n", 20, 10);
    EXPECT_EQ(context_.volumeOffset, 20u);
}

TEST_F(Recognition, ADescriptorGoesBeforeABootRecord) {
    Bytes disk(40 * 512);
    PutDescriptor(disk, 512, 100);
    PutBootEntry(disk, 0, 0xAF, 5, 5);
    PutMapEntry(disk, 512, "n", "Apple_HFS", 20, 10, 1);
    EXPECT_EQ(scan(disk), 1);
    expectRecord(0, "n", 20, 10);
}

TEST_F(Recognition, BareVolumesAreReadOnly) {
    for (const std::string_view signature : {"BD", "H+"}) {
        Bytes disk(3 * 512);
        PutText(disk, 1024, signature);
        EXPECT_EQ(scan(disk), 1) << signature;
        EXPECT_TRUE(context_.readOnlyReasons.any());
        EXPECT_EQ(context_.volumeOffset, 0u);
        EXPECT_FALSE(context_.transferFailed) << "a short image is no failure";
    }
    EXPECT_EQ(scan(Bytes(32 * 512)), kNothingRecognised);
    EXPECT_EQ(scan({}), kNothingRecognised);
    EXPECT_FALSE(context_.readOnlyReasons.any());
    CloseImage(context_);
    EXPECT_EQ(ScanMedium(context_, list_), kNothingRecognised);
}

TEST_F(Recognition, BootRecordsOfferTheirMacintoshPartitions) {
    Bytes disk(512);
    PutBootEntry(disk, 0, 0x0B, 1, 1);
    EXPECT_EQ(scan(disk), kNoMacintoshPartition);
    PutBootEntry(disk, 1, 0xAF, 0xFFFFFFF0, 7);
    PutBootEntry(disk, 3, 0xAF, 3, 4);
    EXPECT_EQ(scan(disk), 1) << "the third entry has type 0 and ends the walk";
    expectRecord(0, "Untitled", 0xFFFFFFF0, 7);
    EXPECT_EQ(context_.volumeOffset, 0xFFFFFFF0u);
    PutBootEntry(disk, 2, 0xAF, 5, 6);
    EXPECT_EQ(scan(disk), 3);
    expectRecord(2, "Untitled", 3, 4);
    // Discs that a PC starts from may have a map behind the record.
    PutMapEntry(disk, 512, "Apple", "Apple_partition_map", 1, 2, 2);
    PutMapEntry(disk, 1024, "n", "Apple_HFS", 20, 10, 2);
    EXPECT_EQ(scan(disk), 1) << "no partition of the record has a volume";
    expectRecord(0, "n", 20, 10);
    PutHfsHeader(disk, 5, "V");
    EXPECT_EQ(scan(disk), 3);
    PutText(disk, 1024, "no");
    PutText(disk, 512, "no");
    PutBootEntry(disk, 0, 0, 0, 0);
    EXPECT_EQ(scan(disk), kNoMacintoshPartition);
}

Bytes GptDisk() {
    Bytes disk(80 * 512);
    PutBootEntry(disk, 0, 0xEE, 1, 79);
    PutGptHeader(disk, 2, 128);
    return disk;
}

TEST_F(Recognition, GuidTablesOfferEntriesOfWhichAnyFieldMatches) {
    Bytes disk = GptDisk();
    PutGptEntry(disk, 1024, kForeignGuidBytes, 34, 40, u"EFI");
    PutGptEntry(disk, 1152, kHfsGuidBytes, 0x1'0000'0040, 0x1'0000'0100, u"Mac \u00E9\u65E5");
    Bytes lastFieldOnly = kForeignGuidBytes;
    std::copy(kHfsGuidBytes.begin() + 8, kHfsGuidBytes.end(), lastFieldOnly.begin() + 8);
    PutGptEntry(disk, 1280, lastFieldOnly, 60, 50, u"");
    // The entry number 4 is all zero: what follows is not seen.
    PutGptEntry(disk, 1536, kHfsGuidBytes, 70, 71, u"hidden");
    EXPECT_EQ(scan(disk), 2);
    ASSERT_EQ(list_.size(), 2u);
    expectRecord(0, "", 0x1'0000'0040, 0xC0);
    EXPECT_EQ(list_[0].wideName, u"Mac \u00E9\u65E5");
    expectRecord(1, "", 60, 0);
    EXPECT_EQ(context_.volumeOffset, 0x1'0000'0040u);
}

TEST_F(Recognition, GuidHeadersPassOnEitherMark) {
    Bytes disk = GptDisk();
    PutGptEntry(disk, 1024, kHfsGuidBytes, 40, 50, u"");
    Put(disk, 512 + 20, le32(9));
    EXPECT_EQ(scan(disk), 1) << "the signature alone";
    PutText(disk, 512, "NOT");
    EXPECT_EQ(scan(disk), kNoMacintoshPartition) << "neither";
    Put(disk, 512 + 20, le32(0));
    EXPECT_EQ(scan(disk), 1) << "the zero word alone";
}

TEST_F(Recognition, GuidArraysAreReadAsFarAsTheyReach) {
    Bytes disk = GptDisk();
    for (std::size_t i = 0; i < 128; ++i)
        PutGptEntry(disk, 1024 + 128 * i, i == 127 ? kHfsGuidBytes : kForeignGuidBytes, 90 + i,
                    90 + i, u"");
    EXPECT_EQ(scan(disk), 1) << "the last entry lies behind the first 32 sectors";
    expectRecord(0, "", 217, 0);
    for (std::size_t i = 0; i < 128; ++i)
        PutGptEntry(disk, 1024 + 128 * i, kHfsGuidBytes, 90 + i, 90 + i, u"");
    EXPECT_EQ(scan(disk), 128);
    const std::u16string longName(70, u'n');
    disk.resize(1024);
    PutGptHeader(disk, 2, 2, 256);
    PutGptEntry(disk, 1024, kHfsGuidBytes, 1, 2, longName);
    PutGptEntry(disk, 1024 + 256, kHfsGuidBytes, 3, 4, u"second");
    EXPECT_EQ(scan(disk), 2);
    expectRecord(0, "", 1, 1);
    EXPECT_EQ(list_[0].wideName, longName.substr(0, 64));
    EXPECT_EQ(list_[1].wideName, u"second");
}

TEST_F(Recognition, GuidTablesThatCannotBeAreRefused) {
    struct Case {
        std::uint32_t headerSector, count, size;
        std::uint64_t entrySector;
    };
    for (const Case c : {Case{1, 128, 127, 2}, Case{1, 128, 0, 2}, Case{1, 0, 128, 2},
                         Case{1, 128, 4097, 2}, Case{1, 128, 0xFFFFFFFF, 2}, Case{32, 128, 128, 2},
                         Case{0xFFFFFFFF, 128, 128, 2}, Case{1, 0xFFFFFFFF, 4096, 0xFFFFFFFF}}) {
        Bytes disk = GptDisk();
        PutBootEntry(disk, 0, 0xEE, c.headerSector, 79);
        PutGptHeader(disk, c.entrySector, c.count, c.size);
        PutGptEntry(disk, 1024, kHfsGuidBytes, 40, 50, u"");
        EXPECT_EQ(scan(disk), kNoMacintoshPartition) << c.headerSector << " " << c.size;
    }
}

// The result of the table replaces the count so far, and the record position stays where it was.
TEST_F(Recognition, AMixedBootRecordSetsTheCountFromTheGuidTable) {
    Bytes disk = GptDisk();
    PutGptEntry(disk, 1024, kHfsGuidBytes, 40, 50, u"table");
    PutBootEntry(disk, 1, 0xAF, 60, 10);
    EXPECT_EQ(scan(disk), 2);
    ASSERT_EQ(list_.size(), 1u);
    expectRecord(0, "Untitled", 60, 10);
    PutBootEntry(disk, 0, 0xAF, 60, 10);
    PutBootEntry(disk, 1, 0xEE, 1, 79);
    EXPECT_EQ(scan(disk), 1);
    expectRecord(0, "Untitled", 60, 10);
    expectRecord(1, "", 40, 10);
    EXPECT_EQ(list_[1].wideName, u"table");
}

TEST(FirstGptPartition, FollowsTheFirstEntryWhateverItsType) {
    Bytes disk = GptDisk();
    PutGptEntry(disk, 1024, kForeignGuidBytes, 0x5'0000'0022, 99, u"");
    const auto first = [](const Bytes& bytes) {
        MemoryBytes image(bytes);
        return FirstGptPartition(image);
    };
    ASSERT_TRUE(first(disk));
    EXPECT_EQ(first(disk)->startSector, 0x22u) << "the low 32 bits";
    Put(disk, 512 + 72, le64(~std::uint64_t{0}));
    EXPECT_FALSE(first(disk));
    PutBootEntry(disk, 0, 0xEE, 0xFFFFFFFF, 1);
    EXPECT_FALSE(first(disk));
    PutBootEntry(disk, 0, 0xAF, 1, 1);
    EXPECT_FALSE(first(disk));
    EXPECT_FALSE(first({}));
}

// Nothing that a disk says may crash, hang or reach outside a buffer (seen by the sanitizers).
TEST_F(Recognition, RandomDisksEndInAResult) {
    const unsigned seed = 20'240'607;
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Bytes disk = GptDisk();
    PutMapEntry(disk, 1024, "n", "Apple_HFS", 20, 10, 5);
    for (int round = 0; round < 600; ++round) {
        Bytes changed = disk;
        const int kind = round % 3;
        if (kind == 0)
            PutDescriptor(changed, static_cast<std::uint16_t>(random() % 64 * 256), 9);
        else if (kind == 1)
            PutMapEntry(changed, 0, "m", "", 1, 1, 5);
        for (int i = 0; i < 40; ++i)
            changed[446 + random() % 2000] = static_cast<std::uint8_t>(random());
        changed.resize(random() % changed.size());
        const int result = scan(changed);
        ASSERT_LE(list_.size(), kMostMapEntries);
        ASSERT_TRUE(result >= -2 || result == kNoMacintoshPartition);
    }
}

TEST_F(Recognition, AHybridDiscOfAnotherProgram) {
    if (std::system("command -v genisoimage >/dev/null") != 0)
        GTEST_SKIP() << "genisoimage is not installed";
    const std::string tree = folder_.path() + "/tree";
    std::filesystem::create_directory(tree);
    PcFile(tree + "/file.txt", PcFile::Mode::CreateNew).close();
    const std::string image = folder_.path() + "/hybrid.iso";
    const std::string command =
        "genisoimage -quiet -hfs -part -V 'Disc Name' -o " + image + " " + tree + " 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    PcFile file(image, PcFile::Mode::Read);
    EXPECT_EQ(ClassifyImage(file), ImageClass::Plain);
    ASSERT_NE(OpenImage(context_, image).result, OpenResult::Failed);
    EXPECT_EQ(ScanMedium(context_, list_), 1);
    ASSERT_EQ(list_.size(), 1u);
    EXPECT_EQ(list_[0].name, "Disc Name");
    EXPECT_EQ(list_[0].startSector + list_[0].sectorCount, context_.totalSectors);
}

}  // namespace
}  // namespace vellmark
