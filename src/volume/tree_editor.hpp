// What insertion into a tree and removal from it share: the way down, and index records that follow
// what happens to the nodes below them.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "volume/btree.hpp"

namespace vellmark {

/// Work on one change of a tree. Nodes are changed in buffers of its own, so that the cursor's
/// buffer stays what the last search left.
class TreeEditor {
  protected:
    /// A node and a record of it, from the root down to a leaf.
    struct Step {
        std::uint32_t node = 0;
        std::size_t index = 0;
    };
    using Path = std::vector<Step>;

    explicit TreeEditor(TreeCursor& tree)
        : tree_(tree), left_(tree.nodeSize), right_(tree.nodeSize), depth_(tree.header().depth) {}

    /// The way to the leaf where `key` is or would go, which the cursor then holds. `found` when
    /// the leaf has the key.
    TreeResult descend(ConstByteSpan key, Path& path, bool& found);
    /// Loads the index node of the path's level, which has at least `records` records, into
    /// `left_`. What the way down has found there may have been overwritten since, where a damaged
    /// map offers nodes that are in use.
    TreeResult loadIndex(const Path& path, std::size_t level, std::size_t records);
    /// A free node; nothing when there is none, or a damaged map offers one that the change itself
    /// passes through.
    std::optional<std::uint32_t> allocate(const Path& path);
    /// Puts a record before record `at` of the index node at `level`, splitting it when it is full.
    TreeResult insertIndex(const Path& path, std::size_t level, std::size_t at,
                           ConstByteSpan record);
    /// Makes the level above know the new right neighbour of the node at `level`; `left_` and
    /// `right_` hold the two.
    TreeResult attach(const Path& path, std::size_t level, std::uint32_t rightNumber);
    /// `key` has become the first key of a node: index records above get it, up to the first level
    /// where the record is not the first of its node.
    TreeResult refreshFirstKeys(ConstByteSpan key);
    /// Changes one link of a neighbour, which has to be of the same height.
    TreeResult relink(std::uint32_t number, std::uint8_t height, be32 NodeDescriptor::*link,
                      std::uint32_t target);

    [[nodiscard]] bool load(std::uint32_t number, std::vector<std::uint8_t>& buffer) {
        return tree_.store->read(number, buffer);
    }
    [[nodiscard]] bool store(std::uint32_t number, const std::vector<std::uint8_t>& buffer) {
        return tree_.store->write(number, buffer);
    }
    [[nodiscard]] NodeView view(std::vector<std::uint8_t>& buffer) {
        return {buffer, tree_.format};
    }

    TreeCursor& tree_;
    std::vector<std::uint8_t> left_;
    std::vector<std::uint8_t> right_;
    unsigned depth_;

  private:
    TreeResult makeRoot(const Path& path, std::uint32_t right);
};

/// Key and data as they lie in a node, each padded to an even length.
[[nodiscard]] std::vector<std::uint8_t> PaddedRecord(ConstByteSpan key, ConstByteSpan data);

/// A record that is to come into a node.
struct NewRecord {
    std::size_t at = 0;  ///< before which of those that are there
    std::size_t bytes = 0;
};

/// How many records of a full node stay on the left: as many as `usual`, unless their sizes are so
/// uneven that the new record would not fit on its side. Nothing when it fits nowhere, which only
/// records larger than this program's own can bring about.
[[nodiscard]] std::optional<std::size_t> SplitPoint(const NodeView& node, std::size_t usual,
                                                    NewRecord record);

}  // namespace vellmark
