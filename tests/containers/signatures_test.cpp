#include "containers/signatures.hpp"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace vellmark {
namespace {

using Strings = std::vector<std::string>;

// "extension|signature|comment" of each entry, the generic row aside.
Strings Entries(std::string_view file, bool french = false) {
    const SignatureTable table = SignatureTable::Parse(file, french);
    Strings entries;
    for (const SignatureRow& row : table.rows().subspan(1))
        entries.push_back(row.extension + "|" + row.signature + "|" + row.comment);
    return entries;
}

// English runs on through the marker; French starts behind the first one.
TEST(SignatureTable, Sections) {
    const std::string file =
        "# English\r\nTXT,TEXTttxt,a\r\n#[1]\r\n# in \xE9t\xE9\r\nJ,JPEGogle,b\r\n";
    EXPECT_EQ(Entries(file), (Strings{"TXT|TEXTttxt|a", "J|JPEGogle|b"}));
    for (const auto& [text, french] : {std::pair{file, Strings{"J|JPEGogle|b"}},
                                       {"A,TEXTttxt,x\r\n# [1]\r\n", {"A|TEXTttxt|x"}},
                                       {"#[1] X\nB,b,x\n#[1]\n", {"B|b,x|"}}})
        EXPECT_EQ(Entries(text, true), french) << text;
}

TEST(SignatureTable, Lines) {
    const std::string cut = "TXT,TEXTttxt," + std::string(64, 'c');
    const std::pair<std::string, std::string> cases[] = {
        {" \t TXT,TEXTttxt,x", "TXT|TEXTttxt|x"},
        {"JPEGS,JPEGogle,five letters", "JPEG|JPEGogle|five letters"},
        {"PDF,PDF CARO,a blank, and a comma", "PDF|PDF CARO|a blank, and a comma"},
        {"TXT,TEXT,Text file", "TXT|TEXT,Tex|"},
        {"TXT,", "TXT||"},
        {" #x", " |#x|"},
        {"TXT,TE\xCAT\xA5\xA5\xA5\xA5,\xE9t\xE9", "TXT|TE\xCAT\xA5\xA5\xA5\xA5|\xE9t\xE9"},
        {cut + "dd", "TXT|TEXTttxt|" + cut.substr(13)},
        {std::string(100, '#') + "TXT,TEXTttxt,x", "TXT|TEXTttxt|x"},  // a line is cut at 100
    };
    for (const auto& [line, entry] : cases)
        for (const char* lineEnd : {"\r\n", "\n", ""})
            EXPECT_EQ(Entries(line + lineEnd), Strings{entry}) << line;
    for (const std::string_view none : {"", "\r\n", "\n\n", "\r\r\n", "#", "#TXT,TEXTttxt,x\r\n"})
        EXPECT_EQ(Entries(none), Strings{}) << none;
}

TEST(SignatureTable, SignaturesOfNamesAndRowsOfSignatures) {
    const SignatureTable table = SignatureTable::Parse(
        "TST,TESTaaaa,x\r\nTXT,TEXTttxt,x\r\nJ2,JPEGaaaa,x\r\nJPEG,JPEGogle,x\r\nhqx,TEXTSITx,x\r\n"
        "TXT,LATElate,x\r\n,ABCDEFGH,x\r\nEMP,\r\nSHO,snd \r\n",
        false);
    const std::pair<std::string_view, std::string> names[] = {
        {"a.b.Txt", "TEXTttxt"},
        {"x.HQX", "TEXTSITx"},
        {"x.jpegs", "TEXT????"},
        {"txt", "TEXT????"},
        {"a.", "TEXT????"},
        {"a.tx", "TEXT????"},
        {"a. ", "TEXT????"},
        {"a.emp", std::string(8, '\0')},
        {"a.sho", std::string("snd \0\0\0\0", 8)}};
    for (const auto& [name, signature] : names)
        EXPECT_EQ(table.SignatureOf(name), signature) << name;
    const std::pair<std::string_view, std::string> signatures[] = {
        {"TEXTSITx", "hqx"},  // all eight before an earlier row of the same type
        {"JPEGzzzz", "J2"},   {"TEXTzzzz", "___"},  // the generic row is the first of that type
        {"JPzzzzzz", "J2"},                         // two bytes are enough for the loose pass
        {"textttxt", "null"}, {"zzzzogle", "null"}, {"J", "null"}};
    for (const auto& [signature, extension] : signatures) {
        const SignatureRow* row = table.RowOfSignature(signature);
        EXPECT_EQ(row == nullptr ? "null" : row->extension, extension) << signature;
    }
    EXPECT_EQ(table.RowOfSignature("zzzzogle", true), table.rows().data());
}

// The file that comes with the program: both languages know the same extensions.
TEST(ShippedSignatures, TwinsAgree) {
    std::ifstream stream(VELLMARK_SOURCE_FOLDER "/data/default.sig", std::ios::binary);
    const std::string file{std::istreambuf_iterator<char>(stream), {}};
    const SignatureTable english = SignatureTable::Parse(file, false);
    const SignatureTable french = SignatureTable::Parse(file, true);
    ASSERT_GE(english.rows().size(), 115U);
    ASSERT_EQ(english.rows().size(), french.rows().size());
    for (const SignatureRow& row : english.rows().subspan(1)) {
        EXPECT_EQ(french.SignatureOf("name." + row.extension), row.signature) << row.extension;
        EXPECT_EQ(row.signature.size(), 8U) << row.extension;
    }
}

}  // namespace
}  // namespace vellmark
