#include "volume/catalog_edit.hpp"

#include <algorithm>
#include <vector>

#include "volume/catalog_access.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_growth.hpp"
#include "volume/catalog_protection.hpp"
#include "volume/catalog_records.hpp"

namespace vellmark {

namespace {

// Levels of folders that are looked through; a deeper tree is damaged.
constexpr unsigned kMostLevels = 4096;

// An item's record taken up, to be put down under another key.
struct TakenItem {
    std::uint32_t id = 0;
    bool isFolder = false;
    RecordData data;
};

EditResult TakeUp(WritableVolume& volume, const TreeKey& key, TakenItem& item) {
    bool found = false;
    if (const TreeResult result = StandOnItem(volume, key, found);
        result != TreeResult::Done || !found)
        return result != TreeResult::Done ? ToEditResult(result) : EditResult::Missing;
    if (const EditResult refusal = RefuseChange(volume); refusal != EditResult::Done)
        return refusal;
    const ByteSpan data = CurrentData(volume);
    item.id = CurrentItemId(volume);
    item.isFolder = RecordTypeOf(volume, data) == CatalogRecordType::Folder;
    item.data.assign(data.begin(), data.end());
    return EditResult::Done;
}

// Whether another item than `ownId` has that key.
TreeResult IsTaken(WritableVolume& volume, const TreeKey& key, std::uint32_t ownId, bool& taken) {
    bool found = false;
    const TreeResult result = FindKey(volume->catalog, key, found);
    taken = found && CurrentItemId(volume) != ownId;
    return result;
}

RecordData ThreadData(const WritableVolume& volume, CatalogRecordType type, std::uint32_t parentId,
                      const CatalogName& name) {
    return volume->isHfsPlus ? HfsPlusThreadData(type, parentId, name.hfsPlus)
                             : HfsThreadData(type, parentId, name.hfs);
}

// The thread of an item, where it has one, gets its new place.
TreeResult RewriteThread(WritableVolume& volume, std::uint32_t id, std::uint32_t parentId,
                         const CatalogName& name) {
    std::optional<ThreadFacts> thread;
    TreeResult result = ReadThread(volume, id, thread);
    if (result != TreeResult::Done || !thread)
        return result;
    const TreeKey key = ThreadKey(volume, id);
    const CatalogRecordType type = thread->type;
    result = RemoveTreeRecord(volume->catalog, key);
    return result == TreeResult::Done
               ? InsertTreeRecord(volume->catalog, key, ThreadData(volume, type, parentId, name))
               : result;
}

// Two records go and come again, and each may split what it leaves and what it enters.
constexpr unsigned kRecords = 4;

// Puts a record from one key to another, and its thread after it.
TreeResult Rekey(WritableVolume& volume, const TakenItem& item, const TreeKey& from,
                 std::uint32_t parentId, const CatalogName& name) {
    TreeResult result = RemoveTreeRecord(volume->catalog, from);
    if (result == TreeResult::Done)
        result = InsertTreeRecord(volume->catalog, ItemKey(volume, parentId, name), item.data);
    return result == TreeResult::Done ? RewriteThread(volume, item.id, parentId, name) : result;
}

// Whether a folder is the folder `id` or lies somewhere inside it.
TreeResult LiesInside(WritableVolume& volume, std::uint32_t folderId, std::uint32_t id,
                      bool& inside) {
    inside = false;
    for (unsigned level = 0; folderId != kRootParentId; ++level) {
        std::optional<ThreadFacts> thread;
        if (folderId == id) {
            inside = true;
            return TreeResult::Done;
        }
        if (const TreeResult result = ReadThread(volume, folderId, thread);
            result != TreeResult::Done)
            return result;
        if (!thread || level > kMostLevels)
            return TreeResult::Damaged;
        folderId = thread->parentId;
    }
    return TreeResult::Done;
}

TreeResult CountMove(WritableVolume& volume, bool isFolder, std::uint32_t sourceId,
                     std::uint32_t targetId) {
    CountItem(volume, sourceId, isFolder, -1);
    CountItem(volume, targetId, isFolder, 1);
    const TreeResult result = AddToValence(volume, -1, sourceId);
    return result == TreeResult::Done ? AddToValence(volume, 1, targetId) : result;
}

}  // namespace

EditResult RenameItem(WritableVolume& volume, std::uint32_t parentId, const CatalogName& oldName,
                      const CatalogName& newName) {
    const TreeKey from = ItemKey(volume, parentId, oldName);
    TakenItem item;
    if (const EditResult result = TakeUp(volume, from, item); result != EditResult::Done)
        return result;
    bool taken = false;
    if (const TreeResult result =
            IsTaken(volume, ItemKey(volume, parentId, newName), item.id, taken);
        result != TreeResult::Done || taken)
        return taken ? EditResult::Exists : ToEditResult(result);
    return ToEditResult(ChangeTrees(volume, kRecords,
                                    [&] { return Rekey(volume, item, from, parentId, newName); }));
}

EditResult MoveItem(WritableVolume& volume, const CatalogName& name, std::uint32_t sourceId,
                    std::uint32_t targetId) {
    const TreeKey from = ItemKey(volume, sourceId, name);
    TakenItem item;
    if (const EditResult result = TakeUp(volume, from, item); result != EditResult::Done)
        return result;
    if (sourceId == targetId)
        return EditResult::Done;
    bool inside = false;
    if (item.isFolder)
        if (const TreeResult result = LiesInside(volume, targetId, item.id, inside);
            result != TreeResult::Done || inside)
            return inside ? EditResult::IntoItself : ToEditResult(result);
    if (const TreeResult result = CheckNewItem(volume, name, targetId, 0);
        result != TreeResult::Done)
        return ToEditResult(result);
    return ToEditResult(ChangeTrees(volume, kRecords, [&] {
        const TreeResult result = Rekey(volume, item, from, targetId, name);
        return result == TreeResult::Done ? CountMove(volume, item.isFolder, sourceId, targetId)
                                          : result;
    }));
}

EditResult RenameVolume(WritableVolume& volume, std::string_view label) {
    const std::optional<CatalogName> name = LabelFromShown(volume->isHfsPlus, label);
    if (!name)
        return EditResult::BadName;
    std::optional<ThreadFacts> thread;
    if (const TreeResult result = ReadThread(volume, kRootFolderId, thread);
        result != TreeResult::Done || !thread)
        return result != TreeResult::Done ? ToEditResult(result) : EditResult::Damaged;
    const TreeKey from = ItemKey(volume, kRootParentId, thread->name);
    TakenItem root;
    if (const EditResult result = TakeUp(volume, from, root); result != EditResult::Done)
        return result == EditResult::Missing ? EditResult::Damaged : result;
    return ToEditResult(ChangeTrees(volume, kRecords, [&] {
        if (!volume->isHfsPlus) {
            auto& field = volume->mdb.volumeName;
            field.fill(0);
            field[0] = static_cast<std::uint8_t>(name->hfs.size());
            std::copy(name->hfs.begin(), name->hfs.end(), field.begin() + 1);
        }
        return Rekey(volume, root, from, kRootParentId, *name);
    }));
}

}  // namespace vellmark
