// A person's work at the window, as transcripts: what they do, what they are asked, what they see.
#include "workbench/window_bench.hpp"

namespace vellmark {
namespace {

class WindowScripts : public test::WindowTest {
  protected:
    /// Plays the steps of a transcript and writes it anew: behind each line with `>` what was
    /// heard, and with `>>` what is seen too.
    std::string written(const std::string& transcript) {
        std::string text;
        for (const std::string& line : test::Split(transcript, '\n')) {
            SCOPED_TRACE(line);
            if (line[0] != '>')
                continue;
            const bool isSeen = line.starts_with(">>");
            text += line + "\n" + does(line.substr(isSeen ? 3 : 2));
            if (isSeen)
                text += seen();
        }
        return text;
    }
    void plays(const std::string& transcript) { EXPECT_EQ("\n" + written(transcript), transcript); }
};

TEST_F(WindowScripts, FromADropToAnImage) {
    play(R"(
file Disc/Photos/one.jpg => 111
file Disc/Photos/Old/two.jpg => 22
file Disc/read.txt => hello
)");
    plays(R"(
>> open
>> drop list - Disc/Photos Disc/read.txt
>> enter Photos
>> menu VI1
> menu Compil1 | file out.iso | press Compiler | close
> close | file disc.vlpr
)");
}

TEST_F(WindowScripts, Partition) {
    play(R"(
0 format disk.hfs --size 1M --label Disk
file Letters/a.txt => aaa
file Letters/b.txt => bb
file c.txt => c
folder out
)");
    plays(R"(
>> open $PWD/disk.hfs
>> drop list - Letters c.txt
>> rows c.txt
> key F2
>> type d.txt
>> menu MD | set Nom=New one | press OK
> rows Letters
> menu Supp1 | no
>> menu Supp1 | yes
> menu Bo | no
> menu Bo | yes
> menu Bo
> rows d.txt
> menu MPC1 | file out
> menu Prop1 | set Type=ABCD | press Ecrire
>> key F5
> menu PropVol1 | set Nom=Other | press Ecrire
> menu Rech1 | set RechNom=zzz | press Rechercher | close | set RechNom=d* | press Rechercher | pick 0
>> move d.txt 'New one'
>> menu PerePart
> menu Fermer2
>> close
)");
}

TEST_F(WindowScripts, Views) {
    play(R"(
0 new disc.vlpr
file A/B/x.txt => x
0 add disc.vlpr A
)");
    plays(R"(
>> open $PWD/disc.vlpr
> tree A/B
> rows x.txt
> menu Prop1 | check InHfs | press Ecrire
> tree A
> rows B
> menu Prop1 | check InHfs | press Ecrire
>> tree A/B
>> menu VM1
>> menu ModeVue
>> menu ModeVue
>> click 0
> menu Fr1
>> menu ModePart
>> key Ctrl+M
> menu En2
>> open $PWD/disc.vlpr
> menu Label | set LabelISO=NEWISO | press OK
>> menu Fermer1
> close
)");
}

}  // namespace
}  // namespace vellmark
