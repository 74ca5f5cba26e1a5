#include "volume/btree.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "volume/tree_bench.hpp"

namespace vellmark {
namespace {

using testing::Bytes;
using testing::FailingNodes;
using testing::TestRecord;
using testing::TreeKind;
using testing::TreeModel;

constexpr unsigned kSeed = 1985;

class BTree : public ::testing::TestWithParam<TreeKind> {
  protected:
    void create(NodeStore& store, std::uint32_t totalNodes) {
        ASSERT_TRUE(CreateTree(tree_, *kind_.format, store, ShapeOf(kind_, totalNodes)));
    }
    TreeResult insert(const TestRecord& record) {
        return InsertTreeRecord(tree_, record.key, record.data);
    }

    const TreeKind kind_ = GetParam();
    std::mt19937 random_{kSeed};
    MemoryNodes nodes_{kind_.nodeSize};
    TreeCursor tree_;
};

INSTANTIATE_TEST_SUITE_P(AllKinds, BTree, ::testing::ValuesIn(testing::kTreeKinds),
                         [](const auto& test) { return std::string(test.param.name); });

enum class Sequence { Sorted, Reversed, Random };

// Wrong places of split records, unset links, forgotten index keys and lost counts show here.
TEST_P(BTree, GrowsToThreeLevelsInAnyOrder) {
    for (const Sequence sequence : {Sequence::Sorted, Sequence::Reversed, Sequence::Random}) {
        SCOPED_TRACE(::testing::Message()
                     << "sequence " << static_cast<int>(sequence) << " seed " << kSeed);
        MemoryNodes nodes(kind_.nodeSize);
        create(nodes, 2000);
        const TreeModel model = RandomModel(kind_, random_, 3000);
        std::vector<TreeModel::const_iterator> order;
        for (auto record = model.begin(); record != model.end(); ++record)
            order.push_back(record);
        // A catalog begins with its root; what comes first in an extents tree may change.
        const auto first = order.begin() + (kind_.isCatalog ? 1 : 0);
        if (sequence == Sequence::Reversed)
            std::reverse(first, order.end());
        else if (sequence == Sequence::Random)
            std::shuffle(first, order.end(), random_);
        TreeModel inserted;
        for (const auto record : order) {
            ASSERT_EQ(insert(record->second), TreeResult::Done);
            inserted.insert(*record);
            if (inserted.size() == 30 || inserted.size() == 400)
                ExpectSoundTree(tree_, kind_, inserted);
        }
        EXPECT_GE(tree_.header().depth, 3);
        ExpectSoundTree(tree_, kind_, model);
    }
}

TEST_P(BTree, FindsEveryRecordAndPlacesTheOthers) {
    create(nodes_, 2000);
    const TreeModel model = RandomModel(kind_, random_, 800);
    for (const auto& [order, record] : model)
        ASSERT_EQ(insert(record), TreeResult::Done);
    bool found = false;
    for (int i = 0; i < 4000; ++i) {
        const auto probe = RandomRecord(kind_, random_);
        ASSERT_EQ(FindKey(tree_, probe.second.key, found), TreeResult::Done);
        const auto expected = model.lower_bound(probe.first);
        ASSERT_EQ(found, expected != model.end() && expected->first == probe.first);
        ASSERT_EQ(SettleOnRecord(tree_, found), TreeResult::Done);
        ASSERT_EQ(found, expected != model.end());
        if (!found)
            continue;
        const ByteSpan key = tree_.view().key(tree_.index);
        ASSERT_TRUE(std::equal(key.begin(), key.end(), expected->second.key.begin(),
                               expected->second.key.end()));
    }
    // Along the whole chain.
    ASSERT_EQ(FindKey(tree_, model.begin()->second.key, found), TreeResult::Done);
    std::size_t count = 0;
    while (found) {
        ++count;
        ASSERT_EQ(NextRecord(tree_, found), TreeResult::Done);
    }
    EXPECT_EQ(count, model.size());
}

TEST_P(BTree, EqualKeysAreRefusedWithoutATrace) {
    create(nodes_, 2000);
    TreeModel model = {testing::FirstRecord(kind_)};
    ASSERT_EQ(insert(model.begin()->second), TreeResult::Done);
    std::size_t refused = 0;
    for (int i = 0; i < 1500; ++i) {
        // Extents keys seldom meet by chance: the file and fork of an old one once more.
        auto next = RandomRecord(kind_, random_);
        if (!kind_.isCatalog && i % 4 == 0)
            next = *std::next(model.begin(), static_cast<int>(random_() % model.size()));
        const bool isNew = model.count(next.first) == 0;
        ASSERT_EQ(insert(next.second), isNew ? TreeResult::Done : TreeResult::Exists);
        refused += isNew ? 0 : 1;
        model.insert(next);
    }
    EXPECT_GT(refused, 50u);
    ExpectSoundTree(tree_, kind_, model);
}

TEST_P(BTree, AFullTreeStaysAsItWas) {
    for (const std::uint32_t total : {2u, 3u, 7u, 20u, 60u}) {
        SCOPED_TRACE(::testing::Message() << total << " nodes, seed " << kSeed);
        MemoryNodes nodes(kind_.nodeSize);
        create(nodes, total);
        TreeModel model;
        auto next = testing::FirstRecord(kind_);
        int refusals = 0;
        while (refusals < 200) {
            const std::vector<Bytes> before = testing::AllNodes(tree_);
            const TreeResult result = insert(next.second);
            if (result == TreeResult::Done) {
                model.insert(next);
            } else {
                ++refusals;
                ASSERT_EQ(result, model.count(next.first) ? TreeResult::Exists : TreeResult::Full);
                ASSERT_TRUE(testing::AllNodes(tree_) == before)
                    << "after " << model.size() << " records";
            }
            next = RandomRecord(kind_, random_);
        }
        ExpectSoundTree(tree_, kind_, model);
    }
}

TEST_P(BTree, RecordsThatNoNodeCouldSplitAreRefused) {
    create(nodes_, 50);
    const auto first = testing::FirstRecord(kind_);
    ASSERT_EQ(insert(first.second), TreeResult::Done);
    const std::vector<Bytes> before = testing::AllNodes(tree_);
    auto large = RandomRecord(kind_, random_).second;
    large.data.resize(kind_.nodeSize);
    EXPECT_EQ(insert(large), TreeResult::Full);
    large.data.resize(kind_.nodeSize / 2);
    EXPECT_EQ(insert(large), TreeResult::Full);
    EXPECT_TRUE(testing::AllNodes(tree_) == before);
}

// Bits behind the header's map: the nodes go on being numbered, and the maps come back.
TEST_P(BTree, MapNodesGoRoundWithTheTree) {
    const std::uint32_t inHeader = (kind_.nodeSize - 256) * 8;
    const std::uint32_t inMapNode = (kind_.nodeSize - 20) * 8;
    struct Case {
        std::uint32_t totalNodes;
        std::uint32_t mapNodes;
    };
    for (const Case c : {Case{inHeader, 0}, Case{inHeader + 1, 1}, Case{inHeader + inMapNode, 1},
                         Case{inHeader + inMapNode + 1, 2}, Case{inHeader + 3 * inMapNode, 3}}) {
        SCOPED_TRACE(c.totalNodes);
        MemoryNodes nodes(kind_.nodeSize);
        create(nodes, c.totalNodes);
        EXPECT_EQ(tree_.header().freeNodes,
                  c.totalNodes - 1 - c.mapNodes - (kind_.isCatalog ? 1 : 0));
        // Nearly all nodes are taken, so that the tree's own come from behind the header's map.
        std::vector<std::uint32_t> taken;
        while (tree_.header().freeNodes > 40)
            taken.push_back(AllocateNode(tree_).value());
        TreeModel model = {testing::FirstRecord(kind_)};
        for (testing::TreeEntry next = *model.begin(); insert(next.second) == TreeResult::Done;
             next = RandomRecord(kind_, random_))
            model.insert(next);
        ASSERT_EQ(FlushTree(tree_), TreeResult::Done);
        TreeCursor again;
        ASSERT_TRUE(OpenTree(again, *kind_.format, nodes, kind_.nodeSize));
        ASSERT_EQ(LoadNodeBitmap(again), TreeResult::Done);
        EXPECT_EQ(again.nodeBitmap, tree_.nodeBitmap);
        EXPECT_EQ(again.headerNode, tree_.headerNode);
        // Without the nodes taken by hand it is a sound tree.
        for (const std::uint32_t number : taken)
            again.nodeBitmap[number / 8] &= static_cast<std::uint8_t>(~(0x80 >> number % 8));
        again.header().freeNodes =
            again.header().freeNodes + static_cast<std::uint32_t>(taken.size());
        ExpectSoundTree(again, kind_, model);
    }
}

TEST_P(BTree, NewTreesNeedRoomForTheirOwnNodes) {
    for (const std::uint32_t total : {0u, 1u, 2u, 3u}) {
        const bool enough = total >= (kind_.isCatalog ? 2u : 1u);
        EXPECT_EQ(CreateTree(tree_, *kind_.format, nodes_, ShapeOf(kind_, total)), enough) << total;
    }
    EXPECT_EQ(AllocateNode(tree_), kind_.isCatalog ? 2u : 1u);
}

TEST_P(BTree, AFailedWriteIsToldAndTheRestStaysReadable) {
    const TreeModel model = RandomModel(kind_, random_, 120);
    bool allDone = false;
    int sweep = 1;
    for (; !allDone; ++sweep) {
        SCOPED_TRACE(::testing::Message() << "write " << sweep << " fails");
        FailingNodes store(kind_.nodeSize, sweep);
        if (!CreateTree(tree_, *kind_.format, store, ShapeOf(kind_, 200))) {
            EXPECT_TRUE(store.failed);
            continue;
        }
        TreeResult result = TreeResult::Done;
        for (auto record = model.begin(); record != model.end() && result == TreeResult::Done;
             ++record)
            result = insert(record->second);
        if (result == TreeResult::Done)
            result = FlushTree(tree_);
        ASSERT_EQ(result, store.failed ? TreeResult::Failed : TreeResult::Done);
        allDone = !store.failed;
        // Whatever was reached, searches come to an end within the bounds.
        for (const auto& [order, record] : model) {
            bool found = false;
            (void)FindKey(tree_, record.key, found);
            (void)SettleOnRecord(tree_, found);
        }
    }
    EXPECT_GT(sweep, 120);
}

TEST_P(BTree, HeadersThatCannotBeAreRefused) {
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

// Two thirds of the records, by number, may be nearly all of the bytes: one split must make room
// all the same, or a tree with few free nodes would be found full half-way.
TEST(BTreeOrder, OneSplitMakesRoomAmongRecordsOfUnevenSize) {
    const TreeKind& kind = testing::kTreeKinds[1];
    const auto record = [](char16_t letter, std::size_t letters) {
        return HfsPlusCatalogKey(2, std::u16string(letters, letter));
    };
    MemoryNodes nodes(kind.nodeSize);
    TreeCursor tree;
    ASSERT_TRUE(CreateTree(tree, *kind.format, nodes, ShapeOf(kind, 4)));
    const Bytes large(248);
    const Bytes small(4);
    // Five records of 766 bytes before eight of 16 fill the leaf.
    for (char16_t letter = u'b'; letter <= u'e'; ++letter)
        ASSERT_EQ(InsertTreeRecord(tree, record(letter, 255), large), TreeResult::Done);
    ASSERT_EQ(InsertTreeRecord(tree, record(u'f', 250), large), TreeResult::Done);
    for (char16_t letter = u'g'; letter <= u'n'; ++letter)
        ASSERT_EQ(InsertTreeRecord(tree, record(letter, 2), small), TreeResult::Done);
    ASSERT_EQ(tree.header().depth, 1);
    ASSERT_EQ(tree.header().freeNodes, 2u);
    EXPECT_EQ(InsertTreeRecord(tree, record(u'd', 254), large), TreeResult::Done);
    EXPECT_EQ(tree.header().freeNodes, 0u);
    EXPECT_EQ(tree.header().leafRecords, 14u);
}

// Wrong counts and maps of other programs' volumes.
TEST(BTreeOrder, TheLoadedMapDecidesWhatIsFree) {
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
TEST(BTreeDamage, NodesThatCannotBeSplitAreTold) {
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
TEST(BTreeDamage, NodesInUseAreNotTakenForFreeOnes) {
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

// Catalogs that were built in order are read in order: full leaves keep them short.
TEST(BTreeOrder, HfsLeavesFilledInOrderAreFull) {
    const TreeKind& kind = testing::kTreeKinds[0];
    std::mt19937 random(kSeed);
    MemoryNodes nodes(kind.nodeSize);
    TreeCursor tree;
    ASSERT_TRUE(CreateTree(tree, *kind.format, nodes, ShapeOf(kind, 1000)));
    for (const auto& [order, record] : RandomModel(kind, random, 500))
        ASSERT_EQ(InsertTreeRecord(tree, record.key, record.data), TreeResult::Done);
    int borders = 0;
    ASSERT_EQ(ReadNode(tree, tree.header().firstLeaf), TreeResult::Done);
    while (const std::uint32_t next = tree.view().descriptor().forwardLink) {
        const std::size_t room = tree.view().freeBytes();
        ASSERT_EQ(ReadNode(tree, next), TreeResult::Done);
        EXPECT_LT(room, tree.view().record(0).size() + 2) << "before node " << next;
        ++borders;
    }
    EXPECT_GT(borders, 80);
}

}  // namespace
}  // namespace vellmark
