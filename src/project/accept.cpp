#include "project/accept.hpp"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "containers/short_name.hpp"
#include "project/custom_icon.hpp"
#include "project/inclusion_refusals.hpp"
#include "project/item_deletion.hpp"
#include "project/pc_sources.hpp"
#include "project/sibling_names.hpp"
#include "project/source_coding.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextModification = 1088;
constexpr int kTextDeletion = 1089;

constexpr int kJournalFile = 2;

void Tell(Progress& progress, int text, const std::string& path, const Messages& messages) {
    progress.journal(kJournalFile, FormatText(text, messages.language(), Printable(path)));
}

/// Accepts modified files, with the names of one folder at hand.
class Rereading {
  public:
    Rereading(ProjectFile& project, const InclusionOptions& options, Messages& messages,
              Progress& progress)
        : project_(project), options_(options), messages_(messages), progress_(progress) {}

    /// False after telling why the line was left out, or when the work is to stop.
    [[nodiscard]] bool accept(const ProjectChange& change);
    [[nodiscard]] std::int64_t skipped() const { return skipped_; }

  private:
    [[nodiscard]] bool rereadFile(ProjectRecord& record, const ProjectChange& change);
    void takeOver(ProjectRecord& record, const SourceCoding& source, const PcItem& item);
    void becomeNoIcon(ProjectRecord& record);
    void renew(ProjectRecord& record, const ProjectRecord& before, std::u16string_view pcName);
    [[nodiscard]] SiblingNames& namesOf(std::int32_t folder);
    [[nodiscard]] std::string freeHfsName(const ProjectRecord& record, const std::string& wanted,
                                          std::u16string_view pcName);
    void skip(const ProjectChange& change, const Reason& reason) {
        messages_.itemSkipped(Printable(change.path), reason);
        ++skipped_;
    }
    [[nodiscard]] bool refuse(const ProjectChange& change, const Reason& reason) {
        skip(change, reason);
        return false;
    }

    ProjectFile& project_;
    const InclusionOptions& options_;
    Messages& messages_;
    Progress& progress_;
    std::int64_t skipped_ = 0;
    std::int32_t namedFolder_ = 0;  // whose names are at hand
    std::optional<SiblingNames> names_;
};

bool Rereading::accept(const ProjectChange& change) {
    ProjectRecord* record = project_.findByNumber(change.number);
    if (!record || record->parent != change.parent || record->isFolder() != change.isFolder)
        return refuse(change, Sentence::kItemGone);
    if (!record->isFolder() && !rereadFile(*record, change))
        return false;
    if (record->isoInclusion() < 0)
        record->setIsoInclusion(1);
    if (record->hfsInclusion() < 0)
        record->setHfsInclusion(1);
    Tell(progress_, kTextModification, change.path, messages_);
    return true;
}

bool Rereading::rereadFile(ProjectRecord& record, const ProjectChange& change) {
    PcItem item = PcItemOf(change.path.substr(change.path.find_last_of('/') + 1));
    item.facts = PcFactsOf(change.path);
    if (item.facts.kind != PcKind::File)
        return refuse(change, Sentence::kNotFound);
    if (const int error = ReadRefusal(change.path); error != 0)
        return refuse(change, SystemError{error});
    if (const Reason refusal = SizeRefusal(item.facts))
        return refuse(change, refusal);
    const std::string companion =
        FolderOf(change.path) + '/' + std::string(kCompanionPrefix) + item.name;
    const bool hasCompanion = PcFactsOf(companion).kind == PcKind::File;
    const SourceCoding source =
        FindSourceCoding(change.path, item.facts.sizeBytes, hasCompanion, progress_);
    if (source.isStopped)
        return false;
    if (source.refusal)
        return refuse(change, source.refusal);
    takeOver(record, source, item);
    if (source.damage)
        skip(change, source.damage);
    return true;
}

void Rereading::takeOver(ProjectRecord& record, const SourceCoding& source, const PcItem& item) {
    const ProjectRecord before = record;
    const bool wasIcon = IsPlacedIcon(before);
    if (wasIcon && !source.isCustomIconFile)
        becomeNoIcon(record);
    if (before.coding() != ForkCoding::None) {
        // They came from the container, which may say otherwise now.
        record.setHiddenInHfs(item.hidden);
        record.setHiddenExtension(false);
    }
    FillFileRecord(record, source, item, project_.header().isHfsPlus(), options_.signatureOf,
                   options_.clock);
    if (record.coding() == ForkCoding::None && before.coding() == ForkCoding::None) {
        // What a person set for a plain file is no affair of its contents.
        std::copy(std::begin(before.signature_), std::end(before.signature_),
                  std::begin(record.signature_));
        std::copy(std::begin(before.flags), std::end(before.flags), std::begin(record.flags));
    }
    renew(record, before, Utf8ToWide(item.name));
    if (!wasIcon && source.isCustomIconFile) {
        SiblingNames& names = namesOf(record.parent);
        names.giveBackHfs(record.hfsName());
        PlaceCustomIcon(project_, record, names);
    }
}

