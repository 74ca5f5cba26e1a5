#include "volume/allocation.hpp"

#include <algorithm>

#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kMountedBy = 0x51524D66;  // "QRMf"
constexpr std::uint64_t kHeaderSector = 2;

std::uint64_t WholeSectors(std::uint64_t bytes) {
    return (bytes + kSectorBytes - 1) / kSectorBytes * kSectorBytes;
}

bool Transfer(VolumeContext& volume, std::int32_t command, std::uint64_t sector, ByteSpan bytes) {
    return volume.transferSlot2({command, static_cast<std::uint32_t>(bytes.size() / kSectorBytes),
                                 sector, bytes}) == 0;
}

template <typename Header>
bool WriteHeaders(VolumeContext& volume, Header& header, std::uint64_t alternate) {
    const ByteSpan bytes{reinterpret_cast<std::uint8_t*>(&header), sizeof header};
    return Transfer(volume, kCommandWrite, volume.partitionStart + kHeaderSector, bytes) &&
           Transfer(volume, kCommandWrite, alternate, bytes);
}

bool FlushHfs(VolumeContext& volume, const Clock& clock) {
    MasterDirectoryBlock& mdb = volume.mdb;
    mdb.writeCount = mdb.writeCount + 1;
    mdb.modificationDate = MacDateNow(clock, false);
    // The second header stands in the partition's last but one sector, behind the last block.
    const std::uint64_t behind =
        volume.volumeOffset + std::uint64_t{mdb.totalBlocks} * volume.sectorsPerBlock;
    const std::uint64_t alternate =
        std::max(behind, volume.partitionStart + volume.partitionSectors - 2);
    return Transfer(volume, kCommandWrite, volume.partitionStart + mdb.bitmapStartSector,
                    volume.allocation.bitmap) &&
           WriteHeaders(volume, mdb, alternate);
}

bool FlushHfsPlus(VolumeContext& volume, const Clock& clock) {
    VolumeHeader& header = volume.vhb;
    header.writeCount = header.writeCount + 1;
    header.modificationDate = MacDateNow(clock, true);
    header.lastMountedVersion = kMountedBy;
    const std::uint64_t alternate =
        volume.partitionStart + std::uint64_t{header.totalBlocks} * volume.sectorsPerBlock - 2;
    return TransferFork(volume, volume.allocation.file, kCommandWrite, 0,
                        volume.allocation.bitmap) &&
           WriteHeaders(volume, header, alternate);
}

}  // namespace

TreeResult LoadAllocationState(VolumeContext& volume) {
    if (volume.readOnly)
        return TreeResult::Failed;
    AllocationState& state = volume.allocation;
    const std::uint64_t bytes = WholeSectors(volume.bitmapBytes);
    if (volume.isHfsPlus) {
        const ForkRecord& file = volume.vhb.allocationFile;
        if (std::uint64_t{file.totalBlocks} * volume.blockSize < bytes)
            return TreeResult::Damaged;
        const ForkInfo fork{file.logicalSize, file.totalBlocks, RunsOf(file.extents)};
        if (const TreeResult result = FollowExtents(volume, kAllocationFileId, 0, fork, state.file);
            result != TreeResult::Done)
            return result;
    }
    state.bitmap.assign(bytes, 0);
    const bool read =
        volume.isHfsPlus
            ? TransferFork(volume, state.file, kCommandRead, 0, state.bitmap)
            : Transfer(volume, kCommandRead, volume.partitionStart + volume.mdb.bitmapStartSector,
                       state.bitmap);
    const TreeResult nodes = read ? LoadNodeBitmap(volume.catalog) : TreeResult::Failed;
    if (nodes != TreeResult::Done)
        ReleaseAllocationState(volume);
    return nodes;
}

TreeResult FlushVolume(VolumeContext& volume, const Clock& clock) {
    if (volume.allocation.bitmap.empty())
        return TreeResult::Done;
    if (const TreeResult result = FlushTree(volume.catalog); result != TreeResult::Done)
        return result;
    const bool written = volume.isHfsPlus ? FlushHfsPlus(volume, clock) : FlushHfs(volume, clock);
    if (!written)
        return TreeResult::Failed;
    ReleaseAllocationState(volume);
    return TreeResult::Done;
}

void ReleaseAllocationState(VolumeContext& volume) {
    volume.allocation = AllocationState{};
}

}  // namespace vellmark
