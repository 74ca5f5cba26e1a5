// B-trees of damaged volumes: what cannot be right is refused, and no node is taken for another.
#include <gtest/gtest.h>

#include <algorithm>

#include "volume/btree.hpp"
#include "volume/tree_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;

class BTreeDamage : public testing::TreeTest {
  protected:
    // Changes every node of one height behind the back of the tree: `change(node, number)`.
    template <typename Change>
    void spoil(int height, Change change) {
        Bytes bytes(kind_.nodeSize);
        for (std::uint32_t number = 1; number < tree_.header().totalNodes; ++number) {
            ASSERT_TRUE(nodes_.read(number, bytes));
            NodeView node(bytes, *kind_.format);
            if (node.descriptor().height != height)
                continue;
            change(node, number);
            ASSERT_TRUE(nodes_.write(number, bytes));
        }
    }
};

INSTANTIATE_TEST_SUITE_P(AllKinds, BTreeDamage, ::testing::ValuesIn(testing::kTreeKinds),
                         [](const auto& test) { return std::string(test.param.name); });

// Every neighbour link of one height leads to the node itself, the root, nowhere or a free node.
TEST_P(BTreeDamage, WrongLinksAreRefused) {
    for (const int height : {1, 2})
        for (const auto link : {&NodeDescriptor::forwardLink, &NodeDescriptor::backwardLink})
            for (int target = 0; target < 4; ++target) {
                const testing::TreeModel model = fill(3000, 1500);
                ASSERT_GE(tree_.header().depth, 3);
                spoil(height, [&](NodeView node, std::uint32_t number) {
                    const std::uint32_t wrongs[] = {number, tree_.header().root, 0xFFFFFFFF, 2999};
                    node.descriptor().*link = wrongs[target];
                });
                const auto damaged = std::ranges::count_if(model, [&](const auto& entry) {
                    return remove(entry.second) == TreeResult::Damaged;
                });
                EXPECT_GT(damaged, height == 1 ? 50 : 0) << "height " << height << ", " << target;
            }
}

TEST_P(BTreeDamage, HeadersThatCannotBeAreRefused) {
    (void)fill(50, 1);
    const std::uint32_t size = kind_.nodeSize;
    const struct {
        const char* what;
        std::size_t offset;
        std::uint8_t value;
        std::uint32_t nodeSize;
        bool opens;
    } cases[] = {{"sound", 8, 1, size, true},        {"size 0", 8, 1, 0, false},
                 {"size 768", 8, 1, 768, false},     {"size 65536", 8, 1, 65536, false},
                 {"kind", 8, 255, size, false},      {"depth", 15, 17, size, false},
                 {"root", 19, 50, size, false},      {"first leaf", 24, 1, size, false},
                 {"last leaf", 31, 50, size, false}, {"one node", 39, 1, size, false}};
    for (const auto& c : cases) {
        Bytes header = tree_.headerNode;
        header[c.offset] = c.value;
        ASSERT_TRUE(nodes_.write(0, header));
        TreeCursor again;
        EXPECT_EQ(OpenTree(again, *kind_.format, nodes_, c.nodeSize), c.opens) << c.what;
    }
}

// Maps of other programs' volumes: the bits decide what is free. One that takes nodes in use for
// free ones offers those that the insertion stands on.
TEST_P(BTreeDamage, NodesInUseAreNotTakenForFreeOnes) {
    (void)fill(3001, 500);
    const std::uint32_t free = tree_.header().freeNodes;
    tree_.header().freeNodes = 12345;
    ASSERT_EQ(FlushTree(tree_), TreeResult::Done);
    ASSERT_EQ(LoadNodeBitmap(tree_), TreeResult::Done);
    EXPECT_EQ(tree_.header().freeNodes, free);
    std::fill(tree_.nodeBitmap.begin(), tree_.nodeBitmap.end(), std::uint8_t{0});
    ASSERT_EQ(FlushTree(tree_), TreeResult::Done);
    EXPECT_EQ(LoadNodeBitmap(tree_), TreeResult::Damaged) << "node 0 is no free node";
    tree_.nodeBitmap[0] = 0x80;
    int damaged = 0;
    for (int i = 0; i < 500; ++i)
        damaged += insert(RandomRecord(kind_, random_).second) == TreeResult::Damaged ? 1 : 0;
    EXPECT_GT(damaged, 10);
}

// Counts down the calls until one fails.
struct FailingNodes final : NodeStore {
    FailingNodes(NodeStore& nodes, int left) : nodes_(nodes), left_(left) {}
    bool read(std::uint32_t number, ByteSpan node) override {
        return --left_ != 0 && nodes_.read(number, node);
    }
    bool write(std::uint32_t number, ConstByteSpan node) override {
        return --left_ != 0 && nodes_.write(number, node);
    }
    NodeStore& nodes_;
    int left_;
};

// Whichever call fails: whoever takes the change back must be told.
TEST_P(BTreeDamage, ANodeThatCannotBeReadOrWrittenIsTold) {
    const testing::TreeModel model = fill(600, 300);
    const MemoryNodes nodes = nodes_;
    const TreeCursor tree = tree_;
    int failures = 0;
    for (int round = 0; round < 60; ++round) {
        const bool inserts = round % 2 == 0;
        const testing::TestRecord record =
            inserts ? RandomRecord(kind_, random_).second
                    : std::next(model.begin(), testing::Below(random_, model.size()))->second;
        bool hasFailed = true;
        for (int n = 1; hasFailed; ++n) {
            nodes_ = nodes;
            tree_ = tree;
            FailingNodes failing(nodes_, n);
            tree_.store = &failing;
            const TreeResult result = inserts ? insert(record) : remove(record);
            hasFailed = failing.left_ <= 0;
            failures += hasFailed ? 1 : 0;
            ASSERT_EQ(result == TreeResult::Failed, hasFailed) << round << ", call " << n;
        }
    }
    EXPECT_GT(failures, 200);
}

// Offsets and lengths of a node's bytes, before anything follows them.
TEST(BTreeNodes, ThatCannotBeAreNotSound) {
    Bytes good(512);
    NodeView node(good, kHfsCatalogFormat);
    node.clear(NodeKind::Leaf, 1);
    node.insert(0, Bytes{6, 0, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4});
    const struct {
        const char* what;
        std::size_t at;
        std::uint8_t value;
        bool sound;
    } cases[] = {{"more records than offsets fit", 10, 0xFF, false},
                 {"a record that is not there", 11, 2, false},
                 {"first record not behind the descriptor", 511, 16, false},
                 {"free space before the record", 509, 13, false},
                 {"an empty record", 509, 14, false},
                 {"free space behind the node", 508, 2, false},
                 {"a record up to the offsets", 508, 1, true},
                 {"a key as long as its record", 14, 11, true},
                 {"a key longer than its record", 14, 12, false},
                 {"room for the child's number", 8, 0, true},
                 {"a map has no keys", 8, 2, true}};
    for (const auto& c : cases) {
        Bytes bytes = good;
        bytes[c.at] = c.value;
        EXPECT_EQ(NodeView(bytes, kHfsCatalogFormat).isSound(), c.sound) << c.what;
    }
}

}  // namespace
}  // namespace vellmark
