// Joining a partition to a disc: what a map says, which discs and partitions are refused and left
// as they were, and what a person is asked. Other programs judge whole images in the tests of the
// program.
#include "join/hybridation.hpp"

#include <map>

#include "join/deshybridation.hpp"
#include "join/join_bench.hpp"

namespace vellmark::testing {
namespace {

using HybridationTest = JoinTest;

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
        const Bytes before = ReadFile(volume_);
        const HybridationOutcome outcome = join();
        ASSERT_EQ(outcome.result, HybridationResult::Done) << messages_.shown.size();
        EXPECT_EQ(outcome.isHfsPlus, disk.isPlus);
        const Bytes joined = ReadFile(disc_);
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
            EXPECT_EQ(Slice(joined, at, at + 2), BytesOf("PM"));
            EXPECT_EQ(Word(joined, at + 4), 2u);
        }
        EXPECT_EQ(Slice(joined, 512 + 48, 512 + 67), BytesOf("Apple_partition_map"));
        EXPECT_EQ(Slice(joined, 1024 + 48, 1024 + 58),
                  BytesOf(std::string_view("Apple_HFS\0", 10)));
        // An entry of a map in other blocks is made anew.
        EXPECT_EQ(Word(joined, 512 + 12), disk.block == 512 ? 63u : 2u);
        EXPECT_EQ(Word(joined, 1024 + 8), start / 512);
        EXPECT_EQ(Word(joined, 1024 + 12), disk.isFollowed ? 18u : 19u) << "without padding";
        EXPECT_EQ(Word(joined, 1024 + 84), Word(joined, 1024 + 12));
        EXPECT_EQ(ReadFile(volume_), before);
    }
}

// The word in the header, Inside Macintosh: Files (drFndrInfo) and TN1150 (finderInfo).
TEST_F(HybridationTest, TheRootOpensOnTheDiscAndNotInItsSource) {
    for (const bool isPlus : {false, true}) {
        make({.isPlus = isPlus});
        const Bytes before = ReadFile(volume_);
        ASSERT_EQ(join({.opensRoot = true}).result, HybridationResult::Done);
        Bytes expected = partition_;
        Put(expected, 1024 + (isPlus ? 88 : 100), be32(2));
        const Bytes joined = ReadFile(disc_);
        EXPECT_EQ(Slice(joined, 27 * 2048, 27 * 2048 + expected.size()), expected);
        EXPECT_EQ(ReadFile(volume_), before);
    }
}

// Options (f: force, a: asks), answers (y, n), what is damaged (of raw discs too, one in a `.bin`),
// and how.
constexpr const char* kJoins = R"(
HasMap|f||disc|0:4552|a second partition
HasMap|f||disc|1024:4244|a volume without a map
HasMap|f||disc|1024:482B|the same, HFS+
NotIso|f||disc|=51202|a file behind the end
NotIso|f||disc|45126:1B0000000000001B|the same in the Joliet tree
NotIso|f||disc|32926:6300000000000063|a directory behind the end
NotIso|f||disc|32769:2D2D2D2D2D 37320:4344303031 =47040|a mark of older tools
NotIso|f||disc|32769:2D2D2D2D2D 37649:4344303031|a raw disc that is cut
NotIso|f||disc|32769:58|no ISO image
NotIso|f||disc|=1000|a cut disc
NotIso|f||disc|=0|an empty disc
NotIso|f||raw|47045:00|a sector of sound
NotIso|f||raw|54114:20|a sector of form 2
NotIso|f||bin|58805:00|sound at the end
NotIso|f||bin|=68208 61152*7056:77|no sectors behind the disc
PartitionNotOpened|f||volume|0:00|no descriptor
PartitionNotOpened|f||volume|512:00|no map
PartitionNotOpened|f||volume|1072:42|no Macintosh partition
PartitionNotOpened|f||volume|5120:5858|a partition without a volume
PartitionNotOpened|f||volume|5138:0000|a volume without blocks
PartitionNotOpened|f||volume|1032:FFFFFFFF|a partition outside its disk
PartitionNotOpened|f||volume|516:FFFFFFFF 1072:42|a map without end
PartitionNotOpened|f||volume|=0|an empty volume
ImageRefused|f||volume|=9215|a volume that is cut
ImageRefused|f||volume|0:7370|a sparse image
ImageRefused|f||volume|0:00 450:EE 510:55AA|a GUID table
ImageRefused|f||volume|0:78|a compressed one without a trailer
Stopped||n|disc|1535:01|other code in front
Done||y|disc|1535:01|
Done|f||disc|1535:01|
Stopped|a|n|disc|32769:58|no ISO image
Done|a|y|disc|32769:58|
Stopped|a|yn|disc|1535:01 32769:58|both
Done|a||disc|=53348|
)";

