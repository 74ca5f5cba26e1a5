#include "support/texts.hpp"

#include <fmt/args.h>
#include <gtest/gtest.h>

#include <climits>
#include <set>

namespace vellmark {
namespace {

constexpr int kFirst = 1000;
constexpr int kLast = 6048;

// A row that was lost, or that the search by halves misses, changes the number.
TEST(Texts, TableIsComplete) {
    int rows = 0;
    for (int number = kFirst; number <= kLast; ++number)
        rows += Text(number).empty() ? 0 : 1;
    EXPECT_EQ(rows, 1005);
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

TEST(Texts, FrenchFallsBackToEnglish) {
    EXPECT_EQ(Text(1000, Language::French), "&Fermer");
    EXPECT_EQ(Text(1001, Language::French), "&OK");
    EXPECT_EQ(Text(1002, Language::French), "&Annuler");
    EXPECT_EQ(Text(11002), "&Annuler");
    EXPECT_EQ(Text(1062, Language::French), Text(1062));
    EXPECT_EQ(Text(11062), Text(1062));
}

// The conversions of a text in order, the letter of each.
std::string Conversions(std::string_view text) {
    std::string letters;
    for (std::size_t at = text.find('%'); at != text.npos; at = text.find('%', at + 1)) {
        at = text.find_first_not_of("0123456789", at + 1);
        letters += at == text.npos ? '?' : text[at];
    }
    return letters;
}

// A length prefix or a conversion that the formatter does not know would throw in front of a user.
TEST(Texts, EveryTextCanBeFormatted) {
    using Store = fmt::dynamic_format_arg_store<fmt::printf_context>;
    std::set<std::string> seen;
    for (int number = kFirst; number <= kLast; ++number) {
        const std::string_view text = Text(number);
        const std::string letters = Conversions(text);
        Store operands;
        for (char letter : letters) {
            EXPECT_NE(std::string("sdux").find(letter), std::string::npos) << text;
            if (letter == 's')
                operands.push_back("name");
            else
                operands.push_back(0x1'2345'6789);
        }
        std::string formatted;
        EXPECT_NO_THROW(formatted = fmt::vsprintf(text, operands)) << text;
        EXPECT_EQ(formatted.find('%'), std::string::npos) << text;
        seen.insert(letters);
    }
    EXPECT_TRUE(seen.contains("ss") && seen.contains("dd"));
}

TEST(Texts, OperandsOfAnySize) {
    EXPECT_EQ(FormatText(1077, std::uint64_t{1} << 33, std::uint16_t{7}),
              "The resulting file will be greater\nthan a normal CD-ROM.\n"
              "(8589934592 + 7 > 650 MB)");
    EXPECT_EQ(FormatText(1201, "a", 7u), "a.007MB");
    EXPECT_EQ(FormatText(1457, 3, 4, 5, 6),
              "Inclusion completed in  3'04\" for 5 folders and 6 files.");
    EXPECT_EQ(FormatText(1015, Language::French, 12), "Files: 12");
}

}  // namespace
}  // namespace vellmark
