#include "volume/catalog.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "support/sentences.hpp"
#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

// In the flags of a file's record.
constexpr unsigned kFileLocked = 0x0001;

template <typename Record>
bool ReadRecord(ConstByteSpan data, Record& record) {
    if (data.size() < sizeof record)
        return false;
    std::memcpy(&record, data.data(), sizeof record);
    return true;
}

// The type word: one byte in HFS, two in HFS+, whose first is 0.
unsigned TypeOf(const VolumeContext& volume, ConstByteSpan data) {
    const std::size_t at = volume.isHfsPlus ? 1 : 0;
    return data.size() > at ? data[at] : 0;
}

bool IsType(const VolumeContext& volume, ConstByteSpan data, CatalogRecordType type) {
    return TypeOf(volume, data) == static_cast<unsigned>(type);
}

ForkInfo HfsFork(std::uint32_t logical, const HfsExtentRecord& extents, std::uint32_t blockSize) {
    return {logical,
            static_cast<std::uint32_t>((std::uint64_t{logical} + blockSize - 1) / blockSize),
            RunsOf(extents)};
}

ForkInfo HfsPlusFork(const ForkRecord& fork) {
    return {fork.logicalSize, fork.totalBlocks, RunsOf(fork.extents)};
}

// What the records of both formats call by the same names.
template <typename Record>
void FillFinderInfo(const Record& record, CatalogItem& item) {
    static_assert(sizeof record.finderInfo + sizeof record.extendedFinderInfo ==
                  sizeof item.finderInfo);
    item.finderFlags = record.finderInfo.flags;
    std::memcpy(item.finderInfo.data(), &record.finderInfo, sizeof record.finderInfo);
    std::memcpy(item.finderInfo.data() + sizeof record.finderInfo, &record.extendedFinderInfo,
                sizeof record.extendedFinderInfo);
}

template <typename Record>
void FillHfsDates(const Record& record, const Clock& clock, CatalogItem& item) {
    item.dates = {record.creationDate, record.modificationDate, record.backupDate, std::nullopt};
    item.created = FromMacLocal(record.creationDate, clock);
    item.modified = FromMacLocal(record.modificationDate, clock);
}

template <typename Record>
void FillHfsPlusDates(const Record& record, CatalogItem& item) {
    item.dates = {record.creationDate, record.contentModificationDate, record.backupDate,
                  record.accessDate};
    item.created = FromMacGmt(record.creationDate);
    item.modified = FromMacGmt(record.contentModificationDate);
}

// Permissions without a kind of file were never filled in (TN1150, "BSD Info").
bool IsCompressed(const HfsPlusPermissions& permissions) {
    return (permissions.mode & kFileKindMask) != 0 &&
           (permissions.ownerFlags & kOwnerCompressed) != 0;
}

bool FillHfs(const VolumeContext& volume, const Clock& clock, ConstByteSpan data,
             CatalogItem& item) {
    if (item.isFolder) {
        HfsFolderRecord record;
        if (!ReadRecord(data, record))
            return false;
        item.id = record.folderId;
        item.valence = record.valence;
        FillFinderInfo(record, item);
        FillHfsDates(record, clock, item);
        return true;
    }
    HfsFileRecord record;
    if (!ReadRecord(data, record))
        return false;
    item.id = record.fileId;
    item.signature = record.finderInfo.signature;
    FillFinderInfo(record, item);
    FillHfsDates(record, clock, item);
    item.isLocked = (record.flags & kFileLocked) != 0;
    item.data = HfsFork(record.dataLogicalSize, record.dataExtents, volume.blockSize);
    item.resource = HfsFork(record.resourceLogicalSize, record.resourceExtents, volume.blockSize);
    return true;
}

bool FillHfsPlus(ConstByteSpan data, CatalogItem& item) {
    if (item.isFolder) {
        HfsPlusFolderRecord record;
        if (!ReadRecord(data, record))
            return false;
        item.id = record.folderId;
        item.valence = record.valence;
        FillFinderInfo(record, item);
        FillHfsPlusDates(record, item);
        return true;
    }
    HfsPlusFileRecord record;
    if (!ReadRecord(data, record))
        return false;
    item.id = record.fileId;
    item.signature = record.finderInfo.signature;
    FillFinderInfo(record, item);
    FillHfsPlusDates(record, item);
    constexpr std::string_view kHardLink = "hlnkhfs+";
    if (std::equal(kHardLink.begin(), kHardLink.end(), item.signature.begin()))
        item.linkReference = record.permissions.special;
    item.isCompressed = IsCompressed(record.permissions);
    item.isLocked = (record.flags & kFileLocked) != 0;
    item.data = HfsPlusFork(record.dataFork);
    item.resource = HfsPlusFork(record.resourceFork);
    return true;
}

