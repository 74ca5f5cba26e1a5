#include "project/project_folders.hpp"

#include <algorithm>
#include <string>
#include <vector>

#include "project/folder_batch.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextSameName = 1406;

std::vector<std::string_view> PartsOf(std::string_view path, std::string_view separators) {
    std::vector<std::string_view> parts;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find_first_of(separators), path.size());
        if (end > 0 && path.substr(0, end) != ".")
            parts.push_back(path.substr(0, end));
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return parts;
}

// Why no folder of the project can have this name; none when it can.
Reason RefusalOf(std::string_view name) {
    const std::string narrow = Utf8ToNarrow(name);
    if (name.empty())
        return Sentence::kIsEmpty;
    if (name == "." || name == "..")
        return Sentence::kNameOfOtherFolder;
    if (name.find_first_of("/\\") != std::string_view::npos)
        return Sentence::kNameHasSeparator;
    if (NarrowToUtf8(narrow) != name)
        return Sentence::kNameNotNarrow;
    if (narrow.size() > kSourceNameLimit)
        return Reason(Sentence::kNameTooLong, narrow.size(), kSourceNameLimit);
    return {};
}

bool MayBeNamed(std::string_view name, Messages& messages) {
    const Reason refusal = RefusalOf(name);
    if (refusal)
        messages.showMessage(Reason(Sentence::kNewFolderNameRefused, Printable(name), refusal));
    return refusal.isNone();
}

ProjectView ViewFor(const ProjectFile& project, const NewFolderOptions& options) {
    return project.mode() == ProjectMode::IsoPlus ? ProjectView::Iso : options.view;
}

// The item of a source name; a folder before a file.
const ProjectRecord* FindBySourceName(const ProjectFile& project, std::int32_t parent,
                                      std::string_view narrow) {
    const ProjectRecord* found = nullptr;
    for (const ProjectRecord& record : project.childrenOf(parent)) {
        if (record.sourceName() != narrow)
            continue;
        if (record.isFolder())
            return &record;
        found = &record;
    }
    return found;
}

}  // namespace

std::int32_t NewFolder(ProjectFile& project, std::string_view name, std::int32_t parent,
                       NewFolderOptions& options, Messages& messages) {
    if (!MayBeNamed(name, messages))
        return 0;
    const std::string narrow = Utf8ToNarrow(name);
    const ProjectView view = ViewFor(project, options);
    FolderBatch batch(project, parent, view);
    const bool isThere = batch.conflictOf(kProjectOnlyPath, narrow) != Conflict::None;
    const std::int32_t number =
        isThere || !project.isFolder(parent) ? 0 : project.giveFolderNumber(narrow);
    if (number == 0) {
        messages.showMessage(
            isThere ? Reason(Sentence::kNamedReason, Printable(name), ToldText{kTextSameName})
                    : Reason(Sentence::kFolderNotMade, Printable(name), parent));
        return 0;
    }
    ProjectRecord record;
    record.parent = parent;
    record.number = number;
    record.created = ToMacLocal(options.clock.now(), options.clock);
    record.modified = record.created;
    record.setAccessPath(kProjectOnlyPath);
    record.setSourceName(narrow);
    record.setShortName(narrow);
    record.setIsoInclusion(view != ProjectView::Hfs);
    record.setHfsInclusion(view != ProjectView::Iso);
    ViewNames(record, Utf8ToWide(name), project, batch.names(), options.truncation, messages);
    batch.add(record);
    batch.mergeInto(project);
    return number;
}

std::int32_t NewPathFolder(ProjectFile& project, std::string_view path, NewFolderOptions& options,
                           Messages& messages) {
    const std::vector<std::string_view> parts = PartsOf(path, "/\\");
    for (std::string_view part : parts)
        if (!MayBeNamed(part, messages))
            return 0;
    const ProjectView view = ViewFor(project, options);
    std::int32_t folder = kRootFolder;
    for (std::string_view part : parts) {
        const ProjectRecord* known = FindBySourceName(project, folder, Utf8ToNarrow(part));
        if (known && known->isFolder()) {
            folder = known->number;
            if (options.widens)
                project.setViewFlagsUp(folder, view != ProjectView::Hfs, view != ProjectView::Iso);
            continue;
        }
        folder = NewFolder(project, part, folder, options, messages);
        if (folder == 0)
            return 0;
    }
    return folder;
}

std::int32_t FindFolderByPath(const ProjectFile& project, std::string_view path) {
    std::int32_t folder = kRootFolder;
    for (std::string_view part : PartsOf(path, "/")) {
        const ProjectRecord* known = FindBySourceName(project, folder, Utf8ToNarrow(part));
        if (!known || !known->isFolder())
            return 0;
        folder = known->number;
    }
    return folder;
}

}  // namespace vellmark
