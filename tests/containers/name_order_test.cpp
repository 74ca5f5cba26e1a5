#include "containers/name_order.hpp"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <vector>

namespace vellmark {
namespace {

using namespace std::string_literals;

constexpr unsigned kSeed = 1904;

int Sign(int value) {
    return (value > 0) - (value < 0);
}

// TN1150's table as a plain map, the comparison as its text tells it.
const std::map<char16_t, char16_t> kFolded = {
#include "containers/name_order_case_fold.inc"
};

int ModelCompare(std::u16string_view a, std::u16string_view b) {
    const auto reduce = [](std::u16string_view name) {
        std::u16string reduced;
        for (char16_t unit : name) {
            const auto found = kFolded.find(unit);
            const char16_t folded = found == kFolded.end() ? unit : found->second;
            if (folded != 0)
                reduced += folded;
        }
        return reduced;
    };
    return Sign(reduce(a).compare(reduce(b)));
}

std::vector<be16> OnDisk(std::u16string_view name) {
    return {name.begin(), name.end()};
}

// Units from the pages that fold, ignorable ones among them, and some from elsewhere.
std::u16string RandomName(std::mt19937& random) {
    static constexpr char16_t kPages[] = {0x0000, 0x0000, 0x0100, 0x0300, 0x0400, 0x0500,
                                          0x1000, 0x2000, 0x2100, 0xFE00, 0xFF00, 0x4E00};
    std::u16string name(random() % 6, u'\0');
    for (char16_t& unit : name) {
        unit = static_cast<char16_t>(kPages[random() % std::size(kPages)] | (random() & 0xFF));
        if (random() % 8 == 0)
            unit = u'\u200C';
    }
    return name;
}

TEST(NameOrder, KeysOfHfs) {
    struct Case {
        std::string a;
        std::string b;
        int order;
    };
    const Case cases[] = {
        {"", "", 0},         {"", "a", -1},    {"abc", "ABC", 0},
        {"abc", "abcd", -1}, {"b", "abcd", 1}, {"abc ", "abc", 1},  // nothing is stripped
        {"a", "[", -1},      {"Z", "[", -1},   {"`", "a", 1},  // the grave accent ranks behind A
        {"\x80", "\x8A", 0},                                   // A with diaeresis in both cases
        {"\x81", "b", -1},                      // accented letters stay with their letter
        {"\xA7", "s", 1},                       // sharp s behind s
        {"\xA7", "t", -1},   {"\xCA", " ", 0},  // the hard space ranks as a space
        {"\xE7", "z", 1},  // later capitals have a rank of their own, far behind
        {"\xE7", "\x87", 1}, {"\\", "\0"s, 1}, {"\xFF", "\xFE", 1},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CompareHfsKeyNames(c.a, c.b), c.order) << c.a << " / " << c.b;
        EXPECT_EQ(CompareHfsKeyNames(c.b, c.a), -c.order) << c.b << " / " << c.a;
    }
}

TEST(NameOrder, SearchOrderStripsTheCandidateAlone) {
    EXPECT_EQ(CompareName("abc", "ABC \xA0 "), 0);
    EXPECT_EQ(CompareName("abc ", "abc"), 1);
    EXPECT_EQ(CompareName("", "  "), 0);
    EXPECT_EQ(CompareName("a", "ab"), -1);
    EXPECT_EQ(CompareName("ab", "a"), 1);
    EXPECT_EQ(CompareName("\xE7", "\x87"), 0);  // both cases, where the order of keys differs
    EXPECT_EQ(CompareName("\\", "\0"s), 0);     // kept on purpose
}

TEST(NameOrder, WildcardOfHfsSearches) {
    EXPECT_EQ(CompareName("*", "anything"), 0);
    EXPECT_EQ(CompareName("*", ""), 0);
    EXPECT_EQ(CompareName("read*", "Please READ me"), 0);  // anywhere, not at the start alone
    EXPECT_EQ(CompareName("zz*me", "Read Me"), 0);         // one part is enough
    EXPECT_EQ(CompareName("*\x8E", "caf\x83"), 0);
    EXPECT_EQ(CompareName("READ*", "read me"), 1);  // the search is not folded: plain order
    EXPECT_EQ(CompareName("zz*", "Read Me"), 1);
    EXPECT_EQ(CompareName("zz*", "z"), 1);
    EXPECT_EQ(CompareName("aa*", "zz"), -1);
    EXPECT_EQ(CompareName("a*b", "a*B"), 0);  // a candidate with a `*` is compared plainly
    EXPECT_EQ(CompareName("a*", "xa*"), -1);
    EXPECT_EQ(CompareName("**", "abc"), -1);
    EXPECT_EQ(CompareHfsPlusSearch(u"zz*me", u"Read me"), 0);
    EXPECT_EQ(CompareHfsPlusSearch(u"read*", u"READ"), 1);  // with regard to case
    EXPECT_EQ(CompareHfsPlusSearch(u"a*", u"xa*"), -1);
    EXPECT_EQ(CompareHfsPlusSearch(u"abc", u"abc "), -1);  // nothing is stripped
}

TEST(NameOrder, KeysOfHfsPlus) {
    struct Case {
        std::u16string a;
        std::u16string b;
        int order;
    };
    const Case cases[] = {
        {u"", u"", 0},
        {u"", u"a", -1},
        {u"ABC", u"abc", 0},
        {u"abc", u"abcd", -1},
        {u"Z", u"_", 1},  // letters compare in lower case
        {u"\u00C6", u"\u00E6", 0},
        {u"\u00C9", u"\u00E9", -1},  // a composed letter does not fold
        {u"\u0391", u"\u03B1", 0},
        {u"\u0410", u"\u0430", 0},
        {u"\u0419", u"\u0439", -1},  // nor does this one
        {u"\uFF21", u"\uFF41", 0},
        {u"a\u200Db", u"AB", 0},  // ignorable
        {u"\uFEFF\u202A", u"", 0},
        {u"\u200Ca", u"b", -1},
        {u"\0"s, u"", 1},  // a NUL counts, and ranks last
        {u"\0"s, u"\uFFFE", 1},
        {u"\uFF00", u"\U0001F600", 1},  // by units, not by characters
    };
    for (const Case& c : cases) {
        EXPECT_EQ(CompareHfsPlusNames(c.a, c.b), c.order) << testing::PrintToString(c.a);
        EXPECT_EQ(CompareHfsPlusNames(c.b, c.a), -c.order) << testing::PrintToString(c.a);
    }
}

TEST(NameOrder, HfsPlusAgreesWithTheModelInEveryForm) {
    SCOPED_TRACE(testing::Message() << "seed " << kSeed);
    std::mt19937 random(kSeed);
    for (int round = 0; round < 30000; ++round) {
        std::u16string a = RandomName(random);
        std::u16string b = random() % 4 == 0 ? a : RandomName(random);
        for (char16_t& unit : b)
            if (const auto found = kFolded.find(unit); found != kFolded.end() && random() % 2 == 0)
                unit = found->second;
        const int expected = ModelCompare(a, b);
        ASSERT_EQ(CompareHfsPlusNames(a, b), expected)
            << testing::PrintToString(a) << testing::PrintToString(b);
        ASSERT_EQ(CompareHfsPlusNames(b, a), -expected);
        ASSERT_EQ(CompareHfsPlusNames(a, OnDisk(b)), expected);
        ASSERT_EQ(CompareHfsPlusNames(OnDisk(a), OnDisk(b)), expected);
        const std::u16string c = RandomName(random);
        if (expected <= 0 && CompareHfsPlusNames(b, c) <= 0) {
            ASSERT_LE(CompareHfsPlusNames(a, c), 0);
        }
    }
}

}  // namespace
}  // namespace vellmark
