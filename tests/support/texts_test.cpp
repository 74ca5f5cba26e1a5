#include "support/texts.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ranges>
#include <regex>
#include <string>
#include <vector>

#include "support/encoding.hpp"

namespace vellmark {
namespace {

constexpr int kFirst = 1000;
constexpr int kLast = 6048;

// A row that was lost, or that the search by halves misses, changes the number.
TEST(Texts, TableIsComplete) {
    for (const Language language : {Language::English, Language::French}) {
        int rows = 0;
        for (int number = 0; number < static_cast<int>(Language::French); ++number) {
            rows += Text(number, language).empty() ? 0 : 1;
            EXPECT_EQ(Text(number).empty(), Text(number, Language::French).empty()) << number;
        }
        EXPECT_EQ(rows, 1005);
    }
}

TEST(Texts, KnownRows) {
    EXPECT_EQ(Text(1000), "&Close");
    EXPECT_EQ(Text(1386), "The file %s\nis not managed by Vellmark.");
    EXPECT_EQ(Text(6048), "Deselect All");
}

TEST(Texts, UnknownNumbersAreEmpty) {
    for (int number : {0, -1, 999, 1031, 6049, 9999, 20000, INT_MAX, INT_MIN}) {
        EXPECT_EQ(Text(number), "") << number;
        EXPECT_EQ(Text(number, Language::French), "") << number;
    }
    EXPECT_EQ(Text(11031), "");
}

TEST(Texts, FrenchStandsTenThousandHigher) {
    EXPECT_EQ(Text(1000, Language::French), "&Fermer");
    EXPECT_EQ(Text(11002), "&Annuler");
    EXPECT_EQ(Text(11002, Language::French), "&Annuler");
    EXPECT_EQ(Text(6048, Language::French), "Tout désélectionner");
}

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

std::vector<Pair> Pairs() {
    std::vector<Pair> pairs;
    for (int number = kFirst; number <= kLast; ++number)
        if (!Text(number).empty())
            pairs.push_back({number, Text(number), Text(number, Language::French)});
    return pairs;
}

// An operand that changes its place or kind would print a size as a name.
TEST(Texts, TwinsTakeTheSameOperands) {
    for (const Pair& pair : Pairs())
        EXPECT_EQ(Conversions(pair.english), Conversions(pair.french)) << pair.number;
}

// The patterns of a filter are every second field: a lost, mistyped or translated one hides files.
TEST(Texts, FiltersFindTheFilesOfTheirCaptions) {
    const std::regex caption(R"([^\[(]+[\[(](.+)[\])])");
    const std::regex patterns(R"(\.DS_Store|\*\.(\*|\w+)(;\*\.\w+)*)");
    std::size_t filters = 0;
    for (const Pair& pair : Pairs()) {
        std::vector<std::string> found[2];
        for (const auto part : std::views::split(pair.english, '|'))
            found[0].emplace_back(part.begin(), part.end());
        for (const auto part : std::views::split(pair.french, '|'))
            found[1].emplace_back(part.begin(), part.end());
        ASSERT_EQ(found[0].size(), found[1].size()) << pair.number;
        for (std::size_t i = 1; i < found[0].size(); i += 2) {
            EXPECT_EQ(found[0][i], found[1][i]) << pair.number;
            EXPECT_TRUE(std::regex_match(found[0][i], patterns)) << found[0][i];
            for (const auto& fields : found)
                EXPECT_EQ(std::regex_replace(fields[i - 1], caption, "$1"), fields[i]);
            filters += i / 2 == 0 ? 1U : 0U;
        }
    }
    EXPECT_EQ(filters, 12U);
}

// A tab parts the word of a journal line from its path; anywhere else it was meant as a line break.
// English takes letters of other languages for the name of one alone.
TEST(Texts, HoldTheCharactersOfTheirLanguage) {
    const auto isOther = [](char c) { return (c < ' ' && c != '\n') || c > '~'; };
    for (const Pair& pair : Pairs()) {
        const bool tab = pair.number >= 1088 && pair.number <= 1090;
        EXPECT_EQ(pair.french.find('\t') != pair.french.npos, tab) << pair.number;
        const auto others = std::ranges::count_if(pair.english, isOther);
        EXPECT_EQ(others > 0, tab || pair.number == 1268) << pair.english;
    }
    EXPECT_TRUE(Text(1542).starts_with("The ")) << Text(1542);
}

// Where a hint is shown, a caption's accelerator, blanks that keep a value apart, a list of
// extensions without a caption: these must not differ, whatever the words.
TEST(Texts, TwinsHaveTheSameForm) {
    for (const Pair& pair : Pairs()) {
        const bool filter = pair.english.find('|') != pair.english.npos;
        if (!filter) {
            EXPECT_EQ(pair.english.starts_with('.'), pair.french.starts_with('.')) << pair.number;
        }
        EXPECT_EQ(std::ranges::count(pair.english, '&'), std::ranges::count(pair.french, '&'))
            << pair.number;
        for (const char edge : {' ', '\n'}) {
            EXPECT_EQ(pair.english.starts_with(edge), pair.french.starts_with(edge)) << pair.number;
            EXPECT_EQ(pair.english.ends_with(edge), pair.french.ends_with(edge)) << pair.number;
        }
        if (pair.english.starts_with("*.") && !pair.english.ends_with(')')) {
            EXPECT_EQ(pair.english, pair.french);
        }
        EXPECT_LE(pair.french.size(), 256U) << pair.number;
    }
}

// French sets a blank before these signs; one that was forgotten, or two of them, show at once.
TEST(Texts, FrenchPunctuation) {
    for (const Pair& pair : Pairs()) {
        const std::string_view text = pair.french;
        for (std::size_t at = 1; at < text.size(); ++at) {
            const bool ends = at + 1 == text.size() || text[at + 1] == ' ' || text[at + 1] == '\n';
            if (ends && std::string_view("?!:").find(text[at]) != text.npos) {
                EXPECT_EQ(text[at - 1], ' ') << text;
            }
        }
        EXPECT_EQ(text.find("  "), text.npos) << text;
    }
}

char Accelerator(std::string_view caption) {
    for (std::size_t at = 0; at + 1 < caption.size(); ++at) {
        if (caption[at] != '&')
            continue;
        if (caption[at + 1] != '&')
            return caption[at + 1];
        ++at;
    }
    return '\0';
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
    for (const auto& menu : menus) {
        for (const Language language : {Language::English, Language::French}) {
            std::string letters;
            for (const int number : menu) {
                const std::string letter =
                    AsciiUpper(std::string(1, Accelerator(Text(number, language))));
                if (letter[0] == '\0')
                    continue;
                EXPECT_EQ(letters.find(letter), letters.npos) << Text(number, language);
                letters += letter;
            }
            EXPECT_FALSE(letters.empty()) << menu.front();
        }
    }
}

// A length prefix or a conversion that the formatter does not know would throw in front of a user.
TEST(Texts, EveryTextCanBeFormatted) {
    std::size_t withOperands = 0;
    for (int number = kFirst; number <= kLast + static_cast<int>(Language::French); ++number) {
        const std::string_view text = Text(number);
        std::vector<TextOperand> operands;
        for (const std::string& conversion : Conversions(text)) {
            EXPECT_NE(std::string("sdux").find(conversion.back()), std::string::npos) << text;
            if (conversion.back() == 's')
                operands.emplace_back("name");
            else
                operands.emplace_back(0x1'2345'6789);
            ++withOperands;
        }
        ASSERT_LE(operands.size(), 6U) << text;
        operands.resize(6, 0);
        std::string formatted;
        EXPECT_NO_THROW(formatted = FormatOperands(text, {operands[0], operands[1], operands[2],
                                                          operands[3], operands[4], operands[5]}))
            << text;
        EXPECT_EQ(formatted.find('%'), std::string::npos) << text;
    }
    EXPECT_EQ(withOperands, 2U * 93);
}

TEST(Texts, OperandsOfAnySize) {
    EXPECT_EQ(FormatText(1077, std::uint64_t{1} << 33, std::uint16_t{7}),
              "The resulting file will be greater\nthan a normal CD-ROM.\n"
              "(8589934592 + 7 > 650 MB)");
    EXPECT_EQ(FormatText(1201, "a", 7u), "a.007MB");
    EXPECT_EQ(FormatText(1215, -1, std::uint64_t{1} << 33), "Abs. Sect. -1, Length 8589934592");
    EXPECT_EQ(FormatText(3045, "a", "Data", 12, "b"), "a (Data, length: 12 bytes)[b]");
    EXPECT_EQ(FormatOperands("100 %% of %d l%s", {3, "L"}), "100 % of 3 lL");
    EXPECT_EQ(FormatText(1457, Language::French, 3, 4, 5, 6),
              "Inclusion terminée en  3'04\" pour 5 dossiers et 6 fichiers.");
}

}  // namespace
}  // namespace vellmark
