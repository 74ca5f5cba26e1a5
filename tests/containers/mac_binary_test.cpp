// MacBinary, and BinHex, which becomes it.
#include "containers/mac_binary.hpp"

#include <gtest/gtest.h>

#include "containers/bin_hex.hpp"
#include "containers/bundle_bit.hpp"
#include "containers/codec_bench.hpp"

namespace vellmark::testing {
namespace {

/// A header by hand: "Text File", TEXT, R*ch, flags 0140, place 1/2, forks of 21 and 1454 bytes.
Bytes HeaderBytes() {
    Bytes bytes(128, 0);
    PutText(bytes, 1, "\x09Text File");
    PutText(bytes, 65, "TEXTR*ch");
    Put(bytes, 73, be64(0x0140'0001'0002'0000));
    Put(bytes, 83, be32(21));
    Put(bytes, 87, be32(1454));
    Put(bytes, 91, be32(0xE040D4E8));
    Put(bytes, 95, be32(0xE040DF09));
    return bytes;
}

/// The same in the second form, as its checksum proves: the low byte of the flags lies elsewhere.
Bytes SecondHeaderBytes() {
    Bytes bytes = HeaderBytes();
    bytes[74] = 0;
    bytes[101] = 0x40;
    bytes[122] = bytes[123] = 129;
    return bytes;
}

Bytes WithChecksum(Bytes bytes) {
    Put(bytes, 124, be16(RegisterCrc(Slice(bytes, 0, 124))));
    return bytes;
}

bool IsHeader(const Bytes& bytes, std::int64_t fileSize) {
    MacBinaryHeader header;
    std::copy_n(bytes.begin(), sizeof(header), reinterpret_cast<std::uint8_t*>(&header));
    return IsMacBinary(header, fileSize);
}

TEST(MacBinary, RecogniserJudgesEachField) {
    const struct {
        const char* fault;  // what a wrong recogniser would have missed
        std::size_t at;
        Bytes change;
        bool expected = false;
        std::int64_t fileSize = 2000;
    } cases[] = {{"nothing wrong", 0, {0}, true},
                 {"first byte", 0, {1}},
                 {"no name", 1, {0, 0}},
                 {"name of 64", 1, {64}},
                 {"name shorter than told", 1, {10}},
                 {"the type stands straight behind a name of 63", 1, Bytes(64, 63), true},
                 {"one zero in the type", 68, {0}},
                 {"byte 82", 82, {1}},
                 {"no forks", 83, Bytes(8, 0)},
                 {"a data fork alone", 87, Be(0, 4), true},
                 {"sum is the file", 83, {0, 0, 0, 21}, true, 1475},
                 {"sum is beyond the file", 83, {0, 0, 0, 21}, false, 1474},
                 {"a sum that wraps round", 83, Be(0x8000'0000'8000'0008, 8)},
                 {"later versions' fields are free", 99, Bytes(29, 0xFF), true}};
    for (const auto& c : cases) {
        Bytes bytes = HeaderBytes();
        PutText(bytes, c.at, std::string(c.change.begin(), c.change.end()));
        EXPECT_EQ(IsHeader(bytes, c.fileSize), c.expected) << c.fault;
    }
}

// Readers refuse the first form with anything behind the high byte of the flags, and a file whose
// last fork is not filled up; a file without that is read all the same.
TEST(MacBinary, WrittenIsTheFirstFormThatHoldsTheFlagsAndForksFillMultiplesOf128) {
    for (const auto& [dataSize, resourceSize] : {std::pair{21u, 1454u},
                                                 {1'100'000u, 1'200'001u},
                                                 {0u, 5u},
                                                 {128u, 129u},
                                                 {129u, 128u},
                                                 {21u, 0u}})
        for (const std::uint16_t flags : {std::uint16_t{0x0100}, std::uint16_t{0x0140}}) {
            MacFileInfo info;
            info.name = "  Text File";
            std::copy_n("TEXTR*ch", 8, info.finder.signature.begin());
            info.finder.flags = flags;
            info.finder.locationV = 1;
            info.finder.locationH = 2;
            info.finder.windowFolder = 3;  // not part of the format
            info.created = 0xE040D4E8;
            info.modified = 0xE040DF09;
            MemoryBytes data(Pattern(dataSize)), resource(Pattern(resourceSize)), target;
            ASSERT_EQ(WriteMacBinary(target, info, data, resource), ContainerFault::None);
            Bytes expected = flags == 0x0140 ? SecondHeaderBytes() : HeaderBytes();
            expected[74] = 0;
            Put(expected, 83, be32(dataSize));
            Put(expected, 87, be32(resourceSize));
            if (flags == 0x0140)
                expected = WithChecksum(expected);
            expected = expected + Pattern(dataSize);
            expected.resize((expected.size() + 127) / 128 * 128);
            expected = expected + Pattern(resourceSize);
            MemoryBytes unpadded(expected);
            expected.resize((expected.size() + 127) / 128 * 128);
            EXPECT_EQ(target.bytes(), expected) << dataSize;
            const MacContainer back = ReadMacBinary(unpadded);
            EXPECT_EQ(back.fault, ContainerFault::None) << dataSize;
            ASSERT_EQ(WriteMacBinary(target, back.info, data, resource), ContainerFault::None);
            EXPECT_EQ(target.bytes(), expected) << "all of its fields are read";
        }
}

// A header whose checksum is right may have another header behind it, and keeps the low byte of
// the flags elsewhere; without the checksum both bytes may be anything.
TEST(MacBinary, LaterVersionsAreProvenByTheirChecksum) {
    Bytes bytes = SecondHeaderBytes();
    bytes[121] = 5;
    bytes = WithChecksum(bytes) + Bytes(128, 's') + Pattern(21) + Bytes(107) + Pattern(1454);
    MemoryBytes file(bytes), cut(Slice(bytes, 0, 400));
    MacContainer container = ReadMacBinary(file);
    EXPECT_EQ(container.info.finder.flags, 0x0140);
    EXPECT_EQ(Contents(container.data), Pattern(21));
    EXPECT_EQ(Contents(container.resource), Pattern(1454));
    EXPECT_TRUE(IsMacBinaryFile(cut)) << "cut short, it is still what its header says";
    bytes[125] ^= 1;
    MemoryBytes unproven(Slice(bytes, 0, 400)), other(bytes);
    EXPECT_FALSE(IsMacBinaryFile(unproven));
    container = ReadMacBinary(other);
    EXPECT_EQ(container.info.finder.flags, 0x0100);
    EXPECT_EQ(Contents(container.data), Bytes(21, 's'));
}

// A resource fork with a map of 46 bytes for two types, at the places that the system uses.
TEST(BundleBit, IsFoundInTheTypeList) {
    const auto fork = [](const char* second, std::uint32_t dataOffset, std::uint16_t lastType) {
        return Be(dataOffset, 4) + Be(300, 4) + Be(44, 4) + Be(46, 4) + Bytes(300 - 16 + 28) +
               Be(lastType, 2) + BytesOf("CODE") + Bytes(4) + BytesOf(second) + Bytes(4);
    };
    const Bytes behind = BytesOf("BNDL0000");  // the map ends before it
    for (const auto& [bytes, expected] : {std::pair{fork("BNDL", 256, 1), true},
                                          {fork("BNDL", 260, 1), false},
                                          {fork("FREF", 256, 9) + behind, false},
                                          {fork("BNDL", 256, 0xFFFF), false},
                                          {fork("BNDL", 256, 0), false}}) {
        MemoryBytes source(bytes), cut(Slice(bytes, 0, 345));
        EXPECT_EQ(HasBundleResource(source), expected) << bytes[329];
        EXPECT_FALSE(HasBundleResource(cut));
    }
}

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
    const Bytes longest = BinHexSections({std::string(63, 'n'), "TEXTR*ch", 0, {}, {}});
    EXPECT_EQ(DecodedSections(longest).outcome.fault, ContainerFault::None);
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
}  // namespace vellmark::testing
