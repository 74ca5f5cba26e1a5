#include <algorithm>

#include "volume/tree_editor.hpp"

namespace vellmark {

namespace {

class Remover : TreeEditor {
  public:
    explicit Remover(TreeCursor& tree) : TreeEditor(tree) {}
    TreeResult run(ConstByteSpan key);

  private:
    TreeResult dropNode(const Path& path, std::size_t level);
    TreeResult unlink(std::uint32_t number, const NodeDescriptor& node);
    TreeResult dropIndexRecord(const Path& path, std::size_t level);
    TreeResult lowerRoot();
    TreeResult release(std::uint32_t number);
};

TreeResult Remover::run(ConstByteSpan key) {
    Path path;
    bool found = false;
    if (const TreeResult result = descend(key, path, found); result != TreeResult::Done)
        return result;
    if (!found)
        return TreeResult::Missing;
    TreeResult result = TreeResult::Done;
    NodeView leaf = tree_.view();
    if (leaf.count() > 1) {
        const std::size_t index = path.back().index;
        leaf.remove(index);
        if (!store(path.back().node, tree_.nodeBuffer))
            return TreeResult::Failed;
        if (index == 0) {
            const ConstByteSpan first = leaf.key(0);
            result = refreshFirstKeys(std::vector<std::uint8_t>(first.begin(), first.end()));
        }
    } else {
        result = dropNode(path, path.size() - 1);
        if (result == TreeResult::Done)
            result = lowerRoot();
    }
    TreeHeaderRecord& header = tree_.header();
    if (result == TreeResult::Done)
        header.leafRecords = header.leafRecords - std::min<std::uint32_t>(header.leafRecords, 1);
    return result;
}

// Takes the node at `level` out of the tree: its last record goes.
TreeResult Remover::dropNode(const Path& path, std::size_t level) {
    const std::uint32_t number = path[level].node;
    if (!load(number, left_))
        return TreeResult::Failed;
    const NodeDescriptor node = view(left_).descriptor();
    if (const TreeResult result = unlink(number, node); result != TreeResult::Done)
        return result;
    if (const TreeResult result = release(number); result != TreeResult::Done)
        return result;
    if (level > 0)
        return dropIndexRecord(path, level - 1);
    depth_ = 0;
    tree_.header().depth = 0;
    tree_.header().root = 0;
    return TreeResult::Done;
}

// Links the neighbours of a node to each other.
TreeResult Remover::unlink(std::uint32_t number, const NodeDescriptor& node) {
    TreeHeaderRecord& header = tree_.header();
    if (node.backwardLink == number || node.forwardLink == number)
        return TreeResult::Damaged;
    if (node.backwardLink != 0)
        if (const TreeResult result = relink(node.backwardLink, node.height,
                                             &NodeDescriptor::forwardLink, node.forwardLink);
            result != TreeResult::Done)
            return result;
    if (node.forwardLink != 0)
        if (const TreeResult result = relink(node.forwardLink, node.height,
                                             &NodeDescriptor::backwardLink, node.backwardLink);
            result != TreeResult::Done)
            return result;
    if (header.firstLeaf == number)
        header.firstLeaf = node.forwardLink;
    if (header.lastLeaf == number)
        header.lastLeaf = node.backwardLink;
    return TreeResult::Done;
}

TreeResult Remover::dropIndexRecord(const Path& path, std::size_t level) {
    const Step step = path[level];
    if (const TreeResult result = loadIndex(path, level, step.index + 1);
        result != TreeResult::Done)
        return result;
    NodeView node = view(left_);
    if (node.count() == 1)
        return dropNode(path, level);
    node.remove(step.index);
    if (!store(step.node, left_))
        return TreeResult::Failed;
    if (step.index != 0)
        return TreeResult::Done;
    const ConstByteSpan first = node.key(0);
    return refreshFirstKeys(std::vector<std::uint8_t>(first.begin(), first.end()));
}

// A root with a single child is none: the child takes its place.
TreeResult Remover::lowerRoot() {
    while (depth_ > 1) {
        const std::uint32_t root = tree_.header().root;
        if (const TreeResult result = loadIndex({{root, 0}}, 0, 1); result != TreeResult::Done)
            return result;
        NodeView node = view(left_);
        if (node.count() > 1)
            break;
        const std::uint32_t child = node.child(0);
        if (child == 0 || child >= tree_.header().totalNodes)
            return TreeResult::Damaged;
        if (const TreeResult result = release(root); result != TreeResult::Done)
            return result;
        --depth_;
        tree_.header().depth = static_cast<std::uint16_t>(depth_);
        tree_.header().root = child;
    }
    return TreeResult::Done;
}

TreeResult Remover::release(std::uint32_t number) {
    std::fill(right_.begin(), right_.end(), std::uint8_t{0});
    if (!store(number, right_))
        return TreeResult::Failed;
    FreeNode(tree_, number);
    return TreeResult::Done;
}

}  // namespace

TreeResult RemoveTreeRecord(TreeCursor& tree, ConstByteSpan key) {
    return Remover(tree).run(key);
}

}  // namespace vellmark
