// Images that other programs made: what is listed and taken out is what went in.
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ReadingTest;
using test::Write;

class ForeignImageTest : public ReadingTest {
  protected:
    void expectSource(const std::string& image, const char* tree) {
        const std::string out = image + "." + tree;
        EXPECT_EQ(run({"get", image, "/", "--as", tree, "-o", out}), 0) << err_;
        EXPECT_EQ(err_, "");
        expectSame(out, "in");
    }
};

TEST_F(ForeignImageTest, HybridsOfGenisoimage) {
    if (!test::HasProgram("genisoimage"))
        GTEST_SKIP() << "genisoimage is not installed";
    fs::remove("in/Sub Folder/Deep/caf\u00E9.txt");  // it knows no UTF-8
    ASSERT_TRUE(
        test::Shell("genisoimage -hfs -J -l -quiet -V Theirs "
                    "-hfs-volid Theirs -o disc.iso in"));
    expectSource("disc.iso", "joliet");
    EXPECT_EQ(run({"ls", "disc.iso", "Sub Folder", "--as", "hfs"}), 0) << err_;
    EXPECT_EQ(out_, "Deep\nlarge.bin\n");
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder/large.bin", "--as", "hfs", "-o", "a"}), 0);
    EXPECT_EQ(run({"get", "disc.iso", "SUB_FOLDER/LARGE.BIN", "--as", "iso", "-o", "b"}), 0);
    EXPECT_TRUE(test::Bytes("a") == test::Pattern(70'000));
    EXPECT_TRUE(test::Bytes("b") == test::Pattern(70'000));
    EXPECT_EQ(run({"info", "disc.iso"}), 0) << err_;
    EXPECT_NE(out_.find("hfs: Theirs (HFS)"), std::string::npos) << out_;
}

TEST_F(ForeignImageTest, HybridsOfXorriso) {
    if (!test::HasProgram("xorriso"))
        GTEST_SKIP() << "xorriso is not installed";
    ASSERT_TRUE(test::Shell(
        "LC_ALL=C.UTF-8 xorriso -as mkisofs -J -joliet-long -hfsplus -V Theirs -o disc.iso in"));
    expectSource("disc.iso", "joliet");
    expectSource("disc.iso", "hfs");
}

TEST_F(ForeignImageTest, AnAssociatedFileIsTheResourceForkOfItsFile) {
    if (!test::HasProgram("genisoimage"))
        GTEST_SKIP() << "genisoimage is not installed";
    // AppleDouble: the second file holds entry 2, the resource fork, of 5 bytes.
    Write("ad/note.txt", "data");
    Write("ad/._note.txt",
          std::string("\x00\x05\x16\x07\x00\x02\x00\x00", 8) + std::string(16, '\0') +
              std::string("\x00\x01\x00\x00\x00\x02\x00\x00\x00\x26\x00\x00\x00\x05", 14) +
              "forky");
    ASSERT_TRUE(test::Shell("genisoimage -apple -r --osx-double -quiet -o ad.iso ad"));
    const auto entries = json({"ls", "ad.iso", "--as", "iso"})["trees"][0]["entries"];
    ASSERT_EQ(entries.size(), 1u) << entries;
    EXPECT_EQ(entries[0]["size"], 4);
    EXPECT_EQ(entries[0]["resourceSize"], 5);
    EXPECT_EQ(json({"ls", "ad.iso", "NOTE.TXT"})["trees"][0]["entries"], entries)
        << "by its name it is shown the same";
    EXPECT_EQ(run({"get", "ad.iso", "NOTE.TXT", "-o", "-"}), 0) << err_;
    EXPECT_EQ(out_, "data");
}

}  // namespace
}  // namespace vellmark
