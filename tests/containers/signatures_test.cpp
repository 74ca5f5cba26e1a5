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

// English runs on through the marker; French starts behind it.
TEST(SignatureTable, Sections) {
    const std::string file =
        "# English\r\nTXT,TEXTttxt,a\r\n#[1]\r\n# in \xE9t\xE9\r\nJ,JPEGogle,b\r\n";
    EXPECT_EQ(Entries(file), (Strings{"TXT|TEXTttxt|a", "J|JPEGogle|b"}));
    for (const auto& [text, french] :
         {std::pair{file, Strings{"J|JPEGogle|b"}},
          {"A,TEXTttxt,x\r\n", {"A|TEXTttxt|x"}},  // no marker
          {"A,TEXTttxt,x\r\n# [1]\r\n", {"A|TEXTttxt|x"}},
          {"A,TEXTttxt,x\r\n#[1]", {}},
          // The first marker counts.
          {"#[1] X\nB,TEXTttxt,x\n#[1]\nC,TEXTttxt,x\n", {"B|TEXTttxt|x", "C|TEXTttxt|x"}}})
        EXPECT_EQ(Entries(text, true), french) << text;
}

TEST(SignatureTable, Lines) {
    const std::string cut = "TXT,TEXTttxt," + std::string(64, 'c');
    const std::pair<std::string, std::string> cases[] = {
        {"TXT,TEXTttxt,Text file", "TXT|TEXTttxt|Text file"},
        {" \t TXT,TEXTttxt,x", "TXT|TEXTttxt|x"},
        {"JPEGS,JPEGogle,five letters", "JPEG|JPEGogle|five letters"},
        {"PDF,PDF CARO,a blank, and a comma", "PDF|PDF CARO|a blank, and a comma"},
        {"A,a,b,c,d,,comment", "A|a,b,c,d,|comment"},
        {",ABCDEFGH,comment", " |ABCDEFGH|comment"},
        {"ABCDEFGHIJ", " |ABCDEFGH|"},
        {"TXT,TEXT,Text file", "TXT|TEXT,Tex|"},
        {"TXT,TEXTttxt more,comment", "TXT|TEXTttxt|"},
        {"TXT,TEXTttxt", "TXT|TEXTttxt|"},
        {"TXT,", "TXT||"},
        {"   ", " ||"},
        {" #x", " |#x|"},
        {"TXT,TE\xCAT\xA5\xA5\xA5\xA5,\xE9t\xE9", "TXT|TE\xCAT\xA5\xA5\xA5\xA5|\xE9t\xE9"},
        {cut + "dd", "TXT|TEXTttxt|" + cut.substr(13)},
        // The rest of a comment of 100 bytes is none.
        {std::string(100, '#') + "TXT,TEXTttxt,x", "TXT|TEXTttxt|x"},
    };
    for (const auto& [line, entry] : cases)
        for (const char* lineEnd : {"\r\n", "\n", ""})
            EXPECT_EQ(Entries(line + lineEnd), Strings{entry}) << line;
    for (const std::string_view none : {"", "\r\n", "\n\n", "\r\r\n", "#", "#TXT,TEXTttxt,x\r\n"})
        EXPECT_EQ(Entries(none), Strings{}) << none;
    // Lines around the limit of 100 bytes: the line end never makes a line of its own.
    for (const std::size_t length : {99u, 100u, 101u, 102u, 108u}) {
        const std::string line = cut + std::string(length - cut.size(), 'c');
        const Strings entries = Entries(line + "\r\nGIF,GIFfogle,x\r\n");
        EXPECT_EQ(entries.size(), length <= 100 ? 2U : 3U) << length;
        EXPECT_EQ(entries.back(), "GIF|GIFfogle|x");
    }
}

TEST(SignatureTable, SignaturesOfNamesAndRowsOfSignatures) {
    const SignatureTable table = SignatureTable::Parse(
        "TST,TESTaaaa,x\r\nTXT,TEXTttxt,x\r\nJ2,JPEGaaaa,x\r\nJPEG,JPEGogle,x\r\nhqx,TEXTSITx,x\r\n"
        "TXT,LATElate,x\r\n,ABCDEFGH,x\r\nCLAS,CLASClas,x\r\nEMP,\r\nSHO,snd \r\n",
        false);
    const std::pair<std::string_view, std::string> names[] = {
        {"a.b.Txt", "TEXTttxt"},
        {".txt", "TEXTttxt"},
        {"x.HQX", "TEXTSITx"},
        {"x.class", "TEXT????"},
        {"x.clas", "CLASClas"},
        {"txt", "TEXT????"},
        {"", "TEXT????"},
        {"a.", "TEXT????"},
        {"a.txt.", "TEXT????"},
        {"a.tx", "TEXT????"},
        {"a.txtx", "TEXT????"},
        {"a. ", "TEXT????"},
        {"a.___", "TEXT????"},
        {"a.emp", std::string(8, '\0')},
        {"a.sho", std::string("snd \0\0\0\0", 8)},
    };
    for (const auto& [name, signature] : names)
        EXPECT_EQ(table.SignatureOf(name), signature) << name;
    const std::pair<std::string_view, std::string> signatures[] = {
        {"TEXTSITx", "hqx"},  // all eight before an earlier row of the same type
        {"JPEGogle", "JPEG"},
        {"JPEGzzzz", "J2"},
        {"TEXTzzzz", "___"},  // the generic row is the
                              // first of that type
        {"TESTzzzz", "TST"},
        {"JPzzzzzz", "J2"},  // two bytes are enough for the loose pass
        {"TEzzzzzz", "___"},
        {"textttxt", "null"},
        {"Jzzzzzzz", "null"},
        {"zzzzogle", "null"},
        {"", "null"},
        {"J", "null"},
        {"JPEG", "J2"},
    };
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
