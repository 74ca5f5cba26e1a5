#include "volume/mount.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "support/encoding.hpp"
#include "support/texts.hpp"
#include "volume/allocation.hpp"
#include "volume/catalog.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoVolume = 1332;
constexpr int kTextOpenError = 1385;
constexpr int kTextEmptyFile = 1409;

constexpr std::uint64_t kHeaderSector = 2;
constexpr std::uint32_t kMaxHfsPlusBlock = 1u << 26;

bool ReadHeaderSector(VolumeContext& volume, std::uint64_t sector, ByteSpan bytes) {
    return volume.transferSlot2({kCommandRead, 1, sector, bytes}) == 0;
}

bool SetHfs(VolumeContext& volume) {
    const MasterDirectoryBlock& mdb = volume.mdb;
    if (mdb.blockSize == 0 || mdb.blockSize % kSectorBytes != 0 || mdb.totalBlocks == 0 ||
        mdb.allocationStartSector <= mdb.bitmapStartSector)
        return false;
    volume.isHfsPlus = false;
    volume.partitionStart = volume.volumeOffset;
    volume.volumeOffset += mdb.allocationStartSector;
    volume.blockSize = mdb.blockSize;
    volume.sectorsPerBlock = volume.blockSize / kSectorBytes;
    volume.bitmapSectors = mdb.allocationStartSector - mdb.bitmapStartSector;
    volume.bitmapBytes = volume.bitmapSectors * kSectorBytes;
    if (volume.totalSectors == 0)
        volume.totalSectors =
            volume.volumeOffset + std::uint64_t{mdb.totalBlocks} * volume.sectorsPerBlock + 2;
    return true;
}

bool SetHfsPlus(VolumeContext& volume) {
    const VolumeHeader& header = volume.vhb;
    if (!std::has_single_bit<std::uint32_t>(header.blockSize) || header.blockSize < kSectorBytes ||
        header.blockSize > kMaxHfsPlusBlock || header.totalBlocks == 0)
        return false;
    volume.isHfsPlus = true;
    volume.partitionStart = volume.volumeOffset;
    volume.blockSize = header.blockSize;
    volume.sectorsPerBlock = volume.blockSize / kSectorBytes;
    volume.bitmapBytes = (header.totalBlocks + 7u) / 8;
    volume.bitmapSectors = (volume.bitmapBytes + kSectorBytes - 1) / kSectorBytes;
    volume.totalSectors = std::uint64_t{header.totalBlocks} * volume.sectorsPerBlock;
    return true;
}

bool IsHfsPlusSignature(std::uint16_t signature) {
    return signature == kHfsPlusSignature || signature == kHfsxSignature;
}

// The volume inside a wrapper. Its place counts in blocks of the clump size field where a volume
// stands there, else in blocks of the allocation block size.
bool EnterWrapper(VolumeContext& volume) {
    const MasterDirectoryBlock mdb = volume.mdb;
    const std::uint64_t wrapper = volume.volumeOffset;
    for (const std::uint32_t unit : {std::uint32_t{mdb.clumpSize}, std::uint32_t{mdb.blockSize}}) {
        volume.volumeOffset = wrapper + mdb.allocationStartSector +
                              std::uint64_t{mdb.embeddedExtent.startBlock} * unit / kSectorBytes;
        const ByteSpan bytes{reinterpret_cast<std::uint8_t*>(&volume.vhb), sizeof volume.vhb};
        if (ReadHeaderSector(volume, volume.volumeOffset + kHeaderSector, bytes) &&
            IsHfsPlusSignature(volume.vhb.signature)) {
            volume.partitionSectors =
                std::uint64_t{mdb.embeddedExtent.blockCount} * unit / kSectorBytes;
            return SetHfsPlus(volume);
        }
    }
    return false;
}

ForkInfo SystemFork(std::uint32_t sizeBytes, const HfsExtentRecord& extents,
                    std::uint32_t blockSize) {
    return {sizeBytes, (sizeBytes + blockSize - 1) / blockSize, RunsOf(extents)};
}

ForkInfo SystemFork(const ForkRecord& fork) {
    return {fork.logicalSize, fork.totalBlocks, RunsOf(fork.extents)};
}

const TreeFormat& CatalogFormat(const VolumeContext& volume, const TreeHeaderRecord& header) {
    constexpr std::uint8_t kBinaryCompare = 0xBC;
    if (!volume.isHfsPlus)
        return kHfsCatalogFormat;
    const bool binary =
        volume.vhb.signature == kHfsxSignature && header.keyCompareType == kBinaryCompare;
    return binary ? kHfsxBinaryCatalogFormat : kHfsPlusCatalogFormat;
}

// Node 0 begins with the header record whatever the node size, which it tells itself.
bool ReadTreeHeader(VolumeContext& volume, const std::vector<BlockRun>& runs,
                    TreeHeaderRecord& header) {
    std::array<std::uint8_t, kSectorBytes> sector;
    if (!TransferFork(volume, runs, kCommandRead, 0, sector))
        return false;
    std::memcpy(&header, sector.data() + kNodeDescriptorSize, sizeof header);
    return true;
}

