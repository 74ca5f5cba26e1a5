#include "volume/tree_bench.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>
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

std::uint32_t Number(const Bytes& bytes, std::size_t at, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value = value << 8 | bytes.at(at + i);
    return value;
}

struct RawNode {
    std::uint32_t forward, backward, kind, height;
    std::vector<Bytes> records;
};

RawNode Load(TreeCursor& tree, std::uint32_t number) {
    Bytes bytes(tree.nodeSize);
    EXPECT_TRUE(tree.store->read(number, bytes));
    RawNode node{Number(bytes, 0, 4), Number(bytes, 4, 4), bytes[8], bytes[9], {}};
    const std::size_t count = Number(bytes, 10, 2);
    const auto offset = [&](std::size_t i) { return Number(bytes, bytes.size() - 2 * (i + 1), 2); };
    for (std::size_t i = 0; i < count; ++i)
        node.records.emplace_back(bytes.data() + offset(i), bytes.data() + offset(i + 1));
    EXPECT_EQ(offset(0), 14u);
    EXPECT_TRUE(std::all_of(bytes.data() + offset(count),
                            bytes.data() + bytes.size() - 2 * count - 2,
                            [](std::uint8_t byte) { return byte == 0; }))
        << "free space";
    return node;
}

// The index record that leads to a node with that first record. HFS forces its key to one length;
// the length of its name stays.
Bytes IndexRecord(const TreeKind& kind, Bytes record, std::uint32_t child) {
    record.resize(kind.isHfsPlus ? 2 + Number(record, 0, 2) : 1u + record[0]);
    if (!kind.isHfsPlus) {
        record[0] = kind.isCatalog ? 37 : 7;
        record.resize(record[0] + 1u);
    }
    for (int shift = 24; shift >= 0; shift -= 8)
        record.push_back(static_cast<std::uint8_t>(child >> shift));
    return record;
}

Bytes LeafRecord(const TestRecord& record) {
    Bytes bytes = record.key;
    bytes.resize(bytes.size() + bytes.size() % 2);
    bytes.insert(bytes.end(), record.data.begin(), record.data.end());
    bytes.resize(bytes.size() + bytes.size() % 2);
    return bytes;
}

// Checks the nodes of a level, to which `entries` of the level above lead; its own records.
std::vector<Bytes> CheckLevel(TreeCursor& tree, const TreeKind& kind, std::uint32_t height,
                              const std::vector<std::uint32_t>& numbers,
                              const std::vector<Bytes>& entries) {
    std::vector<Bytes> records;
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        SCOPED_TRACE(::testing::Message() << "node " << numbers[i] << " at height " << height);
        const RawNode node = Load(tree, numbers[i]);
        EXPECT_EQ(node.kind, height == 1 ? 255u : 0u);
        EXPECT_EQ(node.height, height);
        EXPECT_EQ(node.backward, i > 0 ? numbers[i - 1] : 0u);
        EXPECT_EQ(node.forward, i + 1 < numbers.size() ? numbers[i + 1] : 0u);
        EXPECT_FALSE(node.records.empty());
        if (!entries.empty() && !node.records.empty()) {
            EXPECT_EQ(entries[i], IndexRecord(kind, node.records[0], numbers[i]));
        }
        records.insert(records.end(), node.records.begin(), node.records.end());
    }
    return records;
}

void CheckMap(TreeCursor& tree, std::set<std::uint32_t> used) {
    used.insert(0);
    for (std::uint32_t number = Number(tree.headerNode, 0, 4); number != 0;) {
        ASSERT_TRUE(used.insert(number).second) << "map node " << number;
        const RawNode node = Load(tree, number);
        EXPECT_EQ(node.kind, 2u);
        EXPECT_EQ(node.height, 0u);
        ASSERT_EQ(node.records.size(), 1u);
        EXPECT_EQ(node.records[0].size(), tree.nodeSize - 20);
        number = node.forward;
    }
    const std::uint32_t total = Number(tree.headerNode, 36, 4);
    EXPECT_EQ(Number(tree.headerNode, 40, 4), total - used.size()) << "free nodes";
    EXPECT_GE(8 * tree.nodeBitmap.size(), total);
    for (std::uint32_t number = 0; number < 8 * tree.nodeBitmap.size(); ++number) {
        const bool marked = (tree.nodeBitmap[number / 8] << (number % 8) & 0x80) != 0;
        ASSERT_EQ(marked, used.count(number) != 0) << "bit of node " << number;
    }
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

TreeModel RandomModel(const TreeKind& kind, std::mt19937& random, std::size_t count) {
    TreeModel model = {FirstRecord(kind)};
    while (model.size() < count)
        model.insert(RandomRecord(kind, random));
    return model;
}

std::vector<Bytes> AllNodes(TreeCursor& tree) {
    std::vector<Bytes> nodes = {tree.headerNode, tree.nodeBitmap};
    for (std::uint32_t number = 0; number < tree.header().totalNodes; ++number) {
        nodes.emplace_back(tree.nodeSize);
        EXPECT_TRUE(tree.store->read(number, nodes.back()));
    }
    return nodes;
}

void ExpectSoundTree(TreeCursor& tree, const TreeKind& kind, const TreeModel& model) {
    const Bytes& header = tree.headerNode;
    std::set<std::uint32_t> used;
    std::vector<Bytes> records;
    for (std::uint32_t height = Number(header, 14, 2); height > 0; --height) {
        std::vector<std::uint32_t> numbers;
        for (const Bytes& entry : records)
            numbers.push_back(Number(entry, entry.size() - 4, 4));
        if (records.empty())
            numbers.push_back(Number(header, 16, 4));
        for (const std::uint32_t number : numbers)
            ASSERT_TRUE(used.insert(number).second) << "node " << number << " is reached twice";
        if (height == 1) {
            EXPECT_EQ(Number(header, 24, 4), numbers.front()) << "first leaf";
            EXPECT_EQ(Number(header, 28, 4), numbers.back()) << "last leaf";
        }
        records = CheckLevel(tree, kind, height, numbers, records);
    }
    EXPECT_EQ(Number(header, 20, 4), model.size()) << "leaf records";
    ASSERT_EQ(records.size(), model.size());
    std::size_t i = 0;
    for (const auto& [order, record] : model)
        ASSERT_EQ(records[i++], LeafRecord(record)) << "record " << i;
    CheckMap(tree, std::move(used));
}

}  // namespace vellmark::testing
