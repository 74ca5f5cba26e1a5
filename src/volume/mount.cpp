#include "volume/mount.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <cerrno>
#include <cstring>
#include <utility>

#include "IO/disk_image.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"
#include "volume/catalog.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/fork_reader.hpp"
#include "volume/partition_choice.hpp"
#include "volume/pc_side.hpp"
#include "volume/read_only.hpp"
#include "volume/recovery.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoVolume = 1332;
constexpr int kTextEmptyFile = 1409;

constexpr std::uint64_t kHeaderSector = 2;
constexpr std::uint32_t kMaxHfsPlusBlock = 1u << 26;

bool ReadHeaderSector(VolumeContext& volume, Sector512 sector, ByteSpan bytes) {
    return volume.transferSlot({kCommandRead, 1, sector, bytes}) == 0;
}

bool SetHfs(VolumeContext& volume) {
    const MasterDirectoryBlock& mdb = volume.mdb;
    if (mdb.blockSize == 0 || mdb.blockSize % kSectorBytes != 0 || mdb.totalBlocks == 0 ||
        mdb.allocationStartSector <= mdb.bitmapStartSector)
        return false;
    volume.isHfsPlus = false;
    volume.blocksStart = volume.partitionStart + mdb.allocationStartSector;
    volume.blockSize = mdb.blockSize;
    volume.sectorsPerBlock = volume.blockSize / kSectorBytes;
    volume.bitmapSectors = mdb.allocationStartSector - mdb.bitmapStartSector;
    volume.bitmapBytes = volume.bitmapSectors * kSectorBytes;
    if (volume.totalSectors == 0)
        volume.totalSectors = volume.blocksStart.number() +
                              std::uint64_t{mdb.totalBlocks} * volume.sectorsPerBlock + 2;
    return true;
}

bool SetHfsPlus(VolumeContext& volume) {
    const VolumeHeader& header = volume.vhb;
    if (!std::has_single_bit<std::uint32_t>(header.blockSize) || header.blockSize < kSectorBytes ||
        header.blockSize > kMaxHfsPlusBlock || header.totalBlocks == 0)
        return false;
    volume.isHfsPlus = true;
    volume.blocksStart = volume.partitionStart;
    volume.blockSize = header.blockSize;
    volume.sectorsPerBlock = volume.blockSize / kSectorBytes;
    volume.bitmapBytes = (header.totalBlocks + 7u) / 8;
    volume.bitmapSectors = (volume.bitmapBytes + kSectorBytes - 1) / kSectorBytes;
    volume.totalSectors = std::uint64_t{header.totalBlocks} * volume.sectorsPerBlock;
    return true;
}

// The sectors that a wrapper keeps for the volume inside, counted in allocation blocks of the
// wrapper. A wrapper that stores fewer than the volume has is not believed, and none reaches behind
// its own partition.
bool SetWrappedSize(VolumeContext& volume, Sector512 wrapper) {
    const MasterDirectoryBlock& mdb = volume.mdb;
    const std::uint64_t stored =
        std::uint64_t{mdb.embeddedExtent.blockCount} * mdb.blockSize / kSectorBytes;
    const std::uint64_t before = std::min(volume.partitionStart - wrapper, volume.partitionSectors);
    volume.partitionSectors =
        std::min(std::max(stored, volume.totalSectors), volume.partitionSectors - before);
    return true;
}

