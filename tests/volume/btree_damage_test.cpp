// B-trees of damaged volumes: what cannot be right is refused, and no node is taken for another.
#include <gtest/gtest.h>

#include <algorithm>

#include "volume/btree.hpp"
#include "volume/tree_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::kSeed;
using testing::TestRecord;
using testing::TreeKind;
using testing::TreeModel;

class BTreeDamage : public testing::TreeTest {};

INSTANTIATE_TEST_SUITE_P(AllKinds, BTreeDamage, ::testing::ValuesIn(testing::kTreeKinds),
                         [](const auto& test) { return std::string(test.param.name); });

// Every neighbour link of one height is wrong in the same way.
TEST_P(BTreeDamage, WrongLinksAreRefused) {
    enum class Target { Self, Root, Outside, Free };
    for (const int height : {1, 2})
        for (const bool isForward : {true, false})
            for (const Target target :
                 {Target::Self, Target::Root, Target::Outside, Target::Free}) {
                SCOPED_TRACE(::testing::Message() << "height " << height << " forward " << isForward
                                                  << " target " << static_cast<int>(target));
                MemoryNodes nodes(kind_.nodeSize);
                create(nodes, 3000);
                const TreeModel model = RandomModel(kind_, random_, 1500);
                for (const auto& [order, record] : model)
                    ASSERT_EQ(insert(record), TreeResult::Done);
                ASSERT_GE(tree_.header().depth, 3);
                Bytes bytes(kind_.nodeSize);
                for (std::uint32_t number = 1; number < 3000; ++number) {
                    ASSERT_TRUE(nodes.read(number, bytes));
                    NodeDescriptor& node = NodeView(bytes, *kind_.format).descriptor();
                    if (node.height != height)
                        continue;
                    const std::uint32_t wrongs[] = {number, tree_.header().root, 0xFFFFFFFF, 2999};
                    const std::uint32_t wrong = wrongs[static_cast<int>(target)];
                    (isForward ? node.forwardLink : node.backwardLink) = wrong;
                    ASSERT_TRUE(nodes.write(number, bytes));
                }
                std::size_t damaged = 0;
                for (const auto& [order, record] : model)
                    damaged += remove(record) == TreeResult::Damaged ? 1 : 0;
                EXPECT_GT(damaged, height == 1 ? 50u : 0u);
            }
}

TEST_P(BTreeDamage, HeadersThatCannotBeAreRefused) {
    create(nodes_, 50);
    ASSERT_EQ(insert(testing::FirstRecord(kind_).second), TreeResult::Done);
    ASSERT_EQ(FlushTree(tree_), TreeResult::Done);
    TreeCursor again;
    for (const std::uint32_t size : {0u, 1u, 256u, 513u, 768u, 65536u})
        EXPECT_FALSE(OpenTree(again, *kind_.format, nodes_, size)) << size;
    struct Case {
        const char* what;
        std::size_t offset;
        std::uint8_t value;
    };
    for (const Case c : {Case{"kind", 8, 255}, Case{"depth", 15, 17}, Case{"root", 19, 50},
                         Case{"first leaf", 24, 1}, Case{"last leaf", 31, 50},
                         Case{"total nodes", 39, 1}, Case{"no nodes", 39, 0}}) {
        Bytes header = tree_.headerNode;
        header[c.offset] = c.value;
        ASSERT_TRUE(nodes_.write(0, header));
        EXPECT_FALSE(OpenTree(again, *kind_.format, nodes_, kind_.nodeSize)) << c.what;
    }
    ASSERT_TRUE(nodes_.write(0, tree_.headerNode));
    EXPECT_TRUE(OpenTree(again, *kind_.format, nodes_, kind_.nodeSize));
}

// Wrong counts and maps of other programs' volumes.
TEST(BTreeNodes, TheLoadedMapDecidesWhatIsFree) {
    const TreeKind& kind = testing::kTreeKinds[0];
    MemoryNodes nodes(kind.nodeSize);
    TreeCursor tree;
    ASSERT_TRUE(CreateTree(tree, *kind.format, nodes, ShapeOf(kind, 3001)));
    const std::uint32_t free = tree.header().freeNodes;
    tree.header().freeNodes = 12345;
    ASSERT_EQ(FlushTree(tree), TreeResult::Done);
    ASSERT_EQ(LoadNodeBitmap(tree), TreeResult::Done);
    EXPECT_EQ(tree.header().freeNodes, free) << "3001 nodes but header, leaf and one map node";
    EXPECT_EQ(free, 2998u);
    tree.nodeBitmap[0] = 0;
    ASSERT_EQ(FlushTree(tree), TreeResult::Done);
    EXPECT_EQ(LoadNodeBitmap(tree), TreeResult::Damaged) << "node 0 is no free node";
}

