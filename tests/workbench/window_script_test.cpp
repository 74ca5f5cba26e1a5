// A person's work at the window, as transcripts: what they do, what they are asked, what they see.
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::WindowScripts;

// A file on a folder's row goes into it; the project without a name is offered to be saved.
TEST_F(WindowScripts, FromADropToAnImage) {
    play(R"(
file Disc/Photos/one.jpg => 111
file Disc/Photos/Old/two.jpg => 22
file Disc/read.txt => hello
file three.jpg => 3333
)");
    plays(R"(
>> open
vlpr.vlpr [Vellmark]
  tree *Untitled
  list
  bar  [View: HYBRID] [] [] [Empty folder] []
>> drop list - Disc/Photos Disc/read.txt
vlpr.vlpr [Vellmark]
  tree *Untitled .Photos
  list Photos([2]) read.txt(5 B)
  bar  [View: HYBRID] [Folders: 1] [Files: 1] [5 B] [Inclusion completed in  0'00" for 2 folders and 3 files.]
> drop list Photos three.jpg three.jpg | close
! The file/folder/$PWD/three.jpg/already exists in the same folder of this project./Operation cancelled.
>> drop tree Photos/Old three.jpg
vlpr.vlpr [Vellmark]
  tree Untitled .Photos ..*Old
  list three.jpg(4 B) two.jpg(2 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 2] [6 B] [Inclusion completed in  0'00" for 0 folders and 1 files.]
> menu Compil1 | file out.iso | set LabelHFS=Mac | press Compiler | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! CD-ROM of 1.1 MB/(2 folders and 5 files)./Compilation succeeded.
> menu Compil1 | file out.iso | no
! Create the Target Image File
! File/$PWD/out.iso/exists already on the medium./Do you want to overwrite it?
> menu Compil1 | cancel
! Create the Target Image File
>> menu EnregistrerAs1 | file disc.vlpr
! Save the project file
disc.vlpr [Vellmark]
  tree out .Photos ..*Old
  list three.jpg(4 B) two.jpg(2 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 2] [6 B] []
> close
)");
    play(R"(
0 info out.iso => Mac
0 ls -R out.iso => three.jpg
0 get out.iso Photos/Old/three.jpg -o - == 3333
items disc.vlpr 1 => Photos IH, read.txt IH
none ../data/vlpr.vlpr
)");
}

TEST_F(WindowScripts, ChangesOfAVolume) {
    play(R"(
0 format disk.hfs --size 1M --label Disk
file Letters/a.txt => aaa
file Letters/b.txt => bb
file c.txt => c
folder out
)");
    plays(R"(
>> open $PWD/disk.hfs
disk.hfs [Vellmark]
  tree *Disk
  list
  bar  [Mode: PART.] [] [] [Empty folder] []
>> drop list - Letters c.txt
disk.hfs [Vellmark]
  tree *Disk .Letters
  list c.txt(1 B) Letters([2])
  bar  [Mode: PART.] [Folders: 1] [Files: 1] [1 B] [ - Copied: 3 f. (0.000 MB)]
> rows c.txt
> key F2
>> type d.txt
disk.hfs [Vellmark]
  tree *Disk .Letters
  list d.txt(1 B) Letters([2])
  bar  [Mode: PART.] [Folders: 1] [Files: 1] [1 B] []
> key F2
> type a/b | close
! a/b: a / in a Macintosh name is typed as :.
> menu MD | set Nom=New one | press OK
! New Folder
> rows Letters
> key Del | no
! The folder Letters/is not empty./Do you really want to delete it?
> rows Letters 'New one'
>> key Del | yes
! The folder Letters/is not empty./Do you really want to delete it?
disk.hfs [Vellmark]
  tree *Disk
  list d.txt(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 1] [1 B] []
> menu MD | set Nom=Again | press OK
! New Folder
> menu Bo | no
! You are checking/the binary copy mode/(MacBinary mode)./Are you sure?
> menu Bo | yes
! You are checking/the binary copy mode/(MacBinary mode)./Are you sure?
> menu Bo
> rows d.txt
> menu MPC1 | set Chemin=$PWD/none | press CopNow | close | press Browse | file out | press CopNow
! Select the Target Folder
! $PWD/none: No such file or directory
! Select the Target Folder
! Please select below the destination folder to receive the files...
! Select the Target Folder
> menu Da
> menu Prop1 | set Type=ABCD | press Ecrire
! File Properties
> menu PropVol1 | set Nom=Other | press Ecrire
! Properties
> menu Rech1 | set RechNom=zzz | press Rechercher | close | set RechNom=d* | press Rechercher | pick 0
! Locate file
! No file found/for your search criteria/(zzz).
! Locate file
! Select a file
>> move d.txt Again
disk.hfs [Vellmark]
  tree Other .*Again
  list d.txt(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 1] [1 B] []
>> menu PerePart
disk.hfs [Vellmark]
  tree *Other .Again
  list Again([1])
  bar  [Mode: PART.] [Folders: 1] [Files: 0] [0 B] []
> rows Again
> clip c.txt
> key Ctrl+V
>> key F5
disk.hfs [Vellmark]
  tree *Other .Again
  list Again([1]) c.txt(1 B)
  bar  [Mode: PART.] [Folders: 1] [Files: 1] [1 B] []
> menu Fermer2
>> close
no window
)");
    play(R"(
0 ls -R disk.hfs => Again/d.txt
0 info disk.hfs => Other
0 ls disk.hfs Again --json => ABCD
has out/d.txt 1 => d.txt
)");
}

// What is not in a view gives way to the nearest folder that is.
TEST_F(WindowScripts, ViewsModesAndLanguages) {
    play(R"(
0 new disc.vlpr
file A/B/x.txt => x
file A/y.txt => yy
0 add disc.vlpr A
)");
    plays(R"(
> open $PWD/disc.vlpr
> tree A/B
> rows x.txt
> key Alt+Return | check InHfs | press Ecrire
! File Properties
> tree A
> rows B
> menu Prop1 | check InHfs | press Ecrire
! Folder Properties
>> tree A/B
disc.vlpr [Vellmark]
  tree Untitled .A ..*B
  list x.txt(1 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 1] [1 B] []
>> menu VM1
disc.vlpr [Vellmark]
  tree Untitled .*A
  list y.txt(2 B)
  bar  [View: HFS] [Folders: 0] [Files: 1] [2 B] []
>> menu ModeVue
disc.vlpr [Vellmark]
  tree Untitled .*A ..B
  list B([1]) y.txt(2 B)
  bar  [View: ISO] [Folders: 1] [Files: 1] [2 B] []
>> menu ModeVue
disc.vlpr [Vellmark]
  tree Untitled .*A ..B
  list B([1]) y.txt(2 B)
  bar  [View: HYBRID] [Folders: 1] [Files: 1] [2 B] []
>> click 2
disc.vlpr [Vellmark]
  tree Untitled .*A ..B
  list B([1]) y.txt(2 B)
  bar  [View: HYBRID] [Folders: 1] [Files: 1] [2 B] []
>> click 2
disc.vlpr [Vellmark]
  tree Untitled .*A ..B
  list y.txt(2 B) B([1])
  bar  [View: HYBRID] [Folders: 1] [Files: 1] [2 B] []
> rows y.txt
>> key F2
disc.vlpr [Vellmark]
  tree Untitled .*A ..B
  list y.txt(2 B) B([1])
  bar  [View: HYBRID] [Folders: 1] [Files: 1] [2 B] []
>> type z.txt
disc.vlpr [Vellmark]
  tree Untitled .*A ..B
  list B([1]) y.txt(2 B)
  bar  [View: HYBRID] [Folders: 1] [Files: 1] [2 B] []
> menu Fr1
>> menu ModePart
Vellmark
  tree
  list
  bar  [Mode : PART.] [] [] [] []
>> key Ctrl+M
Vellmark
  tree
  list
  bar  [ISO+] [] [] [] []
> menu En2
> open $PWD/disc.vlpr
> tree A/B
> drop list - A/y.txt
>> menu VM1
disc.vlpr [Vellmark]
  tree Untitled .A ..*B
  list
  bar  [View: HFS] [] [] [Empty folder] []
> menu Info1 | check HFSPlus | press Ecrire
! Properties of the Future CD-ROM
> menu VH1
> menu Label | set LabelISO=NEWISO | set LabelHFS= | press OK | close | set LabelHFS=Mac | press OK
! Labels of both views of the hybrid CD-ROM
! The label "" has 0 letters; HFS+ takes 1 to 61.
! Labels of both views of the hybrid CD-ROM
> tree A
> key Del | no
! The folder A/is not empty./Do you really want to delete it?
> key Del | yes
! The folder A/is not empty./Do you really want to delete it?
>> menu Fermer1
Vellmark
  tree
  list
  bar  [View: HYBRID] [] [] [] []
> close
)");
    play(R"(
items disc.vlpr 1 =>
has disc.vlpr 1 => NEWISO
)");
}

TEST_F(WindowScripts, ADocumentThatAnotherProgramReplaces) {
    play(R"(
0 new disc.vlpr
0 new other.vlpr
file a.txt => a
0 add other.vlpr a.txt
0 format disk.hfs --size 1M --label Disk
)");
    plays(R"(
> open $PWD/disc.vlpr
>> return other.vlpr disc.vlpr | yes
! Another program has changed $PWD/disc.vlpr. Do you want to read it again?
disc.vlpr [Vellmark]
  tree *Untitled
  list a.txt(1 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 1] [1 B] []
> return a.txt b.txt
> open $PWD/disk.hfs
> return disk.hfs gone.hfs | close
! Another program has replaced or removed $PWD/disk.hfs. What is open is the file that was there; keep it with "Save As".
> return b.txt a.txt
> menu EnrAs2 | file new.hfs
! Save the partition
> close
)");
    play(R"(
0 info new.hfs => Disk
)");
}

// A side without items is told, and the image is made of the other.
TEST_F(WindowScripts, ImagesOfOneSide) {
    play(R"(
0 new iso.vlpr --label Disc
0 new mac.vlpr --label Disc
0 new plus.vlso --label Disc
file a.txt => a
0 add iso.vlpr a.txt --view iso
0 add mac.vlpr a.txt --view hfs
)");
    plays(R"(
> open $PWD/iso.vlpr
> menu Compil1 | close | file pure.iso | press Compiler | close
! The project file contains no files/in its HFS/HFS+ view./Launching the compilation/in pure ISO mode...
! Create the Target Image File
! Compilation of an ISO 9660 CD-ROM
! CD-ROM of 364.0 KB/(0 folders and 1 files)./Compilation succeeded.
> open $PWD/mac.vlpr
> menu Compil1 | close | file pure.dmg | press Compiler | close
! The project file contains no files/in its ISO view./Launching the compilation/in pure HFS/HFS+ mode...
! Create the Target Image File
! Compiling the Macintosh CD-ROM image
! CD-ROM of 1.1 MB/(0 folders and 1 files)./Compilation succeeded.
> menu Nouveau1 | file none.vlpr
! Create a new project file
> menu Compil1 | close
! The project file contains no files/(whether in the ISO or HFS/HFS+ viex)./Aborting...
> open $PWD/plus.vlso
> menu CompISOP | close
! The project file contains no files./Aborting...
> close
)");
    play("sides pure.iso => I\nsides pure.dmg => M");
}

TEST_F(WindowScripts, WhatIsKeptFromOneTimeToTheNext) {
    play("0 format 0.hfs --size 1M --label Disk");
    for (int i = 1; i < 7; ++i)
        std::filesystem::copy("0.hfs", std::to_string(i) + ".hfs");
    openWindow();
    for (int i = 0; i < 7; ++i)
        EXPECT_EQ(does("open $PWD/" + std::to_string(i) + ".hfs"), "");
    QMenu& recent = *window().findChild<QMenu*>(QStringLiteral("Reop2"));
    ASSERT_EQ(recent.actions().size(), 5);
    recent.actions()[4]->trigger();
    does("key F5");
    EXPECT_EQ(window().windowTitle(), "2.hfs [Vellmark]");
    EXPECT_EQ(recent.actions()[0]->text().toStdString(),
              "&1. " + std::filesystem::current_path().string() + "/2.hfs");
    does("menu Fr1");
    window().resize(777, 555);
    window().list().setColumnWidth(1, 234);
    does("close");
    EXPECT_EQ(settings_.values["Lang"], "1");
    EXPECT_EQ(settings_.values["Rect"], "50,50,777,555,120");
    EXPECT_EQ(settings_.values["Col"], "160,234,70,70,90,90,120");
    openWindow();
    EXPECT_EQ(window().size(), QSize(777, 555));
    EXPECT_EQ(window().list().columnWidth(1), 234);
    EXPECT_EQ(action("Quitter1").text(), "&Quitter");
}

// The answers to what is asked of many files are kept until the program ends.
TEST_F(WindowScripts, RememberedAnswers) {
    const std::string longName(70, 'n');
    play("0 new disc.vlpr --label Disc\nfile a.exe => x\nfile b.exe => x\nfile " + longName +
         "1 => x\nfile " + longName + "2 => x");
    plays(R"(
> open $PWD/disc.vlpr
> drop list - a.exe | remember | no
! File/$PWD/a.exe/is an executable program/(specific file for the PC)./Do you really want/to include it in the HFS/HFS+ view?
> drop list - b.exe
)");
    EXPECT_NE(does("drop list - " + longName + "1 | check Auto | press OK | check Auto | press OK"),
              "");
    EXPECT_EQ(does("drop list - " + longName + "2"), "");
    does("close");
    play("items disc.vlpr 1 => a.exe I, b.exe I, " + longName + "2 IH, " + longName + "1 IH");
}

// Commands act on the side that a person went to last, and on what they chose there, wherever a
// sorted column put it.
TEST_F(WindowScripts, WhatIsChosenStaysChosen) {
    play(R"(
0 new disc.vlpr --label Disc
file A/b.txt => bbbb
file A/c.txt => c
file A/d.txt => dd
0 add disc.vlpr A
)");
    plays(R"(
> open $PWD/disc.vlpr
> tree A
> rows b.txt
> click 2
> click 2
> click 2
> key Del
>> key F5
disc.vlpr [Vellmark]
  tree Disc .*A
  list c.txt(1 B) d.txt(2 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 2] [3 B] []
> rows c.txt
> focus tree
> key Del | no
! The folder A/is not empty./Do you really want to delete it?
> focus list
>> key Del
disc.vlpr [Vellmark]
  tree Disc .*A
  list d.txt(2 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 1] [2 B] []
> menu SAll
> key F5
>> key Del
disc.vlpr [Vellmark]
  tree Disc .*A
  list
  bar  [View: HYBRID] [] [] [Empty folder] []
> close
)");
}

// Forks that were swapped are joined so, once, and the disc is the one before afterwards.
TEST_F(WindowScripts, ADiscIsJoinedAndTakenApart) {
    play(R"(
file tree/a.txt => a
0! make tree -o disc.iso --kind iso --label D -q
0 format vol.hfs --size 1M --label Vol
file b.txt => bb
sides disc.iso => I
)");
    plays(R"(
> open $PWD/vol.hfs
> drop list - b.txt
> rows b.txt
> menu SW1
> menu Hybrid1 | file disc.iso | close
! Selection of the ISO file
! $PWD/disc.iso: ISO 9660 + HFS, 1126400 bytes
)");
    play(R"(
sides disc.iso => IM
0 ls disc.iso --as hfs => b.txt
0 get disc.iso b.txt --mode resource -o - == bb
)");
    plays(R"(
> menu Hybrid1 | file disc.iso | close
! Selection of the ISO file
! $PWD/disc.iso cannot be joined: This file already contains/a HFS partition./Aborting.
> menu Desh1 | file disc.iso | close
! Selection of the ISO file
! $PWD/disc.iso: Macintosh partition cut off, 65536 bytes
> menu Desh1 | file disc.iso | close
! Selection of the ISO file
! $PWD/disc.iso has no partition map with a Macintosh partition (Apple_HFS) in it.
> close
)");
    play("sides disc.iso => I");
}

TEST_F(WindowScripts, AProjectIsBroughtUpToDate) {
    play(R"(
file tree/a.txt => a
file tree/b.txt => b
0 new disc.vlpr
0 add disc.vlpr tree
remove tree/b.txt
file tree/c.txt => c
)");
    plays(R"(
> open $PWD/disc.vlpr
> tree tree
>> menu Clean1 | close
! $PWD/disc.vlpr: 1 items deleted, 0 modified, 0 folders and 1 files added
disc.vlpr [Vellmark]
  tree Untitled .*tree
  list a.txt(1 B) c.txt(1 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 2] [2 B] []
> menu DelExt
> close
)");
    play("items disc.vlpr 18 => a.txt IH, c.txt IH");
    const ProjectFile project = opened("disc.vlpr");
    for (const ProjectRecord& item : project.childrenOf(18))
        EXPECT_TRUE(item.hiddenExtension()) << item.sourceName();
}

}  // namespace
}  // namespace vellmark
