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
        EXPECT_EQ(english.empty(), french.empty()) << number;
        count += english.empty() ? 0 : 1;
        const std::vector<std::string> conversions = Found(english, conversion);
        EXPECT_EQ(conversions, Found(french, conversion)) << number;
        std::vector<TextOperand> operands;
        for (const std::string& letters : conversions)
            operands.push_back(letters.back() == 's' ? TextOperand("name")
                                                     : TextOperand(0x1'2345'6789));
        for (const std::string& text : {english, french})
            EXPECT_EQ(FormatOperands(text, operands).find('%'), std::string::npos) << text;
        EXPECT_EQ(std::ranges::count(english, '&'), std::ranges::count(french, '&')) << number;
        if (english.find('|') == english.npos) {
            EXPECT_EQ(std::regex_replace(english, edges, "$1|$2"),
                      std::regex_replace(french, edges, "$1|$2"))
                << number;
        }
        EXPECT_FALSE(std::regex_search(french, badSigns)) << french;
    }
    EXPECT_EQ(count, 1005U) << "a row was lost, or the search by halves misses one";
}

// Of two captions of one menu with the same letter only the first can be reached by its key.
TEST(Texts, AcceleratorsDifferWithinAMenu) {
    const std::vector<std::vector<int>> menus = {
        {2000, 2015, 2030, 2045, 2080, 2100},
        {2001, 2002, 2003, 2004, 2005, 2006, 2007, 2008, 2009, 2010, 2011},
        {2016, 2017, 2018, 2019, 2020, 2006, 2023, 2024, 2025, 2026},
        {2031, 2032, 2033, 2034, 2035, 2036, 2037, 2038, 2039, 2040, 2041},
        {2081, 2082, 2083, 2085, 2087, 2088, 2089, 2090, 2091, 2092},
        {3000, 3010, 3020, 3025, 3030, 3035},
        {1043, 1044},
        {1263, 1264, 1265},
    };
    for (const auto& menu : menus)
        for (const Language language : {Language::English, Language::French}) {
            std::set<std::string> letters;
            for (const int number : menu)
                for (const std::string& letter :
                     Found(std::string(Text(number, language)), std::regex("&([^&])")))
                    EXPECT_TRUE(letters.insert(AsciiUpper(letter)).second) << number;
            EXPECT_FALSE(letters.empty()) << menu.front();
        }
}

TEST(Texts, OperandsOfAnySize) {
    EXPECT_EQ(FormatText(1201, "a", 7u), "a.007MB");
    EXPECT_EQ(FormatText(1215, -1, std::uint64_t{1} << 33), "Abs. Sect. -1, Length 8589934592");
    EXPECT_EQ(FormatOperands("100 %% of %d l%s", {3, "L"}), "100 % of 3 lL");
}

// Rows of the second table: none is empty, stands twice, or takes an operand in one language alone,
// and each can be put together. `{}` is one operand after the other, `{1}` the second.
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
    std::set<std::string> names;
    for (const auto& row : rows) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_EQ(operandsOf(row.english), operandsOf(row.french)) << row.name;
        const Reason reason(static_cast<Sentence>(names.size()), 1, 2, 3, 4, 5, 6, 7, 8, 9);
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
