#include "join/iso_folders.hpp"

#include <string>

namespace vellmark {

Reason ForEachIsoFolder(const IsoReader& reader, IsoTree tree, const VisitIsoFolder& visit) {
    struct Level {
        IsoEntry folder;
        std::size_t level;
    };
    IsoWalkGuard guard;
    std::vector<Level> open = {{reader.root(tree), 0}};
    while (!open.empty()) {
        const Level here = std::move(open.back());
        open.pop_back();
        if (!guard.enter(here.folder, here.level))
            continue;
        const auto entries = reader.list(tree, here.folder);
        if (!entries)
            return entries.error();
        if (!visit(here.folder, *entries))
            return {};
        for (const IsoEntry& entry : *entries)
            if (entry.isFolder)
                open.push_back({entry, here.level + 1});
    }
    return {};
}

}  // namespace vellmark
