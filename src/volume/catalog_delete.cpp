#include "volume/catalog_delete.hpp"

#include <fmt/core.h>

#include <string>
#include <vector>

#include "support/encoding.hpp"
#include "support/walk_guard.hpp"
#include "volume/block_allocation.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_access.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/catalog_protection.hpp"
#include "volume/overflow_extents.hpp"
#include "volume/volume_change.hpp"

namespace vellmark {

namespace {

constexpr int kTextDeletion = 1089;
constexpr int kTextFolderNotEmpty = 1163;

// Frees runs, each of which must lie in the volume and be in use: the blocks of others would go
// with them, and runs that overlap would be counted twice. What the PC side needs stays
// in use, and gets an owner when the change is written (volume/bad_blocks.hpp).
TreeResult FreeRuns(WritableVolume& volume, const std::vector<BlockRun>& runs) {
    for (const BlockRun& run : runs) {
        if (std::uint64_t{run.startBlock} + run.blockCount > volume->totalBlocks() ||
            !IsInUse(volume.allocation(), run))
            return TreeResult::Damaged;
        FreeExtents(volume, {run});
    }
    return TreeResult::Done;
}

TreeResult FreeFork(WritableVolume& volume, std::uint32_t fileId, std::uint8_t fork,
                    const std::vector<BlockRun>& runs) {
    std::vector<OverflowRecord> overflow;
    if (const TreeResult result = OverflowOf(volume, fileId, fork, overflow);
        result != TreeResult::Done)
        return result;
    if (const TreeResult result = FreeRuns(volume, runs); result != TreeResult::Done)
        return result;
    for (const OverflowRecord& record : overflow) {
        if (const TreeResult result = FreeRuns(volume, record.runs); result != TreeResult::Done)
            return result;
        if (const TreeResult result = RemoveTreeRecord(volume->extents, record.key);
            result != TreeResult::Done)
            return result;
    }
    return TreeResult::Done;
}

// Takes out an item's record and its thread; only a file of HFS has none as a rule.
TreeResult RemoveRecords(WritableVolume& volume, const TreeKey& key, std::uint32_t id) {
    const TreeResult result = RemoveTreeRecord(volume->catalog, key);
    if (result != TreeResult::Done)
        return result;
    const TreeResult thread = RemoveTreeRecord(volume->catalog, ThreadKey(volume, id));
    return thread == TreeResult::Missing ? TreeResult::Done : thread;
}

class FolderDeleter {
  public:
    FolderDeleter(WritableVolume& volume, DeleteContext& context, std::uint32_t rootId)
        : volume_(volume), context_(context), guard_(rootId) {}

    EditResult deleteFolder(std::uint32_t parentId, const CatalogName& name, std::uint32_t id,
                            std::size_t level);

  private:
    EditResult deleteChild(const CatalogItem& child, std::size_t level);

    WritableVolume& volume_;
    DeleteContext& context_;
    WalkGuard guard_;
};

EditResult FolderDeleter::deleteFolder(std::uint32_t parentId, const CatalogName& name,
                                       std::uint32_t id, std::size_t level) {
    const TreeKey key = ItemKey(volume_, parentId, name);
    bool found = false;
    TreeResult listed = StandOnItem(volume_, key, found);
    if (listed == TreeResult::Done && found)
        if (const EditResult refusal = RefuseDeletion(volume_); refusal != EditResult::Done)
            return refusal;
    std::vector<CatalogItem> children;
    if (listed == TreeResult::Done)
        listed = ListFolder(volume_, id, context_.clock, children);
    if (listed != TreeResult::Done)
        return ToEditResult(listed);
    for (const CatalogItem& child : children)
        if (const EditResult result = deleteChild(child, level + 1); result != EditResult::Done) {
            context_.obstacle.insert(0, child.name + (context_.obstacle.empty() ? "" : "/"));
            return result;
        }
    CountItem(volume_, parentId, true, -1);
    return ToEditResult(RemoveRecords(volume_, key, id));
}

EditResult FolderDeleter::deleteChild(const CatalogItem& child, std::size_t level) {
    context_.progress.text(FormatText(kTextDeletion, context_.messages.language(), child.name));
    if (!context_.progress.mayGoOn())
        return EditResult::Stopped;
    if (guard_.refuseEntry())
        return EditResult::Damaged;
    if (!child.isFolder)
        return DeleteFile(volume_, child.parentId, child.catalogName);
    return guard_.refuseFolder(child.id, child.name, level)
               ? EditResult::Damaged
               : deleteFolder(child.parentId, child.catalogName, child.id, level);
}

// Whether a folder may go: an empty one, or one that the user agrees to.
EditResult ConfirmFolder(WritableVolume& volume, const CatalogItem& folder,
                         DeleteContext& context) {
    std::vector<CatalogItem> children;
    if (const TreeResult result = ListFolder(volume, folder.id, context.clock, children);
        result != TreeResult::Done)
        return ToEditResult(result);
    if (children.empty() || !context.confirms)
        return EditResult::Done;
    const std::string question =
        FormatText(kTextFolderNotEmpty, context.messages.language(), Printable(folder.name));
    return context.answer.ask(context.messages, question) ? EditResult::Done : EditResult::Declined;
}

}  // namespace

EditResult DeleteFile(WritableVolume& volume, std::uint32_t parentId, const CatalogName& name) {
    const TreeKey key = ItemKey(volume, parentId, name);
    bool found = false;
    TreeResult result = StandOnItem(volume, key, found);
    if (result != TreeResult::Done || !found)
        return result != TreeResult::Done ? ToEditResult(result) : EditResult::Missing;
    if (const EditResult refusal = RefuseDeletion(volume); refusal != EditResult::Done)
        return refusal;
    const ByteSpan data = CurrentData(volume);
    if (RecordTypeOf(volume, data) != CatalogRecordType::File)
        return EditResult::Damaged;
    const std::uint32_t id = CurrentItemId(volume);
    const auto [dataRuns, resourceRuns] = RunsOfForks(volume, data);
    result = FreeFork(volume, id, kDataFork, dataRuns);
    if (result == TreeResult::Done)
        result = FreeFork(volume, id, kResourceFork, resourceRuns);
    if (result == TreeResult::Done)
        result = RemoveRecords(volume, key, id);
    CountItem(volume, parentId, false, -1);
    return ToEditResult(result);
}

EditResult DeleteItemByName(WritableVolume& volume, const CatalogName& name, std::uint32_t parentId,
                            DeleteContext& context) {
    std::optional<CatalogItem> item;
    if (const TreeResult result = FindNamed(volume, parentId, name, context.clock, item);
        result != TreeResult::Done || !item)
        return result != TreeResult::Done ? ToEditResult(result) : EditResult::Missing;
    if (item->isFolder)
        if (const EditResult result = ConfirmFolder(volume, *item, context);
            result != EditResult::Done)
            return result;
    context.obstacle.clear();
    VolumeChange change(volume);
    EditResult result =
        item->isFolder
            ? FolderDeleter(volume, context, item->id).deleteFolder(parentId, name, item->id, 0)
            : DeleteFile(volume, parentId, name);
    if (result == EditResult::Done)
        result = ToEditResult(AddToValence(volume, -1, parentId));
    if (result != EditResult::Done)
        return result;
    change.keep();
    context.messages.log(2, (item->isFolder ? "*rd " : "*del ") + item->name);
    return EditResult::Done;
}

}  // namespace vellmark
