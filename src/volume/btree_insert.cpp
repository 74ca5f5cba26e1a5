#include <algorithm>
#include <cstring>
#include <optional>
#include <vector>

#include "volume/btree.hpp"

namespace vellmark {

namespace {

// The nodes and record indexes from the root down to a leaf.
struct Step {
    std::uint32_t node = 0;
    std::size_t index = 0;
};
using Path = std::vector<Step>;

std::vector<std::uint8_t> PaddedRecord(ConstByteSpan key, ConstByteSpan data) {
    std::vector<std::uint8_t> record;
    record.reserve(key.size() + data.size() + 2);
    record.assign(key.begin(), key.end());
    if (record.size() & 1)
        record.push_back(0);
    record.insert(record.end(), data.begin(), data.end());
    if (record.size() & 1)
        record.push_back(0);
    return record;
}

// An index record: the key (in HFS with its forced length, padded with zeros), then the child.
std::vector<std::uint8_t> IndexRecord(const TreeFormat& format, ConstByteSpan key,
                                      std::uint32_t child) {
    std::vector<std::uint8_t> record(key.begin(), key.end());
    if (format.fixedIndexKeyLength != 0) {
        record.resize(format.keyLengthBytes + format.fixedIndexKeyLength, 0);
        record[0] = static_cast<std::uint8_t>(format.fixedIndexKeyLength);
    }
    const be32 number = child;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&number);
    return PaddedRecord(record, {bytes, sizeof number});
}

// How many records of a full node stay on the left: as many as `told`, unless their sizes are so
// uneven that the new record, to be put before record `at`, would not fit on its side. Nothing when
// it fits nowhere, which only records larger than this program's own can bring about.
std::optional<std::size_t> SplitPoint(const NodeView& node, std::size_t told, std::size_t at,
                                      std::size_t recordBytes) {
    const std::size_t n = node.count();
    const std::size_t room = node.bytes().size() - kNodeDescriptorSize;
    if (n < 2)
        return std::nullopt;
    const auto fits = [&](std::size_t kept) {
        const bool onLeft = at <= kept;
        const std::size_t bytes =
            onLeft ? node.offset(kept) - node.offset(0) : node.offset(n) - node.offset(kept);
        const std::size_t records = (onLeft ? kept : n - kept) + 1;
        return bytes + recordBytes + 2 * (records + 1) <= room;
    };
    std::size_t kept = std::clamp<std::size_t>(told, 1, n - 1);
    while (kept > 1 && at <= kept && !fits(kept))
        --kept;
    while (kept + 1 < n && !fits(kept))
        ++kept;
    return fits(kept) ? std::optional(kept) : std::nullopt;
}

// Three records must always fit a node: with fewer a full node could not be split in two.
bool IsTooLarge(const TreeCursor& tree, std::size_t recordBytes) {
    return 3 * (recordBytes + 2) + 2 + kNodeDescriptorSize > tree.nodeSize;
}

// Work on one insertion. Nodes are changed in buffers of its own, so that the cursor's buffer stays
// what the last search left.
class Inserter {
  public:
    explicit Inserter(TreeCursor& tree)
        : tree_(tree), left_(tree.nodeSize), right_(tree.nodeSize), depth_(tree.header().depth) {}

    TreeResult run(ConstByteSpan key, ConstByteSpan data);

  private:
    TreeResult descend(ConstByteSpan key, Path& path);
    TreeResult openFirstLeaf(ConstByteSpan record);
    bool enoughNodes() const;
    std::optional<std::uint32_t> allocate(const Path& path);
    TreeResult loadIndex(const Path& path, std::size_t level);
    TreeResult splitLeaf(const Path& path, ConstByteSpan record, std::size_t index);
    TreeResult insertIndex(const Path& path, std::size_t level, ConstByteSpan record);
    TreeResult makeRoot(const Path& path, std::uint32_t right);
    TreeResult refreshFirstKeys(const Path& path);
    TreeResult relinkBehind(std::uint32_t number, std::uint32_t back);
    TreeResult attach(const Path& path, std::size_t level, std::uint32_t rightNumber);

    bool load(std::uint32_t number, std::vector<std::uint8_t>& buffer) {
        return tree_.store->read(number, buffer);
    }
    bool store(std::uint32_t number, const std::vector<std::uint8_t>& buffer) {
        return tree_.store->write(number, buffer);
    }
    NodeView view(std::vector<std::uint8_t>& buffer) { return {buffer, tree_.format}; }

