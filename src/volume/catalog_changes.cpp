#include <algorithm>
#include <cstring>
#include <limits>

#include "containers/hfs_plus_name_form.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "volume/catalog.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

// Places the catalog on a folder's record, by its thread.
TreeResult FindFolderRecord(VolumeContext& volume, std::uint32_t folderId, bool& found) {
    if (const TreeResult result = FindKey(volume.catalog, ThreadKey(volume, folderId), found);
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
    if (result != TreeResult::Done || !found)
        return result;
    // The thread of an HFS+ file leads to a record of another kind.
    const ConstByteSpan record = volume.catalog.view().data(volume.catalog.index);
    const std::size_t smallest =
        volume.isHfsPlus ? sizeof(HfsPlusFolderRecord) : sizeof(HfsFolderRecord);
    if (record.size() < smallest)
        return TreeResult::Damaged;
    found = record[volume.isHfsPlus ? 1 : 0] == static_cast<unsigned>(CatalogRecordType::Folder);
    return TreeResult::Done;
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
        return wide.find(u'\0') == std::u16string::npos && !WideToHfsPlusName(wide).empty() &&
               Decompose(wide, CanonicalForm::HfsPlus).size() <= kHfsPlusNameMax;
    const std::optional<std::string> mac = WideToMacRomanExact(wide);
    return mac && !mac->empty() && mac->size() <= kHfsNameLimit;
}

// Whether the next id of the header can really be given to a new item.
TreeResult CheckNextId(VolumeContext& volume) {
    const std::uint32_t id = volume.isHfsPlus ? volume.vhb.nextCatalogId : volume.mdb.nextCatalogId;
    if (id < kFirstUserId || id == std::numeric_limits<std::uint32_t>::max())
        return TreeResult::Damaged;
    bool found = false;
    const TreeResult result = FindKey(volume.catalog, ThreadKey(volume, id), found);
    return found ? TreeResult::Damaged : result;
}

// Whether nothing stands against a new folder in that parent; nothing is changed before that.
TreeResult CheckNewFolder(VolumeContext& volume, std::string_view name, const std::u16string& wide,
                          std::uint32_t parentId, const Clock& clock) {
    if (volume.allocation.bitmap.empty())
        return TreeResult::Failed;
    const std::optional<std::uint32_t> valence = ReadValence(volume, parentId);
    if (!IsPossibleName(volume, wide) || !valence)
        return TreeResult::Damaged;
    std::optional<CatalogItem> there;
    if (const TreeResult result = FindItem(volume, parentId, name, clock, there);
        result != TreeResult::Done || there)
        return there ? TreeResult::Exists : result;
    // A folder without its thread must not stay behind when the catalog is full.
    const TreeHeaderRecord& tree = volume.catalog.header();
    if ((!volume.isHfsPlus && *valence >= kHfsLimit) ||
        tree.freeNodes < NodesForInsertions(tree.depth, 2))
        return TreeResult::Full;
    return CheckNextId(volume);
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
    if (const TreeResult result = CheckNewFolder(volume, name, wide, parentId, clock);
        result != TreeResult::Done)
        return result;
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
