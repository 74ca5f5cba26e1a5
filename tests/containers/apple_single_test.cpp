// Forks in AppleSingle and AppleDouble, and in named streams: what a server left in the attributes
// of a file, in either of two spellings.
#include "containers/apple_single.hpp"

#include <gtest/gtest.h>
#include <sys/xattr.h>

#include "containers/codec_bench.hpp"
#include "containers/named_streams.hpp"
#include "support/pc_file.hpp"

namespace vellmark::testing {
namespace {

struct Entry {
    std::uint32_t id, offset, length;
};

Bytes Header(std::uint32_t magic, const std::vector<Entry>& entries) {
    Bytes bytes = Be(magic, 4) + Be(0x00020000, 4) + Bytes(16) + Be(entries.size(), 2);
    for (const Entry& entry : entries)
        bytes = bytes + Be(entry.id, 4) + Be(entry.offset, 4) + Be(entry.length, 4);
    return bytes;
}

TEST(AppleSingle, WrittenByteForByte) {
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
    for (const bool onHfs : {true, false}) {
        if (!onHfs)
            info.accessed = 0xC0000009;
        const Bytes tail = Be(0xC0000001C0000002, 8) + Be(onHfs ? 0x80000000 : 0xC0000009, 4) +
                           Be(0xC0000003, 4) + BytesOf("TEXTR*ch") + Be(0x2040000100020003, 8) +
                           Bytes(16, 0xE1) + Pattern(300, 5);
        MemoryBytes data(Pattern(70)), resource(Pattern(300, 5)), target, companion;
        ASSERT_EQ(WriteAppleDouble(target, companion, info, data, resource), ContainerFault::None);
        EXPECT_EQ(companion.bytes(),
                  Header(0x00051607, {{8, 62, 16}, {9, 78, 32}, {2, 110, 300}}) + tail);
        EXPECT_EQ(target.bytes(), Pattern(70));
        ASSERT_EQ(WriteAppleSingle(target, info, data, resource), ContainerFault::None);
        EXPECT_EQ(target.bytes(),
                  Header(0x00051600, {{8, 74, 16}, {9, 90, 32}, {2, 122, 300}, {1, 422, 70}}) +
                      tail + Pattern(70));
    }
}

// Comment and name in between, the Finder information far behind, a second data entry.
TEST(AppleSingle, EntriesInAnyOrderAndOfAnyKind) {
    Bytes bytes = Header(0x00051600, {{4, 110, 7},
                                      {1, 117, 5},
                                      {9, 2000, 32},
                                      {0x80000000, 0xFFFFFFFF, 0xFFFFFFFF},
                                      {2, 122, 12},
                                      {1, 134, 100},
                                      {8, 0, 0}});
    bytes = bytes + BytesOf("namexxxdata!resource fork");
    bytes.resize(2000, '-');
    MemoryBytes file(bytes + BytesOf("APPLtest") + Bytes(24, 0x11));
    MacContainer container = ReadSingleForks(file);
    EXPECT_EQ(container.fault, ContainerFault::None);
    EXPECT_EQ(Contents(container.data), BytesOf("data!"));
    EXPECT_EQ(Contents(container.resource), BytesOf("resource for"));
    EXPECT_EQ(container.info.dataLength, 5u);
    EXPECT_EQ(container.info.finder.flags, 0x1111);
    EXPECT_EQ(container.info.finder.extended[15], 0x11);
    EXPECT_EQ(std::string(container.info.finder.signature.data(), 8), "APPLtest");
}

TEST(AppleSingle, EntriesThatLieAreNamed) {
    const struct {
        const char* lie;
        std::vector<Entry> entries;
        ContainerFault fault = ContainerFault::None;
        std::size_t dataSize = 0, resourceSize = 0;
        char creator = 0;
    } cases[] = {
        {"data beyond", {{1, 90, 11}, {2, 80, 10}}, ContainerFault::DataForkCut, 10, 10},
        {"all of 32 bits", {{1, ~0U, ~0U}}, ContainerFault::DataForkCut},
        {"resource beyond", {{1, 90, 10}, {2, 80, 21}}, ContainerFault::ResourceForkCut, 10, 20},
        {"data over the table", {{1, 30, 20}}, ContainerFault::EntryOverlapsHeader, 20},
        {"resource over the table", {{2, 37, 1}}, ContainerFault::EntryOverlapsHeader, 0, 1},
        {"Finder information beyond", {{9, 90, 32}}, ContainerFault::FinderInfoCut, 0, 0, 'x'},
        {"type and creator alone", {{9, 90, 8}}, ContainerFault::None, 0, 0, 'x'},
        {"less than these", {{9, 90, 7}}},
        {"an empty one may lie anywhere", {{1, 0, 0}, {2, ~0U, 0}}}};
    for (const auto& c : cases) {
        Bytes bytes = Header(kAppleSingleMagic, c.entries);
        bytes.resize(100, 'x');
        MemoryBytes file(bytes);
        MacContainer container = ReadSingleForks(file);
        EXPECT_EQ(container.fault, c.fault) << c.lie;
        EXPECT_TRUE(container.usable);
        EXPECT_EQ(container.info.finder.signature[0], c.creator) << c.lie;
        EXPECT_EQ(Contents(container.data).size(), c.dataSize) << c.lie;
        EXPECT_EQ(Contents(container.resource).size(), c.resourceSize) << c.lie;
    }
    // More entries than the file has room for. A companion so damaged does not keep the data fork
    // beside it from being of use.
    Bytes many = Header(kAppleSingleMagic, {{2, 38, 2}}) + Bytes{1, 2};
    many[24] = many[25] = 0xFF;
    MemoryBytes file(many);
    EXPECT_EQ(ReadSingleForks(file).fault, ContainerFault::HeaderCut);
    EXPECT_FALSE(ReadSingleForks(file).usable);
    many[3] = 7;
    MemoryBytes companion(many);
    EXPECT_EQ(ReadDoubleResource(companion).fault, ContainerFault::HeaderCut);
    EXPECT_TRUE(ReadDoubleResource(companion).usable);
}

// A fork of more than 32 bits, and one whose data fork would begin behind them.
TEST(AppleSingle, ForksThatTheFormatCannotHold) {
    constexpr std::uint64_t kMost = 0xFFFFFFFF;
    HollowSource none(0, 0), byte(1, 0), tooLong(kMost + 1, 0);
    HollowSource behind(kMost - 121, 0), fits(kMost - 122, 0);
    MemoryBytes target;
    EXPECT_EQ(WriteAppleSingle(target, {}, tooLong, none), ContainerFault::ForkTooLong);
    EXPECT_EQ(WriteAppleSingle(target, {}, none, tooLong), ContainerFault::ForkTooLong);
    EXPECT_EQ(WriteAppleSingle(target, {}, byte, behind), ContainerFault::ForkTooLong);
    EXPECT_EQ(WriteAppleSingle(target, {}, byte, fits), ContainerFault::SourceFailed);
}

const std::string kPlainResource = "user.AFP_Resource";
const std::string kPlainInfo = "user.AFP_AfpInfo";
const std::string kServerResource = "user.DosStream.AFP_Resource:$DATA";
const std::string kServerInfo = "user.DosStream.AFP_AfpInfo:$DATA";

// 60 bytes: "AFP", version 1.0, id, backup date, type, creator, flags 4000, zeros.
std::string Info(std::size_t size = 60, const char* signature = "TEXTttxt") {
    std::string info = std::string("AFP\0\0\1\0\0\0\0\0\0\x80\0\0\0", 16) + signature + "\x40";
    info.resize(size);
    return info;
}
// The header of a resource fork of 300 bytes: map of 44 bytes at 256.
std::string Fork(std::size_t size) {
    std::string fork("\0\0\1\0\0\0\1\0\0\0\0\0\0\0\0\x2c", 16);
    fork.resize(size);
    return fork;
}

TEST(NamedStreams, AreReadInBothSpellingsWithoutTheByteTooMany) {
    const TemporaryFolder folder;
    const std::string path = folder.path() + "/file";
    const std::string none(8, '\0');
    const struct {
        const char* what;
        std::vector<std::pair<std::string, std::string>> attributes;
        std::size_t forkSize;
        std::string signature;  // empty: no Finder's information
    } cases[] = {
        {"nothing", {}, 0, ""},
        {"plain", {{kPlainResource, Fork(300)}, {kPlainInfo, Info()}}, 300, "TEXTttxt"},
        {"a plain one is never cut", {{kPlainResource, Fork(301)}}, 301, ""},
        {"one too many", {{kServerResource, Fork(9)}, {kServerInfo, Info(61)}}, 8, "TEXTttxt"},
        {"no zero", {{kServerResource, "data"}, {kServerInfo, Info(61)}}, 4, "TEXTttxt"},
        {"the map's end tells", {{kServerResource, Fork(301)}}, 300, ""},
        {"as far as the flags", {{kPlainInfo, Info(26)}}, 0, "TEXTttxt"},
        {"cut", {{kPlainInfo, Info(25)}}, 0, ""},
        {"no signature", {{kPlainInfo, Info(60, "TEXTLMAN")}}, 0, none}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        ::unlink(path.c_str());
        ASSERT_TRUE(PcFile(path, PcFile::Mode::CreateNew).isOpen());
        for (const auto& [name, value] : c.attributes)
            if (::setxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0) != 0)
                GTEST_SKIP() << "the file system keeps no attributes of users";
        EXPECT_EQ(HasNamedStreams(path), !c.attributes.empty());
        MemoryBytes fork;
        EXPECT_EQ(ReadResourceStream(path, fork), 0);
        EXPECT_EQ(fork.size(), c.forkSize);
        const auto finder = ReadAfpInfo(path);
        ASSERT_EQ(finder.has_value(), !c.signature.empty());
        if (finder) {
            EXPECT_EQ(std::string(finder->signature.data(), 8), c.signature);
            EXPECT_EQ(finder->flags, 0x4000);
        }
    }
}

}  // namespace
}  // namespace vellmark::testing
