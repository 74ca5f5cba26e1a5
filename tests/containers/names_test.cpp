// Names in their forms, names that are cut or told apart, and their order.
#include "containers/names.hpp"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

#include "containers/hfs_plus_name.hpp"
#include "containers/name_order.hpp"
#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "support/canonical_form.hpp"

namespace vellmark {
namespace {

using namespace std::string_literals;

// Apple's mapping, and a name of the PC in either form of its letters.
TEST(Names, ACharacterThatMacRomanHasIsThatCharacter) {
    const std::u16string high =
        u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªº\u03A9æø"
        u"¿¡¬√ƒ≈\u2206«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ";
    ASSERT_EQ(high.size(), 128u);
    for (unsigned byte = 1; byte < 0x100; ++byte) {
        const std::string mac(1, static_cast<char>(byte));
        const std::u16string wide = MacNameToWide(mac);
        EXPECT_EQ(wide,
                  std::u16string(1, byte < 0x80 ? static_cast<char16_t>(byte) : high[byte - 0x80]));
        const std::string expected = byte == ':' ? "/" : mac;
        for (const std::u16string& form : {wide, Decompose(wide, CanonicalForm::WithSymbols)}) {
            const MacName name = PcToMacName(form);
            EXPECT_EQ(name.bytes, expected) << byte;
            EXPECT_TRUE(name.isExact) << byte;
            EXPECT_EQ(WideToMacRomanExact(form), mac) << byte;
        }
        EXPECT_EQ(MacRomanToHfsPlusName(expected), PcToHfsPlusName(wide).units) << byte;
        EXPECT_EQ(HfsPlusNameToWide(MacRomanToHfsPlusName(expected)), MacNameToWide(expected));
    }
    for (const char16_t* none : {u"c\u030C", u"e\u0301\u0301", u"\xD800", u"\U0001F600"})
        EXPECT_EQ(WideToMacRomanExact(none), std::nullopt);
}

TEST(Names, OtherCharactersAreReplacedAndNeitherEndANameNorVanish) {
    const std::tuple<std::u16string, std::string, bool, std::u16string, bool> cases[] = {
        {u"a?b*c\"d<e>f|g\\h", "a?b*c\"d<e>f|g\\h", true, u"a?b*c\"d<e>f|g\\h", true},
        {u"\u0161\u00DEx", "__x", false, u"s\u030C\u00DEx", true},
        {u"\uF021\uF022\uF023\uF024\uF025\uF026\uF027\uF028", "*/<>?\\| ", true, u"*/<>?\\| ",
         true},  // private codes
        {u"2\u00B2\u00D7\u00FF", "22x\xD8", false, u"2\u00B2\u00D7y\u0308", true},
        {u"\uFF21\u65E5\U0001F600", "____", false, u"\uFF21\u65E5\U0001F600", true},
        {u"bad\xDCE9", "bad_", false, u"bad_", false},
        {u"e\u0323\u0302", "_", false, u"e\u0323\u0302", true},  // one letter
    };
    for (const auto& [pc, mac, isExact, hfsPlus, isWhole] : cases) {
        EXPECT_EQ(PcToMacName(pc).bytes, mac) << testing::PrintToString(pc);
        EXPECT_EQ(PcToMacName(pc).isExact, isExact) << testing::PrintToString(pc);
        EXPECT_EQ(PcToHfsPlusName(pc).units, hfsPlus) << testing::PrintToString(pc);
        EXPECT_EQ(PcToHfsPlusName(pc).isExact, isWhole) << testing::PrintToString(pc);
    }
    EXPECT_FALSE(PcToHfsPlusName(std::u16string(128, u'\u00E9')).isExact) << "256 units";
    EXPECT_TRUE(PcToHfsPlusName(std::u16string(127, u'\u00E9') + u'a').isExact);
    EXPECT_EQ(ContainerMacName("a:b\0c"s), "a_b");
    EXPECT_NE(MacNameCrc(u"\u65E5"), MacNameCrc(u"\u4E2D")) << "both are _ in MacRoman";
}

// The pairs by their letters: a wrong byte in the table shows as a letter with a wrong accent.
TEST(Names, FoldedForms) {
    const std::u16string capitals = u"AZÄÅÇÉÑÖÜÆØÀÃÕŒŸÂÊÁËÈÍÎÏÌÓÔÒÚÛÙ";
    const std::u16string small = u"azäåçéñöüæøàãõœÿâêáëèíîïìóôòúûù";
    EXPECT_EQ(FoldMacRomanLower(WideToMacRomanExact(capitals).value()),
              WideToMacRomanExact(small).value());
    EXPECT_EQ(FoldMacRomanLower("@[`{\xF0\xFF\0x"s), "@[`{\xF0\xFF\0x"s);
    const std::pair<std::string, std::string> cases[] = {
        {"abcXYZ09_.\x8C\x9C\xC6\xE6", "ABCXYZ09_.OEOEAEAE"},
        {"\xC0\xC5\xE0\xE5\xC7\xE7\xC8\xCB\xE8\xEB", "AAAACCEEEE"},
        {"\xCC\xCF\xEC\xEF\xD0\xF0\xD1\xF1", "IIIIDDNN"},
        {"\xD2\xD6\xD8\xF2\xF6\xF8\xD9\xDC\xF9\xFC\xDD\xFD\xFF", "OOOOOOUUUUYYY"},
        {"\xD7\xF7\xDE\xFE\x80\xA0\xDF", "\xD7\xF7\xDE\xFE\x80\xA0S\xDF"},  // no letters of A to Z
    };
    for (const auto& [ansi, upper] : cases)
        EXPECT_EQ(IsoUpperFold(ansi), upper) << testing::PrintToString(ansi);
    EXPECT_EQ(IsoNormalizeName(" \xA0 my file.txt \xA0"), "MY_FILE_TXT");
    EXPECT_EQ(IsoNormalizeName("\xDF@[`{/:09\x80"), "S_______09_");
}

TEST(Names, DeviceNamesAreGuarded) {
    for (const char* name : {"con", "Prn", "AUX", "COM4", "LPT3", "CONFIG", "lpt10", "nul.txt", ""})
        EXPECT_EQ(GuardDeviceName(name), name + "_"s);
    for (const char* name : {"CO", "COM", "COM5", "COM0", "LPT4", "aCON"})
        EXPECT_EQ(GuardDeviceName(name), name);
}

// Digits are those of CRC-16 with polynomial 1021 over the whole name, low digit first.
TEST(Names, LongNamesKeepAnExtensionOfAtMostFiveBytes) {
    const auto x = [](std::size_t count) { return std::string(count, 'x'); };
    for (const auto& [name, most, expected] : {std::tuple{x(32), 31u, x(31)},
                                               {x(40) + ".jpeg", 31u, x(26) + ".jpeg"},
                                               {x(40) + ".xhtml", 31u, x(31)},
                                               {x(40) + ".", 31u, x(30) + "."},
                                               {x(10) + "." + x(40), 31u, x(10) + "." + x(20)},
                                               {x(60) + ".gz", 62u, x(59) + ".gz"},
                                               {x(30) + " tail", 31u, x(30)}})
        EXPECT_EQ(CutName(name, most), expected) << name;
    EXPECT_EQ(CutName(u"aae\u0301.b", 5), u"aa.b") << "no letter without its mark";
    EXPECT_EQ(WithTail(x(40) + ".txt", DigitsTail(NameCrc16("readme")), 31), x(22) + "-FEDD.txt");
    EXPECT_EQ(WithTail(u".profile", DigitsTail(0, 0x2A), 62), u".profile-00002A");
    EXPECT_EQ(NameCrc16("123456789"), 0x31C3);  // published check value of CRC-16/XMODEM
    EXPECT_EQ(NameCrcDigits("123456789"), "3C13");
    EXPECT_EQ(NameCrcDigits(""), "0000");
}

TEST(HfsPlusNames, WideNamesAreDecomposed) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"ÀÇýÿÅ\u1EAD", u"A\u0300C\u0327y\u0301y\u0308A\u030Aa\u0323\u0302"},
        {u"\u00A0¿ÆÐ×ØÞßæð÷øþ", u"\u00A0¿ÆÐ×ØÞßæð÷øþ"},  // no two forms
        {u"한가\u305C", u"\u1112\u1161\u11AB\u1100\u1161\u305B\u3099"},
        {u"\u212B\u2126\u2000\uF900", u"\u212B\u2126\u2000\uF900"},     // these stay
        {u"a\u0302\u0323\u00E2\u0323", u"a\u0323\u0302a\u0323\u0302"},  // order of marks
        {u"a\xDC80\xD800z\xD83D", u"a__z_"},                            // halves of pairs
        {u"😀é\0b"s, u"😀e\u0301"},
        // Windows-1252 and its oddities, each kept on purpose.
        {u"\u0080\u0081\u0082\u0083\u0084\u0085", u"\u20AC\u201A\u0192\u201E\u2026"},
        {u"\u0086\u0087\u0088\u0089\u008A\u008B", u"\u2020\u2021\u0302\u2030S\u030C\u2039"},
        {u"\u008C\u008D\u008E\u008F\u0090\u0091", u"\u0152\u201B"},
        {u"\u0092\u0093\u0094\u0095\u0096\u0097", u"\u2019\u201C\u201D\u2022\u2013\u2014"},
        {u"\u0098\u0099\u009A\u009B\u009C\u009D", u"\u0303\u2122s\u030C\u203A\u0153"},
        {u"\u009E\u009F", u"Y\u0308"},
        // Private codes give what they stand for.
        {u"\uF001\uF00A\uF01F", u"\u0001\u000A\u001F"},
        {u"\uF021\uF022\uF023\uF024\uF025\uF026\uF027\uF028\uF029\uF02A", u"*/<>?\\| .\uF8FF"},
        {u"\uF000\uF02B", u"\uF000\uF02B"},
        // The quotation mark drags the second unit of the last letter that had two: kept on
        // purpose.
        {u"\"\uF020", u"\"\"\0"s},
        {u"éa\u00D8\uF020\uF020", u"e\u0301aØ\"\u0301\"\u0301"}};
    for (const auto& [wide, name] : cases)
        EXPECT_EQ(WideToHfsPlusName(wide), name) << testing::PrintToString(wide);
}

