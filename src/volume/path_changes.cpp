#include "volume/path_changes.hpp"

#include <algorithm>
#include <optional>
#include <utility>

#include "support/canonical_form.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/catalog_changes.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

constexpr int kTextExistsInTarget = 1152;
constexpr int kTextCannotSwap = 1172;
constexpr std::size_t kMessageUnits = 45;

PathChange NotFound(Reason problem) {
    return {EditResult::Missing, std::move(problem)};
}

PathChange Ended(EditResult result, std::string_view item) {
    return {result, EditProblem(result, Printable(item))};
}

Reason OnTheWay(std::string_view path) {
    return Reason(Sentence::kPlaceOnTheWayTo, Printable(path));
}

// So much of a name as the text has room for.
std::string NameForMessage(const std::string& name) {
    std::u16string wide = Utf8ToWide(Printable(name));
    CutAtLetter(wide, kMessageUnits);
    return WideToUtf8(wide);
}

std::string_view WithoutLastSlashes(std::string_view path) {
    while (path.ends_with('/'))
        path.remove_suffix(1);
    return path;
}

// A name that cannot be one is damage to the catalog, and a wrong name to the one who typed it.
EditResult ResultOfMaking(TreeResult result, const WritableVolume& volume, std::string_view name) {
    const bool isBadName = result == TreeResult::Damaged && !NameFromShown(volume, name);
    return isBadName ? EditResult::BadName : ToEditResult(result);
}

}  // namespace

Result<CatalogItem> ItemAt(VolumeContext& volume, std::string_view path, const Clock& clock) {
    std::optional<CatalogItem> item;
    if (Reason problem = CatalogProblem(FindPath(volume, path, clock, item), OnTheWay(path)))
        return Failed(std::move(problem));
    if (!item)
        return Failed(EditProblem(EditResult::Missing, Printable(path)));
    return std::move(*item);
}

Result<CatalogItem> FolderAt(VolumeContext& volume, std::string_view path, const Clock& clock) {
    Result<CatalogItem> item = ItemAt(volume, path, clock);
    if (item && !item->isFolder)
        return Failed(Sentence::kPathIsNoFolder, Printable(path));
    return item;
}

PathChange DeleteAt(WritableVolume& volume, std::string_view path, DeleteContext& context) {
    const Result<CatalogItem> item = ItemAt(volume, path, context.clock);
    if (!item)
        return NotFound(item.error());
    if (item->id == kRootFolderId)
        return {EditResult::Protected, Sentence::kRootNotDeleted};
    const EditResult result = DeleteItemByName(volume, item->catalogName, item->parentId, context);
    return Ended(result, context.obstacle.empty() ? std::string(path)
                                                  : std::string(path) + "/" + context.obstacle);
}

PathChange MoveAt(WritableVolume& volume, std::string_view path, std::uint32_t targetId,
                  const Clock& clock) {
    const Result<CatalogItem> item = ItemAt(volume, path, clock);
    if (!item)
        return NotFound(item.error());
    if (item->id == kRootFolderId)
        return {EditResult::Protected, Sentence::kRootNotMoved};
    const EditResult result = item->parentId == targetId
                                  ? EditResult::Exists
                                  : MoveItem(volume, item->catalogName, item->parentId, targetId);
    if (result == EditResult::Exists)
        return {result, Reason::Told(kTextExistsInTarget, NameForMessage(item->name))};
    return Ended(result, path);
}

PathChange RenameAt(WritableVolume& volume, std::string_view path, std::string_view name,
                    Messages& messages, const Clock& clock) {
    const Result<CatalogItem> item = ItemAt(volume, path, clock);
    if (!item)
        return NotFound(item.error());
    if (item->id == kRootFolderId)
        return {EditResult::Protected, Sentence::kRootHasVolumeName};
    if (name.find('/') != std::string_view::npos)
        return {EditResult::BadName, Reason(Sentence::kSlashIsColon, Printable(name))};
    const std::optional<CatalogName> newName = NameFromShown(volume, name);
    const EditResult result = newName
                                  ? RenameItem(volume, item->parentId, item->catalogName, *newName)
                                  : EditResult::BadName;
    if (result == EditResult::Done)
        messages.log(2, "*ren " + item->name + "\t" + std::string(name));
    // Only some results are about the new name.
    return Ended(result,
                 result == EditResult::Exists || result == EditResult::BadName ? name : path);
}

PathChange Relabel(WritableVolume& volume, std::string_view label, Messages& messages) {
    const EditResult result = RenameVolume(volume, label);
    if (result == EditResult::Done)
        messages.log(2, "*label " + std::string(label));
    return Ended(result, label);
}

