#include "compiler/iso_order.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace vellmark {

namespace {

// Both standards fill the shorter name up, with blanks or with zeros. No identifier has a character
// below the filling, so the shorter one comes first, as with plain texts.
template <typename Name>
int CompareSplit(const Name& a, const Name& b) {
    const auto cut = [](std::basic_string_view<typename Name::value_type> name) {
        const std::size_t dot = name.find(typename Name::value_type('.'));
        return dot == name.npos ? std::pair(name, name.substr(name.size()))
                                : std::pair(name.substr(0, dot), name.substr(dot + 1));
    };
    const auto [nameOfA, extensionOfA] = cut(a);
    const auto [nameOfB, extensionOfB] = cut(b);
    const int names = nameOfA.compare(nameOfB);
    return names != 0 ? names : extensionOfA.compare(extensionOfB);
}

}  // namespace

std::vector<const DiscItem*> RecordOrder(const DiscPlan& plan, const DiscFolder& folder,
                                         IsoTree tree) {
    std::vector<const DiscItem*> items;
    items.reserve(folder.items.size());
    for (const DiscItem& item : folder.items)
        if (item.inIso)
            items.push_back(&item);
    if (plan.strictIso)
        std::stable_sort(items.begin(), items.end(), [&](const DiscItem* a, const DiscItem* b) {
            return (tree == IsoTree::Iso ? CompareSplit(a->isoName, b->isoName)
                                         : CompareSplit(a->jolietName, b->jolietName)) < 0;
        });
    return items;
}

std::vector<const DiscItem*> PathOrder(const DiscPlan& plan, const DiscFolder& folder,
                                       IsoTree tree) {
    std::vector<const DiscItem*> folders;
    for (const DiscItem& item : folder.items)
        if (item.inIso && item.isFolder())
            folders.push_back(&item);
    if (plan.strictIso)
        std::stable_sort(folders.begin(), folders.end(), [&](const DiscItem* a, const DiscItem* b) {
            return tree == IsoTree::Iso ? a->isoName < b->isoName : a->jolietName < b->jolietName;
        });
    return folders;
}

DeepFolders FoldersTooDeep(const DiscPlan& plan) {
    DeepFolders deep;
    std::vector<std::size_t> levels(plan.folders.size(), 1);
    for (std::size_t i = 1; i < plan.folders.size(); ++i) {
        const DiscFolder& folder = plan.folders[i];
        levels[i] = levels[static_cast<std::size_t>(folder.parent)] + 1;
        if (!folder.inIso || levels[i] <= kMostIsoLevels)
            continue;
        ++deep.count;
        if (!deep.first)
            deep.first = plan.itemOf(folder);
    }
    return deep;
}

}  // namespace vellmark
