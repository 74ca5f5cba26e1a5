#include "containers/name_order.hpp"

#include <gtest/gtest.h>

#include <tuple>
#include <vector>

namespace vellmark {
namespace {

using namespace std::string_literals;

TEST(NameOrder, KeysOfHfs) {
    const std::tuple<std::string, std::string, int> cases[] = {
        {"", "", 0},
        {"", "a", -1},
        {"abc", "ABC", 0},
        {"abc", "abcd", -1},
        {"b", "abcd", 1},
        {"abc ", "abc", 1},  // nothing is stripped
        {"a", "[", -1},
        {"`", "a", 1},             // the grave accent ranks behind A
        {"\x80\xCA", "\x8A ", 0},  // A with diaeresis in both cases; the hard space is a space
        {"\x81", "b", -1},         // accented letters stay with their letter
        {"\xA7", "s", 1},          // sharp s behind s
        {"\xA7", "t", -1},
        {"\xE7", "z", 1},  // later capitals have a rank of their own, far behind
        {"\\", "\0"s, 1},
        {"\xFF", "\xFE", 1},
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
        {"", "  ", 0},
        {"a", "ab", -1},
        {"\xE7", "\x87", 0},  // both cases, where the order of keys differs
        {"\\", "\0"s, 0},     // kept on purpose
        {"*", "", 0},
        {"read*", "Please READ me", 0},  // anywhere, not at the start alone
        {"zz*me", "Read Me", 0},         // one part is enough
        {"*\x8E", "caf\x83", 0},
        {"READ*", "read me", 1},  // the search is not folded: plain order
        {"zz*", "Read Me", 1},
        {"aa*", "zz", -1},
        {"a*b", "a*B", 0},  // a candidate with a `*` is compared plainly
        {"a*", "xa*", -1},
        {"**", "abc", -1},
    };
    for (const auto& [search, name, order] : cases)
        EXPECT_EQ(CompareName(search, name), order) << search << " / " << name;
    EXPECT_EQ(CompareHfsPlusSearch(u"zz*me", u"Read me"), 0);
    EXPECT_EQ(CompareHfsPlusSearch(u"read*", u"READ"), 1);  // with regard to case
    EXPECT_EQ(CompareHfsPlusSearch(u"a*", u"xa*"), -1);
    EXPECT_EQ(CompareHfsPlusSearch(u"abc", u"abc "), -1);  // nothing is stripped
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
        {u"\uFEFF\u202A", u"", 0},
        {u"a\u200C", u"a\u200Cb", -1},
        {u"\0"s, u"", 1},  // a NUL counts, and ranks last
        {u"\0"s, u"\uFFFE", 1},
        {u"\uFF00", u"\U0001F600", 1},  // by units, not by characters
    };
    for (const auto& [a, b, order] : cases) {
        const std::vector<be16> diskA(a.begin(), a.end());
        const std::vector<be16> diskB(b.begin(), b.end());
        EXPECT_EQ(CompareHfsPlusNames(a, b), order) << testing::PrintToString(a);
        EXPECT_EQ(CompareHfsPlusNames(b, a), -order) << testing::PrintToString(a);
        EXPECT_EQ(CompareHfsPlusNames(a, diskB), order) << testing::PrintToString(a);
        EXPECT_EQ(CompareHfsPlusNames(diskA, diskB), order) << testing::PrintToString(a);
    }
}

}  // namespace
}  // namespace vellmark
