#include <algorithm>
#include <filesystem>
#include <system_error>

#include "containers/apple_single.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "support/walk_guard.hpp"
#include "transfer/import_batch.hpp"
#include "transfer/import_folder.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/edit_result.hpp"

namespace vellmark {

namespace {

constexpr int kTextCopyingFolder = 1118;
constexpr int kTextFolderExists = 1160;

constexpr std::string_view kCompanionPrefix = "._";

// The folders that a path lies in, the path itself not among them.
std::vector<PcIdentity> FoldersAbove(const std::string& path) {
    std::error_code error;
    const std::filesystem::path whole = std::filesystem::canonical(path, error);
    std::vector<PcIdentity> above;
    if (error)
        return above;
    std::filesystem::path step;
    for (const std::filesystem::path& part : whole.parent_path()) {
        step /= part;
        above.push_back(IdentityOf(PcFactsOf(step.string())));
    }
    return above;
}

bool EndsWalk(CopyInResult result) {
    return result == CopyInResult::Stopped || result == CopyInResult::BatchEnds;
}

class FolderImport {
  public:
    FolderImport(CopyIn& batch, std::vector<PcIdentity> above)
        : batch_(batch), above_(std::move(above)) {}

    [[nodiscard]] CopyInResult putFolder(const std::string& path, std::uint32_t parentId);

  private:
    [[nodiscard]] Reason refuse(const std::string& path, const PcFacts& facts);
    [[nodiscard]] CopyInResult makeFolder(const std::string& path, std::uint32_t parentId,
                                          std::uint32_t& id, bool& isNew);
    [[nodiscard]] std::optional<CopyInResult> settleExisting(const std::string& path,
                                                             const CatalogItem& there) const;
    [[nodiscard]] CopyInResult putContents(const std::string& path, std::uint32_t id);
    [[nodiscard]] CopyInResult putItem(const std::vector<PcItem>& items, const PcItem& item,
                                       const std::string& path, std::uint32_t id);
    [[nodiscard]] bool isCompanion(const std::vector<PcItem>& items, const PcItem& item,
                                   const std::string& path);

