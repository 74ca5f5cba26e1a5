#include "volume/catalog_access.hpp"

#include <algorithm>
#include <array>

#include "volume/catalog_keys.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

// Smallest lengths by type, 1 to 4.
constexpr std::array<std::size_t, 5> kHfsLengths = {0, sizeof(HfsFolderRecord),
                                                    sizeof(HfsFileRecord), sizeof(HfsThreadRecord),
                                                    sizeof(HfsThreadRecord)};
constexpr std::array<std::size_t, 5> kHfsPlusLengths = {
    0, sizeof(HfsPlusFolderRecord), sizeof(HfsPlusFileRecord),
    sizeof(HfsPlusThreadHead) + sizeof(be16), sizeof(HfsPlusThreadHead) + sizeof(be16)};

}  // namespace

std::optional<CatalogRecordType> RecordTypeOf(const VolumeContext& volume, ConstByteSpan data) {
    // One byte in HFS; in HFS+ the second of two, whose first is 0.
    const std::size_t at = volume.isHfsPlus ? 1 : 0;
    const auto& lengths = volume.isHfsPlus ? kHfsPlusLengths : kHfsLengths;
    if (data.size() <= at || data[at] == 0 || data[at] >= lengths.size() ||
        data.size() < lengths[data[at]])
        return std::nullopt;
    return static_cast<CatalogRecordType>(data[at]);
}

std::array<std::vector<BlockRun>, 2> RunsOfForks(const VolumeContext& volume, ByteSpan data) {
    if (volume.isHfsPlus) {
        const auto& record = RecordIn<HfsPlusFileRecord>(data);
        return {RunsOf(record.dataFork.extents), RunsOf(record.resourceFork.extents)};
    }
    const auto& record = RecordIn<HfsFileRecord>(data);
    return {RunsOf(record.dataExtents), RunsOf(record.resourceExtents)};
}

std::uint32_t CurrentItemId(VolumeContext& volume) {
    const ByteSpan data = CurrentData(volume);
    const auto type = RecordTypeOf(volume, data);
    if (type == CatalogRecordType::Folder)
        return volume.isHfsPlus ? RecordIn<HfsPlusFolderRecord>(data).folderId
                                : RecordIn<HfsFolderRecord>(data).folderId;
    if (type == CatalogRecordType::File)
        return volume.isHfsPlus ? RecordIn<HfsPlusFileRecord>(data).fileId
                                : RecordIn<HfsFileRecord>(data).fileId;
    return 0;
}

TreeResult StandOnItem(VolumeContext& volume, const TreeKey& key, bool& found) {
    const TreeResult result = FindKey(volume.catalog, key, found);
    if (result != TreeResult::Done || !found)
        return result;
    const auto type = RecordTypeOf(volume, CurrentData(volume));
    found = type == CatalogRecordType::Folder || type == CatalogRecordType::File;
    return TreeResult::Done;
}

TreeResult StandOnFolder(VolumeContext& volume, std::uint32_t folderId, bool& found) {
    found = false;
    std::optional<ThreadFacts> thread;
    TreeResult result = ReadThread(volume, folderId, thread);
    if (result != TreeResult::Done || !thread)
        return result;
    result = FindKey(volume.catalog, ItemKey(volume, thread->parentId, thread->name), found);
    // The thread of an HFS+ file leads to a record of another kind.
    if (found)
        found = RecordTypeOf(volume, CurrentData(volume)) == CatalogRecordType::Folder;
    return result;
}

TreeResult StoreCurrentNode(VolumeContext& volume) {
    return volume.catalog.store->write(volume.catalog.node, volume.catalog.nodeBuffer)
               ? TreeResult::Done
               : TreeResult::Failed;
}

TreeResult ReadThread(VolumeContext& volume, std::uint32_t id, std::optional<ThreadFacts>& thread) {
    thread.reset();
    bool found = false;
    const TreeResult result = FindKey(volume.catalog, ThreadKey(volume, id), found);
    if (result != TreeResult::Done || !found)
        return result;
    const ByteSpan data = CurrentData(volume);
    const auto type = RecordTypeOf(volume, data);
    if (type != CatalogRecordType::FolderThread && type != CatalogRecordType::FileThread)
        return TreeResult::Damaged;
    ThreadFacts facts{*type, 0, {}};
    if (volume.isHfsPlus) {
        facts.parentId = RecordIn<HfsPlusThreadHead>(data).parentId;
        facts.name.hfsPlus = ReadHfsPlusName(data.subspan(sizeof(HfsPlusThreadHead)));
    } else {
        const auto& record = RecordIn<HfsThreadRecord>(data);
        const std::size_t length = std::min<std::size_t>(record.name[0], kHfsNameLimit);
        facts.parentId = record.parentId;
        facts.name.hfs.assign(reinterpret_cast<const char*>(record.name.data()) + 1, length);
    }
    thread = std::move(facts);
    return TreeResult::Done;
}

}  // namespace vellmark
