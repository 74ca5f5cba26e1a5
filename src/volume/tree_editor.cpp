#include "volume/tree_editor.hpp"

#include <algorithm>

namespace vellmark {

namespace {

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

}  // namespace

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

std::optional<std::size_t> SplitPoint(const NodeView& node, std::size_t usual, NewRecord record) {
    const std::size_t n = node.count();
    const std::size_t room = node.bytes().size() - kNodeDescriptorSize;
    if (n < 2)
        return std::nullopt;
    const auto fits = [&](std::size_t kept) {
        const bool onLeft = record.at <= kept;
        const std::size_t bytes =
            onLeft ? node.offset(kept) - node.offset(0) : node.offset(n) - node.offset(kept);
        const std::size_t records = (onLeft ? kept : n - kept) + 1;
        return bytes + record.bytes + 2 * (records + 1) <= room;
    };
    std::size_t kept = std::clamp<std::size_t>(usual, 1, n - 1);
    while (kept > 1 && record.at <= kept && !fits(kept))
        --kept;
    while (kept + 1 < n && !fits(kept))
        ++kept;
    return fits(kept) ? std::optional(kept) : std::nullopt;
}

TreeResult TreeEditor::descend(ConstByteSpan key, Path& path, bool& found) {
    std::uint32_t number = tree_.header().root;
    path.clear();
    found = false;
    for (unsigned height = depth_; height > 0; --height) {
        if (const TreeResult result = ReadNode(tree_, number); result != TreeResult::Done)
            return result;
        const NodeView node = tree_.view();
        const NodeKind expected = height == 1 ? NodeKind::Leaf : NodeKind::Index;
        if (node.kind() != expected || node.descriptor().height != height ||
            (height > 1 && node.count() == 0))
            return TreeResult::Damaged;
        bool equal = false;
        std::size_t index = LowerBound(node, tree_.format, key, equal);
        found = equal;
        // The child whose first key is the last one not greater; the first child for less.
        if (height > 1 && !equal && index > 0)
            --index;
        path.push_back({number, index});
        if (height > 1)
            number = node.child(index);
    }
    return TreeResult::Done;
}

TreeResult TreeEditor::loadIndex(const Path& path, std::size_t level, std::size_t records) {
    if (!load(path[level].node, left_))
        return TreeResult::Failed;
    const NodeView node = view(left_);
    const bool usable = node.kind() == NodeKind::Index && node.isSound() && node.count() >= records;
    return usable ? TreeResult::Done : TreeResult::Damaged;
}

std::optional<std::uint32_t> TreeEditor::allocate(const Path& path) {
    const auto number = AllocateNode(tree_);
    const bool inUse = number && std::any_of(path.begin(), path.end(), [&](const Step& step) {
                           return step.node == *number;
                       });
    return inUse ? std::nullopt : number;
}

TreeResult TreeEditor::relink(std::uint32_t number, std::uint8_t height, be32 NodeDescriptor::*link,
                              std::uint32_t target) {
    std::vector<std::uint8_t> buffer(tree_.nodeSize);
    if (number >= tree_.header().totalNodes)
        return TreeResult::Damaged;
    if (!load(number, buffer))
        return TreeResult::Failed;
    NodeDescriptor& descriptor = view(buffer).descriptor();
    if (descriptor.height != height)
        return TreeResult::Damaged;
    descriptor.*link = target;
    return store(number, buffer) ? TreeResult::Done : TreeResult::Failed;
}

TreeResult TreeEditor::attach(const Path& path, std::size_t level, std::uint32_t rightNumber) {
    if (level == 0)
        return makeRoot(path, rightNumber);
    const std::vector<std::uint8_t> record =
        IndexRecord(tree_.format, view(right_).key(0), rightNumber);
    return insertIndex(path, level - 1, path[level - 1].index + 1, record);
}

TreeResult TreeEditor::makeRoot(const Path& path, std::uint32_t right) {
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

// Three quarters of a full node stay on the left.
TreeResult TreeEditor::insertIndex(const Path& path, std::size_t level, std::size_t at,
                                   ConstByteSpan record) {
    const std::uint32_t number = path[level].node;
    if (const TreeResult result = loadIndex(path, level, at); result != TreeResult::Done)
        return result;
    NodeView left = view(left_);
    if (left.fits(record.size())) {
        left.insert(at, record);
        return store(number, left_) ? TreeResult::Done : TreeResult::Failed;
    }
    const auto kept = SplitPoint(left, left.count() * 3 / 4, {at, record.size()});
    const auto allocated = kept ? allocate(path) : std::nullopt;
    if (!allocated)
        return TreeResult::Damaged;
    NodeView right = view(right_);
    right.clear(NodeKind::Index, left.descriptor().height);
    left.moveTail(*kept, right);
    const std::uint32_t behind = left.descriptor().forwardLink;
    right.descriptor().backwardLink = number;
    right.descriptor().forwardLink = behind;
    left.descriptor().forwardLink = *allocated;
    // A record that goes right behind the last one kept belongs to its side.
    if (at <= *kept)
        left.insert(at, record);
    else
        right.insert(at - *kept, record);
    if (!store(number, left_) || !store(*allocated, right_))
        return TreeResult::Failed;
    if (behind != 0)
        if (const TreeResult result =
                relink(behind, left.descriptor().height, &NodeDescriptor::backwardLink, *allocated);
            result != TreeResult::Done)
            return result;
    return attach(path, level, *allocated);
}

// A record that holds a smaller key than the first one of its node still leads to every key, so the
// way down can be found anew for each level while the levels above are not right yet. That also
// holds when a longer key finds neither room nor a free node: the old one then stays.
TreeResult TreeEditor::refreshFirstKeys(ConstByteSpan firstKey) {
    const std::vector<std::uint8_t> key(firstKey.begin(), firstKey.end());
    for (unsigned height = 2; height <= depth_; ++height) {
        Path path;
        bool found = false;
        if (const TreeResult result = descend(key, path, found); result != TreeResult::Done)
            return result;
        const std::size_t level = depth_ - height;
        const std::size_t index = path[level].index;
        if (const TreeResult result = loadIndex(path, level, index + 1); result != TreeResult::Done)
            return result;
        NodeView node = view(left_);
        const std::vector<std::uint8_t> record = IndexRecord(tree_.format, key, node.child(index));
        const ConstByteSpan old = node.record(index);
        const bool fits = record.size() <= node.freeBytes() + old.size();
        const bool isRight = std::equal(old.begin(), old.end(), record.begin(), record.end());
        const bool canChange = fits || tree_.header().freeNodes >= NodesForInsertions(depth_, 1);
        tree_.keptOldKey = tree_.keptOldKey || (!isRight && !canChange);
        if (!isRight && canChange) {
            node.remove(index);
            if (!store(path[level].node, left_))
                return TreeResult::Failed;
            if (const TreeResult result = insertIndex(path, level, index, record);
                result != TreeResult::Done)
                return result;
        }
        if (index != 0)
            break;
    }
    return TreeResult::Done;
}

}  // namespace vellmark