// The volume inside a wrapper. Its place counts in blocks of the clump size field where a volume
// stands there, else in blocks of the allocation block size.
bool EnterWrapper(VolumeContext& volume) {
    const MasterDirectoryBlock mdb = volume.mdb;
    const Sector512 wrapper = volume.partitionStart;
    for (const std::uint32_t unit : {std::uint32_t{mdb.clumpSize}, std::uint32_t{mdb.blockSize}}) {
        volume.partitionStart = wrapper + mdb.allocationStartSector +
                                std::uint64_t{mdb.embeddedExtent.startBlock} * unit / kSectorBytes;
        const ByteSpan bytes{reinterpret_cast<std::uint8_t*>(&volume.vhb), sizeof volume.vhb};
        if (ReadHeaderSector(volume, volume.partitionStart + kHeaderSector, bytes) &&
            IsHfsPlusSignature(volume.vhb.signature)) {
            return SetHfsPlus(volume) && SetWrappedSize(volume, wrapper);
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

// Node 0 begins with the header record whatever the node size, which it stores itself.
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
    // The extents file itself has no more extents than its header stores.
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

// What was known of the volume that was mounted before.
void ForgetVolume(VolumeContext& volume) {
    volume.isMounted = false;
    volume.partitionName.clear();
    volume.pcSide.reset();
    for (const ReadOnlyReason reason :
         {ReadOnlyReason::OverflowRead, ReadOnlyReason::Journal, ReadOnlyReason::NotUnmounted,
          ReadOnlyReason::BinaryNames, ReadOnlyReason::Locked, ReadOnlyReason::UnknownTree,
          ReadOnlyReason::PcSideUnknown, ReadOnlyReason::PcSideShared})
        volume.readOnlyReasons.remove(reason);
}

// Whether an image ends before the last block of the volume whose header was read, or before the
// second header, which HFS has behind that block.
bool IsCutShort(const VolumeContext& volume, Sector512 imageEnd) {
    const std::uint64_t behindBlocks = volume.isHfsPlus ? 0 : 1;
    return volume.blocksStart + std::uint64_t{volume.totalBlocks()} * volume.sectorsPerBlock +
               behindBlocks >
           imageEnd;
}

// An HFS volume of which no size is stored, in an image that may hold more: it ends with the
// image only when its second header stands there.
void FindEndOfHfs(VolumeContext& volume) {
    std::array<std::uint8_t, kSectorBytes> sector{};
    const Sector512 blocksEnd =
        volume.blocksStart + std::uint64_t{volume.mdb.totalBlocks} * volume.sectorsPerBlock;
    const std::uint64_t least = blocksEnd + kHeaderSector - volume.partitionStart;
    if (volume.partitionSectors <= least)
        return;
    const Sector512 last = volume.partitionStart + volume.partitionSectors - kHeaderSector;
    const bool read = ReadHeaderSector(volume, last, sector);
    be16 signature;
    std::memcpy(&signature, sector.data(), sizeof signature);
    if (!read || signature != kHfsSignature)
        volume.partitionSectors = least;
}

// A part of the medium.
struct Stretch {
    Sector512 start;
    Sector512 end = {};  // 0 where it is not known
};

bool TryMount(VolumeContext& volume, const Stretch& part, std::uint64_t totalSectors) {
    ForgetVolume(volume);
    // A map may store more sectors than the image has: nothing is ever written behind its end.
    const Sector512 imageEnd(volume.image->size() / kSectorBytes);
    const bool hasEnd = part.end.number() != 0;
    const Sector512 end = hasEnd ? std::min(part.end, imageEnd) : imageEnd;
    volume.partitionStart = part.start;
    volume.partitionSectors = end - std::min(end, part.start);
    volume.totalSectors = totalSectors;
    const bool hasHeader = ReadVolumeHeader(volume);
    // Where a map lists a volume, its header may be among what is missing.
    const bool isCut =
        hasHeader ? IsCutShort(volume, imageEnd) : hasEnd && part.start + kHeaderSector >= imageEnd;
    volume.isMounted = hasHeader && OpenTrees(volume);
    if (isCut)
        volume.readOnlyReasons.add(ReadOnlyReason::CutImage);
    else if (volume.isMounted)
        volume.readOnlyReasons.remove(ReadOnlyReason::CutImage);
    if (!volume.isMounted)
        return false;
    if (!hasEnd && !volume.isHfsPlus)
        FindEndOfHfs(volume);
    JudgeVolume(volume);
    // What was tried in vain before is no loss of this volume's data.
    volume.transferFailed = false;
    return true;
}

bool TryMount(VolumeContext& volume, const PartitionEntry& partition, std::uint64_t totalSectors) {
    if (!TryMount(volume, Stretch{partition.startSector, partition.endSector}, totalSectors))
        return false;
    volume.partitionName = PartitionName(partition);
    return true;
}

// Why no volume of the open image can be mounted; none when one was.
Reason MountProblem(VolumeContext& volume, const OpenRequest& request, Messages& messages) {
    if (volume.image->size() == 0)
        return ToldText{kTextEmptyFile};
    if (Reason refusal = ImageRefusal(*volume.image))
        return refusal;
    if (request.partition) {
        std::vector<PartitionEntry> partitions;
        (void)ScanMedium(volume, partitions, &messages);
        return ChoosePartition(volume, partitions, *request.partition);
    }
    if (MountRequest(volume, &messages))
        return {};
    if (volume.readOnlyReasons.has(ReadOnlyReason::CutImage))
        return Sentence::kImageEndsBeforeVolume;
    return ToldText{kTextNoVolume};
}

// False after a message.
bool OpenFile(VolumeContext& volume, const std::string& path, Access access, Messages& messages) {
    const auto refuse = [&](Sentence sentence) {
        messages.showError(Reason(sentence, Printable(path)));
        return false;
    };
    if (PcFactsOf(path).kind == PcKind::Special)
        return refuse(Sentence::kSpecialNoImage);
    const ImageOpening opening =
        access == Access::Read ? OpenImageForReading(volume, path) : OpenImage(volume, path);
    if (opening.systemError == EISDIR)
        return refuse(Sentence::kFolderNoImage);
    if (opening.systemError == EWOULDBLOCK)
        return refuse(access == Access::Read ? Sentence::kImageBeingChanged
                                             : Sentence::kImageBeingUsed);
    if (opening.result == OpenResult::Failed) {
        FileOpenError(messages, path, SystemError{opening.systemError});
        return false;
    }
    return true;
}

}  // namespace

bool ReadVolumeHeader(VolumeContext& volume) {
    std::array<std::uint8_t, kSectorBytes> sector{};
    if (!ReadHeaderSector(volume, volume.partitionStart + kHeaderSector, sector))
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
    if (IsHfsPlusSignature(volume.mdb.embeddedSignature))
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

bool MountRequest(VolumeContext& volume, Messages* messages) {
    std::vector<PartitionEntry> partitions;
    const int count = ScanMedium(volume, partitions, messages);
    const Sector512 first = volume.partitionStart;
    const std::uint64_t totalSectors = volume.totalSectors;
    // Behind a protective boot record it is the first partition that counts, whatever its type.
    const auto ofTable = FirstGptPartition(*volume.image);
    if (ofTable && TryMount(volume, *ofTable, totalSectors))
        return true;
    for (const PartitionEntry& partition : partitions)
        if (TryMount(volume, partition, totalSectors))
            return true;
    if (count >= 0 && TryMount(volume, Stretch{first}, totalSectors))
        return true;
    // Some makers of hybrid discs put an empty boot record in front of a volume that begins at the
    // start of the disc. Such a bare volume is for reading only.
    volume.readOnlyReasons.add(ReadOnlyReason::BareVolume);
    return TryMount(volume, Stretch{Sector512(0)}, totalSectors);
}

Reason ChoosePartition(VolumeContext& volume, const std::vector<PartitionEntry>& partitions,
                       unsigned number) {
    if (Reason problem = ChoiceProblem(partitions, number))
        return problem;
    if (TryMount(volume, partitions[number - 1], volume.totalSectors))
        return {};
    const bool isCut = volume.readOnlyReasons.has(ReadOnlyReason::CutImage);
    return Reason::Joined({Reason(Sentence::kChosenWithoutVolume, number),
                           isCut ? Sentence::kImageEndsBeforeVolume : Sentence::kNone},
                          " ");
}

bool OpenImageFile(VolumeContext& volume, const std::string& path, Access access,
                   Messages& messages) {
    ForgetVolume(volume);
    if (OpenFile(volume, path, access, messages)) {
        // One that may only be read cannot be changed by this process anyway.
        const Access granted =
            volume.readOnlyReasons.has(ReadOnlyReason::File) ? Access::Read : access;
        if (CompleteInterruptedChange(*volume.image, path, volume.guard, granted, messages))
            return true;
    }
    CloseImage(volume);
    return false;
}

bool OpenVolume(VolumeContext& volume, const OpenRequest& request, Messages& messages) {
    if (!OpenImageFile(volume, request.path, request.access, messages))
        return false;
    Reason problem = MountProblem(volume, request, messages);
    if (!problem) {
        if (request.writable)
            volume.readOnlyReasons.remove(ReadOnlyReason::BareVolume);
        if (request.writable || request.unlocks)
            volume.readOnlyReasons.remove(ReadOnlyReason::Locked);
        if (request.access == Access::Change)
            FindPcSide(volume);
        return true;
    }
    messages.showError(Reason(Sentence::kNamed,
                              Printable(request.name.empty() ? request.path : request.name),
                              std::move(problem)));
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
