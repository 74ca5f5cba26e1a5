#include "containers/bin_hex.hpp"

#include <gtest/gtest.h>

#include "containers/bin_hex_reader.hpp"
#include "containers/codec_bench.hpp"
#include "containers/mac_binary.hpp"

namespace vellmark {
namespace {

using namespace testing;  // NOLINT(google-build-using-namespace)

/// Decodes and reads the MacBinary file that comes out.
struct Decoded {
    explicit Decoded(const Bytes& text) {
        MemoryBytes source(text);
        outcome = DecodeBinHex(source, target);
        MacContainer container = ReadMacBinary(target);
        data = Contents(container.data);
        resource = Contents(container.resource);
    }
    MemoryBytes target;
    BinHexOutcome outcome;
    Bytes data, resource;
};

/// Of the bytes within the layer of text, with or without runs.
Decoded DecodedRuns(const Bytes& coded) {
    return Decoded(BytesOf(BinHexText(coded)));
}
Decoded DecodedSections(const Bytes& sections) {
    return DecodedRuns(BinHexRuns(sections));
}

const MacFile kSmall = {"Text File", "TEXTR*ch", 0x0140, Pattern(700), Pattern(301, 5)};
constexpr std::size_t kTargetBytes = 128 + 768 + 301;

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
    const Bytes mail = BytesOf("Subject: a file\n\n"), farewell = BytesOf("--\nA. Nonymous\n");
    Bytes blanks = BinHexOf(file);
    for (std::size_t i = 1000; i < blanks.size(); i += 997)
        blanks.insert(blanks.begin() + static_cast<std::ptrdiff_t>(i), {' ', '\t', '\r', '\n'});
    for (const Bytes& text : {BinHexOf(file), BinHexOf(file, "\r"), BinHexOf(file, "\r\n"),
                              BinHexOf(file, ""), mail + BinHexOf(file) + farewell, blanks}) {
        const Decoded decoded(text);
        EXPECT_EQ(decoded.outcome.fault, ContainerFault::None);
        EXPECT_TRUE(decoded.data == file.data);
        EXPECT_TRUE(decoded.resource == file.resource);
    }
}

// What the runs stand for, with the last of several markers in a row told both ways.
TEST(BinHex, RunsByBothRules) {
    const std::tuple<Bytes, std::string_view, std::string_view> cases[] = {
        {{'X', 0x90, 4, 'Y'}, "XXXXY", "XXXXY"},
        {{'X', 0x90, 1, 'Y'}, "XY", "XY"},
        {{'X', 0x90, 0, 'Y'}, "X\x90Y", "X\x90Y"},
        {{0x90, 0, 0x90, 3}, "\x90\x90\x90", "\x90\x90\x90"},
        {{'X', 0x90, 5, 0x90, 3}, "XXXXX\x90\x90", "XXXXXXX"},
        {{'X', 0x90, 1, 0x90, 2}, "X\x90", "XX"},
        {{'X', 0x90, 2, 0x90, 2, 0x90, 2}, "XX\x90\x90", "XXXX"},
        {{'X', 0x90, 1, 0x90, 1, 0x90, 2}, "X\x90", "XX"},
        {{'X', 0x90, 2, 0x90, 1}, "XX", "XX"},
        {{'X', 0x90}, "X", "X"},
    };
    for (const auto& [coded, marker, runsByte] : cases) {
        MemoryBytes text(BytesOf(BinHexText(coded)));
        for (const BinHexRunRule rule : {BinHexRunRule::Marker, BinHexRunRule::RunsByte}) {
            BinHexReader reader(text, 0, rule);
            Bytes got(100);
            got.resize(reader.read(got));
            EXPECT_EQ(got, BytesOf(rule == BinHexRunRule::Marker ? marker : runsByte));
            EXPECT_EQ(reader.rulesDiffer(), marker != runsByte);
        }
    }
}

/// The coded bytes with the run of `count` of 'z' as two runs in a row: 10, then the rest.
Bytes WithTwinRuns(const Bytes& coded, std::uint8_t count) {
    const Bytes run = {'z', 0x90, count};
    const auto found = std::search(coded.begin(), coded.end(), run.begin(), run.end());
    EXPECT_NE(found, coded.end());
    const auto at = static_cast<std::size_t>(found - coded.begin());
    return Slice(coded, 0, at) +
           Bytes{'z', 0x90, 10, 0x90, static_cast<std::uint8_t>(count - 10 + 1)} +
           Slice(coded, at + 3, coded.size());
}

// The checksums decide what a run behind a run repeats, in the header as in the forks.
TEST(BinHex, ChecksumsChooseTheRule) {
    MacFile published = kSmall;
    published.resource = published.resource + Bytes(40, 'z') + BytesOf(".");
    const Bytes told = kSmall.resource + Bytes(10, 'z') + Bytes(30, 0x90) + BytesOf(".");
    // One coded form stands for both, apart from the checksum at its end.
    const Bytes coded = WithTwinRuns(BinHexRuns(BinHexSections(published)), 40);
    const std::size_t sum = BinHexRuns(Be(RegisterCrc(published.resource), 2)).size();
    Bytes damaged = coded;
    damaged.back() ^= 1;
    for (const auto& [bytes, fault, resource] :
         {std::tuple{coded, ContainerFault::None, published.resource},
          {Slice(coded, 0, coded.size() - sum) + BinHexRuns(Be(RegisterCrc(told), 2)),
           ContainerFault::None, told},
          {damaged, ContainerFault::ResourceChecksum, told}}) {
        const Decoded decoded = DecodedRuns(bytes);
        EXPECT_EQ(decoded.outcome.fault, fault);
        EXPECT_TRUE(decoded.outcome.usable);
        EXPECT_EQ(decoded.data, published.data);
        EXPECT_EQ(decoded.resource, resource);
    }
    MacFile file = kSmall;
    file.name = "a" + std::string(30, 'z');
    const Decoded header = DecodedRuns(WithTwinRuns(BinHexRuns(BinHexSections(file)), 30));
    EXPECT_EQ(header.outcome.fault, ContainerFault::None);
    EXPECT_EQ(header.outcome.info.name, file.name);
    EXPECT_EQ(header.data, file.data);
}

TEST(BinHex, DamageIsNamed) {
    const Bytes sections = BinHexSections(kSmall);
    constexpr std::size_t kHeader = 1 + 9 + 21;
    for (const auto& [at, fault] : {std::pair{std::size_t{5}, ContainerFault::HeaderChecksum},
                                    {kHeader - 1, ContainerFault::HeaderChecksum},
                                    {kHeader, ContainerFault::DataChecksum},
                                    {kHeader + 701, ContainerFault::DataChecksum},
                                    {kHeader + 702, ContainerFault::ResourceChecksum},
                                    {sections.size() - 1, ContainerFault::ResourceChecksum}}) {
        Bytes damaged = sections;
        damaged[at] ^= 0x41;
        const Decoded decoded = DecodedSections(damaged);
        EXPECT_EQ(decoded.outcome.fault, fault) << at;
        EXPECT_TRUE(decoded.outcome.usable) << at;
        EXPECT_EQ(decoded.target.size(), kTargetBytes) << at;
    }
    for (const std::uint8_t length : Bytes{0, 64, 255}) {
        Bytes damaged = sections;
        damaged[0] = length;
        const Decoded decoded = DecodedSections(damaged);
        EXPECT_EQ(decoded.outcome.fault, ContainerFault::HeaderInvalid);
        EXPECT_FALSE(decoded.outcome.usable);
        EXPECT_EQ(decoded.target.size(), 0u);
    }
    // No name at all, under a right checksum, and no checksum of a fork that is not there: both
    // are what some writers make.
    EXPECT_EQ(Decoded(BinHexOf({"", "TEXTR*ch", 0, kSmall.data, {}})).outcome.fault,
              ContainerFault::None);
    const Bytes alone = BinHexSections({"n", "TEXTR*ch", 0, kSmall.data, {}});
    const Decoded shortened = DecodedSections(Slice(alone, 0, alone.size() - 2));
    EXPECT_EQ(shortened.outcome.fault, ContainerFault::None);
    EXPECT_EQ(shortened.data, kSmall.data);
    // A character outside the table: the decoder goes on behind it, and the checksum tells.
    std::string text = BinHexText(BinHexRuns(sections));
    text[text.size() / 2] = '~';
    EXPECT_EQ(Decoded(BytesOf(text)).outcome.fault, ContainerFault::DataChecksum);
}

// The file ends after each byte in turn: what there is comes out, and the rest is missed.
TEST(BinHex, ACutFileGivesWhatItHolds) {
    const Bytes sections = BinHexSections({"n", "TEXTR*ch", 0, {1, 2, 3, 4, 5}, {6, 7, 8}});
    for (std::size_t size = 0; size < sections.size(); ++size) {
        const Decoded decoded = DecodedSections(Slice(sections, 0, size));
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
