#include "volume/tree_bench.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>

namespace vellmark::testing {

namespace {

// A letter as it is stored and what it counts in the order; weight 0: it does not count.
struct Letter {
    std::uint16_t stored;
    std::uint32_t weight;
};

// MacRoman, each letter by its capital; an accented one directly behind the bare letter.
std::vector<Letter> HfsLetters() {
    std::vector<Letter> letters = {{' ', 0x2000},  {'-', 0x2D00},  {'_', 0x5F00}, {0x8E, 0x4502},
                                   {0x83, 0x4502}, {0x8A, 0x4108}, {0x80, 0x4108}};
    for (std::uint16_t c = 'A'; c <= 'Z'; ++c) {
        letters.push_back({c, c * 256u});
        letters.push_back({static_cast<std::uint16_t>(c + 32), c * 256u});
    }
    return letters;
}

// UTF-16, each letter by its small form.
std::vector<Letter> HfsPlusLetters() {
    std::vector<Letter> letters = {{' ', ' '},       {'-', '-'},       {'_', '_'},
                                   {0x0301, 0x0301}, {0x03A3, 0x03C3}, {0x03C3, 0x03C3},
                                   {0x0416, 0x0436}, {0x200C, 0},      {0x65E5, 0x65E5}};
    for (std::uint16_t c = 'a'; c <= 'z'; ++c) {
        letters.push_back({c, c});
        letters.push_back({static_cast<std::uint16_t>(c - 32), c});
    }
    return letters;
}

void Append(Bytes& bytes, std::uint64_t value, int width) {
    for (int shift = 8 * (width - 1); shift >= 0; shift -= 8)
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
}

Bytes RandomBytes(std::mt19937& random, std::size_t size) {
    Bytes bytes(size);
    for (std::uint8_t& byte : bytes)
        byte = static_cast<std::uint8_t>(random());
    return bytes;
}

TreeEntry CatalogRecord(const TreeKind& kind, std::mt19937& random, std::uint32_t parent,
                        std::size_t letters) {
    static const std::vector<Letter> kHfs = HfsLetters();
    static const std::vector<Letter> kHfsPlus = HfsPlusLetters();
    const std::vector<Letter>& alphabet = kind.isHfsPlus ? kHfsPlus : kHfs;
    KeyOrder order = {parent};
    Bytes name;
    for (std::size_t i = 0; i < letters; ++i) {
        const Letter letter = alphabet[random() % alphabet.size()];
        if (letter.weight != 0)
            order.push_back(letter.weight);
        Append(name, letter.stored, kind.isHfsPlus ? 2 : 1);
    }
    Bytes key;
    Append(key, 6 + name.size(), kind.isHfsPlus ? 2 : 1);
    if (!kind.isHfsPlus)
        key.push_back(0);
    Append(key, parent, 4);
    Append(key, letters, kind.isHfsPlus ? 2 : 1);
    key.insert(key.end(), name.begin(), name.end());
    static constexpr std::size_t kHfsSizes[] = {46, 70, 102, 45};
    static constexpr std::size_t kHfsPlusSizes[] = {10, 88, 248, 33};
    const std::size_t size = (kind.isHfsPlus ? kHfsPlusSizes : kHfsSizes)[Below(random, 4)];
    return {order, {key, RandomBytes(random, size)}};
}

TreeEntry ExtentsRecord(const TreeKind& kind, std::mt19937& random, std::uint32_t file) {
    const std::uint32_t fork = Below(random, 2) ? 255 : 0;
    const std::uint32_t start = Below(random, 60'000);
    Bytes key;
    Append(key, kind.isHfsPlus ? 10 : 7, kind.isHfsPlus ? 2 : 1);
    Append(key, fork, 1);
    if (kind.isHfsPlus)
        key.push_back(0);
    Append(key, file, 4);
    Append(key, start, kind.isHfsPlus ? 4 : 2);
    return {{file, fork, start}, {key, RandomBytes(random, kind.isHfsPlus ? 64 : 12)}};
}

struct RawNode {
    std::uint32_t forward, backward;
    int kind, height;
    std::vector<Bytes> records;
    Bytes gap;  // between the records and their offsets
};

std::uint32_t Number(const Bytes& bytes, std::size_t at, std::size_t width) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < width; ++i)
        value = value << 8 | bytes.at(at + i);
    return value;
}

Bytes Part(const Bytes& bytes, std::size_t from, std::size_t to) {
    return {bytes.begin() + static_cast<std::ptrdiff_t>(from),
            bytes.begin() + static_cast<std::ptrdiff_t>(to)};
}

RawNode Load(TreeCursor& tree, std::uint32_t number) {
    Bytes bytes(tree.nodeSize);
    EXPECT_TRUE(tree.store->read(number, bytes));
    RawNode node{Number(bytes, 0, 4), Number(bytes, 4, 4), bytes[8], bytes[9], {}, {}};
    const std::size_t count = Number(bytes, 10, 2);
    const auto offset = [&](std::size_t i) { return Number(bytes, bytes.size() - 2 * (i + 1), 2); };
    for (std::size_t i = 0; i < count; ++i)
        node.records.push_back(Part(bytes, offset(i), offset(i + 1)));
    node.gap = Part(bytes, offset(count), bytes.size() - 2 * (count + 1));
    EXPECT_EQ(offset(0), 14u);
    return node;
}

// Length field and key of a record.
Bytes KeyOf(const TreeKind& kind, const Bytes& record) {
    const std::size_t width = kind.isHfsPlus ? 2 : 1;
    return Part(record, 0, width + Number(record, 0, width));
}

// An index record as the format wants it for that child.
Bytes ExpectedIndexRecord(const TreeKind& kind, const Bytes& firstKey, std::uint32_t child) {
    Bytes record = firstKey;
    if (!kind.isHfsPlus) {
        record[0] = kind.isCatalog ? 37 : 7;
        record.resize(record[0] + 1u);
    }
    Append(record, child, 4);
    return record;
}

Bytes ExpectedLeafRecord(const TestRecord& record) {
    Bytes bytes = record.key;
    bytes.resize(bytes.size() + bytes.size() % 2);
    bytes.insert(bytes.end(), record.data.begin(), record.data.end());
    bytes.resize(bytes.size() + bytes.size() % 2);
    return bytes;
}

// Nodes of one level and, from the level above, the index records that lead to them.
struct Level {
    std::vector<std::uint32_t> numbers;
    std::vector<Bytes> entries;
};

// Checks the nodes of a level and gives the next one; leaf records go to `leaves`.
Level CheckLevel(TreeCursor& tree, const TreeKind& kind, const Level& level, int height,
                 std::vector<Bytes>& leaves) {
    Level below;
    for (std::size_t i = 0; i < level.numbers.size(); ++i) {
        const std::uint32_t number = level.numbers[i];
        SCOPED_TRACE(::testing::Message() << "node " << number << " at height " << height);
        const RawNode node = Load(tree, number);
        EXPECT_EQ(node.kind, height == 1 ? 255 : 0);
        EXPECT_EQ(node.height, height);
        EXPECT_EQ(node.backward, i > 0 ? level.numbers[i - 1] : 0u);
        EXPECT_EQ(node.forward, i + 1 < level.numbers.size() ? level.numbers[i + 1] : 0u);
        EXPECT_FALSE(node.records.empty());
        EXPECT_TRUE(std::all_of(node.gap.begin(), node.gap.end(),
                                [](std::uint8_t byte) { return byte == 0; }));
        if (node.records.empty())
            continue;
        if (!level.entries.empty()) {
            const Bytes firstKey = KeyOf(kind, node.records[0]);
            // The key of an index record is forced to one length in HFS; its name is not.
            Bytes entry = ExpectedIndexRecord(kind, firstKey, number);
            EXPECT_EQ(level.entries[i], entry);
        }
        for (const Bytes& record : node.records) {
            if (height == 1) {
                leaves.push_back(record);
                continue;
            }
            below.entries.push_back(record);
            below.numbers.push_back(Number(record, record.size() - 4, 4));
        }
    }
    return below;
}

void CheckMap(TreeCursor& tree, std::set<std::uint32_t> used) {
    used.insert(0);
    for (std::uint32_t number = Number(tree.headerNode, 0, 4); number != 0;) {
        ASSERT_TRUE(used.insert(number).second) << "map node " << number;
        const RawNode node = Load(tree, number);
        EXPECT_EQ(node.kind, 2);
        EXPECT_EQ(node.height, 0);
        ASSERT_EQ(node.records.size(), 1u);
        EXPECT_EQ(node.records[0].size(), tree.nodeSize - 20);
        number = node.forward;
    }
    const std::uint32_t total = Number(tree.headerNode, 36, 4);
    EXPECT_EQ(Number(tree.headerNode, 40, 4), total - used.size()) << "free nodes";
    for (std::uint32_t number = 0; number < 8 * tree.nodeBitmap.size(); ++number) {
        const bool marked = (tree.nodeBitmap[number / 8] << (number % 8) & 0x80) != 0;
        ASSERT_EQ(marked, used.count(number) != 0) << "bit of node " << number;
    }
    EXPECT_GE(8 * tree.nodeBitmap.size(), total);
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

NewTree ShapeOf(const TreeKind& kind, std::uint32_t totalNodes) {
    NewTree shape;
    shape.nodeSize = kind.nodeSize;
    shape.totalNodes = totalNodes;
    shape.rootLeaf = kind.isCatalog;
    return shape;
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
    std::vector<Bytes> leaves;
    std::set<std::uint32_t> used;
    Level level;
    const int depth = static_cast<int>(Number(header, 14, 2));
    if (depth > 0)
        level.numbers = {Number(header, 16, 4)};
    for (int height = depth; height > 0; --height) {
        for (const std::uint32_t number : level.numbers)
            ASSERT_TRUE(used.insert(number).second) << "node " << number << " is reached twice";
        if (height == 1) {
            EXPECT_EQ(Number(header, 24, 4), level.numbers.front()) << "first leaf";
            EXPECT_EQ(Number(header, 28, 4), level.numbers.back()) << "last leaf";
        }
        level = CheckLevel(tree, kind, level, height, leaves);
    }
    EXPECT_EQ(Number(header, 20, 4), model.size()) << "leaf records";
    ASSERT_EQ(leaves.size(), model.size());
    std::size_t i = 0;
    for (const auto& [order, record] : model) {
        ASSERT_EQ(leaves[i], ExpectedLeafRecord(record)) << "record " << i;
        ++i;
    }
    CheckMap(tree, std::move(used));
}

}  // namespace vellmark::testing
