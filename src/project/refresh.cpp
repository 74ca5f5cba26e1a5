#include "project/refresh.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "containers/named_streams.hpp"
#include "project/folder_batch.hpp"
#include "project/folder_chain.hpp"
#include "project/pc_sources.hpp"
#include "project/source_coding.hpp"
#include "project/source_folder.hpp"
#include "project/stray_records.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextRefreshing = 1339;

/// A folder of the project that is still to be compared.
struct FolderToCheck {
    std::int32_t number;
    std::string accessPath;  ///< of its contents; empty when it has no folder of the PC
};

// A line break in a name would look like another line.
std::string OnOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }, '?');
    return text;
}

bool IsMissing(const ProjectRecord& record) {
    return record.isoInclusion() < 0 || record.hfsInclusion() < 0;
}

// The folder that all items of root come from; empty when they come from several or from none.
std::string CommonFolder(const ProjectFile& project) {
    std::string common;
    for (const ProjectRecord& record : project.childrenOf(kRootFolder)) {
        if (record.accessPath() == kProjectOnlyPath)
            continue;
        if (common.empty())
            common = record.accessPath();
        else if (common != record.accessPath())
            return {};
    }
    return common;
}

class Checker {
  public:
    Checker(const ProjectFile& project, const CheckOptions& options, Messages& messages,
            Progress& progress)
        : project_(project), options_(options), messages_(messages), progress_(progress) {}

    CheckResult run(std::int32_t folder);

  private:
    /// One folder of the project while it is compared.
    struct Comparison {
        const FolderToCheck& folder;
        const ProjectFile::Run& run;
        std::vector<std::pair<std::size_t, ProjectChange>> changes = {};  // with the record's place
        std::vector<const ProjectRecord*> deleted = {};
        std::unordered_set<const PcItem*> known = {};  // items of the folder of the PC at hand
        std::vector<std::size_t> entered = {};         // places of folders to go on with
    };

    [[nodiscard]] std::string contentsPathOf(std::int32_t folder) const;
    [[nodiscard]] bool isMissingRoot(const FolderToCheck& folder, const SourceFolder& source,
                                     std::string_view accessPath, const ProjectFile::Run& run,
                                     std::span<const std::size_t> places);
    void noteMissingRoot(const std::string& path);
    void checkFolder(const FolderToCheck& folder);
    void compareFrom(Comparison& comparison, const SourceFolder& source,
                     std::span<const std::size_t> places);
    void compare(Comparison& comparison, const SourceFolder& source, std::size_t place);
    void compareFile(Comparison& comparison, const SourceFolder& source, std::size_t place,
                     const PcItem& item);
    [[nodiscard]] bool forksDiffer(const ProjectRecord& record, const SourceFolder& source,
                                   const PcItem& item);
    void findAdditions(Comparison& comparison, const SourceFolder& source);
    [[nodiscard]] bool isNoAddition(const PcItem& item) const;
    void dropSecondLinks();
    void tellUnknown(const std::string& path, int error);
    void skip(const std::string& path, const Reason& reason);
    [[nodiscard]] bool mayGoOn();

    const ProjectFile& project_;
    const CheckOptions& options_;
    Messages& messages_;
    Progress& progress_;
    PcPathResolver resolver_;
    std::vector<FolderToCheck> pending_;
    std::unordered_set<std::int32_t> visited_;
    std::set<std::string> unknown_;       // paths that were reported
    std::set<PcIdentity> linkedFolders_;  // that items of the project lead to through links
    std::unordered_map<std::string, PcIdentity> addedLinks_;  // path to the folder behind it
    CheckResult result_;
};

CheckResult Checker::run(std::int32_t folder) {
    progress_.text(messages_.text(kTextRefreshing));
    pending_.push_back({folder, contentsPathOf(folder)});
    visited_.insert(folder);
    while (!pending_.empty() && mayGoOn()) {
        const FolderToCheck next = std::move(pending_.back());
        pending_.pop_back();
        checkFolder(next);
    }
    dropSecondLinks();
    if (folder == kRootFolder)
        FindStrayRecords(project_, [this](const ProjectRecord& record, const Reason& reason) {
            skip(SourceText(record), reason);
        });
    return std::move(result_);
}

