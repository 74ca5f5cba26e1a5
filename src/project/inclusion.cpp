#include "project/inclusion.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <system_error>

#include "project/folder_batch.hpp"
#include "project/pc_sources.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "support/pc_file.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextFiles = 1015;
constexpr int kTextFolders = 1016;
constexpr int kTextAddition = 1090;
constexpr int kTextAlreadyThere = 1405;
constexpr int kTextSameName = 1406;
constexpr int kTextIncluding = 1456;

constexpr int kJournalFile = 2;
constexpr std::string_view kCompanionPrefix = "._";

/// The folders that a folder lies in, from itself up to the root of the PC.
struct Chain {
    PcIdentity identity;
    std::shared_ptr<const Chain> above;
};
using ChainPtr = std::shared_ptr<const Chain>;

/// A folder whose contents are still to be included.
struct Subfolder {
    std::string path;  ///< `/` at its end
    std::int32_t number;
    ChainPtr chain;
};

/// Where an item lies.
struct Location {
    const std::string& folder;      ///< `/` at its end
    const std::string& accessPath;  ///< the same for a record; empty when it cannot be told
    const ChainPtr& chain;
};

PcIdentity IdentityOf(const PcFacts& facts) {
    return {facts.device, facts.inode};
}

bool IsIn(const ChainPtr& chain, const PcIdentity& identity) {
    for (const Chain* link = chain.get(); link; link = link->above.get())
        if (link->identity == identity)
            return true;
    return false;
}

ChainPtr ChainOf(const std::string& folder) {
    std::error_code error;
    std::filesystem::path path = std::filesystem::canonical(folder, error);
    ChainPtr chain;
    if (error)
        return chain;
    std::filesystem::path step;
    for (const std::filesystem::path& part : path) {
        step /= part;
        chain = std::make_shared<Chain>(Chain{IdentityOf(PcFactsOf(step.string())), chain});
    }
    return chain;
}

/// One call of `Include`.
class Inclusion {
  public:
    Inclusion(ProjectFile& project, InclusionOptions& options, Messages& messages,
              Progress& progress)
        : project_(project), options_(options), messages_(messages), progress_(progress) {}

    InclusionResult run(std::span<const std::string> paths, std::int32_t parent);

  private:
    void addNamed(FolderBatch& batch, const std::string& given);
    void addFitting(FolderBatch& batch, const PcSelection& selection);
    void scan(const Subfolder& folder);
    void addAll(FolderBatch& batch, std::span<const PcItem> items, const Location& where);
    /// Any other result than None was not told to anyone yet.
    Conflict addItem(FolderBatch& batch, const PcItem& item, const Location& where);
    void addFolder(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                   const Location& where);
    void addFile(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                 const Location& where);
    void finish(FolderBatch& batch, ProjectRecord& record, const std::string& path);

    [[nodiscard]] bool passesOver(const PcItem& item) const;
    /// Why the item cannot be included at all; empty when it can.
    [[nodiscard]] std::string refusal(const PcItem& item, const Location& where) const;
    [[nodiscard]] ProjectView viewFor(std::int32_t folder) const;
    [[nodiscard]] bool mayGoOn();
    void fail(InclusionStatus status);
    void skip(const std::string& path, std::string_view reason);

    ProjectFile& project_;
    InclusionOptions& options_;
    Messages& messages_;
    Progress& progress_;
    PcListings listings_;
    std::string chainFolder_;         // the folder named last,
    ChainPtr chain_;                  // and what it lies in
    std::set<PcIdentity> linked_;     // folders entered through a link
    std::vector<Subfolder> pending_;  // of the items just added, in order
    InclusionResult result_;
};

InclusionResult Inclusion::run(std::span<const std::string> paths, std::int32_t parent) {
    if (!project_.isFolder(parent)) {
        messages_.showMessage(fmt::format("The project {} has no folder with the number {}.",
                                          Printable(project_.path()), parent));
        result_.status = InclusionStatus::NoSuchFolder;
        return result_;
    }
    progress_.text(messages_.text(kTextIncluding));
    FolderBatch batch(project_, parent, viewFor(parent));
    for (const std::string& path : paths)
        if (mayGoOn())
            addNamed(batch, path);
    if (!mayGoOn())
        return result_;
    batch.mergeInto(project_);

    std::vector<Subfolder> stack;
    const auto pushPending = [&] {
        stack.insert(stack.end(), std::make_move_iterator(pending_.rbegin()),
                     std::make_move_iterator(pending_.rend()));
        pending_.clear();
    };
    pushPending();
    while (!stack.empty() && mayGoOn()) {
        const Subfolder next = std::move(stack.back());
        stack.pop_back();
        scan(next);
        pushPending();
    }
    return result_;
}

