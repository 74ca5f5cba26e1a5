// Splitting discs: what is cut off, what is kept, and what is left of a disc when it fails.
#include "join/deshybridation.hpp"

#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>

#include "join/join_bench.hpp"

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

namespace vellmark::testing {
namespace {

using DeshybridationTest = JoinTest;

// The map comes back when nothing was cut off, and never leads behind the end.
TEST_F(DeshybridationTest, ASplitThatFailsSaysWhatIsLeft) {
    for (const bool isCut : {false, true}) {
        make();
        ASSERT_EQ(join().result, HybridationResult::Done);
        const Bytes joined = ReadFile(disc_);
        failingSyncs = isCut ? 8 : 1;
        EXPECT_EQ(Deshybridate(disc_, messages_).result, DeshybridationResult::NotWritten);
        failingSyncs = 0;
        const char* told = isCut ? "are gone all the same" : "nothing was cut off";
        EXPECT_NE(messages_.shown.back().find(told), std::string::npos) << messages_.shown.back();
        EXPECT_EQ(ReadFile(disc_), isCut ? Damaged(joined, "0*2560:00 =55296") : joined);
    }
}

// Files and boot images of the PC that lie behind the partition's start are kept, and other code in
// front. What is refused keeps every byte. Files of the PC lie up to sector 25.
TEST_F(DeshybridationTest, ASplitTakesOnlyWhatTheJoinBrought) {
    using enum PartitionKept;
    // A boot record of another system, and an entry of its partition but for the length.
    const std::string code = "0*446:90 446*66:00 450:90 510:55AA 1536:90 ";
    // A boot catalog (El Torito) with an image that no directory names, but for its sector.
    const std::string boot =
        "34816:00 34823:454C20544F5249544F2053504543494649434154494F4E 34887:16000000 "
        "45056*2048:00 45088:88 45096:";
    const struct {
        std::optional<PartitionKept> kept;  // none where the split is refused
        const char* change;                 // of the disc, by the split
        std::string before, since;          // what the disc was before, and what happened to it
    } rows[] = {{No, "0*2560:00 =55296", "", ""},
                {{}, "", "", "512:00"},
                {{}, "", "", "0:00 56320:00"},
                {{}, "", "", "32769:58"},
                {{}, "", "", "=0"},
                {No, "0*2560:00 =53248", "", "1032:00000068"},
                {HoldsIsoFiles, "0*2560:00", "", "1032:00000064"},
                {No, "512*1024:00 =55296", "", "0*512:00 1536:00"},
                {No, "512*1024:00 =55296", "", code + "458:6C000000"},  // ends with the disc
                {InBootRecord, "512*1024:00", "", code + "458:6D000000"},
                {No, "0*2560:00 =55296", boot + "19000000", ""},
                {HoldsIsoFiles, "0*2560:00", boot + "1E000000", ""}};
    for (const auto& row : rows) {
        SCOPED_TRACE(row.before + ";" + row.since);
        make();
        file("disc.iso", Damaged(oldDisc_, row.before));
        ASSERT_EQ(join().result, HybridationResult::Done);
        const Bytes disc = Damaged(ReadFile(disc_), row.since);
        file("disc.iso", disc);
        const DeshybridationOutcome outcome = Deshybridate(disc_, messages_);
        EXPECT_EQ(outcome.result,
                  row.kept ? DeshybridationResult::Done : DeshybridationResult::NoPartition);
        EXPECT_TRUE(!row.kept || outcome.kept == *row.kept);
        EXPECT_EQ(ReadFile(disc_), Damaged(disc, row.change));
    }
}

}  // namespace
}  // namespace vellmark::testing
