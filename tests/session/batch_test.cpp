// Batch commands: which command lines are some, what they do, and the lock.
#include "session/batch/batch.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "session/instance_lock.hpp"
#include "session/session_bench.hpp"
#include "session/user_folders.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::CountIn;
using test::Names;
using test::SessionTest;
using test::SidesOf;
using test::Write;

TEST_F(SessionTest, OptionsOfBatchCommandsAreToldFromPaths) {
    const struct {
        const char* first;
        std::optional<BatchOption> option;
    } cases[] = {{"/C", BatchOption{'C', 0}},
                 {"/c", BatchOption{'C', 0}},
                 {"/ch", BatchOption{'C', 'H'}},
                 {"-C", BatchOption{'C', 0}},
                 {"-Ih", BatchOption{'I', 'H'}},
                 {"\\C", BatchOption{'C', 0}},
                 {"\\LI", BatchOption{'L', 'I'}},
                 {"/9", BatchOption{'9', 0}},
                 {"/C/", BatchOption{'C', '/'}},
                 {"\\\\C", std::nullopt},
                 {"//", std::nullopt},
                 {"--", std::nullopt},
                 {"--C", std::nullopt},
                 {"/", std::nullopt},
                 {"-", std::nullopt},
                 {"", std::nullopt},
                 {"/CHX", std::nullopt},
                 {"/tmp", std::nullopt},
                 {"-CHX", std::nullopt},
                 {"C", std::nullopt},
                 {"CH", std::nullopt}};
    for (const auto& c : cases)
        EXPECT_EQ(ParseBatchOption(c.first), c.option) << c.first;
    Write("\\C", "a file of that name wins");
    EXPECT_EQ(ParseBatchOption("\\C"), std::nullopt);
}

class BatchTest : public SessionTest {
  protected:
    BatchTest() {
        Write("in/a.txt", "contents of a");
        Write("in/sub/b.exe", "contents of b");
    }
    /// A batch command says nothing when all is well.
    void expectSilent(const std::vector<std::string>& line) {
        EXPECT_EQ(run(line), 0) << testing::PrintToString(line);
        EXPECT_EQ(out_ + err_, "") << testing::PrintToString(line);
    }
};

TEST_F(BatchTest, FoldersAndInclusionsGoInTheViewOfTheSecondLetter) {
    expectSilent({"/F", "p.vlpr", "A\\B"});
    expectSilent({"/FH", "p.vlpr", "H"});
    expectSilent({"-fi", "p.vlpr", "A/I"});
    expectSilent({"/IH", "p.vlpr", "in/a.txt"});
    expectSilent({"/II", "p.vlpr", "in/sub"});
    expectSilent({"/I", "p.vlpr", "in"});
    const ProjectFile project = opened("p.vlpr");
    EXPECT_EQ(itemsOf(project, 1), (Names{"A IH", "H H", "a.txt H", "in IH", "sub I"}));
    EXPECT_EQ(itemsOf(project, 18), (Names{"B IH", "I I"}));
    for (std::int32_t folder : {18, 19, 20, 21})
        EXPECT_EQ(project.findByNumber(folder)->accessPath(), "..") << folder;
    EXPECT_FALSE(fs::exists("p.BAK"));
}

TEST_F(BatchTest, QuestionsAreAnsweredWithYesEvenOnATerminal) {
    asks_ = true;
    const std::string longName = std::string(70, 'n') + ".exe";
    Write("in/" + longName, "x");
    for (int again = 0; again < 2; ++again)  // what is there already is no failure
        expectSilent({"/I", "p.vlpr", "in/*"});
    expectSilent({"/I", "p.vlpr", "in/a.txt"});
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 1), (Names{"a.txt IH", longName + " IH", "sub IH"}));
}

TEST_F(BatchTest, AListNamesWhatIsIncludedAndItsFaultsAreTold) {
    Write("in/c d.dat", "c");
    Write("in/sub/e.dat", "e");
    Write("whole.txt", "\xEF\xBB\xBFin\\a.txt\r\n  in/c d.dat\t\r\nin/sub/*.dat");
    expectSilent({"/II", "p.vlpr", "$whole.txt"});
    EXPECT_EQ(itemsOf(opened("p.vlpr"), 1), (Names{"a.txt I", "c d.dat I", "e.dat I"}));

    Write("torn.txt", std::string("in/a.txt\n\nin/nope\na\0b\n", 22) + std::string(5000, 'x') +
                          "\nin/*.none\nin/a.txt\nin/sub\n");
    expectSilent({"/FH", "q.vlso", "A\\B"});  // an ISO+ project has the ISO view alone
    EXPECT_EQ(run({"/I", "q.vlso", "$torn.txt"}), 3);
    EXPECT_EQ(itemsOf(opened("q.vlso", ProjectMode::IsoPlus), 1),
              (Names{"A I", "a.txt I", "sub I"}));
    for (const char* told : {"torn.txt, line 2: it is empty", "in/nope: it names no",
                             "torn.txt, line 4: it is no text", "torn.txt, line 5: it is longer",
                             "*.none: it names no"})
        EXPECT_NE(err_.find(told), std::string::npos) << told << "\n" << err_;
}

