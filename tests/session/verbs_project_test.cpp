// Verbs that make, fill, check and build a project: what it holds afterwards, and that a failure
// changes nothing.
#include <csignal>
#include <streambuf>

#include "session/session_bench.hpp"

namespace vellmark {
namespace {

namespace fs = std::filesystem;
using test::Write;

class ProjectVerbs : public test::ScriptTest {
  protected:
    ProjectVerbs() {
        play(R"(
file in/a.txt => a
file in/sub/b.txt => b
file c.exe => c
0 new p.vlpr --label P
)");
    }
};

TEST_F(ProjectVerbs, NewMakesAHeaderOfItsKind) {
    play(R"(
0 new a.vlpr --label old => a.vlpr: new
0 new b.vlpr --hfsplus --label 'My disc'
1 new a.vlpr => a.vlpr exists already
1 new . --force => names a folder
1 new nope/a.vlpr => no folder nope
1 new a.vlpr --force --label 1234567890123456789012345678 => HFS takes 1 to 27
2 new x.vlpr --hfs --hfsplus => either HFS or HFS+
file b.BAK => the only original of something
0! add b.vlpr c.exe => b.BAK.1
holds b.BAK => the only original of something
0 new a.vlpr --force
)");
    for (const std::string path : {"a.vlpr", "b.vlpr"}) {
        EXPECT_EQ(opened(path).header().isHfsPlus(), path == "b.vlpr");
        EXPECT_EQ(opened(path).header().isoLabel(), path == "b.vlpr" ? "My disc" : "Untitled");
    }
}

TEST_F(ProjectVerbs, AddPutsItemsInTheFolderAndTheView) {
    play(R"(
0 add p.vlpr in c.exe == p.vlpr: 2 folders and 3 files added\n
0 add p.vlpr in/* --view iso -q ==
items p.vlpr 1 => a.txt I, c.exe IH, in IH, sub I
# A folder that is in other views says so.
0! add p.vlpr c.exe --to in --view iso => The folder in is in both views
0 add p.vlpr in/a.txt --to New\Deep/ --view hfs
0! add p.vlpr in/sub/b.txt --to New/Deep --view iso => The folder New/Deep is in the HFS view alone
items p.vlpr 22 => a.txt H, b.txt H
# A link to a project stays a link.
move p.vlpr in/p.vlpr
link p.vlpr in/p.vlpr
0 add p.vlpr c.exe --to Behind
items in/p.vlpr 23 => c.exe IH
link in/dangling nowhere
file other/in/x => x
3 add p.vlpr in/sub in/dangling --to Again => in/dangling
items p.vlpr 24 => sub IH
3 add p.vlpr *.vlpr p.vlpr => a file of the project itself
1 add nope.vlpr in => nope.vlpr. No such file
1 add c.exe in => not recognized as a project file
1 add p.vlpr *.none => No file or folder fits
1 add p.vlpr '' => names no file or folder
1 add p.vlpr c.exe in => already exists in the same folder
1 add p.vlpr other/in => same name should only be included in different views
1 add p.vlpr nope --to Made => nope names no file
1 add p.vlpr c.exe --to in/a.txt => a.txt
)");
    EXPECT_TRUE(fs::is_symlink("p.vlpr"));
}

TEST_F(ProjectVerbs, QuestionsAreAskedOnATerminalAloneAndNotWhereTheAnswerIsGiven) {
    Write("s", std::string("\0\x05\x16\0\0\x02\0\0", 8) + std::string(18, '\0'));  // AppleSingle
    const std::string longName(70, 'n');
    Write(longName, "x");
    play(R"(
types => n\n
0! add p.vlpr c.exe => c.exe is an executable program
items p.vlpr 1 => c.exe I
types
0 add p.vlpr s c.exe --to A --containers-in-iso yes --exe-in-hfs yes
items p.vlpr 18 => c.exe IH, s IH
0 add p.vlpr s c.exe --to B --containers-in-iso no --exe-in-hfs no
items p.vlpr 19 => c.exe I, s H
0! add p.vlpr --truncate auto --to D )" +
         longName + "\nnobody\n0! add p.vlpr --to E " + longName + " => 1 name was shortened");
    EXPECT_EQ(opened("p.vlpr").childrenOf(20)[0].hfsName(), std::string(31, 'n'));
}

constexpr const char* kChange = R"(
remove in/a.txt
file in/sub/b.txt => longer
file in/sub/c.txt => c
)";

TEST_F(ProjectVerbs, CheckTellsWhatDiffersAndRebuildBringsItUpToDate) {
    play(R"(
0 add p.vlpr in/*
remove p.BAK
0 check p.vlpr --json --dates == []\n
0 rebuild p.vlpr
)");
    play(kChange);
    play(R"(
3! check p.vlpr == deleted   $PWD/in/a.txt\nmodified  $PWD/in/sub/b.txt\nadded     $PWD/in/sub/c.txt\n
3! check p.vlpr --lines --no-additions == D|1|-1|1|$PWD/in/|a.txt\r\nM|18|-2|6|$PWD/in/sub/|b.txt\r\n
2 check p.vlpr --json --lines => --lines
3! check p.vlpr --json
shows => "change": "modified", => "item": "sub/b.txt", => "sizeBytes": 6,
0 --log j.log rebuild p.vlpr => 1 items deleted, 1 modified, 0 folders and 1 files added\n
shows => added     $PWD/in/sub/c.txt\n
has j.log 1 => Deletion
has j.log 1 => Modification
has p.BAK 4 => a.txt
items p.vlpr 18 => b.txt IH, c.txt IH
0 check p.vlpr --dates
# What cannot be judged is no agreement.
file in/._lost => a companion without its file
3 check p.vlpr => in/._lost
3 rebuild p.vlpr -q => in/._lost
3 build p.vlpr --rebuild -q => in/._lost
)");
    EXPECT_EQ(opened("p.vlpr").header().rootFiles, 0u);
}

TEST_F(ProjectVerbs, NeitherTheProjectNorWhatIsMadeOfItBecomesItsItem) {
    play(R"(
remove c.exe
0 new q.vlpr
0 add q.vlpr in
remove p.vlpr
0 --log j.log rebuild q.vlpr
file q.iso => an old image
3! check q.vlpr == added     $PWD/j.log\n
0! build q.vlpr --rebuild --force
items q.vlpr 1 => in IH, j.log IH
0 --log in/open.log make in -o j.iso
0 ls j.iso --as joliet == a.txt\nsub\n
# Nor does it come into a volume.
0 format v.img --size 1 --label V -q
0 --log in/other.log put v.img in
1 get v.img in/other.log => in/other.log
0 get v.img in/open.log -o out -q
)");
}

// A source that is not there, or that another system wrote, empties no project.
TEST_F(ProjectVerbs, ARebuildWithoutItsSourceIsRefused) {
    const std::string place = fs::current_path().string();
    const std::pair<std::string, std::string> cases[] = {
        {"0 add r.vlpr box/in\nmove box/in away", place + "/box/in/"},
        {"0 add r.vlpr box/in/*\nremove box/in/sub\nremove box/in/a.txt", place + "/box/in/"},
        {"0 add r.vlpr box/in", "C:\\Discs\\"}};
    for (const auto& [change, missing] : cases) {
        for (const char* name : {"box", "away", "r.vlpr", "r.BAK"})
            fs::remove_all(name);
        Write("box/kept", "k");
        fs::copy("in", "box/in", fs::copy_options::recursive);
        play("0 new r.vlpr --rebuild\n" + change);
        if (missing[0] == 'C') {
            std::string bytes = test::Bytes("r.vlpr");
            for (std::size_t record = 756; record < bytes.size(); record += 756)
                bytes.replace(record + 112, missing.size() + 1, missing + '\0');
            Write("r.vlpr", bytes);
        }
        for (const char* line : {"3 check r.vlpr", "1 rebuild r.vlpr", "1 build r.vlpr --rebuild",
                                 "1 /C r.vlpr", "1 /R r.vlpr"})
            play(line + (" => path r.vlpr '" + missing + "' NEW"));
        play("0 rebuild r.vlpr --drop-missing --no-additions\nitems r.vlpr 1");
    }
}

TEST_F(ProjectVerbs, PathsSignaturesAndSearchesStayInTheProject) {
    play(R"(
0 add p.vlpr in/*
0 add p.vlpr in/a.txt --to Why?
0 find p.vlpr *y? == Why?/\n
0 find p.vlpr s*B --view hfs == sub/\n
0 find p.vlpr A.TXT == a.txt\nWhy?/a.txt\n
move in moved
0 path p.vlpr in $PWD/./moved/ == Access path modified for 4 files/folders.\n
0 check p.vlpr
1 path p.vlpr in moved => No item of p.vlpr comes from
2 replace-signature p.vlpr TEXT???? TEXTR*ch -p 1 => no partitions
0 replace-signature p.vlpr TEXT???? TEXTR*ch => 3 files changed
0 find p.vlpr --signature TEXTR*ch == a.txt\nsub/b.txt\nWhy?/a.txt\n
)");
}

TEST_F(ProjectVerbs, BuildMakesTheImageBesideTheProjectUnlessItIsNamed) {
    play(R"(
0 add p.vlpr in
remove p.BAK
0 build p.vlpr
sides p.iso => IM
1 build p.vlpr => p.iso exists already
0 build p.vlpr --kind hfs
sides p.dmg => M
0 build p.vlpr -o in/other.img --kind iso
sides in/other.img => I
none p.BAK
0 new plus.vlso
1 build nope.vlpr => nope.vlpr. No such file
1 build p.iso => not recognized as a project file
1 build plus.vlso => contains no files
1 build p.vlpr -o ./in/../p.vlpr --force => would replace its own project
# A rebuild is asked for here, or by the project.
0 new r.vlpr --rebuild
0 add r.vlpr in/*
)");
    play(kChange);
    play(R"(
1 build p.vlpr -o 1.iso => a.txt is not there any more
0! build p.vlpr -o 2.iso --rebuild
0 ls 2.iso in/sub --as hfs == b.txt\nc.txt\n
0! /C r.vlpr
0 ls r.ISO sub --as joliet == b.txt\nc.txt\n
file in/sub/d.txt => d
0 /RJ r.vlpr r.log
has r.log 1 => Addition
)");
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

TEST_F(ProjectVerbs, AnInterruptedAddChangesNothing) {
    InterruptedInput input;
    input_ = &input;
    play("types\n1 add p.vlpr c.exe in => nothing was changed");
}

// A look at what a build would make says the same first, and writes nothing: no image where there
// is none or an older one, and no project.
TEST_F(ProjectVerbs, ADryRunTellsWhatABuildMakesAndMakesNothing) {
    play("0 add p.vlpr in\nremove p.BAK\nfile in/new.txt => n\nfile p.iso => an older image");
    for (const auto& [line, option] :
         std::map<std::string, std::string>{{"0! build p.vlpr --rebuild", " -n"},
                                            {"0 make in -o p.iso", " --dry-run"},
                                            {"0 make in -o x.iso", " --dry-run"}}) {
        const Disk before = disk();
        play(line + option);
        const std::string told = out_;
        EXPECT_EQ(test::CountIn(told, "\n"), 3u) << told;
        EXPECT_TRUE(disk() == before) << line;
        play(line + " --force");
        EXPECT_TRUE(told.starts_with(out_)) << told << out_;
    }
}

// From the options to the image: the file, the picture in its folder, and the folder's number.
TEST_F(ProjectVerbs, ALayoutComesToTheDisc) {
    play(R"(
file sea.jpg => picture
file a.txt => a
file Sub/b.txt => b
0 new disc.vlpr --label Disc
0 add disc.vlpr a.txt
0 add disc.vlpr Sub
0! dsstore disc.vlpr --window 10,20,310,420 --icon-size 48 --background sea.jpg --place a.txt=7,8
says => Mac OS Extended
0 dsstore --show disc.DS_Store
shows => 10,20 to 310,420
shows => 48 pixels
shows => sea.jpg
shows => 7,8  a.txt
file other => mine
1! dsstore disc.vlpr -o other
holds other => mine
2! dsstore disc.vlpr --show disc.DS_Store
1! dsstore disc.vlpr --window 10,20,5,420
0 dsstore disc.vlpr --text-size 10
0 dsstore --show disc.DS_Store
shows => 10,20 to 310,420
shows => 48 pixels
shows => 10 points
shows => sea.jpg
file a:b.txt => c
file picture.txt => text
file none.jpg =>
0 add disc.vlpr a:b.txt
0 dsstore --background '' --place=A:B.TXT=30,40 disc.vlpr
0 dsstore --show disc.DS_Store
shows => 30,40  a/b.txt
1 dsstore --background=none.jpg disc.vlpr => none.jpg: it is empty
1 dsstore --background=Sub disc.vlpr => Sub is no regular file.
1 dsstore --background=picture.txt disc.vlpr => picture by its extension
1 dsstore disc.vlpr --force -o disc.vlpr => is needed as it is
file disc.DS_Store => damaged
1! dsstore disc.vlpr --place a.txt=1,2 => not valid
0! dsstore disc.vlpr --place a.txt=1,2 --background sea.jpg --place a/b.txt=3,4 --force
0 dsstore --show disc.DS_Store
shows => 1,2  a.txt
shows => 3,4  a/b.txt
0! build disc.vlpr -o disc.iso
0 get disc.iso .!Background/sea.jpg -o - == picture
0 ls --as hfs --json disc.iso => "id": 17
0 get disc.iso .DS_Store -o out
)");
    EXPECT_EQ(test::Bytes("out"), test::Bytes("disc.DS_Store"));
}

}  // namespace
}  // namespace vellmark