bool OpenVolumeTree(VolumeContext& volume, bool isCatalog, const ForkInfo& fork) {
    std::vector<BlockRun> runs = fork.runs;
    // The extents file itself has no more extents than its header tells.
    if (isCatalog &&
        FollowExtents(volume, kCatalogFileId, kDataFork, fork, runs) != TreeResult::Done)
        return false;
    TreeHeaderRecord header{};
    if (runs.empty() || !ReadTreeHeader(volume, runs, header))
        return false;
    const std::uint32_t nodeSize = volume.isHfsPlus ? std::uint32_t{header.nodeSize} : kSectorBytes;
    const TreeFormat& extentsFormat = volume.isHfsPlus ? kHfsPlusExtentsFormat : kHfsExtentsFormat;
    const TreeFormat& format = isCatalog ? CatalogFormat(volume, header) : extentsFormat;
    if (nodeSize < kSectorBytes)
        return false;
    std::unique_ptr<VolumeNodes>& nodes = isCatalog ? volume.catalogNodes : volume.extentsNodes;
    nodes = std::make_unique<VolumeNodes>(volume, std::move(runs), nodeSize, isCatalog);
    return OpenTree(isCatalog ? volume.catalog : volume.extents, format, *nodes, nodeSize);
}

// Mounts at a place of the medium.
bool TryMount(VolumeContext& volume, std::uint64_t startSector, std::uint64_t sectorCount,
              std::uint64_t totalSectors) {
    // A map may tell more sectors than the image has: nothing is ever written behind its end.
    const std::uint64_t imageSectors = volume.image->size() / kSectorBytes;
    const std::uint64_t behindStart = imageSectors - std::min(imageSectors, startSector);
    volume.volumeOffset = startSector;
    volume.partitionSectors = sectorCount != 0 ? std::min(sectorCount, behindStart) : behindStart;
    // What an earlier volume had loaded must never be written into this one.
    ReleaseAllocationState(volume);
    volume.totalSectors = totalSectors;
    volume.isMounted = ReadVolumeHeader(volume) && OpenTrees(volume);
    return volume.isMounted;
}

}  // namespace

bool ReadVolumeHeader(VolumeContext& volume) {
    std::array<std::uint8_t, kSectorBytes> sector{};
    if (!ReadHeaderSector(volume, volume.volumeOffset + kHeaderSector, sector))
        return false;
    be16 signature;
    std::memcpy(&signature, sector.data(), sizeof signature);
    if (IsHfsPlusSignature(signature)) {
        std::memcpy(&volume.vhb, sector.data(), sizeof volume.vhb);
        return SetHfsPlus(volume);
    }
    if (signature != kHfsSignature)
        return false;
    std::memcpy(&volume.mdb, sector.data(), sizeof volume.mdb);
    if (volume.mdb.embeddedSignature == kHfsPlusSignature ||
        volume.mdb.embeddedSignature == kHfsxSignature)
        return EnterWrapper(volume);
    return volume.mdb.embeddedSignature == 0 && volume.mdb.catalogFileExtents[0].blockCount != 0 &&
           SetHfs(volume);
}

bool OpenTrees(VolumeContext& volume) {
    const ForkInfo extents = volume.isHfsPlus
                                 ? SystemFork(volume.vhb.extentsFile)
                                 : SystemFork(volume.mdb.extentsFileSize,
                                              volume.mdb.extentsFileExtents, volume.blockSize);
    const ForkInfo catalog = volume.isHfsPlus
                                 ? SystemFork(volume.vhb.catalogFile)
                                 : SystemFork(volume.mdb.catalogFileSize,
                                              volume.mdb.catalogFileExtents, volume.blockSize);
    return OpenVolumeTree(volume, false, extents) && OpenVolumeTree(volume, true, catalog);
}

bool MountRequest(VolumeContext& volume) {
    std::vector<PartitionEntry> partitions;
    const int count = ScanMedium(volume, partitions);
    const std::uint64_t firstOffset = volume.volumeOffset;
    const std::uint64_t totalSectors = volume.totalSectors;
    for (const PartitionEntry& partition : partitions)
        if (TryMount(volume, partition.startSector, partition.sectorCount, totalSectors))
            return true;
    if (count >= 0 && TryMount(volume, firstOffset, 0, totalSectors))
        return true;
    // A GUID table whose entries have other types: its first partition may hold a volume all the
    // same.
    const auto first = FirstGptSector(*volume.image);
    if (first && TryMount(volume, *first, 0, totalSectors))
        return true;
    // Some makers of hybrid discs put an empty boot record in front of a volume that begins at the
    // start of the disc. Such a bare volume is for reading only.
    volume.readOnlyReasons.add(ReadOnlyReason::BareVolume);
    return TryMount(volume, 0, 0, totalSectors);
}

bool OpenVolume(VolumeContext& volume, const std::string& path, Messages& messages) {
    const ImageOpening opening = OpenImage(volume, path);
    if (opening.result == OpenResult::Failed) {
        messages.showMessage(FormatText(kTextOpenError, Printable(path)) + " " +
                             SystemErrorText(opening.systemError) + ".");
        return false;
    }
    if (volume.image->size() == 0)
        messages.showTimedMessage(Text(kTextEmptyFile));
    else if (MountRequest(volume))
        return true;
    else
        messages.showMessage(fmt::format("{}: {}", Printable(path), Text(kTextNoVolume)));
    CloseImage(volume);
    return false;
}

std::string VolumeName(VolumeContext& volume) {
    if (!volume.isHfsPlus) {
        const auto& name = volume.mdb.volumeName;
        const std::size_t length = std::min<std::size_t>(name[0], kHfsVolumeNameLimit);
        return ShownHfsName({reinterpret_cast<const char*>(name.data()) + 1, length});
    }
    // The key of the catalog's first record holds the name.
    bool found = false;
    const TreeKey key = HfsPlusCatalogKey(kRootParentId, {});
    if (FindKey(volume.catalog, key, found) != TreeResult::Done ||
        SettleOnRecord(volume.catalog, found) != TreeResult::Done || !found)
        return {};
    return ShownHfsPlusName(HfsPlusKeyName(volume.catalog.view().key(volume.catalog.index)));
}

}  // namespace vellmark
