// Fonts on their way between a Macintosh volume and the PC. What other programs make of them is
// tried end to end (tests/endtoend/test_fonts.py).
#include "reading/reading_bench.hpp"
#include "session/mac_forks.hpp"

namespace vellmark {
namespace {

using test::Be;
using test::Bytes;
using test::ForkOf;
using test::TrueType;
using test::Write;

class FontVerbs : public test::ReadingTest {
  protected:
    FontVerbs() { play("0 format v.img -s 4M -l V"); }
    void put(const std::string& name, const std::string& type, const std::string& fork) {
        Write(name, fork);
        play("0 put v.img " + name + " --mode resource --type " + type + " -q");
    }
};

TEST_F(FontVerbs, GetMakesFilesOfThePc) {
    const std::string one = TrueType("My*Font", "1");
    const std::string two = TrueType("My*Font", "2");
    put("Case", "FFIL", ForkOf("sfnt", {one, two}));
    put("Mixed", "tfil", ForkOf("sfnt", {TrueType("", "3"), TrueType("Other", "4")}));
    put("Print", "LWFN", ForkOf("POST", {Be(0x100, 2) + "%!\n/FontName /P def", Be(0x500, 2)}));
    put("Empty", "LWFN", ForkOf("NONE", {"x"}));
    put("Nameless", "LWFN", ForkOf("POST", {Be(0x100, 2) + "%!"}));
    play(R"(
folder out
0 get v.img Case Print --fonts yes -o out
1! get v.img Mixed --fonts yes -o out => Mixed: A font in it has no name.
1 get v.img Empty --fonts yes -o out => No Type 1 or True Type fonts in file "Empty".
1 get v.img Nameless --fonts yes -o out => Nameless: A font in it has no name.
2 get v.img Print --fonts yes -o - => cannot go to the standard output
2 get v.img Print --fonts yes --as iso => --fonts yes is for files of a Macintosh volume
1 get v.img Print --fonts yes -o out => exists already
0 get v.img Print --fonts yes -o out --force
0 get v.img Case --fonts yes -o out
folder named
0 get v.img Case --fonts yes -o named/Two
0 get v.img Print --fonts yes -o named/P.PFB
1 get v.img Case --fonts yes -o named/Two.ttf => exists already
has out/P.pfb 1 => FontName /P
none out/P.pfm
)");
    EXPECT_EQ(Bytes("out/My_Font.ttf"), one);
    EXPECT_EQ(Bytes("out/My_Font-2.ttf"), two);
    EXPECT_EQ(Bytes("out/My_Font-3.ttf"), one);
    EXPECT_EQ(Bytes("out/Other.ttf").back(), '4');
    EXPECT_EQ(disk("out").size(), 6U);
    EXPECT_EQ(Bytes("named/Two.ttf") + Bytes("named/Two-2.ttf"), one + two);
    EXPECT_EQ(Bytes("named/P.PFB"), Bytes("out/P.pfb"));
}

TEST_F(FontVerbs, TwoPrinterFontsOfOneNameAreBothKept) {
    const auto fork = [](const char* weight) {
        return ForkOf("POST", {Be(0x100, 2) + "%!\n/FontName /P def\n/FontBBox {0 0 9 9} def\n" +
                                   "/Weight (" + weight + ") def\n",
                               Be(0x500, 2)});
    };
    put("P.pfb", "LWFN", fork("One"));
    put("Other", "LWFN", fork("Two"));
    play(R"(
folder out
0 get v.img P.pfb Other --fonts yes -o out
has out/P.pfb 1 => One
has out/P.pfm 1 => PostScript
has out/P-2.pfb 1 => Two
has out/P-2.pfm 1 => PostScript
)");
    EXPECT_EQ(disk("out").size(), 4U);
}

TEST_F(FontVerbs, GetAsksWhereSomebodyCanAnswer) {
    const std::string font = test::PrinterFontFork("P");
    put("First", "LWFN", font);
    put("Second", "LWFN", test::PrinterFontFork("Q"));
    play(R"(
folder out
0 get v.img First --mode resource -o out
types => n\n
0! get v.img First --mode resource -o out/named
says => File First is a font file. Do you want to convert it?
types =>
1! get v.img Second --mode resource -o out => Nobody said whether the font is to be converted.
types => Y\n
0! get v.img First Second --mode resource -o out
nobody
none out/Second
)");
    EXPECT_EQ(test::CountIn(err_, "is a font file"), 1U);
    EXPECT_EQ(Bytes("out/First"), font);
    EXPECT_EQ(Bytes("out/named"), font);
    EXPECT_EQ(disk("out").size(), 4U);
}

// A PFB with a section of that length in front of its bytes.
std::string Pfb(const std::string& text, std::uint32_t length) {
    return std::string("\x80\1") + static_cast<char>(length) + static_cast<char>(length >> 8) +
           std::string(1, static_cast<char>(length >> 16)) + static_cast<char>(length >> 24) +
           text + std::string("\x80\2\3\0\0\0\0\1\2\x80\3", 11);
}

TEST_F(FontVerbs, PutMakesFilesOfAMacintosh) {
    const std::string text = "%!\n/FontName /Tinted def\n" + std::string(5000, ' ');
    const std::string font = TrueType("Sans", "bytes");
    Write("one.ttf", font);
    Write("TWO.TTF", TrueType("Serif", ""));
    Write("three.ttf2", font);
    Write("four.pfb", Pfb(text, static_cast<std::uint32_t>(text.size())));
    play(R"(
folder out
0 put v.img one.ttf three.ttf2 --fonts yes -q
0 put v.img TWO.TTF four.pfb --fonts yes -q
1! put v.img one.ttf --fonts yes --replace no => Sans exists already
0 resources v.img Sans == sfnt\n  id=0x0400, lg=55\nFOND\n  id=0x0400, lg=78\n
0 resources v.img Serif --type FOND == FOND\n  id=0x0401, lg=78\n
0 resources v.img Tinted --id 504 == POST\n  id=0x01f8, lg=5\n
0 ls -l v.img => tfil/movr  Sans\n => tfil/movr  Serif\n => LWFN/ASPF  Tinted\n => three.ttf2
0 get v.img Sans Serif Tinted --fonts yes -o out
0 get v.img Sans --mode resource -o out
)");
    EXPECT_EQ(Bytes("out/Sans.ttf"), font);
    EXPECT_EQ(Bytes("out/Tinted.pfb"), Bytes("four.pfb"));
    // None was for the font that was kept out.
    EXPECT_EQ(settings_.values["numpol"], "1026");
    // The whole fork: header, font, family, and the map with the name of the font twice.
    const std::string header = Be(256, 4) + Be(256 + 59 + 82, 4) + Be(59 + 82, 4) + Be(80, 4);
    const std::string fork = Bytes("out/Sans");
    EXPECT_EQ(fork.substr(0, 256), header + std::string(240, '\0'));
    EXPECT_EQ(fork.substr(256, 63), Be(55, 4) + font + Be(78, 4));
    EXPECT_EQ(fork.substr(319, 4), Be(0x0400, 4));
    EXPECT_EQ(fork.substr(319 + 56, 4), Be(0x0C2A0400, 4).substr(0, 2) + Be(0x0400, 2));
    EXPECT_EQ(fork.substr(397), header + Be(0, 8) + Be(28, 2) + Be(70, 2) + Be(1, 2) + "sfnt" +
                                    Be(18, 4) + "FOND" + Be(30, 4) + Be(0x0400, 2) + Be(0, 10) +
                                    Be(0x0400, 2) + Be(0, 2) + Be(59, 4) + Be(0, 4) + "\4Sans" +
                                    "\4Sans");
}

TEST_F(FontVerbs, PutTakesFontsThatCannotBeConvertedAsTheyAre) {
    const std::map<std::string, std::string> fonts = {
        {"cut.pfb", Pfb("%!\n/FontName /X def\n", 0xFFFFFFF0)},
        {"none.pfb", "no font"},
        {"nameless.ttf", TrueType("", "")},
        {"empty.ttf", ""},
        {"lies.ttf", Be(0x10000, 4) + Be(0xFFFF, 2) + Be(0, 6) + "name" + Be(0, 4) +
                         Be(0xFFFFFFF0, 4) + Be(0xFFFFFFFF, 4)}};
    for (const auto& [name, bytes] : fonts) {
        Write(name, bytes);
        play("3! put v.img " + name + " --fonts yes -q\nsays => " + name +
             ": It is copied as a plain file. => font");
        play("folder out\n0 get v.img " + name + " --fonts yes -o out");
        EXPECT_EQ(test::CountIn(err_, "skipped"), 0U) << err_;
        EXPECT_EQ(Bytes("out/" + name), bytes) << name;
    }
    Write("asked.ttf", TrueType("Asked", ""));
    play(R"(
0 put v.img asked.ttf -q
types => y\n
0! put v.img asked.ttf -q
says => asked.ttf is a font file.
nobody
0 ls v.img => asked.ttf\n => Asked\n
)");
}

}  // namespace
}  // namespace vellmark
