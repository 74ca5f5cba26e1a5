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
    } cases[] = {{"1", 1}, {"2M", 2}, {"2048kb", 2}, {"1G", 1024},  {"100K", 0},      {"0", 0},
                 {"", 0},  {"-1", 0}, {"12X", 0},    {"131072", 0}, {"4294967297", 0}};
    for (const auto& c : cases) {
        const int status =
            run({"format", "v.img", "-s", c.size, "--label", "\u00C9t\u00E9", "--force"});
        EXPECT_EQ(status, c.megabytes > 0 ? 0 : 2) << c.size << err_;
        if (c.megabytes > 0) {
            const auto info = json({"info", "v.img"});
            EXPECT_EQ(info["trees"][0]["label"], "\u00C9t\u00E9");
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

}  // namespace
}  // namespace vellmark
