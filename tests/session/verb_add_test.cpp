// `new` and `add`: what a project holds afterwards, and that a failure changes nothing.
#include <sys/resource.h>

#include <csignal>

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Names;
using test::SessionTest;
using test::Write;

TEST_F(SessionTest, ANewProjectIsOneHeaderOfItsKind) {
    const struct {
        std::vector<std::string> arguments;
        ProjectMode mode;
        bool isHfsPlus;
        const char* label;
    } cases[] = {
        {{"a.vlpr"}, ProjectMode::Hybrid, false, "Untitled"},
        {{"b.vlpr", "--hfsplus"}, ProjectMode::Hybrid, true, "Untitled"},
        {{"c.vlpr", "--label", "My disc"}, ProjectMode::Hybrid, false, "My disc"},
        {{"e.vlso"}, ProjectMode::IsoPlus, false, "Untitled"},
        {{"no extension"}, ProjectMode::Hybrid, false, "Untitled"},
    };
    for (const auto& c : cases) {
        std::vector<std::string> line = {"new"};
        line.insert(line.end(), c.arguments.begin(), c.arguments.end());
        const std::string& path = c.arguments.front();
        EXPECT_EQ(run(line), 0) << err_;
        EXPECT_EQ(err_, "");
        EXPECT_TRUE(out_.starts_with(path + ": new ")) << out_;
        const std::string bytes = test::Bytes(path);
        ASSERT_EQ(bytes.size(), 756u) << path;
        EXPECT_EQ(bytes.substr(0, 4), "VLKZ");
        EXPECT_EQ((bytes[13] & 1) != 0, c.isHfsPlus) << path;
        EXPECT_EQ(bytes.substr(624, std::string_view(c.label).size() + 1),
                  std::string(c.label) + '\0');
        EXPECT_EQ(opened(path, c.mode).header().isoLabel(), c.label);
    }
}

TEST_F(SessionTest, ANewProjectReplacesNothingWithoutForce) {
    Write("a.vlpr", "something else");
    EXPECT_EQ(run({"new", "a.vlpr"}), 1);
    EXPECT_NE(err_.find("a.vlpr exists already"), std::string::npos);
    EXPECT_EQ(run({"new", "."}), 1);
    EXPECT_EQ(run({"new", "nope/a.vlpr"}), 1);
    EXPECT_EQ(run({"new", "a.vlpr", "--force", "--label", "1234567890123456789012345678"}), 1);
    EXPECT_EQ(test::Bytes("a.vlpr"), "something else");
    EXPECT_EQ(disk().size(), 1u);
    EXPECT_EQ(run({"new", "a.vlpr", "--force"}), 0) << err_;
    EXPECT_EQ(test::Bytes("a.vlpr").substr(0, 4), "VLKZ");
}

class AddTest : public SessionTest {
  protected:
    AddTest() {
        Write("in/a.txt", "a");
        Write("in/sub/b.txt", "b");
        Write("c.exe", "c");
        EXPECT_EQ(run({"new", "p.vlpr", "--label", "P"}), 0) << err_;
    }
};

TEST_F(AddTest, AFolderItsContentsAndFilesAtOnce) {
    EXPECT_EQ(run({"add", "p.vlpr", "in", "c.exe"}), 0) << err_;
    EXPECT_EQ(out_, "p.vlpr: 2 folders and 3 files added\n");
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 1), (Names{"c.exe IH", "in IH"}));
    EXPECT_EQ(run({"add", "p.vlpr", "in/*", "--view", "iso", "-q"}), 0) << err_;
    EXPECT_EQ(out_ + err_, "");
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 1), (Names{"a.txt I", "c.exe IH", "in IH", "sub I"}));
}

