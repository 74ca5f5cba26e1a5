#include "volume/writable_volume.hpp"

#include <algorithm>
#include <cstring>

#include "volume/bad_blocks.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_keys.hpp"
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

bool Transfer(VolumeContext& volume, std::int32_t command, Sector512 sector, ByteSpan bytes) {
    return volume.transferSlot({command, static_cast<std::uint32_t>(bytes.size() / kSectorBytes),
                                sector, bytes}) == 0;
}

template <typename Header>
bool WriteHeaders(VolumeContext& volume, Header& header, Sector512 alternate) {
    const ByteSpan bytes{reinterpret_cast<std::uint8_t*>(&header), sizeof header};
    return Transfer(volume, kCommandWrite, volume.partitionStart + kHeaderSector, bytes) &&
           Transfer(volume, kCommandWrite, alternate, bytes);
}

// First sector behind the last allocation block.
Sector512 BlocksEnd(const VolumeContext& volume) {
    return volume.blocksStart + std::uint64_t{volume.totalBlocks()} * volume.sectorsPerBlock;
}

// Whether all that a flush writes lies within the image, which may be cut short, or its sizes
// nonsense.
bool FitsImage(const VolumeContext& volume) {
    const Sector512 end(volume.image->size() / kSectorBytes);
    return BlocksEnd(volume) <= end && AlternateSector(volume) < end;
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

// The header as it stands, which says that the volume is in use.
bool ReadMark(VolumeContext& volume, RedoMark& mark) {
    const Sector512 sector = volume.partitionStart + kHeaderSector;
    mark.offset = sector.byte();
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

}  // namespace

Sector512 AlternateSector(const VolumeContext& volume) {
    const Sector512 blocksEnd = BlocksEnd(volume);
    const Sector512 partitionEnd = volume.partitionStart + volume.partitionSectors;
    if (!volume.isHfsPlus)
        return std::max(blocksEnd + 2, partitionEnd) - 2;
    const bool isRemainder =
        partitionEnd > blocksEnd && partitionEnd - blocksEnd < volume.sectorsPerBlock;
    return (isRemainder ? partitionEnd : blocksEnd) - 2;
}

tl::expected<WritableVolume, TreeResult> WritableVolume::Load(VolumeContext& volume) {
    WritableVolume writable(volume);
    if (const TreeResult result = writable.load(); result != TreeResult::Done)
        return tl::unexpected(result);
    return writable;
}

TreeResult WritableVolume::load() {
    VolumeContext& volume = *volume_;
    FindPcSide(volume);
    if (volume.readOnlyReasons.any())
        return TreeResult::Failed;
    if (!FitsImage(volume))
        return TreeResult::Damaged;
    TreeResult result = readBitmap();
    if (result == TreeResult::Done)
        result = LoadNodeBitmap(volume.catalog);
    if (result == TreeResult::Done)
        result = LoadNodeBitmap(volume.extents);
    if (result == TreeResult::Done && allocation_.bitmap.size() * 8 < volume.totalBlocks())
        result = TreeResult::Damaged;
    if (result == TreeResult::Done && !volume.isHfsPlus &&
        (volume.mdb.attributes & kVolumeUnmounted) == 0)
        result = CatchUpWithCatalog(*this);
    if (result != TreeResult::Done)
        return result;
    // What an earlier program took for free is the PC side's all the same.
    for (const BlockRun& run : *volume.pcSide)
        if (!IsWhollyUsed(allocation_.bitmap, run))
            MarkRun(allocation_, run, true);
    // A count that the bitmap does not bear out would let a file be refused that fits, or begun
    // that does not.
    const std::uint32_t free = TotalFreeBlocks(allocation_.bitmap, volume.totalBlocks());
    if (volume.isHfsPlus)
        volume.vhb.freeBlocks = free;
    else
        volume.mdb.freeBlocks = static_cast<std::uint16_t>(free);
    return TreeResult::Done;
}

TreeResult WritableVolume::readBitmap() {
    VolumeContext& volume = *volume_;
    const std::uint64_t bytes = WholeSectors(volume.bitmapBytes);
    if (volume.isHfsPlus) {
        const ForkRecord& file = volume.vhb.allocationFile;
        if (std::uint64_t{file.totalBlocks} * volume.blockSize < bytes)
            return TreeResult::Damaged;
        const ForkInfo fork{file.logicalSize, file.totalBlocks, RunsOf(file.extents)};
        if (const TreeResult result =
                FollowExtents(volume, kAllocationFileId, kDataFork, fork, allocation_.file);
            result != TreeResult::Done)
            return result;
    }
    allocation_.bitmap.assign(bytes, 0);
    const bool read =
        volume.isHfsPlus
            ? TransferFork(volume, allocation_.file, kCommandRead, 0, allocation_.bitmap)
            : Transfer(volume, kCommandRead, volume.partitionStart + volume.mdb.bitmapStartSector,
                       allocation_.bitmap);
    return read ? TreeResult::Done : TreeResult::Failed;
}

bool WritableVolume::writeHeaders(const Clock& clock) {
    VolumeContext& volume = *volume_;
    const auto [sector, bytes] = ChangedSectors(allocation_);
    if (!volume.isHfsPlus) {
        MasterDirectoryBlock& mdb = volume.mdb;
        mdb.writeCount = mdb.writeCount + 1;
        mdb.modificationDate = MacDateNow(clock, false);
        const Sector512 first = volume.partitionStart + mdb.bitmapStartSector;
        return Transfer(volume, kCommandWrite, first + sector, bytes) &&
               WriteHeaders(volume, mdb, AlternateSector(volume));
    }
    VolumeHeader& header = volume.vhb;
    header.writeCount = header.writeCount + 1;
    header.modificationDate = MacDateNow(clock, true);
    header.lastMountedVersion = kMountedBy;
    return TransferFork(volume, allocation_.file, kCommandWrite, sector * kSectorBytes, bytes) &&
           WriteHeaders(volume, header, AlternateSector(volume));
}

bool WritableVolume::commit() {
    RedoMark mark;
    return unfinished_.isEmpty() ||
           (ReadMark(*volume_, mark) && unfinished_.commit(*volume_, mark) == CommitResult::Done);
}

TreeResult WritableVolume::flush(const Clock& clock) {
    VolumeContext& volume = *volume_;
    if (!commit())
        return TreeResult::Failed;
    if (const TreeResult result = GivePcSideAnOwner(*this); result != TreeResult::Done)
        return result;
    for (TreeCursor* tree : {&volume.catalog, &volume.extents})
        if (const TreeResult result = FlushTree(*tree); result != TreeResult::Done)
            return result;
    FreeWhatWasFreed(allocation_);
    {
        const SectorBatch::Recording recording(volume, unfinished_);
        if (!volume.catalogNodes->flush() || !volume.extentsNodes->flush() || !writeHeaders(clock))
            return TreeResult::Failed;
    }
    allocation_.changedFrom = allocation_.changedEnd = 0;
    return commit() ? TreeResult::Done : TreeResult::Failed;
}

}  // namespace vellmark
