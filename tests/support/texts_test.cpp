// Texts: names as any bytes, both tables of what a person reads, whose rows of two languages go
// together, and sentences put together.
#include "support/texts.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <regex>
#include <set>

#include "support/encoding.hpp"
#include "support/reason.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

// What a pattern finds in a text, its first group.
std::vector<std::string> Found(const std::string& text, const std::regex& pattern) {
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), pattern), end; at != end; ++at)
        found.push_back((*at)[1]);
    return found;
}

// An operand that changes its place or kind would print a size as a name; one that the formatter
// does not know would throw in front of a user. Accelerators and the blanks at the edges that keep
// a value apart must not differ, whatever the words; French sets a blank before some signs.
TEST(Texts, TwinsTakeTheSameOperandsAndHaveTheSameForm) {
    const std::regex conversion("%([0-9]*(?:I64|I32|l|L)?.)");
    const std::regex badSigns("  |[^ ][?!:](?:[ \n]|$)");
    const std::regex edges("^(\\.?[ \n]?)[^]*?([ \n]?)$");
    std::size_t count = 0;
    for (int number = 0; number < static_cast<int>(Language::French); ++number) {
        const std::string english(Text(number));
        const std::string french(Text(number, Language::French));
        SCOPED_TRACE(number);
        EXPECT_EQ(english.empty(), french.empty());
        count += english.empty() ? 0 : 1;
        const std::vector<std::string> conversions = Found(english, conversion);
        EXPECT_EQ(conversions, Found(french, conversion));
        std::vector<TextOperand> operands;
        for (const std::string& letters : conversions)
            operands.push_back(letters.back() == 's' ? TextOperand("name") : TextOperand(5));
        EXPECT_EQ(FormatOperands(english, operands).find('%'), std::string::npos);
        EXPECT_EQ(FormatOperands(french, operands).find('%'), std::string::npos);
        EXPECT_EQ(std::ranges::count(english, '&'), std::ranges::count(french, '&'));
        if (english.find('|') == english.npos) {
            EXPECT_EQ(std::regex_replace(english, edges, "$1|$2"),
                      std::regex_replace(french, edges, "$1|$2"));
        }
        EXPECT_FALSE(std::regex_search(french, badSigns));
    }
    EXPECT_EQ(count, 1005U) << "a row was lost, or the search by halves misses one";
}

TEST(Texts, OperandsOfAnySize) {
    EXPECT_EQ(FormatText(1201, "a", 7u), "a.007MB");
    EXPECT_EQ(FormatText(1215, -1, std::uint64_t{1} << 33), "Abs. Sect. -1, Length 8589934592");
    EXPECT_EQ(FormatOperands("100 %% of %d l%s", {3, "L"}), "100 % of 3 lL");
}

// Rows of the second table: none is empty or takes an operand in one language alone, and each can
// be put together. `{}` is one operand after the other, `{1}` the second.
TEST(Sentences, RowsAreWholeAndTheirTwinsTakeTheSameOperands) {
    const struct {
        std::string name, english, french;
    } rows[] = {
#define VELLMARK_SENTENCE(name, english, french) {#name, english, french},
#include "support/sentences.inc"
#undef VELLMARK_SENTENCE
    };
    const std::regex placeholder(R"(\{(\d*)(?::[^}]*)?\})");
    const auto operandsOf = [&](const std::string& text) {
        std::set<std::string> operands;
        for (const std::string& number : Found(text, placeholder))
            operands.insert(number.empty() ? std::to_string(operands.size()) : number);
        return operands;
    };
    int number = 0;
    for (const auto& row : rows) {
        EXPECT_EQ(operandsOf(row.english), operandsOf(row.french)) << row.name;
        const Reason reason(static_cast<Sentence>(++number), 1, 2, 3, 4, 5, 6, 7, 8, 9);
        for (const Language language : {Language::English, Language::French})
            EXPECT_NO_THROW(EXPECT_NE(reason.words(language), "")) << row.name;
    }
}

TEST(Reasons, AreWordsOfTheirPartsInALanguage) {
    const Reason inner(Sentence::kCannotBeOpened, "a", SystemError{2});
    EXPECT_EQ(Reason(Sentence::kNamedReason, "b", inner).words(Language::French),
              "b : a ne peut pas être ouvert : Aucun fichier ou dossier de ce type.");
    EXPECT_EQ(Reason::Joined({inner, Reason(), ToldText{1000}}, "+").words(Language::English),
              "a cannot be opened: No such file or directory.+&Close");
    EXPECT_FALSE(Reason(SystemError{0}) || Reason::Plain("") || Reason::Joined({}, " "));
}

using namespace std::string_literals;

// A file name of Linux is any bytes: each must be found again.
TEST(Encoding, AnyBytesBecomeUnitsAndComeBack) {
    const std::pair<std::string, std::u16string> cases[] = {
        {"a\0b\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF"s, u"a\0bé€😀\U0010FFFF"s},
        {"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF\xF0\x90\x80\x80",
         u"\x7F\u0080\u07FF\u0800\uFFFF\U00010000"},        // each length at both its ends
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