void Inclusion::addNamed(FolderBatch& batch, const std::string& given) {
    const std::optional<PcSelection> selection = SelectOnPc(given);
    if (!selection) {
        messages_.showMessage(
            fmt::format("{} names no file or folder that can be included.", Printable(given)));
        fail(InclusionStatus::NotFound);
        return;
    }
    if (selection->folder != chainFolder_) {
        chainFolder_ = selection->folder;
        chain_ = ChainOf(chainFolder_);
    }
    if (selection->isPattern) {
        addFitting(batch, *selection);
        return;
    }
    const PcItem item = listings_.find(selection->folder, selection->name);
    const std::string accessPath = listings_.accessPathOf(selection->folder);
    const Conflict conflict = addItem(batch, item, {selection->folder, accessPath, chain_});
    if (conflict == Conflict::None)
        return;
    fail(InclusionStatus::Conflict);
    const std::string path = selection->folder + item.name;
    if (project_.mode() == ProjectMode::Hybrid)
        messages_.showMessage(
            conflict == Conflict::SameName
                ? fmt::format("{}\n{}", Printable(path), messages_.text(kTextSameName))
                : FormatText(kTextAlreadyThere, messages_.language(), Printable(path)));
    else if (conflict == Conflict::SameName)
        skip(path, messages_.text(kTextSameName));
}

void Inclusion::addFitting(FolderBatch& batch, const PcSelection& selection) {
    int error = 0;
    std::vector<PcItem> items = ListPcFolder(selection.folder, error);
    if (error != 0) {
        skip(selection.folder, SystemErrorText(error));
        return;
    }
    const bool wasEmpty = items.empty();
    std::erase_if(items, [&selection](const PcItem& item) {
        return !MatchesPattern(item.name, selection.name);
    });
    if (items.empty() && !wasEmpty) {
        messages_.showMessage(fmt::format("No file or folder fits {}.",
                                          Printable(selection.folder + selection.name)));
        fail(InclusionStatus::NotFound);
        return;
    }
    const std::string accessPath = listings_.accessPathOf(selection.folder);
    addAll(batch, items, {selection.folder, accessPath, chain_});
}

void Inclusion::scan(const Subfolder& folder) {
    int error = 0;
    const std::vector<PcItem> items = ListPcFolder(folder.path, error);
    if (error != 0) {
        skip(folder.path, SystemErrorText(error));
        return;
    }
    const std::string accessPath = listings_.accessPathOf(folder.path);
    FolderBatch batch(project_, folder.number, viewFor(folder.number));
    addAll(batch, items, {folder.path, accessPath, folder.chain});
    if (result_.status != InclusionStatus::Stopped)
        batch.mergeInto(project_);
}

void Inclusion::addAll(FolderBatch& batch, std::span<const PcItem> items, const Location& where) {
    for (const PcItem& item : items)
        if (!passesOver(item) && refusal(item, where).empty())
            batch.names().reserve(SourceNameOf(item));
    for (const PcItem& item : items) {
        if (!mayGoOn())
            return;
        if (addItem(batch, item, where) == Conflict::SameName)
            skip(where.folder + item.name, messages_.text(kTextSameName));
    }
}

Conflict Inclusion::addItem(FolderBatch& batch, const PcItem& item, const Location& where) {
    const std::string path = where.folder + item.name;
    if (passesOver(item))
        return Conflict::None;
    if (const std::string reason = refusal(item, where); !reason.empty()) {
        skip(path, reason);
        return Conflict::None;
    }
    const std::string sourceName = SourceNameOf(item);
    const Conflict conflict = batch.conflictOf(where.accessPath, sourceName);
    if (conflict != Conflict::None)
        return conflict;

    ProjectRecord record;
    record.parent = batch.parent();
    record.modified = ToMacLocal(item.facts.modified, options_.clock);
    record.created = record.modified;
    record.setHiddenInIso(item.hidden);
    record.setHiddenInHfs(item.hidden);
    record.setShortNameFlag(sourceName != item.narrow);
    record.setAccessPath(where.accessPath);
    record.setSourceName(sourceName);
    record.setShortName(item.shortName.empty() ? item.narrow : item.shortName);
    if (item.facts.kind == PcKind::Folder)
        addFolder(batch, record, item, where);
    else
        addFile(batch, record, item, where);
    return Conflict::None;
}

void Inclusion::addFolder(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                          const Location& where) {
    const std::string path = where.folder + item.name;
    const PcIdentity identity = IdentityOf(item.facts);
    if (IsIn(where.chain, identity)) {
        skip(path, "it leads back to a folder that it lies in");
        return;
    }
    if (item.facts.isLink && !linked_.insert(identity).second) {
        skip(path, "the folder that this link leads to has been included through another link");
        return;
    }
    record.number = project_.giveFolderNumber(record.sourceName());
    record.setIsoInclusion(batch.view() != ProjectView::Hfs);
    record.setHfsInclusion(batch.view() != ProjectView::Iso);
    if (record.number == 0) {
        skip(path, "the project has no number left for a folder");
        return;
    }
    finish(batch, record, path);
    ++result_.folders;
    // Nothing can be shown below a folder that is in no view, as both its names were refused.
    if (record.isIn(ProjectView::Hybrid))
        pending_.push_back(
            {path + "/", record.number, std::make_shared<Chain>(Chain{identity, where.chain})});
}

