// Names of the PC on their way to the Macintosh, and names that are cut or told apart. Digits are
// those of CRC-16 with polynomial 1021 over the whole name, low digit first, worked out apart.
#include "containers/pc_name.hpp"

#include <gtest/gtest.h>

#include "containers/names.hpp"
#include "containers/short_name.hpp"
#include "support/canonical_form.hpp"

namespace vellmark {
namespace {

std::string X(std::size_t count) {
    return std::string(count, 'x');
}

// Catches a character that MacRoman has and the conversion loses, in either form of its letters.
TEST(PcName, ACharacterThatMacRomanHasIsThatCharacter) {
    for (int byte = 1; byte < 0x100; ++byte) {
        const std::string mac(1, static_cast<char>(byte));
        const std::u16string wide = MacNameToWide(mac);
        const std::string expected = byte == ':' ? "/" : mac;
        for (const std::u16string& form : {wide, Decompose(wide, CanonicalForm::WithSymbols)}) {
            const MacName name = PcToMacName(form);
            EXPECT_EQ(name.bytes, expected) << byte;
            EXPECT_TRUE(name.isExact) << byte;
        }
        EXPECT_EQ(MacRomanToHfsPlusName(expected), PcToHfsPlusName(wide).units) << byte;
        EXPECT_EQ(HfsPlusNameToWide(MacRomanToHfsPlusName(expected)), MacNameToWide(expected));
    }
}

TEST(PcName, OtherCharactersAreReplacedAndNeitherEndANameNorVanish) {
    const struct {
        std::u16string pc;
        std::string mac;
        bool isExact;
        std::u16string hfsPlus;
        bool isWhole;
    } cases[] = {
        {u"a?b*c\"d<e>f|g\\h", "a?b*c\"d<e>f|g\\h", true, u"a?b*c\"d<e>f|g\\h", true},
        {u"a\uF025b\uF022c", "a?b/c", true, u"a?b/c", true},  // private codes
        {u"\u0161\u00DEx", "__x", false, u"s\u030C\u00DEx", true},
        {u"2\u00B2\u00D7", "22x", false, u"2\u00B2\u00D7", true},
        {u"\uFF21\u65E5", "__", false, u"\uFF21\u65E5", true},
        {u"\U0001F600", "__", false, u"\U0001F600", true},
        {u"bad\xDCE9", "bad_", false, u"bad_", false},
        {u"e\u0323\u0302", "_", false, u"e\u0323\u0302", true},  // one letter
    };
    for (const auto& c : cases) {
        const MacName mac = PcToMacName(c.pc);
        EXPECT_EQ(mac.bytes, c.mac) << testing::PrintToString(c.pc);
        EXPECT_EQ(mac.isExact, c.isExact) << testing::PrintToString(c.pc);
        const MacUnicodeName plus = PcToHfsPlusName(c.pc);
        EXPECT_EQ(plus.units, c.hfsPlus) << testing::PrintToString(c.pc);
        EXPECT_EQ(plus.isExact, c.isWhole) << testing::PrintToString(c.pc);
    }
    EXPECT_FALSE(PcToHfsPlusName(std::u16string(128, u'\u00E9')).isExact) << "256 units";
    EXPECT_TRUE(PcToHfsPlusName(std::u16string(127, u'\u00E9') + u'a').isExact);
    EXPECT_EQ(ContainerMacName(std::string("a:b\0c", 5)), "a_b");
    EXPECT_NE(MacNameCrc(u"\u65E5"), MacNameCrc(u"\u4E2D")) << "both are _ in MacRoman";
}

TEST(ShortName, KeepsAnExtensionOfAtMostFiveBytes) {
    const struct {
        std::string name;
        std::size_t most;
        std::string expected;
    } cases[] = {
        {X(31), 31, X(31)},
        {X(32), 31, X(31)},
        {X(40) + ".txt", 31, X(27) + ".txt"},
        {X(40) + ".jpeg", 31, X(26) + ".jpeg"},
        {X(40) + ".xhtml", 31, X(31)},
        {X(40) + ".", 31, X(30) + "."},
        {X(10) + "." + X(40), 31, X(10) + "." + X(20)},
        {X(60) + ".gz", 62, X(59) + ".gz"},
        {X(30) + " tail", 31, X(30)},
    };
    for (const auto& c : cases)
        EXPECT_EQ(CutName(c.name, c.most), c.expected) << c.name;
    EXPECT_EQ(CutName(u"aae\u0301.b", 5), u"aa.b") << "no letter without its mark";
    EXPECT_EQ(WithTail(X(40) + ".txt", DigitsTail(NameCrc16("readme")), 31), X(22) + "-FEDD.txt");
    EXPECT_EQ(WithTail(u".profile", DigitsTail(0, 0x2A), 62), u".profile-00002A");
}

}  // namespace
}  // namespace vellmark
