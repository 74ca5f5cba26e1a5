#include "containers/names.hpp"

#include <gtest/gtest.h>

#include "containers/name_tables.hpp"

namespace vellmark {
namespace {

using namespace std::string_literals;

std::string OneByte(int byte) {
    return {static_cast<char>(byte)};
}

struct WideCase {
    std::u16string wide;
    std::string mac;
    std::string ansi;
};

// A rule moved by one unit, or taken over from the twin, shows in one of these.
TEST(Names, WidePcNamesInBothByteForms) {
    const WideCase cases[] = {
        {u"", "", ""},
        {u"Read Me", "Read Me", "Read Me"},
        {u"\u00E9t\u00E9", "\x8Et\x8E", "\xE9t\xE9"},
        {u"a:b", "a_b", "a:b"},  // the colon of the table
        {u"a\0b"s, "a", "a"},    // a written 0 ends the name
        {u"a\u00DEb", "a",
         "a\xDE"
         "b"},  // no Macintosh byte: cut, kept
        {u"a\u0081b", "a",
         "a\x81"
         "b"},                                      // C1 units index the table too
        {u"a\u00FE", "a\xA5", "a\xFE"},             // last unit that the table serves
        {u"a\u00FF", "a_", "a_"},                   // y with diaeresis is unknown, kept
        {u"a\u2014b", "a-b", "a-b"},                // long dash
        {u"5\u20AC", "5\xDB", "5\x80"},             // euro
        {u"\u4E00\u2019\u0301", "___", "___"},      // the rest
        {u"\U0001F600", "__", "__"},                // a pair is two units
        {u"a\uEFFF", "a_", "a_"},                   // last unit of the band
        {u"a\uF000b", "a", "a_b"},                  // where the twins part
        {u"\uF001\uF01F", "\x01\x1F", "\x01\x1F"},  // control characters
        {u"\uF020\uF021\uF022\uF023\uF024", "\"*/<>", "\"*/<>"},
        {u"\uF025\uF026\uF027\uF028\uF029", "?\\| .", "?\\| ."},
        {u"\uF02A", "\xF0", "\xF0"},                   // the logo
        {u"a\uF02B\uF8FF\uFFFDb", "ab", "ab"},         // above the codes: gone, kept
        {u"x\u00D7 2\u00B2", "xx 22", "x\xD7 2\xB2"},  // liberties of the table
    };
    for (const WideCase& c : cases) {
        EXPECT_EQ(WideToMacName(c.wide), c.mac) << testing::PrintToString(c.wide);
        EXPECT_EQ(WideToAnsiName(c.wide), c.ansi) << testing::PrintToString(c.wide);
    }
}

TEST(Names, AnsiToWideMakesPrivateCodes) {
    const std::pair<std::string, std::u16string> cases[] = {
        {"", u""},
        {"abc", u"abc"},
        {"\"*/<>?\\|", u"\uF020\uF021\uF022\uF023\uF024\uF025\uF026\uF027"},
        {"\xF0", u"\uF02A"},
        {"\x01\x1F", u"\uF001\uF01F"},
        {"\x80\xE9:\x7F", u"\u0080\u00E9:\u007F"},  // no code page: the byte's own value
        {"abc.", u"abc\uF029"},
        {"abc ", u"abc\uF028"},
        {"abc..", u"abc.\uF029"},  // the very last unit only
        {"a  ", u"a \uF028"},
        {". a", u". a"},
        {"a\0b"s, u"a"},
    };
    for (const auto& [ansi, wide] : cases)
        EXPECT_EQ(AnsiToWideName(ansi), wide) << testing::PrintToString(ansi);
}

// The private codes exist for this: a name that a PC cannot hold comes back.
TEST(Names, ForbiddenNamesSurviveTheTripThroughWide) {
    for (int byte = 1; byte < 0xFF; ++byte) {
        const std::string inside = "a" + OneByte(byte) + "b";
        const std::string last = "a" + OneByte(byte);
        EXPECT_EQ(WideToAnsiName(AnsiToWideName(inside)), inside) << byte;
        EXPECT_EQ(WideToAnsiName(AnsiToWideName(last)), last) << byte;
    }
}

TEST(Names, MacRomanToUnicodeIsApplesMapping) {
    const std::u16string high =
        u"ÄÅÇÉÑÖÜáàâäãåçéèêëíìîïñóòôöõúùûü†°¢£§•¶ß®©™´¨≠ÆØ∞±≤≥¥µ∂∑∏π∫ªº\u03A9æø"
        u"¿¡¬√ƒ≈\u2206«»…\u00A0ÀÃÕŒœ–—“”‘’÷◊ÿŸ⁄€‹›ﬁﬂ‡·‚„‰ÂÊÁËÈÍÎÏÌÓÔ\uF8FFÒÚÛÙıˆ˜¯˘˙˚¸˝˛ˇ";
    ASSERT_EQ(high.size(), 128u);
    for (int byte = 0; byte < 256; ++byte) {
        const std::u16string wide = MacNameToWide(OneByte(byte));
        const auto index = static_cast<std::size_t>(byte);
        EXPECT_EQ(wide,
                  std::u16string(1, byte < 0x80 ? static_cast<char16_t>(byte) : high[index - 0x80]))
            << byte;
    }
}

// A pair of bytes must not melt into one character on the way back.
TEST(Names, EveryMacRomanPairComesBack) {
    for (int first = 0; first < 256; ++first)
        for (int second = 0; second < 256; ++second) {
            const std::string mac = OneByte(first) + OneByte(second);
            ASSERT_EQ(WideToMacRomanExact(MacNameToWide(mac)), mac) << first << ' ' << second;
        }
}

TEST(Names, TypedNamesFindTheirMacRomanBytes) {
    EXPECT_EQ(WideToMacRomanExact(u"e\u0301"), "\x8E");
    EXPECT_EQ(WideToMacRomanExact(u"A\u030A \u212B"), "\x81 \x81");
    EXPECT_EQ(WideToMacRomanExact(u"=\u0338"), "\xAD");
    EXPECT_EQ(WideToMacRomanExact(u"\u2126"), "\xBD");
    EXPECT_EQ(WideToMacRomanExact(u"c\u030C"), std::nullopt);
    EXPECT_EQ(WideToMacRomanExact(u"e\u0301\u0301"), std::nullopt);
    EXPECT_EQ(WideToMacRomanExact(u"\xD800"), std::nullopt);
    EXPECT_EQ(WideToMacRomanExact(u"\U0001F600"), std::nullopt);
}

TEST(Names, JolietUnitsArePrecomposed) {
    EXPECT_EQ(AnsiToJolietUnits("\xE9\x80 a:"), u"\u00E9\u20AC a:");
    EXPECT_EQ(JolietUnitsToAnsi(u"\u00E9\u20AC"), "\xE9\x80");
    EXPECT_EQ(JolietUnitsToAnsi(u"e\u0301"), "\xE9");
    EXPECT_EQ(JolietUnitsToAnsi(u"\u4E00\U0001F600"), "??");
}

TEST(Names, TablesTranslateBytes) {
    EXPECT_EQ(TranslateBytes("", kMacToPcTable), "");
    EXPECT_EQ(TranslateBytes("ab\0c"s, kMacToPcTable), "ab");
    EXPECT_EQ(TranslateBytes("a\xDE"
                             "b",
                             kPcToMacTable),
              "a");  // an entry 0 ends it
    EXPECT_EQ(AnsiToMacName("a\xDE"
                            "b:c"),
              "a_b_c");  // a name is not cut
    EXPECT_EQ(AnsiToMacName("\x80\xA4\xA0\xFF"), "\xDB\xDB \xD8");
    EXPECT_EQ(MacToAnsiName("\x8E\xD0\xD9\x7F\xF0\xAA"), "\xE9-Y _\x99");
}

TEST(Names, ReplaceCharsStripsLeadingBlanks) {
    EXPECT_EQ(ReplaceChars(" \xA0 a/b:c\x1F"
                           "d ",
                           kPcForbiddenChars),
              "a_b_c_d ");
    EXPECT_EQ(ReplaceChars("a/b:c", kMacForbiddenChars), "a/b_c");
    EXPECT_EQ(ReplaceChars("  \xA0", kPcForbiddenChars), "");
    EXPECT_EQ(ReplaceChars("", kPcForbiddenChars), "");
    EXPECT_EQ(kPcForbiddenChars.size(), 9u + 31u);
    for (int control = 1; control < 0x20; ++control)
        EXPECT_EQ(ReplaceChars("a" + OneByte(control), kPcForbiddenChars), "a_") << control;
}

}  // namespace
}  // namespace vellmark
