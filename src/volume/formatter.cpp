#include "volume/formatter.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "support/encoding.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/catalog_name.hpp"
#include "volume/volume_headers.hpp"

namespace vellmark {

namespace {

constexpr int kTextFirstZeros = 1075;
constexpr int kTextAllZeros = 1076;
constexpr int kTextStructures = 1093;

constexpr std::uint32_t kSectorSize = 512;
constexpr std::uint32_t kSectorsPerMb = 2048;
/// Blocks of each of the two system files, counted in blocks of the usual size.
constexpr std::uint32_t kSystemFileBlocks = 256;

constexpr std::uint32_t kHfsStart = 96;
constexpr std::uint32_t kHfsBitmapSectors = 16;
constexpr std::uint32_t kHfsAllocationStart = 19;
constexpr std::uint32_t kHfsFirstId = 17;
constexpr std::uint32_t kUsualClumpBlocks = 4;
constexpr std::uint32_t kLargestClump = 1u << 20;
constexpr std::uint64_t kIsoMarkOffset = 32769;

constexpr std::uint32_t kHfsPlusStart = 64;
constexpr std::uint32_t kHfsPlusSectorsPerBlock = 4;
constexpr std::uint32_t kHfsPlusExtentsBlocks = 32;
constexpr std::uint32_t kHfsPlusFirstId = 23;
constexpr std::uint32_t kHfsPlusMapStatus = 3;
constexpr std::uint32_t kHfsPlusPartitionStatus = 0x40000033;

constexpr std::string_view kMapName = "Vellmark " VELLMARK_VERSION;
constexpr std::size_t kZeroPiece = 1u << 20;

struct Geometry {
    std::uint32_t startSector = 0;
    std::uint32_t sectorsPerBlock = 0;
    std::uint32_t totalBlocks = 0;
    std::uint32_t bitmapBlocks = 0;  // HFS+
    std::uint32_t systemBlocks = 0;  // of the extents file of HFS, and of its catalog
    std::uint64_t volumeSectors = 0;

