// Joining and splitting discs: what a map says, which discs and partitions are
// refused and left as they were, and what a person is asked. The images are
// made field by field; other programs judge whole ones in the tests of the
// program.
#include "join/hybridation.hpp"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
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
    bool hasMapEntry = true;
    bool hasDriver = false;   // a partition in front of the volume
    bool isFollowed = false;  // and one behind it
    bool isPlus = false;
    std::string type = "Apple_HFS";
};

// A disk with a map and a partition that begins at its eighth block.
Bytes MakeDisk(const Disk& disk, const Bytes& partition) {
    const std::size_t start = 8 * std::size_t{disk.block};
    Bytes bytes(start);
    testing::PutDescriptor(bytes, disk.block, 99);
    const std::uint32_t entries = (disk.hasMapEntry ? 1 : 0) + (disk.hasDriver ? 1 : 0) + 1;
    std::size_t at = disk.block;
    const auto add = [&](const char* type, std::uint32_t first, std::size_t count) {
        testing::PutMapEntry(bytes, at, "name", type, first,
                             static_cast<std::uint32_t>(count / disk.block), entries);
        at += disk.block;
    };
    if (disk.hasMapEntry)
        add("Apple_partition_map", 1, std::size_t{63} * disk.block);
    if (disk.hasDriver) {
        add("Apple_Driver43", 4, disk.block);
        bytes[17] = 1;
    }
    add(disk.type.c_str(), 8, disk.isFollowed ? kPartitionBytes / disk.block * disk.block : 0);
    bytes.resize(start);
    bytes.insert(bytes.end(), partition.begin(), partition.end());
    if (disk.isFollowed)
        bytes.resize(bytes.size() + 10'000, 0xEE);
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

class HybridationTest : public ::testing::Test {
  protected:
    std::string file(const std::string& name, const Bytes& bytes) {
        return testing::MakeFile(folder_, name, bytes);
    }
    HybridationOutcome join(const HybridationOptions& options = {}) {
        return Hybridate(disc_, {volume_}, options, messages_, progress_);
    }
    // A disc of 26 sectors and a bit, and a disk for it.
    void make(const Disk& disk = {}, const std::string& name = "disc.iso") {
        oldDisc_ = testing::SmallDisc();
        oldDisc_.resize(oldDisc_.size() + 100, 0x11);
        disc_ = file(name, oldDisc_);
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

// Catches a partition that is cut, or not where the map says; a map in other
// blocks than 512; an entry of another partition; a driver that is named and
// not there.
TEST_F(HybridationTest, TheMapLeadsToThePartitionBehindTheDisc) {
    const Disk disks[] = {{},
                          {.isPlus = true},
                          {.hasDriver = true},
                          {.isFollowed = true},
                          {.hasMapEntry = false},
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

// The word in the header, Inside Macintosh: Files (drFndrInfo) and TN1150
// (finderInfo).
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

// A copy with bytes written over, `AT:HEX`, and cut, `=SIZE`; a word for each.
Bytes Damaged(Bytes bytes, std::istringstream words) {
    for (std::string word; words >> word;) {
        const std::size_t colon = word.find(':');
        if (colon == word.npos)
            bytes.resize(std::stoul(word.substr(1)));
        for (std::size_t i = 0; colon != word.npos && colon + 1 + 2 * i < word.size(); ++i)
            bytes.at(std::stoul(word) + i) = static_cast<std::uint8_t>(
                std::stoul(word.substr(colon + 1 + 2 * i, 2), nullptr, 16));
    }
    return bytes;
}

// Each is refused for its own reason, and nothing of the disc has changed.
TEST_F(HybridationTest, WhatCannotBeJoinedIsLeftAsItWas) {
    using Result = HybridationResult;
    const struct {
        const char* name;
        const char* damage;
        Result result;
    } cases[] = {
        {"a second partition", "disc 0:4552", Result::HasMap},
        {"a volume without a map", "disc 1024:4244", Result::HasMap},
        {"the same, HFS+", "disc 1024:482B", Result::HasMap},
        {"a file behind the end", "disc =51202", Result::NotIso},
        {"the same in the Joliet tree", "disc 45126:1B0000000000001B", Result::NotIso},
        {"a directory behind the end", "disc 32926:6300000000000063", Result::NotIso},
        {"a mark of older tools", "disc 32769:2D2D2D2D2D 37320:4344303031 =47040", Result::NotIso},
        {"no ISO image", "disc 32769:58", Result::NotIso},
        {"a cut disc", "disc =1000", Result::NotIso},
        {"an empty disc", "disc =0", Result::NotIso},
        {"a raw disc that is cut", "disc 32769:2D2D2D2D2D 37649:4344303031", Result::NotIso},
        {"no descriptor", "volume 0:00", Result::PartitionNotOpened},
        {"no map", "volume 512:00", Result::PartitionNotOpened},
        {"no Macintosh partition", "volume 1072:42", Result::PartitionNotOpened},
        {"a partition without a volume", "volume 5120:5858", Result::PartitionNotOpened},
        {"a volume without blocks", "volume 5138:0000", Result::PartitionNotOpened},
        {"a partition outside its disk", "volume 1032:FFFFFFFF", Result::PartitionNotOpened},
        {"a map without end", "volume 516:FFFFFFFF 1072:42", Result::PartitionNotOpened},
        {"an empty volume", "volume =0", Result::PartitionNotOpened},
        {"a volume that is cut", "volume =9215", Result::ImageRefused},
        {"a sparse image", "volume 0:7370", Result::ImageRefused},
        {"a GUID table", "volume 0:00 450:EE 510:55AA", Result::ImageRefused},
        {"a compressed one without a trailer", "volume 0:78", Result::ImageRefused}};
    for (const auto& c : cases) {
        make();
        std::istringstream words(c.damage);
        std::string which;
        words >> which;
        const std::string& path = which == "disc" ? disc_ : volume_;
        file(which == "disc" ? "disc.iso" : "volume.img",
             Damaged(testing::ReadFile(path), std::move(words)));
        const Bytes disc = testing::ReadFile(disc_);
        messages_.shown.clear();
        EXPECT_EQ(join({.force = true}).result, c.result) << c.name;
        EXPECT_EQ(testing::ReadFile(disc_), disc) << c.name;
        ASSERT_EQ(messages_.shown.size(), 1u) << c.name;
        EXPECT_NE(messages_.shown[0].find(folder_.path()), std::string::npos) << messages_.shown[0];
    }
    disc_ = folder_.path() + "/absent.iso";
    EXPECT_EQ(join().result, HybridationResult::DiscNotOpened);
    make();
    volume_ = folder_.path() + "/absent.img";
    EXPECT_EQ(join().result, HybridationResult::PartitionNotOpened);
    volume_ = disc_;
    EXPECT_EQ(join().result, HybridationResult::PartitionNotOpened);
    EXPECT_EQ(testing::ReadFile(disc_), oldDisc_);
}

// A volume that somebody changes is locked against any other opening, not
// against its owner.
TEST_F(HybridationTest, AnOpenVolumeIsJoinedByWhoHasItOpen) {
    make();
    PcFile open = OpenLocked([&] { return PcFile(volume_, PcFile::Mode::ReadWrite); },
                             LockKind::Exclusive, 0);
    EXPECT_EQ(join().result, HybridationResult::PartitionNotOpened);
    ASSERT_EQ(Hybridate(disc_, {volume_, &open}, {}, messages_, progress_).result,
              HybridationResult::Done);
    EXPECT_EQ(Slice(testing::ReadFile(disc_), 27 * 2048, 27 * 2048 + partition_.size()),
              partition_);
    EXPECT_TRUE(open.isOpen());
}

// A no leaves the disc; a yes goes on; nobody is asked what need not be.
TEST_F(HybridationTest, APersonIsAskedBeforeAnythingIsLost) {
    const auto prepare = [&](bool isBootable, bool isIso) {
        make();
        if (isBootable)
            oldDisc_[1535] = 1;
        if (!isIso)
            testing::PutText(oldDisc_, 32'769, "-----");
        file("disc.iso", oldDisc_);
        messages_.questions.clear();
    };
    const struct {
        bool isBootable;
        bool isIso;
        HybridationOptions options;
        std::deque<bool> answers;
        HybridationResult result;
        bool needsForce;
    } cases[] = {{true, true, {}, {false}, HybridationResult::Stopped, true},
                 {true, true, {}, {true}, HybridationResult::Done, false},
                 {true, true, {.force = true}, {}, HybridationResult::Done, false},
                 {false, false, {.asks = true}, {false}, HybridationResult::Stopped, false},
                 {false, false, {.asks = true}, {true}, HybridationResult::Done, false},
                 {true, false, {.asks = true}, {true, false}, HybridationResult::Stopped, true},
                 {false, true, {.asks = true}, {}, HybridationResult::Done, false}};
    for (const auto& c : cases) {
        prepare(c.isBootable, c.isIso);
        messages_.yesNo = c.answers;
        const HybridationOutcome outcome = join(c.options);
        EXPECT_EQ(outcome.result, c.result);
        EXPECT_EQ(outcome.needsForce, c.needsForce);
        EXPECT_EQ(messages_.questions.size(), c.answers.size());
        if (c.result != HybridationResult::Done) {
            EXPECT_EQ(testing::ReadFile(disc_), oldDisc_);
        }
    }
    // 660,000,000 bytes are a disc, one more is asked about.
    for (const std::uint64_t total : {660'000'000u, 660'002'048u}) {
        prepare(false, true);
        PcFile disc(disc_, PcFile::Mode::ReadWrite);
        ASSERT_TRUE(disc.setSize(total - 5 * 2048));
        disc.close();
        messages_.yesNo = total > 660'000'000 ? std::deque{false} : std::deque<bool>{};
        EXPECT_EQ(join({.asks = true}).result,
                  total > 660'000'000 ? HybridationResult::Stopped : HybridationResult::Done);
    }
    EXPECT_NE(messages_.questions.back().find("(659991808 + 10240 > 650 MB)"), std::string::npos)
        << messages_.questions.back();
}

// Raw sectors around the data of a disc, all else in them left at 0.
Bytes Raw(const Bytes& data, std::size_t offset, std::size_t filler = 0) {
    Bytes raw;
    for (std::size_t at = 0; at < data.size(); at += 2048) {
        Bytes sector(2352);
        SetRawHeader(std::span(sector).first<2352>(), static_cast<std::uint32_t>(at / 2048),
                     offset == 16 ? RawKind::Mode1 : RawKind::Mode2Form1);
        const Bytes block = Slice(data, at, at + 2048);
        std::copy(block.begin(), block.end(), sector.begin() + static_cast<std::ptrdiff_t>(offset));
        raw.insert(raw.end(), sector.begin(), sector.end());
    }
    raw.resize(raw.size() + filler);
    return raw;
}

Bytes DataOf(const Bytes& raw, std::size_t offset) {
    Bytes data;
    for (std::size_t at = 0; at < raw.size(); at += 2352)
        data.insert(data.end(), raw.begin() + static_cast<std::ptrdiff_t>(at + offset),
                    raw.begin() + static_cast<std::ptrdiff_t>(at + offset + 2048));
    return data;
}

// A raw disc is the plain one in another form, whether it stays raw or not.
TEST_F(HybridationTest, RawDiscsGetTheSameDataAsPlainOnes) {
    make();
    const Bytes plain = testing::SmallDisc();
    disc_ = file("disc.iso", plain);
    ASSERT_EQ(join().result, HybridationResult::Done);
    const Bytes expected = testing::ReadFile(disc_);
    for (const std::size_t offset : {16u, 24u})
        for (const char* name : {"disc.bin", "disc.iso"}) {
            const bool staysRaw = std::string_view(name) == "disc.bin";
            disc_ = file(name, Raw(plain, offset));
            const HybridationOutcome outcome = join();
            ASSERT_EQ(outcome.result, HybridationResult::Done) << name;
            EXPECT_EQ(outcome.form, staysRaw ? HybridForm::Raw : HybridForm::Repacked);
            const Bytes joined = testing::ReadFile(disc_);
            EXPECT_EQ(staysRaw ? DataOf(joined, offset) : joined, expected) << name << offset;
            // What is new has headers and checks.
            for (std::size_t at = 0; staysRaw && at < joined.size(); at += 2352) {
                if (at != 0 && at / 2352 < 26)
                    continue;
                Bytes sector = Slice(joined, at, at + 2352);
                const RawKind kind = offset == 16 ? RawKind::Mode1 : RawKind::Mode2Form1;
                SetRawHeader(std::span(sector).first<2352>(), static_cast<std::uint32_t>(at / 2352),
                             kind);
                SetRawChecks(std::span(sector).first<2352>(), kind);
                EXPECT_EQ(Slice(joined, at, at + 2352), sector) << at / 2352;
            }
            // And back: the data but for the first 2,560 bytes.
            ASSERT_EQ(Deshybridate(disc_, messages_).result, DeshybridationResult::Done);
            const Bytes split = testing::ReadFile(disc_);
            const Bytes data = staysRaw ? DataOf(split, offset) : split;
            EXPECT_EQ(Slice(data, 0, 2560), Bytes(2560));
            EXPECT_EQ(Slice(data, 2560, data.size()), Slice(plain, 2560, plain.size()));
        }
}

// A track of sound, or sectors of form 2, would be lost in a plain image.
TEST_F(HybridationTest, RawDiscsOfSeveralKindsAreLeftAsTheyWere) {
    const struct {
        const char* name;
        std::function<void(Bytes& raw)> change;
        const char* sheet;
    } cases[] = {{"disc.iso", [](Bytes& raw) { raw[20 * 2352 + 5] = 0; }, ""},
                 {"disc.iso", [](Bytes& raw) { raw[23 * 2352 + 18] = 0x20; }, ""},
                 {"disc.bin", [](Bytes& raw) { raw[25 * 2352 + 5] = 0; }, ""},
                 {"disc.bin", [](Bytes& raw) { raw.resize(raw.size() + 3 * 2352, 0x77); }, ""},
                 {"disc.bin", [](Bytes&) {},
                  "FILE \"disc.bin\" BINARY\n TRACK 01 MODE2/2352\n"
                  "  INDEX 01 00:00:00\n track 02 AUDIO\n  INDEX 01 00:00:20\n"}};
    for (const auto& c : cases) {
        make();
        Bytes raw = Raw(testing::SmallDisc(), 24);
        c.change(raw);
        disc_ = file(c.name, raw);
        file("disc.cue", testing::BytesOf(c.sheet));
        EXPECT_EQ(join().result, HybridationResult::NotIso) << c.name;
        EXPECT_EQ(testing::ReadFile(disc_), raw) << c.name;
    }
}

// Whenever the person stops it, the disc has its old bytes and nothing is left
// beside it.
TEST_F(HybridationTest, AStoppedJoinLeavesTheDiscAsItWas) {
    for (const bool isRaw : {false, true})
        for (const char* name : {"disc.bin", "disc.iso"}) {
            int stops = 0;
            for (int stopAt = 1; stopAt < 20; ++stopAt) {
                make();
                const Bytes old = isRaw ? Raw(testing::SmallDisc(), 16) : testing::SmallDisc();
                disc_ = file(name, old);
                testing::RecordedProgress progress(stopAt);
                const auto outcome = Hybridate(disc_, {volume_}, {}, messages_, progress);
                if (outcome.result == HybridationResult::Done)
                    break;
                ++stops;
                EXPECT_EQ(outcome.result, HybridationResult::Stopped);
                EXPECT_EQ(testing::ReadFile(disc_), old) << name << stopAt;
            }
            EXPECT_GT(stops, 0) << name;
        }
    for (const auto& entry : std::filesystem::directory_iterator(folder_.path()))
        EXPECT_FALSE(entry.path().filename().string().starts_with('.')) << entry.path();
}

// Catches a disc that stays half joined for good: any of the three blocks may
// be all that came to the device.
TEST_F(HybridationTest, AJoinThatWasTornInItsMapIsDoneAgain) {
    for (int i = 2; i < 14; ++i) {
        const int present = i / 2;
        const bool hasOther = i % 2 == 1;
        make();
        std::fill_n(oldDisc_.begin(), hasOther ? 1536 : 0, std::uint8_t{0x90});
        file("disc.iso", oldDisc_);
        ASSERT_EQ(join({.force = hasOther}).result, HybridationResult::Done);
        Bytes torn = testing::ReadFile(disc_);
        for (int block = 0; block < 3; ++block)
            if ((present >> block & 1) == 0)
                std::copy_n(oldDisc_.begin() + 512 * block, 512, torn.begin() + 512 * block);
        file("disc.iso", torn);
        // What is behind other code is a map like any other, which a split takes
        // away.
        const bool isMap = hasOther && present == 6;
        EXPECT_EQ(join({.force = hasOther}).result,
                  isMap ? HybridationResult::HasMap : HybridationResult::Done)
            << i;
        EXPECT_EQ(join({.force = true}).result, HybridationResult::HasMap) << i;
    }
}

// The same of a raw disc before it has a map: the file may end anywhere, and
// any of the blocks of 512 bytes of the partition may be missing.
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
        messages_.shown.clear();
        ASSERT_EQ(join().result, HybridationResult::Done) << i << messages_.shown.back();
        const Bytes again = testing::ReadFile(disc_);
        EXPECT_EQ(Slice(again, 2352, torn.size()), Slice(torn, 2352, torn.size()));
        const std::size_t start = (torn.size() + 2351) / 2352;
        const Bytes data = DataOf(again, 16);
        EXPECT_EQ(Word(data, 1024 + 8), start * 4);
        EXPECT_EQ(Slice(data, start * 2048, start * 2048 + partition_.size()), partition_);
    }
}

// The map comes back when nothing was cut off, and never leads behind the end.
TEST_F(HybridationTest, ASplitThatFailsSaysWhatIsLeft) {
    const struct {
        unsigned failing;
        bool isCut;
        const char* told;
    } cases[] = {{1, false, "nothing was cut off"}, {8, true, "are gone all the same"}};
    for (const auto& c : cases) {
        make();
        ASSERT_EQ(join().result, HybridationResult::Done);
        const Bytes joined = testing::ReadFile(disc_);
        failingSyncs = c.failing;
        EXPECT_EQ(Deshybridate(disc_, messages_).result, DeshybridationResult::NotWritten);
        failingSyncs = 0;
        EXPECT_NE(messages_.shown.back().find(c.told), std::string::npos) << messages_.shown.back();
        Bytes expected = c.isCut ? Slice(joined, 0, 27 * std::size_t{2048}) : joined;
        std::fill_n(expected.begin(), c.isCut ? 2560 : 0, std::uint8_t{0});
        EXPECT_EQ(testing::ReadFile(disc_), expected) << c.failing;
    }
}

// Each lacks one thing, and keeps every byte.
TEST_F(HybridationTest, WhatIsNoHybridIsNotSplit) {
    make();
    ASSERT_EQ(join().result, HybridationResult::Done);
    const Bytes joined = testing::ReadFile(disc_);
    for (const char* damage :
         {"512:00", "0:00 56320:00", "1074:78", "1032:40", "=65023", "32769:58", "=0"}) {
        const Bytes disc = Damaged(joined, std::istringstream(damage));
        file("disc.iso", disc);
        EXPECT_EQ(Deshybridate(disc_, messages_).result, DeshybridationResult::NoPartition)
            << damage;
        EXPECT_EQ(testing::ReadFile(disc_), disc) << damage;
    }
    EXPECT_EQ(Deshybridate(folder_.path() + "/absent", messages_).result,
              DeshybridationResult::NotOpened);
}

// Only files that lie behind the partition's start keep it from being cut off.
TEST_F(HybridationTest, ASplitKeepsTheFilesOfThePc) {
    const struct {
        std::uint32_t start;  // in sectors
        bool isCut;
    } cases[] = {{26, true}, {25, false}, {18, false}, {0, false}};
    for (const auto& c : cases) {
        make();
        disc_ = file("disc.iso", testing::SmallDisc());
        ASSERT_EQ(join().result, HybridationResult::Done);
        Bytes disc = testing::ReadFile(disc_);
        testing::Put(disc, 1024 + 8, be32(c.start * 4));
        file("disc.iso", disc);
        const DeshybridationOutcome outcome = Deshybridate(disc_, messages_);
        ASSERT_EQ(outcome.result, DeshybridationResult::Done);
        EXPECT_EQ(outcome.kept == PartitionKept::No, c.isCut) << c.start;
        Bytes expected = disc;
        std::fill_n(expected.begin(), 2560, std::uint8_t{0});
        if (c.isCut)
            expected.resize(std::size_t{c.start} * 2048);
        EXPECT_EQ(testing::ReadFile(disc_), expected) << c.start;
    }
}

// Nor does what else stands in front of a disc go with the map: other code, or
// nothing, as behind a split that a power cut ended.
TEST_F(HybridationTest, ASplitKeepsABootRecord) {
    const struct {
        std::uint8_t code;
        std::uint32_t sectors;  // of a partition of the record
        PartitionKept kept;
    } cases[] = {{0, 0, PartitionKept::No},
                 {0x90, 27 * 4, PartitionKept::No},
                 {0x90, 27 * 4 + 1, PartitionKept::InBootRecord}};
    for (const auto& c : cases) {
        make();
        ASSERT_EQ(join().result, HybridationResult::Done);
        Bytes disc = testing::ReadFile(disc_);
        std::fill_n(disc.begin(), 512, c.code);
        std::fill_n(disc.begin() + 446, 66, std::uint8_t{0});
        disc[1536] = c.code;
        testing::PutBootEntry(disc, 0, c.code, 0, c.sectors);
        file("disc.iso", disc);
        EXPECT_EQ(Deshybridate(disc_, messages_).kept, c.kept);
        std::fill_n(disc.begin() + 512, 1024, std::uint8_t{0});
        disc.resize(c.kept == PartitionKept::No ? std::size_t{27} * 2048 : disc.size());
        EXPECT_EQ(testing::ReadFile(disc_), disc) << c.sectors;
    }
}

// El Torito: a boot image that no directory names keeps its bytes too.
TEST_F(HybridationTest, ASplitKeepsBootImages) {
    for (const std::uint32_t boot : {25u, 30u}) {
        make();
        Bytes disc = testing::SmallDisc();
        disc[17 * 2048] = 0;
        testing::PutText(disc, 17 * 2048 + 7, "EL TORITO SPECIFICATION");
        testing::Put(disc, 17 * 2048 + 71, le32(22));
        std::fill_n(disc.begin() + 22 * 2048, 2048, std::uint8_t{0});
        disc[22 * 2048 + 32] = 0x88;
        testing::Put(disc, 22 * 2048 + 40, le32(boot));
        disc_ = file("disc.iso", disc);
        ASSERT_EQ(join().result, HybridationResult::Done);
        const DeshybridationOutcome outcome = Deshybridate(disc_, messages_);
        EXPECT_EQ(outcome.kept, boot < 26 ? PartitionKept::No : PartitionKept::HoldsIsoFiles);
    }
}

}  // namespace
}  // namespace vellmark
