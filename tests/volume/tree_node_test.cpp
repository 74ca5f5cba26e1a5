#include "volume/tree_node.hpp"

#include <gtest/gtest.h>

#include <numeric>

#include "volume/tree_bench.hpp"

namespace vellmark {
namespace {

using testing::Below;
using testing::Bytes;
using testing::TreeKind;

constexpr unsigned kSeed = 512;

// A leaf or index record of any length that its format can hold.
Bytes AnyRecord(const TreeKind& kind, std::mt19937& random, std::size_t tailBytes) {
    Bytes record = RandomRecord(kind, random).second.key;
    record.resize(record.size() + record.size() % 2);
    for (std::size_t i = 0; i < tailBytes; ++i)
        record.push_back(static_cast<std::uint8_t>(random()));
    return record;
}

std::vector<Bytes> RecordsOf(const NodeView& node) {
    std::vector<Bytes> records;
    for (std::size_t i = 0; i < node.count(); ++i)
        records.emplace_back(node.record(i).begin(), node.record(i).end());
    return records;
}

// Free bytes by the format: the node without descriptor, records and one offset more than records.
std::size_t FreeOf(const std::vector<Bytes>& records, std::size_t nodeSize) {
    return std::accumulate(
        records.begin(), records.end(), nodeSize - 14 - 2,
        [](std::size_t room, const Bytes& record) { return room - record.size() - 2; });
}

void ExpectEqualToModel(const NodeView& node, const std::vector<Bytes>& model) {
    ASSERT_EQ(RecordsOf(node), model);
    EXPECT_EQ(node.freeBytes(), FreeOf(model, node.bytes().size()));
    EXPECT_EQ(node.offset(0), 14u);
    EXPECT_TRUE(node.isSound());
    const std::size_t from = node.offset(node.count());
    for (const std::uint8_t byte : node.bytes().subspan(from, node.freeBytes()))
        ASSERT_EQ(byte, 0) << "free space";
}

class TreeNode : public ::testing::TestWithParam<TreeKind> {
  protected:
    const TreeKind kind_ = GetParam();
    std::mt19937 random_{kSeed};
    Bytes bytes_ = Bytes(kind_.nodeSize, 0xEE);
    NodeView node_{bytes_, *kind_.format};
};
INSTANTIATE_TEST_SUITE_P(AllKinds, TreeNode, ::testing::ValuesIn(testing::kTreeKinds),
                         [](const auto& test) { return std::string(test.param.name); });

TEST_P(TreeNode, FollowsAModelThroughRandomChanges) {
    node_.clear(NodeKind::Leaf, 1);
    node_.descriptor().forwardLink = 0x01020304;
    std::vector<Bytes> model;
    for (int step = 0; step < 3000; ++step) {
        SCOPED_TRACE(::testing::Message() << "seed " << kSeed << " step " << step);
        const Bytes record = AnyRecord(kind_, random_, 2 * Below(random_, 60));
        const std::size_t at = random_() % (model.size() + 1);
        const auto place = model.begin() + static_cast<std::ptrdiff_t>(at);
        const bool fits = record.size() + 2 <= FreeOf(model, kind_.nodeSize);
        ASSERT_EQ(node_.fits(record.size()), fits);
        if (fits && Below(random_, 5) != 0) {
            node_.insert(at, record);
            model.insert(place, record);
        } else if (at < model.size()) {
            node_.remove(at);
            model.erase(place);
        }
        ASSERT_NO_FATAL_FAILURE(ExpectEqualToModel(node_, model));
    }
    EXPECT_EQ(bytes_[3], 4) << "links stay";
}

TEST_P(TreeNode, TheTailMovesBehindTheTargetsRecords) {
    for (int round = 0; round < 200; ++round) {
        SCOPED_TRACE(::testing::Message() << "seed " << kSeed << " round " << round);
        Bytes targetBytes(kind_.nodeSize, 0xEE);
        NodeView target(targetBytes, *kind_.format);
        node_.clear(NodeKind::Leaf, 1);
        target.clear(NodeKind::Leaf, 1);
        std::vector<Bytes> model;
        for (Bytes record = AnyRecord(kind_, random_, 12);
             record.size() + 2 <= FreeOf(model, kind_.nodeSize);
             record = AnyRecord(kind_, random_, 12)) {
            node_.insert(model.size(), record);
            model.push_back(record);
        }
        const std::size_t first = random_() % (model.size() + 1);
        const auto middle = model.begin() + static_cast<std::ptrdiff_t>(first);
        std::vector<Bytes> moved(middle, model.end());
        const Bytes before = AnyRecord(kind_, random_, 4);
        if (first > 0 && before.size() + 2 <= FreeOf(moved, kind_.nodeSize)) {
            target.insert(0, before);
            moved.insert(moved.begin(), before);
        }
        model.erase(middle, model.end());
        node_.moveTail(first, target);
        ASSERT_NO_FATAL_FAILURE(ExpectEqualToModel(node_, model));
        ASSERT_NO_FATAL_FAILURE(ExpectEqualToModel(target, moved));
    }
}

TEST_P(TreeNode, KeysDataAndChildrenAreFoundBehindTheirPadding) {
    node_.clear(NodeKind::Index, 2);
    const Bytes oddKey = kind_.isHfsPlus ? Bytes{0, 3, 7, 8, 9} : Bytes{2, 7, 8};
    Bytes record = oddKey;
    record.insert(record.end(), {0, 0xA1, 0xB2, 0xC3, 0xD4});
    node_.insert(0, record);
    EXPECT_EQ(Bytes(node_.key(0).begin(), node_.key(0).end()), oddKey);
    EXPECT_EQ(node_.data(0).size(), 4u);
    EXPECT_EQ(node_.child(0), 0xA1B2C3D4u);
    EXPECT_EQ(node_.kind(), NodeKind::Index);
    EXPECT_EQ(node_.descriptor().height, 2);
}

// Uses every record of a node that claims to be sound; the sanitizers see a read outside.
std::size_t UseAll(const NodeView& node) {
    std::size_t sum = node.freeBytes();
    for (std::size_t i = 0; i < node.count(); ++i) {
        for (const std::uint8_t byte : node.key(i))
            sum += byte;
        for (const std::uint8_t byte : node.data(i))
            sum += byte;
        if (node.kind() == NodeKind::Index)
            sum += node.child(i);
    }
    return sum;
}

// Each byte of a full node gets every value of a few; the bytes lie at the end of their own block
// of memory, so that a step beyond them is seen.
TEST_P(TreeNode, DamagedNodesAreRefusedOrUsableThroughout) {
    for (const NodeKind nodeKind : {NodeKind::Leaf, NodeKind::Index}) {
        node_.clear(nodeKind, nodeKind == NodeKind::Leaf ? 1 : 2);
        for (std::size_t n = 0;; ++n) {
            const Bytes record = AnyRecord(kind_, random_, 4);
            if (!node_.fits(record.size()))
                break;
            node_.insert(n, record);
        }
        ASSERT_TRUE(node_.isSound());
        std::size_t refused = 0;
        std::size_t sum = 0;
        for (std::size_t at = 0; at < kind_.nodeSize; ++at)
            for (const unsigned change : {0x01u, 0x80u, 0xFFu, 0x7Eu}) {
                Bytes damaged = bytes_;
                damaged[at] = static_cast<std::uint8_t>(damaged[at] ^ change);
                const NodeView view(damaged, *kind_.format);
                if (view.isSound())
                    sum += UseAll(view);
                else
                    ++refused;
            }
        EXPECT_GT(sum, 0u);
        EXPECT_GT(refused, 2 * node_.count()) << "offsets at least are seen";
    }
}

TEST(TreeNodeSoundness, NamesTheFirstRule) {
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
