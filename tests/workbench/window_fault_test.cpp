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

}  // namespace
}  // namespace vellmark
