// What a medium holds, from its first sectors: disks made field by field.
#include "IO/recognition.hpp"

#include <gtest/gtest.h>

#include <sstream>

#include "IO/apple_map.hpp"
#include "IO/disk_bytes.hpp"

namespace vellmark::testing {
namespace {

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
            text += " " + entry.name + std::string(entry.wideName.begin(), entry.wideName.end()) +
                    " " + std::to_string(entry.startSector.number()) + "+" +
                    std::to_string(entry.sectorCount);
        EXPECT_FALSE(context_.transferFailed) << "a short image is no failure";
        return text + " @" + std::to_string(context_.partitionStart.number()) +
               (context_.readOnlyReasons.any() ? " bare" : "");
    }
    TemporaryFolder folder_;
    MediumContext context_;
    std::vector<PartitionEntry> list_;
};

/// A disk of so many sectors, by words: `d` a descriptor (block size, blocks), `m` an entry of a
/// map (byte, name, type, start, count, entries), `v` a volume (sector, name), `b` an entry of a
/// boot record (index, type, first, count), `g` the header of a GUID table (sector of its entries,
/// count, size), `e` one of these (byte, type, first, last, name), `t` a text (byte, text).
Bytes DiskOf(std::size_t sectors, const std::string& words) {
    Bytes disk(sectors * 512);
    std::istringstream in(words);
    std::string name, type;
    std::uint32_t a = 0, b = 0, c = 0;
    std::uint64_t at = 0, last = 0;
    for (std::string word; in >> word;)
        if (word == "d" && in >> a >> b)
            PutDescriptor(disk, static_cast<std::uint16_t>(a), b);
        else if (word == "m" && in >> at >> name >> type >> a >> b >> c)
            PutMapEntry(disk, at, name, type, a, b, c);
        else if (word == "v" && in >> at >> name)
            PutHfsHeader(disk, at, name);
        else if (word == "b" && in >> at >> a >> b >> c)
            PutBootEntry(disk, at, static_cast<std::uint8_t>(a), b, c);
        else if (word == "g" && in >> last >> a >> b)
            PutGptHeader(disk, last, a, b);
        else if (word == "e" && in >> a >> type >> at >> last >> name)
            PutGptEntry(disk, a,
                        type == "hfs" ? kHfsGuidBytes
                        : type == "as"  // all but the last field are another's
                            ? Slice(kForeignGuidBytes, 0, 8) + Slice(kHfsGuidBytes, 8, 16)
                            : kForeignGuidBytes,
                        at, last, std::u16string(name.begin(), name.end()));
        else if (word == "t" && in >> at >> name)
            PutText(disk, at, name);
        else
            ADD_FAILURE() << words;
    return disk;
}

