#include "containers/bin_hex.hpp"

#include <gtest/gtest.h>

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

// A line end taken for a character, a group of four lost at the end of a piece, a colon of a mail
// header taken for the start.
TEST(BinHex, TextOfEveryShapeDecodesTheSame) {
    const MacFile file = {"Long", "TEXTR*ch", 0, Pattern(100'000), Pattern(70'001, 5)};
    const Bytes mail = BytesOf("Subject: a file\n\n"), farewell = BytesOf("--\nA. Nonymous\n");
    Bytes blanks = BinHexOf(file);
    for (std::size_t i = 1000; i < blanks.size(); i += 997)
        blanks.insert(blanks.begin() + static_cast<std::ptrdiff_t>(i), {' ', '\t', '\r', '\n'});
    for (const Bytes& text : {BinHexOf(file, "\r"), BinHexOf(file, "\r\n"), BinHexOf(file, ""),
                              mail + BinHexOf(file) + farewell, blanks}) {
        const Decoded decoded(text);
        EXPECT_EQ(decoded.outcome.fault, ContainerFault::None);
        EXPECT_TRUE(decoded.data == file.data);
        EXPECT_TRUE(decoded.resource == file.resource);
    }
}

// The checksum decides whether a run behind a run repeats the byte, as is published, or the
// marker, as some writers mean it.
TEST(BinHex, ChecksumsChooseTheRule) {
    for (const auto& [coded, published, told] :
         {std::tuple{Bytes{'X', 0x90, 5, 0x90, 3}, "XXXXXXX", "XXXXX\x90\x90"},
          {{'X', 0x90, 1, 0x90, 2}, "XX", "X\x90"},
          {{'X', 0x90, 2, 0x90, 2, 0x90, 2}, "XXXX", "XX\x90\x90"},
          {{'X', 0x90, 0, 0x90, 3}, "X\x90\x90\x90", "X\x90\x90\x90"}})
        for (const auto& [contents, sumChange, fault] :
             {std::tuple{published, 0, ContainerFault::None},
              {told, 0, ContainerFault::None},
              {told, 1, ContainerFault::ResourceChecksum}}) {
            MacFile file = kSmall;
            file.resource = BytesOf(contents);
            const Bytes sum = Be(RegisterCrc(file.resource) ^ sumChange, 2);
            const Bytes before = BinHexSections(file);
            const Bytes head = Slice(before, 0, before.size() - file.resource.size() - 2);
            const Decoded decoded = DecodedRuns(BinHexRuns(head) + coded + BinHexRuns(sum));
            EXPECT_EQ(decoded.outcome.fault, fault) << contents;
            EXPECT_TRUE(decoded.outcome.usable);
            EXPECT_EQ(decoded.data, file.data);
            EXPECT_EQ(decoded.resource, file.resource) << contents;
        }
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
        EXPECT_EQ(decoded.target.size(), 128u + 768 + 301) << at;
    }
    Bytes unnamed = sections;
    unnamed[0] = 64;
    EXPECT_EQ(DecodedSections(unnamed).outcome.fault, ContainerFault::HeaderInvalid);
    EXPECT_EQ(DecodedSections(unnamed).target.size(), 0u);
    // No name at all, under a right checksum, and no checksum of a fork that is not there: both
    // are what some writers make.
    const Bytes alone = BinHexSections({"", "TEXTR*ch", 0, kSmall.data, {}});
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
