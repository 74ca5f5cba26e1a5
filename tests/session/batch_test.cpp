// Batch commands: which command lines are some, what they do, and the lock.
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "session/instance_lock.hpp"
#include "session/session_bench.hpp"
#include "session/user_folders.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Write;

class BatchTest : public test::ScriptTest {
  protected:
    BatchTest() {
        Write("in/a.txt", "contents of a");
        Write("in/sub/b.exe", "contents of b");
    }
};

TEST_F(BatchTest, CommandsActInTheViewOfTheSecondLetterWithoutAWord) {
    const std::string tooLong(70, 'n');
    Write("more/" + tooLong, "x");
    Write("in/c d.dat", "c");
    Write("whole.txt", "\xEF\xBB\xBFin\\a.txt\r\n  in/c d.dat\t\r\nin/sub/*.exe");
    Write("torn.txt", std::string("in/a.txt\n\nin/nope\na\0b\n", 22) + std::string(5000, 'x') +
                          "\nin/*.none\nin/a.txt\nin/sub\n");
    play(R"(
0 /F p.vlpr A\B ==
none p.BAK
0 /FH p.vlpr H
0 -fi p.vlpr A/I
0 /IH p.vlpr in/a.txt
0 /II p.vlpr in/sub
0 /I p.vlpr in
items p.vlpr 1 => A IH, H H, a.txt H, in IH, sub I
items p.vlpr 18 => B IH, I I
# Questions are answered with yes, and what is there already is no failure.
types
0 /I q.vlpr more/*
0 /I q.vlpr more/* ==
0 /II q.vlpr $whole.txt
items q.vlpr 1 => a.txt I, b.exe I, c d.dat I, )" +
         tooLong + R"( IH
# An ISO+ project has the ISO view alone.
0 /FH q.vlso A\B
3 /I q.vlso $torn.txt => torn.txt, line 2: it is empty => in/nope: it names no
says => torn.txt, line 4: it is no text
says => torn.txt, line 5: it is longer
says => *.none: it names no
items q.vlso 1 => A I, a.txt I, sub I
0 /L p.vlpr Both
0 /LH p.vlpr Été
0 /LI p.vlpr Other
)");
    EXPECT_EQ(opened("p.vlpr").header().isoLabel(), "Other");
    EXPECT_EQ(opened("p.vlpr").header().hfsLabel(), "\x83t\x8E") << "MacRoman";
}

TEST_F(BatchTest, TheImageTakesTheNameOfTheProjectAndReplacesAnOlderOne) {
    play(R"(
0 /I p.vlpr in/*
file p.ISO => an older image
0 -CI p.vlpr
sides p.ISO => I
0 \ch p.vlpr
sides p.ISO => M
0 /C p.vlpr ==
sides p.ISO => IM
has p.ISO 1 => contents of a
0 build p.vlpr -o x.iso
)");
    EXPECT_EQ(disk().size(), 7u) << "in and its three, p.vlpr and two images: no tables are left";
    EXPECT_EQ(fs::file_size("x.iso"), fs::file_size("p.ISO")) << "no postgap in a batch build";
}

TEST_F(BatchTest, AFailureNamesTheOptionAndChangesNothing) {
    play(R"(
0 /L p.vlpr P
0 /L q.vlso Q
0 /L x.ISO.vlpr X
move x.ISO.vlpr x.ISO
0 /L full.vlpr E
0 /I full.vlpr in
folder full.ISO
file lines => \n
1 /C => /C needs a project. => The file /C is not managed by Vellmark.
1 /C p.vlpr => contains no files
1 /C x.ISO => would replace its own project
1 /C full.vlpr => full.ISO names a folder
1 /C q.vlso => /C is not managed
1 /C/ p.vlpr => /C/ is not managed
1 /CHX p.vlpr => The file /CHX is not managed
file \C => a file of that name is no command
1 \C p.vlpr => The file \C is not managed
1 /RJ p.vlpr => /RJ needs a project and an argument.
1 /RJ p.vlpr p.vlpr => works on that file itself
1 /RJ p.vlpr nope/log => Error opening file nope/log
1 /F new.txt A => new.txt is not there
1 /F nope/new.vlpr A => there is no folder nope
1 /I p.vlpr nope => nope names no file
1 /I p.vlpr $list => The list list cannot be read: No such file
1 /I p.vlpr $in => The list in cannot be read: it is no file
1 /I p.vlpr $lines => lines names nothing
1 /I p.vlpr in/a.txt in/sub => a pattern stands in quotes
1 /L new.vlpr 1234567890123456789012345678 => HFS takes 1 to 27
1 /L q.vlso 123456789012345678901234567890123 => ISO 9660 takes 1 to 32
1 /CH q.vlso => An ISO+ project is built into one kind of image.
)");
}

TEST_F(BatchTest, ALockLetsOneInstanceWorkAndDiesWithItsProcess) {
    int ready[2];
    ASSERT_EQ(::pipe(ready), 0);
    const pid_t child = ::fork();
    if (child == 0) {
        const InstanceLock held(lockFolder_);
        if (held.state() == InstanceLock::State::Taken && ::write(ready[1], "", 1) == 1)
            ::pause();
        ::_exit(0);
    }
    ASSERT_GT(child, 0);
    char taken = 0;
    EXPECT_EQ(::read(ready[0], &taken, 1), 1);
    play("1 /L p.vlpr x => One instance of Vellmark already running. Closing...\n0 new p.vlpr");
    ::kill(child, SIGKILL);
    ASSERT_EQ(::waitpid(child, nullptr, 0), child);
    play("0 /L p.vlpr x");
}

TEST_F(BatchTest, ALockThatOthersCouldTakeAwayIsNone) {
    const std::string lock = lockFolder_;
    const std::string open = (root() / "open").string();
    fs::create_directories(open);
    fs::permissions(open, fs::perms::all);
    lockFolder_ = open;
    play("1 /L p.vlpr x => does not belong to this user alone");
    lockFolder_ = open + "/made";
    play("0 /L p.vlpr x");
    EXPECT_TRUE(IsPrivateFolder(lockFolder_));
    // The folder that the system gives to a user, or another one.
    fs::create_symlink(lock, root() / "link");
    EXPECT_EQ(RuntimeFolder(lock, "/t"), lock);
    const std::string made = "/t/vellmark-" + std::to_string(::geteuid());
    for (const std::string& other : {lock + "/nope", (root() / "link").string(), open})
        EXPECT_EQ(RuntimeFolder(other, "/t"), made) << other;
}

}  // namespace
}  // namespace vellmark
