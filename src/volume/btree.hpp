// The B-trees of HFS and HFS+: search and insertion, one algorithm for both formats (Inside
// Macintosh: Files, chapter 2; Apple Technical Note TN1150). How the formats differ stands in the
// rows of `TreeFormat`.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "support/byte_source.hpp"
#include "volume/tree_node.hpp"

namespace vellmark {

/// Where the nodes of a tree lie: the blocks of a volume, or memory.
class NodeStore {
  public:
    virtual ~NodeStore() = default;
    /// Fills `node`; false when it cannot be read.
    [[nodiscard]] virtual bool read(std::uint32_t number, ByteSpan node) = 0;
    [[nodiscard]] virtual bool write(std::uint32_t number, ConstByteSpan node) = 0;
};

/// Nodes in memory, in pieces that are allocated when one of their nodes is first written. What was
/// never written reads as zeros.
class MemoryNodes final : public NodeStore {
  public:
    explicit MemoryNodes(std::size_t nodeSize) : nodeSize_(nodeSize) {}
    [[nodiscard]] bool read(std::uint32_t number, ByteSpan node) override;
    [[nodiscard]] bool write(std::uint32_t number, ConstByteSpan node) override;
    /// Writes all nodes to `sink`, node 0 at byte `offset`. What was never written is left out, for
    /// a target that is zero there.
    [[nodiscard]] bool writeTo(ByteSink& sink, std::uint64_t offset) const;

  private:
    static constexpr std::size_t kPieceBytes = 256 * 1024;

    std::size_t nodeSize_;
    std::vector<std::vector<std::uint8_t>> pieces_;
};

enum class TreeResult {
    Done,
    Exists,      ///< a record of that key is there already
    Missing,     ///< there is no record of that key
    Full,        ///< no free node is left; the tree is as it was
    FolderFull,  ///< of the catalog: the folder takes no more items
    Damaged,     ///< a node or link that cannot be right was met
    Failed       ///< a node could not be read or written
};

/// One open tree with the position of its last search. Node 0 and the map of used nodes stay in
/// memory; `FlushTree` writes them back.
struct TreeCursor {
    TreeFormat format{};
    NodeStore* store = nullptr;
    std::uint32_t nodeSize = 0;            ///< bytes
    std::vector<std::uint8_t> headerNode;  ///< node 0
    std::vector<std::uint8_t> nodeBuffer;  ///< the node of the last search
    std::uint32_t node = 0;                ///< its number
    std::size_t index = 0;                 ///< the record found, or where it would go
    std::vector<std::uint8_t> nodeBitmap;  ///< a set bit is a node in use, most significant first
    std::uint32_t allocationHint = 0;      ///< no node below it is free
    /// An index record was left with a smaller key than the first of its node, as there was no node
    /// for the longer one. Searches find everything all the same. For the caller to reset.
    bool keptOldKey = false;