void Inclusion::addFile(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                        const Location& where) {
    const std::string path = where.folder + item.name;
    if (const int error = ReadRefusal(path); error != 0) {
        skip(path, SystemErrorText(error));
        return;
    }
    record.number = project_.giveFileNumber();
    if (record.number == 0) {
        skip(path, "the project has no number left for a file");
        return;
    }
    record.sourceSize = static_cast<std::uint32_t>(item.facts.sizeBytes);
    record.dataSize = record.sourceSize;
    record.setSignature(options_.signatureOf ? options_.signatureOf(record.sourceName())
                                             : std::string(kDefaultSignature));
    if (project_.mode() == ProjectMode::IsoPlus)
        record.setIsoInclusion(1);
    else
        DecideViews(record, batch.view(), Printable(path), options_.answers, messages_);
    finish(batch, record, path);
    ++result_.files;
}

void Inclusion::finish(FolderBatch& batch, ProjectRecord& record, const std::string& path) {
    ViewNames(record, record.sourceName(), project_, batch.names(), options_.truncation, messages_);
    batch.add(record);
    progress_.journal(kJournalFile,
                      FormatText(kTextAddition, messages_.language(), Printable(path)));
}

bool Inclusion::passesOver(const PcItem& item) const {
    if (item.facts.kind == PcKind::File && item.name.starts_with(kCompanionPrefix))
        return true;
    const bool exists = item.facts.kind != PcKind::Missing;
    return exists && std::find(options_.excluded.begin(), options_.excluded.end(),
                               IdentityOf(item.facts)) != options_.excluded.end();
}

std::string Inclusion::refusal(const PcItem& item, const Location& where) const {
    const PcFacts& facts = item.facts;
    if (facts.kind == PcKind::Missing)
        return facts.isLink ? "it is a symbolic link that leads nowhere" : "it cannot be found";
    if (facts.kind == PcKind::Special)
        return "it is a pipe, a socket or a device";
    if (facts.kind == PcKind::Folder)
        if (const int error = ReadRefusal(where.folder + item.name); error != 0)
            return SystemErrorText(error);
    if (facts.sizeBytes > std::numeric_limits<std::uint32_t>::max() && facts.kind == PcKind::File)
        return fmt::format("its size of {} bytes is 4 GiB or more, which a project cannot hold",
                           facts.sizeBytes);
    const std::string sourceName = SourceNameOf(item);
    if (where.accessPath.empty() || sourceName.empty())
        return "its path has characters outside Windows-1252, and no 8.3 name to use instead";
    if (where.accessPath.size() > kAccessPathLimit)
        return fmt::format("the path of its folder has {} characters, and a project holds {}",
                           where.accessPath.size(), kAccessPathLimit);
    if (sourceName.size() > kSourceNameLimit)
        return fmt::format("its name has {} characters, and a project holds {}", sourceName.size(),
                           kSourceNameLimit);
    return {};
}

ProjectView Inclusion::viewFor(std::int32_t folder) const {
    if (project_.mode() == ProjectMode::IsoPlus)
        return ProjectView::Iso;
    return folder == kRootFolder ? options_.view : project_.folderView(folder);
}

bool Inclusion::mayGoOn() {
    if (result_.status == InclusionStatus::Stopped)
        return false;
    progress_.text(FormatText(kTextFolders, messages_.language(), result_.folders) + "  " +
                   FormatText(kTextFiles, messages_.language(), result_.files));
    if (progress_.chunk(0))
        return true;
    result_.status = InclusionStatus::Stopped;
    return false;
}

void Inclusion::fail(InclusionStatus status) {
    if (result_.status == InclusionStatus::Done)
        result_.status = status;
}

void Inclusion::skip(const std::string& path, std::string_view reason) {
    messages_.itemSkipped(Printable(path), reason);
    ++result_.skipped;
}

}  // namespace

InclusionResult Include(ProjectFile& project, const std::string& path, std::int32_t parent,
                        InclusionOptions& options, Messages& messages, Progress& progress) {
    return Include(project, std::span<const std::string>(&path, 1), parent, options, messages,
                   progress);
}

InclusionResult Include(ProjectFile& project, std::span<const std::string> paths,
                        std::int32_t parent, InclusionOptions& options, Messages& messages,
                        Progress& progress) {
    return Inclusion(project, options, messages, progress).run(paths, parent);
}

}  // namespace vellmark
