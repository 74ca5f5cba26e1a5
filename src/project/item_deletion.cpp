#include "project/item_deletion.hpp"

#include <string>
#include <utility>

#include "project/custom_icon.hpp"
#include "project/pc_sources.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextDeletion = 1089;
constexpr int kTextFolderNotEmpty = 1163;

constexpr int kJournalFile = 2;

}  // namespace

bool ItemDeletion::isGoing(const ProjectRecord& record) const {
    if (going_.contains(record.number))
        return true;
    std::unordered_set<std::int32_t> visited;
    std::int32_t folder = record.parent;
    while (folder > kRootFolder && visited.insert(folder).second) {
        if (going_.contains(folder))
            return true;
        folder = project_.parentOf(folder);
    }
    return false;
}

bool ItemDeletion::add(const ProjectRecord& record, std::string_view shownName) {
    if (record.isFolder() && project_.countChildren(record.number) > 0 &&
        !confirm_.ask(messages_, FormatText(kTextFolderNotEmpty, messages_.language(), shownName)))
        return false;
    if (IsPlacedIcon(record))
        iconFolders_.insert(record.parent);
    going_.insert(record.number);
    byFolder_[record.parent].push_back(record.number);
    return true;
}

std::int64_t ItemDeletion::finish() {
    const auto count = static_cast<std::int64_t>(going_.size());
    for (const auto& [folder, numbers] : byFolder_) {
        const RemovedItems removed = project_.deleteItems(folder, numbers);
        project_.addCounters(folder, -removed.folders, -removed.files);
    }
    for (std::int32_t folder : iconFolders_)
        RenewIconMark(project_, folder);
    byFolder_.clear();
    going_.clear();
    iconFolders_.clear();
    return count;
}

DeletionResult DeleteItems(ProjectFile& project, std::span<const std::int32_t> numbers,
                           RememberedAnswer& confirm, Messages& messages, Progress& progress) {
    DeletionResult result;
    for (std::int32_t number : numbers) {
        if (number == kRootFolder)
            result.refusal = Sentence::kRootStays;
        else if (!std::as_const(project).findByNumber(number))
            result.refusal = Reason(Sentence::kNoSuchProjectItem, number);
        if (result.refusal)
            return result;
    }
    ItemDeletion deletion(project, confirm, messages);
    for (std::int32_t number : numbers) {
        const ProjectRecord& record = *std::as_const(project).findByNumber(number);
        if (deletion.isGoing(record))
            continue;
        const std::string name = Printable(NarrowToUtf8(record.sourceName()));
        if (!deletion.add(record, name)) {
            ++result.kept;
            continue;
        }
        const std::string line = FormatText(kTextDeletion, messages.language(), SourceText(record));
        progress.text(line);
        progress.journal(kJournalFile, line);
    }
    result.deleted = deletion.finish();
    return result;
}

}  // namespace vellmark
