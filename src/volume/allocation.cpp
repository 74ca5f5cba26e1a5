#include "volume/allocation.hpp"

#include <algorithm>
#include <cstring>

#include "volume/bad_blocks.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/fork_reader.hpp"
#include "volume/pc_side.hpp"
#include "volume/recovery.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kMountedBy = 0x51524D66;  // "QRMf"
constexpr std::uint64_t kHeaderSector = 2;

std::uint64_t WholeSectors(std::uint64_t bytes) {
    return (bytes + kSectorBytes - 1) / kSectorBytes * kSectorBytes;
}

bool Transfer(VolumeContext& volume, std::int32_t command, std::uint64_t sector, ByteSpan bytes) {
    return volume.transferSlot({command, static_cast<std::uint32_t>(bytes.size() / kSectorBytes),
                                sector, bytes}) == 0;
}

template <typename Header>
bool WriteHeaders(VolumeContext& volume, Header& header, std::uint64_t alternate) {
    const ByteSpan bytes{reinterpret_cast<std::uint8_t*>(&header), sizeof header};
    return Transfer(volume, kCommandWrite, volume.partitionStart + kHeaderSector, bytes) &&
           Transfer(volume, kCommandWrite, alternate, bytes);
}

// First sector behind the last allocation block.
std::uint64_t BlocksEnd(const VolumeContext& volume) {
    return volume.volumeOffset + std::uint64_t{volume.totalBlocks()} * volume.sectorsPerBlock;
}

// Whether all that a flush writes lies within the image, which may be cut short or tell nonsense.
bool FitsImage(const VolumeContext& volume) {
    const std::uint64_t sectors = volume.image->size() / kSectorBytes;
    return BlocksEnd(volume) <= sectors && AlternateSector(volume) < sectors;
}

struct BitmapPart {
    std::uint64_t sector = 0;  ///< from the start of the bitmap
    ByteSpan bytes;
};

// What the medium does not have yet: large volumes have maps of megabytes.
BitmapPart ChangedSectors(AllocationState& state) {
    const std::size_t from = state.changedFrom / kSectorBytes * kSectorBytes;
    const std::size_t end =
        std::min<std::size_t>(WholeSectors(state.changedEnd), state.bitmap.size());
    return {from / kSectorBytes, ByteSpan(state.bitmap).subspan(from, end - from)};
}

bool FlushHfs(VolumeContext& volume, const Clock& clock) {
    MasterDirectoryBlock& mdb = volume.mdb;
    mdb.writeCount = mdb.writeCount + 1;
    mdb.modificationDate = MacDateNow(clock, false);
    const std::uint64_t first = volume.partitionStart + mdb.bitmapStartSector;
    const auto [sector, bytes] = ChangedSectors(volume.allocation);
    return Transfer(volume, kCommandWrite, first + sector, bytes) &&
           WriteHeaders(volume, mdb, AlternateSector(volume));
}

bool FlushHfsPlus(VolumeContext& volume, const Clock& clock) {
    VolumeHeader& header = volume.vhb;
    header.writeCount = header.writeCount + 1;
    header.modificationDate = MacDateNow(clock, true);
    header.lastMountedVersion = kMountedBy;
    const auto [sector, bytes] = ChangedSectors(volume.allocation);
    return TransferFork(volume, volume.allocation.file, kCommandWrite, sector * kSectorBytes,
                        bytes) &&
           WriteHeaders(volume, header, AlternateSector(volume));
}

// The header as it stands, which says that the volume is in use.
bool ReadMark(VolumeContext& volume, RedoMark& mark) {
    const std::uint64_t sector = volume.partitionStart + kHeaderSector;
    mark.offset = sector * kSectorBytes;
    if (!Transfer(volume, kCommandRead, sector, mark.bytes))
        return false;
    const auto clear = [&mark](auto header, auto attributes) {
        static_assert(sizeof header == kRedoSectorBytes);
        std::memcpy(&header, mark.bytes.data(), sizeof header);
        attributes = header.attributes;
        header.attributes = static_cast<decltype(attributes)>(attributes & ~kVolumeUnmounted);
        std::memcpy(mark.bytes.data(), &header, sizeof header);
    };
    if (volume.isHfsPlus)
        clear(VolumeHeader{}, std::uint32_t{});
    else
        clear(MasterDirectoryBlock{}, std::uint16_t{});
    return true;
}

