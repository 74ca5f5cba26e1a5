// `get`: what a command line asks for, and how the run ends. What becomes of an item in each form
// is tried with the copies (tests/transfer) and the takes (tests/reading).
#include <sys/stat.h>

#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::Write;

class GetTest : public test::ReadingTest {
  protected:
    // A run that ends with that status and says these words; "" for none.
    void expect(std::vector<std::string> arguments, int status, std::string_view words) {
        arguments.insert(arguments.begin(), {"get", "disc.iso"});
        EXPECT_EQ(run(arguments), status) << arguments.back() << err_;
        EXPECT_NE(err_.find(words), std::string::npos) << arguments.back() << err_;
        EXPECT_EQ(err_.empty(), words.empty()) << err_;
    }
};

TEST_F(GetTest, TheTargetIsAFolderANameOrTheOutput) {
    make("disc.iso");
    fs::create_directories("there");
    const struct {
        std::vector<std::string> options;
        const char* made;
    } cases[] = {{{}, "Read Me.txt"},
                 {{"-o", "there"}, "there/Read Me.txt"},
                 {{"-o", "there/"}, "there/Read Me.txt"},
                 {{"-o", "new name"}, "new name"},
                 {{"-o", "there/new"}, "there/new"}};
    for (const auto& c : cases) {
        std::vector<std::string> line = {"cp", "disc.iso", "Read Me.txt"};
        line.insert(line.end(), c.options.begin(), c.options.end());
        EXPECT_EQ(run(line), 0) << err_;
        EXPECT_EQ(Bytes(c.made), "hello\n") << c.made;
        fs::remove(c.made);
    }
    expect({"Sub Folder/large.bin", "-o", "-"}, 0, "");
    EXPECT_TRUE(out_ == test::Pattern(70'000));
    // The root is called like the volume.
    expect({"/"}, 0, "");
    expectSame("My disc", "in");
}

TEST_F(GetTest, WhatCannotBeDoneIsSaid) {
    Write("in/disc.iso", "a file of the same name");
    Write("in/a/same.txt", "first");
    Write("in/b/same.txt", "second");
    make("disc.iso");
    Write("out/Sub Folder/large.bin", "mine");
    Write("out/Sub Folder/Deep", "a file where a folder is to be");
    fs::create_directories("out/empty");
    ASSERT_EQ(::mkfifo("out/Read Me.txt", 0600), 0);
    const std::string before = Bytes("disc.iso");
    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* words;
    } cases[] = {{{"empty", "Read Me.txt", "-o", "missing"}, 1, "There is no folder missing."},
                 {{"empty", "-o", "missing/"}, 1, "There is no folder missing/."},
                 {{"empty", "Read Me.txt", "-o", "disc.iso"}, 1, "There is no folder disc.iso."},
                 {{"no such", "-o", "out"}, 1, "has no no such."},
                 {{}, 2, "PATH"},
                 {{"", "-o", "none"}, 2, "the whole tree is called /"},
                 {{"Sub Folder", "-o", "-"}, 1, "Sub Folder is a folder"},
                 {{"Sub Folder", "-o", "out"}, 3, "skipped Sub Folder/Deep"},
                 {{"Sub Folder/large.bin", "-o", "out/Sub Folder"}, 1, "exists already; --force"},
                 {{"empty", "-o", "out", "--force"}, 1, "skipped empty"},
                 {{"Read Me.txt", "-o", "out", "--force"}, 1, "pipe"},
                 {{"disc.iso", "--force"}, 1, "is the image itself"},
                 {{"a/same.txt", "b/same.txt", "-o", "out", "-f"}, 1, "skipped b/same.txt"},
                 {{"Read Me.txt", "--mode", "macbinary", "--as", "joliet"}, 2, "Joliet tree"},
                 {{"Read Me.txt", "--naming", "append", "--as", "iso"}, 2, "--naming append"},
                 {{"Read Me.txt", "--mode", "appledouble", "-o", "-"}, 2, "two files"},
                 {{"Read Me.txt", "--naming", "ask"}, 2, "needs a terminal"},
                 {{"Read Me.txt", "--mode", "resource"}, 1, "has no resource fork"}};
    for (const auto& c : cases)
        expect(c.arguments, c.status, c.words);
    EXPECT_EQ(Bytes("out/Sub Folder/large.bin"), "mine");
    EXPECT_EQ(Bytes("out/same.txt"), "first");
    EXPECT_EQ(Bytes("disc.iso"), before);
    for (const char* made : {"none", "Read Me.txt"})
        EXPECT_FALSE(fs::exists(made)) << made;
    expect({"Sub Folder/large.bin", "-o", "out/Sub Folder", "--force"}, 0, "");
    EXPECT_TRUE(Bytes("out/Sub Folder/large.bin") == test::Pattern(70'000));
    make("disc.iso", {"--kind", "iso", "--force"});
    expect({"Read Me.txt", "--mode", "applesingle"}, 2, "disc.iso has none");
}

TEST_F(GetTest, APersonIsAskedWhatMayBeReplaced) {
    make("disc.iso");
    asks_ = true;
    for (const char* tree : {"joliet", "hfs"}) {
        const struct {
            const char* typed;
            int status;
            bool replaced;
        } cases[] = {{"n\n", 3, false},
                     {"", 3, false},
                     {"N\n", 3, false},
                     {"y\ny\n", 0, true},
                     {"Y\n", 0, true}};
        for (const auto& c : cases) {
            Write("out/My disc/Read Me.txt", "mine");
            Write("out/My disc/empty", "mine");
            typed_ = c.typed;
            EXPECT_EQ(run({"get", "disc.iso", "/", "--as", tree, "-o", "out"}), c.status)
                << tree << c.typed << err_;
            EXPECT_EQ(Bytes("out/My disc/Read Me.txt"), c.replaced ? "hello\n" : "mine") << c.typed;
            EXPECT_EQ(Bytes("out/My disc/empty"), c.replaced ? "" : "mine") << c.typed;
            fs::remove_all("out");
        }
    }
}

TEST_F(GetTest, SettingsNameFilesWhereNoOptionDoes) {
    make("disc.iso");
    const std::string kept = "Read Me.txt.TXT";
    for (const char* policy : {"append", "ask", "catalog"}) {
        EXPECT_EQ(run({"config", "set", "naming", policy}), 0) << err_;
        EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "--force"}), 0) << err_;
        EXPECT_EQ(fs::remove(kept), policy == std::string("append")) << policy;
    }
    asks_ = true;
    typed_ = "new/name\n";
    EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "--naming", "ask"}), 0) << err_;
    EXPECT_EQ(Bytes("new_name"), "hello\n");
    typed_ = "";
    EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "--naming", "ask"}), 1);
    EXPECT_NE(err_.find("No name was given"), std::string::npos) << err_;
}

}  // namespace
}  // namespace vellmark
