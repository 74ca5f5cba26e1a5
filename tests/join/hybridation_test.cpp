// Joining and splitting discs: what a map says, which discs and partitions are refused and left as
// they were, and what a person is asked. The images are made field by field; other programs judge
// whole ones in the tests of the program.
#include "join/hybridation.hpp"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <map>
#include <sstream>

#include "IO/disk_bytes.hpp"
#include "IO/iso_image.hpp"
#include "IO/raw_sector.hpp"
#include "compiler/compiler_bench.hpp"
#include "join/deshybridation.hpp"

namespace {
// Bit n, from the lowest: the n-th call from now on fails.
unsigned failingSyncs = 0;
}  // namespace

// In place of the system's, for the whole program.
extern "C" int fsync(int descriptor) {
    const bool fails = failingSyncs % 2 == 1;
    failingSyncs /= 2;
    errno = fails ? EIO : errno;
    return fails ? -1 : static_cast<int>(syscall(SYS_fsync, descriptor));
}

namespace vellmark {
namespace {

using testing::Bytes;

constexpr std::size_t kPartitionBytes = 5 * 2048 - 700;  // to be rounded up

Bytes Slice(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(std::min(to, bytes.size()))};
}

std::uint32_t Word(const Bytes& bytes, std::size_t at) {
    return std::uint32_t{bytes[at]} << 24 | std::uint32_t{bytes[at + 1]} << 16 |
           std::uint32_t{bytes[at + 2]} << 8 | bytes[at + 3];
}

struct Disk {
    std::uint16_t block = 512;
    bool hasDriver = false;   // a partition in front of the volume
    bool isFollowed = false;  // and one behind it
    bool isPlus = false;
};

// A disk with a map and a partition that begins at its eighth block.
Bytes MakeDisk(const Disk& disk, const Bytes& partition) {
    const std::size_t block = disk.block;
    Bytes bytes;
    bytes.resize(8 * block);
    testing::PutDescriptor(bytes, disk.block, 99);
    bytes[17] = disk.hasDriver;
    const std::uint32_t entries = disk.hasDriver ? 3 : 2;
    testing::PutMapEntry(bytes, block, "map", "Apple_partition_map", 1, 63, entries);
    if (disk.hasDriver)
        testing::PutMapEntry(bytes, 2 * block, "driver", "Apple_Driver43", 4, 1, entries);
    testing::PutMapEntry(bytes, entries * block, "volume", "Apple_HFS", 8,
                         disk.isFollowed ? kPartitionBytes / disk.block : 0, entries);
    bytes.resize(8 * block);
    bytes.insert(bytes.end(), partition.begin(), partition.end());
    bytes.resize(bytes.size() + (disk.isFollowed ? 10'000 : 0), 0xEE);
    return bytes;
}

// Three allocation blocks of 512 bytes from sector 5 on.
Bytes MakePartition(bool isPlus) {
    Bytes bytes = testing::Pattern(kPartitionBytes);
    testing::PutText(bytes, 1024, isPlus ? "H+" : "BD");
    testing::Put(bytes, 1024 + 18, be16(3));
    testing::Put(bytes, 1024 + 20, be32(512));
    testing::Put(bytes, 1024 + 28, be16(5));
    testing::Put(bytes, 1024 + 40, be32(512));
    testing::Put(bytes, 1024 + 44, be32(8));
    return bytes;
}

// A copy with bytes written over, `AT:HEX` or `AT*TIMES:HEX`, and cut, `=SIZE`; a word for each.
Bytes Damaged(Bytes bytes, const std::string& damage) {
    std::istringstream words(damage);
    for (std::string word; words >> word;) {
        const std::size_t colon = word.find(':');
        if (word[0] == '=')
            bytes.resize(std::stoul(word.substr(1)));
        const std::size_t star = word.substr(0, colon).find('*');
        const std::size_t times = star == word.npos ? 1 : std::stoul(word.substr(star + 1));
        const std::string hex = colon == word.npos ? "" : word.substr(colon + 1);
        for (std::size_t i = 0; i < times * hex.size() / 2; ++i)
            bytes.at(std::stoul(word) + i) = static_cast<std::uint8_t>(
                std::stoul(hex.substr(2 * i % hex.size(), 2), nullptr, 16));
    }
    return bytes;
}

// Raw sectors around the data of a disc, all else in them left at 0.
Bytes Raw(const Bytes& data, std::size_t offset) {
    Bytes raw;
    for (std::size_t at = 0; at < data.size(); at += 2048) {
        Bytes sector(2352);
        SetRawHeader(std::span(sector).first<2352>(), static_cast<std::uint32_t>(at / 2048),
                     offset == 16 ? RawKind::Mode1 : RawKind::Mode2Form1);
        const Bytes block = Slice(data, at, at + 2048);
        std::copy(block.begin(), block.end(), sector.begin() + static_cast<std::ptrdiff_t>(offset));
        raw.insert(raw.end(), sector.begin(), sector.end());
    }
    return raw;
}

Bytes DataOf(const Bytes& raw, std::size_t offset) {
    Bytes data;
    for (std::size_t at = 0; at < raw.size(); at += 2352)
        data.insert(data.end(), raw.begin() + static_cast<std::ptrdiff_t>(at + offset),
                    raw.begin() + static_cast<std::ptrdiff_t>(at + offset + 2048));
    return data;
}

class HybridationTest : public ::testing::Test {
  protected:
    std::string file(const std::string& name, const Bytes& bytes) {
        return testing::MakeFile(folder_, name, bytes);
    }
    HybridationOutcome join(const HybridationOptions& options = {}) {
        return Hybridate(disc_, {volume_}, options, messages_, progress_);
    }
    // A disc of 26 sectors and a bit, and a disk for it.
    void make(const Disk& disk = {}) {
        oldDisc_ = testing::SmallDisc();
        oldDisc_.resize(oldDisc_.size() + 100, 0x11);
        disc_ = file("disc.iso", oldDisc_);
        partition_ = MakePartition(disk.isPlus);
        volume_ = file("volume.img", MakeDisk(disk, partition_));
    }

    TemporaryFolder folder_;
    test::ScriptedMessages messages_;
    testing::RecordedProgress progress_;
    std::string disc_;
    std::string volume_;
    Bytes oldDisc_;
    Bytes partition_;
};

// Catches a partition that is cut, or not where the map says; a map in other blocks than 512; an
// entry of another partition; a driver that is named and not there.
TEST_F(HybridationTest, TheMapLeadsToThePartitionBehindTheDisc) {
    const Disk disks[] = {{},
                          {.isPlus = true},
                          {.hasDriver = true},
                          {.isFollowed = true},
                          {.block = 2048, .hasDriver = true}};
    for (const Disk& disk : disks) {
        make(disk);
        const Bytes before = testing::ReadFile(volume_);
        const HybridationOutcome outcome = join();
        ASSERT_EQ(outcome.result, HybridationResult::Done) << messages_.shown.size();
        EXPECT_EQ(outcome.isHfsPlus, disk.isPlus);
        const Bytes joined = testing::ReadFile(disc_);
        const std::size_t start = 27 * 2048;
        const std::size_t stored = disk.isFollowed ? kPartitionBytes / 512 * 512 : kPartitionBytes;
        ASSERT_EQ(joined.size(), start + 5 * 2048);
        EXPECT_EQ(outcome.sizeBytes, joined.size());
        EXPECT_EQ(Slice(joined, 1536, oldDisc_.size()), Slice(oldDisc_, 1536, oldDisc_.size()));
        EXPECT_EQ(Slice(joined, start, start + stored), Slice(partition_, 0, stored));
        EXPECT_EQ(Slice(joined, start + stored, joined.size()),
                  Bytes(joined.size() - start - stored));
        EXPECT_EQ(Word(joined, 0), 0x45520200u);
        EXPECT_EQ(Word(joined, 4), joined.size() / 512);
        EXPECT_EQ(joined[17], 0);
        for (const std::size_t at : {512u, 1024u}) {
            EXPECT_EQ(Slice(joined, at, at + 2), testing::BytesOf("PM"));
            EXPECT_EQ(Word(joined, at + 4), 2u);
        }
        EXPECT_EQ(Slice(joined, 512 + 48, 512 + 67), testing::BytesOf("Apple_partition_map"));
        EXPECT_EQ(Slice(joined, 1024 + 48, 1024 + 58),
                  testing::BytesOf(std::string_view("Apple_HFS\0", 10)));
        EXPECT_EQ(Word(joined, 1024 + 8), start / 512);
        EXPECT_EQ(Word(joined, 1024 + 12), disk.isFollowed ? 18u : 19u) << "without padding";
        EXPECT_EQ(Word(joined, 1024 + 84), Word(joined, 1024 + 12));
        EXPECT_EQ(testing::ReadFile(volume_), before);
    }
}

// The word in the header, Inside Macintosh: Files (drFndrInfo) and TN1150 (finderInfo).
TEST_F(HybridationTest, TheRootOpensOnTheDiscAndNotInItsSource) {
    for (const bool isPlus : {false, true}) {
        make({.isPlus = isPlus});
        const Bytes before = testing::ReadFile(volume_);
        ASSERT_EQ(join({.opensRoot = true}).result, HybridationResult::Done);
        Bytes expected = partition_;
        testing::Put(expected, 1024 + (isPlus ? 88 : 100), be32(2));
        const Bytes joined = testing::ReadFile(disc_);
        EXPECT_EQ(Slice(joined, 27 * 2048, 27 * 2048 + expected.size()), expected);
        EXPECT_EQ(testing::ReadFile(volume_), before);
    }
}

// Options (f: force, a: asks), answers (y, n), what is damaged (of raw discs too, one in a `.bin`),
// and how.
constexpr const char* kJoins = R"(
HasMap f - disc 0:4552                                     # a second partition
HasMap f - disc 1024:4244                                  # a volume without a map
HasMap f - disc 1024:482B                                  # the same, HFS+
NotIso f - disc =51202                                     # a file behind the end
NotIso f - disc 45126:1B0000000000001B                     # the same in the Joliet tree
NotIso f - disc 32926:6300000000000063                     # a directory behind the end
NotIso f - disc 32769:2D2D2D2D2D 37320:4344303031 =47040   # a mark of older tools
NotIso f - disc 32769:2D2D2D2D2D 37649:4344303031          # a raw disc that is cut
NotIso f - disc 32769:58                                   # no ISO image
NotIso f - disc =1000                                      # a cut disc
NotIso f - disc =0                                         # an empty disc
NotIso f - raw 47045:00                                    # a sector of sound
NotIso f - raw 54114:20                                    # a sector of form 2
NotIso f - bin 58805:00                                    # sound at the end
NotIso f - bin =68208 61152*7056:77                        # no sectors behind the disc
PartitionNotOpened f - volume 0:00                         # no descriptor
PartitionNotOpened f - volume 512:00                       # no map
PartitionNotOpened f - volume 1072:42                      # no Macintosh partition
PartitionNotOpened f - volume 5120:5858                    # a partition without a volume
PartitionNotOpened f - volume 5138:0000                    # a volume without blocks
PartitionNotOpened f - volume 1032:FFFFFFFF                # a partition outside its disk
PartitionNotOpened f - volume 516:FFFFFFFF 1072:42         # a map without end
PartitionNotOpened f - volume =0                           # an empty volume
ImageRefused f - volume =9215                              # a volume that is cut
ImageRefused f - volume 0:7370                             # a sparse image
ImageRefused f - volume 0:00 450:EE 510:55AA               # a GUID table
ImageRefused f - volume 0:78                               # a compressed one without a trailer
Stopped - n disc 1535:01                                   # other code in front
Done - y disc 1535:01
Done f - disc 1535:01
Stopped a n disc 32769:58                                  # no ISO image
Done a y disc 32769:58
Stopped a yn disc 1535:01 32769:58                         # both
Done a - disc =53348
)";

// Each is refused for its own reason, and nothing of the disc has changed.
TEST_F(HybridationTest, WhatCannotBeJoinedIsLeftAsItWas) {
    using enum HybridationResult;
    const std::map<std::string, HybridationResult> results = {
        {"HasMap", HasMap},   {"NotIso", NotIso}, {"PartitionNotOpened", PartitionNotOpened},
        {"Stopped", Stopped}, {"Done", Done},     {"ImageRefused", ImageRefused}};
    std::istringstream in(kJoins);
    in.ignore();
    for (std::string line; std::getline(in, line);) {
        SCOPED_TRACE(line);
        std::istringstream row(line.substr(0, line.find('#')));
        std::string result;
        std::string options;
        std::string answers;
        std::string damaged;
        std::string damage;
        row >> result >> options >> answers >> damaged;
        std::getline(row, damage);
        make();
        if (damaged == "volume")
            file("volume.img", Damaged(testing::ReadFile(volume_), damage));
        else if (damaged == "disc")
            file("disc.iso", Damaged(oldDisc_, damage));
        else
            disc_ = file(damaged == "bin" ? "disc.bin" : "disc.iso",
                         Damaged(Raw(testing::SmallDisc(), 24), damage));
        const Bytes disc = testing::ReadFile(disc_);
        messages_ = {};
        for (const char answer : answers == "-" ? "" : answers)
            messages_.yesNo.push_back(answer == 'y');
        const auto outcome = join({.force = options == "f", .asks = options == "a"});
        EXPECT_EQ(outcome.result, results.at(result));
        EXPECT_TRUE(messages_.yesNo.empty());
        EXPECT_EQ(outcome.needsForce, result == "Stopped" && disc[1535] != 0);
        EXPECT_EQ(testing::ReadFile(disc_) == disc, result != "Done");
        if (outcome.result < Stopped) {
            ASSERT_EQ(messages_.shown.size(), 1u);
            EXPECT_NE(messages_.shown[0].find(folder_.path()), std::string::npos);
        }
    }
    // Sound that only the sheet tells of.
    const Bytes raw = Raw(testing::SmallDisc(), 24);
    disc_ = file("disc.bin", raw);
    file("disc.cue", testing::BytesOf("FILE \"disc.bin\" BINARY\n TRACK 01 MODE2/2352\n  INDEX 01 "
                                      "00:00:00\n track 02 AUDIO\n  INDEX 01 00:00:20\n"));
    EXPECT_EQ(join().result, NotIso);
    EXPECT_EQ(testing::ReadFile(disc_), raw);
    disc_ = folder_.path() + "/absent.iso";
    EXPECT_EQ(join().result, DiscNotOpened);
    // 660,000,000 bytes are a disc, one sector more is asked about.
    for (const bool isLarge : {false, true}) {
        make();
        std::filesystem::resize_file(disc_, 660'000'000 - 5 * 2048 + (isLarge ? 2048 : 0));
        messages_.yesNo.assign(isLarge, false);
        EXPECT_EQ(join({.asks = true}).result, isLarge ? Stopped : Done);
    }
    EXPECT_NE(messages_.questions.back().find("(659991808 + 10240 > 650 MB)"), std::string::npos);
}

// A volume that somebody changes is locked against any other opening, not against its owner.
TEST_F(HybridationTest, AnOpenVolumeIsJoinedByWhoHasItOpen) {
    make();
    PcFile open = OpenLocked([&] { return PcFile(volume_, PcFile::Mode::ReadWrite); },
                             LockKind::Exclusive, 0);
    EXPECT_EQ(join().result, HybridationResult::PartitionNotOpened);
    ASSERT_EQ(Hybridate(disc_, {volume_, &open}, {}, messages_, progress_).result,
              HybridationResult::Done);
    EXPECT_EQ(Slice(testing::ReadFile(disc_), 27 * 2048, 27 * 2048 + partition_.size()),
              partition_);
}

// A raw disc is the plain one in another form, whether it stays raw or not. Whenever the person
// stops a join, the disc has its old bytes and nothing is left beside it.
TEST_F(HybridationTest, RawDiscsGetTheSameDataAsPlainOnes) {
    make();
    const Bytes plain = testing::SmallDisc();
    disc_ = file("disc.iso", plain);
    ASSERT_EQ(join().result, HybridationResult::Done);
    const Bytes expected = testing::ReadFile(disc_);
    for (const std::size_t offset : {16u, 24u})
        for (const bool staysRaw : {true, false}) {
            const Bytes old = Raw(plain, offset);
            disc_ = file(staysRaw ? "disc.bin" : "disc.iso", old);
            HybridationOutcome outcome;
            int stopAt = 0;
            while (outcome.result == HybridationResult::Stopped) {
                EXPECT_EQ(testing::ReadFile(disc_), old) << stopAt;
                testing::RecordedProgress progress(++stopAt);
                outcome = Hybridate(disc_, {volume_}, {}, messages_, progress);
            }
            EXPECT_GT(stopAt, 1);
            ASSERT_EQ(outcome.result, HybridationResult::Done);
            EXPECT_EQ(outcome.form, staysRaw ? HybridForm::Raw : HybridForm::Repacked);
            const Bytes joined = testing::ReadFile(disc_);
            EXPECT_EQ(staysRaw ? DataOf(joined, offset) : joined, expected);
            if (staysRaw) {
                // The first new sector has its header and checks.
                Bytes sector = Slice(joined, 26 * 2352, 27 * 2352);
                const RawKind kind = offset == 16 ? RawKind::Mode1 : RawKind::Mode2Form1;
                SetRawHeader(std::span(sector).first<2352>(), 26, kind);
                SetRawChecks(std::span(sector).first<2352>(), kind);
                EXPECT_EQ(Slice(joined, 26 * 2352, 27 * 2352), sector);
            }
            // And back: the data but for the first 2,560 bytes.
            ASSERT_EQ(Deshybridate(disc_, messages_).result, DeshybridationResult::Done);
            const Bytes split = testing::ReadFile(disc_);
            EXPECT_EQ(staysRaw ? DataOf(split, offset) : split, Damaged(plain, "0*2560:00"));
        }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder_.path()), {}), 3);
}

