#include "containers/signatures.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace vellmark {
namespace {

constexpr std::string_view kTwoSections =
    "# English\r\n"
    "TXT,TEXTttxt,Text file\r\n"
    "GIF,GIFfogle,GIF picture\r\n"
    "#[1]\r\n"
    "# en fran\xE7"
    "ais\r\n"
    "TXT,TEXTMSWD,Fichier texte\r\n"
    "JPEG,JPEGogle,Image\r\n";

// "extension,signature,comment" of each entry, the generic row aside.
std::vector<std::string> Entries(std::string_view file, bool french = false) {
    const SignatureTable table = SignatureTable::Parse(file, french);
    std::vector<std::string> entries;
    for (const SignatureRow& row : table.rows().subspan(1))
        entries.push_back(row.extension + "|" + row.signature + "|" + row.comment);
    return entries;
}

std::string ExtensionOf(const SignatureTable& table, std::string_view signature) {
    const SignatureRow* row = table.RowOfSignature(signature);
    return row == nullptr ? "null" : row->extension;
}

using Strings = std::vector<std::string>;

// English runs on through the marker; French starts behind it.
TEST(SignatureTable, Sections) {
    EXPECT_EQ(Entries(kTwoSections),
              (Strings{"TXT|TEXTttxt|Text file", "GIF|GIFfogle|GIF picture",
                       "TXT|TEXTMSWD|Fichier texte", "JPEG|JPEGogle|Image"}));
    EXPECT_EQ(Entries(kTwoSections, true),
              (Strings{"TXT|TEXTMSWD|Fichier texte", "JPEG|JPEGogle|Image"}));
    EXPECT_EQ(Entries("A,TEXTttxt,x\r\n", true), Strings{"A|TEXTttxt|x"}) << "no marker";
    EXPECT_EQ(Entries("A,TEXTttxt,x\r\n# [1]\r\nB,TEXTttxt,x", true).size(), 2U) << "no marker";
    EXPECT_EQ(Entries("A,TEXTttxt,x\r\n#[1]", true), Strings{}) << "an empty section";
    EXPECT_EQ(Entries("#[1] Français\nB,TEXTttxt,x\n#[1]\nC,TEXTttxt,x\n", true).size(), 2U)
        << "the first marker counts";
}

struct LineCase {
    std::string_view line, entry;
};

TEST(SignatureTable, Lines) {
    const std::string sixtyFour(64, 'c');
    const std::string longComment = "TXT,TEXTttxt," + sixtyFour + "dd";
    const std::string cutComment = "TXT|TEXTttxt|" + sixtyFour;
    const LineCase cases[] = {
        {"TXT,TEXTttxt,Text file", "TXT|TEXTttxt|Text file"},
        {" \t TXT,TEXTttxt,x", "TXT|TEXTttxt|x"},
        {"JPEGS,JPEGogle,five letters", "JPEG|JPEGogle|five letters"},
        {"PDF,PDF CARO,a blank, and a comma", "PDF|PDF CARO|a blank, and a comma"},
        {"A,a,b,c,d,,comment", "A|a,b,c,d,|comment"},
        {",ABCDEFGH,comment", " |ABCDEFGH|comment"},
        {"ABCDEFGH", " |ABCDEFGH|"},
        {"ABCDEFGHIJ", " |ABCDEFGH|"},
        {"TXT,TEXT,Text file", "TXT|TEXT,Tex|"},
        {"TXT,TEXTttxt more,comment", "TXT|TEXTttxt|"},
        {"TXT,TEXTttxt", "TXT|TEXTttxt|"},
        {"TXT,TEXTttxt,", "TXT|TEXTttxt|"},
        {"TXT,", "TXT||"},
        {"   ", " ||"},
        {" #x", " |#x|"},
        {"TXT,TE\xCAT\xA5\xA5\xA5\xA5,\xE9t\xE9", "TXT|TE\xCAT\xA5\xA5\xA5\xA5|\xE9t\xE9"},
        {longComment, cutComment},
    };
    for (const LineCase& each : cases) {
        for (const std::string_view lineEnd : {"\r\n", "\n", ""}) {
            const std::string file = std::string(each.line) + std::string(lineEnd);
            EXPECT_EQ(Entries(file), Strings{std::string(each.entry)}) << file;
        }
    }
    for (const std::string_view none : {"", "\r\n", "\n\n", "\r\r\n", "#", "#TXT,TEXTttxt,x\r\n"})
        EXPECT_EQ(Entries(none), Strings{}) << none;
}

// Lines around the limit of 100 bytes: the line end never makes a line of its own.
TEST(SignatureTable, LongLinesGoOnAsTheNextLine) {
    const std::string next = "GIF,GIFfogle,x";
    for (std::size_t length = 90; length <= 110; ++length) {
        std::string line = "TXT,TEXTttxt,";
        line.resize(length, 'c');
        const Strings entries = Entries(line + "\r\n" + next + "\r\n");
        ASSERT_EQ(entries.size(), length <= 100 ? 2U : 3U) << length;
        EXPECT_EQ(entries.back(), "GIF|GIFfogle|x");
        if (length > 100) {
            EXPECT_EQ(entries[1],
                      " |" + std::string(std::min<std::size_t>(length - 100, 8), 'c') + "|")
                << length;
        }
    }
    const std::string hundred(100, '#');
    EXPECT_EQ(Entries(hundred + "TXT,TEXTttxt,x"), Strings{"TXT|TEXTttxt|x"})
        << "the rest of a comment is none";
    EXPECT_EQ(Entries("A,TEXTttxt\n" + hundred + "#[1]\nTXT,TEXTttxt,x", true),
              Strings{"TXT|TEXTttxt|x"});
}

TEST(SignatureTable, SignatureOfAName) {
    const SignatureTable table = SignatureTable::Parse(
        "TXT,TEXTttxt,x\r\nJPEG,JPEGogle,x\r\nhqx,TEXTSITx,x\r\nTXT,LATElate,x\r\n"
        ",ABCDEFGH,x\r\nCLAS,CLASClas,x\r\nEMP,\r\nSHO,snd \r\n",
        false);
    const std::vector<std::pair<std::string_view, std::string>> cases = {
        {"A.TXT", "TEXTttxt"},
        {"a.txt", "TEXTttxt"},
        {"a.b.Txt", "TEXTttxt"},
        {".txt", "TEXTttxt"},
        {"photo.jpeg", "JPEGogle"},
        {"x.HQX", "TEXTSITx"},
        {"x.class", "TEXT????"},
        {"x.clas", "CLASClas"},
        {"txt", "TEXT????"},
        {"", "TEXT????"},
        {".", "TEXT????"},
        {"a.", "TEXT????"},
        {"a.txt.", "TEXT????"},
        {"a.tx", "TEXT????"},
        {"a.txtx", "TEXT????"},
        {"a. ", "TEXT????"},
        {"a.___", "TEXT????"},
        {"a.emp", std::string(8, '\0')},
        {"a.sho", std::string("snd \0\0\0\0", 8)},
    };
    for (const auto& [name, signature] : cases)
        EXPECT_EQ(table.SignatureOf(name), signature) << name;
}

TEST(SignatureTable, RowOfASignature) {
    const SignatureTable table = SignatureTable::Parse(
        "TST,TESTaaaa,x\r\nTXT,TEXTttxt,x\r\nTEX,TEXTOTEX,x\r\nGIF,GIFfogle,x\r\nJ2,JPEGaaaa,x\r\n"
        "JPG,JPEGogle,x\r\n",
        false);
    const std::vector<std::pair<std::string_view, std::string>> cases = {
        {"TEXTOTEX", "TEX"},  // all eight before an earlier row of the same type
        {"JPEGogle", "JPG"},  {"JPEGzzzz", "J2"},
        {"TEXT????", "___"},  {"TEXTzzzz", "___"},  // the generic row is the first of that type
        {"TESTzzzz", "TST"},  {"GIzzzzzz", "GIF"},
        {"TEzzzzzz", "___"},  {"textttxt", "null"},
        {"Gzzzzzzz", "null"}, {"zzzzogle", "null"},
        {"", "null"},         {"G", "null"},
        {"GIF", "GIF"},  // two bytes are enough for the loose pass
    };
    for (const auto& [signature, extension] : cases)
        EXPECT_EQ(ExtensionOf(table, signature), extension) << signature;
    EXPECT_EQ(table.RowOfSignature("zzzzogle", true), table.rows().data());
    EXPECT_EQ(table.RowOfSignature("JPEGogle", true)->extension, "JPG");
}

// The file that comes with the program: both languages know the same extensions.
TEST(ShippedSignatures, TwinsAgree) {
    const auto path = std::filesystem::path(VELLMARK_SOURCE_FOLDER) / "data/default.sig";
    std::ifstream stream(path, std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(stream), {}};
    const SignatureTable english = SignatureTable::Parse(file, false);
    const SignatureTable french = SignatureTable::Parse(file, true);
    ASSERT_GE(english.rows().size(), 115U);
    ASSERT_EQ(english.rows().size(), french.rows().size());
    for (std::size_t row = 1; row < english.rows().size(); ++row) {
        const SignatureRow& entry = english.rows()[row];
        EXPECT_EQ(entry.extension, french.rows()[row].extension);
        EXPECT_EQ(entry.signature, french.rows()[row].signature);
        EXPECT_EQ(entry.signature.size(), 8U) << entry.extension;
        EXPECT_EQ(english.SignatureOf("name." + entry.extension), entry.signature);
    }
}

}  // namespace
}  // namespace vellmark
