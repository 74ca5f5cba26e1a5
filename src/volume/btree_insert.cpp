#include <algorithm>

#include "volume/tree_editor.hpp"

namespace vellmark {

namespace {

// Three records must always fit a node: with fewer a full node could not be split in two.
bool IsTooLarge(const TreeCursor& tree, std::size_t recordBytes) {
    return 3 * (recordBytes + 2) + 2 + kNodeDescriptorSize > tree.nodeSize;
}

class Inserter : TreeEditor {
  public:
    explicit Inserter(TreeCursor& tree) : TreeEditor(tree) {}
    TreeResult run(ConstByteSpan key, ConstByteSpan data);

  private:
    TreeResult place(ConstByteSpan key, ConstByteSpan record);
    TreeResult openFirstLeaf(ConstByteSpan record);
    std::uint32_t nodesForSplit(const Path& path, ConstByteSpan key);
    TreeResult splitLeaf(const Path& path, ConstByteSpan record, std::size_t index);
};

TreeResult Inserter::run(ConstByteSpan key, ConstByteSpan data) {
    const std::vector<std::uint8_t> record = PaddedRecord(key, data);
    if (IsTooLarge(tree_, record.size()))
        return TreeResult::Full;
    const TreeResult result = depth_ == 0 ? openFirstLeaf(record) : place(key, record);
    if (result == TreeResult::Done)
        tree_.header().leafRecords = tree_.header().leafRecords + 1;
    return result;
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

TreeResult Inserter::place(ConstByteSpan key, ConstByteSpan record) {
    for (;;) {
        Path path;
        bool found = false;
        if (const TreeResult result = descend(key, path, found); result != TreeResult::Done)
            return result;
        if (found)
            return TreeResult::Exists;
        const std::size_t index = path.back().index;
        NodeView leaf = tree_.view();
        if (leaf.fits(record.size())) {
            leaf.insert(index, record);
            if (!store(path.back().node, tree_.nodeBuffer))
                return TreeResult::Failed;
            return index == 0 ? refreshFirstKeys(key) : TreeResult::Done;
        }
        // With fewer free nodes nothing is begun, so that a full tree stays as it was.
        const std::uint32_t needed = nodesForSplit(path, key);
        if (needed == 0)
            return TreeResult::Failed;
        if (tree_.header().freeNodes < needed)
            return TreeResult::Full;
        const bool appended = tree_.format.appendSplits && index == leaf.count();
        const TreeResult result = splitLeaf(path, record, index);
        if (result != TreeResult::Done || appended)
            return result;
    }
}

// Nodes that a split of the path's leaf takes: one, and one more for each level above that is full,
// and a new root. 0 when a node cannot be read. Index keys of HFS+ are as long as those of the
// nodes that split: the longest of them is reckoned with.
std::uint32_t Inserter::nodesForSplit(const Path& path, ConstByteSpan key) {
    const TreeFormat& format = tree_.format;
    const bool isFixed = format.fixedIndexKeyLength != 0;
    std::size_t keyBytes =
        isFixed ? format.keyLengthBytes + format.fixedIndexKeyLength : key.size();
    right_ = tree_.nodeBuffer;
    std::uint32_t nodes = 1;
    for (std::size_t level = path.size() - 1; level-- > 0; ++nodes) {
        const NodeView below = view(right_);
        for (std::size_t i = 0; !isFixed && i < below.count(); ++i)
            keyBytes = std::max(keyBytes, below.key(i).size());
        if (!load(path[level].node, right_))
            return 0;
        if (view(right_).fits((keyBytes + 1) / 2 * 2 + sizeof(be32)))
            return nodes;
    }
    return nodes + 1;
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
        const std::size_t usual = tree_.format.appendSplits ? n - n / 2 : n / 3 * 2;
        const auto kept = SplitPoint(left, usual, {index, record.size()});
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
    else if (const TreeResult result =
                 relink(behind, 1, &NodeDescriptor::backwardLink, rightNumber);
             result != TreeResult::Done)
        return result;
    return attach(path, path.size() - 1, rightNumber);
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
