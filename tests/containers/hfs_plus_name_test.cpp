#include "containers/hfs_plus_name.hpp"

#include <gtest/gtest.h>

#include "containers/names.hpp"

namespace vellmark {
namespace {

using namespace std::string_literals;

TEST(HfsPlusNames, WideNamesAreDecomposed) {
    const std::pair<std::u16string, std::u16string> cases[] = {
        {u"", u""},
        {u"Read Me: 1", u"Read Me: 1"},
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
        {u"a\xDC80\xD800z\xD83D", u"a__z_"},  // halves of pairs
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
        {u"éa\u00D8\uF020\uF020", u"e\u0301aØ\"\u0301\"\u0301"},
    };
    for (const auto& [wide, name] : cases)
        EXPECT_EQ(WideToHfsPlusName(wide), name) << testing::PrintToString(wide);
}

TEST(HfsPlusNames, LongNamesAreCutBetweenLetters) {
    const auto cut = [](std::size_t letters, const std::u16string& end, std::size_t length) {
        const HfsPlusName name = WideToHfsPlusName(std::u16string(letters, u'a') + end);
        EXPECT_EQ(name.size(), length);
        EXPECT_EQ(name.substr(0, letters), std::u16string(std::min(letters, length), u'a'));
    };
    cut(300, u"", 255);
    cut(255, u"", 255);
    cut(254, u"é", 254);
    cut(253, u"é", 255);
    cut(254, u"😀", 254);
    cut(253, u"한", 253);
    cut(254, u"\u09CB", 253);
    cut(1, std::u16string(300, u'\u0301'), 255);
    EXPECT_EQ(AnsiToHfsPlusName(std::string(200, '\xE9')).size(), 254);
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
        {u"\u212B\uF900\uF8FF:/\xD800x", u"\u212B\uF900\uF8FF:/\xD800x"},
        {u"😀\u0301", u"😀\u0301"},
        {u"a\0b"s, u"a\0b"s},
    };
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

}  // namespace
}  // namespace vellmark
