// The volume that a verb opens: what is refused, and what comes back when it is closed.
#include "reading/reading_bench.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/opened_volume.hpp"

namespace vellmark {
namespace {

using test::ReadingTest;
using test::Write;

class VolumeOptionsTest : public ReadingTest {
  protected:
    VolumeOptionsTest() {
        EXPECT_EQ(run({"format", "v.img", "--size", "1", "--label", "V", "-q"}), 0) << err_;
        // The volume alone, cut out of its partition.
        const auto row = json({"info", "v.img"})["partitions"][0];
        Write("bare.img", test::Bytes("v.img").substr(row["startSector"].get<std::size_t>() * 512,
                                                      row["sectorCount"].get<std::size_t>() * 512));
    }
    // The volume, opened for changes.
    std::unique_ptr<ChangedVolume> change() {
        return ChangedVolume::Open({"v.img"}, {}, terminal_.messages);
    }

    std::istringstream input_;
    std::ostringstream output_;
    std::ostringstream errors_;
    CommandContext context_{input_, output_, errors_, clock_};
    Terminal terminal_{context_, {}};
};

TEST_F(VolumeOptionsTest, ABareVolumeIsChangedOnRequestAlone) {
    EXPECT_EQ(run({"label", "bare.img"}), 0) << err_;
    EXPECT_EQ(run({"mkdir", "bare.img", "a"}), 1);
    EXPECT_NE(err_.find("bare.img cannot be changed. It is a bare volume"), std::string::npos);
    EXPECT_NE(err_.find("--writable"), std::string::npos);
    EXPECT_EQ(run({"mkdir", "--writable", "bare.img", "a"}), 0) << err_;
    EXPECT_EQ(err_, "");
}

// Catches a count that wraps round, a full folder that is called a full catalog, and a warning for
// each item.
TEST_F(VolumeOptionsTest, AnHfsFolderTakesAsManyItemsAsItCanCount) {
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
        const auto opened = change();
        std::optional<CatalogItem> folder;
        ASSERT_EQ(FindPath(opened->volume(), "Full", clock_, folder), TreeResult::Done);
        ASSERT_EQ(AddToValence(opened->volume(), c.more, folder->id), TreeResult::Done);
        (void)opened->close(clock_);
        EXPECT_EQ(run(c.arguments), c.status) << err_;
        EXPECT_EQ(err_.find(c.told), err_.rfind(c.told.empty() ? err_ : c.told)) << err_;
        EXPECT_NE(err_.find(c.told), std::string::npos) << c.told;
    }
}

TEST_F(VolumeOptionsTest, ALockedVolumeIsChangedOnRequestAndUnlocked) {
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

TEST_F(VolumeOptionsTest, ClosingWritesBackAndLettingGoDoesNot) {
    const std::string before = test::Bytes("v.img");
    ASSERT_TRUE(change());
    EXPECT_TRUE(test::Bytes("v.img") == before) << "let go, not closed";
    const auto opened = change();
    const auto at = static_cast<std::size_t>((opened->volume()->partitionStart + 2) * 512);
    EXPECT_FALSE(opened->close(clock_));
    const std::string after = test::Bytes("v.img");
    EXPECT_EQ(after[at + 73], before[at + 73] + 1) << "count of writes";
    EXPECT_EQ(after.size(), before.size());
}

TEST_F(VolumeOptionsTest, ClosingTellsOfATransferThatFailed) {
    const auto fail = [](VolumeContext& volume) {
        std::vector<std::uint8_t> sector(kSectorBytes);
        const std::uint64_t behind = volume.image->size() / kSectorBytes;
        EXPECT_NE(ReadSectors(volume.transferSlot, behind, sector), 0);
    };
    const auto changed = change();
    fail(changed->volume());
    EXPECT_NE(changed->close(clock_).words(Language::English).find("v.img"), std::string::npos);
    const auto read = ReadVolume::Open({"v.img"}, {}, terminal_.messages);
    fail(read->volume());
    EXPECT_NE(read->close().words(Language::English).find("v.img"), std::string::npos);
}

TEST_F(VolumeOptionsTest, InfoNumbersThePartitionsAndTellsWhatMayBeChanged) {
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