    TreeCursor& tree_;
    std::vector<std::uint8_t> left_;
    std::vector<std::uint8_t> right_;
    unsigned depth_;
};

// Every level may split once and the root grow: with fewer free nodes nothing is begun, so that a
// full tree stays as it was.
bool Inserter::enoughNodes() const {
    return tree_.header().freeNodes >= NodesForInsertions(depth_, 1);
}

// A free node; nothing when a damaged map offers one that the insertion itself passes through.
std::optional<std::uint32_t> Inserter::allocate(const Path& path) {
    const auto number = AllocateNode(tree_);
    const bool inUse = number && std::any_of(path.begin(), path.end(), [&](const Step& step) {
                           return step.node == *number;
                       });
    return inUse ? std::nullopt : number;
}

// Loads the index node of the path's level into `left_`. What the way down has found there may have
// been overwritten since, where a damaged map offers nodes that are in use.
TreeResult Inserter::loadIndex(const Path& path, std::size_t level) {
    if (!load(path[level].node, left_))
        return TreeResult::Failed;
    const NodeView node = view(left_);
    const bool usable =
        node.kind() == NodeKind::Index && node.isSound() && path[level].index < node.count();
    return usable ? TreeResult::Done : TreeResult::Damaged;
}

TreeResult Inserter::descend(ConstByteSpan key, Path& path) {
    std::uint32_t number = tree_.header().root;
    path.clear();
    for (unsigned height = depth_; height > 0; --height) {
        if (const TreeResult result = ReadNode(tree_, number); result != TreeResult::Done)
            return result;
        const NodeView node = tree_.view();
        const NodeKind expected = height == 1 ? NodeKind::Leaf : NodeKind::Index;
        if (node.kind() != expected || node.descriptor().height != height ||
            (height > 1 && node.count() == 0))
            return TreeResult::Damaged;
        std::size_t low = 0;
        std::size_t high = node.count();
        while (low < high) {
            const std::size_t middle = (low + high) / 2;
            const int order = tree_.format.compare(node.key(middle), key);
            if (order == 0 && height == 1)
                return TreeResult::Exists;
            (order <= 0 ? low : high) = order <= 0 ? middle + 1 : middle;
        }
        const std::size_t index = height > 1 && low > 0 ? low - 1 : low;
        path.push_back({number, index});
        if (height > 1)
            number = node.child(index);
    }
    return TreeResult::Done;
}

TreeResult Inserter::openFirstLeaf(ConstByteSpan record) {
    const auto number = AllocateNode(tree_);
    if (!number)
        return TreeResult::Full;
    NodeView leaf = view(left_);
    leaf.clear(NodeKind::Leaf, 1);
    leaf.insert(0, record);
    TreeHeaderRecord& header = tree_.header();
    header.depth = 1;
    header.root = *number;
    header.firstLeaf = *number;
    header.lastLeaf = *number;
    return store(*number, left_) ? TreeResult::Done : TreeResult::Failed;
}

TreeResult Inserter::run(ConstByteSpan key, ConstByteSpan data) {
    const std::vector<std::uint8_t> record = PaddedRecord(key, data);
    TreeResult result = TreeResult::Done;
    if (IsTooLarge(tree_, record.size()))
        return TreeResult::Full;
    if (depth_ == 0) {
        result = openFirstLeaf(record);
    } else {
        Path path;
        for (bool placed = false; !placed;) {
            if (result = descend(key, path); result != TreeResult::Done)
                return result;
            const std::size_t index = path.back().index;
            NodeView leaf = tree_.view();
            if (leaf.fits(record.size())) {
                leaf.insert(index, record);
                if (!store(path.back().node, tree_.nodeBuffer))
                    return TreeResult::Failed;
                result = index == 0 ? refreshFirstKeys(path) : TreeResult::Done;
                placed = true;
                continue;
            }
            if (!enoughNodes())
                return TreeResult::Full;
            placed = tree_.format.appendSplits && index == leaf.count();
            result = splitLeaf(path, record, index);
            if (result != TreeResult::Done)
                return result;
        }
    }
    if (result == TreeResult::Done)
        tree_.header().leafRecords = tree_.header().leafRecords + 1;
    return result;
}

// Splits the leaf of the last descent. Where a record goes behind a full HFS leaf, the new leaf
// holds it alone: building a catalog in order leaves full leaves behind.
TreeResult Inserter::splitLeaf(const Path& path, ConstByteSpan record, std::size_t index) {
    const std::uint32_t leftNumber = path.back().node;
    left_ = tree_.nodeBuffer;
    NodeView left = view(left_);
    NodeView right = view(right_);
    right.clear(NodeKind::Leaf, 1);
    const std::size_t n = left.count();
    if (tree_.format.appendSplits && index == n) {
        right.insert(0, record);
    } else {
        const std::size_t told = tree_.format.appendSplits ? n - n / 2 : n / 3 * 2;
        const auto kept = SplitPoint(left, told, index, record.size());
        if (!kept)
            return TreeResult::Damaged;
        left.moveTail(*kept, right);
    }
    const auto allocated = allocate(path);
    if (!allocated)
        return TreeResult::Damaged;
    const std::uint32_t rightNumber = *allocated;
    const std::uint32_t behind = left.descriptor().forwardLink;
    right.descriptor().backwardLink = leftNumber;
    right.descriptor().forwardLink = behind;
    left.descriptor().forwardLink = rightNumber;
    if (!store(leftNumber, left_) || !store(rightNumber, right_))
        return TreeResult::Failed;
    if (behind == 0)
        tree_.header().lastLeaf = rightNumber;
    else if (const TreeResult result = relinkBehind(behind, rightNumber);
             result != TreeResult::Done)
        return result;
    return attach(path, path.size() - 1, rightNumber);
}

TreeResult Inserter::relinkBehind(std::uint32_t number, std::uint32_t back) {
    std::vector<std::uint8_t> buffer(tree_.nodeSize);
    if (number >= tree_.header().totalNodes)
        return TreeResult::Damaged;
    if (!load(number, buffer))
        return TreeResult::Failed;
    view(buffer).descriptor().backwardLink = back;
    return store(number, buffer) ? TreeResult::Done : TreeResult::Failed;
}

// Makes the level above know the new right neighbour of the node at `level` of the path; `right_`
// holds that neighbour.
TreeResult Inserter::attach(const Path& path, std::size_t level, std::uint32_t rightNumber) {
    if (level == 0)
        return makeRoot(path, rightNumber);
    const std::vector<std::uint8_t> record =
        IndexRecord(tree_.format, view(right_).key(0), rightNumber);
    return insertIndex(path, level - 1, record);
}

TreeResult Inserter::makeRoot(const Path& path, std::uint32_t right) {
    const auto number = allocate(path);
    if (!number)
        return TreeResult::Damaged;
    std::vector<std::uint8_t> root(tree_.nodeSize);
    NodeView node = view(root);
    node.clear(NodeKind::Index, static_cast<std::uint8_t>(depth_ + 1));
    node.insert(0, IndexRecord(tree_.format, view(left_).key(0), path[0].node));
    node.insert(1, IndexRecord(tree_.format, view(right_).key(0), right));
    if (!store(*number, root))
        return TreeResult::Failed;
    ++depth_;
    tree_.header().depth = static_cast<std::uint16_t>(depth_);
    tree_.header().root = *number;
    return TreeResult::Done;
}

// Puts an index record behind the path's entry at `level`; a full node is split first, three
// quarters staying on the left.
TreeResult Inserter::insertIndex(const Path& path, std::size_t level, ConstByteSpan record) {
    const Step step = path[level];
    if (const TreeResult result = loadIndex(path, level); result != TreeResult::Done)
        return result;
    NodeView left = view(left_);
    const std::size_t at = step.index + 1;
    if (left.fits(record.size())) {
        left.insert(at, record);
        return store(step.node, left_) ? TreeResult::Done : TreeResult::Failed;
    }
    const auto kept = SplitPoint(left, left.count() * 3 / 4, at, record.size());
    const auto allocated = kept ? allocate(path) : std::nullopt;
    if (!allocated)
        return TreeResult::Damaged;
    NodeView right = view(right_);
    right.clear(NodeKind::Index, left.descriptor().height);
    left.moveTail(*kept, right);
    const std::uint32_t behind = left.descriptor().forwardLink;
    right.descriptor().backwardLink = step.node;
    right.descriptor().forwardLink = behind;
    left.descriptor().forwardLink = *allocated;
    // An entry that goes right behind the last one kept belongs to its side.
    if (at <= *kept)
        left.insert(at, record);
    else
        right.insert(at - *kept, record);
    if (!store(step.node, left_) || !store(*allocated, right_))
        return TreeResult::Failed;
    if (behind != 0)
        if (const TreeResult result = relinkBehind(behind, *allocated); result != TreeResult::Done)
            return result;
    return attach(path, level, *allocated);
}

// The first key of the leaf has changed: the entries above must tell it, up to the first level
// where the entry is not the first of its node. Only the tree's very first record can change so,
// and its key has the same size as the old one in every tree that allows it (a catalog's first key
// is the root's and stays).
TreeResult Inserter::refreshFirstKeys(const Path& path) {
    std::vector<std::uint8_t> child = tree_.nodeBuffer;
    for (std::size_t level = path.size() - 1; level-- > 0;) {
        const Step step = path[level];
        if (const TreeResult result = loadIndex(path, level); result != TreeResult::Done)
            return result;
        NodeView node = view(left_);
        const std::vector<std::uint8_t> record =
            IndexRecord(tree_.format, view(child).key(0), node.child(step.index));
        node.remove(step.index);
        if (!node.fits(record.size()))
            return TreeResult::Full;
        node.insert(step.index, record);
        if (!store(step.node, left_))
            return TreeResult::Failed;
        if (step.index != 0)
            break;
        child = left_;
    }
    return TreeResult::Done;
}

}  // namespace

std::uint32_t NodesForInsertions(unsigned depth, unsigned count) {
    std::uint32_t nodes = 0;
    for (unsigned i = 0; i < count; ++i)
        nodes += depth + i + 1;
    return nodes;
}

TreeResult InsertTreeRecord(TreeCursor& tree, ConstByteSpan key, ConstByteSpan data) {
    return Inserter(tree).run(key, data);
}

}  // namespace vellmark
