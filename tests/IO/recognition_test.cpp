// What a medium holds, from its first sectors: disks made field by field.
#include "IO/recognition.hpp"

#include <gtest/gtest.h>

#include <sstream>

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
    // What the scan finds, `result: name start+count, ... @first sector of the first`.
    std::string found(const Bytes& disk) {
        std::string text = std::to_string(scan(disk)) + ":";
        for (const PartitionEntry& entry : list_)
            text += " " + entry.name + " " + std::to_string(entry.startSector) + "+" +
                    std::to_string(entry.sectorCount);
        return text + " @" + std::to_string(context_.volumeOffset);
    }
    TemporaryFolder folder_;
    MediumContext context_;
    std::vector<PartitionEntry> list_;
};

/// A disk of so many sectors, by words: `d` a descriptor (block size, blocks), `m` an entry of a
/// map (block, name, type, start, count, entries), `v` a volume (sector, name), `b` an entry of a
/// boot record (type, first, count), `t` a text (offset, text).
Bytes DiskOf(std::size_t sectors, const std::string& words, std::size_t blockBytes = 512) {
    Bytes disk(sectors * 512);
    std::istringstream in(words);
    std::string name, type;
    std::uint32_t a = 0, b = 0, c = 0;
    std::size_t at = 0;
    for (std::string word; in >> word;)
        if (word == "d" && in >> a >> b)
            PutDescriptor(disk, static_cast<std::uint16_t>(a), b);
        else if (word == "m" && in >> at >> name >> type >> a >> b >> c)
            PutMapEntry(disk, at * blockBytes, name, type, a, b, c);
        else if (word == "v" && in >> at >> name)
            PutHfsHeader(disk, at, name);
        else if (word == "b" && in >> a >> b >> c)
            PutBootEntry(disk, 0, static_cast<std::uint8_t>(a), b, c);
        else if (word == "t" && in >> at >> name)
            PutText(disk, at, name);
        else
            ADD_FAILURE() << words;
    return disk;
}