TEST_F(AddTest, TheFolderOfTheProjectIsMadeInTheView) {
    EXPECT_EQ(run({"add", "p.vlpr", "in/a.txt", "--to", "New\\Deep/", "--view", "hfs"}), 0) << err_;
    {
        ProjectFile project = opened("p.vlpr");
        EXPECT_EQ(itemsOf(project, 1), (Names{"New H"}));
        EXPECT_EQ(itemsOf(project, 18), (Names{"Deep H"}));
        EXPECT_EQ(itemsOf(project, 19), (Names{"a.txt H"}));
        EXPECT_EQ(project.findByNumber(18)->accessPath(), "..") << "a folder of the project only";
        EXPECT_EQ(run({"add", "p.vlpr", "in/a.txt"}), 1) << "while others read it";
        EXPECT_NE(err_.find("another process"), std::string::npos) << err_;
    }
    EXPECT_EQ(run({"add", "p.vlpr", "in/sub/b.txt", "--to", "New/Deep", "--view", "hfs"}), 0);
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 19), (Names{"a.txt H", "b.txt H"}));
}

TEST_F(AddTest, AFolderThatIsInMoreViewsSaysSo) {
    ASSERT_EQ(run({"add", "p.vlpr", "in"}), 0);
    EXPECT_EQ(run({"add", "p.vlpr", "c.exe", "--to", "in", "--view", "iso"}), 0) << err_;
    EXPECT_NE(err_.find("The folder in is in both views"), std::string::npos) << err_;
    ASSERT_EQ(run({"add", "p.vlpr", "in/a.txt", "--to", "Mac", "--view", "hfs"}), 0);
    EXPECT_EQ(run({"add", "p.vlpr", "in/sub/b.txt", "--to", "Mac", "--view", "iso"}), 0);
    EXPECT_NE(err_.find("The folder Mac is in the HFS view alone"), std::string::npos) << err_;
    EXPECT_EQ(itemsOf(opened("p.vlpr"), opened("p.vlpr").header().lastFolder),
              (Names{"a.txt H", "b.txt H"}));
}

TEST_F(AddTest, ALinkToAProjectStaysALink) {
    fs::create_directories("real");
    fs::rename("p.vlpr", "real/p.vlpr");
    fs::create_symlink("real/p.vlpr", "p.vlpr");
    EXPECT_EQ(run({"add", "p.vlpr", "c.exe"}), 0) << err_;
    EXPECT_TRUE(fs::is_symlink("p.vlpr"));
    EXPECT_EQ(itemsOf(opened("real/p.vlpr"), 1), (Names{"c.exe IH"}));
}

TEST_F(AddTest, WhatIsLeftOutIsNamedAndTheRestGoesOn) {
    fs::create_symlink("nowhere", "in/dangling");
    EXPECT_EQ(run({"add", "p.vlpr", "in"}), 3);
    EXPECT_NE(err_.find("in/dangling"), std::string::npos) << err_;
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 18), (Names{"a.txt IH", "sub IH"}));
    fs::remove("p.BAK");
    const Disk before = disk();
    EXPECT_EQ(run({"add", "p.vlpr", "in/dangling"}), 3) << "whether named or met";
    EXPECT_EQ(disk(), before);
    EXPECT_EQ(run({"add", "p.vlpr", "*.vlpr", "p.vlpr"}), 3);
    EXPECT_NE(err_.find("a file of the project itself"), std::string::npos) << err_;
    EXPECT_EQ(disk(), before) << "no project is an item of its own";
}

TEST_F(AddTest, AnswersGivenInAdvanceAreNotAskedFor) {
    asks_ = true;  // and nobody types anything: a question would lose the item
    Write("s", std::string("\0\x05\x16\0\0\x02\0\0", 8) + std::string(18, '\0'));
    const std::string longName(40, 'n');
    Write(longName, "x");
    const struct {
        Names options;
        const char* single;
        const char* executable;
    } cases[] = {
        {{"--containers-in-iso", "yes", "--exe-in-hfs", "yes"}, "s IH", "c.exe IH"},
        {{"--containers-in-iso", "no", "--exe-in-hfs", "no"}, "s H", "c.exe I"},
        {{"--containers-in-iso", "no", "--exe-in-hfs", "yes", "--view", "hfs"}, "s H", "c.exe H"},
    };
    for (const auto& c : cases) {
        ASSERT_EQ(run({"new", "p.vlpr", "--force"}), 0) << err_;
        Names line = {"add", "p.vlpr", "s", "c.exe", longName, "--truncate", "auto"};
        line.insert(line.end(), c.options.begin(), c.options.end());
        EXPECT_EQ(run(line), 0) << err_;
        const ProjectFile project = opened("p.vlpr");
        const Names items = itemsOf(project, 1);
        ASSERT_EQ(items.size(), 3u);
        EXPECT_EQ(items[0], c.executable);
        EXPECT_EQ(items[2], c.single);
        EXPECT_EQ(project.childrenOf(1)[1].hfsName(), std::string(31, 'n'));
    }
}

