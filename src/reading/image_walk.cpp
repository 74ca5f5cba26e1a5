#include "reading/image_walk.hpp"

#include <span>
#include <variant>

namespace vellmark {

namespace {

// Where the entry of an ISO 9660 or Joliet tree lies; a Macintosh folder has no bytes of its own.
std::span<const IsoExtent> ExtentsOf(const ViewEntry& entry) {
    const auto* record = std::get_if<IsoEntry>(&entry.record);
    return record != nullptr ? std::span<const IsoExtent>(record->extents)
                             : std::span<const IsoExtent>();
}

}  // namespace

bool TreeWalker::walk(TreeView& tree, const ViewEntry& folder) {
    tree_ = &tree;
    WalkGuard guard(folder.id, mostEntries_);
    for (const IsoExtent& extent : ExtentsOf(folder))
        (void)guard.refuseBytes(extent.offset, extent.sizeBytes, folder.path);
    return walkFolder(folder, 0, guard);
}

bool TreeWalker::walkFolder(const ViewEntry& folder, std::size_t level, WalkGuard& guard) {
    bool goesOn = true;
    const auto take = [&](ViewEntry&& entry) {
        goesOn = walkEntry(entry, level, guard);
        return goesOn;
    };
    if (const Reason damage = tree_->each(folder, take))
        problem(damage);
    return goesOn;
}

bool TreeWalker::walkEntry(const ViewEntry& entry, std::size_t level, WalkGuard& guard) {
    if (const Reason end = guard.refuseEntry()) {
        problem(end);
        return false;
    }
    const Next next = visit(entry, level);
    if (next == Next::Stop)
        return false;
    if (next == Next::Pass || !entry.isFolder || !mayEnter(entry, level + 1, guard) ||
        !enter(entry))
        return true;
    if (!walkFolder(entry, level + 1, guard))
        return false;
    leave(entry);
    return true;
}

bool TreeWalker::mayEnter(const ViewEntry& folder, std::size_t level, WalkGuard& guard) {
    Reason refusal = guard.refuseFolder(folder.id, folder.path, level);
    for (const IsoExtent& extent : ExtentsOf(folder))
        if (!refusal)
            refusal = guard.refuseBytes(extent.offset, extent.sizeBytes, folder.path);
    if (refusal)
        problem(refusal);
    return refusal.isNone();
}

}  // namespace vellmark