TEST(HfsPlusNames, LongNamesAreCutBetweenLetters) {
    for (const auto& [letters, end, length] : {std::tuple{300u, u"", 255u},
                                               {254u, u"é", 254u},
                                               {253u, u"é", 255u},
                                               {254u, u"😀", 254u},
                                               {253u, u"한", 253u}}) {
        const HfsPlusName name = WideToHfsPlusName(std::u16string(letters, u'a') + end);
        EXPECT_EQ(name.size(), length) << letters;
    }
    EXPECT_EQ(AnsiToHfsPlusName(std::string(200, '\xE9')).size(), 254);
}

TEST(HfsPlusNames, ShownNamesAreComposed) {
    const std::pair<HfsPlusName, std::u16string> cases[] = {
        {u"e\u0301A\u030A\u1112\u1161\u11ABa\u0323\u0302", u"éÅ한\u1EAD"},
        {u"a\u0315\u0301", u"a\u0315\u0301"},              // the mark between ranks higher
        {u"e\u0313\u0301", u"e\u0313\u0301"},              // or as high
        {u"=\u0338\u212B\uF900", u"=\u0338\u212B\uF900"},  // would not decompose again
        {u"a\0b\xD800x"s, u"a\0b\xD800x"s}};
    for (const auto& [name, wide] : cases)
        EXPECT_EQ(HfsPlusNameToWide(name), wide) << testing::PrintToString(name);
}

