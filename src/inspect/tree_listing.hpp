// All nodes of a B-tree from its header on, a page at a time. Each node is listed once, so the
// listing ends whatever the links say.
#pragma once

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "inspect/inspected_bytes.hpp"
#include "inspect/inspected_image.hpp"
#include "inspect/tree_nodes.hpp"
#include "support/result.hpp"

namespace vellmark {

struct ListedNode {
    std::uint32_t number = 0;
    std::uint32_t depth = 0;              ///< below the root, which has 0
    std::uint8_t kind = 0;                ///< `NodeKind`, or what the node has there
    std::vector<std::uint32_t> keys;      ///< the number in the key of each of its records
    std::optional<std::uint64_t> sector;  ///< of the image
    Reason problem;                       ///< what is wrong with it

    /// `Node 3: leaf [00000002]`, with the key of the first record.
    [[nodiscard]] Reason line() const;
    /// Blanks in front of the line. Nodes chained one under the other are not indented without end.
    [[nodiscard]] std::size_t indent() const { return 2 * std::min(depth, kMostIndented); }
    static constexpr std::uint32_t kMostIndented = 16;
};

class TreeListing {
  public:
    /// The tree whose header node begins in that sector of what is inspected. Image and bytes must
    /// outlive the listing.
    [[nodiscard]] static Result<TreeListing> Open(const InspectedImage& image,
                                                  const InspectedBytes& inspected,
                                                  std::uint64_t sector);

    /// The next nodes, at most `most`: header and maps, root, and then each inner node before its
    /// children. None at the end.
    [[nodiscard]] std::vector<ListedNode> next(std::size_t most);

  private:
    struct Waiting {
        std::uint32_t number = 0;
        std::uint32_t depth = 0;
    };

    explicit TreeListing(const InspectedBytes& inspected) : inspected_(&inspected) {}
    [[nodiscard]] ListedNode list(Waiting waiting);
    void addNextMap(ListedNode& node, ConstByteSpan bytes);
    void addNode(ListedNode& from, std::uint32_t number, std::uint32_t depth);
    void addChildren(ListedNode& node, const NodeRecords& records);
    [[nodiscard]] bool readNode(std::uint32_t number, std::vector<std::uint8_t>& bytes);
    [[nodiscard]] std::optional<std::uint64_t> sectorOf(std::uint32_t number) const;

    const InspectedBytes* inspected_;
    NodeAt place_;                  // of the header, where a volume names the tree
    std::uint64_t headerByte_ = 0;  // in what is inspected, else
    NodeForm form_;
    bool hasForm_ = false;
    std::uint32_t nodeSize_ = 0;
    std::uint64_t nodeCount_ = 0;
    std::vector<Waiting> waiting_;  // the next one last
    std::unordered_set<std::uint32_t> seen_;
};

}  // namespace vellmark
