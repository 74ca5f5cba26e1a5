#include "volume/catalog_changes.hpp"

#include <algorithm>
#include <limits>

#include "volume/catalog_access.hpp"
#include "volume/catalog_growth.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

// The valence field of the folder record that the catalog stands on.
template <typename Use>
void WithValence(WritableVolume& volume, Use use) {
    std::uint8_t* data = volume->catalog.view().data(volume->catalog.index).data();
    if (volume->isHfsPlus)
        use(reinterpret_cast<HfsPlusFolderRecord*>(data)->valence);
    else
        use(reinterpret_cast<HfsFolderRecord*>(data)->valence);
}

}  // namespace

TreeResult CheckNextId(WritableVolume& volume) {
    const std::uint32_t id =
        volume->isHfsPlus ? volume->vhb.nextCatalogId : volume->mdb.nextCatalogId;
    if (id < kFirstUserId || id == std::numeric_limits<std::uint32_t>::max())
        return TreeResult::Damaged;
    bool found = false;
    const TreeResult result = FindKey(volume->catalog, ThreadKey(volume, id), found);
    return found ? TreeResult::Damaged : result;
}

TreeResult CheckNewItem(WritableVolume& volume, const CatalogName& name, std::uint32_t parentId,
                        std::uint32_t replacedId) {
    const std::optional<std::uint32_t> valence = ReadValence(volume, parentId);
    if (!valence)
        return TreeResult::Damaged;
    bool found = false;
    if (const TreeResult result = FindKey(volume->catalog, ItemKey(volume, parentId, name), found);
        result != TreeResult::Done)
        return result;
    if (found && (replacedId == 0 || CurrentItemId(volume) != replacedId))
        return TreeResult::Exists;
    if (!volume->isHfsPlus && *valence >= kHfsLimit && !found)
        return TreeResult::FolderFull;
    return CheckNextId(volume);
}

void CountItem(WritableVolume& volume, std::uint32_t parentId, bool isFolder, std::int32_t delta) {
    const auto add = [delta]<typename Field>(Field& count) {
        const std::int64_t sum = std::max<std::int64_t>(std::int64_t{count} + delta, 0);
        if constexpr (sizeof(Field) == sizeof(be16))
            count = static_cast<std::uint16_t>(sum);
        else
            count = static_cast<std::uint32_t>(sum);
    };
    if (volume->isHfsPlus) {
        add(isFolder ? volume->vhb.folderCount : volume->vhb.fileCount);
        return;
    }
    add(isFolder ? volume->mdb.folderCount : volume->mdb.fileCount);
    if (parentId == kRootFolderId)
        add(isFolder ? volume->mdb.rootFolderCount : volume->mdb.rootFileCount);
}

std::uint32_t NextCatalogId(WritableVolume& volume) {
    be32& next = volume->isHfsPlus ? volume->vhb.nextCatalogId : volume->mdb.nextCatalogId;
    const std::uint32_t id = next;
    next = id + 1;
    return id;
}

std::optional<std::uint32_t> ReadValence(WritableVolume& volume, std::uint32_t folderId) {
    bool found = false;
    if (StandOnFolder(volume, folderId, found) != TreeResult::Done || !found)
        return std::nullopt;
    std::uint32_t valence = 0;
    WithValence(volume, [&](auto& field) { valence = field; });
    return valence;
}

TreeResult AddToValence(WritableVolume& volume, std::int32_t delta, std::uint32_t folderId) {
    bool found = false;
    if (const TreeResult result = StandOnFolder(volume, folderId, found);
        result != TreeResult::Done)
        return result;
    if (!found)
        return TreeResult::Damaged;
    WithValence(volume, [&]<typename Field>(Field& field) {
        const std::int64_t sum = std::max<std::int64_t>(std::int64_t{field} + delta, 0);
        if constexpr (sizeof(Field) == sizeof(be16))
            field = static_cast<std::uint16_t>(sum);
        else
            field = static_cast<std::uint32_t>(sum);
        if (delta > 0 && !volume->isHfsPlus && sum > kMostItemsShownInHfs)
            volume.hasLargeFolder = true;
    });
    return StoreCurrentNode(volume);
}

TreeResult CreateFolder(WritableVolume& volume, std::string_view name, std::uint32_t parentId,
                        const Clock& clock, std::uint32_t& id) {
    const std::optional<CatalogName> newName = NameFromShown(volume, name);
    return newName ? CreateFolder(volume, *newName, parentId, clock, id) : TreeResult::Damaged;
}

TreeResult CreateFolder(WritableVolume& volume, const CatalogName& name, std::uint32_t parentId,
                        const Clock& clock, std::uint32_t& id) {
    if (const TreeResult result = CheckNewItem(volume, name, parentId, 0);
        result != TreeResult::Done)
        return result;
    // The folder and its thread.
    constexpr unsigned kRecords = 2;
    return ChangeTrees(volume, kRecords, [&] {
        FolderFacts facts;
        facts.id = id = NextCatalogId(volume);
        facts.created = facts.modified = MacDateNow(clock, volume->isHfsPlus);
        const TreeResult inserted =
            volume->isHfsPlus ? InsertFolder(volume->catalog, parentId, name.hfsPlus, facts)
                              : InsertFolder(volume->catalog, parentId, name.hfs, facts);
        if (inserted != TreeResult::Done)
            return inserted;
        CountItem(volume, parentId, true, 1);
        return AddToValence(volume, 1, parentId);
    });
}

}  // namespace vellmark
