#include "project/folder_batch.hpp"

#include "project/ansi_fold.hpp"

namespace vellmark {

FolderBatch::FolderBatch(const ProjectFile& project, std::int32_t parent, ProjectView view)
    : existing_(project.childrenOf(parent)),
      parent_(parent),
      view_(view),
      names_(existing_, project.header().isHfsPlus()) {
    bySourceName_.reserve(existing_.size());
    for (std::size_t i = 0; i < existing_.size(); ++i)
        bySourceName_.emplace(FoldAnsi(existing_[i].sourceName()), i);
}

Conflict FolderBatch::conflictOf(std::string_view accessPath, std::string_view sourceName) const {
    Conflict result = Conflict::None;
    const auto [first, last] = bySourceName_.equal_range(FoldAnsi(sourceName));
    for (auto it = first; it != last; ++it) {
        const ProjectRecord& record = known(it->second);
        const bool sameFolder = record.accessPath() == accessPath;
        if (sameFolder && record.sourceName() == sourceName)
            return Conflict::AlreadyThere;
        const bool twins = sameFolder && accessPath != kProjectOnlyPath;
        if (!twins && record.isIn(view_))
            result = Conflict::SameName;
    }
    return result;
}

void FolderBatch::forget(const ProjectRecord& record) {
    const auto [first, last] = bySourceName_.equal_range(FoldAnsi(record.sourceName()));
    for (auto it = first; it != last; ++it)
        if (known(it->second).number == record.number) {
            bySourceName_.erase(it);
            return;
        }
}

void FolderBatch::add(const ProjectRecord& record) {
    bySourceName_.emplace(FoldAnsi(record.sourceName()), existing_.size() + records_.size());
    records_.push_back(record);
}

void FolderBatch::mergeInto(ProjectFile& project) {
    std::int64_t folders = 0;
    bool iso = false;
    bool hfs = false;
    for (const ProjectRecord& record : records_) {
        folders += record.isFolder();
        iso = iso || record.isIn(ProjectView::Iso);
        hfs = hfs || record.isIn(ProjectView::Hfs);
    }
    project.addCounters(parent_, folders, static_cast<std::int64_t>(records_.size()) - folders);
    project.setViewFlagsUp(parent_, iso, hfs);
    bySourceName_.clear();
    project.mergeChildren(parent_, std::move(records_));
}

const ProjectRecord& FolderBatch::known(std::size_t index) const {
    return index < existing_.size() ? existing_[index] : records_[index - existing_.size()];
}

}  // namespace vellmark
