// What the tests of B-trees share: the four kinds of trees, records with an order of their own, and
// a checker that reads the nodes without the code under test.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <utility>
#include <vector>

#include "volume/btree.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark::testing {

using Bytes = std::vector<std::uint8_t>;

struct TreeKind {
    const char* name;
    const TreeFormat* format;
    std::uint32_t nodeSize;
    bool isCatalog;
    bool isHfsPlus;
};

inline const TreeKind kTreeKinds[] = {
    {"HfsCatalog", &kHfsCatalogFormat, 512, true, false},
    {"HfsPlusCatalog", &kHfsPlusCatalogFormat, 4096, true, true},
    {"HfsExtents", &kHfsExtentsFormat, 512, false, false},
    {"HfsPlusExtents", &kHfsPlusExtentsFormat, 1024, false, true},
};

/// What a key is ordered by, number by number: parent and letters by their capitals, or file, fork
/// and first block. Keys that compare as equal have the same numbers.
using KeyOrder = std::vector<std::uint32_t>;

struct TestRecord {
    TreeKey key;
    Bytes data;
};
using TreeModel = std::map<KeyOrder, TestRecord>;
using TreeEntry = std::pair<KeyOrder, TestRecord>;

/// A number from 0 up to, not including, `limit`.
[[nodiscard]] inline std::uint32_t Below(std::mt19937& random, std::size_t limit) {
    return static_cast<std::uint32_t>(random() % limit);
}

/// The record of the root folder, with which every catalog begins; of extents trees the record of
/// the lowest file.
[[nodiscard]] TreeEntry FirstRecord(const TreeKind& kind);
/// Any record behind it. Short names are frequent, so that some collide, also by case alone.
[[nodiscard]] TreeEntry RandomRecord(const TreeKind& kind, std::mt19937& random);
/// The bytes of nodes 1 and up and of node 0 in memory.
[[nodiscard]] std::vector<Bytes> AllNodes(TreeCursor& tree);

/// Holds the leaves against the model: links, zeros in free space, the records, that the index
/// leads to each, and the header's counts. What lies above is held against its format in whole
/// volumes.
void ExpectSoundTree(TreeCursor& tree, const TreeModel& model);

inline constexpr unsigned kSeed = 1985;

/// A tree of each kind, in memory.
class TreeTest : public ::testing::TestWithParam<TreeKind> {
  protected:
    bool create(NodeStore& store, std::uint32_t totalNodes) {
        NewTree shape{.nodeSize = kind_.nodeSize, .totalNodes = totalNodes};
        shape.rootLeaf = kind_.isCatalog;
        return CreateTree(tree_, *kind_.format, store, shape);
    }
    /// A new tree with that many records, inserted in order.
    TreeModel fill(std::uint32_t totalNodes, std::size_t records) {
        nodes_ = MemoryNodes(kind_.nodeSize);
        EXPECT_TRUE(create(nodes_, totalNodes));
        TreeModel model = {FirstRecord(kind_)};
        while (model.size() < records)
            model.insert(RandomRecord(kind_, random_));
        for (const auto& [order, record] : model)
            EXPECT_EQ(insert(record), TreeResult::Done);
        return model;
    }
    TreeResult insert(const TestRecord& record) {
        return InsertTreeRecord(tree_, record.key, record.data);
    }
    TreeResult remove(const TestRecord& record) { return RemoveTreeRecord(tree_, record.key); }

    const TreeKind kind_ = GetParam();
    std::mt19937 random_{kSeed};
    MemoryNodes nodes_{kind_.nodeSize};
    TreeCursor tree_;
};

}  // namespace vellmark::testing
