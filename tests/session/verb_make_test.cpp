// `make` and `build`: what comes out, and that nothing else does.
#include <sys/stat.h>
#include <unistd.h>

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::CountIn;
using test::SessionTest;
using test::SidesOf;
using test::Write;

constexpr const char* kMarker = "the bytes of one file, which lie in an image once";

class MakeTest : public SessionTest {
  protected:
    MakeTest() {
        Write("in/a.txt", kMarker);
        Write("in/sub/b.exe", "a program");
    }
};

TEST_F(MakeTest, TheKindSettlesTheSidesOfTheImage) {
    const struct {
        std::vector<std::string> options;
        const char* sides;
        const char* named;
    } cases[] = {{{}, "IM", "ISO 9660 + Joliet + HFS,"},
                 {{"--hfsplus"}, "IM", "ISO 9660 + Joliet + HFS+,"},
                 {{"--kind", "iso"}, "I", "ISO 9660 + Joliet,"},
                 {{"--kind", "hfs"}, "M", ": HFS,"},
                 {{"-k", "hfs", "--hfsplus"}, "M", ": HFS+,"}};
    for (const auto& c : cases) {
        std::vector<std::string> line = {"make", "in", "-o", "out.iso", "--force"};
        line.insert(line.end(), c.options.begin(), c.options.end());
        EXPECT_EQ(run(line), 0) << err_;
        EXPECT_EQ(err_, "");
        EXPECT_NE(out_.find(c.named), std::string::npos) << out_;
        EXPECT_EQ(SidesOf("out.iso"), c.sides) << c.named;
        EXPECT_EQ(CountIn("out.iso", kMarker), 1) << c.named;
        line[3] = "-";
        line.insert(line.end(), {"--label", "out"});
        EXPECT_EQ(run(line), 0) << err_;
        EXPECT_TRUE(out_ == test::Bytes("out.iso"))
            << "the standard output has the same bytes alone";
    }
    EXPECT_EQ(disk().size(), 5u) << "in, in/a.txt, in/sub, in/sub/b.exe, out.iso";
}

TEST_F(MakeTest, AFolderMayBeNamedInAnyWay) {
    fs::create_directories("make");
    Write("make/only.txt", "another folder, named as a verb is");
    Write("in/*", "a file whose name is a pattern");
    Write("in/**", "and one more");
    for (const std::string& folder : {std::string("./in//"), fs::absolute("in").string()}) {
        EXPECT_EQ(run({"make", folder, "-o", "out.iso", "-f"}), 0) << folder << err_;
        EXPECT_EQ(CountIn("out.iso", kMarker), 1) << folder;
        EXPECT_EQ(CountIn("out.iso", "a file whose name is a pattern"), 1) << folder;
    }
    EXPECT_EQ(run({"make", "make", "-o", "out.iso", "-f"}), 0) << err_;
    EXPECT_EQ(CountIn("out.iso", "named as a verb is"), 1);
}

TEST_F(MakeTest, TheImageIsNeverItsOwnSource) {
    Write("in/out.iso", "an older image that lies in the folder");
    fs::create_symlink("in/out.iso", "link.iso");
    EXPECT_EQ(run({"make", "in", "-o", "link.iso", "--force"}), 0) << err_;
    EXPECT_EQ(CountIn("in/out.iso", "an older image"), 0);
    EXPECT_EQ(CountIn("in/out.iso", kMarker), 1);
    EXPECT_TRUE(fs::is_symlink("link.iso")) << "the file is replaced, not the link to it";
}