// The item of the catalog's current record; nothing for a thread.
std::optional<CatalogItem> CurrentItem(VolumeContext& volume, const Clock& clock) {
    const NodeView node = volume.catalog.view();
    const ConstByteSpan key = node.key(volume.catalog.index);
    const ConstByteSpan data = node.data(volume.catalog.index);
    CatalogItem item;
    item.parentId = KeyParent(key);
    item.isFolder = IsType(volume, data, CatalogRecordType::Folder);
    if (!item.isFolder && !IsType(volume, data, CatalogRecordType::File))
        return std::nullopt;
    item.catalogName = NameOfKey(volume, key);
    item.name = ShownName(volume, item.catalogName);
    if (!(volume.isHfsPlus ? FillHfsPlus(data, item) : FillHfs(volume, clock, data, item)))
        return std::nullopt;
    return item;
}

// The root's record, which no folder lists.
TreeResult FindRoot(VolumeContext& volume, const Clock& clock, std::optional<CatalogItem>& item) {
    bool found = false;
    TreeResult result = FindKey(volume.catalog, ThreadKey(volume, kRootParentId), found);
    if (result == TreeResult::Done)
        result = SettleOnRecord(volume.catalog, found);
    if (result == TreeResult::Done && found)
        item = CurrentItem(volume, clock);
    return result == TreeResult::Done && (!item || item->id != kRootFolderId) ? TreeResult::Damaged
                                                                              : result;
}

}  // namespace

Reason CatalogProblem(TreeResult result, Reason place) {
    if (result == TreeResult::Done)
        return {};
    return Reason(
        result == TreeResult::Failed ? Sentence::kCatalogUnreadable : Sentence::kCatalogDamaged,
        std::move(place));
}

TreeResult ListFolder(VolumeContext& volume, std::uint32_t folderId, const Clock& clock,
                      std::vector<CatalogItem>& items) {
    bool found = false;
    TreeKey last = ThreadKey(volume, folderId);
    TreeResult result = FindKey(volume.catalog, last, found);
    if (result == TreeResult::Done)
        result = SettleOnRecord(volume.catalog, found);
    bool first = true;
    while (result == TreeResult::Done && found) {
        const ConstByteSpan key = volume.catalog.view().key(volume.catalog.index);
        if (KeyParent(key) != folderId)
            break;
        // Keys rise; a tree in which they do not would be walked for ever.
        if (!first && volume.catalog.format.compare(last, key) >= 0)
            return TreeResult::Damaged;
        first = false;
        last.assign(key.begin(), key.end());
        if (auto item = CurrentItem(volume, clock))
            items.push_back(std::move(*item));
        result = NextRecord(volume.catalog, found);
    }
    return result;
}

TreeResult FindItem(VolumeContext& volume, std::uint32_t folderId, std::string_view name,
                    const Clock& clock, std::optional<CatalogItem>& item) {
    item.reset();
    const std::optional<CatalogName> wanted = NameFromShown(volume, name);
    return wanted ? FindNamed(volume, folderId, *wanted, clock, item) : TreeResult::Done;
}

TreeResult FindNamed(VolumeContext& volume, std::uint32_t folderId, const CatalogName& name,
                     const Clock& clock, std::optional<CatalogItem>& item) {
    item.reset();
    bool found = false;
    const TreeResult result = FindKey(volume.catalog, ItemKey(volume, folderId, name), found);
    if (result == TreeResult::Done && found)
        item = CurrentItem(volume, clock);
    return result;
}

TreeResult FindPath(VolumeContext& volume, std::string_view path, const Clock& clock,
                    std::optional<CatalogItem>& item) {
    TreeResult result = FindRoot(volume, clock, item);
    while (result == TreeResult::Done && item && !path.empty()) {
        const std::size_t slash = path.find('/');
        const std::string_view name = path.substr(0, slash);
        path = slash == std::string_view::npos ? std::string_view{} : path.substr(slash + 1);
        if (name.empty())
            continue;
        if (!item->isFolder) {
            item.reset();
            break;
        }
        result = FindItem(volume, item->id, name, clock, item);
    }
    return result;
}

TreeResult ForkRuns(VolumeContext& volume, const CatalogItem& item, bool resource,
                    std::vector<BlockRun>& runs) {
    return FollowExtents(volume, item.id, resource ? kResourceFork : kDataFork,
                         resource ? item.resource : item.data, runs);
}

std::uint32_t ParentOf(VolumeContext& volume, std::uint32_t folderId) {
    bool found = false;
    if (FindKey(volume.catalog, ThreadKey(volume, folderId), found) != TreeResult::Done || !found)
        return 0;
    const ConstByteSpan data = volume.catalog.view().data(volume.catalog.index);
    if (!IsType(volume, data, CatalogRecordType::FolderThread))
        return 0;
    HfsThreadRecord hfs;
    HfsPlusThreadHead plus;
    if (volume.isHfsPlus)
        return ReadRecord(data, plus) ? std::uint32_t{plus.parentId} : 0;
    return ReadRecord(data, hfs) ? std::uint32_t{hfs.parentId} : 0;
}

}  // namespace vellmark