// The icon of a volume becomes a file like others.
void Rereading::becomeNoIcon(ProjectRecord& record) {
    ForgetCustomIcon(project_, record);
    if (record.parent != kRootFolder)
        return;
    record.setHfsNameLocked(false);
    record.setIsoInclusion(1);
}

// The HFS name that the file brings now, unless another item has it or the old one is to stay.
void Rereading::renew(ProjectRecord& record, const ProjectRecord& before,
                      std::u16string_view pcName) {
    std::string wanted(record.hfsName());
    const bool broughtName =
        before.macBinary() || before.binHex() || before.coding() == ForkCoding::NamedStreams;
    const bool isHfsPlus = project_.header().isHfsPlus();
    if (broughtName && record.coding() != before.coding() && wanted == before.hfsName()) {
        const std::string whole = WholeHfsName(pcName, record.sourceName(), isHfsPlus);
        wanted = CutName(whole, isHfsPlus ? kHfsPlusNameLimit : kHfsNameLimit);
        record.setUnicodeOnDisk(isHfsPlus && (wanted != whole || record.shortNameFlag()));
    }
    record.setHfsName(before.hfsName());
    if (!record.hfsNameLocked() && before.hfsName() != kRefusedName && wanted != before.hfsName())
        record.setHfsName(freeHfsName(record, wanted, pcName));
}

SiblingNames& Rereading::namesOf(std::int32_t folder) {
    if (!names_ || namedFolder_ != folder) {
        namedFolder_ = folder;
        names_.emplace(project_.childrenOf(folder), project_.header().isHfsPlus());
    }
    return *names_;
}

// A name that no other item of the folder has in the HFS view.
std::string Rereading::freeHfsName(const ProjectRecord& record, const std::string& wanted,
                                   std::u16string_view pcName) {
    if (!record.isIn(ProjectView::Hfs))
        return wanted;
    SiblingNames& names = namesOf(record.parent);
    names.giveBackHfs(record.hfsName());
    return names.takeHfs(wanted, record.sourceName(), pcName);
}

}  // namespace

Acceptance AcceptDeleted(ProjectFile& project, std::span<const ProjectChange> report,
                         RememberedAnswer& confirm, Messages& messages, Progress& progress,
                         const AcceptedLine& accepted) {
    ItemDeletion deletion(project, confirm, messages);
    Acceptance result;
    for (const ProjectChange& change : report) {
        if (change.kind != ChangeKind::Deleted)
            continue;
        const ProjectRecord* record = project.findChild(change.parent, change.number);
        if (!record || record->isFolder() != change.isFolder) {
            messages.itemSkipped(Printable(change.path), Sentence::kItemGone);
            ++result.skipped;
            continue;
        }
        if (!deletion.add(*record, Printable(NarrowToUtf8(change.name))))
            continue;
        Tell(progress, kTextDeletion, change.path, messages);
        if (accepted)
            accepted(change);
    }
    result.items = deletion.finish();
    return result;
}

Acceptance AcceptModified(ProjectFile& project, std::span<const ProjectChange> report,
                          const InclusionOptions& options, Messages& messages, Progress& progress,
                          const AcceptedLine& accepted) {
    Rereading rereading(project, options, messages, progress);
    std::int64_t items = 0;
    for (const ProjectChange& change : report) {
        if (!progress.mayGoOn())
            break;
        if (change.kind != ChangeKind::Modified || !rereading.accept(change))
            continue;
        ++items;
        if (accepted)
            accepted(change);
    }
    return {items, rereading.skipped()};
}

InclusionResult AcceptAdded(ProjectFile& project, std::span<const ProjectChange> report,
                            InclusionOptions& options, Messages& messages, Progress& progress,
                            const AcceptedLine& accepted) {
    std::map<std::int32_t, std::vector<std::string>> byFolder;
    std::unordered_map<std::string_view, const ProjectChange*> byPath;
    for (const ProjectChange& change : report)
        if (change.kind == ChangeKind::Added) {
            byFolder[change.parent].push_back(change.path);
            byPath.emplace(change.path, &change);
        }
    if (accepted)
        options.added = [&](const std::string& path) {
            if (const auto line = byPath.find(path); line != byPath.end())
                accepted(*line->second);
        };
    InclusionResult sum;
    for (const auto& [folder, paths] : byFolder) {
        const InclusionResult result = Include(project, paths, folder, options, messages, progress);
        sum.folders += result.folders;
        sum.files += result.files;
        sum.skipped += result.skipped;
        if (sum.status == InclusionStatus::Done)
            sum.status = result.status;
        if (result.status == InclusionStatus::Stopped) {
            sum.status = InclusionStatus::Stopped;
            break;
        }
    }
    options.added = {};
    return sum;
}

}  // namespace vellmark
