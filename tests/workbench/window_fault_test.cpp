// What goes wrong around a person at the window: sources that are not there, images that may not be
// changed, work that is stopped half-way. Each is one clear message, and nothing is lost.
#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <set>

#include "workbench/window_bench.hpp"

// Behind the others, which know only one namespace called testing.
#include "IO/disk_image_maker.hpp"

namespace vellmark {
namespace {

class WindowFaults : public test::WindowScripts {
  protected:
    /// A thousand small files, and their names with a blank before each.
    static std::string manyFiles() {
        std::string names;
        for (int i = 0; i < 1000; ++i) {
            const std::string name = "many/" + std::to_string(i) + ".txt";
            test::Write(name, std::to_string(i));
            names += " " + name;
        }
        return names;
    }
    static std::string namesIn(const std::filesystem::path& folder) {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.insert(entry.path().filename().string());
        std::string text;
        for (const std::string& name : names)
            text += (text.empty() ? "" : " ") + name;
        return text;
    }
};

// While a journal is open each file that is copied comes by in the window's thread, so that no
// machine is fast enough for the compile to end before it is stopped.
TEST_F(WindowFaults, ACompileIsStoppedHalfWay) {
    manyFiles();
    play("0 new disc.vlpr --label Disc\n0 add disc.vlpr many");
    plays(R"(
> open $PWD/disc.vlpr
> menu Log1 | set Fichier=$PWD/log.txt | press Ouvrir | press MessFermer
! Log File Management
! Log File Management
> menu Compil1 | file out.iso | press Compiler | abort | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! Current compilation was aborted at your request.
>> rows many
disc.vlpr [Vellmark]
  tree *Disc .many
  list many([1000])
  bar  [View: HYBRID] [Folders: 1] [Files: 0] [0 B] []
> menu Compil1 | file out.iso | press Compiler | quit | no | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! Something is still going on./Do you really want to stop it?
! CD-ROM of 2.7 MB/(1 folders and 1000 files)./Compilation succeeded.
> menu Compil1 | file two.iso | press Compiler | quit | yes | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! Something is still going on./Do you really want to stop it?
! Current compilation was aborted at your request.
)");
    for (int i = 0; i < 500 && window().isVisible(); ++i)
        QTest::qWait(10);
    EXPECT_FALSE(window().isVisible()) << "the window that was closed";
    EXPECT_EQ(namesIn("."), "disc.BAK disc.vlpr log.txt many out.iso");
    play("0 ls out.iso many => 999.txt\nitems disc.vlpr 1 => many IH");
}

// One list names what cannot be taken; the rest is there.
TEST_F(WindowFaults, WhatIsDroppedMayNotBeThere) {
    const std::string names = manyFiles();
    play(R"(
0 new disc.vlpr --label Disc
0 format disk.hfs --size 4M --label Disk
file good/a.txt => a
link good/dangling nowhere
link dangling nowhere
file 'good/a*b' => star
)");
    ASSERT_EQ(::mkfifo("good/pipe", 0600), 0);
    plays(R"(
> open $PWD/disc.vlpr
)");
    EXPECT_EQ(does("drop list -" + names), "");
    EXPECT_EQ(window().status().panel(2), "Files: 1000");
    plays(R"(
> menu MD | set Nom=New | press OK
! New Folder
> tree New
>> drop list - good dangling disc.vlpr gone | close
! skipped $PWD/dangling: it is a symbolic link that leads nowhere/skipped $PWD/disc.vlpr: it is a file of the project itself/skipped $PWD/gone: it names no file or folder that can be included/skipped $PWD/good/dangling: it is a symbolic link that leads nowhere/skipped $PWD/good/pipe: it is a pipe, a socket or a device/
disc.vlpr [Vellmark]
  tree Disc .*New ..good
  list good([2])
  bar  [View: HYBRID] [Folders: 1] [Files: 0] [0 B] [Inclusion completed in  0'00" for 1 folders and 2 files.]
> open $PWD/disk.hfs
)");
    EXPECT_EQ(does("drop list -" + names), "");
    EXPECT_EQ(window().status().panel(2), "Files: 1000");
    plays(R"(
> drop list - good dangling disk.hfs gone | close
! skipped $PWD/good/dangling: It is a symbolic link that leads nowhere./skipped $PWD/good/pipe: It is a pipe, a socket or a device./skipped $PWD/dangling: It is a symbolic link that leads nowhere./skipped $PWD/disk.hfs: It is the image itself./skipped $PWD/gone: It cannot be found./
)");
}

// One message for what cannot be kept, and what could not be written is there to be tried again.
TEST_F(WindowFaults, WhatMayNotBeReadOrWritten) {
    play(R"(
0 new disc.vlpr --label Disc
file a.txt => a
file secret.txt => s
0 format disk.hfs --size 1M --label Disk
0 put disk.hfs a.txt
)");
    namespace fs = std::filesystem;
    fs::permissions(root(), fs::perms(0755));
    fs::permissions("secret.txt", fs::perms::none);
    fs::permissions("disk.hfs", fs::perms(0444));
    fs::permissions(".", fs::perms(0555));
    {
        const test::Nobody nobody;
        plays(R"(
> open $PWD/disc.vlpr
>> drop list - a.txt secret.txt | close | close
! The project file/$PWD/disc.vlpr/cannot be written: Permission denied.
! skipped $PWD/secret.txt: Permission denied/
disc.vlpr [Vellmark]
  tree *Disc
  list a.txt(1 B)
  bar  [View: HYBRID] [Folders: 0] [Files: 1] [1 B] [Inclusion completed in  0'00" for 0 folders and 1 files.]
> menu Compil1 | file out.iso | press Compiler | close | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! $PWD/out.iso cannot be written: Permission denied.
! Current compilation was aborted at your request.
)");
    }
    fs::permissions(".", fs::perms(0755));
    plays(R"(
> menu Enregistrer1
> close
)");
    const test::Nobody nobody;
    plays(R"(
>> open $PWD/disk.hfs
disk.hfs [Vellmark]
  tree *Disk
  list a.txt(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 1] [1 B] [The image file may only be read.]
> rows a.txt
> key Del
> key F2
> drop list - a.txt
! is not taken
> menu Prop1 | cancel
! File Properties
> close
)");
    play("items disc.vlpr 1 => a.txt IH");
}

TEST_F(WindowFaults, ADiskIsFullDuringACompile) {
    test::Write("big", std::string(2 << 20, 'b'));
    play("0 new disc.vlpr --label Disc\n0 add disc.vlpr big");
    plays("\n> open $PWD/disc.vlpr\n");
    (void)std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &before), 0);
    rlimit smaller = before;
    smaller.rlim_cur = 1 << 20;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &smaller), 0);
    const std::string heard = written(R"(
> menu Compil1 | file out.iso | press Compiler | close | close
)");
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &before), 0);
    EXPECT_EQ("\n" + heard, R"(
> menu Compil1 | file out.iso | press Compiler | close | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! $PWD/out.iso cannot be written: File too large.
! Current compilation was aborted at your request.
)");
    EXPECT_EQ(namesIn("."), "big disc.BAK disc.vlpr");
    plays(R"(
> menu Compil1 | file out.iso | press Compiler | close
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! CD-ROM of 2.4 MB/(0 folders and 1 files)./Compilation succeeded.
)");
}

