// The volume that a verb opens: what is refused, and what comes back when it is closed.
#include "session/partition.hpp"

#include "reading/reading_bench.hpp"
#include "volume/allocation.hpp"
#include "volume/catalog_changes.hpp"

namespace vellmark {
namespace {

using test::ReadingTest;
using test::Write;

class PartitionTest : public ReadingTest {
  protected:
    PartitionTest() {
        EXPECT_EQ(run({"format", "v.img", "--size", "1", "--label", "V", "-q"}), 0) << err_;
        // The volume alone, cut out of its partition.
        const auto row = json({"info", "v.img"})["partitions"][0];
        Write("bare.img", test::Bytes("v.img").substr(row["startSector"].get<std::size_t>() * 512,
                                                      row["sectorCount"].get<std::size_t>() * 512));
    }
    std::unique_ptr<Partition> open(const PartitionOptions& options, Access access) {
        errors_.str("");
        return Partition::Open(options, context_, terminal_, access);
    }
    bool close(Partition& partition) {
        errors_.str("");
        return partition.close(terminal_.messages);
    }

    std::istringstream input_;
    std::ostringstream output_;
    std::ostringstream errors_;
    CommandContext context_{input_, output_, errors_, clock_};
    Terminal terminal_{context_, {}};
};

TEST_F(PartitionTest, ABareVolumeIsChangedOnRequestAlone) {
    EXPECT_TRUE(open({"bare.img"}, Access::Read));
    EXPECT_EQ(errors_.str(), "");
    EXPECT_FALSE(open({"bare.img"}, Access::Change));
    EXPECT_NE(errors_.str().find("bare.img cannot be changed. It is a bare volume"),
              std::string::npos);
    EXPECT_NE(errors_.str().find("--writable"), std::string::npos);
    EXPECT_TRUE(open({.image = "bare.img", .writable = true}, Access::Change));
    EXPECT_EQ(errors_.str(), "");
}

// Catches a count that wraps round, a full folder that is called a full catalog, and a warning for
// each item.
TEST_F(PartitionTest, AnHfsFolderTakesAsManyItemsAsItCanCount) {
    for (const char* name : {"f", "g", "h"})
        Write(name, "x");
    ASSERT_EQ(run({"mkdir", "v.img", "Full", "Other"}), 0) << err_;
    const std::string many = "more than 32,767 items";
    const std::string full = "The folder has 65,535 items";
    const struct {
        std::int32_t more;
        std::vector<std::string> arguments;
        int status;
        std::string told;
    } cases[] = {{32'766, {"mkdir", "v.img", "Full/a"}, 0, ""},
                 {0, {"put", "v.img", "f", "g", "--to", "Full"}, 0, many},
                 {32'765, {"mkdir", "v.img", "Full/b"}, 0, many},
                 {0, {"mkdir", "v.img", "Full/c"}, 1, full},
                 {0, {"mv", "v.img", "Other", "--to", "Full"}, 1, full},
                 {0, {"put", "v.img", "h", "--to", "Full", "-q"}, 1, full},
                 {0, {"put", "v.img", "h", "--to", "Full/d", "--parents", "-q"}, 1, full},
                 {0, {"put", "v.img", "f", "--to", "Full", "--force", "-q"}, 0, ""}};
    for (const auto& c : cases) {
        auto partition = open({"v.img"}, Access::Change);
        ASSERT_EQ(LoadAllocationState(partition->volume()), TreeResult::Done);
        std::optional<CatalogItem> folder;
        ASSERT_EQ(FindPath(partition->volume(), "Full", clock_, folder), TreeResult::Done);
        ASSERT_EQ(AddToValence(partition->volume(), c.more, folder->id), TreeResult::Done);
        ASSERT_TRUE(close(*partition));
        EXPECT_EQ(run(c.arguments), c.status) << err_;
        EXPECT_EQ(err_.find(c.told), err_.rfind(c.told.empty() ? err_ : c.told)) << err_;
        EXPECT_NE(err_.find(c.told), std::string::npos) << c.told;
    }
}

TEST_F(PartitionTest, ALockedVolumeIsChangedOnRequestAndUnlocked) {
    const struct {
        std::vector<std::string> arguments;
        int status;
    } cases[] = {{{"attr", "v.img", "/", "--locked", "yes"}, 0},
                 {{"mkdir", "v.img", "a"}, 1},
                 {{"attr", "v.img", "/", "--set", "invisible"}, 1},
                 {{"mkdir", "v.img", "--writable", "a"}, 0},
                 {{"mkdir", "v.img", "b"}, 1},
                 {{"attr", "v.img", "/", "--locked", "no"}, 0},
                 {{"mkdir", "v.img", "b"}, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(run(c.arguments), c.status) << c.arguments[0] << err_;
}

TEST_F(PartitionTest, ClosingWritesBackWhatWasLoadedAndNothingElse) {
    const std::string before = test::Bytes("v.img");
    auto partition = open({"v.img"}, Access::Change);
    ASSERT_TRUE(partition);
    const auto at =
        static_cast<std::size_t>((partition->volume().partitionStart + 2) * kSectorBytes);
    EXPECT_TRUE(close(*partition));
    EXPECT_TRUE(test::Bytes("v.img") == before);
    partition = open({"v.img"}, Access::Change);
    ASSERT_EQ(LoadAllocationState(partition->volume()), TreeResult::Done);
    partition.reset();
    EXPECT_TRUE(test::Bytes("v.img") == before) << "let go, not closed";
    partition = open({"v.img"}, Access::Change);
    ASSERT_EQ(LoadAllocationState(partition->volume()), TreeResult::Done);
    EXPECT_TRUE(close(*partition));
    const std::string after = test::Bytes("v.img");
    EXPECT_EQ(after[at + 73], before[at + 73] + 1) << "count of writes";
    EXPECT_EQ(after.size(), before.size());
}

TEST_F(PartitionTest, ClosingTellsOfATransferThatFailed) {
    for (const Access access : {Access::Read, Access::Change}) {
        const auto partition = open({"v.img"}, access);
        ASSERT_TRUE(partition);
        std::vector<std::uint8_t> sector(kSectorBytes);
        const std::uint64_t behind = partition->volume().image->size() / kSectorBytes;
        EXPECT_NE(ReadSectors(partition->volume().transferSlot, behind, sector), 0);
        EXPECT_FALSE(close(*partition));
        EXPECT_NE(errors_.str().find("v.img"), std::string::npos) << errors_.str();
    }
}

TEST_F(PartitionTest, InfoNumbersThePartitionsAndTellsWhatMayBeChanged) {
    EXPECT_EQ(run({"info", "v.img"}), 0) << err_;
    EXPECT_NE(out_.find("partition [1] V (Type MacOS, size 1 MB): sector "), std::string::npos)
        << out_;
    EXPECT_NE(out_.find("changes      possible\n"), std::string::npos) << out_;
    EXPECT_EQ(json({"info", "v.img"})["partitions"][0]["number"], 1);
    const auto bare = json({"info", "bare.img"})["trees"][0];
    EXPECT_EQ(bare["changeable"], false);
    EXPECT_NE(bare["changeRefusal"].get<std::string>().find("bare"), std::string::npos);
    for (const char* verb : {"info", "ls", "tree"}) {
        EXPECT_EQ(run({verb, "v.img", "--partition", "1"}), 0) << err_;
        EXPECT_EQ(run({verb, "v.img", "--partition", "2"}), 1);
        EXPECT_NE(err_.find("v.img: There is no partition 2; there are: [1] V"), std::string::npos)
            << err_;
    }
    EXPECT_EQ(run({"get", "v.img", "/", "-p", "1", "-o", "out"}), 0) << err_;
}

}  // namespace
}  // namespace vellmark
