#include "project/access_path.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <set>

#include "project/ansi_fold.hpp"
#include "project/folder_chain.hpp"
#include "project/pc_sources.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr char kForeignSeparator = '\\';

bool IsForeign(std::string_view path) {
    return path.find('/') == std::string_view::npos &&
           path.find(kForeignSeparator) != std::string_view::npos;
}

std::string WithSeparator(std::string_view path, char separator) {
    std::string result(path);
    if (!result.ends_with(separator))
        result += separator;
    return result;
}

/// One path in the place of another.
class PathChange {
  public:
    PathChange(std::string_view oldPath, std::string_view newPath)
        : isForeign_(IsForeign(oldPath)),
          old_(WithSeparator(oldPath, isForeign_ ? kForeignSeparator : '/')),
          new_(WithSeparator(newPath, '/')) {}

    /// True when the record is another now.
    [[nodiscard]] bool apply(ProjectRecord& record, Messages& messages) const;

  private:
    [[nodiscard]] bool set(ProjectRecord& record, const std::string& path, std::string_view name,
                           Messages& messages) const;

    bool isForeign_;
    std::string old_;
    std::string new_;
};

bool PathChange::apply(ProjectRecord& record, Messages& messages) const {
    const std::string_view path = record.accessPath();
    if (path.starts_with(old_)) {
        std::string rest(path.substr(old_.size()));
        if (isForeign_)
            std::replace(rest.begin(), rest.end(), kForeignSeparator, '/');
        return set(record, new_ + rest, record.sourceName(), messages);
    }
    // The folder that the old path names.
    if (!record.isFolder() || path.empty() || path == kProjectOnlyPath ||
        std::string(path).append(record.sourceName()) + old_.back() != old_)
        return false;
    const std::string bare = new_.substr(0, new_.size() - 1);
    const std::size_t slash = bare.find_last_of('/');
    if (slash == std::string::npos || slash + 1 == bare.size()) {
        messages.itemSkipped(SourceText(record), fmt::format("{} is no name for a folder",
                                                             Printable(NarrowToUtf8(new_))));
        return false;
    }
    return set(record, bare.substr(0, slash + 1), bare.substr(slash + 1), messages);
}

bool PathChange::set(ProjectRecord& record, const std::string& path, std::string_view name,
                     Messages& messages) const {
    if (path == record.accessPath() && name == record.sourceName())
        return false;
    if (path.size() > kAccessPathLimit || name.size() > kSourceNameLimit) {
        messages.itemSkipped(
            Printable(NarrowToUtf8(path + std::string(name))),
            fmt::format("its path would have {} characters and its name {}, and a project holds {} "
                        "and {}",
                        path.size(), name.size(), kAccessPathLimit, kSourceNameLimit));
        return false;
    }
    if (name != record.sourceName()) {
        const std::string copy(name);
        record.setSourceName(copy);
        record.setShortName(copy);
    }
    record.setAccessPath(path);
    return true;
}

// All numbers of folders below one, itself included.
std::set<std::int32_t> FoldersBelow(const ProjectFile& project, std::int32_t folder) {
    std::set<std::int32_t> folders = {folder};
    std::vector<std::int32_t> pending = {folder};
    while (!pending.empty()) {
        const std::int32_t next = pending.back();
        pending.pop_back();
        for (const ProjectRecord& record : project.childrenOf(next))
            if (record.isFolder() && folders.insert(record.number).second)
                pending.push_back(record.number);
    }
    return folders;
}

bool IsCalled(const PcItem& item, const std::string& foldedName) {
    return FoldAnsi(item.narrow) == foldedName || FoldAnsi(item.shortName) == foldedName;
}

}  // namespace

std::int64_t ChangeAccessPath(ProjectFile& project, std::string_view oldPath,
                              std::string_view newPath, Messages& messages) {
    const PathChange change(oldPath, newPath);
    std::int64_t count = 0;
    project.changeRuns([&](std::span<ProjectRecord> run) {
        for (ProjectRecord& record : run)
            count += change.apply(record, messages);
    });
    return count;
}

std::vector<std::string> Locate(std::span<const std::string> places, std::string_view sourceName,
                                bool isFolder, Progress& progress) {
    const std::string wanted = FoldAnsi(sourceName);
    const PcKind kind = isFolder ? PcKind::Folder : PcKind::File;
    std::vector<std::string> found;
    // A folder that is mounted in two places is looked through once.
    std::set<PcIdentity> visited;
    std::vector<std::string> pending;
    for (const std::string& place : places)
        pending.insert(pending.begin(), place.ends_with('/') ? place : place + '/');
    while (!pending.empty() && found.size() < kMostPlaces && progress.chunk(0)) {
        const std::string folder = std::move(pending.back());
        pending.pop_back();
        const PcFacts facts = PcFactsOf(folder);
        if (!visited.insert({facts.device, facts.inode}).second)
            continue;
        progress.text(Printable(folder));
        int error = 0;
        const std::vector<PcItem> items = ListPcFolder(folder, error);
        for (const PcItem& item : items)
            if (item.facts.kind == kind && found.size() < kMostPlaces && IsCalled(item, wanted))
                found.push_back(folder + item.name);
        for (auto item = items.rbegin(); item != items.rend(); ++item)
            if (item->facts.kind == PcKind::Folder && !item->facts.isLink)
                pending.push_back(folder + item->name + '/');
    }
    return found;
}

bool ReplaceSource(ProjectFile& project, std::int32_t number, const std::string& path,
                   Messages& messages) {
    const auto refuse = [&](std::string_view reason) {
        messages.showMessage(
            fmt::format("{} cannot take the place of the item: {}.", Printable(path), reason));
        return false;
    };
    ProjectRecord* record = project.findByNumber(number);
    if (!record)
        return refuse("the project has no such item");
    const std::optional<PcSelection> selection = SelectOnPc(path);
    if (!selection || selection->isPattern)
        return refuse("it cannot be found");
    PcListings listings;
    const PcItem item = listings.find(selection->folder, selection->name);
    if (item.facts.kind != (record->isFolder() ? PcKind::Folder : PcKind::File))
        return refuse(record->isFolder() ? "it is no folder" : "it is no file");
    const std::string accessPath = listings.accessPathOf(selection->folder);
    const std::string& name = SourceNameOf(item);
    if (accessPath.empty() || name.empty() || accessPath.size() > kAccessPathLimit ||
        name.size() > kSourceNameLimit)
        return refuse(
            "its path is longer than a project holds, or has characters outside "
            "Windows-1252");

    const std::string before = std::string(record->accessPath()).append(record->sourceName());
    record->setAccessPath(accessPath);
    record->setSourceName(name);
    record->setShortName(item.shortName.empty() ? item.narrow : item.shortName);
    record->setShortNameFlag(!item.isNarrow);
    if (!record->isFolder() || before.starts_with(kProjectOnlyPath))
        return true;
    const std::set<std::int32_t> folders = FoldersBelow(project, number);
    const PathChange change(before, accessPath + name);
    project.changeRuns([&](std::span<ProjectRecord> run) {
        if (folders.contains(run.front().parent))
            for (ProjectRecord& below : run)
                (void)change.apply(below, messages);
    });
    return true;
}

}  // namespace vellmark