TEST_F(BatchTest, LabelsOfOneSideOrBoth) {
    expectSilent({"/L", "p.vlpr", "Both"});
    expectSilent({"/LH", "p.vlpr", "\xC3\xA9t\xC3\xA9"});
    EXPECT_EQ(opened("p.vlpr").header().isoLabel(), "Both");
    EXPECT_EQ(opened("p.vlpr").header().hfsLabel(), "\x8Et\x8E") << "MacRoman";
    expectSilent({"/LI", "p.vlpr", "Other"});
    EXPECT_EQ(opened("p.vlpr").header().isoLabel(), "Other");
    EXPECT_EQ(opened("p.vlpr").header().hfsLabel(), "\x8Et\x8E");
    expectSilent({"/L", "q.vlso", "One"});
    EXPECT_EQ(opened("q.vlso", ProjectMode::IsoPlus).header().isoLabel(), "One");
}

TEST_F(BatchTest, TheImageTakesTheNameOfTheProjectAndReplacesAnOlderOne) {
    const struct {
        const char* option;
        const char* sides;
    } cases[] = {{"/C", "IM"}, {"-CI", "I"}, {"\\ch", "M"}};
    expectSilent({"/I", "p.vlpr", "in/*"});
    std::uint64_t hybridBytes = 0;
    for (const auto& c : cases) {
        Write("p.ISO", "an older image");
        expectSilent({c.option, "p.vlpr"});
        EXPECT_EQ(SidesOf("p.ISO"), c.sides) << c.option;
        EXPECT_EQ(CountIn("p.ISO", "contents of a"), 1) << c.option;
        if (hybridBytes == 0)
            hybridBytes = fs::file_size("p.ISO");
    }
    EXPECT_EQ(disk().size(), 6u) << "in and its three, p.vlpr, p.ISO: no tables are left";
    EXPECT_EQ(run({"build", "p.vlpr", "-o", "x.iso"}), 0) << err_;
    EXPECT_EQ(fs::file_size("x.iso"), hybridBytes) << "no postgap in a batch build either";
}

TEST_F(BatchTest, AFailureNamesTheOptionAndChangesNothing) {
    expectSilent({"/L", "p.vlpr", "P"});
    expectSilent({"/I", "p.vlpr", "in"});
    expectSilent({"/L", "q.vlso", "Q"});
    expectSilent({"/L", "empty.vlpr", "E"});
    Write("p2.vlpr", "no project");
    Write("p2.lines", "\n");
    Write("x.ISO", test::Bytes("p.vlpr"));
    fs::create_directories("full.ISO");
    fs::copy_file("p.vlpr", "full.vlpr");
    const struct {
        std::vector<std::string> line;
        const char* inErrors;
    } cases[] = {
        {{"/C"}, "/C needs a project."},
        {{"/C", "nope.vlpr"}, "Error opening file nope.vlpr"},
        {{"/C", "p2.vlpr"}, "not recognized as a project file"},
        {{"/C", "empty.vlpr"}, "contains no files"},
        {{"/C", "x.ISO"}, "would replace its own project"},
        {{"/C", "full.vlpr"}, "full.ISO names a folder"},
        {{"/C", "q.vlso"}, "/C is not managed"},
        {{"/CJ", "p.vlpr"}, "/CJ is not managed"},
        {{"/C/", "p.vlpr"}, "/C/ is not managed"},
        {{"/R", "nope.vlpr"}, "Error opening file nope.vlpr"},
        {{"/RH", "p.vlpr"}, "/RH is not managed"},
        {{"/RJ", "p.vlpr"}, "/RJ needs a project and an argument."},
        {{"/RJ", "p.vlpr", "p.vlpr"}, "works on that file itself"},
        {{"/RJ", "p.vlpr", "nope/log"}, "Error opening file nope/log"},
        {{"/H", "a", "b"}, "/H is not managed"},
        {{"/DC", "a", "b"}, "/DC is not managed"},
        {{"/F", "p.vlpr"}, "/F needs a project and an argument."},
        {{"/F", "p.vlpr", "A\\..\\B"}, "\"..\" cannot be made"},
        {{"/F", "p2.vlpr", "A"}, "not recognized as a project file"},
        {{"/F", "new.txt", "A"}, "new.txt is not there"},
        {{"/F", "nope/new.vlpr", "A"}, "there is no folder nope"},
        {{"/I", "p.vlpr", "nope"}, "nope names no file"},
        {{"/I", "new.vlpr", "nope"}, "nope names no file"},
        {{"/I", "p.vlpr", "$list"}, "The list list cannot be read: No such file"},
        {{"/I", "p.vlpr", "$in"}, "The list in cannot be read: it is no file"},
        {{"/I", "p.vlpr", "$p2.lines"}, "p2.lines names nothing"},
        {{"/I", "p.vlpr", "in/a.txt", "in/sub"}, "a pattern stands in quotes"},
        {{"/L", "p.vlpr", ""}, "takes 1 to 27"},
        {{"/L", "new.vlpr", "1234567890123456789012345678"}, "HFS takes 1 to 27"},
        {{"/L", "q.vlso", "123456789012345678901234567890123"}, "ISO 9660 takes 1 to 32"},
        {{"/CH", "q.vlso"}, "An ISO+ project is built into one kind of image."},
    };
    const Disk before = disk();
    for (const auto& c : cases) {
        EXPECT_EQ(run(c.line), 1) << c.inErrors;
        EXPECT_NE(err_.find(c.inErrors), std::string::npos) << c.inErrors << err_;
        EXPECT_NE(err_.find("The file " + c.line[0] + " is not managed by Vellmark."),
                  std::string::npos)
            << err_;
        EXPECT_EQ(out_, "");
        EXPECT_EQ(disk(), before) << c.inErrors;
    }
}

