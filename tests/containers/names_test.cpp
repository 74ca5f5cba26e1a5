// Names in their forms, and names that are cut or told apart.
#include "containers/names.hpp"

#include <gtest/gtest.h>

#include <tuple>

#include "containers/pc_name.hpp"
#include "containers/short_name.hpp"
#include "support/canonical_form.hpp"

namespace vellmark {
namespace {

using namespace std::string_literals;

// A rule moved by one unit, or taken over from the twin, shows in one of these.
TEST(Names, WidePcNamesByTheTable) {
    const std::pair<std::u16string, std::string> cases[] = {
        {u"\u00E9t\u00E9 Me", "\x8Et\x8E Me"},
        {u"a:b", "a_b"},
        {u"a\0b"s, "a"},        // a written 0 ends the name
        {u"a\u00DEb", "a"},     // no Macintosh byte: cut, kept
        {u"a\u0081b", "a"},     // C1 units index the table too
        {u"a\u00FE", "a\xA5"},  // last unit that the table serves
        {u"a\u00FF", "a_"},     // y with diaeresis is unknown, kept
        {u"a\u2014\u20AC\u4E00\u2019\u0301", "a-\xDB___"},
        {u"\U0001F600", "__"},  // a pair is two units
        {u"a\uEFFF", "a_"},     // last unit of the band
        {u"a\uF000b", "a"},
        {u"\uF001\uF01F", "\x01\x1F"},
        {u"\uF020\uF021\uF022\uF023\uF024", "\"*/<>"},
        {u"\uF025\uF026\uF027\uF028\uF029\uF02A", "?\\| .\xF0"},
        {u"a\uF02B\uF8FF\uFFFDb", "ab"},  // above the codes: gone, kept
        {u"x\u00D7 2\u00B2", "xx 22"},
    };
    for (const auto& [wide, mac] : cases)
        EXPECT_EQ(WideToMacName(wide), mac) << testing::PrintToString(wide);
}

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
        {u"a\uF025b\uF022c", "a?b/c", true, u"a?b/c", true},  // private codes
        {u"\u0161\u00DEx", "__x", false, u"s\u030C\u00DEx", true},
        {u"2\u00B2\u00D7", "22x", false, u"2\u00B2\u00D7", true},
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

TEST(Names, TablesTranslateBytes) {
    EXPECT_EQ(AnsiToJolietUnits("\xE9\x80 a:"), u"\u00E9\u20AC a:");
    EXPECT_EQ(AnsiToMacName("\xDE:\x80\xA4\xA0\xFF"), "__\xDB\xDB \xD8") << "not cut";
    EXPECT_EQ(MacToAnsiName("\x8E\xD0\xD9\x7F\xF0\xAA\0b"s), "\xE9-Y _\x99");
    EXPECT_EQ(ReplaceChars(" \xA0 a/b:c", kMacForbiddenChars), "a/b_c");
}

// The pairs by their letters: a wrong byte in the table shows as a letter with a wrong accent.
TEST(Names, FoldedForms) {
    const std::u16string capitals = u"AZÄÅÇÉÑÖÜÆØÀÃÕŒŸÂÊÁËÈÍÎÏÌÓÔÒÚÛÙ";
    const std::u16string small = u"azäåçéñöüæøàãõœÿâêáëèíîïìóôòúûù";
    EXPECT_EQ(FoldMacRomanLower(WideToMacRomanExact(capitals).value()),
              WideToMacRomanExact(small).value());
    EXPECT_EQ(FoldMacRomanLower("@[`{\xF0\xFF\0x"s), "@[`{\xF0\xFF\0x"s);
    const std::pair<std::string, std::string> cases[] = {
        {"abcXYZ09_.", "ABCXYZ09_."},
        {"\x8C\x9C\xC6\xE6\xC0\xC5\xE0\xE5\xC7\xE7", "OEOEAEAEAAAACC"},
        {"\xC8\xCB\xE8\xEB\xCC\xCF\xEC\xEF\xD0\xF0\xD1\xF1", "EEEEIIIIDDNN"},
        {"\xD2\xD6\xD8\xF2\xF6\xF8\xD9\xDC\xF9\xFC\xDD\xFD\xFF", "OOOOOOUUUUYYY"},
        {"\xD7\xF7\xDE\xFE\x80\xA0", "\xD7\xF7\xDE\xFE\x80\xA0"},  // no letters of A to Z
        {"\xDF", "S\xDF"},                                         // kept on purpose
    };
    for (const auto& [ansi, upper] : cases)
        EXPECT_EQ(IsoUpperFold(ansi), upper) << testing::PrintToString(ansi);
    EXPECT_EQ(IsoNormalizeName(" \xA0 my file.txt \xA0"), "MY_FILE_TXT");
    EXPECT_EQ(IsoNormalizeName("\xDF@[`{/:09\x80"), "S_______09_");
    EXPECT_EQ(IsoNormalizeName(" \xA0 "), "");
}

TEST(Names, DeviceNamesAreGuarded) {
    for (const char* name : {"CON", "con", "Prn", "AUX", "NUL", "COM1", "COM4", "LPT1", "LPT3",
                             "CONFIG", "lpt10", "nul.txt", ""})
        EXPECT_EQ(GuardDeviceName(name), name + "_"s);
    for (const char* name : {"CO", "COM", "COM5", "COM0", "LPT4", "aCON", "file"})
        EXPECT_EQ(GuardDeviceName(name), name);
}

// Digits are those of CRC-16 with polynomial 1021 over the whole name, low digit first.
TEST(Names, LongNamesKeepAnExtensionOfAtMostFiveBytes) {
    const auto x = [](std::size_t count) { return std::string(count, 'x'); };
    for (const auto& [name, most, expected] : {std::tuple{x(31), 31u, x(31)},
                                               {x(32), 31u, x(31)},
                                               {x(40) + ".txt", 31u, x(27) + ".txt"},
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

}  // namespace
}  // namespace vellmark
