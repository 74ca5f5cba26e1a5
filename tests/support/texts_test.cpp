// Both tables of what a person reads: the rows of two languages go together, and each can be shown.
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

}  // namespace
}  // namespace vellmark