TEST_F(BatchTest, ASecondInstanceEndsAtOnceAndVerbsDoNotMind) {
    const InstanceLock other(lockFolder_);
    ASSERT_EQ(other.state(), InstanceLock::State::Taken) << other.reason().words(Language::English);
    const Disk before = disk();
    for (const char* option : {"/L", "/Z"}) {
        EXPECT_EQ(run({option, "p.vlpr", "x"}), 1);
        EXPECT_EQ(err_, "vellmark: One instance of Vellmark already running. Closing...\n");
        EXPECT_EQ(disk(), before);
    }
    EXPECT_EQ(run({"new", "p.vlpr"}), 0) << err_;
}

TEST_F(BatchTest, TheSystemReleasesTheLockOfAProcessThatDies) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const InstanceLock held(lockFolder_);
        const char taken = held.state() == InstanceLock::State::Taken ? '1' : '0';
        if (::write(ready[1], &taken, 1) == 1)
            ::pause();
        ::_exit(0);
    }
    ASSERT_GT(child, 0);
    char taken = 0;
    EXPECT_EQ(::read(ready[0], &taken, 1), 1);
    EXPECT_EQ(taken, '1');
    EXPECT_EQ(InstanceLock(lockFolder_).state(), InstanceLock::State::Busy);
    ::kill(child, SIGKILL);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    EXPECT_EQ(InstanceLock(lockFolder_).state(), InstanceLock::State::Taken);
    ::close(ready[0]);
    ::close(ready[1]);
}

TEST_F(BatchTest, ALockThatOthersCouldTakeAwayIsNone) {
    const Disk before = disk();
    const std::string open = (root() / "open").string();
    fs::create_directories(open);
    fs::permissions(open, fs::perms::all);
    lockFolder_ = open;
    EXPECT_EQ(run({"/L", "p.vlpr", "x"}), 1);
    EXPECT_NE(err_.find("does not belong to this user alone"), std::string::npos) << err_;
    lockFolder_ = open + "/nope/deep";
    EXPECT_EQ(run({"/L", "p.vlpr", "x"}), 1);
    EXPECT_NE(err_.find("No such file or directory"), std::string::npos) << err_;
    EXPECT_EQ(disk(), before);
    lockFolder_ = open + "/made";
    expectSilent({"/L", "p.vlpr", "x"});
    EXPECT_TRUE(IsPrivateFolder(lockFolder_));
}

TEST_F(SessionTest, TheRuntimeFolderIsPrivateOrAnotherOne) {
    const std::string fallback = "/t/vellmark-" + std::to_string(::geteuid());
    const std::string lock = (root() / "lock").string();
    EXPECT_EQ(RuntimeFolder(lock, "/t"), lock);
    EXPECT_EQ(RuntimeFolder("", "/t"), fallback);
    EXPECT_EQ(RuntimeFolder("lock", "/t"), fallback) << "no absolute path";
    EXPECT_EQ(RuntimeFolder(lock + "/nope", "/t"), fallback);
    fs::create_symlink(lock, root() / "link");
    EXPECT_EQ(RuntimeFolder((root() / "link").string(), "/t"), fallback);
    fs::permissions(lock, fs::perms::owner_all | fs::perms::others_write);
    EXPECT_EQ(RuntimeFolder(lock, "/t"), fallback);
}

}  // namespace
}  // namespace vellmark