// Each is refused for its own reason, and nothing of the disc has changed.
TEST_F(HybridationTest, WhatCannotBeJoinedIsLeftAsItWas) {
    using enum HybridationResult;
    const std::map<std::string, HybridationResult> results = {
        {"HasMap", HasMap},   {"NotIso", NotIso}, {"PartitionNotOpened", PartitionNotOpened},
        {"Stopped", Stopped}, {"Done", Done},     {"ImageRefused", ImageRefused}};
    for (const auto& row : RowsOf(kJoins)) {
        const std::string& result = row[0];
        const std::string& damaged = row[3];
        const std::string& damage = row[4];
        SCOPED_TRACE(result + " " + damaged + " " + damage);
        make();
        if (damaged == "volume")
            file("volume.img", Damaged(ReadFile(volume_), damage));
        else if (damaged == "disc")
            file("disc.iso", Damaged(oldDisc_, damage));
        else
            disc_ = file(damaged == "bin" ? "disc.bin" : "disc.iso",
                         Damaged(Raw(SmallDisc(), 24), damage));
        const Bytes disc = ReadFile(disc_);
        messages_ = {};
        for (const char answer : row[2])
            messages_.yesNo.push_back(answer == 'y');
        const auto outcome = join({.force = row[1] == "f", .asks = row[1] == "a"});
        EXPECT_EQ(outcome.result, results.at(result));
        EXPECT_TRUE(messages_.yesNo.empty());
        EXPECT_EQ(outcome.needsForce, result == "Stopped" && disc[1535] != 0);
        EXPECT_EQ(ReadFile(disc_) == disc, result != "Done");
        if (outcome.result < Stopped) {
            ASSERT_EQ(messages_.shown.size(), 1u);
            EXPECT_NE(messages_.shown[0].find(folder_.path()), std::string::npos);
        }
    }
    // Sound that only the sheet tells of.
    const Bytes raw = Raw(SmallDisc(), 24);
    disc_ = file("disc.bin", raw);
    file("disc.cue", BytesOf("FILE \"disc.bin\" BINARY\n TRACK 01 MODE2/2352\n  INDEX 01 "
                             "00:00:00\n track 02 AUDIO\n  INDEX 01 00:00:20\n"));
    EXPECT_EQ(join().result, NotIso);
    EXPECT_EQ(ReadFile(disc_), raw);
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
    EXPECT_EQ(Slice(ReadFile(disc_), 27 * 2048, 27 * 2048 + partition_.size()), partition_);
}

// A raw disc is the plain one in another form, whether it stays raw or not. Whenever the person
// stops a join, the disc has its old bytes and nothing is left beside it.
TEST_F(HybridationTest, RawDiscsGetTheSameDataAsPlainOnes) {
    make();
    const Bytes plain = SmallDisc();
    disc_ = file("disc.iso", plain);
    ASSERT_EQ(join().result, HybridationResult::Done);
    const Bytes expected = ReadFile(disc_);
    for (const std::size_t offset : {16u, 24u})
        for (const bool staysRaw : {true, false}) {
            const Bytes old = Raw(plain, offset);
            disc_ = file(staysRaw ? "disc.bin" : "disc.iso", old);
            HybridationOutcome outcome;
            int stopAt = 0;
            while (outcome.result == HybridationResult::Stopped) {
                EXPECT_EQ(ReadFile(disc_), old) << stopAt;
                RecordedProgress progress(++stopAt);
                outcome = Hybridate(disc_, {volume_}, {}, messages_, progress);
            }
            EXPECT_GT(stopAt, 1);
            ASSERT_EQ(outcome.result, HybridationResult::Done);
            EXPECT_EQ(outcome.form, staysRaw ? HybridForm::Raw : HybridForm::Repacked);
            const Bytes joined = ReadFile(disc_);
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
            const Bytes split = ReadFile(disc_);
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
            Bytes torn = ReadFile(disc_);
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
    const Bytes old = Raw(SmallDisc(), 16);
    disc_ = file("disc.bin", old);
    ASSERT_EQ(join().result, HybridationResult::Done);
    const Bytes joined = ReadFile(disc_);
    for (std::size_t i = 0; i < 60; ++i) {
        Bytes torn = Slice(joined, 0, joined.size() - i * 190);
        std::copy_n(old.begin(), 2352, torn.begin());
        for (std::size_t at = old.size(); at < torn.size(); ++at)
            torn[at] = (at / 512 * 7 + i) % 11 < i % 12 ? std::uint8_t{0} : torn[at];
        file("disc.bin", torn);
        ASSERT_EQ(join().result, HybridationResult::Done) << i << messages_.shown.back();
        const Bytes again = DataOf(ReadFile(disc_), 16);
        const std::size_t start = (torn.size() + 2351) / 2352;
        EXPECT_EQ(Word(again, 1024 + 8), start * 4);
        EXPECT_EQ(Slice(again, start * 2048, start * 2048 + partition_.size()), partition_);
    }
}

}  // namespace
}  // namespace vellmark::testing
