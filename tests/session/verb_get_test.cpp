// `get`: what is taken out of an image equals what went in, and nothing else is touched.
#include <sys/stat.h>
#include <unistd.h>

#include "reading/extraction.hpp"
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Bytes;
using test::DateOf;
using test::ReadingTest;
using test::Write;

class GetTest : public ReadingTest {};

TEST_F(GetTest, EveryTreeGivesTheFolderBack) {
    for (const char* format : {"--hfsplus", "--postgap"}) {
        make("disc.iso", {"--force", format});
        for (const char* tree : {"joliet", "hfs"}) {
            const std::string out = std::string("out") + format + tree;
            EXPECT_EQ(run({"get", "disc.iso", "/", "--as", tree, "-o", out}), 0) << err_;
            EXPECT_EQ(err_, "");
            expectSame(out, "in");
            EXPECT_EQ(DateOf(out + "/Sub Folder/large.bin"), test::kFileDate) << out;
            EXPECT_EQ(DateOf(out + "/empty"), test::kFileDate) << out;
        }
    }
    // The ISO tree has other names, but the same contents.
    EXPECT_EQ(run({"get", "disc.iso", "/", "--as", "iso", "-o", "iso"}), 0) << err_;
    std::multiset<std::string> expected;
    std::multiset<std::string> found;
    for (const auto& [path, contents] : below("in"))
        expected.insert(contents);
    for (const auto& [path, contents] : below("iso"))
        found.insert(contents);
    EXPECT_TRUE(found == expected);
}

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
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder/large.bin", "-o", "-"}), 0) << err_;
    EXPECT_TRUE(out_ == test::Pattern(70'000));
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder", "-o", "-"}), 1);
    EXPECT_NE(err_.find("Sub Folder is a folder"), std::string::npos) << err_;
    // The root is called like the volume.
    EXPECT_EQ(run({"get", "disc.iso", "/"}), 0) << err_;
    expectSame("My disc", "in");
}

TEST_F(GetTest, SeveralItemsNeedAFolder) {
    make("disc.iso");
    for (const char* target : {"missing", "missing/", "disc.iso"}) {
        EXPECT_EQ(run({"get", "disc.iso", "empty", "Read Me.txt", "-o", target}), 1);
        EXPECT_NE(err_.find("no folder"), std::string::npos) << err_;
    }
    fs::create_directories("there");
    EXPECT_EQ(run({"get", "disc.iso", "empty", "no such", "Sub Folder/Deep", "-o", "there"}), 1)
        << "one of the named items is missing";
    EXPECT_NE(err_.find("has no no such."), std::string::npos) << err_;
    EXPECT_EQ(below("there").size(), 3u) << "the others are there";
    EXPECT_EQ(run({"get", "disc.iso"}), 2) << "nothing is named";
}

TEST_F(GetTest, NothingIsReplacedWithoutForce) {
    make("disc.iso");
    Write("out/Sub Folder/large.bin", "mine");
    fs::create_directories("out/empty");
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder", "-o", "out"}), 3);
    EXPECT_NE(err_.find("skipped Sub Folder/large.bin"), std::string::npos) << err_;
    EXPECT_EQ(Bytes("out/Sub Folder/large.bin"), "mine");
    EXPECT_EQ(Bytes("out/Sub Folder/Deep/caf\u00E9.txt"), "un caf\u00E9\n") << "the rest came";
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder/large.bin", "-o", "out/Sub Folder"}), 1)
        << "the one item that was asked for";
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder", "-o", "out", "--force"}), 0) << err_;
    EXPECT_TRUE(Bytes("out/Sub Folder/large.bin") == test::Pattern(70'000));
    EXPECT_EQ(run({"get", "disc.iso", "empty", "-o", "out", "--force"}), 1)
        << "a folder is never replaced by a file";
    ASSERT_EQ(::mkfifo("out/Read Me.txt", 0600), 0);
    EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "-o", "out", "--force"}), 1);
    EXPECT_TRUE(fs::is_fifo("out/Read Me.txt"));
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

// Catches a variable of the shell that is not set and takes out the whole tree.
TEST_F(GetTest, AnEmptyPathIsNotTheRoot) {
    make("disc.iso");
    EXPECT_EQ(run({"get", "disc.iso", "", "-o", "out"}), 2);
    EXPECT_FALSE(fs::exists("out"));
}

TEST_F(GetTest, TheImageIsNotReplacedByItsOwnContents) {
    Write("in/disc.iso", "a file of the same name");
    make("disc.iso");
    const std::string before = Bytes("disc.iso");
    EXPECT_EQ(run({"get", "disc.iso", "disc.iso", "--force"}), 1);
    EXPECT_NE(err_.find("is the image itself"), std::string::npos) << err_;
    EXPECT_EQ(Bytes("disc.iso"), before);
}

TEST_F(GetTest, OneRunWritesEachTargetOnce) {
    Write("in/a/same.txt", "first");
    Write("in/b/same.txt", "second");
    make("disc.iso");
    fs::create_directories("out");
    EXPECT_EQ(run({"get", "disc.iso", "a/same.txt", "b/same.txt", "-o", "out", "--force"}), 1);
    EXPECT_NE(err_.find("skipped b/same.txt"), std::string::npos) << err_;
    EXPECT_EQ(Bytes("out/same.txt"), "first");
}

TEST_F(GetTest, AnItemThatCannotBeWrittenIsNamedAndTheRestGoesOn) {
    make("disc.iso");
    Write("out/Sub Folder/Deep", "a file where a folder is to be");
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder", "-o", "out"}), 3);
    EXPECT_NE(err_.find("skipped Sub Folder/Deep"), std::string::npos) << err_;
    EXPECT_TRUE(Bytes("out/Sub Folder/large.bin") == test::Pattern(70'000));
    for (const auto& [path, contents] : disk())
        EXPECT_EQ(path.find(".tmp"), std::string::npos) << path;
}

class MacintoshFormTest : public GetTest {
  protected:
    void expectUsage(const std::vector<std::string>& options, const std::string& reason) {
        std::vector<std::string> line = {"get", "disc.iso", "Read Me.txt"};
        line.insert(line.end(), options.begin(), options.end());
        EXPECT_EQ(run(line), 2) << err_;
        EXPECT_NE(err_.find(reason), std::string::npos) << err_;
    }
};

TEST_F(MacintoshFormTest, OptionsThatDoNotGoTogetherAreRefused) {
    make("disc.iso", {"--kind", "iso"});
    expectUsage({"--mode", "applesingle"}, "disc.iso has none");
    make("disc.iso", {"--force"});
    expectUsage({"--mode", "macbinary", "--as", "joliet"}, "not of an ISO 9660 or Joliet tree");
    expectUsage({"--naming", "append", "--as", "iso"}, "--naming append");
    expectUsage({"--mode", "appledouble", "-o", "-"}, "two files");
    expectUsage({"--naming", "ask"}, "needs a terminal");
    expectUsage({"--mode", "both"}, "--mode");
    EXPECT_FALSE(fs::exists("Read Me.txt"));
}

TEST_F(MacintoshFormTest, FormsAndNamesAreThoseThatAreAskedFor) {
    make("disc.iso");
    EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "--mode", "macbinary", "-o", "-"}), 0) << err_;
    EXPECT_EQ(out_.size(), 256u);
    EXPECT_EQ(out_.substr(1, 12), "\vRead Me.txt");
    EXPECT_EQ(out_.substr(128, 7), std::string("hello\n\0", 7));
    // No file here has a resource fork: nothing can be made, which is told.
    EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "--mode", "resource"}), 1);
    EXPECT_NE(err_.find("has no resource fork"), std::string::npos) << err_;
    EXPECT_EQ(run({"get", "disc.iso", "Sub Folder", "--mode", "resource", "-o", "out"}), 3);
    EXPECT_EQ(below("out").size(), 1u);
    // Settings name files where no option does.
    const std::string kept = "Read Me.txt.TXT";
    for (const char* policy : {"append", "ask", "catalog"}) {
        EXPECT_EQ(run({"config", "set", "naming", policy}), 0) << err_;
        EXPECT_EQ(run({"get", "disc.iso", "Read Me.txt", "--force"}), 0) << err_;
        EXPECT_EQ(fs::remove(kept), policy == std::string("append")) << policy;
        fs::remove("Read Me.txt");
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