    [[nodiscard]] std::uint64_t byteOf(std::uint64_t sector) const {
        return (startSector + sector) * kSectorSize;
    }
};

// HFS: as many blocks as 13 bits can almost count, or smaller ones, behind boot blocks, header and
// bitmap; the second header stands behind the last block, in the partition's last but one sector.
// Smaller blocks leave the system files the room that they have with the usual ones.
Geometry HfsGeometry(const FormatInput& input) {
    Geometry geometry;
    const std::uint32_t sectors = input.sizeMegabytes * kSectorsPerMb;
    const std::uint32_t usual = UsualHfsBlock(input.sizeMegabytes) / kSectorSize;
    geometry.startSector = kHfsStart;
    geometry.sectorsPerBlock = input.blockSize == 0 ? usual : input.blockSize / kSectorSize;
    geometry.totalBlocks = sectors / geometry.sectorsPerBlock;
    geometry.systemBlocks =
        (kSystemFileBlocks * usual + geometry.sectorsPerBlock - 1) / geometry.sectorsPerBlock;
    geometry.volumeSectors =
        kHfsAllocationStart + std::uint64_t{geometry.totalBlocks} * geometry.sectorsPerBlock + 2;
    return geometry;
}

Geometry HfsPlusGeometry(std::uint32_t megabytes) {
    Geometry geometry;
    geometry.startSector = kHfsPlusStart;
    geometry.sectorsPerBlock = kHfsPlusSectorsPerBlock;
    geometry.volumeSectors = std::uint64_t{megabytes} * kSectorsPerMb;
    geometry.totalBlocks =
        static_cast<std::uint32_t>(geometry.volumeSectors / kHfsPlusSectorsPerBlock);
    geometry.bitmapBlocks = ((geometry.totalBlocks + 2047) / 2048 + 3) / 4;
    return geometry;
}

Geometry GeometryOf(const FormatInput& input) {
    return input.isHfsPlus ? HfsPlusGeometry(input.sizeMegabytes) : HfsGeometry(input);
}

CatalogName LabelOf(const FormatInput& input) {
    return LabelFromShown(input.isHfsPlus, input.label).value_or(CatalogName{});
}

VolumeParams CommonParams(const FormatInput& input, const Geometry& geometry, MacSeconds now) {
    VolumeParams params;
    params.now = now;
    params.blockSize = geometry.sectorsPerBlock * kSectorSize;
    params.totalBlocks = geometry.totalBlocks;
    params.volumeId = now * 2654435761u + NameCrc16(input.label);
    return params;
}

bool WriteMap(PcFile& image, const Geometry& geometry, const PartitionMapEntry& map,
              std::string_view name, std::uint32_t status) {
    const auto volume = static_cast<std::uint32_t>(geometry.volumeSectors);
    return image.writeRecord(0, BuildDriverDescriptor(geometry.startSector + volume)) &&
           image.writeRecord(kSectorSize, map) &&
           image.writeRecord(2 * kSectorSize, BuildMapEntry(geometry.startSector, volume, name,
                                                            kHfsPartitionType, status));
}

template <typename Name>
bool WriteCatalog(PcFile& image, std::uint64_t offset, bool isHfsPlus, std::uint32_t fileBytes,
                  const Name& label, MacSeconds now, MacSeconds backedUp) {
    MemoryNodes nodes(NewNodeSize(isHfsPlus));
    TreeCursor tree;
    FolderFacts root;
    root.id = kRootFolderId;
    root.created = root.modified = now;
    root.backedUp = backedUp;
    root.finderFlags = FolderFlags(false, false);
    return BuildCatalogTree(tree, nodes, isHfsPlus, fileBytes / NewNodeSize(isHfsPlus)) &&
           InsertFolder(tree, kRootParentId, label, root) == TreeResult::Done &&
           FlushTree(tree) == TreeResult::Done && nodes.writeTo(image, offset);
}

bool FormatHfs(const FormatInput& input, const Geometry& geometry, PcFile& image, MacSeconds now) {
    VolumeParams params = CommonParams(input, geometry, now);
    const std::uint32_t used = 2 * geometry.systemBlocks;
    params.label = LabelOf(input).hfs;
    params.freeBlocks = params.totalBlocks - used;
    params.nextAllocation = used;
    // A clump of more than a megabyte is taken for damage.
    params.clumpSize = params.blockSize > kLargestClump / kUsualClumpBlocks
                           ? params.blockSize
                           : kUsualClumpBlocks * params.blockSize;
    params.nextCatalogId = kHfsFirstId;
    params.allocationStart = kHfsAllocationStart;
    params.extentsFile = {0, geometry.systemBlocks};
    params.catalogFile = {geometry.systemBlocks, geometry.systemBlocks};
    const std::uint32_t fileBytes = geometry.systemBlocks * params.blockSize;
    const std::uint64_t catalog =
        kHfsAllocationStart + std::uint64_t{geometry.systemBlocks} * geometry.sectorsPerBlock;
    const MasterDirectoryBlock mdb = BuildMasterDirectoryBlock(params);
    constexpr std::array<std::uint8_t, 5> kIsoMark = {'C', 'D', '0', '0', '1'};
    return WriteMap(image, geometry, BuildMapEntry(1, 2, kMapName, kMapPartitionType, kMapStatus),
                    "MacOS", kMapStatus) &&
           image.writeRecord(geometry.byteOf(2), mdb) &&
           image.writeRecord(geometry.byteOf(geometry.volumeSectors - 2), mdb) &&
           image.writeAt(geometry.byteOf(params.bitmapStart),
                         UsedBlocks(used, kHfsBitmapSectors)) &&
           WriteExtentsTree(image, geometry.byteOf(kHfsAllocationStart), false, fileBytes) &&
           WriteCatalog(image, geometry.byteOf(catalog), false, fileBytes, params.label, now,
                        now + 2) &&
           // The mark of a first ISO 9660 descriptor, by which hybrid tools know the image.
           image.writeAt(kIsoMarkOffset, kIsoMark);
}

bool FormatHfsPlus(const FormatInput& input, const Geometry& geometry, PcFile& image,
                   MacSeconds now) {
    VolumeParams params = CommonParams(input, geometry, now);
    params.allocationFile = {1, geometry.bitmapBlocks};
    params.extentsFile = {1 + geometry.bitmapBlocks, kHfsPlusExtentsBlocks};
    params.catalogFile = {params.extentsFile.startBlock + kHfsPlusExtentsBlocks, kSystemFileBlocks};
    const std::uint32_t used = params.catalogFile.startBlock + kSystemFileBlocks;
    params.freeBlocks = params.totalBlocks - used - 1;
    params.nextAllocation = used;
    params.nextCatalogId = kHfsPlusFirstId;
    // The last block holds the second header.
    std::vector<std::uint8_t> bitmap =
        UsedBlocks(used, geometry.bitmapBlocks * kHfsPlusSectorsPerBlock);
    MarkUsed(bitmap, params.totalBlocks - 1);
    const auto at = [&](const SystemFile& file) {
        return geometry.byteOf(std::uint64_t{file.startBlock} * kHfsPlusSectorsPerBlock);
    };
    const VolumeHeader header = BuildVolumeHeader(params);
    return WriteMap(
               image, geometry,
               BuildMapEntry(1, kHfsPlusStart - 1, kMapName, kMapPartitionType, kHfsPlusMapStatus),
               PcToMacName(Utf8ToWide(input.label)).bytes, kHfsPlusPartitionStatus) &&
           image.writeRecord(geometry.byteOf(2), header) &&
           image.writeRecord(geometry.byteOf(geometry.volumeSectors - 2), header) &&
           image.writeAt(at(params.allocationFile), bitmap) &&
           WriteExtentsTree(image, at(params.extentsFile), true,
                            kHfsPlusExtentsBlocks * params.blockSize) &&
           WriteCatalog(image, at(params.catalogFile), true, kSystemFileBlocks * params.blockSize,
                        LabelOf(input).hfsPlus, now, now);
}

// Real zeros instead of a hole.
FormatResult ZeroImage(PcFile& image, std::uint64_t bytes, Progress& progress) {
    const std::vector<std::uint8_t> zeros(kZeroPiece);
    progress.begin(bytes);
    for (std::uint64_t done = 0; done < bytes; done += kZeroPiece) {
        const auto piece =
            static_cast<std::size_t>(std::min<std::uint64_t>(kZeroPiece, bytes - done));
        if (!image.writeAt(done, {zeros.data(), piece}))
            return FormatResult::WriteFailed;
        if (!progress.chunk(piece))
            return FormatResult::Stopped;
    }
    return FormatResult::Done;
}

}  // namespace

std::uint32_t UsualHfsBlock(std::uint32_t sizeMegabytes) {
    const std::uint32_t sectors = sizeMegabytes * kSectorsPerMb;
    return std::max<std::uint32_t>(sectors >> 13, 1) * kSectorSize;
}

std::uint32_t SmallestHfsBlock(std::uint32_t sizeMegabytes) {
    const std::uint32_t sectors = sizeMegabytes * kSectorsPerMb;
    return (sectors + kHfsLimit - 1) / kHfsLimit * kSectorSize;
}

bool FitsAsBlock(std::uint64_t bytes, std::uint32_t sizeMegabytes) {
    return bytes % kSectorSize == 0 && bytes >= SmallestHfsBlock(sizeMegabytes) &&
           bytes <= UsualHfsBlock(sizeMegabytes);
}

std::uint64_t FormattedBytes(const FormatInput& input) {
    const Geometry geometry = GeometryOf(input);
    return geometry.byteOf(geometry.volumeSectors);
}

FormatResult FormatVolume(const FormatInput& input, PcFile& image, const Clock& clock,
                          Progress& progress) {
    const Geometry geometry = GeometryOf(input);
    const std::uint64_t bytes = FormattedBytes(input);
    progress.text(Text(input.zeroAll ? kTextAllZeros : kTextFirstZeros, input.language));
    if (input.zeroAll) {
        if (const FormatResult result = ZeroImage(image, bytes, progress);
            result != FormatResult::Done)
            return result;
    } else if (!image.setSize(bytes)) {
        return FormatResult::WriteFailed;
    }
    progress.text(Text(kTextStructures, input.language));
    const MacSeconds now = MacDateNow(clock, input.isHfsPlus);
    const bool written = input.isHfsPlus ? FormatHfsPlus(input, geometry, image, now)
                                         : FormatHfs(input, geometry, image, now);
    return written ? FormatResult::Done : FormatResult::WriteFailed;
}

}  // namespace vellmark