bool CommitBatch(VolumeContext& volume) {
    SectorBatch& batch = volume.allocation.unfinished;
    RedoMark mark;
    return batch.isEmpty() ||
           (ReadMark(volume, mark) && batch.commit(volume, mark) == CommitResult::Done);
}

}  // namespace

std::uint64_t AlternateSector(const VolumeContext& volume) {
    const std::uint64_t blocksEnd = BlocksEnd(volume);
    const std::uint64_t partitionEnd = volume.partitionStart + volume.partitionSectors;
    if (!volume.isHfsPlus)
        return std::max(blocksEnd + 2, partitionEnd) - 2;
    const bool isRemainder =
        partitionEnd > blocksEnd && partitionEnd - blocksEnd < volume.sectorsPerBlock;
    return (isRemainder ? partitionEnd : blocksEnd) - 2;
}

TreeResult LoadAllocationState(VolumeContext& volume) {
    FindPcSide(volume);
    if (volume.readOnlyReasons.any())
        return TreeResult::Failed;
    if (!FitsImage(volume))
        return TreeResult::Damaged;
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
    TreeResult nodes = read ? LoadNodeBitmap(volume.catalog) : TreeResult::Failed;
    if (nodes == TreeResult::Done)
        nodes = LoadNodeBitmap(volume.extents);
    if (nodes == TreeResult::Done && state.bitmap.size() * 8 < volume.totalBlocks())
        nodes = TreeResult::Damaged;
    if (nodes != TreeResult::Done) {
        ReleaseAllocationState(volume);
        return nodes;
    }
    if (!volume.isHfsPlus && (volume.mdb.attributes & kVolumeUnmounted) == 0)
        if (const TreeResult result = CatchUpWithCatalog(volume); result != TreeResult::Done) {
            ReleaseAllocationState(volume);
            return result;
        }
    // What an earlier program took for free is the PC side's all the same.
    for (const BlockRun& run : *volume.pcSide)
        if (!IsWhollyUsed(state.bitmap, run))
            MarkRun(state, run, true);
    // A count that the bitmap does not bear out would let a file be refused that fits, or begun
    // that does not.
    const std::uint32_t free = TotalFreeBlocks(state.bitmap, volume.totalBlocks());
    if (volume.isHfsPlus)
        volume.vhb.freeBlocks = free;
    else
        volume.mdb.freeBlocks = static_cast<std::uint16_t>(free);
    return nodes;
}

TreeResult CheckpointVolume(VolumeContext& volume, const Clock& clock) {
    if (volume.allocation.bitmap.empty())
        return TreeResult::Done;
    if (!CommitBatch(volume))
        return TreeResult::Failed;
    if (const TreeResult result = GivePcSideAnOwner(volume); result != TreeResult::Done)
        return result;
    for (TreeCursor* tree : {&volume.catalog, &volume.extents})
        if (const TreeResult result = FlushTree(*tree); result != TreeResult::Done)
            return result;
    FreeWhatWasFreed(volume.allocation);
    {
        const SectorBatch::Recording recording(volume, volume.allocation.unfinished);
        if (!volume.catalogNodes->flush() || !volume.extentsNodes->flush() ||
            !(volume.isHfsPlus ? FlushHfsPlus(volume, clock) : FlushHfs(volume, clock)))
            return TreeResult::Failed;
    }
    volume.allocation.changedFrom = volume.allocation.changedEnd = 0;
    return CommitBatch(volume) ? TreeResult::Done : TreeResult::Failed;
}

TreeResult FlushVolume(VolumeContext& volume, const Clock& clock) {
    const TreeResult result = CheckpointVolume(volume, clock);
    if (result == TreeResult::Done)
        ReleaseAllocationState(volume);
    return result;
}

void ReleaseAllocationState(VolumeContext& volume) {
    volume.allocation = AllocationState{};
}

}  // namespace vellmark
