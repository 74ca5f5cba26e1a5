#include "support/encoding.hpp"

#include <gtest/gtest.h>

namespace vellmark {
namespace {

using namespace std::string_literals;

// A file name of Linux is any bytes: each must be found again.
TEST(Encoding, AnyBytesBecomeUnitsAndComeBack) {
    const std::pair<std::string, std::u16string> cases[] = {
        {"a\0b\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"s, u"a\0bé€😀\U0010FFFF"s},
        {"\x80", u"\xDC80"},                                // a tail without a lead
        {"\xC3", u"\xDCC3"},                                // cut short
        {"\xC0\x80", u"\xDCC0\xDC80"},                      // too long a form
        {"\xED\xA0\x80", u"\xDCED\xDCA0\xDC80"},            // a surrogate in three bytes
        {"\xF4\x90\x80\x80", u"\xDCF4\xDC90\xDC80\xDC80"},  // beyond U+10FFFF
    };
    for (const auto& [utf8, wide] : cases) {
        EXPECT_EQ(Utf8ToWide(utf8), wide) << testing::PrintToString(utf8);
        EXPECT_EQ(WideToUtf8(wide), utf8) << testing::PrintToString(utf8);
    }
}

TEST(Encoding, LoneSurrogatesWindows1252AndWhatCanBePrinted) {
    const std::u16string wide = u"\xD83D\xDE00\xD800.\xDC80";
    for (std::size_t i = 0; i < wide.size(); ++i)
        EXPECT_EQ(IsLoneSurrogate(wide, i), i == 2 || i == 4) << i;
    EXPECT_EQ(NarrowToWide("a\x80\x9F\xE9\x81"), u"a\u20AC\u0178\u00E9\u0081");
    EXPECT_EQ(WideToNarrow(u"a\u20AC\u0178\u00E9\u4E00\u0301😀\xD800"), "a\x80\x9F\xE9????");
    EXPECT_EQ(Printable("exe\u202Etxt\u200B\U000E0041"), "exe\uFFFDtxt\uFFFD\uFFFD");
    EXPECT_EQ(Printable("\u0645\u06CC\u200C\u062E a\u200C"), "\u0645\u06CC\u200C\u062E a\uFFFD");
    EXPECT_EQ(Printable("a\x1B\n\x7F\xC2\x9B\xFFé"), "a\uFFFD\uFFFD\uFFFD\uFFFD\uFFFDé");
}

}  // namespace
}  // namespace vellmark
