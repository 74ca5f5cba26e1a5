#include "project/inclusion.hpp"

#include <algorithm>
#include <iterator>
#include <set>

#include "project/custom_icon.hpp"
#include "project/folder_batch.hpp"
#include "project/inclusion_refusals.hpp"
#include "project/pc_sources.hpp"
#include "support/encoding.hpp"
#include "support/mac_dates.hpp"
#include "support/sentences.hpp"
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
/// Items between two looks at the status line.
constexpr std::int64_t kItemsBetweenTexts = 64;

/// A folder whose contents are still to be included.
struct Subfolder {
    std::string path;  ///< `/` at its end
    std::int32_t number;
    ChainPtr chain;
};

/// Where an item lies.
struct Location {
    const std::string& folder;      ///< `/` at its end
    const std::string& accessPath;  ///< the same for a record; empty when it is not known
    const ChainPtr& chain;
    /// All that lies in the folder, in byte order; empty when it was not listed.
    std::span<const PcItem> listing = {};
    bool isNamed = false;  ///< by the person, and not found in a folder
};

bool IsContainerClass(FileClass fileClass) {
    return fileClass == FileClass::MacContainer || fileClass == FileClass::AppleContainer;
}

bool IsCompanion(const PcItem& item) {
    return item.facts.kind == PcKind::File && item.name.starts_with(kCompanionPrefix);
}

/// One call of `Include`.
class Inclusion {
  public:
    Inclusion(ProjectFile& project, InclusionOptions& options, Messages& messages,
              Progress& progress)
        : project_(project), options_(options), messages_(messages), progress_(progress) {}

    InclusionResult run(std::span<const std::string> paths, std::int32_t parent);
    InclusionResult runAllOf(const std::string& folder, std::int32_t parent);

  private:
    template <typename AddTop>
    InclusionResult runFrom(std::int32_t parent, AddTop addTop);
    void goTo(const std::string& folder);
    void addNamed(FolderBatch& batch, const std::string& given);
    void tellConflict(Conflict conflict, const std::string& path);
    /// A path that stands for nothing.
    void refuseName(const std::string& given, Sentence sentence);
    void addFitting(FolderBatch& batch, const PcSelection& selection);
    void scan(const Subfolder& folder);
    void addAll(FolderBatch& batch, std::span<const PcItem> items, const Location& where);
    /// Any other result than None was not reported yet.
    Conflict addItem(FolderBatch& batch, const PcItem& item, const Location& where);
    void addFolder(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                   const Location& where);
    void addFile(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                 const Location& where);
    void passCompanion(const PcItem& item, const Location& where);
    /// `brought` is the HFS name that a container stores, in the form of the project; else empty.
    void finish(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                const Location& where, const std::string& brought);

    [[nodiscard]] bool isExcluded(const PcItem& item) const;
    [[nodiscard]] PcKind kindOf(const Location& where, const std::string& name);
    [[nodiscard]] ProjectView viewFor(std::int32_t folder) const;
    [[nodiscard]] bool mayGoOn();
    void fail(InclusionStatus status);
    void skip(const std::string& path, const Reason& reason);

    ProjectFile& project_;
    InclusionOptions& options_;
    Messages& messages_;
    Progress& progress_;
    PcListings listings_;
    std::string chainFolder_;         // the folder named last,
    ChainPtr chain_;                  // and what it lies in
    std::set<PcIdentity> linked_;     // folders entered through a link
    std::vector<Subfolder> pending_;  // of the items just added, in order
    std::int64_t itemsSeen_ = 0;
    InclusionResult result_;
};

InclusionResult Inclusion::run(std::span<const std::string> paths, std::int32_t parent) {
    return runFrom(parent, [&](FolderBatch& batch) {
        for (const std::string& path : paths)
            if (mayGoOn())
                addNamed(batch, path);
    });
}

InclusionResult Inclusion::runAllOf(const std::string& folder, std::int32_t parent) {
    return runFrom(parent, [&](FolderBatch& batch) {
        const PcSelection all = SelectAllOf(folder);
        goTo(all.folder);
        addFitting(batch, all);
    });
}

template <typename AddTop>
InclusionResult Inclusion::runFrom(std::int32_t parent, AddTop addTop) {
    if (!project_.isFolder(parent)) {
        messages_.showMessage(
            Reason(Sentence::kNoFolderNumber, Printable(project_.path()), parent));
        result_.status = InclusionStatus::NoSuchFolder;
        return result_;
    }
    progress_.text(messages_.text(kTextIncluding));
    FolderBatch batch(project_, parent, viewFor(parent));
    addTop(batch);
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
        refuseName(given, Sentence::kNamesNothing);
        return;
    }
    goTo(selection->folder);
    if (selection->isPattern) {
        addFitting(batch, *selection);
        return;
    }
    const PcItem item = listings_.find(selection->folder, selection->name);
    const std::string accessPath = listings_.accessPathOf(selection->folder);
    const Conflict conflict =
        addItem(batch, item, {selection->folder, accessPath, chain_, {}, true});
    if (conflict != Conflict::None)
        tellConflict(conflict, selection->folder + item.name);
}

