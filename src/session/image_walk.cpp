#include "session/image_walk.hpp"

#include <fmt/format.h>

#include "support/encoding.hpp"

namespace vellmark {

bool TreeWalker::walk(TreeView& tree, const ViewEntry& folder) {
    tree_ = &tree;
    entries_ = 0;
    entered_ = {folder.id};
    return walkFolder(folder, 0);
}

bool TreeWalker::walkFolder(const ViewEntry& folder, std::size_t level) {
    std::string sentence;
    const std::vector<ViewEntry> entries = tree_->list(folder, sentence);
    if (!sentence.empty())
        problem(sentence);
    for (const ViewEntry& entry : entries) {
        if (++entries_ > mostEntries_) {
            problem(fmt::format("The tree has more than {} entries; the rest is left out.",
                                mostEntries_));
            return false;
        }
        const Next next = visit(entry, level);
        if (next == Next::Stop)
            return false;
        if (next == Next::Pass || !entry.isFolder || !mayEnter(entry, level + 1))
            continue;
        if (!walkFolder(entry, level + 1))
            return false;
        leave(entry);
    }
    return true;
}

bool TreeWalker::mayEnter(const ViewEntry& folder, std::size_t level) {
    if (level > kMostLevels) {
        problem(fmt::format("The folder {} lies more than {} levels deep and is left out.",
                            Printable(folder.path), kMostLevels));
        return false;
    }
    if (!entered_.insert(folder.id).second) {
        problem(fmt::format("The folder {} is in the tree a second time and is left out there.",
                            Printable(folder.path)));
        return false;
    }
    return true;
}

}  // namespace vellmark
