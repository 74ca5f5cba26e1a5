// Records taken out of B-trees, held against a map and against damage.
#include <gtest/gtest.h>

#include <algorithm>

#include "volume/btree.hpp"
#include "volume/tree_bench.hpp"

namespace vellmark {
namespace {

using testing::Below;
using testing::Bytes;
using testing::TestRecord;
using testing::TreeKind;
using testing::TreeModel;

constexpr unsigned kSeed = 1988;

class BTreeRemove : public ::testing::TestWithParam<TreeKind> {
  protected:
    void SetUp() override {
        std::printf("seed %u\n", kSeed);
        create(nodes_, 3000);
    }
    void create(NodeStore& store, std::uint32_t totalNodes) {
        ASSERT_TRUE(CreateTree(tree_, *kind_.format, store, ShapeOf(kind_, totalNodes)));
    }
    TreeResult remove(const TestRecord& record) { return RemoveTreeRecord(tree_, record.key); }
    void fill(const TreeModel& model) {
        for (const auto& [order, record] : model)
            ASSERT_EQ(InsertTreeRecord(tree_, record.key, record.data), TreeResult::Done);
    }

    const TreeKind kind_ = GetParam();
    std::mt19937 random_{kSeed};
    MemoryNodes nodes_{kind_.nodeSize};
    TreeCursor tree_;
};
INSTANTIATE_TEST_SUITE_P(AllKinds, BTreeRemove, ::testing::ValuesIn(testing::kTreeKinds),
                         [](const auto& test) { return std::string(test.param.name); });

// Grows and shrinks by turns: lost links, index records of freed nodes, roots that stay too high
// and counts that go astray show here.
TEST_P(BTreeRemove, HoldsWhatTheMapHoldsUntilItIsEmptyAndAgain) {
    TreeModel model;
    for (const std::uint32_t target : {900u, 300u, 500u, 0u, 400u, 0u}) {
        SCOPED_TRACE(target);
        const std::uint32_t share = target > model.size() ? 8 : 2;
        while (model.size() != target) {
            if (Below(random_, 10) < share || model.empty()) {
                const auto next = RandomRecord(kind_, random_);
                const bool isNew = model.insert(next).second;
                ASSERT_EQ(InsertTreeRecord(tree_, next.second.key, next.second.data),
                          isNew ? TreeResult::Done : TreeResult::Exists);
            } else {
                const auto gone = std::next(
                    model.begin(), Below(random_, static_cast<std::uint32_t>(model.size())));
                ASSERT_EQ(remove(gone->second), TreeResult::Done);
                ASSERT_EQ(remove(gone->second), TreeResult::Missing);
                model.erase(gone);
            }
            if (model.size() % 50 == 0)
                ExpectSoundTree(tree_, kind_, model);
        }
        EXPECT_EQ(tree_.header().depth == 0, target == 0);
        EXPECT_TRUE(target < 900 || tree_.header().depth >= 2);
    }
}

// From the front every removal changes the first key of a leaf, from the back the last leaf.
TEST_P(BTreeRemove, FollowsFirstKeysAndCollapses) {
    for (const bool fromFront : {true, false}) {
        TreeModel model = RandomModel(kind_, random_, 700);
        fill(model);
        while (!model.empty()) {
            const auto gone = fromFront ? model.begin() : std::prev(model.end());
            ASSERT_EQ(remove(gone->second), TreeResult::Done);
            model.erase(gone);
            if (model.size() % 25 == 0)
                ExpectSoundTree(tree_, kind_, model);
        }
    }
}

// Every neighbour link of one height is wrong in the same way.
TEST_P(BTreeRemove, WrongLinksAreRefused) {
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
                fill(model);
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

TEST_P(BTreeRemove, AFailedWriteIsTold) {
    const TreeModel model = RandomModel(kind_, random_, 120);
    bool allDone = false;
    for (int sweep = 1; !allDone; sweep += 3) {
        testing::FailingNodes store(kind_.nodeSize, sweep);
        if (!CreateTree(tree_, *kind_.format, store, ShapeOf(kind_, 200)))
            continue;
        TreeResult result = TreeResult::Done;
        for (const bool inserts : {true, false})
            for (const auto& [order, record] : model)
                if (result == TreeResult::Done)
                    result =
                        inserts ? InsertTreeRecord(tree_, record.key, record.data) : remove(record);
        ASSERT_EQ(result, store.failed ? TreeResult::Failed : TreeResult::Done) << sweep;
        allDone = !store.failed;
    }
}

// Short keys at the front of full leaves, long ones behind them: what the index tells of a leaf
// grows when its first record goes, and full index nodes must split.
TEST(BTreeRemoveKeys, LongerKeysTakeThePlaceOfShorterOnes) {
    const TreeKind& kind = testing::kTreeKinds[1];
    for (const bool hasFreeNodes : {true, false}) {
        SCOPED_TRACE(hasFreeNodes);
        MemoryNodes nodes(kind.nodeSize);
        TreeCursor tree;
        ASSERT_TRUE(CreateTree(tree, *kind.format, nodes, ShapeOf(kind, 3000)));
        TreeModel model;
        std::vector<TreeKey> shortKeys;
        for (std::uint32_t parent = 2; parent < 600; ++parent)
            for (const std::uint32_t letters : {0u, 250u, 251u}) {
                const TreeKey key = HfsPlusCatalogKey(parent, std::u16string(letters, u'a'));
                const Bytes data(letters == 0 ? 600 : 20);
                ASSERT_EQ(InsertTreeRecord(tree, key, data), TreeResult::Done);
                if (letters == 0)
                    shortKeys.push_back(key);
                else
                    model[{parent, letters}] = {key, data};
            }
        while (!hasFreeNodes && AllocateNode(tree))
            continue;
        const std::uint32_t depth = tree.header().depth;
        for (const TreeKey& key : shortKeys)
            ASSERT_EQ(RemoveTreeRecord(tree, key), TreeResult::Done);
        if (hasFreeNodes) {
            EXPECT_GE(tree.header().depth, depth);
            ExpectSoundTree(tree, kind, model);
        }
        for (const auto& [order, record] : model) {
            bool found = false;
            ASSERT_EQ(FindKey(tree, record.key, found), TreeResult::Done);
            ASSERT_TRUE(found);
        }
        for (const auto& [order, record] : model)
            ASSERT_EQ(RemoveTreeRecord(tree, record.key), TreeResult::Done);
        EXPECT_EQ(tree.header().depth, 0);
    }
}

}  // namespace
}  // namespace vellmark