// A name that is shown and typed again finds its record.
TEST(HfsPlusNames, ShowingAndTypingGivesTheNameBack) {
    for (unsigned unit = 0xA0; unit < 0x10000; ++unit) {
        if ((unit >= 0xD800 && unit <= 0xDFFF) || (unit > 0xF000 && unit <= 0xF02A))
            continue;
        const std::u16string wide = {u'x', static_cast<char16_t>(unit), u'y'};
        const HfsPlusName name = WideToHfsPlusName(wide);
        ASSERT_EQ(WideToHfsPlusName(HfsPlusNameToWide(name)), name) << std::hex << unit;
    }
}

TEST(NameOrder, KeysOfHfs) {
    const std::tuple<std::string, std::string, int> cases[] = {
        {"abc", "ABC", 0},
        {"b", "abcd", 1},
        {"abc ", "abc", 1},        // nothing is stripped
        {"`", "a", 1},             // the grave accent ranks behind A
        {"\x80\xCA", "\x8A ", 0},  // A with diaeresis in both cases; the hard space is a space
        {"\x81", "b", -1},         // accented letters stay with their letter
        {"\xA7", "s", 1},          // sharp s behind s
        {"\xE7", "z", 1},          // later capitals have a rank of their own, far behind
    };
    for (const auto& [a, b, order] : cases) {
        EXPECT_EQ(CompareHfsKeyNames(a, b), order) << a << " / " << b;
        EXPECT_EQ(CompareHfsKeyNames(b, a), -order) << b << " / " << a;
    }
}