// Records far larger than any that this program writes: a node with one of them cannot be split.
TEST(BTreeNodes, NodesThatCannotBeSplitAreTold) {
    const TreeKind& kind = testing::kTreeKinds[0];
    for (const int height : {1, 2}) {
        std::mt19937 random(kSeed);
        MemoryNodes nodes(kind.nodeSize);
        TreeCursor tree;
        ASSERT_TRUE(CreateTree(tree, *kind.format, nodes, ShapeOf(kind, 2000)));
        for (const auto& [order, record] : RandomModel(kind, random, 500))
            ASSERT_EQ(InsertTreeRecord(tree, record.key, record.data), TreeResult::Done);
        Bytes bytes(kind.nodeSize);
        for (std::uint32_t number = 1; number < 2000; ++number) {
            ASSERT_TRUE(nodes.read(number, bytes));
            NodeView node(bytes, *kind.format);
            if (node.descriptor().height != height)
                continue;
            Bytes large(node.record(0).begin(), node.record(0).end());
            large.resize(470);
            while (node.count() > 0)
                node.remove(0);
            node.insert(0, large);
            ASSERT_TRUE(nodes.write(number, bytes));
        }
        int damaged = 0;
        for (int i = 0; i < 300; ++i) {
            const testing::TestRecord record = RandomRecord(kind, random).second;
            const TreeResult result = InsertTreeRecord(tree, record.key, record.data);
            ASSERT_NE(result, TreeResult::Failed);
            damaged += result == TreeResult::Damaged ? 1 : 0;
        }
        // Behind a full leaf a new one is opened; its parent must take it.
        EXPECT_EQ(damaged > 10, height == 2) << damaged;
    }
}

// A map that takes nodes in use for free ones offers those that the insertion stands on.
TEST(BTreeNodes, NodesInUseAreNotTakenForFreeOnes) {
    const TreeKind& kind = testing::kTreeKinds[0];
    std::mt19937 random(kSeed);
    MemoryNodes nodes(kind.nodeSize);
    TreeCursor tree;
    ASSERT_TRUE(CreateTree(tree, *kind.format, nodes, ShapeOf(kind, 2000)));
    for (const auto& [order, record] : RandomModel(kind, random, 500))
        ASSERT_EQ(InsertTreeRecord(tree, record.key, record.data), TreeResult::Done);
    std::fill(tree.nodeBitmap.begin(), tree.nodeBitmap.end(), std::uint8_t{0});
    tree.nodeBitmap[0] = 0x80;
    tree.allocationHint = 0;
    int damaged = 0;
    for (int i = 0; i < 500; ++i) {
        const testing::TestRecord record = RandomRecord(kind, random).second;
        damaged += InsertTreeRecord(tree, record.key, record.data) == TreeResult::Damaged ? 1 : 0;
    }
    EXPECT_GT(damaged, 10);
}

TEST(BTreeNodes, AreSoundByTheseRules) {
    const TreeFormat& format = kHfsCatalogFormat;
    Bytes good(512);
    NodeView node(good, format);
    node.clear(NodeKind::Leaf, 1);
    node.insert(0, Bytes{6, 0, 0, 0, 0, 2, 0, 0, 1, 2, 3, 4});
    ASSERT_TRUE(node.isSound());
    struct Case {
        const char* what;
        std::size_t at;
        std::uint8_t value;
        bool sound;
    };
    for (const Case c : {Case{"more records than offsets fit", 10, 0xFF, false},
                         Case{"a record that is not there", 11, 2, false},
                         Case{"first record not behind the descriptor", 511, 16, false},
                         Case{"free space before the record", 509, 13, false},
                         Case{"an empty record", 509, 14, false},
                         Case{"free space behind the node", 508, 2, false},
                         Case{"a record up to the offsets", 508, 1, true},
                         Case{"a key as long as its record", 14, 11, true},
                         Case{"a key longer than its record", 14, 12, false},
                         Case{"no room for the child's number", 8, 0, true},
                         Case{"a map has no keys", 8, 2, true}}) {
        Bytes bytes = good;
        bytes[c.at] = c.value;
        EXPECT_EQ(NodeView(bytes, format).isSound(), c.sound) << c.what;
    }
    good[8] = 0;
    good[14] = 10;
    EXPECT_FALSE(node.isSound()) << "an index record without its child";
}

}  // namespace
}  // namespace vellmark