PathChange SwapForksAt(WritableVolume& volume, std::string_view path, const Clock& clock) {
    const Result<CatalogItem> item = ItemAt(volume, path, clock);
    if (!item)
        return NotFound(item.error());
    switch (SwapForks(volume, item->catalogName, item->parentId)) {
        case SwapResult::Done:
            return {};
        case SwapResult::NotFound:
            return {EditResult::Missing, Reason(Sentence::kFolderHasNoForks, Printable(path))};
        case SwapResult::ResourceForkOverflows:
        case SwapResult::DataForkOverflows:
            return {EditResult::Overflow,
                    Reason(Sentence::kNamed, Printable(path), ToldText{kTextCannotSwap})};
        case SwapResult::Protected:
            return Ended(EditResult::Protected, path);
        case SwapResult::Failed:
            break;
    }
    return Ended(EditResult::Failed, path);
}

PathChange ChangeAttributesAt(WritableVolume& volume, std::string_view path,
                              const AttributeChange& change, const Clock& clock) {
    const Result<CatalogItem> item = ItemAt(volume, path, clock);
    if (!item)
        return NotFound(item.error());
    const bool isRoot = item->id == kRootFolderId;
    if (item->isFolder && (change.type || change.creator || (change.isLocked && !isRoot)))
        return {EditResult::Protected, Reason(Sentence::kFolderHasNoSignature, Printable(path))};
    AttributeChange ofRecord = change;
    if (isRoot && change.isLocked) {
        SetVolumeLock(volume, *change.isLocked);
        ofRecord.isLocked.reset();
    }
    if (ofRecord.isEmpty())
        return {};
    return Ended(ChangeAttributes(volume, item->parentId, item->catalogName, ofRecord, clock),
                 path);
}

FolderWay WalkToFolder(WritableVolume& volume, std::string_view path, MissingFolders missing,
                       const Clock& clock) {
    FolderWay way;
    way.id = kRootFolderId;
    for (std::size_t at = 0; at < path.size() && way.result == EditResult::Done;) {
        const std::size_t slash = std::min(path.find('/', at), path.size());
        const std::string_view name = path.substr(at, slash - at);
        way.path = path.substr(0, slash);
        at = slash + 1;
        if (name.empty())
            continue;
        std::optional<CatalogItem> there;
        way.result = ToEditResult(FindItem(volume, way.id, name, clock, there));
        if (way.result != EditResult::Done)
            return way;
        if (there && there->isFolder) {
            way.id = there->id;
            continue;
        }
        way.isMaking = !there && missing == MissingFolders::Make;
        way.result = there ? EditResult::Exists : EditResult::Missing;
        if (way.isMaking)
            way.result =
                ResultOfMaking(CreateFolder(volume, name, way.id, clock, way.id), volume, name);
    }
    return way;
}

Reason FolderWay::searchProblem() const {
    const bool isSearch = result == EditResult::Damaged || result == EditResult::Failed;
    return isSearch && !isMaking
               ? CatalogProblem(
                     result == EditResult::Failed ? TreeResult::Failed : TreeResult::Damaged,
                     OnTheWay(path))
               : Reason();
}

PathChange MakeFolderAt(WritableVolume& volume, std::string_view path, MissingFolders missing,
                        const Clock& clock) {
    if (path.empty())
        return {EditResult::BadName, Sentence::kFolderNeedsName};
    if (missing == MissingFolders::Make && path.find_first_not_of('/') != std::string_view::npos) {
        const FolderWay way = WalkToFolder(volume, path, missing, clock);
        Reason problem = way.searchProblem();
        return problem ? PathChange{way.result, std::move(problem)} : Ended(way.result, way.path);
    }
    const std::string_view whole = WithoutLastSlashes(path);
    if (whole.empty())
        return missing == MissingFolders::Make
                   ? PathChange{}
                   : PathChange{EditResult::Exists, Sentence::kRootIsThere};
    const std::size_t slash = whole.rfind('/');
    const std::string_view name = whole.substr(slash == std::string_view::npos ? 0 : slash + 1);
    const std::string_view parent = slash == std::string_view::npos ? "" : whole.substr(0, slash);
    const Result<CatalogItem> folder = FolderAt(volume, parent, clock);
    if (!folder)
        return NotFound(folder.error());
    std::uint32_t id = 0;
    return Ended(ResultOfMaking(CreateFolder(volume, name, folder->id, clock, id), volume, name),
                 path);
}

}  // namespace vellmark
