#include <algorithm>
#include <utility>

#include "volume/catalog_access.hpp"
#include "volume/catalog_edit.hpp"
#include "volume/catalog_protection.hpp"
#include "volume/volume_change.hpp"

namespace vellmark {

namespace {

constexpr unsigned kLocked = 0x0001;

template <typename Record>
void ChangeFinderFlags(Record& record, const AttributeChange& change) {
    record.finderInfo.flags = static_cast<std::uint16_t>(
        (record.finderInfo.flags & ~change.clearFlags) | change.setFlags);
}

template <typename Record>
void ChangeFile(Record& record, const AttributeChange& change) {
    auto& signature = record.finderInfo.signature;
    if (change.type)
        std::copy(change.type->begin(), change.type->end(), signature.begin());
    if (change.creator)
        std::copy(change.creator->begin(), change.creator->end(), signature.begin() + 4);
    if (!change.isLocked)
        return;
    const unsigned flags = (record.flags & ~kLocked) | (*change.isLocked ? kLocked : 0);
    if constexpr (sizeof record.flags == 1)
        record.flags = static_cast<std::uint8_t>(flags);
    else
        record.flags = static_cast<std::uint16_t>(flags);
}

template <typename Record>
void ChangeHfsDates(Record& record, const AttributeChange& change, const Clock& clock) {
    if (change.created)
        record.creationDate = ToMacLocal(*change.created, clock);
    if (change.modified)
        record.modificationDate = ToMacLocal(*change.modified, clock);
}

template <typename Record>
void ChangeHfsPlusDates(Record& record, const AttributeChange& change) {
    if (change.created)
        record.creationDate = ToMacGmt(*change.created);
    if (change.modified)
        record.contentModificationDate = ToMacGmt(*change.modified);
}

void ChangeRecord(const WritableVolume& volume, ByteSpan data, const AttributeChange& change,
                  const Clock& clock) {
    const bool isFolder = RecordTypeOf(volume, data) == CatalogRecordType::Folder;
    if (volume->isHfsPlus && isFolder) {
        auto& record = RecordIn<HfsPlusFolderRecord>(data);
        ChangeFinderFlags(record, change);
        ChangeHfsPlusDates(record, change);
    } else if (volume->isHfsPlus) {
        auto& record = RecordIn<HfsPlusFileRecord>(data);
        ChangeFinderFlags(record, change);
        ChangeHfsPlusDates(record, change);
        ChangeFile(record, change);
    } else if (isFolder) {
        auto& record = RecordIn<HfsFolderRecord>(data);
        ChangeFinderFlags(record, change);
        ChangeHfsDates(record, change, clock);
    } else {
        auto& record = RecordIn<HfsFileRecord>(data);
        ChangeFinderFlags(record, change);
        ChangeHfsDates(record, change, clock);
        ChangeFile(record, change);
    }
}

bool Overflows(const HfsExtentRecord& extents, std::uint32_t physicalSize,
               std::uint32_t blockSize) {
    std::uint64_t blocks = 0;
    for (const HfsExtent& extent : extents)
        blocks += extent.blockCount;
    return blocks * blockSize != physicalSize;
}

bool Overflows(const ForkRecord& fork, std::uint32_t blockSize) {
    std::uint64_t blocks = 0;
    for (const HfsPlusExtent& extent : fork.extents)
        blocks += extent.blockCount;
    return fork.logicalSize > blocks * blockSize;
}

SwapResult SwapHfs(HfsFileRecord& record, std::uint32_t blockSize) {
    if (Overflows(record.resourceExtents, record.resourcePhysicalSize, blockSize))
        return SwapResult::ResourceForkOverflows;
    if (Overflows(record.dataExtents, record.dataPhysicalSize, blockSize))
        return SwapResult::DataForkOverflows;
    std::swap(record.dataExtents, record.resourceExtents);
    std::swap(record.dataStartBlock, record.resourceStartBlock);
    std::swap(record.dataLogicalSize, record.resourceLogicalSize);
    std::swap(record.dataPhysicalSize, record.resourcePhysicalSize);
    return SwapResult::Done;
}

SwapResult SwapHfsPlus(HfsPlusFileRecord& record, std::uint32_t blockSize) {
    if (Overflows(record.resourceFork, blockSize))
        return SwapResult::ResourceForkOverflows;
    if (Overflows(record.dataFork, blockSize))
        return SwapResult::DataForkOverflows;
    std::swap(record.dataFork, record.resourceFork);
    return SwapResult::Done;
}

}  // namespace

EditResult ChangeAttributes(WritableVolume& volume, std::uint32_t parentId, const CatalogName& name,
                            const AttributeChange& change, const Clock& clock) {
    bool found = false;
    if (const TreeResult result = StandOnItem(volume, ItemKey(volume, parentId, name), found);
        result != TreeResult::Done || !found)
        return result != TreeResult::Done ? ToEditResult(result) : EditResult::Missing;
    if (const EditResult refusal = RefuseChange(volume); refusal != EditResult::Done)
        return refusal;
    ChangeRecord(volume, CurrentData(volume), change, clock);
    return ToEditResult(StoreCurrentNode(volume));
}

SwapResult SwapForks(WritableVolume& volume, const CatalogName& name, std::uint32_t parentId) {
    bool found = false;
    if (StandOnItem(volume, ItemKey(volume, parentId, name), found) != TreeResult::Done)
        return SwapResult::Failed;
    const ByteSpan data = found ? CurrentData(volume) : ByteSpan{};
    if (RecordTypeOf(volume, data) != CatalogRecordType::File)
        return SwapResult::NotFound;
    if (RefuseChange(volume) != EditResult::Done)
        return SwapResult::Protected;
    const SwapResult result =
        volume->isHfsPlus ? SwapHfsPlus(RecordIn<HfsPlusFileRecord>(data), volume->blockSize)
                          : SwapHfs(RecordIn<HfsFileRecord>(data), volume->blockSize);
    if (result != SwapResult::Done)
        return result;
    return StoreCurrentNode(volume) == TreeResult::Done ? result : SwapResult::Failed;
}

}  // namespace vellmark
