#include "project/item_properties.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "project/custom_icon.hpp"
#include "project/item_names.hpp"
#include "project/pc_sources.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

bool IsFolderOfPc(const ProjectRecord& record) {
    return record.isFolder() && record.accessPath() != kProjectOnlyPath;
}

Reason RefusalOf(const ProjectRecord& record, const ItemChanges& changes) {
    if (record.isFolder() && (changes.type || changes.creator))
        return Reason(Sentence::kFolderHasNoType, SourceText(record));
    if (changes.isRefreshed.value_or(false) && !IsFolderOfPc(record))
        return Reason(Sentence::kNotRefreshed, SourceText(record));
    return {};
}

void SetDates(ProjectRecord& record, const ItemChanges& changes) {
    if (!changes.created && !changes.modified)
        return;
    record.modified = changes.modified.value_or(record.modified);
    record.created =
        std::min<MacSeconds>(changes.created.value_or(record.created), record.modified);
}

}  // namespace

std::optional<ItemProperties> PropertiesOf(const ProjectFile& project, std::int32_t number) {
    const ProjectRecord* record = project.findByNumber(number);
    if (!record)
        return std::nullopt;
    ItemProperties item;
    item.number = number;
    item.folder = record->parent;
    item.isFolder = record->isFolder();
    item.isMadeHere = item.isFolder && !IsFolderOfPc(*record);
    item.isMissing = record->isoInclusion() < 0 || record->hfsInclusion() < 0;
    item.views = ViewsOf(*record);
    if (!item.isMadeHere)
        item.accessPath = NarrowToUtf8(record->accessPath());
    item.sourceName = NarrowToUtf8(record->sourceName());
    if (!IsRefusedName(*record, record->isoName()))
        item.isoName = NarrowToUtf8(record->isoName());
    if (!IsRefusedName(*record, record->hfsName()))
        item.hfsName = ShownItemName(project, *record, ProjectView::Hfs);
    item.coding = record->coding();
    (item.isFolder ? item.folders : item.dataBytes) = record->dataSize;
    (item.isFolder ? item.files : item.resourceBytes) = record->resourceSize;
    item.sourceBytes = record->sourceSize;
    std::copy(std::begin(record->signature_), std::end(record->signature_), item.signature.begin());
    item.created = record->created;
    item.modified = record->modified;
    item.isHiddenInIso = record->hiddenInIso();
    item.isHiddenInHfs = record->hiddenInHfs();
    item.hidesExtension = record->hiddenExtension();
    item.hasCustomIcon = record->customIcon();
    item.isRefreshed = record->refresh();
    return item;
}

Reason ChangeItem(ProjectFile& project, std::int32_t number, const ItemChanges& changes) {
    const ProjectRecord* known = std::as_const(project).findByNumber(number);
    if (!known)
        return Reason(Sentence::kNoSuchProjectItem, number);
    if (Reason refusal = RefusalOf(*known, changes))
        return refusal;
    ProjectRecord& record = *project.findByNumber(number);
    const bool wasIcon = IsPlacedIcon(record);
    if (changes.type)
        std::copy(changes.type->begin(), changes.type->end(), record.signature_);
    if (changes.creator)
        std::copy(changes.creator->begin(), changes.creator->end(), record.signature_ + 4);
    SetDates(record, changes);
    record.setHiddenInIso(changes.isHiddenInIso.value_or(record.hiddenInIso()));
    record.setHiddenInHfs(changes.isHiddenInHfs.value_or(record.hiddenInHfs()));
    record.setHiddenExtension(changes.hidesExtension.value_or(record.hiddenExtension()));
    record.setCustomIcon(changes.hasCustomIcon.value_or(record.customIcon()));
    record.setRefresh(changes.isRefreshed.value_or(record.refresh()));
    if (wasIcon != IsPlacedIcon(record))
        RenewIconMark(project, record.parent);
    return {};
}

std::int64_t HideExtensions(ProjectFile& project) {
    std::int64_t count = 0;
    project.changeRuns([&count](std::span<ProjectRecord> run) {
        for (ProjectRecord& record : run)
            if (record.isIn(ProjectView::Hfs) && !record.hiddenExtension()) {
                record.setHiddenExtension(true);
                ++count;
            }
    });
    return count;
}

}  // namespace vellmark
