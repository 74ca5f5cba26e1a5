// Images that other programs made: what is listed and taken out is what went in.
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Write;

class ForeignImageTest : public test::ReadingTest {
  protected:
    /// An image by a program; the test is skipped where that is not installed.
    static void makeBy(const std::string& program, const std::string& arguments) {
        if (std::system(("command -v " + program + " >/dev/null 2>&1").c_str()) != 0)
            GTEST_SKIP() << program << " is not installed";
        const std::string command = "LC_ALL=C.UTF-8 " + program + " " + arguments;
        ASSERT_EQ(std::system((command + " >/dev/null 2>&1").c_str()), 0) << command;
    }
    void expectSource(const std::string& tree) {
        play("0 get disc.iso / --as " + tree + " -o out." + tree);
        expectSame("out." + tree, "in");
    }
};

TEST_F(ForeignImageTest, HybridsOfGenisoimage) {
    std::filesystem::remove("in/Sub Folder/Deep/caf\u00E9.txt");  // it knows no UTF-8
    makeBy("genisoimage", "-hfs -J -l -quiet -V Theirs -hfs-volid Theirs -o disc.iso in");
    if (IsSkipped())
        return;
    expectSource("joliet");
    play(R"(
0 get disc.iso 'Sub Folder/large.bin' --as hfs -o a
0 get disc.iso SUB_FOLDER/LARGE.BIN --as iso -o b
0 info disc.iso => hfs: Theirs (HFS)
)");
    EXPECT_TRUE(Bytes("a") == test::Pattern(70'000) && Bytes("b") == Bytes("a"));
}

TEST_F(ForeignImageTest, HybridsOfXorriso) {
    makeBy("xorriso", "-as mkisofs -J -joliet-long -hfsplus -V Theirs -o disc.iso in");
    if (IsSkipped())
        return;
    expectSource("joliet");
    expectSource("hfs");
}

TEST_F(ForeignImageTest, AnAssociatedFileIsTheResourceForkOfItsFile) {
    // AppleDouble: the second file holds entry 2, the resource fork, of 5 bytes.
    Write("ad/note.txt", "data");
    Write("ad/._note.txt",
          std::string("\x00\x05\x16\x07\x00\x02\x00\x00", 8) + std::string(16, '\0') +
              std::string("\x00\x01\x00\x00\x00\x02\x00\x00\x00\x26\x00\x00\x00\x05", 14) +
              "forky");
    makeBy("genisoimage", "-apple -r --osx-double -quiet -o ad.iso ad");
    if (IsSkipped())
        return;
    const auto entries = json({"ls", "ad.iso", "--as", "iso"})["trees"][0]["entries"];
    ASSERT_EQ(entries.size(), 1u) << entries;
    EXPECT_EQ(entries[0]["size"], 4);
    EXPECT_EQ(entries[0]["resourceSize"], 5);
    play("0 get ad.iso NOTE.TXT -o - == data");
}

}  // namespace
}  // namespace vellmark