TEST_F(Recognition, AppleMapsAndBareVolumes) {
    const struct {
        std::size_t sectors, blockBytes;
        std::string words;
        std::string_view found;
    } cases[] = {
        {40, 512, "d 512 4000 m 1 Apple Apple_partition_map 1 2 2 m 2 entry Apple_HFS 20 9 2",
         "1: entry 20+9 @20"},
        {40, 512, "d 512 4000 m 1 entry Apple_HFS 20 9 1 v 20 Volume\x8E",
         "1: Volume\x8E 20+9 @20"},
        {400, 2048, "d 2048 1000 m 1 Apple Apple_partition_map 1 2 2 m 2 disc Apple_HFS 50 900 2",
         "1: disc 200+3600 @200"},
        {32, 15872, "d 15872 100 m 1 n Apple_HFS 2 10 1", "1: n 62+310 @62"},
        {40, 512, "d 512 4000 m 1 n Apple_HFS 20 0 1", "0: @0"},
        {40, 512, "m 0 Apple Apple_partition_map 0 2 2 m 1 n Apple_HFS 20 10 2", "1: n 20+10 @20"},
        {40, 512, "d 512 100 b 175 5 5 m 1 n Apple_HFS 20 10 1", "1: n 20+10 @20"},
        {32, 512, "d 512 77", "-1: @0"},
        {32, 512, "d 512 77 t 1024 BD", "1: @0"},
        {32, 512, "d 512 77 t 512 TSabcd", "1: @1633837924"},  // a map of the old style
        {3, 512, "t 1024 BD", "1: @0"},
        {3, 512, "t 1024 H+", "1: @0"},
        {32, 512, "", "-2: @0"},
        {0, 512, "", "-2: @0"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(found(DiskOf(c.sectors, c.words, c.blockBytes)), c.found) << c.words;
        EXPECT_EQ(context_.readOnlyReasons.any(), c.sectors == 3) << "a bare volume";
        EXPECT_FALSE(context_.transferFailed) << "a short image is no failure";
    }
}

TEST_F(Recognition, TypesMatchAsTheBeginningOfAppleHfs) {
    for (const auto& [type, count] : {std::pair{"Apple_HFS", 1},
                                      {"Apple_", 1},
                                      {"", 1},
                                      {"Apple_HFSX", 1},
                                      {"Apple_Free", 0},
                                      {"apple_hfs", 0},
                                      {"Apple_HFS_and_32_letters_no_zero", 0}}) {
        Bytes disk(40 * 512);
        PutDescriptor(disk, 512, 4000);
        PutMapEntry(disk, 512, "n", type, 20, 10, 1);
        EXPECT_EQ(scan(disk), count) << type;
    }
}

// Disks have several partitions, discs for drives with larger blocks a map in blocks of 512, and
// some descriptors a block size that nobody has.
TEST_F(Recognition, TheMapIsReadAsFarAsItSaysWhateverTheBlocks) {
    for (const int blockSize : {512, 2048, 1024, 0, 1, 513, 16384, 65535}) {
        Bytes disk(400 * 512);
        PutDescriptor(disk, static_cast<std::uint16_t>(blockSize), 4000);
        for (std::size_t i = 0; i < 60; ++i)
            PutMapEntry(disk, 512 * (i + 1), "entry", i < 40 ? "Apple_HFS" : "Apple_Free",
                        static_cast<std::uint32_t>(100 + i), 10, 45);
        PutMapEntry(disk, 512 * 44, "the last but one", "Apple_HFSX", 300, 10, 45);
        PutMapEntry(disk, 512 * 46, "behind the end", "Apple_HFS", 300, 10, 45);
        EXPECT_EQ(scan(disk), 41) << blockSize;
        EXPECT_EQ(list_[39].startSector, 139u);
        EXPECT_EQ(list_[40].name, "the last but one");
        EXPECT_EQ(context_.driverBlockSize, 512);
        EXPECT_EQ(context_.totalSectors, 4000u);
    }
}

TEST_F(Recognition, BootRecordsOfferTheirMacintoshPartitions) {
    Bytes disk(512);
    PutBootEntry(disk, 0, 0x0B, 1, 1);
    EXPECT_EQ(scan(disk), kNoMacintoshPartition);
    PutBootEntry(disk, 1, 0xAF, 0xFFFFFFF0, 7);
    PutBootEntry(disk, 3, 0xAF, 3, 4);
    EXPECT_EQ(found(disk), "1: Untitled 4294967280+7 @4294967280") << "an entry of 0 ends them";
    PutBootEntry(disk, 2, 0xAF, 5, 6);
    EXPECT_EQ(scan(disk), 3);
    // Discs that a PC starts from may have a map behind the record.
    PutMapEntry(disk, 512, "Apple", "Apple_partition_map", 1, 2, 2);
    PutMapEntry(disk, 1024, "n", "Apple_HFS", 20, 10, 2);
    EXPECT_EQ(found(disk), "1: n 20+10 @20") << "no partition of the record has a volume";
    PutHfsHeader(disk, 5, "V");
    EXPECT_EQ(scan(disk), 3);
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
    EXPECT_EQ(found(disk), "2:  4294967360+192  60+0 @4294967360");
    EXPECT_EQ(list_[0].wideName, u"Mac \u00E9\u65E5");
    // One mark of the header is enough.
    Put(disk, 512 + 20, le32(9));
    EXPECT_EQ(scan(disk), 2) << "the signature alone";
    PutText(disk, 512, "NOT");
    EXPECT_EQ(scan(disk), kNoMacintoshPartition) << "neither";
    Put(disk, 512 + 20, le32(0));
    EXPECT_EQ(scan(disk), 2) << "the zero word alone";
}

TEST_F(Recognition, GuidArraysAreReadAsFarAsTheyReach) {
    Bytes disk = GptDisk();
    for (std::size_t i = 0; i < 128; ++i)
        PutGptEntry(disk, 1024 + 128 * i, i == 127 ? kHfsGuidBytes : kForeignGuidBytes, 90 + i,
                    90 + i, u"");
    EXPECT_EQ(found(disk), "1:  217+0 @217") << "the last entry lies behind the first 32 sectors";
    disk.resize(1024);
    PutGptHeader(disk, 2, 2, 256);
    PutGptEntry(disk, 1024, kHfsGuidBytes, 1, 2, std::u16string(70, u'n'));
    PutGptEntry(disk, 1024 + 256, kHfsGuidBytes, 3, 4, u"second");
    EXPECT_EQ(scan(disk), 2);
    EXPECT_EQ(list_[0].wideName, std::u16string(64, u'n'));
    EXPECT_EQ(list_[1].wideName, u"second");
    struct {
        std::uint32_t headerSector, count, size;
        std::uint64_t entrySector;
    } const impossible[] = {{1, 128, 127, 2},
                            {1, 0, 128, 2},
                            {1, 128, 4097, 2},
                            {1, 128, 0xFFFFFFFF, 2},
                            {32, 128, 128, 2},
                            {0xFFFFFFFF, 128, 128, 2},
                            {1, 0xFFFFFFFF, 4096, 0xFFFFFFFF}};
    for (const auto& c : impossible) {
        disk = GptDisk();
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
    EXPECT_EQ(found(disk), "2: Untitled 60+10 @60");
    PutBootEntry(disk, 0, 0xAF, 60, 10);
    PutBootEntry(disk, 1, 0xEE, 1, 79);
    EXPECT_EQ(found(disk), "1: Untitled 60+10  40+10 @60");
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
}

TEST(ClassifyImage, LooksAtTheStartAndAtTheTrailer) {
    const struct {
        std::string_view start;
        std::uint8_t bootType;  // 0: no boot record
        bool trailer;
        ImageClass expected;
    } cases[] = {
        {"", 0, false, ImageClass::Plain},
        {"", 0, true, ImageClass::TrailerDiskImage},
        {"", 0xEE, true, ImageClass::ProtectiveBootRecord},
        {"", 0xAF, false, ImageClass::MacintoshBootRecord},
        {"", 0x0B, false, ImageClass::Plain},
        {"x\xDA", 0xEE, true, ImageClass::ZlibDiskImage},
        {"PM", 0, true, ImageClass::PartitionDiskImage},
        {"PM", 0xAF, false, ImageClass::Plain},
        {"BZh9", 0xAF, false, ImageClass::Bzip2DiskImage},
        {"sprs", 0, true, ImageClass::SparseImage},
        {"ER", 0xEE, false, ImageClass::Plain},
        {"ER", 0xAF, true, ImageClass::TrailerDiskImage},
    };
    for (const auto& c : cases) {
        Bytes bytes(2048);
        if (c.bootType != 0)
            PutBootEntry(bytes, 0, c.bootType, 1, 1);
        PutText(bytes, 0, c.start);
        if (c.trailer)
            PutText(bytes, bytes.size() - 512, "koly");
        MemoryBytes file(bytes);
        EXPECT_EQ(ClassifyImage(file), c.expected) << c.start << " " << int{c.bootType};
    }
    MemoryBytes one(Bytes{'x'});
    EXPECT_EQ(ClassifyImage(one), ImageClass::ZlibDiskImage);
}

}  // namespace
}  // namespace vellmark
