#include <gtest/gtest.h>

#include "containers/names.hpp"

namespace vellmark {
namespace {

using namespace std::string_literals;

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