// Whoever asks a person about a document holds on to it until they have answered.
TEST_F(WindowFaults, ASecondStartWaitsForADialog) {
    play(R"(
0 new one.vlpr --label One
0 new two.vlpr --label Two
file a.txt => a
0 add one.vlpr a.txt
)");
    plays(R"(
> open $PWD/one.vlpr
> rows a.txt
> key Alt+Return | hand $PWD/two.vlpr | set Type=ABCD | press Ecrire
! File Properties
)");
    EXPECT_TRUE(QTest::qWaitFor([&] { return window().windowTitle() == "two.vlpr [Vellmark]"; }));
    play("has one.vlpr 1 => ABCD");
}

// HFS has no numbers for more.
TEST_F(WindowFaults, MoreFilesThanHfsTakes) {
    ProjectFile project = ProjectFile::Create(std::filesystem::absolute("big.vlpr").string(),
                                              ProjectMode::Hybrid, {.isHfsPlus = true});
    ProjectFile::Run run(kMostHfsRecords + 1);
    for (ProjectRecord& record : run) {
        record.parent = kRootFolder;
        record.number = project.giveFileNumber();
        record.setIsoInclusion(1);
        record.setHfsInclusion(1);
        const std::string name = std::to_string(-record.number);
        record.setIsoName(name);
        record.setHfsName(name);
        record.setSourceName(name);
    }
    project.mergeChildren(kRootFolder, std::move(run));
    project.addCounters(kRootFolder, 0, kMostHfsRecords + 1);
    std::istringstream input;
    std::ostringstream output;
    CommandContext context{input, output, output, clock_};
    Terminal terminal(context, {});
    ASSERT_TRUE(project.save(terminal.messages));
    { const ProjectFile closed = std::move(project); }
    plays(R"(
> open $PWD/big.vlpr
> menu Compil1 | file out.iso | check HFSPlus | close | cancel
! Create the Target Image File
! Compiling the hybrid CD-ROM image
! You can't select the HFS format with more than 65,535 files or folders.
! Compiling the hybrid CD-ROM image
)");
}

/// Files of this process that no folder has any more.
std::size_t NamelessFiles() {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code error;
        const std::string path = std::filesystem::read_symlink(entry.path(), error).string();
        count += path.ends_with("(deleted)") ? 1 : 0;
    }
    return count;
}

// It is expanded into a file that goes with it, or into one that stays.
TEST_F(WindowFaults, ACompressedImage) {
    play("0 format plain.hfs --size 1M --label Disk\nfile a.txt => a\n0 put plain.hfs a.txt");
    testing::ImageMaker maker;
    maker.table(
        {testing::BlockOf(testing::kZlibBlock, testing::BytesOf(test::Bytes("plain.hfs")))});
    const testing::Bytes made = maker.make();
    test::Write("d.dmg", {reinterpret_cast<const char*>(made.data()), made.size()});
    const std::size_t before = NamelessFiles();
    plays(R"(
> open $PWD/d.dmg | no
! Image $PWD/d.dmg is compressed. Do you want to uncompress it?
> open $PWD/d.dmg | yes | no
! Image $PWD/d.dmg is compressed. Do you want to uncompress it?
! Do you want to save the uncompressed image?
>> rows a.txt
d.dmg [Vellmark]
  tree *Disk
  list a.txt(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 1] [1 B] [The image is compressed; what is open is a copy that goes when it is closed.]
)");
    EXPECT_GT(NamelessFiles(), before);
    plays(R"(
> menu Fermer2
)");
    EXPECT_EQ(NamelessFiles(), before);
    plays(R"(
> open $PWD/d.dmg | yes | yes | file kept.hfs
! Image $PWD/d.dmg is compressed. Do you want to uncompress it?
! Do you want to save the uncompressed image?
! Saving the uncompressed image
>> rows a.txt
kept.hfs [Vellmark]
  tree *Disk
  list a.txt(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 1] [1 B] []
> close
)");
    play("holds a.txt => a\n0 ls kept.hfs == a.txt\\n");
    EXPECT_EQ(NamelessFiles(), before);
}

}  // namespace
}  // namespace vellmark