// Catches a disc that stays half joined for good: any of the three blocks may be all that came to
// the device.
TEST_F(HybridationTest, AJoinThatWasTornInItsMapIsDoneAgain) {
    for (int present = 1; present < 7; ++present)
        for (const bool hasOther : {false, true}) {
            make();
            std::fill_n(oldDisc_.begin(), hasOther ? 1536 : 0, std::uint8_t{0x90});
            file("disc.iso", oldDisc_);
            ASSERT_EQ(join({.force = hasOther}).result, HybridationResult::Done);
            Bytes torn = testing::ReadFile(disc_);
            for (int block = 0; block < 3; ++block)
                if ((present >> block & 1) == 0)
                    std::copy_n(oldDisc_.begin() + 512 * block, 512, torn.begin() + 512 * block);
            file("disc.iso", torn);
            // What is behind other code is a map like any other, which a split takes away.
            const bool isMap = hasOther && present == 6;
            EXPECT_EQ(join({.force = hasOther}).result,
                      isMap ? HybridationResult::HasMap : HybridationResult::Done)
                << present << hasOther;
        }
}

// The same of a raw disc before it has a map: the file may end anywhere, and any of the blocks of
// 512 bytes of the partition may be missing.
TEST_F(HybridationTest, AJoinThatWasTornInItsRawSectorsIsDoneAgain) {
    make();
    const Bytes old = Raw(testing::SmallDisc(), 16);
    disc_ = file("disc.bin", old);
    ASSERT_EQ(join().result, HybridationResult::Done);
    const Bytes joined = testing::ReadFile(disc_);
    for (std::size_t i = 0; i < 60; ++i) {
        Bytes torn = Slice(joined, 0, joined.size() - i * 190);
        std::copy_n(old.begin(), 2352, torn.begin());
        for (std::size_t at = old.size(); at < torn.size(); ++at)
            torn[at] = (at / 512 * 7 + i) % 11 < i % 12 ? std::uint8_t{0} : torn[at];
        file("disc.bin", torn);
        ASSERT_EQ(join().result, HybridationResult::Done) << i << messages_.shown.back();
        const Bytes again = DataOf(testing::ReadFile(disc_), 16);
        const std::size_t start = (torn.size() + 2351) / 2352;
        EXPECT_EQ(Word(again, 1024 + 8), start * 4);
        EXPECT_EQ(Slice(again, start * 2048, start * 2048 + partition_.size()), partition_);
    }
}

