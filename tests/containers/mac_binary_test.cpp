#include "containers/mac_binary.hpp"

#include <gtest/gtest.h>

#include "containers/bundle_bit.hpp"
#include "containers/codec_bench.hpp"

namespace vellmark {
namespace {

using testing::Append;
using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::Pattern;

/// A header by hand: "Text File", TEXT, R*ch, flags 0140, place 1/2, forks of 21 and 1454 bytes.
Bytes HeaderBytes() {
    Bytes bytes(128, 0);
    const auto put = [&](std::size_t at, const Bytes& part) {
        std::copy(part.begin(), part.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
    };
    put(1, BytesOf("\x09Text File"));
    put(65, BytesOf("TEXTR*ch"));
    put(73, {0x01, 0x40, 0, 1, 0, 2});
    put(83, Be(21, 4));
    put(87, Be(1454, 4));
    put(91, Be(0xE040D4E8, 4));
    put(95, Be(0xE040DF09, 4));
    return bytes;
}

MacBinaryHeader HeaderOf(const Bytes& bytes) {
    MacBinaryHeader header;
    std::copy_n(bytes.begin(), sizeof(header), reinterpret_cast<std::uint8_t*>(&header));
    return header;
}

struct RecogniserCase {
    const char* fault;  ///< what a wrong recogniser would have missed
    std::size_t at;
    Bytes change;
    std::int64_t fileSize;
    bool expected;
};

TEST(MacBinary, RecogniserJudgesEachField) {
    const Bytes longName(63, 'n');
    const RecogniserCase cases[] = {
        {"nothing wrong", 0, {0}, 2000, true},
        {"first byte", 0, {1}, 2000, false},
        {"no name", 1, {0, 0}, 2000, false},
        {"name of 64", 1, {64}, 2000, false},
        {"name shorter than told", 1, {10}, 2000, false},
        {"name longer than told", 1, {8}, 2000, false},
        {"a zero within the name", 4, {0}, 2000, false},
        {"one zero in the type", 68, {0}, 2000, false},
        {"no type but a creator", 65, {0, 0, 0, 0}, 2000, false},
        {"a signature of zeros is none", 65, Bytes(8, 0), 2000, true},
        {"byte 81 is free", 81, {1}, 2000, true},
        {"byte 82", 82, {1}, 2000, false},
        {"no forks", 83, Bytes(8, 0), 2000, false},
        {"a data fork alone", 87, Be(0, 4), 2000, true},
        {"sum is the file", 83, {0, 0, 0, 21}, 1475, true},
        {"sum is beyond the file", 83, {0, 0, 0, 21}, 1474, false},
        {"no size, no test", 83, Be(0x7FFFFFFF, 4), 0, true},
        {"a negative sum", 83, Be(0x80000000, 4), INT64_MAX, false},
        {"a sum that wraps round", 83, Bytes{0x80, 0, 0, 0, 0x80, 0, 0, 8}, 2000, false},
        {"later versions' fields are free", 99, Bytes(29, 0xFF), 2000, true},
    };
    for (const RecogniserCase& c : cases) {
        Bytes bytes = HeaderBytes();
        std::copy(c.change.begin(), c.change.end(),
                  bytes.begin() + static_cast<std::ptrdiff_t>(c.at));
        EXPECT_EQ(IsMacBinary(HeaderOf(bytes), c.fileSize), c.expected) << c.fault;
    }
    // The type stands straight behind a name of 63 bytes.
    Bytes bytes = HeaderBytes();
    bytes[1] = 63;
    std::copy(longName.begin(), longName.end(), bytes.begin() + 2);
    EXPECT_TRUE(IsMacBinary(HeaderOf(bytes), 2000));
}

// Readers refuse the first form with anything behind the high byte of the flags.
TEST(MacBinary, WrittenHeaderIsTheFirstFormThatHoldsTheFlags) {
    MacFileInfo info;
    info.name = "  Text File";
    std::copy_n("TEXTR*ch", 8, info.finder.signature.begin());
    info.finder.flags = 0x0100;
    info.finder.locationV = 1;
    info.finder.locationH = 2;
    info.finder.windowFolder = 3;  // not part of the format
    info.created = 0xE040D4E8;
    info.modified = 0xE040DF09;
    MemoryBytes data(Pattern(21));
    MemoryBytes resource(Pattern(1454));
    MemoryBytes target;
    ASSERT_EQ(WriteMacBinary(target, info, data, resource), ContainerFault::None);
    Bytes expected = HeaderBytes();
    expected[74] = 0;
    Append(expected, Pattern(21));
    expected.resize(256, 0);
    Append(expected, Pattern(1454));
    expected.resize(1792, 0);
    EXPECT_EQ(target.bytes(), expected);

    info.finder.flags = 0x0140;
    ASSERT_EQ(WriteMacBinary(target, info, data, resource), ContainerFault::None);
    expected[101] = 0x40;
    expected[122] = expected[123] = 129;
    const std::uint16_t crc = testing::RegisterCrc(Bytes(expected.begin(), expected.begin() + 124));
    expected[124] = static_cast<std::uint8_t>(crc >> 8);
    expected[125] = static_cast<std::uint8_t>(crc);
    EXPECT_EQ(target.bytes(), expected);
}

// Readers refuse a file whose last fork is not filled up; a file without that is read all the same.
TEST(MacBinary, ForksFillMultiplesOf128) {
    struct Case {
        std::size_t data;
        std::size_t resource;
        std::size_t resourceOffset;
        std::size_t fileSize;
    };
    for (const Case c : {Case{0, 5, 128, 256},
                         {1, 128, 256, 384},
                         {128, 129, 256, 512},
                         {129, 5, 384, 512},
                         {21, 0, 256, 256},
                         {0, 0, 128, 128}}) {
        MacFileInfo info;
        info.name = "n";
        MemoryBytes data(Pattern(c.data));
        MemoryBytes resource(Pattern(c.resource, 3));
        MemoryBytes target;
        ASSERT_EQ(WriteMacBinary(target, info, data, resource), ContainerFault::None);
        Bytes expected(target.bytes().begin(), target.bytes().begin() + 128);
        Append(expected, Pattern(c.data));
        expected.resize(c.resourceOffset, 0);
        Append(expected, Pattern(c.resource, 3));
        MemoryBytes unpadded(expected);
        expected.resize(c.fileSize, 0);
        EXPECT_EQ(target.bytes(), expected) << c.data;
        EXPECT_EQ(ReadMacBinary(unpadded).fault, ContainerFault::None) << c.data;
    }
}

// A header whose checksum is right may have another header behind it, and keeps the low byte of
// the flags elsewhere; without the checksum both bytes may be anything.
TEST(MacBinary, LaterVersionsAreProvenByTheirChecksum) {
    Bytes bytes = HeaderBytes();
    bytes[74] = 0;
    bytes[101] = 0x40;
    bytes[121] = 5;
    bytes[122] = bytes[123] = 129;
    const std::uint16_t crc = testing::RegisterCrc(Bytes(bytes.begin(), bytes.begin() + 124));
    bytes[124] = static_cast<std::uint8_t>(crc >> 8);
    bytes[125] = static_cast<std::uint8_t>(crc);
    bytes.resize(256, 's');
    Append(bytes, Pattern(21));
    bytes.resize(384, 0);
    Append(bytes, Pattern(1454));
    MemoryBytes file(bytes);
    MacContainer container = ReadMacBinary(file);
    EXPECT_EQ(container.fault, ContainerFault::None);
    EXPECT_EQ(container.info.finder.flags, 0x0140);
    EXPECT_EQ(testing::Contents(container.data), Pattern(21));
    EXPECT_EQ(testing::Contents(container.resource), Pattern(1454));

    // Cut short, it is still what its header says; without the checksum nothing proves it.
    MemoryBytes cut(Bytes(bytes.begin(), bytes.begin() + 400));
    EXPECT_TRUE(IsMacBinaryFile(cut));
    EXPECT_EQ(ReadMacBinary(cut).fault, ContainerFault::ResourceForkCut);
    bytes[125] ^= 1;
    MemoryBytes unproven(Bytes(bytes.begin(), bytes.begin() + 400));
    EXPECT_FALSE(IsMacBinaryFile(unproven));
    MemoryBytes other(bytes);
    container = ReadMacBinary(other);
    EXPECT_EQ(container.info.finder.flags, 0x0100);
    EXPECT_EQ(testing::Contents(container.data), Bytes(21, 's'));
}

/// A resource fork of types only, at the places that the system uses.
Bytes ResourceFork(std::uint32_t dataOffset, const std::vector<std::string>& types) {
    Bytes map(28, 0);
    Append(map, Be(types.size() - 1, 2));
    for (const std::string& type : types) {
        Append(map, BytesOf(type));
        Append(map, Be(0, 4));
    }
    Bytes fork = Be(dataOffset, 4);
    Append(fork, Be(300, 4));
    Append(fork, Be(44, 4));
    Append(fork, Be(map.size(), 4));
    fork.resize(300, 0);
    Append(fork, map);
    return fork;
}

TEST(BundleBit, IsFoundInTheTypeList) {
    const std::vector<std::string> with = {"CODE", "BNDL", "FREF"};
    MemoryBytes bundle(ResourceFork(256, with));
    EXPECT_TRUE(HasBundleResource(bundle));
    for (const auto& [dataOffset, type] : {std::pair{260u, "BNDL"}, {256u, "DLBN"}}) {
        MemoryBytes fork(ResourceFork(dataOffset, {"CODE", type}));
        EXPECT_FALSE(HasBundleResource(fork)) << type;
    }
    Bytes countOfNone = ResourceFork(256, {"BNDL"});
    countOfNone[328] = countOfNone[329] = 0xFF;  // what follows the count is no type
    MemoryBytes none(countOfNone);
    EXPECT_FALSE(HasBundleResource(none));

    Bytes lying = ResourceFork(256, {"CODE"});
    lying[329] = 9;  // more types than the map is long, and a BNDL behind the map
    Append(lying, BytesOf("BNDL0000"));
    MemoryBytes beyond(lying);
    EXPECT_FALSE(HasBundleResource(beyond));
    const Bytes whole = ResourceFork(256, with);
    for (std::size_t size = 0; size < whole.size(); ++size) {
        MemoryBytes cut(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size)));
        EXPECT_EQ(HasBundleResource(cut), size >= 300 + 30 + 16) << size;
    }
}

}  // namespace
}  // namespace vellmark