TEST(NameOrder, SearchesStripTheCandidateAndTakeWildcards) {
    const std::tuple<std::string, std::string, int> cases[] = {
        {"abc", "ABC \xA0 ", 0},
        {"abc ", "abc", 1},
        {"\xE7", "\x87", 0},             // both cases, where the order of keys differs
        {"\\", "\0"s, 0},                // kept on purpose
        {"read*", "Please READ me", 0},  // anywhere, not at the start alone
        {"zz*me", "Read Me", 0},         // one part is enough
        {"READ*", "read me", 1},         // the search is not folded: plain order
        {"aa*", "zz", -1},
        {"a*b", "a*B", 0},  // a candidate with a `*` is compared plainly
        {"**", "abc", -1}};
    for (const auto& [search, name, order] : cases)
        EXPECT_EQ(CompareName(search, name), order) << search << " / " << name;
    EXPECT_EQ(CompareHfsPlusSearch(u"zz*me", u"Read me"), 0);
    EXPECT_EQ(CompareHfsPlusSearch(u"read*", u"READ"), 1);  // with regard to case
    EXPECT_EQ(CompareHfsPlusSearch(u"abc", u"abc "), -1);   // nothing is stripped
}

// In memory and as it lies on the disc.
TEST(NameOrder, KeysOfHfsPlus) {
    const std::tuple<std::u16string, std::u16string, int> cases[] = {
        {u"abc", u"abcd", -1},
        {u"Z", u"_", 1},  // letters compare in lower case
        {u"\u00C6\u0391\u0410\uFF21", u"\u00E6\u03B1\u0430\uFF41", 0},
        {u"\u4E00\u00C6", u"\u4E01\u00E6", -1},
        {u"\u00C9", u"\u00E9", -1},  // a composed letter does not fold
        {u"a\u200Db", u"AB", 0},     // ignorable
        {u"\0"s, u"", 1},            // a NUL counts, and ranks last
        {u"\0"s, u"\uFFFE", 1},
        {u"\uFF00", u"\U0001F600", 1},  // by units, not by characters
    };
    for (const auto& [a, b, order] : cases) {
        const std::vector<be16> diskA(a.begin(), a.end());
        const std::vector<be16> diskB(b.begin(), b.end());
        EXPECT_EQ(CompareHfsPlusNames(a, b), order) << testing::PrintToString(a);
        EXPECT_EQ(CompareHfsPlusNames(b, a), -order) << testing::PrintToString(a);
        EXPECT_EQ(CompareHfsPlusNames(diskA, diskB), order) << testing::PrintToString(a);
    }
}

}  // namespace
}  // namespace vellmark
