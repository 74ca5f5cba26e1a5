#include "volume/volume_headers.hpp"

#include <algorithm>

#include "volume/catalog_keys.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kHfsPlusClump = 65536;
constexpr std::uint32_t kMountedBy = 0x51524D66;  // "QRMf"
constexpr std::uint8_t kCompareFoldingCase = 0xCF;
constexpr std::uint32_t kBigKeys = 2;
constexpr std::uint32_t kVariableIndexKeys = 4;

void SetExtent(HfsExtentRecord& extents, const SystemFile& file) {
    extents[0].startBlock = static_cast<std::uint16_t>(file.startBlock);
    extents[0].blockCount = static_cast<std::uint16_t>(file.blockCount);
}

ForkRecord SystemFork(const SystemFile& file, std::uint32_t blockSize) {
    ForkRecord fork{};
    fork.logicalSize = std::uint64_t{file.blockCount} * blockSize;
    fork.clumpSize = file.blockCount * blockSize;
    fork.totalBlocks = file.blockCount;
    fork.extents[0].startBlock = file.startBlock;
    fork.extents[0].blockCount = file.blockCount;
    return fork;
}

std::uint32_t AttributesOf(const VolumeParams& params) {
    return kVolumeUnmounted | (params.hasBadBlocks ? kVolumeSparedBlocks : 0);
}

template <typename Record>
bool AddBadBlocks(TreeCursor& tree, TreeKey (*keyOf)(std::uint32_t, std::uint8_t, std::uint32_t),
                  const std::vector<BlockRun>& runs) {
    std::uint32_t blocks = 0;
    for (std::size_t next = 0; next < runs.size();) {
        const std::uint32_t startBlock = blocks;
        Record record{};
        for (; next < runs.size() && AddRun(record, runs[next]); ++next)
            blocks += runs[next].blockCount;
        if (InsertTreeRecord(tree, keyOf(kBadBlockFileId, kDataFork, startBlock),
                             AsBytes(record)) != TreeResult::Done)
            return false;
    }
    return true;
}

}  // namespace

MasterDirectoryBlock BuildMasterDirectoryBlock(const VolumeParams& params) {
    MasterDirectoryBlock mdb{};
    mdb.signature = kHfsSignature;
    mdb.creationDate = params.now;
    mdb.modificationDate = params.now;
    // Without it a system that mounts the volume takes it for one that was not put away properly.
    mdb.attributes = static_cast<std::uint16_t>(AttributesOf(params));
    mdb.rootFileCount = static_cast<std::uint16_t>(params.rootFileCount);
    mdb.bitmapStartSector = params.bitmapStart;
    mdb.nextAllocation = static_cast<std::uint16_t>(params.nextAllocation);
    mdb.totalBlocks = static_cast<std::uint16_t>(params.totalBlocks);
    mdb.blockSize = params.blockSize;
    mdb.clumpSize = params.clumpSize;
    mdb.allocationStartSector = params.allocationStart;
    mdb.nextCatalogId = params.nextCatalogId;
    mdb.freeBlocks = static_cast<std::uint16_t>(params.freeBlocks);
    const std::size_t length = std::min(params.label.size(), kHfsVolumeNameLimit);
    mdb.volumeName[0] = static_cast<std::uint8_t>(length);
    std::copy_n(params.label.begin(), length, mdb.volumeName.begin() + 1);
    mdb.backupDate = params.now + 2;
    mdb.rootFolderCount = static_cast<std::uint16_t>(params.rootFolderCount);
    mdb.fileCount = params.fileCount;
    mdb.folderCount = params.folderCount;
    mdb.finderInfo[2] = params.openRoot ? kRootFolderId : 0;
    mdb.finderInfo[6] = params.volumeId;
    mdb.finderInfo[7] = Swap32(params.volumeId);
    mdb.extentsFileSize = params.extentsFile.blockCount * params.blockSize;
    mdb.extentsClumpSize = mdb.extentsFileSize;
    SetExtent(mdb.extentsFileExtents, params.extentsFile);
    mdb.catalogFileSize = params.catalogFile.blockCount * params.blockSize;
    mdb.catalogClumpSize = mdb.catalogFileSize;
    SetExtent(mdb.catalogFileExtents, params.catalogFile);
    return mdb;
}

VolumeHeader BuildVolumeHeader(const VolumeParams& params) {
    VolumeHeader header{};
    header.signature = kHfsPlusSignature;
    header.version = kHfsPlusVersion;
    header.attributes = AttributesOf(params);
    header.lastMountedVersion = kMountedBy;
    header.creationDate = params.now;
    header.modificationDate = params.now;
    header.checkedDate = params.now;
    header.fileCount = params.fileCount;
    header.folderCount = params.folderCount;
    header.blockSize = params.blockSize;
    header.totalBlocks = params.totalBlocks;
    header.freeBlocks = params.freeBlocks;
    header.nextAllocation = params.nextAllocation;
    header.resourceClumpSize = kHfsPlusClump;
    header.dataClumpSize = kHfsPlusClump;
    header.nextCatalogId = params.nextCatalogId;
    header.writeCount = 1;
    header.encodingsBitmap = 1;
    header.finderInfo[2] = params.openRoot ? kRootFolderId : 0;
    header.finderInfo[6] = params.volumeId;
    header.finderInfo[7] = Swap32(params.volumeId);
    header.allocationFile = SystemFork(params.allocationFile, params.blockSize);
    header.extentsFile = SystemFork(params.extentsFile, params.blockSize);
    header.catalogFile = SystemFork(params.catalogFile, params.blockSize);
    return header;
}

