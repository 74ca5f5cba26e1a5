#include "volume/catalog_records.hpp"

#include <algorithm>
#include <cstring>

#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

template <typename Record>
RecordData BytesOf(const Record& record) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(&record);
    return {bytes, bytes + sizeof record};
}

// The window that the Finder opens a new folder in.
FolderFinderInfo DefaultView(const FolderFacts& facts) {
    FolderFinderInfo info{};
    info.windowTop = 80;
    info.windowLeft = 48;
    info.windowBottom = 272;
    info.windowRight = 480;
    info.flags = facts.finderFlags;
    info.locationV = facts.locationV;
    info.locationH = facts.locationH;
    info.view = 256;
    return info;
}

void SetHfsFork(const ForkFacts& fork, std::uint32_t blockSize, be32& logical, be32& physical,
                HfsExtentRecord& extents) {
    logical = static_cast<std::uint32_t>(fork.sizeBytes);
    physical = fork.blockCount * blockSize;
    if (fork.blockCount == 0)
        return;
    extents[0].startBlock = static_cast<std::uint16_t>(fork.startBlock);
    extents[0].blockCount = static_cast<std::uint16_t>(fork.blockCount);
}

void SetHfsPlusFork(const ForkFacts& fork, ForkRecord& record) {
    record.logicalSize = fork.sizeBytes;
    record.totalBlocks = fork.blockCount;
    if (fork.blockCount == 0)
        return;
    record.extents[0].startBlock = fork.startBlock;
    record.extents[0].blockCount = fork.blockCount;
}

}  // namespace

std::uint16_t FolderFlags(bool customIcon, bool hidden) {
    const std::uint16_t icon = customIcon ? kFinderCustomIcon : kFinderInited;
    return static_cast<std::uint16_t>(icon | (hidden ? kFinderInvisible : 0));
}

RecordData HfsFolderData(const FolderFacts& facts) {
    HfsFolderRecord record{};
    record.type = static_cast<std::uint8_t>(CatalogRecordType::Folder);
    record.valence = static_cast<std::uint16_t>(facts.valence);
    record.folderId = facts.id;
    record.creationDate = facts.created;
    record.modificationDate = facts.modified;
    record.backupDate = facts.backedUp;
    record.finderInfo = DefaultView(facts);
    return BytesOf(record);
}

RecordData HfsPlusFolderData(const FolderFacts& facts) {
    HfsPlusFolderRecord record{};
    record.type = static_cast<std::uint16_t>(CatalogRecordType::Folder);
    record.valence = facts.valence;
    record.folderId = facts.id;
    record.creationDate = facts.created;
    record.contentModificationDate = facts.modified;
    record.attributeModificationDate = facts.modified;
    record.accessDate = facts.modified;
    record.backupDate = facts.backedUp;
    record.permissions.mode = kFolderMode;
    record.finderInfo = DefaultView(facts);
    return BytesOf(record);
}

RecordData HfsFileData(const FileFacts& facts, std::uint32_t blockSize) {
    HfsFileRecord record{};
    record.type = static_cast<std::uint8_t>(CatalogRecordType::File);
    record.finderInfo.signature = facts.signature;
    record.finderInfo.flags = facts.finderFlags;
    record.fileId = facts.id;
    record.creationDate = facts.created;
    record.modificationDate = facts.modified;
    SetHfsFork(facts.data, blockSize, record.dataLogicalSize, record.dataPhysicalSize,
               record.dataExtents);
    SetHfsFork(facts.resource, blockSize, record.resourceLogicalSize, record.resourcePhysicalSize,
               record.resourceExtents);
    return BytesOf(record);
}

RecordData HfsPlusFileData(const FileFacts& facts) {
    HfsPlusFileRecord record{};
    record.type = static_cast<std::uint16_t>(CatalogRecordType::File);
    record.flags = kThreadExists;
    record.fileId = facts.id;
    record.creationDate = facts.created;
    record.contentModificationDate = facts.modified;
    record.attributeModificationDate = facts.modified;
    record.accessDate = facts.modified;
    record.permissions.mode = kFileMode;
    record.finderInfo.signature = facts.signature;
    record.finderInfo.flags = facts.finderFlags;
    SetHfsPlusFork(facts.data, record.dataFork);
    SetHfsPlusFork(facts.resource, record.resourceFork);
    return BytesOf(record);
}

RecordData HfsThreadData(CatalogRecordType type, std::uint32_t parentId, std::string_view name) {
    HfsThreadRecord record{};
    record.type = static_cast<std::uint8_t>(type);
    record.parentId = parentId;
    name = name.substr(0, kHfsNameLimit);
    record.name[0] = static_cast<std::uint8_t>(name.size());
    std::copy(name.begin(), name.end(), record.name.begin() + 1);
    return BytesOf(record);
}

RecordData HfsPlusThreadData(CatalogRecordType type, std::uint32_t parentId,
                             std::u16string_view name) {
    HfsPlusThreadHead head{};
    head.type = static_cast<std::uint16_t>(type);
    head.parentId = parentId;
    RecordData data = BytesOf(head);
    AppendHfsPlusName(data, name.substr(0, kHfsPlusNameMax));
    return data;
}

}  // namespace vellmark
