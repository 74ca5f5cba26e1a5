// `format`: which sizes and labels are taken, and that another program mounts the volume.
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::ReadingTest;
using test::Write;

class FormatTest : public ReadingTest {};

TEST_F(FormatTest, SizesAreWholeMegabytes) {
    const struct {
        const char* size;
        int megabytes;  // 0: refused
    } cases[] = {{"1", 1},
                 {"2M", 2},
                 {"2m", 2},
                 {"3MB", 3},
                 {"2048K", 2},
                 {"2048kb", 2},
                 {"1G", 1024},
                 {"100K", 0},
                 {"0", 0},
                 {"", 0},
                 {"-1", 0},
                 {"1.5G", 0},
                 {"12X", 0},
                 {"M", 0},
                 {"1 M", 0},
                 {"131072", 0},
                 {"1T", 0},
                 {"99999999999999999999", 0},
                 {"18446744073709551615T", 0},
                 {"4294967297", 0}};
    for (const auto& c : cases) {
        const int status = run({"format", "v.img", "-s", c.size, "--label", "V", "--force"});
        EXPECT_EQ(status, c.megabytes > 0 ? 0 : 2) << c.size << err_;
        if (c.megabytes > 0) {
            const auto info = json({"info", "v.img"});
            const std::uint64_t bytes = info["trees"][0]["sizeBytes"].get<std::uint64_t>();
            EXPECT_EQ(bytes >> 20, static_cast<std::uint64_t>(c.megabytes)) << c.size;
            EXPECT_GE(fs::file_size("v.img"), bytes) << c.size;
        } else {
            EXPECT_NE(err_.find("Try: vellmark format --help"), std::string::npos) << err_;
        }
        fs::remove("v.img");
    }
}

TEST_F(FormatTest, BlocksAreOfTheSmallestSizeOrAboveButNotAboveTheUsualOne) {
    const struct {
        const char* blocks;
        bool plus;
        int bytes;  // 0: refused
    } cases[] = {{"smallest", false, 1024}, {"1K", false, 1024}, {"1536", false, 1536},
                 {"4096", false, 4096},     {"512", false, 0},   {"4608", false, 0},
                 {"1100", false, 0},        {"", false, 4096},   {"small", false, 0},
                 {"smallest", true, 0}};
    for (const auto& c : cases) {
        std::vector<std::string> line = {"format", "v.img", "-s", "33M", "-l", "V", "-f", "-b"};
        line.emplace_back(c.blocks);
        if (c.plus)
            line.emplace_back("--hfsplus");
        EXPECT_EQ(run(line), c.bytes > 0 ? 0 : 2) << c.blocks << err_;
        if (c.bytes > 0) {
            EXPECT_EQ(json({"info", "v.img"})["trees"][0]["blockSize"], c.bytes) << c.blocks;
        }
    }
}