// The folder that named items lie in.
void Inclusion::goTo(const std::string& folder) {
    if (folder == chainFolder_)
        return;
    chainFolder_ = folder;
    chain_ = ChainOf(folder);
}

void Inclusion::tellConflict(Conflict conflict, const std::string& path) {
    const bool sameName = conflict == Conflict::SameName;
    const bool isIsoPlus = project_.mode() == ProjectMode::IsoPlus;
    if (!sameName && (options_.toleratesConflicts || isIsoPlus))
        return;
    if (options_.toleratesConflicts || isIsoPlus) {
        skip(path, ToldText{kTextSameName});
        return;
    }
    fail(InclusionStatus::Conflict);
    messages_.showMessage(
        sameName ? Reason(Sentence::kNamedReason, Printable(path), ToldText{kTextSameName})
                 : Reason::Told(kTextAlreadyThere, Printable(path)));
}

void Inclusion::addFitting(FolderBatch& batch, const PcSelection& selection) {
    int error = 0;
    const std::vector<PcItem> listing = ListPcFolder(selection.folder, error);
    if (error != 0) {
        skip(selection.folder, SystemError{error});
        return;
    }
    std::vector<PcItem> items;
    std::copy_if(listing.begin(), listing.end(), std::back_inserter(items),
                 [&](const PcItem& item) { return MatchesPattern(item.name, selection.name); });
    const bool takesAll = selection.name == "*" || selection.name == "*.*";
    if (items.empty() && !(listing.empty() && takesAll)) {
        refuseName(selection.folder + selection.name, Sentence::kNothingFits);
        return;
    }
    const std::string accessPath = listings_.accessPathOf(selection.folder);
    addAll(batch, items, {selection.folder, accessPath, chain_, listing});
}

void Inclusion::refuseName(const std::string& given, Sentence sentence) {
    if (options_.toleratesMissing) {
        skip(given, Sentence::kItemNamesNothing);
        return;
    }
    messages_.showMessage(Reason(sentence, Printable(given)));
    fail(InclusionStatus::NotFound);
}

void Inclusion::scan(const Subfolder& folder) {
    int error = 0;
    const std::vector<PcItem> items = ListPcFolder(folder.path, error);
    if (error != 0) {
        skip(folder.path, SystemError{error});
        return;
    }
    const std::string accessPath = listings_.accessPathOf(folder.path);
    FolderBatch batch(project_, folder.number, viewFor(folder.number));
    addAll(batch, items, {folder.path, accessPath, folder.chain, items});
    if (result_.status != InclusionStatus::Stopped)
        batch.mergeInto(project_);
}

void Inclusion::addAll(FolderBatch& batch, std::span<const PcItem> items, const Location& where) {
    for (const PcItem& item : items)
        if (!IsCompanion(item) && !isExcluded(item) &&
            !InclusionRefusal(item, where.folder, where.accessPath))
            batch.names().reserve(Utf8ToWide(item.name), SourceNameOf(item));
    for (const PcItem& item : items) {
        if (!mayGoOn())
            return;
        if (addItem(batch, item, where) == Conflict::SameName)
            skip(where.folder + item.name, ToldText{kTextSameName});
    }
}

Conflict Inclusion::addItem(FolderBatch& batch, const PcItem& item, const Location& where) {
    const std::string path = where.folder + item.name;
    if (isExcluded(item)) {
        if (where.isNamed)
            skip(path, Sentence::kFileOfProject);
        return Conflict::None;
    }
    if (IsCompanion(item)) {
        passCompanion(item, where);
        return Conflict::None;
    }
    if (const Reason refusal = InclusionRefusal(item, where.folder, where.accessPath)) {
        skip(path, refusal);
        return Conflict::None;
    }
    const std::string sourceName = SourceNameOf(item);
    const Conflict conflict = batch.conflictOf(where.accessPath, sourceName);
    if (conflict != Conflict::None)
        return conflict;

    ProjectRecord record;
    record.parent = batch.parent();
    record.setHiddenInIso(item.hidden);
    record.setHiddenInHfs(item.hidden);
    record.setShortNameFlag(!item.isNarrow);
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
        skip(path, Sentence::kLeadsBack);
        return;
    }
    if (item.facts.isLink && !linked_.insert(identity).second) {
        skip(path, Sentence::kLinkedTwice);
        return;
    }
    record.modified = ToMacLocal(item.facts.modified, options_.clock);
    record.created = record.modified;
    record.number = project_.giveFolderNumber(record.sourceName());
    record.setIsoInclusion(batch.view() != ProjectView::Hfs);
    record.setHfsInclusion(batch.view() != ProjectView::Iso);
    if (record.number == 0) {
        skip(path, Sentence::kNoNumberForFolder);
        return;
    }
    finish(batch, record, item, where, {});
    ++result_.folders;
    // Nothing can be shown below a folder that is in no view, as both its names were refused.
    if (record.isIn(ProjectView::Hybrid))
        pending_.push_back({path + "/", record.number, Below(where.chain, identity)});
}

