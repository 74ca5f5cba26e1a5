#include "containers/names.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

using namespace std::string_literals;

std::string OneByte(int byte) {
    return {static_cast<char>(byte)};
}

// A rule moved by one unit, or taken over from the twin, shows in one of these.
TEST(Names, WidePcNamesByTheTable) {
    const std::pair<std::u16string, std::string> cases[] = {
        {u"Read Me", "Read Me"},
        {u"\u00E9t\u00E9", "\x8Et\x8E"},
        {u"a:b", "a_b"},
        {u"a\0b"s, "a"},        // a written 0 ends the name
        {u"a\u00DEb", "a"},     // no Macintosh byte: cut, kept
        {u"a\u0081b", "a"},     // C1 units index the table too
        {u"a\u00FE", "a\xA5"},  // last unit that the table serves
        {u"a\u00FF", "a_"},     // y with diaeresis is unknown, kept
        {u"a\u2014b", "a-b"},
        {u"5\u20AC", "5\xDB"},
        {u"\u4E00\u2019\u0301", "___"},
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

TEST(Names, TablesTranslateBytes) {
    EXPECT_EQ(AnsiToJolietUnits("\xE9\x80 a:"), u"\u00E9\u20AC a:");
    EXPECT_EQ(AnsiToMacName("a\xDE"
                            "b:c\x80\xA4\xA0\xFF"),
              "a_b_c\xDB\xDB \xD8")
        << "not cut";
    EXPECT_EQ(MacToAnsiName("\x8E\xD0\xD9\x7F\xF0\xAA"
                            "\0b"s),
              "\xE9-Y _\x99");
    EXPECT_EQ(ReplaceChars(" \xA0 a/b:c", kMacForbiddenChars), "a/b_c");
}

// The pairs by their letters: a wrong byte in the table shows as a letter with a wrong accent.
TEST(NameFold, MacRomanLowerCase) {
    const std::u16string capitals = u"AZÄÅÇÉÑÖÜÆØÀÃÕŒŸÂÊÁËÈÍÎÏÌÓÔÒÚÛÙ";
    const std::u16string small = u"azäåçéñöüæøàãõœÿâêáëèíîïìóôòúûù";
    ASSERT_EQ(capitals.size(), 2u + 29u);
    EXPECT_EQ(FoldMacRomanLower(WideToMacRomanExact(capitals).value()),
              WideToMacRomanExact(small).value());
    EXPECT_EQ(FoldMacRomanLower("@[`{\xF0\xFF\0x"s), "@[`{\xF0\xFF\0x"s);
    int changed = 0;
    for (int byte = 0; byte < 256; ++byte) {
        const std::string one(1, static_cast<char>(byte));
        changed += FoldMacRomanLower(one) != one ? 1 : 0;
    }
    EXPECT_EQ(changed, 26 + 29);
}

TEST(NameFold, IsoCapitalsWithoutAccents) {
    const std::pair<std::string, std::string> cases[] = {
        {"abcXYZ09_.", "ABCXYZ09_."},
        {"\x8C\x9C\xC6\xE6", "OEOEAEAE"},
        {"\xC0\xC5\xE0\xE5\xC7\xE7", "AAAACC"},
        {"\xC8\xCB\xE8\xEB\xCC\xCF\xEC\xEF", "EEEEIIII"},
        {"\xD0\xF0\xD1\xF1", "DDNN"},
        {"\xD2\xD6\xD8\xF2\xF6\xF8", "OOOOOO"},
        {"\xD9\xDC\xF9\xFC\xDD\xFD\xFF", "UUUUYYY"},
        {"\xD7\xF7\xDE\xFE\x80\xA0", "\xD7\xF7\xDE\xFE\x80\xA0"},  // no letters of A to Z
        {"\xDF", "S\xDF"},                                         // kept on purpose
        {"", ""},
    };
    for (const auto& [ansi, upper] : cases)
        EXPECT_EQ(IsoUpperFold(ansi), upper) << testing::PrintToString(ansi);
}

TEST(NameFold, IsoNamesAreOfDCharacters) {
    EXPECT_EQ(IsoNormalizeName(" \xA0 my file.txt \xA0"), "MY_FILE_TXT");
    EXPECT_EQ(IsoNormalizeName("stra\xDF"
                               "e"),
              "STRAS_E");
    EXPECT_EQ(IsoNormalizeName("\xDF"), "S_");
    EXPECT_EQ(IsoNormalizeName("@[`{/:"), "______");
    EXPECT_EQ(IsoNormalizeName(" \xA0 "), "");
    EXPECT_EQ(IsoNormalizeName(""), "");
    for (int byte = 0; byte < 256; ++byte)
        for (char c : IsoNormalizeName(std::string(1, static_cast<char>(byte))))
            EXPECT_TRUE((c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '_') << byte;
}

TEST(NameFold, DeviceNamesAreGuarded) {
    for (const char* name : {"CON", "con", "Prn", "AUX", "NUL", "COM1", "COM2", "COM3", "COM4",
                             "LPT1", "LPT2", "LPT3", "CONFIG", "lpt10", "nul.txt"})
        EXPECT_EQ(GuardDeviceName(name), name + "_"s);
    for (const char* name : {"CO", "COM", "COM5", "COM0", "LPT4", "aCON", "file"})
        EXPECT_EQ(GuardDeviceName(name), name);
    EXPECT_EQ(GuardDeviceName(""), "_");
}

// Check values of the published catalogue of CRC algorithms (CRC-16/XMODEM).
TEST(NameFold, CrcOfNames) {
    EXPECT_EQ(NameCrc16("123456789"), 0x31C3);
    EXPECT_EQ(NameCrc16(""), 0);
    EXPECT_EQ(NameCrc16("A"), 0x58E5);
    EXPECT_EQ(NameCrc16("\x01"), 0x1021);
    EXPECT_EQ(NameCrc16("\x01\0"s), 0x3331);
    EXPECT_EQ(NameCrcDigits("123456789"), "3C13");
    EXPECT_EQ(NameCrcDigits("A"), "5E85");
    EXPECT_EQ(NameCrcDigits(""), "0000");
}

}  // namespace
}  // namespace vellmark