TEST_F(FormatTest, TheVolumeIsEmptyAndBearsItsLabel) {
    for (const bool plus : {false, true})
        for (const bool zero : {false, true}) {
            std::vector<std::string> line = {
                "format", "v.img", "--size", "4M", "--label", "\u00C9t\u00E9 2001", "-f"};
            if (plus)
                line.emplace_back("--hfsplus");
            if (zero)
                line.emplace_back("--zero");
            // HFS+ has no local time: a volume may be made in any zone and looked at in any other.
            clock_ = FixedClock(1'000'000'000, plus ? 9 * 3600 : 0);
            ASSERT_EQ(run(line), 0) << err_;
            clock_ = FixedClock(1'000'000'000, plus ? -5 * 3600 : 0);
            EXPECT_NE(out_.find(plus ? "empty HFS+ volume" : "empty HFS volume"),
                      std::string::npos);
            const auto tree = json({"info", "v.img", "--as", "hfs"})["trees"][0];
            EXPECT_EQ(tree["label"], "\u00C9t\u00E9 2001");
            EXPECT_EQ(tree["format"], plus ? "HFS+" : "HFS");
            EXPECT_EQ(tree["files"], 0);
            EXPECT_EQ(tree["folders"], 0);
            EXPECT_EQ(tree["created"], "2001-09-09T01:46:40Z");
            EXPECT_EQ(run({"ls", "v.img"}), 0) << err_;
            EXPECT_EQ(out_, "");
        }
}

TEST_F(FormatTest, LabelsAreThoseOfTheFormat) {
    const std::string l27(27, 'l');
    const std::string l61(61, 'l');
    const struct {
        std::string label;
        bool plus;
        int status;
    } cases[] = {{l27, false, 0}, {l27 + "l", false, 1}, {l61, true, 0},     {l61 + "l", true, 1},
                 {"", true, 1},   {"\u65E5", false, 1},  {"a\nb", false, 1}, {"a/b", false, 0}};
    for (const auto& c : cases) {
        std::vector<std::string> line = {"format", "v.img", "-s", "1", "-l", c.label, "-q"};
        if (c.plus)
            line.emplace_back("--hfsplus");
        EXPECT_EQ(run(line), c.status) << c.label << err_;
        EXPECT_EQ(fs::exists("v.img"), c.status == 0) << c.label;
        EXPECT_EQ(out_, "");
        fs::remove("v.img");
    }
}

TEST_F(FormatTest, AnExistingFileStaysUnlessForced) {
    Write("v.img", "mine");
    EXPECT_EQ(run({"format", "v.img", "--size", "1", "--label", "V"}), 1);
    EXPECT_NE(err_.find("v.img exists already"), std::string::npos) << err_;
    EXPECT_EQ(test::Bytes("v.img"), "mine");
    EXPECT_EQ(run({"format", "in", "--size", "1", "--label", "V", "--force"}), 1);
    EXPECT_EQ(run({"format", "no/v.img", "--size", "1", "--label", "V"}), 1);
    EXPECT_NE(err_.find("no folder no"), std::string::npos) << err_;
    EXPECT_EQ(run({"mkfs", "v.img", "--size", "1", "--label", "V", "--force"}), 0) << err_;
    EXPECT_EQ(test::SidesOf("v.img"), "M");
}

TEST_F(FormatTest, AnotherProgramMountsTheVolumeAndItsFilesAreRead) {
    if (!test::HasProgram("hmount") || !test::HasProgram("hcopy"))
        GTEST_SKIP() << "hfsutils is not installed";
    ASSERT_EQ(run({"format", "v.img", "--size", "3", "--label", "Work"}), 0) << err_;
    // It keeps its place in the home folder.
    const std::string home = "HOME=$PWD ";
    ASSERT_TRUE(test::Shell(home + "hmount v.img"));
    ASSERT_TRUE(test::Shell(home + "hmkdir ':a/b'"));
    ASSERT_TRUE(test::Shell(home + "hcopy -r 'in/Sub Folder/large.bin' ':a/b:50% off/now'"));
    ASSERT_TRUE(test::Shell(home + "hattrib -t PICT -c ogle ':a/b:50% off/now'"));
    ASSERT_TRUE(test::Shell(home + "humount"));
    EXPECT_EQ(run({"tree", "v.img"}), 0) << err_;
    EXPECT_EQ(out_, "/\n  a:b/\n    50% off:now\n") << "a slash in a name is written as a colon";
    const auto entry = json({"ls", "v.img", "a:b"})["trees"][0]["entries"][0];
    EXPECT_EQ(entry["type"], "PICT");
    EXPECT_EQ(entry["creator"], "ogle");
    EXPECT_EQ(run({"get", "v.img", "a:b/50% off:now", "-o", "out"}), 0) << err_;
    EXPECT_TRUE(test::Bytes("out") == test::Pattern(70'000));
}

}  // namespace
}  // namespace vellmark