std::string Checker::contentsPathOf(std::int32_t folder) const {
    if (folder == kRootFolder)
        return options_.rootAdditions ? CommonFolder(project_) : std::string{};
    const ProjectRecord* record = project_.findByNumber(folder);
    if (!record || record->accessPath() == kProjectOnlyPath)
        return {};
    return std::string(record->accessPath()).append(record->sourceName()) + '/';
}

void Checker::checkFolder(const FolderToCheck& folder) {
    Comparison comparison{folder, project_.childrenOf(folder.number)};
    // As a rule all items come from one folder of the PC; where they do not, each is read once.
    std::unordered_map<std::string_view, std::vector<std::size_t>> bySource;
    std::vector<std::string_view> sources;
    for (std::size_t i = 0; i < comparison.run.size(); ++i) {
        const ProjectRecord& record = comparison.run[i];
        if (record.isFolder() && record.accessPath() == kProjectOnlyPath) {
            comparison.entered.push_back(i);
            continue;
        }
        auto& places = bySource[record.accessPath()];
        if (places.empty())
            sources.push_back(record.accessPath());
        places.push_back(i);
    }
    const bool seeksAdditions = options_.additions && !folder.accessPath.empty();
    if (seeksAdditions && !bySource.contains(folder.accessPath))
        sources.push_back(folder.accessPath);
    // The folder's own path last: additions are judged when all deletions are known.
    std::stable_partition(sources.begin(), sources.end(), [&folder](std::string_view source) {
        return source != folder.accessPath;
    });
    for (std::string_view path : sources) {
        if (!mayGoOn())
            return;
        const SourceFolder source(path, resolver_);
        if (source.state() == SourceState::Unknown)
            tellUnknown(source.path(), source.error());
        if (!options_.missingRootsAreDeleted &&
            isMissingRoot(folder, source, path, comparison.run, bySource[path]))
            continue;
        compareFrom(comparison, source, bySource[path]);
        if (seeksAdditions && path == folder.accessPath && source.state() == SourceState::There)
            findAdditions(comparison, source);
    }

    std::stable_sort(comparison.changes.begin(), comparison.changes.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (auto& [place, change] : comparison.changes)
        result_.changes.push_back(std::move(change));
    std::sort(comparison.entered.rbegin(), comparison.entered.rend());
    for (std::size_t place : comparison.entered)
        if (const std::int32_t number = comparison.run[place].number;
            visited_.insert(number).second)
            pending_.push_back({number, contentsPathOf(number)});
}

// Notes the roots that are not there. True when the items of this one are to be left as they are.
bool Checker::isMissingRoot(const FolderToCheck& folder, const SourceFolder& source,
                            std::string_view accessPath, const ProjectFile::Run& run,
                            std::span<const std::size_t> places) {
    const bool isRoot = folder.number == kRootFolder || accessPath != folder.accessPath;
    if (!isRoot || places.empty() || source.state() == SourceState::Unknown)
        return false;
    if (source.state() == SourceState::Gone) {
        noteMissingRoot(source.path());
        return true;
    }
    bool hasFolders = false;
    for (std::size_t place : places) {
        const ProjectRecord& record = run[place];
        const PcKind kind = record.isFolder() ? PcKind::Folder : PcKind::File;
        if (source.find(record.sourceName(), kind).state != SourceState::Gone)
            return false;
        hasFolders = hasFolders || record.isFolder();
    }
    if (source.items().empty())
        noteMissingRoot(source.path());
    else if (hasFolders)
        for (std::size_t place : places)
            if (run[place].isFolder())
                noteMissingRoot(source.path() + NarrowToUtf8(run[place].sourceName()) + '/');
    return source.items().empty() || hasFolders;
}

// As far up as nothing is there: what a person unplugged or moved.
void Checker::noteMissingRoot(const std::string& path) {
    std::string root = path;
    while (root.starts_with('/') && root.ends_with('/') && root.size() > 1) {
        const std::string above = root.substr(0, root.find_last_of('/', root.size() - 2) + 1);
        if (PcFactsOf(above).kind != PcKind::Missing)
            break;
        root = above;
    }
    if (std::find(result_.missingRoots.begin(), result_.missingRoots.end(), root) ==
        result_.missingRoots.end())
        result_.missingRoots.push_back(std::move(root));
}

void Checker::compareFrom(Comparison& comparison, const SourceFolder& source,
                          std::span<const std::size_t> places) {
    comparison.known.clear();
    for (std::size_t place : places) {
        if (!mayGoOn())
            return;
        compare(comparison, source, place);
    }
}

void Checker::compare(Comparison& comparison, const SourceFolder& source, std::size_t place) {
    const ProjectRecord& record = comparison.run[place];
    const auto report = [&](ChangeKind kind, std::string path) {
        comparison.changes.emplace_back(
            place, ProjectChange{kind, record.isFolder(), record.parent, record.number,
                                 record.sourceSize, std::string(record.accessPath()),
                                 std::string(record.sourceName()), std::move(path)});
    };
    const FoundSource found =
        source.find(record.sourceName(), record.isFolder() ? PcKind::Folder : PcKind::File);
    if (found.state == SourceState::Gone) {
        report(ChangeKind::Deleted, source.path() + NarrowToUtf8(record.sourceName()));
        comparison.deleted.push_back(&record);
        return;
    }
    if (found.state == SourceState::Unknown) {
        // A folder that cannot be looked into was reported when it was tried.
        if (source.state() == SourceState::There)
            tellUnknown(source.path() + NarrowToUtf8(record.sourceName()), found.error);
        return;
    }
    comparison.known.insert(found.item);
    if (!record.isFolder()) {
        compareFile(comparison, source, place, *found.item);
        return;
    }
    if (IsMissing(record))
        report(ChangeKind::Modified, source.path() + found.item->name);
    if (found.item->facts.isLink)
        linkedFolders_.insert(IdentityOf(found.item->facts));
    comparison.entered.push_back(place);
}

void Checker::compareFile(Comparison& comparison, const SourceFolder& source, std::size_t place,
                          const PcItem& item) {
    const ProjectRecord& record = comparison.run[place];
    const std::string path = source.path() + item.name;
    if (const int error = ReadRefusal(path); error != 0) {
        tellUnknown(path, error);
        return;
    }
    const std::uint64_t sizeBytes =
        IsMissing(record) ? std::uint64_t{record.sourceSize} : item.facts.sizeBytes;
    if (IsMissing(record) || sizeBytes != record.sourceSize || forksDiffer(record, source, item))
        comparison.changes.emplace_back(
            place, ProjectChange{ChangeKind::Modified, false, record.parent, record.number,
                                 sizeBytes, std::string(record.accessPath()),
                                 std::string(record.sourceName()), path});
}

// Of a file whose own length is as it was: the forks beside it, and on request the dates. A file
// that has nothing beside it is not opened.
bool Checker::forksDiffer(const ProjectRecord& record, const SourceFolder& source,
                          const PcItem& item) {
    const bool companion = source.hasCompanion(item);
    const std::string path = source.path() + item.name;
    const bool hasForksBeside = companion || record.appleDouble() ||
                                record.coding() == ForkCoding::NamedStreams ||
                                HasNamedStreams(path);
    // MacBinary alone keeps dates of its own.
    const bool hasOwnDates = record.macBinary();
    if (options_.dates && !hasOwnDates &&
        ToMacLocal(item.facts.modified, options_.clock) != record.modified)
        return true;
    if (!hasForksBeside && !(options_.dates && hasOwnDates))
        return false;
    const SourceCoding coding = FindSourceCoding(path, item.facts.sizeBytes, companion, progress_);
    if (const Reason& problem = coding.refusal ? coding.refusal : coding.damage)
        skip(Printable(path), problem);
    if (coding.isStopped || coding.refusal)
        return false;
    ProjectRecord fresh = record;
    FillFileRecord(fresh, coding, item, project_.header().isHfsPlus(), {}, options_.clock);
    const bool sameDates = fresh.created == record.created && fresh.modified == record.modified;
    return fresh.coding() != record.coding() || fresh.appleDouble() != record.appleDouble() ||
           fresh.dataSize != record.dataSize || fresh.resourceSize != record.resourceSize ||
           (options_.dates && hasOwnDates && !sameDates);
}

void Checker::findAdditions(Comparison& comparison, const SourceFolder& source) {
    std::optional<FolderBatch> batch;  // costs more than the rest where nothing is new
    for (const PcItem& item : source.items()) {
        if (source.isLostCompanion(item))
            skip(Printable(source.path() + item.name), Sentence::kCompanionAlone);
        if (comparison.known.contains(&item) || isNoAddition(item))
            continue;
        if (!batch) {
            const std::int32_t folder = comparison.folder.number;
            batch.emplace(project_, folder,
                          project_.mode() == ProjectMode::IsoPlus ? ProjectView::Iso
                                                                  : project_.folderView(folder));
            for (const ProjectRecord* record : comparison.deleted)
                batch->forget(*record);
        }
        const std::string& name = SourceNameOf(item);
        if (batch->conflictOf(comparison.folder.accessPath, name) != Conflict::None)
            continue;
        const std::string path = source.path() + item.name;
        const bool isFolder = item.facts.kind == PcKind::Folder;
        comparison.changes.emplace_back(
            comparison.run.size(),
            ProjectChange{ChangeKind::Added, isFolder, comparison.folder.number, 0,
                          isFolder ? 0 : item.facts.sizeBytes, comparison.folder.accessPath, name,
                          path});
        if (isFolder && item.facts.isLink)
            addedLinks_.emplace(path, IdentityOf(item.facts));
    }
}

bool Checker::isNoAddition(const PcItem& item) const {
    const PcKind kind = item.facts.kind;
    return (kind != PcKind::File && kind != PcKind::Folder) ||
           (kind == PcKind::File && item.name.starts_with(kCompanionPrefix)) ||
           std::find(options_.excluded.begin(), options_.excluded.end(), IdentityOf(item.facts)) !=
               options_.excluded.end();
}

// An inclusion enters a folder through one link only and never through one that leads back, so the
// links that it left out are nothing new.
void Checker::dropSecondLinks() {
    if (addedLinks_.empty())
        return;
    std::erase_if(result_.changes, [this](const ProjectChange& change) {
        const auto link = addedLinks_.find(change.path);
        return change.kind == ChangeKind::Added && link != addedLinks_.end() &&
               (!linkedFolders_.insert(link->second).second ||
                IsIn(ChainOf(FolderOf(change.path)), link->second));
    });
}

void Checker::tellUnknown(const std::string& path, int error) {
    if (unknown_.insert(path).second)
        skip(Printable(path), SystemError{error});
}

void Checker::skip(const std::string& path, const Reason& reason) {
    messages_.itemSkipped(path, reason);
    ++result_.skipped;
}

bool Checker::mayGoOn() {
    result_.isStopped = result_.isStopped || !progress_.mayGoOn();
    return !result_.isStopped;
}

}  // namespace

std::string ReportLine(const ProjectChange& change) {
    return fmt::format("{}|{}|{}|{}|{}|{}\r\n", static_cast<char>(change.kind), change.parent,
                       change.number, change.sizeBytes, OnOneLine(change.accessPath),
                       OnOneLine(change.name));
}

CheckResult Check(const ProjectFile& project, std::int32_t folder, const CheckOptions& options,
                  Messages& messages, Progress& progress) {
    return Checker(project, options, messages, progress).run(folder);
}

}  // namespace vellmark