// The map comes back when nothing was cut off, and never leads behind the end.
TEST_F(HybridationTest, ASplitThatFailsSaysWhatIsLeft) {
    for (const bool isCut : {false, true}) {
        make();
        ASSERT_EQ(join().result, HybridationResult::Done);
        const Bytes joined = testing::ReadFile(disc_);
        failingSyncs = isCut ? 8 : 1;
        EXPECT_EQ(Deshybridate(disc_, messages_).result, DeshybridationResult::NotWritten);
        failingSyncs = 0;
        const char* told = isCut ? "are gone all the same" : "nothing was cut off";
        EXPECT_NE(messages_.shown.back().find(told), std::string::npos) << messages_.shown.back();
        EXPECT_EQ(testing::ReadFile(disc_), isCut ? Damaged(joined, "0*2560:00 =55296") : joined);
    }
}

// What a split keeps of the partition (- where it is refused), what it makes of the disc, what the
// disc was before it was joined, and what happened to it since. Files of the PC lie up to
// sector 25. The last rows have a boot record of another system, whose partition ends with the disc
// or behind it, and a boot catalog (El Torito) with an image that no directory names.
constexpr const char* kSplits = R"(
No|0*2560:00 =55296||
-|||512:00
-|||0:00 56320:00
-|||1074:78
-|||1032:40
-|||=65023
-|||32769:58
-|||=0
No|0*2560:00 =53248||1032:00000068
HoldsIsoFiles|0*2560:00||1032:00000064
HoldsIsoFiles|0*2560:00||1032:00000048
HoldsIsoFiles|0*2560:00||1032:00000000
No|512*1024:00 =55296||0*512:00 1536:00
No|512*1024:00 =55296||0*446:90 446*66:00 450:90 510:55AA 1536:90 458:6C000000
InBootRecord|512*1024:00||0*446:90 446*66:00 450:90 510:55AA 1536:90 458:6D000000
No|0*2560:00 =55296|34816:00 34823:454C20544F5249544F2053504543494649434154494F4E 34887:16000000 45056*2048:00 45088:88 45096:19000000|
HoldsIsoFiles|0*2560:00|34816:00 34823:454C20544F5249544F2053504543494649434154494F4E 34887:16000000 45056*2048:00 45088:88 45096:1E000000|
)";

