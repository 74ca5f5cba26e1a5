#include "support/texts.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <ranges>
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
        for (int number = kFirst; number <= kLast; ++number)
            rows += Text(number, language).empty() ? 0 : 1;
        EXPECT_EQ(rows, 1005);
    }
}

TEST(Texts, KnownRows) {
    EXPECT_EQ(Text(1000), "&Close");
    EXPECT_EQ(Text(1062), "The file\n%s\nis not recognized as a project file\nby Vellmark.");
    EXPECT_EQ(Text(1063),
              "The file\n%s\nis not a correct project file\nfor current version of Vellmark.\n"
              "You should rebuild it from scratch.");
    EXPECT_EQ(Text(1332), "This file doesn't contain a valid HFS partition.");
    EXPECT_EQ(Text(1386), "The file %s\nis not managed by Vellmark.");
    EXPECT_EQ(Text(1409), "Null length file.\nAborting.");
    EXPECT_EQ(Text(1471), "Opening file %s. Please wait.");
    EXPECT_EQ(Text(1502), "Image %s is compressed. Do you want to uncompress it?");
    EXPECT_EQ(Text(2329), "Display the context-sensitive help about this window");
    EXPECT_EQ(Text(3331), "Répertoire ISO 9660");
    EXPECT_EQ(Text(3347), "Thread %08x");
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
    EXPECT_EQ(Text(1001, Language::French), "&OK");
    EXPECT_EQ(Text(1002, Language::French), "&Annuler");
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

// A text that one language lacks would leave a user before an empty window.
TEST(Texts, EachTextHasItsTwin) {
    for (int number = 0; number < static_cast<int>(Language::French); ++number)
        EXPECT_EQ(Text(number).empty(), Text(number, Language::French).empty()) << number;
}

// An operand that changes its place or kind would print a size as a name.
TEST(Texts, TwinsTakeTheSameOperands) {
    for (const Pair& pair : Pairs())
        EXPECT_EQ(Conversions(pair.english), Conversions(pair.french)) << pair.number;
}

// The patterns of a filter are every second field: a lost or translated one hides the files.
TEST(Texts, TwinsFilterTheSameFiles) {
    const auto patterns = [](std::string_view filter) {
        std::vector<std::string_view> found;
        std::size_t field = 0;
        for (const auto part : std::views::split(filter, '|'))
            if (field++ % 2 == 1)
                found.emplace_back(part.begin(), part.end());
        return found;
    };
    std::size_t filters = 0;
    for (const Pair& pair : Pairs()) {
        EXPECT_EQ(std::ranges::count(pair.english, '|'), std::ranges::count(pair.french, '|'))
            << pair.number;
        EXPECT_EQ(patterns(pair.english), patterns(pair.french)) << pair.number;
        filters += patterns(pair.english).empty() ? 0U : 1U;
    }
    EXPECT_EQ(filters, 12U);
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
    EXPECT_EQ(FormatText(1457, 3, 4, 5, 6),
              "Inclusion completed in  3'04\" for 5 folders and 6 files.");
    EXPECT_EQ(FormatText(1015, Language::French, 12), "Fichiers : 12");
    EXPECT_EQ(FormatText(1457, Language::French, 3, 4, 5, 6),
              "Inclusion terminée en  3'04\" pour 5 dossiers et 6 fichiers.");
}

}  // namespace
}  // namespace vellmark
