#include "containers/bin_hex.hpp"

#include <gtest/gtest.h>

#include "containers/bin_hex_reader.hpp"
#include "containers/codec_bench.hpp"
#include "containers/crc16.hpp"
#include "containers/mac_binary.hpp"

namespace vellmark {
namespace {

using testing::Append;
using testing::BinHexOf;
using testing::BinHexRuns;
using testing::BinHexSections;
using testing::BinHexText;
using testing::Bytes;
using testing::BytesOf;
using testing::MacFile;
using testing::Pattern;

/// Decodes and reads the MacBinary file that comes out.
struct Decoded {
    explicit Decoded(const Bytes& text) {
        MemoryBytes source(text);
        outcome = DecodeBinHex(source, target);
        container = ReadMacBinary(target);
        data = testing::Contents(container.data);
        resource = testing::Contents(container.resource);
    }
    MemoryBytes target;
    BinHexOutcome outcome;
    MacContainer container;
    Bytes data;
    Bytes resource;
};

MacFile SmallFile() {
    return {"Text File", "TEXTR*ch", 0x0140, Pattern(700), Pattern(301, 5)};
}

TEST(BinHex, ChecksumIsThatOfTheRegister) {
    for (std::size_t size : {0u, 1u, 2u, 3u, 1000u})
        EXPECT_EQ(Crc16(Pattern(size)), testing::RegisterCrc(Pattern(size))) << size;
    EXPECT_EQ(Crc16(BytesOf("123456789")), 0x31C3);  // published check value
    EXPECT_EQ(Crc16(BytesOf("6789"), Crc16(BytesOf("12345"))), 0x31C3);
}

TEST(BinHex, RecognitionLooksAtTheFirst128Bytes) {
    const std::string text = "This file must be converted with BinHex 4.0";
    for (const auto& [bytes, expected] : {std::pair{"(" + text + ")\r\n:", true},
                                          {std::string(128 - text.size(), 'x') + text, true},
                                          {std::string(129 - text.size(), 'x') + text, false},
                                          {std::string("a\0b", 3) + text, false},
                                          {text.substr(0, text.size() - 1), false}}) {
        MemoryBytes file(BytesOf(bytes));
        EXPECT_EQ(IsBinHexFile(file), expected) << bytes;
    }
}

// A line end taken for a character, a group of four lost at the end of a piece, a colon of a mail
// header taken for the start.
TEST(BinHex, TextOfEveryShapeDecodesTheSame) {
    const MacFile file = {"Long", "TEXTR*ch", 0, Pattern(100'000), Pattern(70'001, 5)};
    std::vector<Bytes> texts;
    for (const char* lineEnd : {"\n", "\r", "\r\n", ""})
        texts.push_back(BinHexOf(file, lineEnd));
    texts.push_back(BytesOf("Subject: a file\n\n"));
    Append(texts.back(), BinHexOf(file));
    texts.push_back(BinHexOf(file));
    Append(texts.back(), BytesOf("--\nwith kind regards, A. Nonymous\n"));
    texts.push_back(BinHexOf(file));
    for (std::size_t i = 1000; i < texts.back().size(); i += 997)
        texts.back().insert(texts.back().begin() + static_cast<std::ptrdiff_t>(i),
                            {' ', '\t', '\r', '\n'});
    for (std::size_t i = 0; i < texts.size(); ++i) {
        const Decoded decoded(texts[i]);
        EXPECT_EQ(decoded.outcome.fault, ContainerFault::None) << i;
        EXPECT_TRUE(decoded.data == file.data) << i;
        EXPECT_TRUE(decoded.resource == file.resource) << i;
    }
}

// What the runs stand for, with the last of several markers in a row told both ways.
TEST(BinHex, RunsByBothRules) {
    struct Case {
        Bytes coded;
        Bytes marker;
        Bytes runsByte;
    };
    const Case cases[] = {
        {{'X', 0x90, 4, 'Y'}, {'X', 'X', 'X', 'X', 'Y'}, {'X', 'X', 'X', 'X', 'Y'}},
        {{'X', 0x90, 1, 'Y'}, {'X', 'Y'}, {'X', 'Y'}},
        {{'X', 0x90, 0, 'Y'}, {'X', 0x90, 'Y'}, {'X', 0x90, 'Y'}},
        {{0x90, 0, 0x90, 3}, {0x90, 0x90, 0x90}, {0x90, 0x90, 0x90}},
        {{'X', 0x90, 5, 0x90, 3},
         {'X', 'X', 'X', 'X', 'X', 0x90, 0x90},
         {'X', 'X', 'X', 'X', 'X', 'X', 'X'}},
        {{'X', 0x90, 1, 0x90, 2}, {'X', 0x90}, {'X', 'X'}},
        {{'X', 0x90, 2, 0x90, 2, 0x90, 2}, {'X', 'X', 0x90, 0x90}, {'X', 'X', 'X', 'X'}},
        {{'X', 0x90, 1, 0x90, 1, 0x90, 2}, {'X', 0x90}, {'X', 'X'}},
        {{'X', 0x90, 2, 0x90, 1}, {'X', 'X'}, {'X', 'X'}},
        {{'X', 0x90}, {'X'}, {'X'}},
    };
    for (const Case& c : cases) {
        MemoryBytes text(BytesOf(BinHexText(c.coded)));
        for (const BinHexRunRule rule : {BinHexRunRule::Marker, BinHexRunRule::RunsByte}) {
            BinHexReader reader(text, 0, rule);
            Bytes got(100);
            got.resize(reader.read(got));
            EXPECT_EQ(got, rule == BinHexRunRule::Marker ? c.marker : c.runsByte);
            EXPECT_EQ(reader.rulesDiffer(), c.marker != c.runsByte);
        }
    }
}

/// The coded bytes with every run of `count` of 'z' as two runs in a row.
Bytes WithTwinRuns(Bytes coded, std::uint8_t count) {
    for (std::size_t i = 0; i + 2 < coded.size(); ++i) {
        if (coded[i] != 'z' || coded[i + 1] != 0x90 || coded[i + 2] != count)
            continue;
        const Bytes second = {0x90, static_cast<std::uint8_t>(count - 9)};
        coded[i + 2] = 10;  // 10 in all, then count - 10 more
        coded.insert(coded.begin() + static_cast<std::ptrdiff_t>(i + 3), second.begin(),
                     second.end());
    }
    return coded;
}

// The checksums decide what a run behind a run repeats, in the header as in the forks.
TEST(BinHex, ChecksumsChooseTheRule) {
    MacFile published = SmallFile();
    published.resource.insert(published.resource.end(), 40, 'z');
    published.resource.push_back('.');
    MacFile told = published;
    for (std::size_t i = 301 + 10; i < 301 + 40; ++i)
        told.resource[i] = 0x90;
    // One coded form stands for both, apart from the checksum at its end.
    const Bytes coded = WithTwinRuns(BinHexRuns(BinHexSections(published)), 40);
    ASSERT_NE(coded, BinHexRuns(BinHexSections(published)));
    const Decoded first(BytesOf(BinHexText(coded)));
    EXPECT_EQ(first.outcome.fault, ContainerFault::None);
    EXPECT_EQ(first.resource, published.resource);

    Bytes toldCoded = coded;
    toldCoded.resize(coded.size() - BinHexRuns(testing::Be(Crc16(published.resource), 2)).size());
    Append(toldCoded, BinHexRuns(testing::Be(Crc16(told.resource), 2)));
    const Decoded second(BytesOf(BinHexText(toldCoded)));
    EXPECT_EQ(second.outcome.fault, ContainerFault::None);
    EXPECT_EQ(second.resource, told.resource);
    EXPECT_EQ(second.data, told.data);

    Bytes damaged = coded;
    damaged.back() ^= 1;
    const Decoded neither(BytesOf(BinHexText(damaged)));
    EXPECT_EQ(neither.outcome.fault, ContainerFault::ResourceChecksum);
    EXPECT_TRUE(neither.outcome.usable);
    EXPECT_EQ(neither.resource, told.resource);

    MacFile name = SmallFile();
    name.name = "a" + std::string(30, 'z');
    const Decoded header(BytesOf(BinHexText(WithTwinRuns(BinHexRuns(BinHexSections(name)), 30))));
    EXPECT_EQ(header.outcome.fault, ContainerFault::None);
    EXPECT_EQ(header.outcome.info.name, name.name);
    EXPECT_EQ(header.data, name.data);
}

TEST(BinHex, EmptyForks) {
    for (const std::size_t dataSize : {0u, 128u, 300u}) {
        MacFile file = SmallFile();
        file.data = Pattern(dataSize);
        file.resource.clear();
        EXPECT_EQ(Decoded(BinHexOf(file)).outcome.fault, ContainerFault::None);
        // Some writers leave out the checksum of a fork that is not there.
        Bytes sections = BinHexSections(file);
        sections.resize(sections.size() - 2);
        const Decoded decoded(BytesOf(BinHexText(BinHexRuns(sections))));
        EXPECT_EQ(decoded.outcome.fault, ContainerFault::None) << dataSize;
        EXPECT_EQ(decoded.data, file.data);
        EXPECT_EQ(decoded.target.size(), 128 + dataSize);
    }
}

TEST(BinHex, DamageIsNamed) {
    const MacFile file = SmallFile();
    const Bytes sections = BinHexSections(file);
    const std::size_t header = 1 + 9 + 21;
    for (const auto& [at, fault] : {std::pair{std::size_t{5}, ContainerFault::HeaderChecksum},
                                    {header - 1, ContainerFault::HeaderChecksum},
                                    {header, ContainerFault::DataChecksum},
                                    {header + 701, ContainerFault::DataChecksum},
                                    {header + 702, ContainerFault::ResourceChecksum},
                                    {sections.size() - 1, ContainerFault::ResourceChecksum}}) {
        Bytes damaged = sections;
        damaged[at] ^= 0x41;
        const Decoded decoded(BytesOf(BinHexText(BinHexRuns(damaged))));
        EXPECT_EQ(decoded.outcome.fault, fault) << at;
        EXPECT_TRUE(decoded.outcome.usable) << at;
        EXPECT_EQ(decoded.target.size(), 128u + 768 + 301) << at;
    }
    for (const std::uint8_t length : Bytes{0, 64, 255}) {
        Bytes damaged = sections;
        damaged[0] = length;
        const Decoded decoded(BytesOf(BinHexText(BinHexRuns(damaged))));
        EXPECT_EQ(decoded.outcome.fault, ContainerFault::HeaderInvalid);
        EXPECT_FALSE(decoded.outcome.usable);
        EXPECT_EQ(decoded.target.size(), 0u);
    }
    // No name at all, under a right checksum: the forks are there.
    MacFile nameless = file;
    nameless.name.clear();
    const Decoded decoded(BinHexOf(nameless));
    EXPECT_EQ(decoded.outcome.fault, ContainerFault::None);
    EXPECT_EQ(decoded.outcome.info.name, "");
    EXPECT_EQ(decoded.target.size(), 128u + 768 + 301);
    // A character outside the table: the decoder goes on behind it, and the checksum tells.
    std::string text = BinHexText(BinHexRuns(sections));
    text[text.size() / 2] = '~';
    EXPECT_EQ(Decoded(BytesOf(text)).outcome.fault, ContainerFault::DataChecksum);
}

// The file ends after each byte in turn: what there is comes out, and the rest is missed.
TEST(BinHex, ACutFileGivesWhatItHolds) {
    const MacFile file = {"n", "TEXTR*ch", 0, {1, 2, 3, 4, 5}, {6, 7, 8}};
    const Bytes sections = BinHexSections(file);
    for (std::size_t size = 0; size < sections.size(); ++size) {
        const Bytes cut(sections.begin(), sections.begin() + static_cast<std::ptrdiff_t>(size));
        const Decoded decoded(BytesOf(BinHexText(BinHexRuns(cut))));
        const ContainerFault expected = size < 23               ? ContainerFault::HeaderCut
                                        : size < 23 + 5         ? ContainerFault::DataForkCut
                                        : size < 23 + 5 + 2     ? ContainerFault::DataChecksum
                                        : size < 23 + 5 + 2 + 3 ? ContainerFault::ResourceForkCut
                                                                : ContainerFault::ResourceChecksum;
        ASSERT_EQ(decoded.outcome.fault, expected) << size;
        ASSERT_EQ(decoded.data.size(), size < 23 ? 0 : std::min<std::size_t>(size - 23, 5));
        ASSERT_EQ(decoded.resource.size(), size < 30 ? 0 : std::min<std::size_t>(size - 30, 3));
    }
}

}  // namespace
}  // namespace vellmark
