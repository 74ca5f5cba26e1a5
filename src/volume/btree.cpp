#include "volume/btree.hpp"

#include <algorithm>
#include <bit>
#include <cstring>
#include <set>

namespace vellmark {

namespace {

// No tree of these formats is higher than this: even with three records a node, 16 levels hold more
// than node numbers can count.
constexpr unsigned kMaxDepth = 16;

constexpr std::uint32_t kMostEmptyLeaves = 1000;

constexpr std::uint32_t kMinNodeSize = 512;
constexpr std::uint32_t kMaxNodeSize = 32768;

// Map nodes that a tree needs behind the map of its header node.
std::uint32_t MapNodesFor(std::uint32_t totalNodes, std::uint32_t nodeSize) {
    const auto inHeader = static_cast<std::uint32_t>((nodeSize - kHeaderMapOverhead) * 8);
    const auto inMapNode = static_cast<std::uint32_t>((nodeSize - kMapNodeOverhead) * 8);
    return totalNodes <= inHeader ? 0 : (totalNodes - inHeader + inMapNode - 1) / inMapNode;
}

void SetHeaderOffsets(std::vector<std::uint8_t>& node) {
    const std::uint16_t offsets[] = {kNodeDescriptorSize, 120, kHeaderMapOffset,
                                     static_cast<std::uint16_t>(node.size() - 8)};
    for (std::size_t i = 0; i < 4; ++i) {
        const be16 word = offsets[i];
        std::memcpy(node.data() + node.size() - 2 * (i + 1), &word, sizeof word);
    }
}

std::vector<std::uint8_t> MakeMapNode(std::uint32_t nodeSize, std::uint32_t forwardLink) {
    std::vector<std::uint8_t> node(nodeSize);
    auto& descriptor = *reinterpret_cast<NodeDescriptor*>(node.data());
    descriptor.forwardLink = forwardLink;
    descriptor.kind = static_cast<std::uint8_t>(NodeKind::Map);
    descriptor.recordCount = 1;
    const be16 start = kNodeDescriptorSize;
    const be16 end = static_cast<std::uint16_t>(nodeSize - 6);
    std::memcpy(node.data() + nodeSize - 2, &start, sizeof start);
    std::memcpy(node.data() + nodeSize - 4, &end, sizeof end);
    return node;
}

// Every map node that the tree needs, in turn: `visit(bytes of its map, node, number)`. What may
// follow behind them covers no node.
template <typename Visit>
TreeResult ForEachMapNode(TreeCursor& tree, Visit visit) {
    std::vector<std::uint8_t> node(tree.nodeSize);
    std::uint32_t number = reinterpret_cast<NodeDescriptor*>(tree.headerNode.data())->forwardLink;
    std::set<std::uint32_t> seen;
    const std::uint32_t needed = MapNodesFor(tree.header().totalNodes, tree.nodeSize);
    for (std::uint32_t steps = 0; number != 0 && steps < needed; ++steps) {
        if (number >= tree.header().totalNodes || !seen.insert(number).second)
            return TreeResult::Damaged;
        if (!tree.store->read(number, node))
            return TreeResult::Failed;
        const auto& descriptor = *reinterpret_cast<NodeDescriptor*>(node.data());
        if (descriptor.kind != static_cast<std::uint8_t>(NodeKind::Map))
            return TreeResult::Damaged;
        const ByteSpan map =
            ByteSpan(node).subspan(kNodeDescriptorSize, tree.nodeSize - kMapNodeOverhead);
        if (!visit(map, node, number))
            return TreeResult::Failed;
        number = descriptor.forwardLink;
    }
    return TreeResult::Done;
}

std::uint32_t CountFreeNodes(const TreeCursor& tree) {
    const std::uint64_t nodes = std::min<std::uint64_t>(tree.header().totalNodes,
                                                        8 * std::uint64_t{tree.nodeBitmap.size()});
    std::uint32_t used = 0;
    for (std::size_t i = 0; i < nodes / 8; ++i)
        used += static_cast<std::uint32_t>(std::popcount(tree.nodeBitmap[i]));
    for (std::uint64_t number = nodes / 8 * 8; number < nodes; ++number)
        used += tree.nodeBitmap[number / 8] >> (7 - number % 8) & 1;
    return static_cast<std::uint32_t>(nodes) - used;
}

// An empty leaf in node 1.
bool CreateRootLeaf(TreeCursor& tree) {
    const std::uint32_t leaf = AllocateNode(tree).value_or(0);
    TreeHeaderRecord& header = tree.header();
    header.depth = 1;
    header.root = leaf;
    header.firstLeaf = leaf;
    header.lastLeaf = leaf;
    tree.view().clear(NodeKind::Leaf, 1);
    return tree.store->write(leaf, tree.nodeBuffer);
}

}  // namespace

bool MemoryNodes::read(std::uint32_t number, ByteSpan node) {
    const std::size_t at = number * nodeSize_;
    const std::size_t piece = at / kPieceBytes;
    if (piece < pieces_.size() && !pieces_[piece].empty())
        std::memcpy(node.data(), pieces_[piece].data() + at % kPieceBytes, nodeSize_);
    else
        std::fill(node.begin(), node.end(), std::uint8_t{0});
    return true;
}

bool MemoryNodes::write(std::uint32_t number, ConstByteSpan node) {
    const std::size_t at = number * nodeSize_;
    const std::size_t piece = at / kPieceBytes;
    if (piece >= pieces_.size())
        pieces_.resize(piece + 1);
    if (pieces_[piece].empty())
        pieces_[piece].resize(kPieceBytes);
    std::memcpy(pieces_[piece].data() + at % kPieceBytes, node.data(), nodeSize_);
    return true;
}

bool MemoryNodes::writeTo(ByteSink& sink, std::uint64_t offset) const {
    for (const std::vector<std::uint8_t>& piece : pieces_) {
        // The last piece reaches behind the tree: what is zero there does not belong to it.
        std::size_t used = piece.size();
        while (used > 0 && piece[used - 1] == 0)
            --used;
        if (!sink.writeAt(offset, {piece.data(), used}))
            return false;
        offset += kPieceBytes;
    }
    return true;
}

bool CreateTree(TreeCursor& tree, const TreeFormat& format, NodeStore& store,
                const NewTree& shape) {
    const std::uint32_t mapNodes = MapNodesFor(shape.totalNodes, shape.nodeSize);
    if (shape.totalNodes < mapNodes + (shape.rootLeaf ? 2u : 1u))
        return false;
    tree = TreeCursor{};
    tree.format = format;
    tree.store = &store;
    tree.nodeSize = shape.nodeSize;
    tree.headerNode.assign(shape.nodeSize, 0);
    tree.nodeBuffer.assign(shape.nodeSize, 0);
    auto& descriptor = *reinterpret_cast<NodeDescriptor*>(tree.headerNode.data());
    descriptor.kind = static_cast<std::uint8_t>(NodeKind::Header);
    descriptor.recordCount = 3;
    SetHeaderOffsets(tree.headerNode);
    TreeHeaderRecord& header = tree.header();
    header.nodeSize = static_cast<std::uint16_t>(shape.nodeSize);
    header.maxKeyLength = format.maxKeyLength;
    header.totalNodes = shape.totalNodes;
    header.freeNodes = shape.totalNodes;
    header.clumpSize = shape.clumpSize;
    header.keyCompareType = shape.keyCompareType;
    header.attributes = shape.attributes;
    tree.nodeBitmap.assign(
        shape.nodeSize - kHeaderMapOverhead + mapNodes * (shape.nodeSize - kMapNodeOverhead), 0);
    (void)AllocateNode(tree);
    if (shape.rootLeaf && !CreateRootLeaf(tree))
        return false;
    // The map nodes follow one another.
    const std::uint32_t firstMapNode = shape.rootLeaf ? 2 : 1;
    for (std::uint32_t i = 0; i < mapNodes; ++i) {
        const std::uint32_t next = i + 1 < mapNodes ? firstMapNode + i + 1 : 0;
        (void)AllocateNode(tree);
        if (!store.write(firstMapNode + i, MakeMapNode(shape.nodeSize, next)))
            return false;
    }
    descriptor.forwardLink = mapNodes > 0 ? firstMapNode : 0;
    return true;
}

bool OpenTree(TreeCursor& tree, const TreeFormat& format, NodeStore& store,
              std::uint32_t nodeSize) {
    if (nodeSize < kMinNodeSize || nodeSize > kMaxNodeSize || !std::has_single_bit(nodeSize))
        return false;
    tree = TreeCursor{};
    tree.format = format;
    tree.store = &store;
    tree.nodeSize = nodeSize;
    tree.headerNode.assign(nodeSize, 0);
    tree.nodeBuffer.assign(nodeSize, 0);
    if (!store.read(0, tree.headerNode))
        return false;
    const TreeHeaderRecord& header = tree.header();
    const auto kind = reinterpret_cast<NodeDescriptor*>(tree.headerNode.data())->kind;
    return kind == static_cast<std::uint8_t>(NodeKind::Header) && header.totalNodes > 0 &&
           header.depth <= kMaxDepth && header.root < header.totalNodes &&
           header.firstLeaf < header.totalNodes && header.lastLeaf < header.totalNodes;
}

TreeResult LoadNodeBitmap(TreeCursor& tree) {
    const auto first = tree.headerNode.begin() + kHeaderMapOffset;
    tree.nodeBitmap.assign(first, first + (tree.nodeSize - kHeaderMapOverhead));
    tree.allocationHint = 0;
    const TreeResult result =
        ForEachMapNode(tree, [&](ByteSpan map, const std::vector<std::uint8_t>&, std::uint32_t) {
            tree.nodeBitmap.insert(tree.nodeBitmap.end(), map.begin(), map.end());
            return true;
        });
    if (result != TreeResult::Done)
        return result;
    tree.header().freeNodes = CountFreeNodes(tree);
    return tree.nodeBitmap[0] & 0x80 ? TreeResult::Done : TreeResult::Damaged;
}

TreeResult FlushTree(TreeCursor& tree) {
    std::size_t done = tree.nodeSize - kHeaderMapOverhead;
    std::copy_n(tree.nodeBitmap.begin(), done, tree.headerNode.begin() + kHeaderMapOffset);
    if (!tree.store->write(0, tree.headerNode))
        return TreeResult::Failed;
    return ForEachMapNode(
        tree, [&](ByteSpan map, const std::vector<std::uint8_t>& node, std::uint32_t number) {
            if (done + map.size() > tree.nodeBitmap.size())
                return false;
            std::copy_n(tree.nodeBitmap.begin() + static_cast<std::ptrdiff_t>(done), map.size(),
                        map.begin());
            done += map.size();
            return tree.store->write(number, node);
        });
}

TreeResult ReadNode(TreeCursor& tree, std::uint32_t number) {
    if (number == 0 || number >= tree.header().totalNodes)
        return TreeResult::Damaged;
    if (!tree.store->read(number, tree.nodeBuffer))
        return TreeResult::Failed;
    tree.node = number;
    tree.index = 0;
    return tree.view().isSound() ? TreeResult::Done : TreeResult::Damaged;
}

std::size_t LowerBound(const NodeView& node, const TreeFormat& format, ConstByteSpan key,
                       bool& equal) {
    std::size_t low = 0;
    std::size_t high = node.count();
    equal = false;
    while (low < high) {
        const std::size_t middle = (low + high) / 2;
        const int order = format.compare(node.key(middle), key);
        if (order < 0) {
            low = middle + 1;
        } else {
            equal = equal || order == 0;
            high = middle;
        }
    }
    return low;
}

TreeResult FindKey(TreeCursor& tree, ConstByteSpan key, bool& found) {
    found = false;
    std::uint32_t number = tree.header().root;
    bool isEqual = false;
    tree.index = 0;
    if (tree.header().depth == 0)
        return TreeResult::Done;
    for (unsigned height = tree.header().depth; height > 0; --height) {
        if (const TreeResult result = ReadNode(tree, number); result != TreeResult::Done)
            return result;
        const NodeView node = tree.view();
        const NodeKind expected = height == 1 ? NodeKind::Leaf : NodeKind::Index;
        if (node.kind() != expected || node.descriptor().height != height ||
            (height > 1 && node.count() == 0))
            return TreeResult::Damaged;
        tree.index = LowerBound(node, tree.format, key, isEqual);
        if (height > 1) {
            // The child whose first key is the last one not greater; the first child for less.
            if (!isEqual && tree.index > 0)
                --tree.index;
            number = node.child(tree.index);
        }
    }
    // An equal key on the way down is none yet: the leaf below it may be damaged.
    found = isEqual;
    return TreeResult::Done;
}

TreeResult SettleOnRecord(TreeCursor& tree, bool& found) {
    found = false;
    if (tree.header().depth == 0)
        return TreeResult::Done;
    // Empty leaves do not occur in sound trees; a chain of them must still come to an end, whatever
    // number of nodes the header claims.
    for (std::uint32_t steps = 0; tree.index >= tree.view().count(); ++steps) {
        const std::uint32_t next = tree.view().descriptor().forwardLink;
        if (next == 0)
            return TreeResult::Done;
        if (steps > kMostEmptyLeaves)
            return TreeResult::Damaged;
        if (const TreeResult result = ReadNode(tree, next); result != TreeResult::Done)
            return result;
        if (tree.view().kind() != NodeKind::Leaf)
            return TreeResult::Damaged;
    }
    found = true;
    return TreeResult::Done;
}

TreeResult NextRecord(TreeCursor& tree, bool& found) {
    ++tree.index;
    return SettleOnRecord(tree, found);
}

std::optional<std::uint32_t> AllocateNode(TreeCursor& tree) {
    const std::uint32_t total = tree.header().totalNodes;
    for (std::uint32_t number = tree.allocationHint;
         number < total && number / 8 < tree.nodeBitmap.size();) {
        std::uint8_t& byte = tree.nodeBitmap[number / 8];
        if (byte == 0xFF) {
            number = (number / 8 + 1) * 8;
            continue;
        }
        const auto bit = static_cast<std::uint8_t>(0x80u >> (number % 8));
        if (!(byte & bit)) {
            byte = static_cast<std::uint8_t>(byte | bit);
            tree.header().freeNodes = tree.header().freeNodes - 1;
            tree.allocationHint = number + 1;
            return number;
        }
        ++number;
    }
    return std::nullopt;
}

void FreeNode(TreeCursor& tree, std::uint32_t number) {
    const auto bit = static_cast<std::uint8_t>(0x80u >> (number % 8));
    if (number / 8 >= tree.nodeBitmap.size() || !(tree.nodeBitmap[number / 8] & bit))
        return;
    tree.nodeBitmap[number / 8] = static_cast<std::uint8_t>(tree.nodeBitmap[number / 8] & ~bit);
    tree.header().freeNodes = tree.header().freeNodes + 1;
    tree.allocationHint = std::min(tree.allocationHint, number);
}

TreeResult GrowTree(TreeCursor& tree, std::uint32_t addedNodes) {
    TreeHeaderRecord& header = tree.header();
    std::uint32_t lastMap = 0;
    if (const TreeResult result =
            ForEachMapNode(tree,
                           [&](ByteSpan, const std::vector<std::uint8_t>&, std::uint32_t number) {
                               lastMap = number;
                               return true;
                           });
        result != TreeResult::Done)
        return result;
    const std::uint32_t mapNodes = MapNodesFor(header.totalNodes, tree.nodeSize);
    const std::size_t mapBytes =
        tree.nodeSize - kHeaderMapOverhead + mapNodes * (tree.nodeSize - kMapNodeOverhead);
    if (tree.nodeBitmap.size() != mapBytes)
        return TreeResult::Damaged;
    header.totalNodes = header.totalNodes + addedNodes;
    header.freeNodes = header.freeNodes + addedNodes;
    const std::uint32_t needed = MapNodesFor(header.totalNodes, tree.nodeSize);
    for (std::uint32_t i = mapNodes; i < needed; ++i) {
        // A map node may be one of those that it covers.
        tree.nodeBitmap.resize(tree.nodeBitmap.size() + tree.nodeSize - kMapNodeOverhead);
        const std::uint32_t number = AllocateNode(tree).value_or(0);
        std::vector<std::uint8_t> last(tree.headerNode);
        if (number == 0 || (lastMap != 0 && !tree.store->read(lastMap, last)))
            return TreeResult::Failed;
        auto* link =
            reinterpret_cast<NodeDescriptor*>(lastMap == 0 ? tree.headerNode.data() : last.data());
        link->forwardLink = number;
        if ((lastMap != 0 && !tree.store->write(lastMap, last)) ||
            !tree.store->write(number, MakeMapNode(tree.nodeSize, 0)))
            return TreeResult::Failed;
        lastMap = number;
    }
    return TreeResult::Done;
}

}  // namespace vellmark
