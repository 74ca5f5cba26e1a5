// Dialogs that change settings and the project: what they leave behind in the store, the project
// file and the volume.
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::Replaced;
using test::WindowScripts;

TEST_F(WindowScripts, PreferencesCountAtOnceAndAreKept) {
    play(R"(
0 format disk.hfs --size 1M --label Disk
file a.txt => a
file b.txt => b
0 put disk.hfs a.txt
0 put disk.hfs b.txt
0 attr disk.hfs a.txt --set invisible
set VL-Options => 8
)");
    plays(R"(
> open $PWD/disk.hfs
> menu Pref1 | check ValDel | cancel
! Preferences
> menu Pref1 | set Ext=a/b | press OK | close | set Ext=DAT | check Cache | check ValDel | check TronqAuto | check SavMode | check SavTronq | check CachBarr2 | set EdMaxProj=650 | press OK
! Preferences
! a/b is no extension: it has one to four characters, and no /.
! Preferences
>> menu Col | set LargCol1=0 | check Col7 | check Arbre | press OK
! Column Settings
disk.hfs [Vellmark]
  tree *Disk
  list a.txt(1 B) b.txt(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 2] [2 B] []
)");
    const auto value = [&](const char* name) { return settings_.values[name]; };
    EXPECT_EQ(value("Options"), "1416") << "hidden bar, hidden files, no question, short names";
    EXPECT_EQ(value("VL-Options"), "75") << "the root opened, mode and shortened views kept";
    EXPECT_EQ(value("szProj") + value("szIsop") + value("Ext"), "650700DAT");
    EXPECT_TRUE(value("Col").starts_with("160,") && value("Col").ends_with(",0")) << value("Col");
    EXPECT_TRUE(value("Rect").ends_with(",0")) << value("Rect");
    closeWindow();
    openWindow();
    EXPECT_EQ(window().documents().mode, FileMode::Partition);
    EXPECT_TRUE(window().isToolBarHidden());
    EXPECT_EQ(window().widths().tree, 0);
}

TEST_F(WindowScripts, NamesThatAreTooLongAreAskedFor) {
    const std::string longName(40, 'n');
    play("0 format disk.hfs --size 1M --label Disk\nfile " + longName + ".txt => a\nfile " +
         longName + ".doc => b\nfile " + longName + "2.doc => c\n");
    const std::string proposal(27, 'n');
    plays(Replaced(R"(
> open $PWD/disk.hfs
> drop list - LONG.txt | set Nom=short.txt | press OK
! Name Truncation
> drop list - LONG.txt | cancel | close
! Name Truncation
! skipped $PWD/LONG.txt: Its name is too long for the volume, and it got no other one./
> drop list - LONG.doc | check Auto | check CRC | check Garder | press OK
! Name Truncation
> drop list - LONG2.doc
> close
)",
                   "LONG", longName));
    EXPECT_EQ(settings_.values["Options"], "24");
    play("0 ls disk.hfs => short.txt\nshows => " + proposal + ".doc\n");
}

// What fits the volume can have too many bytes for the PC.
TEST_F(WindowScripts, NamesThatThePcCannotHaveAreAskedFor) {
    std::string wide;
    for (int i = 0; i < 100; ++i)
        wide += "\u65e5";
    play(
        "0 format disk.hfs --hfsplus --size 1M --label Disk\nfile a => a\nfile b => b\n"
        "0 put disk.hfs a\n0 put disk.hfs b\n0 rename disk.hfs a " +
        wide + "\nfolder out\n");
    plays(Replaced(R"(
> open $PWD/disk.hfs
> rows WIDE b
> menu MPC1 | set Chemin=$PWD/out | press CopNow | set cont_fich=short | press OK
! Select the Target Folder
! Enter the name for the PC file
> menu MPC1 | set Chemin=$PWD/out | press CopNow | no | cancel
! Select the Target Folder
! The file/$PWD/out/b.TXT/ already exists./Do you want to replace it?
! Enter the name for the PC file
> close
)",
                   "WIDE", wide));
    play("holds out/short => a\nholds out/b.TXT => b\n");
}

TEST_F(WindowScripts, FilesOfNoTypeAreGivenOne) {
    play(R"(
0 format disk.hfs --size 1M --label Disk
file a => a
file b => b
file c => c
file d => d
0 put disk.hfs a
0 put disk.hfs b
0 put disk.hfs c
0 put disk.hfs d
)");
    plays(R"(
> open $PWD/disk.hfs
> menu EdSign | press Ignorer | press Changer | close | set NouvType=ABCD | set NouvCreat=EFGH | press Changer | set NouvType=IJKL | set NouvCreat=MNOP | press ChangerTout
! Signature Editing
! Signature Editing
! Filetype: takes one to four characters of the Macintosh, and "" is not that.
! Signature Editing
! Signature Editing
> menu EdSign | press IgnorerTout
! Signature Editing
> close
)");
    play(R"(
0 ls -l disk.hfs => TEXT
shows => ABCD
shows => IJKL
)");
}

TEST_F(WindowScripts, DifferencesAreTakenOverOrLeft) {
    play(R"(
file Disc/gone.txt => 1
file Disc/left.txt => 2
file Disc/more.txt => 3
file Disc/lost.txt => 4
file Disc/Sub/in.txt => 5
0 new disc.vlpr --label Disc
0 add disc.vlpr Disc
remove Disc/gone.txt
remove Disc/left.txt
file Disc/more.txt => longer
file Disc/Sub/new.txt => 6
file Disc/new.txt => 7
folder Elsewhere
move Disc/lost.txt Elsewhere/lost.txt
)");
    plays(R"(
> open $PWD/disc.vlpr
> menu Refr | give AccLigne | give RejLigne | give Localiser | set Disque=$PWD/Elsewhere | press Lancer | press Remplacer | give AccPage | give RejLigne | give AccTout
! Deleted, Added and Modified Files & Folders
! Locating a Missing File/Folder
! Locating a Missing File/Folder
! Deleted, Added and Modified Files & Folders
> menu Refr | give RejTout
! Deleted, Added and Modified Files & Folders
> menu RSig | set OrigType=TEXT | press Remplacer | close | set OrigCreat=???? | set NouvType=ABCD | set NouvCreat=EF | press Remplacer | close
! Searching & Replacing Signatures
! Original Signature: Creator takes one to four characters of the Macintosh, and "" is not that.
! Searching & Replacing Signatures
! Signature TEXT????/replaced 5 times.
> menu RSig | cancel
! Searching & Replacing Signatures
> close
)");
    play("move Disc Moved\n");
    plays(R"(
> open $PWD/disc.vlpr
> menu Path1 | cancel
! Access Path Modification
> menu Path1 | set Ancien=$PWD/Disc | set Nouveau=$PWD/Moved | press OK | close | cancel
! Access Path Modification
! Access path modified for 6 files/folders.
! Deleted, Added and Modified Files & Folders
> menu Clean1 | close
! $PWD/disc.vlpr: 1 items deleted, 0 modified, 1 folders and 2 files added
> close
)");
    play(R"(
has disc.vlpr 4 => ABCDEF
0 build disc.vlpr -o disc.iso
0 get disc.iso Disc/lost.txt -o - == 4
0 get disc.iso Disc/more.txt -o - == longer
0 get disc.iso Disc/Sub/new.txt -o - == 6
1! get disc.iso Disc/gone.txt -o -
)");
}

}  // namespace
}  // namespace vellmark