bool WriteExtentsTree(ByteSink& image, std::uint64_t offset, bool isHfsPlus,
                      std::uint32_t fileBytes, const std::vector<BlockRun>& badBlocks) {
    NewTree shape;
    shape.nodeSize = NewNodeSize(isHfsPlus);
    shape.totalNodes = fileBytes / shape.nodeSize;
    shape.clumpSize = isHfsPlus ? shape.totalNodes : 0;
    shape.attributes = isHfsPlus ? kBigKeys : 0;
    MemoryNodes nodes(shape.nodeSize);
    TreeCursor tree;
    return CreateTree(tree, isHfsPlus ? kHfsPlusExtentsFormat : kHfsExtentsFormat, nodes, shape) &&
           (isHfsPlus ? AddBadBlocks<HfsPlusExtentRecord>(tree, HfsPlusExtentsKey, badBlocks)
                      : AddBadBlocks<HfsExtentRecord>(tree, HfsExtentsKey, badBlocks)) &&
           FlushTree(tree) == TreeResult::Done && nodes.writeTo(image, offset);
}

std::uint32_t ExtentsTreeNodes(std::uint64_t runs, bool isHfsPlus) {
    if (runs == 0)
        return 0;
    const std::size_t record = isHfsPlus ? sizeof(HfsPlusExtentRecord) : sizeof(HfsExtentRecord);
    const std::size_t key = (isHfsPlus ? HfsPlusExtentsKey : HfsExtentsKey)(0, 0, 0).size();
    const std::uint64_t records =
        runs / (record / (isHfsPlus ? sizeof(HfsPlusExtent) : sizeof(HfsExtent))) + 1;
    // A node that was split can be half empty.
    const std::uint64_t perLeaf =
        (NewNodeSize(isHfsPlus) - kNodeDescriptorSize) / (key + record + sizeof(be16)) / 2;
    const std::uint64_t leaves = records / perLeaf + 1;
    return static_cast<std::uint32_t>(leaves + leaves / 8 + 4);
}

std::vector<std::uint8_t> UsedBlocks(std::uint32_t blocks, std::uint32_t sectors) {
    std::vector<std::uint8_t> bitmap(std::size_t{sectors} * 512);
    std::fill_n(bitmap.begin(), blocks / 8, std::uint8_t{0xFF});
    if (blocks % 8 != 0)
        bitmap[blocks / 8] = static_cast<std::uint8_t>(0xFF00u >> (blocks % 8));
    return bitmap;
}

void MarkUsed(std::span<std::uint8_t> bitmap, std::uint32_t block) {
    bitmap[block / 8] = static_cast<std::uint8_t>(bitmap[block / 8] | (0x80u >> (block % 8)));
}

bool BuildCatalogTree(TreeCursor& tree, NodeStore& store, bool isHfsPlus,
                      std::uint32_t totalNodes) {
    NewTree shape;
    shape.nodeSize = NewNodeSize(isHfsPlus);
    shape.totalNodes = totalNodes;
    shape.clumpSize = isHfsPlus ? totalNodes : 0;
    shape.keyCompareType = isHfsPlus ? kCompareFoldingCase : 0;
    shape.attributes = isHfsPlus ? kBigKeys | kVariableIndexKeys : 0;
    shape.rootLeaf = true;
    return CreateTree(tree, isHfsPlus ? kHfsPlusCatalogFormat : kHfsCatalogFormat, store, shape);
}

DriverDescriptor BuildDriverDescriptor(std::uint32_t blockCount) {
    DriverDescriptor descriptor{};
    descriptor.signature = kDriverDescriptorSignature;
    descriptor.blockSize = 512;
    descriptor.blockCount = blockCount;
    return descriptor;
}

PartitionMapEntry BuildMapEntry(std::uint32_t startBlock, std::uint32_t blockCount,
                                std::string_view name, std::string_view type,
                                std::uint32_t status) {
    PartitionMapEntry entry{};
    entry.signature = kPartitionMapSignature;
    entry.mapEntries = 2;
    entry.startBlock = startBlock;
    entry.blockCount = blockCount;
    std::copy_n(name.begin(), std::min(name.size(), entry.name.size() - 1), entry.name.begin());
    std::copy_n(type.begin(), std::min(type.size(), entry.type.size() - 1), entry.type.begin());
    entry.dataCount = blockCount;
    entry.status = status;
    return entry;
}

}  // namespace vellmark
