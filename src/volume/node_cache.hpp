// A small cache of tree nodes, for the repeated way down through the upper levels. It is only ever
// a copy of what lies on the medium.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "volume/tree_node.hpp"

namespace vellmark {

/// Sixty-four nodes, first come, first kept: from then on a node must be missed more often than a
/// kept one was hit before it takes its place. Node 0 is never asked for and stands for "empty".
class NodeCache {
  public:
    explicit NodeCache(std::size_t nodeSize);

    /// Copies the node out and counts the hit; false when it is not kept.
    [[nodiscard]] bool fetch(std::uint32_t number, ByteSpan node);
    /// Tells of a node that was read because it was not kept.
    void offer(std::uint32_t number, ConstByteSpan node);
    /// A kept node was written: its copy follows.
    void update(std::uint32_t number, ConstByteSpan node);

    static constexpr std::size_t kHot = 64;
    static constexpr std::size_t kCandidates = 128;

  private:
    struct Entry {
        std::uint32_t number = 0;
        std::uint32_t count = 0;
    };
    [[nodiscard]] ByteSpan slot(std::size_t index) {
        return ByteSpan(bytes_).subspan(index * nodeSize_, nodeSize_);
    }
    [[nodiscard]] std::size_t findHot(std::uint32_t number) const;
    void promote(Entry& candidate, ConstByteSpan node);
    void forgetRareCandidates();

    std::size_t nodeSize_;
    std::vector<std::uint8_t> bytes_;
    std::array<Entry, kHot> hot_{};
    std::array<Entry, kCandidates> candidates_{};
};

}  // namespace vellmark
