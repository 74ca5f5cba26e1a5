// Fonts on their way between a Macintosh volume and the PC. What other programs make of them is
// tried end to end (tests/endtoend/test_fonts.py).
#include "reading/reading_bench.hpp"

namespace vellmark {
namespace {

using test::Bytes;
using test::Write;

std::string Be(std::uint64_t number, int width) {
    std::string bytes;
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(number >> shift);
    return bytes;
}

// A fork of resources of one type.
std::string ForkOf(const std::string& type, const std::vector<std::string>& resources) {
    std::string data;
    std::string map =
        std::string(28, '\0') + Be(0, 2) + type + Be(resources.size() - 1, 2) + Be(10, 2);
    for (const std::string& resource : resources) {
        map += Be(501, 2) + Be(0xFFFF, 2) + Be(data.size(), 4) + Be(0, 4);
        data += Be(resource.size(), 4) + resource;
    }
    return Be(16, 4) + Be(16 + data.size(), 4) + Be(data.size(), 4) + Be(map.size(), 4) + data +
           map;
}

// What a program needs to know a TrueType font by its name, and bytes of its own.
std::string TrueType(const std::string& name, const std::string& rest) {
    return Be(0x10000, 4) + Be(1, 2) + Be(0, 6) + "name" + Be(0, 4) + Be(28, 4) + Be(18, 4) +
           Be(0, 2) + Be(1, 2) + Be(18, 2) + Be(1, 2) + Be(0, 4) + Be(6, 2) + Be(name.size(), 2) +
           Be(0, 2) + name + rest;
}

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
has out/P.pfb 1 => FontName /P
none out/P.pfm
)");
    EXPECT_EQ(Bytes("out/My_Font.ttf"), one);
    EXPECT_EQ(Bytes("out/My_Font-2.ttf"), two);
    EXPECT_EQ(Bytes("out/My_Font-3.ttf"), one);
    EXPECT_EQ(Bytes("out/Other.ttf").back(), '4');
    EXPECT_EQ(disk("out").size(), 6U);
}

TEST_F(FontVerbs, GetAsksWhereSomebodyCanAnswer) {
    const std::string font = ForkOf("POST", {Be(0x100, 2) + "%!\n/FontName /P def\n"});
    put("First", "LWFN", font);
    put("Second", "LWFN", ForkOf("POST", {Be(0x100, 2) + "%!\n/FontName /Q def\n"}));
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

}  // namespace
}  // namespace vellmark