    CopyIn& batch_;
    std::vector<PcIdentity> above_;  ///< folders that are being copied, and those that hold them
    std::size_t level_ = 0;
};

CopyInResult FolderImport::putFolder(const std::string& path, std::uint32_t parentId) {
    const PcFacts facts = PcFactsOf(path);
    if (const Reason refusal = refuse(path, facts))
        return LeaveOut(batch_, path, refusal);
    std::uint32_t id = 0;
    bool isNew = false;
    CopyInResult result = makeFolder(path, parentId, id, isNew);
    if (result != CopyInResult::Done)
        return result;
    above_.push_back(IdentityOf(facts));
    ++level_;
    result = putContents(path, id);
    --level_;
    above_.pop_back();
    // Last, as each item that comes in may have changed the date.
    const bool hidden = PcNameOfPath(path).starts_with('.');
    if (isNew && SetFolderFacts(batch_.volume, id, facts, hidden, batch_.clock) != TreeResult::Done)
        return EndBatch(batch_, path,
                        CatalogProblem(TreeResult::Damaged, Sentence::kPlaceAtNewFolder));
    return result;
}

Reason FolderImport::refuse(const std::string& path, const PcFacts& facts) {
    if (Reason refusal = RefusalOf(batch_, path, facts))
        return refusal;
    if (level_ > WalkGuard::kMostLevels)
        return Sentence::kTooDeep;
    const PcIdentity identity = IdentityOf(facts);
    if (std::find(above_.begin(), above_.end(), identity) != above_.end())
        return Sentence::kPcLeadsBack;
    if (facts.isLink && !batch_.linkedFolders.insert(identity).second)
        return Sentence::kCopiedThroughLink;
    return {};
}

// The folder of the volume that takes the contents, which the volume may have already.
CopyInResult FolderImport::makeFolder(const std::string& path, std::uint32_t parentId,
                                      std::uint32_t& id, bool& isNew) {
    WritableVolume& volume = batch_.volume;
    const std::string pcName = PcNameOfPath(path);
    const std::optional<ImportedName> imported = ImportName(
        volume, pcName, parentId, batch_.options.truncation, batch_.messages, batch_.clock);
    if (!imported)
        return LeaveOut(batch_, path, Sentence::kNameGotNoShorter);
    const CatalogName& name = imported->name;
    if (IsEmptyName(volume, name))
        return LeaveOut(batch_, path, Sentence::kNoNameLeft);
    std::optional<CatalogItem> there;
    TreeResult result = FindNamed(volume, parentId, name, batch_.clock, there);
    if (result == TreeResult::Done && there) {
        id = there->id;
        return settleExisting(path, *there).value_or(CopyInResult::Done);
    }
    const std::string shown = ShownIn(batch_, name);
    batch_.messages.log(
        2, batch_.messages.words(Reason::Told(kTextCopyingFolder, Printable(path), shown)));
    if (result == TreeResult::Done)
        result = CreateFolder(volume, name, parentId, batch_.clock, id);
    isNew = result == TreeResult::Done;
    if (isNew && imported->isChanged)
        TellChangedName(batch_, path, name);
    if (result == TreeResult::Full)
        return EndForRoom(batch_, path, 0);
    if (result == TreeResult::FolderFull)
        return LeaveOut(batch_, path, Sentence::kFolderFull);
    return isNew ? CopyInResult::Done
                 : EndBatch(batch_, path, CatalogProblem(result, Sentence::kPlaceWhereFolderGoes));
}

std::optional<CopyInResult> FolderImport::settleExisting(const std::string& path,
                                                         const CatalogItem& there) const {
    const std::string shown = ShownIn(batch_, there.catalogName);
    if (!there.isFolder)
        return LeaveOut(batch_, path, Reason(Sentence::kFileIsCalledSo, shown));
    if (batch_.options.existing == ExistingFiles::Replace)
        return std::nullopt;
    return LeaveOut(batch_, path, Reason::Told(kTextFolderExists, shown));
}

CopyInResult FolderImport::putContents(const std::string& path, std::uint32_t id) {
    int error = 0;
    const std::vector<PcItem> items = ListPcFolder(path, error);
    if (error != 0)
        (void)LeaveOut(batch_, path, Reason(Sentence::kUnreadable, SystemError{error}));
    // A name that needs no change is not to be taken by one that was changed into it.
    std::vector<const PcItem*> order;
    order.reserve(items.size());
    for (const PcItem& item : items)
        order.push_back(&item);
    std::stable_partition(order.begin(), order.end(), [this](const PcItem* item) {
        return IsHeldAsItIs(batch_.volume, item->name);
    });
    for (const PcItem* item : order) {
        if (!batch_.progress.mayGoOn())
            return CopyInResult::Stopped;
        const CopyInResult result = putItem(items, *item, path, id);
        if (EndsWalk(result))
            return result;
    }
    return CopyInResult::Done;
}

CopyInResult FolderImport::putItem(const std::vector<PcItem>& items, const PcItem& item,
                                   const std::string& path, std::uint32_t id) {
    const std::string itemPath = path + (path.ends_with('/') ? "" : "/") + item.name;
    if (item.facts.kind == PcKind::Folder)
        return putFolder(itemPath, id);
    if (item.facts.kind == PcKind::File && item.name.starts_with(kCompanionPrefix) &&
        isCompanion(items, item, itemPath))
        return CopyInResult::Done;
    if (IsJournal(batch_, item.facts))
        return CopyInResult::Done;
    return CopyFileIn(batch_, itemPath, item.facts, id);
}

// Whether a file is only the companion of another. One that stands alone, and one that holds
// nothing of a companion, would be lost if they were left out.
bool FolderImport::isCompanion(const std::vector<PcItem>& items, const PcItem& item,
                               const std::string& path) {
    if (batch_.options.containers == ContainerPolicy::Never)
        return false;
    const std::string_view partner = std::string_view(item.name).substr(kCompanionPrefix.size());
    const auto other = std::lower_bound(
        items.begin(), items.end(), partner,
        [](const PcItem& each, std::string_view name) { return each.name < name; });
    const bool isPaired =
        other != items.end() && other->name == partner && other->facts.kind != PcKind::Missing;
    PcFile file(path, PcFile::Mode::Read);
    if (isPaired && file.isOpen() && IsAppleDoubleFile(file))
        return true;
    // Where containers alone are copied, it is left out by that rule.
    if (file.isOpen() && batch_.options.mode != CopyMode::MacBinary)
        batch_.messages.showTimedMessage(Reason(
            isPaired ? Sentence::kNoCompanion : Sentence::kCompanionWithoutFile, Printable(path)));
    return false;
}

}  // namespace

CopyInResult CopyFolderIn(CopyIn& batch, const std::string& path, std::uint32_t folderId) {
    return FolderImport(batch, FoldersAbove(path)).putFolder(path, folderId);
}

}  // namespace vellmark