TEST_F(Recognition, FindsVolumesMapsBootRecordsAndGuidTables) {
    const std::string record = "b 0 11 1 1 b 1 175 4294967280 7 b 3 175 3 4 ";
    const std::string third = record + "b 2 175 5 6 ";
    const std::string behind = "m 512 Apple Apple_partition_map 1 2 2 m 1024 n Apple_HFS 20 10 2 ";
    const std::string guids = "b 0 238 1 79 g 2 128 128 ";
    const std::string array = guids +
                              "e 1024 foreign 34 40 EFI e 1152 hfs 4294967360 4294967552 Mac " +
                              "e 1280 as 60 50 - e 1536 hfs 70 71 behind-an-empty-one ";
    const struct {
        std::size_t sectors;
        std::string words;
        std::string_view found;
    } cases[] = {
        {40, "d 512 4000 m 512 Apple Apple_partition_map 1 2 2 m 1024 entry Apple_HFS 20 9 2",
         "1: entry 20+9 @20"},
        {40, "d 512 4000 m 512 entry Apple_HFS 20 9 1 v 20 Volume\x8E", "1: Volume\x8E 20+9 @20"},
        {400, "d 2048 99 m 2048 Apple Apple_partition_map 1 2 2 m 4096 disc Apple_HFS 50 900 2",
         "1: disc 200+3600 @200"},
        {40, "d 512 4000 m 512 n Apple_HFS 20 0 1", "0: @0"},
        // Entries lie where they do whatever the blocks, some of which nobody has.
        {40, "d 513 99 m 512 a Apple_HFS 9 1 3 m 1024 b Apple_Free 9 1 3 m 1536 c Apple_HFS 7 2 3",
         "2: a 9+1 c 7+2 @9"},
        // A type is the beginning of Apple_HFS, or begins with it.
        {40, "d 512 99 m 512 n Apple_ 20 9 2 m 1024 n Apple_HFSX 5 9 2", "2: n 20+9 n 5+9 @20"},
        {40, "d 512 99 m 512 n Apple_Free 20 9 2 m 1024 n apple_hfs 5 9 2", "0: @0"},
        {40, "m 0 Apple Apple_partition_map 0 2 2 m 512 n Apple_HFS 20 10 2", "1: n 20+10 @20"},
        {40, "d 512 100 b 0 175 5 5 m 512 n Apple_HFS 20 10 1", "1: n 20+10 @20"},
        {32, "d 512 77", "-1: @0"},
        {32, "d 512 77 t 512 TSabcd", "1: @1633837924"},  // a map of the old style
        {3, "t 1024 BD", "1: @0 bare"},
        {32, "", "-2: @0"},
        {1, "b 0 11 1 1", "-85: @0"},
        {1, record, "1: Untitled 4294967280+7 @4294967280"},  // an entry of 0 ends them
        {1, third, "3: Untitled 4294967280+7 Untitled 5+6 Untitled 3+4 @4294967280"},
        // Discs that a PC starts from may have a map behind the record.
        {32, third + behind, "1: n 20+10 @20"},
        {32, third + behind + "v 5 V",
         "3: Untitled 4294967280+7 Untitled 5+6 Untitled 3+4 @4294967280"},
        {80, array, "2: Mac 4294967360+192 - 60+0 @4294967360"},
        // One mark of the header is enough: the signature, or a word of zero.
        {80, array + "t 532 x", "2: Mac 4294967360+192 - 60+0 @4294967360"},
        {80, array + "t 512 NOT t 532 x", "-85: @0"},
        // The last of the entries lies behind the first 32 sectors.
        {80,
         guids + "g 31 128 128 e 15872 foreign 1 1 a e 16000 foreign 1 1 b " +
             "e 16128 foreign 1 1 c e 16256 foreign 1 1 d e 16384 hfs 217 217 n",
         "1: n 217+0 @217"},
        // The result of the table replaces the count so far, and the place stays where it was.
        {80, guids + "e 1024 hfs 40 50 table b 1 175 60 10", "2: Untitled 60+10 @60"},
        {80, guids + "e 1024 hfs 40 50 n b 0 175 60 10 b 1 238 1 79",
         "1: Untitled 60+10 n 40+10 @60"}};
    for (const auto& c : cases)
        EXPECT_EQ(found(DiskOf(c.sectors, c.words)), c.found) << c.words;
    for (const char* impossible :
         {"1 79 g 2 128 127", "1 79 g 2 0 128", "1 79 g 2 128 4097", "1 79 g 2 128 4294967295",
          "32 79 g 2 128 128", "4294967295 79 g 2 128 128", "1 79 g 4294967295 4294967295 4096"})
        EXPECT_EQ(found(DiskOf(80, "b 0 238 " + std::string(impossible) + " e 1024 hfs 40 50 n")),
                  "-85: @0")
            << impossible;
}

TEST(ClassifyImage, LooksAtTheStartAndAtTheTrailer) {
    for (const auto& [words, expected] :
         {std::pair{"", ImageClass::Plain},
          {"t 1536 koly", ImageClass::TrailerDiskImage},
          {"t 1536 koly b 0 238 1 1", ImageClass::ProtectiveBootRecord},
          {"b 0 175 1 1", ImageClass::MacintoshBootRecord},
          {"b 0 11 1 1", ImageClass::Plain},
          {"t 0 x\xDA t 1536 koly b 0 238 1 1", ImageClass::ZlibDiskImage},
          {"t 0 PM t 1536 koly", ImageClass::PartitionDiskImage},
          {"t 0 PM b 0 175 1 1", ImageClass::Plain},
          {"t 0 BZh9 b 0 175 1 1", ImageClass::Bzip2DiskImage},
          {"t 0 sprs t 1536 koly", ImageClass::SparseImage},
          {"t 0 ER b 0 238 1 1", ImageClass::Plain},
          {"t 0 ER t 1536 koly b 0 175 1 1", ImageClass::TrailerDiskImage}}) {
        MemoryBytes file(DiskOf(4, words));
        EXPECT_EQ(ClassifyImage(file), expected) << words;
    }
    MemoryBytes one(Bytes{'x'});
    EXPECT_EQ(ClassifyImage(one), ImageClass::ZlibDiskImage);
}

}  // namespace
}  // namespace vellmark::testing