void Inclusion::addFile(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                        const Location& where) {
    const std::string path = where.folder + item.name;
    const bool companion = kindOf(where, std::string(kCompanionPrefix) + item.name) == PcKind::File;
    const SourceCoding source = FindSourceCoding(path, item.facts.sizeBytes, companion, progress_);
    if (source.isStopped) {
        result_.status = InclusionStatus::Stopped;
        return;
    }
    if (source.refusal) {
        skip(path, source.refusal);
        return;
    }
    record.number = project_.giveFileNumber();
    if (record.number == 0) {
        skip(path, Sentence::kNoNumberForFile);
        return;
    }
    FillFileRecord(record, source, item, project_.header().isHfsPlus(), options_.signatureOf,
                   options_.clock);
    if (project_.mode() == ProjectMode::IsoPlus) {
        record.setIsoInclusion(1);
    } else if (source.damage && IsContainerClass(ClassOf(record))) {
        // Whatever is said of containers, the PC keeps its file.
        record.setIsoInclusion(batch.view() != ProjectView::Hfs);
        record.setHfsInclusion(batch.view() != ProjectView::Iso);
    } else {
        DecideViews(record, batch.view(), Printable(path), options_.answers, messages_);
    }
    if (source.isCustomIconFile)
        PlaceCustomIcon(project_, record, batch.names());
    finish(batch, record, item, where, ContainerNameIn(source, project_.header().isHfsPlus()));
    if (source.damage && !(options_.buildTellsForks && source.coding != ForkCoding::None)) {
        messages_.itemNoted(Printable(path), Reason(Sentence::kTakenAsPlain, source.damage));
        ++result_.skipped;
    }
    ++result_.files;
}

// A companion is part of its file. One whose file is not there holds what would be lost with it.
void Inclusion::passCompanion(const PcItem& item, const Location& where) {
    const std::string name = item.name.substr(kCompanionPrefix.size());
    if (kindOf(where, name) == PcKind::Missing)
        skip(where.folder + item.name, Sentence::kCompanionAlone);
    else if (where.isNamed)
        skip(where.folder + item.name, Reason(Sentence::kCompanionComesAlong, Printable(name)));
}

void Inclusion::finish(FolderBatch& batch, ProjectRecord& record, const PcItem& item,
                       const Location& where, const std::string& brought) {
    const std::string path = where.folder + item.name;
    ViewNames(record, Utf8ToWide(item.name), project_, batch.names(), options_.truncation,
              messages_);
    if (!options_.buildTellsNames)
        TellChangedNames(record, Utf8ToWide(item.name), brought, Printable(path), project_,
                         messages_);
    batch.add(record);
    progress_.journal(kJournalFile,
                      FormatText(kTextAddition, messages_.language(), Printable(path)));
    if (options_.added)
        options_.added(path);
}

bool Inclusion::isExcluded(const PcItem& item) const {
    return item.facts.kind != PcKind::Missing &&
           std::find(options_.excluded.begin(), options_.excluded.end(), IdentityOf(item.facts)) !=
               options_.excluded.end();
}

PcKind Inclusion::kindOf(const Location& where, const std::string& name) {
    if (where.listing.empty())
        return listings_.find(where.folder, name).facts.kind;
    const auto found = std::lower_bound(
        where.listing.begin(), where.listing.end(), name,
        [](const PcItem& item, const std::string& wanted) { return item.name < wanted; });
    return found != where.listing.end() && found->name == name ? found->facts.kind
                                                               : PcKind::Missing;
}

ProjectView Inclusion::viewFor(std::int32_t folder) const {
    if (project_.mode() == ProjectMode::IsoPlus)
        return ProjectView::Iso;
    return folder == kRootFolder ? options_.view : project_.folderView(folder);
}

bool Inclusion::mayGoOn() {
    if (result_.status == InclusionStatus::Stopped)
        return false;
    if (itemsSeen_++ % kItemsBetweenTexts == 0)
        progress_.text(FormatText(kTextFolders, messages_.language(), result_.folders) + "  " +
                       FormatText(kTextFiles, messages_.language(), result_.files));
    if (progress_.mayGoOn())
        return true;
    result_.status = InclusionStatus::Stopped;
    return false;
}

void Inclusion::fail(InclusionStatus status) {
    if (result_.status == InclusionStatus::Done)
        result_.status = status;
}

void Inclusion::skip(const std::string& path, const Reason& reason) {
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

InclusionResult IncludeAllOf(ProjectFile& project, const std::string& folder, std::int32_t parent,
                             InclusionOptions& options, Messages& messages, Progress& progress) {
    return Inclusion(project, options, messages, progress).runAllOf(folder, parent);
}

}  // namespace vellmark
