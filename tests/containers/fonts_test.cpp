// Fonts in the forms of both systems, byte by byte.
#include <gtest/gtest.h>

#include "containers/codec_bench.hpp"
#include "containers/fonts/pfm_file.hpp"
#include "containers/fonts/true_type_font.hpp"
#include "containers/fonts/type1_font.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::operator+;

struct Post {
    int id;
    int type;
    std::string text;
};

// A fork of `POST` resources in that order.
Bytes ForkOf(const std::vector<Post>& posts) {
    Bytes data;
    Bytes list = BytesOf("POST") + Be(posts.size() - 1, 2) + Be(10, 2);
    for (const Post& post : posts) {
        list = list + Be(post.id, 2) + Be(0xFFFF, 2) + Be(data.size(), 4) + Bytes(4);
        data =
            data + Be(post.text.size() + 2, 4) + Be(post.type, 1) + Bytes(1) + BytesOf(post.text);
    }
    return Be(16, 4) + Be(16 + data.size(), 4) + Be(data.size(), 4) + Be(30 + list.size(), 4) +
           data + Bytes(28) + Be(0, 2) + list;
}

Result<std::optional<PiecedSource>> PfbOfBytes(MemoryBytes& fork) {
    return PfbOf(fork, WalkResourceMap(fork, 0));
}

Bytes PfbOfPosts(const std::vector<Post>& posts) {
    MemoryBytes fork(ForkOf(posts));
    auto pfb = PfbOfBytes(fork);
    return testing::Contents(pfb->value());
}

TEST(Type1FontTest, RunsOfResourcesBecomeSectionsUntilTheFontEnds) {
    const Bytes font =
        BytesOf(std::string_view("\x80\1\7\0\0\0%!abcde\x80\2\2\0\0\0XY"
                                 "\x80\1\1\0\0\0z\x80\3",
                                 30));
    EXPECT_EQ(PfbOfPosts({{501, 1, "%!abc"},
                          {502, 0, "a remark"},
                          {503, 1, "de"},
                          {504, 2, "XY"},
                          {505, 1, "z"},
                          {506, 5, ""},
                          {507, 1, "more"}}),
              font);
    // A map that was written from its end, and one without a last resource.
    EXPECT_EQ(PfbOfPosts({{505, 1, "z"}, {504, 2, "XY"}, {503, 1, "de"}, {501, 1, "%!abc"}}), font);
    // The order of the map where that begins a font.
    EXPECT_EQ(PfbOfPosts({{9, 1, "%!"}, {8, 1, "%!"}, {7, 1, "x"}}),
              BytesOf(std::string_view("\x80\1\5\0\0\0%!%!x\x80\3", 13)));
}

TEST(Type1FontTest, SectionsThatAreNotThereAreToldAndNeverRead) {
    const std::vector<Post> posts = {{501, 1, "%!abc"}, {502, 2, "XY"}};
    const auto said = [](const Bytes& bytes) {
        MemoryBytes fork(bytes);
        const auto pfb = PfbOfBytes(fork);
        return pfb ? Sentence::kNone : pfb.error().sentence();
    };
    EXPECT_EQ(said(ForkOf(posts)), Sentence::kNone);
    for (const std::uint8_t byte : {std::uint8_t{0xFF}, std::uint8_t{0x01}}) {
        Bytes huge = ForkOf(posts);
        huge[16] = byte;  // a section of up to 4 GB
        EXPECT_EQ(said(huge), Sentence::kFontCut);
    }
    EXPECT_EQ(said(ForkOf({{501, 1, "%!"}, {502, 4, "x"}})), Sentence::kFontSectionUnknown);
    Bytes cut = ForkOf(posts);
    cut.resize(60);
    EXPECT_EQ(said(cut), Sentence::kNone) << "nothing is listed";
    // All references lead to one resource of the size of the fork.
    Bytes shared = ForkOf(std::vector<Post>(100, {501, 1, "%!"}));
    for (std::size_t i = 0; i < 100; ++i)
        for (std::size_t byte = 0; byte < 4; ++byte)
            shared[16 + 800 + 38 + 12 * i + 4 + byte] = 0;
    shared[18] = 7;
    EXPECT_EQ(said(shared), Sentence::kFontCut);
}

constexpr std::string_view kText =
    "%!PS-AdobeFont-1.0: Test\r/FontName /Test-Bold def\r"
    "/Weight (Bold) readonly def\r/ItalicAngle -12.5 def\r"
    "/isFixedPitch false def\r/Encoding StandardEncoding def\r"
    "/FontBBox{-168 -281 1000 924.7}readonly def\r";