TEST_F(AddTest, AFailureChangesNothing) {
    ASSERT_EQ(run({"add", "p.vlpr", "in"}), 0);
    fs::remove("p.BAK");
    Write("other/in/x", "x");
    const struct {
        std::vector<std::string> arguments;
        const char* inErrors;
    } cases[] = {
        {{"nope.vlpr", "in"}, "nope.vlpr. No such file"},
        {{"c.exe", "in"}, "not recognized as a project file"},
        {{"p.vlpr", "nope"}, "nope names no file"},
        {{"p.vlpr", "*.none"}, "No file or folder fits"},
        {{"p.vlpr", ""}, "names no file or folder"},
        {{"p.vlpr", "c.exe", "in"}, "already exists in the same folder"},
        {{"p.vlpr", "other/in"}, "same name should only be included in different views"},
        {{"p.vlpr", "c.exe", "--to", "A/../B"}, "\"..\" cannot be made"},
        {{"p.vlpr", "nope", "--to", "Made"}, "nope names no file"},
        {{"p.vlpr", "c.exe", "--to", "in/a.txt"}, "a.txt"},
    };
    const Disk before = disk();
    for (const auto& c : cases) {
        std::vector<std::string> line = {"add"};
        line.insert(line.end(), c.arguments.begin(), c.arguments.end());
        EXPECT_EQ(run(line), 1) << c.inErrors;
        EXPECT_NE(err_.find(c.inErrors), std::string::npos) << c.inErrors << err_;
        EXPECT_EQ(out_, "");
        EXPECT_EQ(disk(), before) << c.inErrors;
    }
}

TEST_F(AddTest, AProjectThatCannotBeWrittenIsAFailure) {
    const std::string before = test::Bytes("p.vlpr");
    rlimit old{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &old), 0);
    const rlimit limit = {1000, old.rlim_max};
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    const int status = run({"add", "p.vlpr", "in"});
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &old), 0);
    EXPECT_EQ(status, 1);
    EXPECT_NE(err_.find("cannot be written"), std::string::npos) << err_;
    EXPECT_EQ(out_, "");
    EXPECT_EQ(test::Bytes("p.vlpr"), before);
}

TEST_F(AddTest, QuestionsAreAskedOnATerminalAlone) {
    asks_ = true;
    typed_ = "n\n";
    EXPECT_EQ(run({"add", "p.vlpr", "c.exe"}), 0) << err_;
    EXPECT_NE(err_.find("c.exe is an executable program"), std::string::npos) << err_;
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 1), (Names{"c.exe I"}));
    const std::string longName(70, 'n');
    Write(longName, "x");
    asks_ = false;
    EXPECT_EQ(run({"add", "p.vlpr", longName, "--to", "X"}), 0) << err_;
    EXPECT_TRUE(err_.starts_with("vellmark: 1 name was shortened")) << err_;
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 18), (Names{longName + " IH"}));
}

/// An answer that comes with a Ctrl-C.
class InterruptedInput : public std::streambuf {
    int_type underflow() override {
        ::raise(SIGINT);
        setg(answer_, answer_, answer_ + 2);
        return 'Y';
    }
    char answer_[3] = "Y\n";
};

TEST_F(AddTest, AnInterruptedAddChangesNothing) {
    asks_ = true;
    const Disk before = disk();
    InterruptedInput buffer;
    std::istream input(&buffer);
    EXPECT_EQ(runWith(input, {"add", "p.vlpr", "c.exe", "in"}), 1);
    EXPECT_NE(err_.find("nothing was changed"), std::string::npos) << err_;
    EXPECT_EQ(disk(), before);
}

}  // namespace
}  // namespace vellmark
