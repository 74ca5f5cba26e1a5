// A .sig file that is edited: what is not changed keeps its bytes.
#include "containers/signature_text.hpp"

#include <gtest/gtest.h>

#include "support/encoding.hpp"

namespace vellmark {
namespace {

std::string Entries(const SignatureText& text) {
    std::string entries;
    for (std::size_t i = 0; i < text.count(); ++i)
        entries += SignatureLine(text.entry(i)) + ";";
    return entries;
}

struct Edited {
    std::string file;
    bool french;
    std::string entries;  ///< as they are read
    std::string changed;  ///< the file with its first entry replaced, an X behind the last one, the
                          ///< second one taken out
};

const std::string kLong(200, 'c');

// A comment belongs to its place: the first ones to the head, the last ones behind what is added.
TEST(SignatureText, KeepsWhatIsNotEdited) {
    const Edited cases[] = {
        {"", false, "", "X,XXXXxxxx,x\r\n"},
        {"# a\n\n", true, "", "# a\n\nX,XXXXxxxx,x\n"},
        {"A,AAAAaaaa,a", false, "A,AAAAaaaa,a;", "R,RRRRrrrr,r\r\nX,XXXXxxxx,x\r\n"},
        {"# h\r\n A,AAAAaaaa,\xE9 \r\n# b\n\nBBBBB,BBBBbb\r\r\n#[2\r\n", false,
         "A,AAAAaaaa,\xE9 ;BBBB,BBBBbb  ,;",
         "# h\r\nR,RRRRrrrr,r\r\n# b\n\nX,XXXXxxxx,x\r\n#[2\r\n"},
        {"A,AAAAaaaa,a\r\n#[1x\r\nB,BBBBbbbb,b", false, "A,AAAAaaaa,a;",
         "R,RRRRrrrr,r\r\nX,XXXXxxxx,x\r\n#[1x\r\nB,BBBBbbbb,b"},
        {"A,AAAAaaaa,a\n#[1x\n#[1]\n# f\nB,BBBBbbbb,b\n#[1]\nC,CCCCcccc,c\nd", true,
         "B,BBBBbbbb,b;C,CCCCcccc,c;,d       ,;",
         "A,AAAAaaaa,a\n#[1x\n#[1]\n# f\nR,RRRRrrrr,r\n#[1]\nd\nX,XXXXxxxx,x\n"},
        {"A,AAAAaaaa,a\n", true, "A,AAAAaaaa,a;", "R,RRRRrrrr,r\nX,XXXXxxxx,x\n"},
        {"#" + kLong + "A,b\nA,AAAAaaaazz," + kLong + "\nB,BBBBbbbb,b\n#" + kLong, false,
         "A,AAAAaaaa," + kLong + ";B,BBBBbbbb,b;",
         "#" + kLong + "A,b\nR,RRRRrrrr,r\nX,XXXXxxxx,x\n#" + kLong},
    };
    for (const Edited& each : cases) {
        SCOPED_TRACE(each.file);
        for (const bool french : {false, true})
            EXPECT_EQ(SignatureText::Parse(each.file, french).bytes(), each.file);
        SignatureText text = SignatureText::Parse(each.file, each.french);
        EXPECT_EQ(Entries(text), each.entries);
        if (text.count() > 0)
            text.replace(0, {"R", "RRRR", "rrrr", "r"});
        text.insert(text.count(), {"X", "XXXX", "xxxx", "x"});
        if (text.count() > 2)
            text.remove(1);
        EXPECT_EQ(text.bytes(), each.changed);
    }
}

TEST(SignatureText, MovesAndSortsEntriesAlone) {
    SignatureText text = SignatureText::Parse("B,AAAA    \nb,BBBB    \n# c\nA,CCCC    ", false);
    using Places = std::vector<std::size_t>;
    EXPECT_EQ(text.move({1, 2}, true), (Places{0, 1}));
    EXPECT_EQ(text.move({0, 1}, true), (Places{0, 1}));
    EXPECT_EQ(text.bytes(), "b,BBBB    \nA,CCCC    \n# c\nB,AAAA    \n");
    EXPECT_EQ(text.move({0, 2}, false), (Places{0, 2}));
    EXPECT_EQ(text.move({0, 1}, false), (Places{1, 2}));
    text.sort(SignatureText::kExtension);
    EXPECT_EQ(text.bytes(), "A,CCCC    \nB,AAAA    \n# c\nb,BBBB    \n");
    text.sort(-SignatureText::kType);
    EXPECT_EQ(text.bytes(), "A,CCCC    \nb,BBBB    \n# c\nB,AAAA    \n");
}

TEST(SignatureText, EntriesAsTheyAreTyped) {
    const SignatureEntry old{"A,#\xE9", "RTF ", ",com", std::string(80, 'c')};
    const auto typed = [&old](std::string extension, std::string type, std::string comment) {
        const auto entry = TypedSignatureEntry(
            {std::move(extension), std::move(type), old.creator, std::move(comment)}, old);
        return entry ? SignatureLine(*entry) : "";
    };
    const std::string extension = NarrowToUtf8(old.extension);
    EXPECT_EQ(typed(extension, old.type, old.comment), "A,#\xE9,RTF ,com," + old.comment);
    EXPECT_EQ(typed(" é€ ", "ÿ", "ü"), "\xE9\x80,\xFF   ,com,\xFC");
    EXPECT_EQ(typed("", old.type, std::string(64, 'd')), ",RTF ,com," + std::string(64, 'd'));
    for (const std::string wrong : {"a.b", "a,b", "#a", "abcde", "ł", "a\n"})
        EXPECT_EQ(typed(wrong, old.type, old.comment), "") << wrong;
    for (const std::string wrong : {"", "  ", "ABCDE", "Ω"})
        EXPECT_EQ(typed(extension, wrong, old.comment), "") << wrong;
    EXPECT_EQ(typed(extension, old.type, std::string(65, 'd')), "");
}

}  // namespace
}  // namespace vellmark
