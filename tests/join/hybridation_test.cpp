// Joining a partition to a disc: what a map says, which discs and partitions are refused and left
// as they were, what a person is asked, and the sheet of a disc with tracks. Other programs judge
// whole images in the tests of the program.
#include "join/hybridation.hpp"

#include "IO/disk_image_maker.hpp"
#include "join/cue_sheet.hpp"
#include "join/join_bench.hpp"

namespace vellmark::testing {
namespace {

using HybridationTest = JoinTest;

// Catches a partition that is cut, or not where the map says; a map in other blocks than 512; an
// entry of another partition; a driver that is named and not there; a source that is changed, or
// closed to who has it open and locked.
TEST_F(HybridationTest, TheMapLeadsToThePartitionBehindTheDisc) {
    const std::pair<Disk, bool> rows[] = {{{}, true},
                                          {{.isPlus = true}, true},
                                          {{.isFollowed = true}, false},
                                          {{.block = 2048}, false}};
    constexpr std::size_t kStart = 27 * 2048;
    for (const auto& [disk, opensRoot] : rows) {
        make(disk);
        const Bytes before = ReadFile(volume_);
        PcFile open = OpenLocked([&] { return PcFile(volume_, PcFile::Mode::ReadWrite); },
                                 LockKind::Exclusive, 0);
        EXPECT_EQ(join().result, HybridationResult::PartitionNotOpened);
        const HybridationOutcome outcome =
            Hybridate(disc_, {volume_, &open}, {.opensRoot = opensRoot}, messages_, progress_);
        ASSERT_EQ(outcome.result, HybridationResult::Done);
        EXPECT_EQ(outcome.isHfsPlus, disk.isPlus);
        EXPECT_EQ(ReadFile(volume_), before);
        Bytes expected = oldDisc_;
        expected.resize(kStart);
        expected = expected + Slice(partition_, 0, disk.isFollowed ? 18 * 512 : partition_.size());
        expected.resize(kStart + 5 * 2048);
        if (opensRoot)  // the folder that opens, as drFndrInfo and finderInfo name it
            Put(expected, kStart + 1024 + (disk.isPlus ? 88 : 100), be32(2));
        const Bytes joined = ReadFile(disc_);
        EXPECT_EQ(outcome.sizeBytes, joined.size());
        EXPECT_EQ(Slice(joined, 1536, joined.size()), Slice(expected, 1536, expected.size()));
        EXPECT_EQ(joined[17], 0) << "no driver";
        // Blocks of the partition without padding; a map in other blocks is made anew.
        const std::uint32_t blocks = disk.isFollowed ? 18 : 19;
        const std::uint32_t mapBlocks = disk.block == 512 ? 63 : 2;
        const std::pair<std::size_t, std::size_t> words[] = {
            {0, 0x45520200}, {4, expected.size() / 512}, {516, 2},       {524, mapBlocks},
            {1028, 2},       {1032, kStart / 512},       {1036, blocks}, {1108, blocks}};
        for (const auto& [at, word] : words)
            EXPECT_EQ(Word(joined, at), word) << at;
    }
}

// Each is refused for its own reason, and nothing of the disc has changed.
TEST_F(HybridationTest, WhatCannotBeJoinedIsLeftAsItWas) {
    using enum HybridationResult;
    const std::string wrong = "32769:58";  // no ISO image
    const struct {
        HybridationResult result;
        char option;  // f: force, a: asks
        const char* answers;
        std::string damaged, damage;
    } rows[] = {
        {HasMap, 'f', "", "disc", "0:4552"},                  // a second partition
        {HasMap, 'f', "", "disc", "1024:4244"},               // a volume without a map
        {NotIso, 'f', "", "disc", "=51202"},                  // a file behind the end
        {NotIso, 'f', "", "disc", "45126:1B0000000000001B"},  // the same in the Joliet tree
        {NotIso, 'f', "", "disc", "32926:6300000000000063"},  // a directory behind the end
        {NotIso, 'f', "", "disc", "32769:2D2D2D2D2D 37320:4344303031 =47040"},  // of older tools
        {NotIso, 'f', "", "disc", "32769:2D2D2D2D2D 37649:4344303031"},  // a raw disc that is cut
        {NotIso, 'f', "", "disc", wrong},
        {NotIso, 'f', "", "disc.iso", "47045:00"},                 // a sector of sound
        {NotIso, 'f', "", "disc.iso", "54114:20"},                 // a sector of form 2
        {NotIso, 'f', "", "disc.bin", "58805:00"},                 // sound at the end
        {NotIso, 'f', "", "disc.bin", "=68208 61152*7056:77"},     // no sectors behind the disc
        {PartitionNotOpened, 'f', "", "volume", "0:00"},           // no descriptor
        {PartitionNotOpened, 'f', "", "volume", "5120:5858"},      // a partition without a volume
        {PartitionNotOpened, 'f', "", "volume", "1544:FFFFFFFF"},  // outside its disk
        {PartitionNotOpened, 'f', "", "volume", "516:FFFFFFFF 1584:42"},  // a map without end
        {ImageRefused, 'f', "", "volume", "=9215"},                       // a volume that is cut
        {ImageRefused, 'f', "", "volume", "0:00 450:EE 510:55AA"},        // a GUID table
        {Stopped, '-', "n", "disc", "1535:01"},                           // other code in front
        {Done, '-', "y", "disc", "1535:01"},
        {Done, 'a', "y", "disc", wrong},
        {Stopped, 'a', "yn", "disc", "1535:01 " + wrong}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.damaged + " " + row.damage);
        make();
        if (row.damaged == "volume")
            file("volume.img", Damaged(ReadFile(volume_), row.damage));
        else if (row.damaged == "disc")
            file("disc.iso", Damaged(oldDisc_, row.damage));
        else  // a raw one of that name
            disc_ = file(row.damaged, Damaged(Raw(SmallDisc(), 24), row.damage));
        const Bytes disc = ReadFile(disc_);
        messages_ = {};
        for (const char* answer = row.answers; *answer != 0; ++answer)
            messages_.yesNo.push_back(*answer == 'y');
        const auto outcome = join({.force = row.option == 'f', .asks = row.option == 'a'});
        EXPECT_EQ(outcome.result, row.result);
        EXPECT_TRUE(messages_.yesNo.empty());
        EXPECT_EQ(outcome.needsForce, row.result == Stopped && disc[1535] != 0);
        EXPECT_EQ(ReadFile(disc_) == disc, row.result != Done);
        const bool isTold = messages_.shown.size() == 1 &&
                            messages_.shown[0].find(folder_.path()) != std::string::npos;
        EXPECT_EQ(isTold, outcome.result < Stopped);
    }
    // Sound that only the sheet tells of.
    const Bytes raw = Raw(SmallDisc(), 24);
    disc_ = file("disc.bin", raw);
    file("disc.cue", BytesOf("FILE \"disc.bin\" BINARY\n TRACK 01 MODE2/2352\n  INDEX 01 "
                             "00:00:00\n track 02 AUDIO\n  INDEX 01 00:00:20\n"));
    EXPECT_EQ(join().result, NotIso);
    EXPECT_EQ(ReadFile(disc_), raw);
    make();
    std::filesystem::resize_file(disc_, 660'000'000 - 4 * 2048);
    messages_.yesNo = {false};
    EXPECT_EQ(join({.asks = true}).result, Stopped) << "more than a CD holds";
}

// Zeros in a volume are no loss of one file alone.
TEST_F(HybridationTest, ACompressedVolumeIsJoinedWhenItIsWhole) {
    for (const int missing : {0, 9, -1}) {
        make();
        Bytes disk = ReadFile(volume_);
        disk.resize(40 * 512);
        ImageMaker maker;
        maker.table({BlockOf(kZlibBlock, disk)});
        maker.sectorCount = 40 + std::max(missing, 0);
        file("volume.img", Damaged(maker.make(), missing < 0 ? "0:0000" : ""));
        EXPECT_EQ(join().result,
                  missing == 0 ? HybridationResult::Done : HybridationResult::ImageRefused);
        if (missing == 0)
            EXPECT_EQ(Slice(ReadFile(disc_), 27 * 2048 + 1536, 27 * 2048 + partition_.size()),
                      Slice(partition_, 1536, partition_.size()));
        else
            EXPECT_EQ(ReadFile(disc_), oldDisc_);
    }
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
            EXPECT_EQ(outcome.sizeBytes, joined.size());
            EXPECT_EQ(staysRaw ? DataOf(joined, offset) : joined, expected);
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

// The same of a raw disc before its map: it may end anywhere, any of its new blocks may be missing.
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

TEST(CueSheet, TracksBehindTheFirstMoveOn) {
    const std::string first = "FILE \"a.bin\" BINARY\r\n  TRACK 01 MODE2/2352\r\n";
    const std::string track = "  track 02 MODE2/2352\n    FLAGS DCP\n";
    EXPECT_EQ(MoveTracks(first + track + "INDEX 00 00:04:00\nINDEX 01 00:06:00\nINDEX 02 59:59:74",
                         450, 76),
              first + track +
                  "    INDEX 00 00:05:01\r\n    INDEX 01 00:07:01\r\n    INDEX 02 60:01:00\r\n");
    // Two files, no time, one behind 100 minutes, none; and a second track elsewhere.
    const std::string second = first + "TRACK 02 X\nINDEX 01 00:06:00\n";
    for (const char* wrong :
         {"FILE \"b\" B\n", "INDEX 02 00:60:00\n", "INDEX 02 99:59:74\n", "INDEX 02\n"})
        EXPECT_EQ(MoveTracks(second + wrong, 450, 76), std::nullopt) << wrong;
    EXPECT_EQ(MoveTracks(second, 451, 76), std::nullopt);
}

}  // namespace
}  // namespace vellmark::testing
