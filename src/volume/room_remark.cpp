#include "volume/room_remark.hpp"

#include "support/sentences.hpp"
#include "volume/catalog_access.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

// Bytes that no fork has of its last block.
TreeResult UnusedBytes(VolumeContext& volume, std::uint64_t& bytes) {
    return ForEachLeaf(volume.catalog, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i) {
            const ByteSpan data = leaf.data(i);
            if (RecordTypeOf(volume, data) != CatalogRecordType::File)
                continue;
            const auto& file = RecordIn<HfsFileRecord>(data);
            for (const std::uint32_t fork :
                 {std::uint32_t{file.dataLogicalSize}, std::uint32_t{file.resourceLogicalSize}})
                bytes += (volume.blockSize - fork % volume.blockSize) % volume.blockSize;
        }
        return TreeResult::Done;
    });
}

}  // namespace

Reason RoomRemark(VolumeContext& volume, std::uint64_t wantedBytes) {
    const std::uint64_t size = std::uint64_t{volume.totalBlocks()} * volume.blockSize;
    const bool canBeSmaller = !volume.isHfsPlus && volume.blockSize > kSectorBytes &&
                              size / (volume.blockSize - kSectorBytes) <= kHfsLimit;
    if (volume.pcSide && !volume.pcSide->empty())
        return Sentence::kPcSideKeepsBlocks;
    std::uint64_t unused = 0;
    if (!canBeSmaller || UnusedBytes(volume, unused) != TreeResult::Done ||
        unused + std::uint64_t{volume.freeBlocks()} * volume.blockSize < wantedBytes)
        return {};
    return Reason(Sentence::kBlocksUsedUp, volume.totalBlocks(), volume.blockSize, unused);
}

}  // namespace vellmark
