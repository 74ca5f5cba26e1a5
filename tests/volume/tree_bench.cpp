#include "volume/tree_bench.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cctype>
#include <string>

namespace vellmark::testing {

namespace {

Bytes RandomBytes(std::mt19937& random, std::size_t size) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

TreeEntry CatalogRecord(const TreeKind& kind, std::mt19937& random, std::uint32_t parent,
                        std::size_t letters) {
    // Both formats order these alike.
    constexpr std::string_view kLetters =
        " -0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    KeyOrder order = {parent};
    std::string name;
    while (name.size() < letters) {
        name += kLetters[Below(random, kLetters.size())];
        order.push_back(static_cast<std::uint32_t>(std::toupper(name.back())));
    }
    static constexpr std::size_t kHfsSizes[] = {46, 70, 102, 45};
    static constexpr std::size_t kHfsPlusSizes[] = {10, 88, 248, 33};
    const Bytes data =
        RandomBytes(random, (kind.isHfsPlus ? kHfsPlusSizes : kHfsSizes)[Below(random, 4)]);
    if (!kind.isHfsPlus)
        return {order, {HfsCatalogKey(parent, name), data}};
    return {order, {HfsPlusCatalogKey(parent, std::u16string(name.begin(), name.end())), data}};
}

TreeEntry ExtentsRecord(const TreeKind& kind, std::mt19937& random, std::uint32_t file) {
    const std::uint8_t fork = Below(random, 2) ? kResourceFork : kDataFork;
    const std::uint32_t start = Below(random, 60'000);
    const TreeKey key =
        kind.isHfsPlus ? HfsPlusExtentsKey(file, fork, start) : HfsExtentsKey(file, fork, start);
    return {{file, fork, start}, {key, RandomBytes(random, kind.isHfsPlus ? 64 : 12)}};
}

std::uint64_t Number(const Bytes& bytes, std::size_t at, std::size_t width) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value = value << 8 | bytes.at(at + i);
    return value;
}

// The leaves from left to right by their own links: their records.
std::vector<Bytes> RecordsOfLeaves(TreeCursor& tree) {
    std::vector<Bytes> records;
    std::uint32_t before = 0;
    for (auto number = static_cast<std::uint32_t>(Number(tree.headerNode, 24, 4)); number != 0;) {
        Bytes node(tree.nodeSize);
        EXPECT_TRUE(tree.store->read(number, node));
        EXPECT_EQ(Number(node, 4, 6), std::uint64_t{before} << 16 | 0xFF01) << "link, kind, height";
        const auto offset = [&](std::size_t i) {
            return Number(node, node.size() - 2 * (i + 1), 2);
        };
        const std::size_t count = Number(node, 10, 2);
        for (std::size_t i = 0; i < count; ++i)
            records.emplace_back(node.data() + offset(i), node.data() + offset(i + 1));
        EXPECT_EQ(offset(0), 14u);
        EXPECT_TRUE(std::all_of(node.data() + offset(count),
                                node.data() + node.size() - 2 * count - 2,
                                [](std::uint8_t byte) { return byte == 0; }))
            << "free space";
        before = number;
        number = static_cast<std::uint32_t>(Number(node, 0, 4));
    }
    EXPECT_EQ(Number(tree.headerNode, 28, 4), before) << "last leaf";
    return records;
}

Bytes LeafRecord(const TestRecord& record) {
    Bytes bytes = record.key;
    bytes.resize(bytes.size() + bytes.size() % 2);
    bytes.insert(bytes.end(), record.data.begin(), record.data.end());
    bytes.resize(bytes.size() + bytes.size() % 2);
    return bytes;
}

}  // namespace

TreeEntry FirstRecord(const TreeKind& kind) {
    std::mt19937 random(1);
    return kind.isCatalog ? CatalogRecord(kind, random, 1, 5) : ExtentsRecord(kind, random, 1);
}

TreeEntry RandomRecord(const TreeKind& kind, std::mt19937& random) {
    if (!kind.isCatalog)
        return ExtentsRecord(kind, random, 16 + Below(random, 2000));
    const std::uint32_t longest = Below(random, 2) ? 2 : kind.isHfsPlus ? 255 : 31;
    const std::uint32_t parent = 2 + Below(random, 40);
    return CatalogRecord(kind, random, parent, Below(random, longest + 1));
}

std::vector<Bytes> AllNodes(TreeCursor& tree) {
    std::vector<Bytes> nodes = {tree.headerNode, tree.nodeBitmap};
    for (std::uint32_t number = 0; number < tree.header().totalNodes; ++number) {
        nodes.emplace_back(tree.nodeSize);
        EXPECT_TRUE(tree.store->read(number, nodes.back()));
    }
    return nodes;
}

void ExpectSoundTree(TreeCursor& tree, const TreeModel& model) {
    EXPECT_EQ(Number(tree.headerNode, 20, 4), model.size()) << "leaf records";
    const std::vector<Bytes> records = RecordsOfLeaves(tree);
    ASSERT_EQ(records.size(), model.size());
    std::size_t i = 0;
    for (const auto& [order, record] : model) {
        bool found = false;
        ASSERT_EQ(FindKey(tree, record.key, found), TreeResult::Done);
        ASSERT_TRUE(found && records[i++] == LeafRecord(record)) << "record " << i;
    }
    std::uint64_t free = Number(tree.headerNode, 36, 4);
    for (const std::uint8_t byte : tree.nodeBitmap)
        free -= static_cast<std::uint64_t>(std::popcount(byte));
    EXPECT_EQ(Number(tree.headerNode, 40, 4), free) << "free nodes";
}

}  // namespace vellmark::testing
