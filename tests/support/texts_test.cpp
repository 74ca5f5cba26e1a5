// Both tables of what a person reads: the rows of two languages go together, and each can be shown.
#include "support/texts.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <deque>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "support/encoding.hpp"
#include "support/messages.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

// The conversions of a text in order, each with its width.
std::vector<std::string> Conversions(std::string_view text) {
    std::vector<std::string> found;
    for (std::size_t at = text.find('%'); at != text.npos; at = text.find('%', at + 1)) {
        std::size_t letter = text.find_first_not_of("0123456789", at + 1);
        for (const std::string_view size : {"I64", "I32", "l", "L"})
            if (letter != text.npos && text.substr(letter).starts_with(size))
                letter += size.size();
        found.emplace_back(text.substr(at, letter == text.npos ? letter : letter - at + 1));
    }
    return found;
}

struct Pair {
    int number;
    std::string_view english, french;
};

// A row that was lost, or that the search by halves misses, changes their number.
std::vector<Pair> Pairs() {
    std::vector<Pair> pairs;
    for (int number = 0; number < static_cast<int>(Language::French); ++number) {
        if (!Text(number).empty())
            pairs.push_back({number, Text(number), Text(number, Language::French)});
        EXPECT_EQ(Text(number).empty(), Text(number, Language::French).empty()) << number;
    }
    EXPECT_EQ(pairs.size(), 1005U);
    return pairs;
}

// An operand that changes its place or kind would print a size as a name; one that the formatter
// does not know would throw in front of a user.
TEST(Texts, TwinsTakeTheSameOperandsAndCanBeFormatted) {
    for (const Pair& pair : Pairs()) {
        const std::vector<std::string> conversions = Conversions(pair.english);
        EXPECT_EQ(conversions, Conversions(pair.french)) << pair.number;
        std::vector<TextOperand> operands;
        for (const std::string& conversion : conversions)
            operands.push_back(conversion.back() == 's' ? TextOperand("name")
                                                        : TextOperand(0x1'2345'6789));
        for (const std::string_view text : {pair.english, pair.french}) {
            std::string formatted;
            EXPECT_NO_THROW(formatted = FormatOperands(text, operands)) << text;
            EXPECT_EQ(formatted.find('%'), std::string::npos) << text;
        }
    }
}

// Where a hint is shown, a caption's accelerator, blanks that keep a value apart: these must not
// differ, whatever the words. French sets a blank before some signs.
TEST(Texts, TwinsHaveTheSameForm) {
    for (const Pair& pair : Pairs()) {
        if (pair.english.find('|') == pair.english.npos) {
            EXPECT_EQ(pair.english.starts_with('.'), pair.french.starts_with('.')) << pair.number;
        }
        EXPECT_EQ(std::ranges::count(pair.english, '&'), std::ranges::count(pair.french, '&'))
            << pair.number;
        for (const char edge : {' ', '\n'}) {
            EXPECT_EQ(pair.english.starts_with(edge), pair.french.starts_with(edge)) << pair.number;
            EXPECT_EQ(pair.english.ends_with(edge), pair.french.ends_with(edge)) << pair.number;
        }
        EXPECT_EQ(pair.french.find("  "), pair.french.npos) << pair.french;
        for (std::size_t at = 1; at < pair.french.size(); ++at) {
            const bool ends = at + 1 == pair.french.size() || pair.french[at + 1] == ' ' ||
                              pair.french[at + 1] == '\n';
            if (ends && std::string_view("?!:").find(pair.french[at]) != std::string_view::npos) {
                EXPECT_EQ(pair.french[at - 1], ' ') << pair.french;
            }
        }
    }
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
    const std::regex accelerator(R"((?:^|[^&])(?:&&)*&([^&]))");
    for (const auto& menu : menus)
        for (const Language language : {Language::English, Language::French}) {
            std::set<std::string> letters;
            for (const int number : menu) {
                const std::string caption(Text(number, language));
                std::smatch found;
                if (std::regex_search(caption, found, accelerator)) {
                    EXPECT_TRUE(letters.insert(AsciiUpper(found[1].str())).second) << caption;
                }
            }
            EXPECT_FALSE(letters.empty()) << menu.front();
        }
}

TEST(Texts, OperandsOfAnySize) {
    EXPECT_EQ(FormatText(1201, "a", 7u), "a.007MB");
    EXPECT_EQ(FormatText(1215, -1, std::uint64_t{1} << 33), "Abs. Sect. -1, Length 8589934592");
    EXPECT_EQ(FormatOperands("100 %% of %d l%s", {3, "L"}), "100 % of 3 lL");
    EXPECT_EQ(FormatText(1457, Language::French, 3, 4, 5, 6),
              "Inclusion terminée en  3'04\" pour 5 dossiers et 6 fichiers.");
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
        std::set<std::string> found;
        for (std::sregex_iterator at(text.begin(), text.end(), placeholder), end; at != end; ++at)
            found.insert((*at)[1].length() > 0 ? (*at)[1].str() : std::to_string(found.size()));
        return found;
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

class Scripted final : public Messages {
  public:
    std::deque<Answer> answers;

    void showMessage(std::string_view) override {}
    void itemSkipped(std::string_view, std::string_view) override {}
    bool askYesNo(std::string_view) override { return false; }
    Answer askYesNoRemember(std::string_view) override {
        const Answer answer = answers.at(0);
        answers.pop_front();
        return answer;
    }
    TruncationAnswer askTruncation(TruncatedName, std::string_view, std::string_view) override {
        return {};
    }
};

TEST(RememberedAnswer, IsAskedUntilTheAnswerIsForAll) {
    const struct {
        std::deque<Answer> answers;
        const char* yes;  // y or n for each of four items
    } cases[] = {{{Answer::Yes, Answer::No, Answer::Yes, Answer::No}, "ynyn"},
                 {{Answer::No, Answer::YesToAll}, "nyyy"},
                 {{Answer::Yes, Answer::NoToAll}, "ynnn"}};
    for (const auto& c : cases) {
        Scripted messages;
        messages.answers = c.answers;
        RememberedAnswer remembered;
        std::string yes;
        for (int item = 0; item < 4; ++item)
            yes += remembered.ask(messages, "?") ? 'y' : 'n';
        EXPECT_EQ(yes, c.yes);
        EXPECT_TRUE(messages.answers.empty()) << c.yes;
    }
}

}  // namespace
}  // namespace vellmark
