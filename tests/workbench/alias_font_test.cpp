// A person follows aliases of a volume, and is asked about fonts that go out of it and into it.
#include "session/mac_forks.hpp"
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

using test::AliasFork;
using test::Write;

class WindowForks : public test::WindowScripts {
  protected:
    /// A file of the volume with that resource fork.
    void put(const std::string& name, const std::string& type, const std::string& fork,
             const std::string& flags = "") {
        Write(name, fork);
        play("0 put disk.hfs " + name + " --mode resource --type " + type + " -q");
        if (!flags.empty())
            play("0 attr disk.hfs " + name + " --set " + flags);
    }
    [[nodiscard]] std::string selected() {
        std::string names;
        for (const std::size_t row : window().selection().rows)
            names += window().factsOf(row).name.toStdString() + " ";
        return names;
    }
};

TEST_F(WindowForks, AnAliasShowsItsTargetAndLeadsThere) {
    const std::string target = "Caf\x8E 1/2";
    const std::string path = "Disk:Docs:" + target;
    const std::string whole = "Disk:" + std::string(194, 'a');
    const std::string cut = "Disk:" + std::string(95, 'a') + " [...] " + std::string(100, 'b');
    Write("Docs/Caf\u00e9 1:2", "x");
    for (const std::string format : {"", " --hfsplus"}) {
        play("0 format disk.hfs --force -s 2M --label Disk" + format +
             "\n0 put disk.hfs Docs -q\nfile plain => x\n0 put disk.hfs plain -q");
        put("near", "alis", AliasFork("Disk", target, 16, 9999, path), "alias");
        put("edge", "alis", AliasFork("Disk", "x", 16, 9999, whole), "alias");
        put("gone", "alis",
            AliasFork("Disk", "x", 16, 9999,
                      "Disk:" + std::string(95, 'a') + std::string(100, 'b')),
            "alias");
        put("far", "alis", AliasFork("Other", target, 16, 9999, "Other:x"), "alias");
        put("bad", "alis", "no fork", "alias");
        plays(R"(
> open $PWD/disk.hfs
> rows plain
> menu Prop1 | read EditAlias | press MessFermer
! File Properties
= Edit Alias (off)
> rows bad edge far gone
> menu Prop1 | press EditAlias | close | press Ecrire | press EditAlias | read AccessPath | press Save | press Ecrire | press EditAlias | read Note | read Browse | read Align | press Cancel | press Ecrire | press EditAlias | read AccessPath | read Note | cancel | press MessFermer
! File Properties
! Unable to load the alias resource./The resource fork has only 7 bytes, fewer than its header.
! File Properties
! File Properties
! Alias File Editing
= )" + whole + R"(
! File Properties
! File Properties
! Alias File Editing
= What it points at is on another volume.
= Browse (off)
= Align (off)
! File Properties
! File Properties
! Alias File Editing
= )" + cut + R"(
= What it points at is not on this volume any more.
! File Properties
> menu Rech1 | page 2 | press Rechercher | pick 3
! Locate file
! Select a file
> rows near
>> menu Prop1 | press EditAlias | read AccessPath | read TargetFile | read TargetVolume | read Here | press GoThere
! File Properties
! Alias File Editing
= Disk:Docs:Café 1/2
= Café 1:2
= Disk
= Docs/Café 1:2
disk.hfs [Vellmark]
  tree Disk .*Docs
  list Café 1:2(1 B)
  bar  [Mode: PART.] [Folders: 0] [Files: 1] [1 B] []
)");
        EXPECT_EQ(selected(), "Caf\u00e9 1:2 ");
        closeWindow();
    }
    play("0 format empty.hfs -s 2M --label Empty");
    plays(R"(
> open $PWD/empty.hfs
> menu Rech1 | page 2 | press Rechercher | close | cancel
! Locate file
! Unsuccessful search./No alias found.
! Locate file
)");
}

TEST_F(WindowForks, FontsAreAskedAboutOnceOrEachTime) {
    play("0 format disk.hfs -s 2M --label Disk\nfolder out\nfolder more");
    for (const std::string name : {"One", "Two", "Three"})
        put(name, "LWFN", test::PrinterFontFork("Font" + name));
    put("Empty", "LWFN", test::ForkOf("NONE", {"x"}));
    for (const std::string name : {"a", "b", "c", "d"})
        Write(name + ".ttf", test::TrueType("New" + name, ""));
    plays(R"(
> open $PWD/disk.hfs
> rows One Two Three
> menu MPC1 | set Chemin=$PWD/out | press CopNow | no | close | remember | yes
! Select the Target Folder
! File/One/is a font file./Do you want to convert it?
! File/One/has no data fork.
! File/Three/is a font file./Do you want to convert it?
> rows Three One
> menu MPC1 | set Chemin=$PWD/more | press CopNow
! Select the Target Folder
> rows Empty
> menu MPC1 | set Chemin=$PWD/more | press CopNow | remember | close
! Select the Target Folder
! No Type 1 or True Type fonts/in file/"Empty".
> menu MPC1 | set Chemin=$PWD/more | press CopNow
! Select the Target Folder
> drop list - a.ttf | remember | no
! File/a.ttf/is a font file./Do you want to convert it?
> drop list - b.ttf c.ttf | remember | yes
! File/b.ttf/is a font file./Do you want to convert it?
> drop list - d.ttf
> close
> open $PWD/disk.hfs
> rows One
> menu MPC1 | set Chemin=$PWD/out | press CopNow | yes
! Select the Target Folder
! File/One/is a font file./Do you want to convert it?
> close
)");
    EXPECT_EQ(disk("out").size() + disk("more").size(), 5U);
    // As many as were converted.
    EXPECT_EQ(settings_.values["numpol"], "1027");
    play(R"(
has out/FontOne.pfb 1 => FontName /FontOne
has more/FontThree.pfb 1 => FontName /FontThree
0 resources disk.hfs Newd --type FOND == FOND\n  id=0x0402, lg=78\n
0 ls -l disk.hfs => tfil/movr  Newb\n => tfil/movr  Newc\n => a.ttf
)");
}

}  // namespace
}  // namespace vellmark