    [[nodiscard]] TreeHeaderRecord& header() {
        return *reinterpret_cast<TreeHeaderRecord*>(headerNode.data() + kNodeDescriptorSize);
    }
    [[nodiscard]] const TreeHeaderRecord& header() const {
        return *reinterpret_cast<const TreeHeaderRecord*>(headerNode.data() + kNodeDescriptorSize);
    }
    [[nodiscard]] NodeView view() { return {nodeBuffer, format}; }
};

/// What a new tree begins with.
struct NewTree {
    std::uint32_t nodeSize = 512;
    std::uint32_t totalNodes = 0;
    std::uint32_t clumpSize = 0;  ///< bytes; 0 where the format keeps none
    std::uint8_t keyCompareType = 0;
    std::uint32_t attributes = 0;
    bool rootLeaf = false;  ///< begin with an empty leaf in node 1, as catalogs do
};

/// Makes an empty tree in `store`: header node, root leaf and the map nodes that `totalNodes`
/// needs. False when there are too few nodes for them or a write failed.
[[nodiscard]] bool CreateTree(TreeCursor& tree, const TreeFormat& format, NodeStore& store,
                              const NewTree& shape);

/// Takes an existing tree over; `headerNode` is node 0 as read. Nothing when a field of it cannot
/// be right.
[[nodiscard]] bool OpenTree(TreeCursor& tree, const TreeFormat& format, NodeStore& store,
                            std::uint32_t nodeSize);

/// Reads the map of used nodes from node 0 and the map nodes behind it, and counts the free ones
/// anew: a wrong count in the header would let an insertion stop half-way. `Damaged` when the map
/// takes node 0 for free.
[[nodiscard]] TreeResult LoadNodeBitmap(TreeCursor& tree);

/// Writes node 0 and the map nodes.
[[nodiscard]] TreeResult FlushTree(TreeCursor& tree);

/// Loads a node into the cursor, with `index` 0; checks that its bytes can be used.
[[nodiscard]] TreeResult ReadNode(TreeCursor& tree, std::uint32_t number);

/// Sets the cursor to the leaf and the first record whose key is not less than `key` (`index` may
/// be one past the last). True in `found` when the keys are equal. An empty tree finds nothing.
[[nodiscard]] TreeResult FindKey(TreeCursor& tree, ConstByteSpan key, bool& found);

/// Moves the cursor to the next leaf record; nothing found at the end of the tree.
[[nodiscard]] TreeResult NextRecord(TreeCursor& tree, bool& found);

/// Steps over the leaf's end when `index` is behind its last record.
[[nodiscard]] TreeResult SettleOnRecord(TreeCursor& tree, bool& found);

/// Calls `use` with every leaf in order, the cursor on it, for as long as it returns `Done`. No
/// more leaves are visited than the tree has nodes.
template <typename Use>
[[nodiscard]] TreeResult ForEachLeaf(TreeCursor& tree, Use use) {
    if (tree.header().depth == 0)
        return TreeResult::Done;
    std::uint32_t leaf = tree.header().firstLeaf;
    TreeResult result = TreeResult::Done;
    for (std::uint32_t leaves = 0; leaf != 0 && result == TreeResult::Done; ++leaves) {
        if (leaves > tree.header().totalNodes)
            return TreeResult::Damaged;
        result = ReadNode(tree, leaf);
        if (result == TreeResult::Done && tree.view().kind() != NodeKind::Leaf)
            result = TreeResult::Damaged;
        leaf = tree.view().descriptor().forwardLink;
        if (result == TreeResult::Done)
            result = use(tree.view());
    }
    return result;
}

/// Adds a record to the leaves, splitting nodes and growing the tree as needed, and counts it. Only
/// when there are fewer free nodes than that takes is it `Full`.
/// `key` has its length field and no padding.
[[nodiscard]] TreeResult InsertTreeRecord(TreeCursor& tree, ConstByteSpan key, ConstByteSpan data);

/// Takes a record out of the leaves and counts it: nodes that become empty are zeroed and freed,
/// and a root with a single child gives way to it. `Missing` when there is no such record.
[[nodiscard]] TreeResult RemoveTreeRecord(TreeCursor& tree, ConstByteSpan key);

/// Adds nodes behind the last one, with the map nodes that they need; their bytes are zeros in the
/// store already. The map of used nodes must be loaded.
[[nodiscard]] TreeResult GrowTree(TreeCursor& tree, std::uint32_t addedNodes);

/// Free nodes with which that many insertions into a tree of that depth never find it full: each
/// may split one node a level and add a root.
[[nodiscard]] std::uint32_t NodesForInsertions(unsigned depth, unsigned count);

/// Takes a free node; nothing when all are in use.
[[nodiscard]] std::optional<std::uint32_t> AllocateNode(TreeCursor& tree);
/// Gives a node back; its bytes are the caller's to zero.
void FreeNode(TreeCursor& tree, std::uint32_t number);

/// First record of a node whose key is not less than `key`, `equal` when it is that key.
[[nodiscard]] std::size_t LowerBound(const NodeView& node, const TreeFormat& format,
                                     ConstByteSpan key, bool& equal);

}  // namespace vellmark
