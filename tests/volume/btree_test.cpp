// B-trees in memory, held against a map of the records.
#include "volume/btree.hpp"

#include <gtest/gtest.h>

#include <algorithm>

#include "volume/tree_bench.hpp"
#include "volume/tree_editor.hpp"

namespace vellmark {
namespace {

using testing::AllNodes;
using testing::Below;
using testing::Bytes;
using testing::kSeed;
using testing::TestRecord;
using testing::TreeModel;

class BTree : public testing::TreeTest {
  protected:
    // Inserts any record, one that is there already, or one so large that no node with three of
    // them could be split. What is refused, also for want of nodes, changes nothing.
    void insertAny(TreeModel& model) {
        const bool isFirst = model.empty();
        auto next = isFirst ? testing::FirstRecord(kind_) : RandomRecord(kind_, random_);
        if (!isFirst && Below(random_, 8) == 0)
            next = *model.begin();
        TreeResult expected = model.count(next.first) ? TreeResult::Exists : TreeResult::Done;
        if (expected == TreeResult::Done && !isFirst && Below(random_, 20) == 0) {
            next.second.data.resize(kind_.nodeSize / (1 + Below(random_, 2)));
            expected = TreeResult::Full;
        }
        const bool isSmall = tree_.header().totalNodes < 100;
        const std::vector<Bytes> before = isSmall ? AllNodes(tree_) : std::vector<Bytes>();
        const TreeResult result = insert(next.second);
        ASSERT_TRUE(result == expected || (isSmall && result == TreeResult::Full));
        if (result == TreeResult::Done)
            model.insert(next);
        ASSERT_TRUE(result == TreeResult::Done || !isSmall || AllNodes(tree_) == before);
    }
    void removeAny(TreeModel& model) {
        const auto gone = std::next(model.begin(), Below(random_, model.size()));
        ASSERT_EQ(remove(gone->second), TreeResult::Done);
        ASSERT_EQ(remove(gone->second), TreeResult::Missing);
        model.erase(gone);
    }
    // A key, and the first record from there on.
    void lookUpAny(const TreeModel& model) {
        const auto probe = RandomRecord(kind_, random_);
        const auto expected = model.lower_bound(probe.first);
        const bool isBehind = expected == model.end();
        bool found = false;
        ASSERT_EQ(FindKey(tree_, probe.second.key, found), TreeResult::Done);
        ASSERT_EQ(found, !isBehind && expected->first == probe.first);
        ASSERT_EQ(SettleOnRecord(tree_, found), TreeResult::Done);
        ASSERT_EQ(found, !isBehind);
        ASSERT_TRUE(isBehind ||
                    std::ranges::equal(tree_.view().key(tree_.index), expected->second.key));
    }
};
class HfsPlusBTree : public testing::TreeTest {};

INSTANTIATE_TEST_SUITE_P(AllKinds, BTree, ::testing::ValuesIn(testing::kTreeKinds),
                         [](const auto& test) { return std::string(test.param.name); });
INSTANTIATE_TEST_SUITE_P(Catalog, HfsPlusBTree, ::testing::Values(testing::kTreeKinds[1]));

// Grows and shrinks by turns: lost links, wrong places of split records, index records of freed
// nodes, roots that stay too high and counts that go astray show here.
TEST_P(BTree, HoldsWhatTheMapHoldsUntilItIsEmptyAndAgain) {
    for (const std::uint32_t totalNodes : {3000u, 60u, 7u, 2u}) {
        SCOPED_TRACE(::testing::Message() << totalNodes << " nodes, seed " << kSeed);
        nodes_ = MemoryNodes(kind_.nodeSize);
        ASSERT_TRUE(create(nodes_, totalNodes));
        TreeModel model;
        // Of ten steps so many insert.
        for (const std::uint32_t share : {9u, 3u, 7u, 0u, 8u, 0u})
            for (int step = 0; step < 900 && !HasFatalFailure(); ++step) {
                if (Below(random_, 10) < share)
                    insertAny(model);
                else if (!model.empty())
                    removeAny(model);
                if (step % 60 == 0)
                    ExpectSoundTree(tree_, model);
                lookUpAny(model);
            }
        EXPECT_TRUE(model.empty() && tree_.header().depth == 0);
    }
}

// Bits behind the header's map: the nodes go on being numbered, and the maps come back.
TEST_P(BTree, MapNodesGoRoundWithTheTree) {
    const std::uint32_t inHeader = (kind_.nodeSize - 256) * 8;
    const std::uint32_t inMapNode = (kind_.nodeSize - 20) * 8;
    const struct {
        std::uint32_t totalNodes, mapNodes, grown;
    } cases[] = {
        {inHeader, 0, 10}, {inHeader + 1, 1, 0}, {inHeader + 3 * inMapNode, 3, 2 * inMapNode}};
    for (const auto& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.totalNodes << ", grown by " << c.grown);
        nodes_ = MemoryNodes(kind_.nodeSize);
        ASSERT_TRUE(create(nodes_, c.totalNodes - c.grown));
        ASSERT_EQ(GrowTree(tree_, c.grown), TreeResult::Done);
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
        ASSERT_TRUE(OpenTree(again, *kind_.format, nodes_, kind_.nodeSize));
        ASSERT_EQ(LoadNodeBitmap(again), TreeResult::Done);
        EXPECT_EQ(again.nodeBitmap, tree_.nodeBitmap);
        EXPECT_EQ(again.headerNode, tree_.headerNode);
        // Its map nodes lead out of the tree, or back.
        const std::uint32_t map =
            NodeView(again.headerNode, *kind_.format).descriptor().forwardLink;
        for (const std::uint32_t wrong : {std::uint32_t{again.header().totalNodes}, map}) {
            Bytes node(kind_.nodeSize);
            const MemoryNodes sound = nodes_;
            if (c.mapNodes < 2 || !nodes_.read(map, node))
                break;
            NodeView(node, *kind_.format).descriptor().forwardLink = wrong;
            ASSERT_TRUE(nodes_.write(map, node));
            EXPECT_EQ(LoadNodeBitmap(again), TreeResult::Damaged) << wrong;
            nodes_ = sound;
            ASSERT_EQ(LoadNodeBitmap(again), TreeResult::Done);
        }
        // Without the nodes taken by hand it is a sound tree.
        for (const std::uint32_t number : taken)
            FreeNode(again, number);
        ExpectSoundTree(again, model);
    }
}

// Short keys at the front of full leaves, long ones behind them: what the index tells of a leaf
// grows when its first record goes, and full index nodes must split. Without free nodes for that
// the old keys stay, and still lead to every record.
TEST_P(HfsPlusBTree, LongerKeysTakeThePlaceOfShorterOnes) {
    for (const bool hasFreeNodes : {true, false}) {
        SCOPED_TRACE(hasFreeNodes);
        nodes_ = MemoryNodes(kind_.nodeSize);
        ASSERT_TRUE(create(nodes_, 3000));
        TreeModel shortKeys, model;
        for (std::uint32_t parent = 2; parent < 600; ++parent)
            for (const std::uint32_t letters : {0u, 250u, 251u}) {
                const TestRecord record = {HfsPlusCatalogKey(parent, std::u16string(letters, u'a')),
                                           Bytes(letters == 0 ? 600 : 20)};
                ASSERT_EQ(insert(record), TreeResult::Done);
                (letters == 0 ? shortKeys : model)[{parent, letters}] = record;
            }
        while (!hasFreeNodes && AllocateNode(tree_))
            continue;
        for (const auto& [order, record] : shortKeys)
            ASSERT_EQ(remove(record), TreeResult::Done);
        EXPECT_EQ(tree_.keptOldKey, !hasFreeNodes);
        if (hasFreeNodes)
            ExpectSoundTree(tree_, model);
        for (const auto& [order, record] : model)
            ASSERT_EQ(remove(record), TreeResult::Done);
        EXPECT_EQ(tree_.header().depth, 0);
    }
}

TEST(BTreeOrder, NoSplitLeavesANodeTooFull) {
    std::mt19937 random(kSeed);
    for (int round = 0; round < 4000; ++round) {
        SCOPED_TRACE(::testing::Message() << "seed " << kSeed << " round " << round);
        Bytes bytes(512);
        NodeView node(bytes, kHfsCatalogFormat);
        node.clear(NodeKind::Leaf, 1);
        std::vector<std::size_t> sizes;
        const auto size = [&] { return 8 + 2 * std::size_t{Below(random, 70)}; };
        for (std::size_t next = size(); node.fits(next); next = size()) {
            Bytes record(next);
            record[0] = 6;
            node.insert(sizes.size(), record);
            sizes.push_back(next);
        }
        const std::size_t at = Below(random, static_cast<std::uint32_t>(sizes.size() + 1));
        const std::size_t told = Below(random, static_cast<std::uint32_t>(sizes.size() + 1));
        const std::size_t added = node.freeBytes() + 2 * Below(random, round % 2 == 0 ? 60 : 250);
        // Whether both nodes hold what comes to them when so many records stay.
        const auto fits = [&](std::size_t kept) {
            std::size_t left = 16 + (at <= kept ? added + 2 : 0);
            std::size_t right = 16 + (at <= kept ? 0 : added + 2);
            for (std::size_t i = 0; i < sizes.size(); ++i)
                (i < kept ? left : right) += sizes[i] + 2;
            return left <= 512 && right <= 512 && kept > 0 && kept < sizes.size();
        };
        bool isPossible = false;
        for (std::size_t kept = 1; kept < sizes.size(); ++kept)
            isPossible = isPossible || fits(kept);
        const auto point = SplitPoint(node, told, {at, added});
        ASSERT_EQ(point.has_value(), isPossible);
        ASSERT_TRUE(!point || fits(*point));
        ASSERT_TRUE(!point || !fits(told) || *point == told);
    }
}

}  // namespace
}  // namespace vellmark
