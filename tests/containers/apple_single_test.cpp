#include "containers/apple_single.hpp"

#include <gtest/gtest.h>

#include "containers/codec_bench.hpp"

namespace vellmark {
namespace {

using testing::Append;
using testing::Be;
using testing::Bytes;
using testing::BytesOf;
using testing::Pattern;

MacFileInfo SomeInfo() {
    MacFileInfo info;
    std::copy_n("TEXTR*ch", 8, info.finder.signature.begin());
    info.finder.flags = 0x2040;
    info.finder.locationV = 1;
    info.finder.locationH = 2;
    info.finder.windowFolder = 3;
    info.finder.extended.fill(0xE1);
    info.created = 0xC0000001;
    info.modified = 0xC0000002;
    info.backedUp = 0xC0000003;
    return info;
}

/// Dates and Finder information of `SomeInfo`, by hand.
Bytes SomeInfoBytes(std::uint32_t accessed) {
    Bytes bytes;
    for (std::uint32_t date : {0xC0000001u, 0xC0000002u, accessed, 0xC0000003u})
        Append(bytes, Be(date, 4));
    Append(bytes, BytesOf("TEXTR*ch"));
    Append(bytes, {0x20, 0x40, 0, 1, 0, 2, 0, 3});
    bytes.insert(bytes.end(), 16, 0xE1);
    return bytes;
}

struct Entry {
    std::uint32_t id;
    std::uint32_t offset;
    std::uint32_t length;
};

Bytes Header(std::uint32_t magic, const std::vector<Entry>& entries) {
    Bytes bytes = Be(magic, 4);
    Append(bytes, Be(0x00020000, 4));
    bytes.resize(24, 0);
    Append(bytes, Be(entries.size(), 2));
    for (const Entry& entry : entries)
        for (std::uint32_t value : {entry.id, entry.offset, entry.length})
            Append(bytes, Be(value, 4));
    return bytes;
}

TEST(AppleSingle, WrittenByteForByte) {
    for (const bool onHfs : {true, false}) {
        MacFileInfo info = SomeInfo();
        if (!onHfs)
            info.accessed = 0xC0000009;
        Bytes tail = SomeInfoBytes(onHfs ? 0x80000000 : 0xC0000009);
        Append(tail, Pattern(300, 5));
        MemoryBytes data(Pattern(70));
        MemoryBytes resource(Pattern(300, 5));
        MemoryBytes target;
        MemoryBytes sidecar;
        ASSERT_EQ(WriteAppleDouble(target, sidecar, info, data, resource), ContainerFault::None);
        Bytes expected = Header(0x00051607, {{8, 62, 16}, {9, 78, 32}, {2, 110, 300}});
        Append(expected, tail);
        EXPECT_EQ(sidecar.bytes(), expected);
        EXPECT_EQ(target.bytes(), Pattern(70));
        ASSERT_EQ(WriteAppleSingle(target, info, data, resource), ContainerFault::None);
        expected = Header(0x00051600, {{8, 74, 16}, {9, 90, 32}, {2, 122, 300}, {1, 422, 70}});
        Append(expected, tail);
        Append(expected, Pattern(70));
        EXPECT_EQ(target.bytes(), expected);
    }
}

TEST(AppleSingle, EntriesInAnyOrderAndOfAnyKind) {
    // Comment and name in between, the Finder information far behind, a second data entry.
    const std::vector<Entry> entries = {{4, 146, 7},
                                        {1, 153, 5},
                                        {9, 2000, 32},
                                        {3, 146, 3},
                                        {0x80000000, 0xFFFFFFFF, 0xFFFFFFFF},
                                        {2, 158, 12},
                                        {1, 170, 100},
                                        {8, 0, 0},
                                        {10, 0, 0},
                                        {7, 146, 0xFF}};
    Bytes bytes = Header(0x00051600, entries);
    ASSERT_EQ(bytes.size(), 146u);
    Append(bytes, BytesOf("namexxxdata!resource fork"));
    bytes.resize(2000, '-');
    Append(bytes, BytesOf("APPLtest"));
    bytes.resize(2032, 0x11);
    MemoryBytes file(bytes);
    MacContainer container = ReadSingleForks(file);
    EXPECT_EQ(container.fault, ContainerFault::None);
    EXPECT_EQ(testing::Contents(container.data), BytesOf("data!"));
    EXPECT_EQ(testing::Contents(container.resource), BytesOf("resource for"));
    EXPECT_EQ(container.info.dataLength, 5u);
    EXPECT_EQ(container.info.resourceLength, 12u);
    EXPECT_EQ(container.info.finder.flags, 0x1111);
    EXPECT_EQ(container.info.finder.extended[15], 0x11);
    EXPECT_EQ(std::string(container.info.finder.signature.data(), 8), "APPLtest");
    EXPECT_EQ(ReadDoubleResource(file).fault, ContainerFault::NotThisFormat);
}

TEST(AppleSingle, ShortFinderInformation) {
    for (const std::uint32_t length : {7u, 8u, 10u, 16u, 32u, 237u}) {
        Bytes bytes = Header(kAppleDoubleMagic, {{9, 38, length}});
        Append(bytes, BytesOf("TEXTR*ch\x20\x40"));
        bytes.resize(38 + length, 0);
        MemoryBytes file(bytes);
        EXPECT_EQ(ReadDoubleResource(file).info.finder.signature[0], length >= 8 ? 'T' : 0);
        EXPECT_EQ(ReadDoubleResource(file).info.finder.flags, length >= 10 ? 0x2040 : 0) << length;
    }
}

struct LieCase {
    const char* lie;
    std::vector<Entry> entries;
    ContainerFault fault;
    std::size_t dataSize;
    std::size_t resourceSize;
};

TEST(AppleSingle, EntriesThatLieAreNamed) {
    const LieCase cases[] = {
        {"data beyond", {{1, 90, 11}, {2, 80, 10}}, ContainerFault::DataForkCut, 10, 10},
        {"data far beyond", {{1, 0xFFFFFFFF, 1}, {2, 80, 10}}, ContainerFault::DataForkCut, 0, 10},
        {"all of 32 bits", {{1, 0xFFFFFFFF, 0xFFFFFFFF}}, ContainerFault::DataForkCut, 0, 0},
        {"resource beyond", {{1, 90, 10}, {2, 80, 21}}, ContainerFault::ResourceForkCut, 10, 20},
        {"data over the table", {{1, 30, 20}}, ContainerFault::EntryOverlapsHeader, 20, 0},
        {"resource over the table", {{2, 37, 1}}, ContainerFault::EntryOverlapsHeader, 0, 1},
        {"Finder information beyond", {{9, 90, 32}}, ContainerFault::FinderInfoCut, 0, 0},
        {"Finder information too", {{9, 0, 32}}, ContainerFault::EntryOverlapsHeader, 0, 0},
        {"an empty one may lie anywhere",
         {{1, 0, 0}, {2, 0xFFFFFFFF, 0}},
         ContainerFault::None,
         0,
         0},
    };
    for (const LieCase& c : cases) {
        Bytes bytes = Header(kAppleSingleMagic, c.entries);
        bytes.resize(100, 'x');
        MemoryBytes file(bytes);
        MacContainer container = ReadSingleForks(file);
        EXPECT_EQ(container.fault, c.fault) << c.lie;
        EXPECT_TRUE(container.usable);
        EXPECT_EQ(testing::Contents(container.data).size(), c.dataSize) << c.lie;
        EXPECT_EQ(testing::Contents(container.resource).size(), c.resourceSize) << c.lie;
    }
    // More entries than the file has room for.
    Bytes many = Header(kAppleSingleMagic, {{2, 38, 2}});
    many[24] = many[25] = 0xFF;
    Append(many, {1, 2});
    MemoryBytes file(many);
    EXPECT_EQ(ReadSingleForks(file).fault, ContainerFault::HeaderCut);
    EXPECT_FALSE(ReadSingleForks(file).usable);
    // A sidecar so damaged does not keep the data fork beside it from being of use.
    many[3] = 7;
    for (const std::size_t size : {many.size(), std::size_t{4}}) {
        MemoryBytes sidecar(Bytes(many.begin(), many.begin() + static_cast<std::ptrdiff_t>(size)));
        const MacContainer container = ReadDoubleResource(sidecar);
        EXPECT_EQ(container.fault, ContainerFault::HeaderCut);
        EXPECT_TRUE(container.usable);
        EXPECT_EQ(container.resource.size(), 0u);
    }
}

TEST(AppleSingle, ForksThatTheFormatCannotHold) {
    struct Case {
        std::uint64_t data;
        std::uint64_t resource;
        ContainerFault fault;
    };
    constexpr std::uint64_t kMost = 0xFFFFFFFF;
    for (const Case c : {Case{kMost + 1, 0, ContainerFault::ForkTooLong},
                         {0, kMost + 1, ContainerFault::ForkTooLong},
                         {1, kMost - 121, ContainerFault::ForkTooLong},  // the data fork's offset
                         {1, kMost - 122, ContainerFault::SourceFailed},
                         {kMost, 0, ContainerFault::SourceFailed}}) {
        testing::HollowSource data(c.data, 0);
        testing::HollowSource resource(c.resource, 0);
        MemoryBytes target;
        EXPECT_EQ(WriteAppleSingle(target, SomeInfo(), data, resource), c.fault) << c.resource;
    }
}

}  // namespace
}  // namespace vellmark
