#include "project/accept.hpp"

#include <fmt/core.h>

#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "containers/short_name.hpp"
#include "project/custom_icon.hpp"
#include "project/item_deletion.hpp"
#include "project/sibling_names.hpp"
#include "project/source_coding.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr int kTextModification = 1088;
constexpr int kTextDeletion = 1089;

constexpr int kJournalFile = 2;

constexpr std::string_view kNoSuchItem = "the project has no such item any more";

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

  private:
    [[nodiscard]] bool rereadFile(ProjectRecord& record, const ProjectChange& change);
    void takeOver(ProjectRecord& record, const SourceCoding& source, const PcItem& item);
    void becomeNoIcon(ProjectRecord& record);
    void renew(ProjectRecord& record, const ProjectRecord& before, std::u16string_view pcName);
    [[nodiscard]] SiblingNames& namesOf(std::int32_t folder);
    [[nodiscard]] std::string freeHfsName(const ProjectRecord& record, const std::string& wanted,
                                          std::u16string_view pcName);
    [[nodiscard]] bool refuse(const ProjectChange& change, std::string_view reason) {
        messages_.itemSkipped(Printable(change.path), reason);
        return false;
    }

    ProjectFile& project_;
    const InclusionOptions& options_;
    Messages& messages_;
    Progress& progress_;
    std::int32_t namedFolder_ = 0;  // whose names are at hand
    std::optional<SiblingNames> names_;
};

bool Rereading::accept(const ProjectChange& change) {
    ProjectRecord* record = project_.findByNumber(change.number);
    if (!record || record->parent != change.parent || record->isFolder() != change.isFolder)
        return refuse(change, kNoSuchItem);
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
        return refuse(change, "it cannot be found");
    if (const int error = ReadRefusal(change.path); error != 0)
        return refuse(change, SystemErrorText(error));
    if (item.facts.sizeBytes > std::numeric_limits<std::uint32_t>::max())
        return refuse(change,
                      fmt::format("its size of {} bytes is 4 GiB or more, which a project cannot "
                                  "hold",
                                  item.facts.sizeBytes));
    const std::string companion = FolderOf(change.path) + "/._" + item.name;
    const bool hasCompanion = PcFactsOf(companion).kind == PcKind::File;
    const SourceCoding source =
        FindSourceCoding(change.path, item.facts.sizeBytes, hasCompanion, progress_);
    if (source.isStopped)
        return false;
    if (!source.refusal.empty())
        return refuse(change, source.refusal);
    takeOver(record, source, item);
    if (!source.damage.empty())
        messages_.itemSkipped(Printable(change.path), source.damage);
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

std::int64_t AcceptDeleted(ProjectFile& project, std::span<const ProjectChange> report,
                           RememberedAnswer& confirm, Messages& messages, Progress& progress,
                           const AcceptedLine& accepted) {
    ItemDeletion deletion(project, confirm, messages);
    for (const ProjectChange& change : report) {
        if (change.kind != ChangeKind::Deleted)
            continue;
        const ProjectRecord* record = project.findChild(change.parent, change.number);
        if (!record || record->isFolder() != change.isFolder) {
            messages.itemSkipped(Printable(change.path), kNoSuchItem);
            continue;
        }
        if (!deletion.add(*record, Printable(NarrowToUtf8(change.name))))
            continue;
        Tell(progress, kTextDeletion, change.path, messages);
        if (accepted)
            accepted(change);
    }
    return deletion.finish();
}

std::int64_t AcceptModified(ProjectFile& project, std::span<const ProjectChange> report,
                            const InclusionOptions& options, Messages& messages, Progress& progress,
                            const AcceptedLine& accepted) {
    Rereading rereading(project, options, messages, progress);
    std::int64_t count = 0;
    for (const ProjectChange& change : report) {
        if (!progress.chunk(0))
            break;
        if (change.kind != ChangeKind::Modified || !rereading.accept(change))
            continue;
        ++count;
        if (accepted)
            accepted(change);
    }
    return count;
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