// Files and boot images of the PC that lie behind the partition's start are kept, and other code in
// front. What is refused keeps every byte.
TEST_F(HybridationTest, ASplitTakesOnlyWhatTheJoinBrought) {
    const std::map<std::string, PartitionKept> kept = {
        {"No", PartitionKept::No},
        {"HoldsIsoFiles", PartitionKept::HoldsIsoFiles},
        {"InBootRecord", PartitionKept::InBootRecord}};
    std::istringstream in(kSplits);
    in.ignore();
    for (std::string line; std::getline(in, line);) {
        SCOPED_TRACE(line);
        std::istringstream row(line);
        std::array<std::string, 4> parts;
        for (std::string& part : parts)
            std::getline(row, part, '|');
        const auto& [result, left, before, after] = parts;
        make();
        file("disc.iso", Damaged(oldDisc_, before));
        ASSERT_EQ(join().result, HybridationResult::Done);
        const Bytes disc = Damaged(testing::ReadFile(disc_), after);
        file("disc.iso", disc);
        const DeshybridationOutcome outcome = Deshybridate(disc_, messages_);
        EXPECT_EQ(outcome.result, kept.contains(result) ? DeshybridationResult::Done
                                                        : DeshybridationResult::NoPartition);
        EXPECT_TRUE(!kept.contains(result) || outcome.kept == kept.at(result));
        EXPECT_EQ(testing::ReadFile(disc_), Damaged(disc, left));
    }
    EXPECT_EQ(Deshybridate(folder_.path() + "/absent", messages_).result,
              DeshybridationResult::NotOpened);
}

}  // namespace
}  // namespace vellmark
