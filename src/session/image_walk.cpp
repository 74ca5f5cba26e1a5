#include "session/image_walk.hpp"

namespace vellmark {

bool TreeWalker::walk(TreeView& tree, const ViewEntry& folder) {
    tree_ = &tree;
    WalkGuard guard(folder.id, mostEntries_);
    return walkFolder(folder, 0, guard);
}

bool TreeWalker::walkFolder(const ViewEntry& folder, std::size_t level, WalkGuard& guard) {
    std::string sentence;
    const std::vector<ViewEntry> entries = tree_->list(folder, sentence);
    if (!sentence.empty())
        problem(sentence);
    for (const ViewEntry& entry : entries) {
        if (const std::string end = guard.refuseEntry(); !end.empty()) {
            problem(end);
            return false;
        }
        const Next next = visit(entry, level);
        if (next == Next::Stop)
            return false;
        if (next == Next::Pass || !entry.isFolder || !mayEnter(entry, level + 1, guard) ||
            !enter(entry))
            continue;
        if (!walkFolder(entry, level + 1, guard))
            return false;
        leave(entry);
    }
    return true;
}

bool TreeWalker::mayEnter(const ViewEntry& folder, std::size_t level, WalkGuard& guard) {
    const std::string refusal = guard.refuseFolder(folder.id, folder.path, level);
    if (!refusal.empty())
        problem(refusal);
    return refusal.empty();
}

}  // namespace vellmark
