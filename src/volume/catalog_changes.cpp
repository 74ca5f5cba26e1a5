#include <algorithm>
#include <cstring>
#include <limits>

#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "volume/catalog.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

// Places the catalog on a folder's record, by its thread.
TreeResult FindFolderRecord(VolumeContext& volume, std::uint32_t folderId, bool& found) {
    const TreeKey threadKey =
        volume.isHfsPlus ? HfsPlusCatalogKey(folderId, {}) : HfsCatalogKey(folderId, {});
    if (const TreeResult result = FindKey(volume.catalog, threadKey, found);
        result != TreeResult::Done || !found)
        return result;
    const ConstByteSpan data = volume.catalog.view().data(volume.catalog.index);
    TreeKey key;
    if (volume.isHfsPlus) {
        HfsPlusThreadHead thread;
        if (data.size() < sizeof thread + sizeof(be16))
            return TreeResult::Damaged;
        std::memcpy(&thread, data.data(), sizeof thread);
        key = HfsPlusCatalogKey(thread.parentId, ReadHfsPlusName(data.subspan(sizeof thread)));
    } else {
        HfsThreadRecord thread;
        if (data.size() < sizeof thread)
            return TreeResult::Damaged;
        std::memcpy(&thread, data.data(), sizeof thread);
        const std::size_t length = std::min<std::size_t>(thread.name[0], kHfsNameLimit);
        key = HfsCatalogKey(thread.parentId,
                            {reinterpret_cast<const char*>(thread.name.data()) + 1, length});
    }
    const TreeResult result = FindKey(volume.catalog, key, found);
    const std::size_t smallest =
        volume.isHfsPlus ? sizeof(HfsPlusFolderRecord) : sizeof(HfsFolderRecord);
    if (result == TreeResult::Done && found &&
        volume.catalog.view().data(volume.catalog.index).size() < smallest)
        return TreeResult::Damaged;
    return result;
}

// The valence field of the folder record that the catalog stands on.
template <typename Use>
void WithValence(VolumeContext& volume, Use use) {
    std::uint8_t* data = volume.catalog.view().data(volume.catalog.index).data();
    if (volume.isHfsPlus)
        use(reinterpret_cast<HfsPlusFolderRecord*>(data)->valence);
    else
        use(reinterpret_cast<HfsFolderRecord*>(data)->valence);
}

void CountNewFolder(VolumeContext& volume, std::uint32_t parentId) {
    if (volume.isHfsPlus) {
        volume.vhb.folderCount = volume.vhb.folderCount + 1;
        return;
    }
    volume.mdb.folderCount = volume.mdb.folderCount + 1;
    if (parentId == kRootFolderId)
        volume.mdb.rootFolderCount = static_cast<std::uint16_t>(volume.mdb.rootFolderCount + 1);
}

bool IsPossibleName(const VolumeContext& volume, const std::u16string& wide) {
    if (volume.isHfsPlus)
        return !wide.empty() && wide.find(u'\0') == std::u16string::npos &&
               WideToHfsPlusName(wide).size() <= kHfsPlusNameMax;
    const std::optional<std::string> mac = WideToMacRomanExact(wide);
    return mac && !mac->empty() && mac->size() <= kHfsNameLimit;
}

}  // namespace

std::uint32_t NextCatalogId(VolumeContext& volume) {
    be32& next = volume.isHfsPlus ? volume.vhb.nextCatalogId : volume.mdb.nextCatalogId;
    const std::uint32_t id = next;
    next = id + 1;
    return id;
}

std::optional<std::uint32_t> ReadValence(VolumeContext& volume, std::uint32_t folderId) {
    bool found = false;
    if (FindFolderRecord(volume, folderId, found) != TreeResult::Done || !found)
        return std::nullopt;
    std::uint32_t valence = 0;
    WithValence(volume, [&](auto& field) { valence = field; });
    return valence;
}

TreeResult AddToValence(VolumeContext& volume, std::int32_t delta, std::uint32_t folderId) {
    bool found = false;
    if (const TreeResult result = FindFolderRecord(volume, folderId, found);
        result != TreeResult::Done)
        return result;
    if (!found)
        return TreeResult::Damaged;
    WithValence(volume, [&]<typename Field>(Field& field) {
        const std::int64_t sum = std::int64_t{field} + delta;
        if constexpr (sizeof(Field) == sizeof(be16))
            field = static_cast<std::uint16_t>(sum);
        else
            field = static_cast<std::uint32_t>(sum);
    });
    return volume.catalog.store->write(volume.catalog.node, volume.catalog.nodeBuffer)
               ? TreeResult::Done
               : TreeResult::Failed;
}

TreeResult CreateFolder(VolumeContext& volume, std::string_view name, std::uint32_t parentId,
                        const Clock& clock, std::uint32_t& id) {
    std::u16string wide = Utf8ToWide(name);
    std::replace(wide.begin(), wide.end(), u':', u'/');
    if (!IsPossibleName(volume, wide) || !ReadValence(volume, parentId))
        return TreeResult::Damaged;
    std::optional<CatalogItem> there;
    if (const TreeResult result = FindItem(volume, parentId, name, clock, there);
        result != TreeResult::Done || there)
        return there ? TreeResult::Exists : result;
    FolderFacts facts;
    facts.id = id = NextCatalogId(volume);
    facts.created = facts.modified = MacDateNow(clock, volume.isHfsPlus);
    const TreeResult inserted =
        volume.isHfsPlus
            ? InsertFolder(volume.catalog, parentId, WideToHfsPlusName(wide), facts)
            : InsertFolder(volume.catalog, parentId, WideToMacRomanExact(wide).value_or(""), facts);
    if (inserted != TreeResult::Done)
        return inserted;
    CountNewFolder(volume, parentId);
    return AddToValence(volume, 1, parentId);
}

}  // namespace vellmark