TEST(PfmFileTest, FieldsStandAtTheirOffsets) {
    const auto pfm = PfmOf(std::string(kText), "Test-Bold");
    ASSERT_TRUE(pfm);
    const auto word = [&](std::size_t at) { return (*pfm)[at] | (*pfm)[at + 1] << 8; };
    const std::map<std::size_t, int> words = {
        {0, 0x100}, {2, 678},   {4, 0},       {66, 129},  {68, 10},    {70, 300},  {72, 300},
        {74, 924},  {76, 205},  {78, 0},      {83, 700},  {86, 0},     {88, 1000}, {91, 500},
        {93, 1000}, {99, 0},    {101, 199},   {105, 210}, {117, 30},   {119, 147}, {123, 230},
        {139, 220}, {143, 0},   {147, 52},    {149, 240}, {153, 1000}, {161, 680}, {163, 470},
        {165, 708}, {167, 216}, {169, 65036}, {171, 250}, {177, 100},  {185, 25},  {187, 25},
        {189, 405}, {191, 50},  {230, 225},   {232, 240}, {294, 794},  {676, 468}};
    for (const auto& [at, value] : words)
        EXPECT_EQ(word(at), value) << at;
    for (const auto& [at, value] :
         std::map<std::size_t, int>{{80, 0xF4}, {90, 0x21}, {95, 32}, {96, 255}, {97, 117}})
        EXPECT_EQ((*pfm)[at], value) << at;
    EXPECT_EQ(Bytes(pfm->begin() + 199, pfm->begin() + 230),
              BytesOf(std::string_view("PostScript\0Test-Bold\0Test-Bold\0", 31)));
    EXPECT_EQ(pfm->size(), 678U);
    EXPECT_NE((*pfm)[6], 0);
    EXPECT_EQ((*pfm)[65], 0);
}

TEST(PfmFileTest, EncodingsAndPitchDecideTheWidths) {
    const auto with = [](std::string text, std::string_view old, std::string_view now) {
        return text.replace(text.find(old), old.size(), now);
    };
    const std::string text(kText);
    const auto listed = PfmOf(with(text, "StandardEncoding def",
                                   "256 array\r0 1 255 {1 index exch /.notdef put} for\r"
                                   "dup 65 /A put\rdup 70 /F put\rreadonly def\rdup 99 /c put"),
                              "N");
    ASSERT_TRUE(listed);
    EXPECT_EQ(listed->size(), 210U + 4 + 2 * 5);
    const auto fixed = PfmOf(with(text, "Pitch false", "Pitch true"), "N");
    ASSERT_TRUE(fixed);
    EXPECT_EQ(Bytes(fixed->begin() + 214, fixed->begin() + 222),
              (Bytes{0x58, 2, 0, 0, 0x58, 2, 0, 0}));
    EXPECT_EQ((*PfmOf(with(text, "(Bold)", "(Regular)"), "N"))[83], 400 & 0xFF);
    EXPECT_FALSE(PfmOf(with(text, "Standard", "ISOLatin1"), "N"));
    EXPECT_FALSE(PfmOf(with(text, "/FontBBox", "/Other"), "N"));
    EXPECT_FALSE(PfmOf(with(text, "1000 924.7", "99999999999999999999"), "N"));
}

Bytes NameRecord(int platform, int encoding, int language, int name, int length, int offset) {
    return Be(platform, 2) + Be(encoding, 2) + Be(language, 2) + Be(name, 2) + Be(length, 2) +
           Be(offset, 2);
}
std::string NameIn(const Bytes& names, std::uint32_t offset = 28) {
    MemoryBytes font(Be(0x10000, 4) + Be(1, 2) + Bytes(6) + BytesOf("name") + Bytes(4) +
                     Be(offset, 4) + Be(names.size(), 4) + names);
    return FontNameOfTrueType(font);
}

TEST(TrueTypeFontTest, TheNameIsThatOfPostScript) {
    const Bytes texts = BytesOf(std::string_view("OneTwo\0W\0i\0n", 12));
    const auto names = [&](const Bytes& first, const Bytes& second) {
        return Be(0, 2) + Be(2, 2) + Be(30, 2) + first + second + texts;
    };
    const Bytes mac = NameRecord(1, 0, 0, 6, 3, 3);
    const Bytes windows = NameRecord(3, 1, 0x409, 6, 6, 6);
    EXPECT_EQ(NameIn(names(NameRecord(1, 0, 0, 4, 3, 0), mac)), "Two");
    EXPECT_EQ(NameIn(names(NameRecord(3, 1, 0x40C, 6, 6, 6), windows)), "Win");
    EXPECT_EQ(NameIn(names(windows, mac)), "Win");
    EXPECT_EQ(NameIn(names(NameRecord(1, 0, 0, 6, 3, 900), mac)), "Two");
    // Lengths and offsets that lie give no name.
    EXPECT_EQ(NameIn(names(NameRecord(1, 0, 0, 6, 900, 60000), Bytes(12))), "");
    EXPECT_EQ(NameIn(names(mac, windows), 0xFFFFFFFF), "");
    EXPECT_EQ(NameIn(Be(0, 2) + Be(0xFFFF, 2) + Be(0xFFFF, 2)), "");
}

}  // namespace
}  // namespace vellmark
