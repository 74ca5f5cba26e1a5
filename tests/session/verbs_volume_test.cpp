// Verbs that change a volume in place, in both formats: what is shown of it
// afterwards, and what is refused. Other programs judge such volumes in the
// tests of the program.
#include "session/session_bench.hpp"

namespace vellmark {
namespace {

class VolumeVerbs : public test::ScriptTest {
  protected:
    void fresh(const std::string& format) {
        test::Write("notes", std::string(5000, 'n'));
        play(
            "file plan.txt => the plan\nfile other => x\n0 format v.img --size 2M -fq --label "
            "Work" +
            format + R"(
0 mkdir v.img --parents Old/Drafts New
0 put v.img --to Old/Drafts plan.txt notes
)");
    }
};
constexpr const char* kFormats[] = {"", " --hfsplus"};

// Each reason once, and nothing that is half done.
TEST_F(VolumeVerbs, WhatCannotBeChangedStaysAsItWas) {
    test::Write("long", std::string(700'000, 'l'));
    test::Write("longer", std::string(1'500'000, 'l'));
    for (const char* format : kFormats) {
        fresh(format);
        for (const char* line :
             {"mv v.img Old --to Old/Drafts => one of its children",
              "rm v.img Old/nothing => has no Old/nothing",
              "rename v.img Old/Drafts/notes PLAN.TXT => already",
              "rename v.img Old/Drafts/notes a/b => a/b", "rm v.img / => cannot be deleted",
              "mkdir v.img --parents Old/Drafts/notes/q/r => Old/Drafts/notes already",
              "swap v.img Old => which has no forks"}) {
            play(std::string("1! ") + line);
            EXPECT_EQ(test::CountIn(err_, "vellmark:"), 1u) << err_;
        }
        play(R"(
0 tree v.img == /\n  New/\n  Old/\n    Drafts/\n      notes\n      plan.txt\n
1! put v.img long longer other plan.txt => skipped longer: Not enough free space
says => 2 of the items were not reached: other and those behind it.
0 ls v.img == long\nNew\nOld\n
)");
    }
}

TEST_F(VolumeVerbs, AttributesAndSearchesAreOfTheItemsThatAreNamed) {
    for (const char* format : kFormats) {
        fresh(format);
        play(R"(
0 attr v.img Old/Drafts/notes --type TEXT --creator R*ch --set invisible --locked yes --modified 1999-12-31T23:59:58Z
0 attr v.img Old --created 1990-01-02T03:04:00Z --modified 1991-05-06T07:08:00Z
0 attr v.img Old/Drafts/notes => TEXT => R*ch => invisible => 1999-12-31 23:59 => locked    yes
0 attr v.img Old => 1990-01-02 03:04 => 1991-05-06 07:08
0 mkdir v.img [Old]
0 attr v.img --set invisible [Old]
0 find v.img [Old] == [Old]/\n
0 rm v.img [Old]
0 ls v.img => Old
2 attr v.img Old --created 2026-02-31 => 2026-02-31
2 attr v.img Old --created yesterday => yesterday
0 swap v.img Old/Drafts/plan.txt
0 get v.img Old/Drafts/plan.txt --mode resource -o - == the plan
0 swap v.img Old/Drafts/plan.txt
0 label v.img Été
0 label v.img == Été\n
0 ls v.img Old/Drafts --json => "hidden": true, => "hidden": false, => "locked": true
0 replace-signature v.img TEXTR*ch CCCCDDDD
0 find v.img *an* --json == []\n
0 find v.img pl* == Old/Drafts/plan.txt\n
0 find v.img --signature CCCC == Old/Drafts/notes\n
0 find v.img --signature CCCCDDDD == Old/Drafts/notes\n
# Each step leaves its line.
0 --log j.log rename v.img Old/Drafts/notes News
0! --log j.log get v.img Old
has j.log 1 => *ren notes\tNews
has j.log 1 => Copying folder "Old" to "Old"
remove Old
remove j.log
)");
    }
}

// Aliases of folders are no links, and links neither change nor end a batch.
TEST_F(VolumeVerbs, WhatLaterSystemsKeepIsProtected) {
    fresh(" --hfsplus");
    play(R"(
0 attr v.img Old/Drafts/notes --type fdrp --creator MACS
0 rename v.img Old/Drafts/notes alias
0 attr v.img Old/Drafts/plan.txt --type hlnk --creator hfs+
1! put v.img --force --to Old/Drafts plan.txt other => plan.txt is a hard link
3! replace-signature v.img hlnkhfs+ TEXTttxt => plan.txt is a hard link
0 find v.img --signature hlnk == Old/Drafts/plan.txt\n
0 get v.img Old/Drafts/other -o - == x
# The runs that a file got are steps for the journal.
0! --log j.log put v.img other
has j.log 1 => COMPIL : other\t1\t
)");
}

}  // namespace
}  // namespace vellmark
