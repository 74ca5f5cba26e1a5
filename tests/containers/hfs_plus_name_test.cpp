#include "containers/hfs_plus_name.hpp"

#include <gtest/gtest.h>

#include <set>

#include "containers/names.hpp"

namespace vellmark {
namespace {

using namespace std::string_literals;

std::u16string One(std::size_t unit) {
    return {static_cast<char16_t>(unit)};
}

TEST(HfsPlusNames, WideNamesAreDecomposed) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"", u""},
        {u"Read Me: 1", u"Read Me: 1"},
        {u"é", u"e\u0301"},
        {u"ÀÇýÿÅ", u"A\u0300C\u0327y\u0301y\u0308A\u030A"},
        {u"\u00A0¿ÆÐ×ØÞßæð÷øþ", u"\u00A0¿ÆÐ×ØÞßæð÷øþ"},  // no two forms
        {u"č\u1EAD", u"c\u030Ca\u0323\u0302"},
        {u"한가", u"\u1112\u1161\u11AB\u1100\u1161"},
        {u"\u03D3\u0439\u305C", u"\u03D2\u0301\u0438\u0306\u305B\u3099"},
        {u"\u212B\u2126\u2260\u2000", u"\u212B\u2126\u2260\u2000"},  // U+2000 to U+2FFF stay
        {u"\uF900\uFA10", u"\uF900\uFA10"},                          // look-alikes stay
        {u"\uFB1D", u"\u05D9\u05B4"},
        {u"a\u0302\u0323", u"a\u0323\u0302"},  // canonical order of marks
        {u"\u00E2\u0323", u"a\u0323\u0302"},
        {u"\u0301a", u"\u0301a"},
        {u"😀é", u"😀e\u0301"},
        {u"a\0b"s, u"a"},
    };
    for (const auto& [wide, name] : cases)
        EXPECT_EQ(WideToHfsPlusName(wide), name) << testing::PrintToString(wide);
}

TEST(HfsPlusNames, HalvesOfPairsBecomeUnderscores) {
    EXPECT_EQ(WideToHfsPlusName(u"a\xDC80\xD800z"), u"a__z");
    EXPECT_EQ(WideToHfsPlusName(u"\xD83D"), u"_");
}

// Windows-1252 and its oddities, each kept on purpose.
TEST(HfsPlusNames, ControlBandIsReadAsWindows1252) {
    const std::u16string expected[32] = {
        u"\u20AC", u"",       u"\u201A",  u"\u0192", u"\u201E", u"\u2026", u"\u2020", u"\u2021",
        u"\u0302", u"\u2030", u"S\u030C", u"\u2039", u"\u0152", u"",       u"",       u"",
        u"",       u"\u201B", u"\u2019",  u"\u201C", u"\u201D", u"\u2022", u"\u2013", u"\u2014",
        u"\u0303", u"\u2122", u"s\u030C", u"\u203A", u"\u0153", u"",       u"",       u"Y\u0308"};
    for (std::size_t i = 0; i < 32; ++i)
        EXPECT_EQ(WideToHfsPlusName(One(0x80 + i)), expected[i]) << i;
}

TEST(HfsPlusNames, PrivateCodesGiveWhatTheyStandFor) {
    for (char16_t control = 1; control < 0x20; ++control)
        EXPECT_EQ(WideToHfsPlusName(One(0xF000u + control)), One(control));
    EXPECT_EQ(WideToHfsPlusName(u"\uF021\uF022\uF023\uF024\uF025\uF026\uF027\uF028\uF029\uF02A"),
              u"*/<>?\\| .\uF8FF");
    EXPECT_EQ(WideToHfsPlusName(u"\uF000\uF02B"), u"\uF000\uF02B");
}

// The quotation mark drags the second unit of the last letter that had two: kept on purpose.
TEST(HfsPlusNames, QuotationMarkReportsTwoUnits) {
    EXPECT_EQ(WideToHfsPlusName(u"\uF020"), u"\"\0"s);
    EXPECT_EQ(WideToHfsPlusName(u"é\uF020"), u"e\u0301\"\u0301");
    EXPECT_EQ(WideToHfsPlusName(u"éa\u00D8\uF020\uF020"), u"e\u0301aØ\"\u0301\"\u0301");
    EXPECT_EQ(WideToHfsPlusName(u"\""), u"\"");
}

TEST(HfsPlusNames, LongNamesAreCutBetweenLetters) {
    const auto repeat = [](std::u16string_view part, std::size_t times) {
        std::u16string text;
        for (std::size_t i = 0; i < times; ++i)
            text += part;
        return text;
    };
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 300)), repeat(u"a", 255));
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 255)), repeat(u"a", 255));
    EXPECT_EQ(WideToHfsPlusName(repeat(u"é", 200)), repeat(u"e\u0301", 127));
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 254) + u"é"), repeat(u"a", 254));
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 253) + u"é"), repeat(u"a", 253) + u"e\u0301");
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 254) + u"😀"), repeat(u"a", 254));
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 253) + u"한"), repeat(u"a", 253));
    EXPECT_EQ(WideToHfsPlusName(repeat(u"a", 254) + u"\u09CB"), repeat(u"a", 254).substr(0, 253));
    EXPECT_EQ(WideToHfsPlusName(u"a" + repeat(u"\u0301", 300)).size(), 255u);
    EXPECT_EQ(AnsiToHfsPlusName(std::string(200, '\xE9')), repeat(u"e\u0301", 127));
}

TEST(HfsPlusNames, ShownNamesAreComposed) {
    const std::pair<HfsPlusName, std::u16string> cases[] = {
        {u"e\u0301A\u030A", u"éÅ"},
        {u"c\u030C", u"č"},
        {u"\u1112\u1161\u11AB", u"한"},
        {u"a\u0323\u0302", u"\u1EAD"},
        {u"e\u0301\u0301", u"é\u0301"},
        {u"a\u0315\u0301", u"a\u0315\u0301"},  // the mark between ranks higher
        {u"e\u0313\u0301", u"e\u0313\u0301"},  // or as high
        {u"\u0301e", u"\u0301e"},
        {u"=\u0338", u"=\u0338"},  // would not decompose again
        {u"\u212B\uF900", u"\u212B\uF900"},
        {u"\uF8FF:/", u"\uF8FF:/"},
        {u"😀\u0301", u"😀\u0301"},
        {u"\xD800x", u"\xD800x"},
        {u"a\0b"s, u"a\0b"s},
    };
    for (const auto& [name, wide] : cases)
        EXPECT_EQ(HfsPlusNameToWide(name), wide) << testing::PrintToString(name);
}

// A name that is shown and typed again finds its record.
TEST(HfsPlusNames, ShowingAndTypingGivesTheNameBack) {
    for (int value = 0xA0; value < 0x10000; ++value) {
        const auto unit = static_cast<char16_t>(value);
        if ((unit >= 0xD800 && unit <= 0xDFFF) || (unit > 0xF000 && unit <= 0xF02A))
            continue;
        const HfsPlusName name = WideToHfsPlusName(u"x" + One(unit) + u"y");
        ASSERT_EQ(WideToHfsPlusName(HfsPlusNameToWide(name)), name) << std::hex << value;
    }
}

}  // namespace
}  // namespace vellmark
