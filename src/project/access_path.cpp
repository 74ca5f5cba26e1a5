#include "project/access_path.hpp"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>

#include "project/ansi_fold.hpp"
#include "project/folder_chain.hpp"
#include "project/pc_sources.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

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

    /// Counts the record when it is another now, or was left out.
    void apply(ProjectRecord& record, PathsChanged& result, Messages& messages) const;

  private:
    static void set(ProjectRecord& record, const std::string& path, std::string_view name,
                    PathsChanged& result, Messages& messages);

    bool isForeign_;
    std::string old_;
    std::string new_;
};

void PathChange::apply(ProjectRecord& record, PathsChanged& result, Messages& messages) const {
    const std::string_view path = record.accessPath();
    if (path.starts_with(old_)) {
        std::string rest(path.substr(old_.size()));
        if (isForeign_)
            std::replace(rest.begin(), rest.end(), kForeignSeparator, '/');
        set(record, new_ + rest, record.sourceName(), result, messages);
        return;
    }
    // The folder that the old path names.
    if (!record.isFolder() || path.empty() || path == kProjectOnlyPath ||
        std::string(path).append(record.sourceName()) + old_.back() != old_)
        return;
    const std::string bare = new_.substr(0, new_.size() - 1);
    const std::size_t slash = bare.find_last_of('/');
    if (slash == std::string::npos || slash + 1 == bare.size()) {
        messages.itemSkipped(SourceText(record),
                             Reason(Sentence::kNoNameForFolder, Printable(NarrowToUtf8(new_))));
        ++result.skipped;
        return;
    }
    set(record, bare.substr(0, slash + 1), bare.substr(slash + 1), result, messages);
}

void PathChange::set(ProjectRecord& record, const std::string& path, std::string_view name,
                     PathsChanged& result, Messages& messages) {
    if (path == record.accessPath() && name == record.sourceName())
        return;
    if (path.size() > kAccessPathLimit || name.size() > kSourceNameLimit) {
        messages.itemSkipped(Printable(NarrowToUtf8(path + std::string(name))),
                             Reason(Sentence::kPathTooLong, path.size(), name.size(),
                                    kAccessPathLimit, kSourceNameLimit));
        ++result.skipped;
        return;
    }
    if (name != record.sourceName()) {
        const std::string copy(name);
        record.setSourceName(copy);
        record.setShortName(copy);
    }
    record.setAccessPath(path);
    ++result.items;
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

std::string RecordPathOf(const std::string& typed) {
    if (typed.empty())
        return {};
    std::error_code error;
    std::string path = std::filesystem::absolute(typed, error).lexically_normal().string();
    if (error)
        return {};
    // Of a folder that is there, components that Windows-1252 lacks have their 8.3 names.
    return PcListings().accessPathOf(WithSeparator(path, '/'));
}

std::string OldRecordPathOf(const std::string& typed) {
    return IsForeign(typed) ? Utf8ToNarrow(typed) : RecordPathOf(typed);
}

std::vector<std::string> TopAccessPaths(const ProjectFile& project) {
    std::set<std::string, std::less<>> all;
    project.forEachRecord([&](const ProjectRecord& record) {
        if (const std::string_view path = record.accessPath(); path != "..")
            all.emplace(path);
    });
    std::vector<std::string> tops;
    for (const std::string& path : all)
        if (tops.empty() || !path.starts_with(tops.back()))
            tops.push_back(path);
    return tops;
}

PathsChanged ChangeAccessPath(ProjectFile& project, std::string_view oldPath,
                              std::string_view newPath, Messages& messages) {
    const PathChange change(oldPath, newPath);
    PathsChanged result;
    project.changeRuns([&](std::span<ProjectRecord> run) {
        for (ProjectRecord& record : run)
            change.apply(record, result, messages);
    });
    return result;
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
    while (!pending.empty() && found.size() < kMostPlaces && progress.mayGoOn()) {
        const std::string folder = std::move(pending.back());
        pending.pop_back();
        const PcFacts facts = PcFactsOf(folder);
        if (!visited.insert(IdentityOf(facts)).second)
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
    const auto refuse = [&](Sentence reason) {
        messages.showMessage(Reason(Sentence::kCannotReplaceSource, Printable(path), reason));
        return false;
    };
    ProjectRecord* record = project.findByNumber(number);
    if (!record)
        return refuse(Sentence::kNoSuchItem);
    const std::optional<PcSelection> selection = SelectOnPc(path);
    if (!selection || selection->isPattern)
        return refuse(Sentence::kNotFound);
    PcListings listings;
    const PcItem item = listings.find(selection->folder, selection->name);
    if (item.facts.kind != (record->isFolder() ? PcKind::Folder : PcKind::File))
        return refuse(record->isFolder() ? Sentence::kIsNoFolder : Sentence::kIsNoFile);
    const std::string accessPath = listings.accessPathOf(selection->folder);
    const std::string& name = SourceNameOf(item);
    if (accessPath.empty() || name.empty() || accessPath.size() > kAccessPathLimit ||
        name.size() > kSourceNameLimit)
        return refuse(Sentence::kSourcePathRefused);

    const std::string before = std::string(record->accessPath()).append(record->sourceName());
    record->setAccessPath(accessPath);
    record->setSourceName(name);
    record->setShortName(item.shortName.empty() ? item.narrow : item.shortName);
    record->setShortNameFlag(!item.isNarrow);
    if (!record->isFolder() || before.starts_with(kProjectOnlyPath))
        return true;
    const std::set<std::int32_t> folders = FoldersBelow(project, number);
    const PathChange change(before, accessPath + name);
    PathsChanged below;
    project.changeRuns([&](std::span<ProjectRecord> run) {
        if (folders.contains(run.front().parent))
            for (ProjectRecord& inside : run)
                change.apply(inside, below, messages);
    });
    return true;
}

}  // namespace vellmark
