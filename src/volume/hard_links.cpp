#include "volume/hard_links.hpp"

#include <fmt/core.h>

#include <algorithm>

namespace vellmark {

namespace {

// A folder whose name no one can type holds the files that links lead to.
constexpr std::u16string_view kLinkFolder(u"\0\0\0\0HFS+ Private Data", 21);

}  // namespace

CatalogItem HardLinks::resolve(CatalogItem item) {
    if (item.linkReference == 0)
        return item;
    const auto target = targets().find(fmt::format("iNode{}", item.linkReference));
    if (target == targets().end())
        return item;
    CatalogItem resolved = target->second;
    resolved.parentId = item.parentId;
    resolved.name = std::move(item.name);
    resolved.catalogName = std::move(item.catalogName);
    return resolved;
}

// Read once, when the first link is met. A damaged place shows when the folder itself is listed.
const std::map<std::string, CatalogItem>& HardLinks::targets() {
    if (targets_)
        return *targets_;
    targets_.emplace();
    std::vector<CatalogItem> items;
    (void)ListFolder(volume_, kRootFolderId, clock_, items);
    const auto folder = std::find_if(items.begin(), items.end(), [](const CatalogItem& item) {
        return item.isFolder && item.catalogName.hfsPlus == kLinkFolder;
    });
    if (folder == items.end())
        return *targets_;
    const std::uint32_t folderId = folder->id;
    items.clear();
    (void)ListFolder(volume_, folderId, clock_, items);
    for (CatalogItem& item : items)
        if (!item.isFolder && item.linkReference == 0)
            targets_->emplace(item.name, std::move(item));
    return *targets_;
}

}  // namespace vellmark