TEST_F(MakeTest, WhatCannotBeDoneLeavesNothingBehind) {
    Write("old.iso", "an image of last year");
    Write("in/file", "no folder");
    fs::create_directories("empty");
    fs::create_directories("folder");
    fs::create_symlink("nowhere", "dangling.iso");
    ASSERT_EQ(::mkfifo("pipe", 0600), 0);
    const struct {
        std::vector<std::string> arguments;
        const char* inErrors;
    } cases[] = {
        {{"in", "-o", "old.iso"}, "old.iso exists already; --force"},
        {{"in", "-o", "dangling.iso"}, "dangling.iso exists already"},
        {{"nope", "-o", "x.iso"}, "There is no folder nope."},
        {{"in/file", "-o", "x.iso"}, "in/file is no folder."},
        {{"empty", "-o", "x.iso"}, "contains no files"},
        {{"in", "-o", "nope/x.iso"}, "there is no folder nope"},
        {{"in", "-o", "folder"}, "folder names a folder"},
        {{"in", "-o", "pipe", "--force"}, "pipe is a pipe"},
        {{"in", "-o", "x.iso", "--label", "A name of twenty-eight chars"}, "28 letters; HFS takes"},
        {{"in", "-o", "x.iso", "--label", "\xE6\x97\xA5"}, "MacRoman"},
    };
    fs::remove("pipe");  // reading it back would wait
    const Disk before = disk();
    for (const auto& c : cases) {
        ASSERT_EQ(::mkfifo("pipe", 0600), 0);
        std::vector<std::string> line = {"make"};
        line.insert(line.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(run(line), 1) << c.inErrors;
        EXPECT_NE(err_.find(c.inErrors), std::string::npos) << c.inErrors << err_;
        EXPECT_EQ(out_, "");
        EXPECT_TRUE(fs::is_fifo("pipe")) << c.inErrors;
        fs::remove("pipe");
        EXPECT_EQ(disk(), before) << c.inErrors;
    }
}

class BuildTest : public SessionTest {
  protected:
    BuildTest() {
        Write("in/a.txt", kMarker);
        EXPECT_EQ(run({"new", "p.vlpr", "--label", "P"}), 0) << err_;
        EXPECT_EQ(run({"add", "p.vlpr", "in"}), 0) << err_;
        fs::remove("p.BAK");
    }
};

TEST_F(BuildTest, TheImageLiesBesideTheProjectUnlessItIsNamed) {
    EXPECT_EQ(run({"build", "p.vlpr"}), 0) << err_;
    EXPECT_EQ(SidesOf("p.iso"), "IM");
    EXPECT_EQ(run({"build", "p.vlpr", "--kind", "hfs"}), 0) << err_;
    EXPECT_EQ(SidesOf("p.dmg"), "M");
    EXPECT_EQ(run({"build", "p.vlpr", "-o", "in/other.img", "--kind", "iso"}), 0) << err_;
    EXPECT_EQ(SidesOf("in/other.img"), "I");
    EXPECT_EQ(run({"build", "p.vlpr"}), 1) << "p.iso is there";
    EXPECT_EQ(run({"build", "p.vlpr", "--force"}), 0) << err_;
    EXPECT_FALSE(fs::exists("p.BAK")) << "a build changes nothing that would need a copy";
}

TEST_F(BuildTest, WhatCannotBeBuiltLeavesTheOldImage) {
    Write("old.iso", "an image of last year");
    Write("no.vlpr", "no project at all");
    Write("cut.vlpr", test::Bytes("p.vlpr").substr(0, 1000));
    ASSERT_EQ(run({"new", "plus.vlso"}), 0);
    ASSERT_EQ(run({"new", "gone.vlpr", "--label", "x"}), 0);
    Write("gone.txt", "here for now");
    ASSERT_EQ(run({"add", "gone.vlpr", "gone.txt"}), 0);
    fs::remove("gone.txt");
    const struct {
        std::vector<std::string> arguments;
        const char* inErrors;
    } cases[] = {
        {{"nope.vlpr"}, "nope.vlpr. No such file"},
        {{"no.vlpr"}, "not recognized as a project file"},
        {{"cut.vlpr"}, "cut short or damaged"},
        {{"in"}, "in. Is a directory"},
        {{"plus.vlso"}, "contains no files"},
        {{"p.vlpr", "-o", "./in/../p.vlpr", "--force"}, "would replace its own project"},
        {{"gone.vlpr", "-o", "old.iso", "--force"}, "gone.txt is not there any more"},
    };
    const Disk before = disk();
    for (const auto& c : cases) {
        std::vector<std::string> line = {"build"};
        line.insert(line.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(run(line), 1) << c.inErrors;
        EXPECT_NE(err_.find(c.inErrors), std::string::npos) << c.inErrors << err_;
        EXPECT_EQ(disk(), before) << c.inErrors;
    }
}

}  // namespace
}  // namespace vellmark
