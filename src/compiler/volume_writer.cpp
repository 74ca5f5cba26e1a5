#include "compiler/volume_writer.hpp"

#include <algorithm>

#include "compiler/iso_descriptors.hpp"
#include "compiler/pc_blocks.hpp"
#include "containers/names.hpp"
#include "containers/pc_name.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kHeaderSector = 2;
constexpr std::uint32_t kHfsBitmapSector = 3;

VolumeParams ParamsOf(const CompileContext& context, const HfsLayout& layout,
                      const BuiltCatalog& catalog, bool hasBadBlocks) {
    const ProjectHeader& header = context.project.header();
    VolumeParams params;
    params.label = HfsLabel(header);
    params.now = MacDateNow(context.clock, layout.isHfsPlus);
    params.blockSize = layout.blockSize();
    params.totalBlocks = layout.totalBlocks;
    params.freeBlocks = layout.totalBlocks - layout.usedBlocks;
    params.nextAllocation = 1;
    params.clumpSize = layout.blockSize();
    params.nextCatalogId = catalog.nextCatalogId;
    params.bitmapStart = kHfsBitmapSector;
    params.allocationStart = static_cast<std::uint16_t>(layout.allocationStart);
    params.allocationFile = layout.allocationFile;
    params.extentsFile = layout.extentsFile;
    params.catalogFile = layout.catalogFile;
    params.fileCount = catalog.fileCount;
    params.folderCount = catalog.folderCount;
    params.rootFileCount = catalog.rootFileCount;
    params.rootFolderCount = catalog.rootFolderCount;
    // Any value will do, as long as two builds of the same project agree.
    params.volumeId = params.now * 2654435761u + NameCrc16(params.label);
    params.hasBadBlocks = hasBadBlocks;
    params.openRoot = header.openRoot();
    return params;
}

// The second header of HFS+ stands in the last block, which is in use.
std::vector<std::uint8_t> BitmapOf(const HfsLayout& layout) {
    if (!layout.isHfsPlus)
        return UsedBlocks(layout.usedBlocks, layout.bitmapSectors);
    std::vector<std::uint8_t> bitmap = UsedBlocks(layout.usedBlocks - 1, layout.bitmapSectors);
    MarkUsed(bitmap, layout.totalBlocks - 1);
    return bitmap;
}

}  // namespace

bool WritePartitionMap(const CompileContext& context, const HfsLayout& layout, PcFile& image) {
    const ProjectHeader& header = context.project.header();
    const auto start = static_cast<std::uint32_t>(layout.partitionStart.number());
    const auto count = static_cast<std::uint32_t>(layout.partitionSectors);
    const std::string label =
        header.isHfsPlus() ? PcToMacName(NarrowToWide(header.hfsLabel())).bytes : HfsLabel(header);
    return image.writeRecord(0, BuildDriverDescriptor(start + count)) &&
           image.writeRecord(kSectorBytes,
                             BuildMapEntry(1, 2, ProductName(), kMapPartitionType, kMapStatus)) &&
           image.writeRecord(2 * kSectorBytes,
                             BuildMapEntry(start, count, label, kHfsPartitionType, kMapStatus));
}

bool WriteVolume(const CompileContext& context, const DiscPlan& plan, const HfsLayout& layout,
                 const MemoryNodes& catalogNodes, const BuiltCatalog& catalog, PcFile& image) {
    const std::vector<BlockRun> pcBlocks =
        PcBlocks(plan, layout.blockSize(), BlockNumber{layout.systemBlocks});
    const VolumeParams params = ParamsOf(context, layout, catalog, !pcBlocks.empty());
    const auto byteOf = [&](const SystemFile& file) {
        return layout.sectorOf(BlockNumber{file.startBlock}).byte();
    };
    const std::uint64_t header = (layout.partitionStart + kHeaderSector).byte();
    const std::uint64_t alternate = layout.alternateHeader().byte();
    const std::uint64_t bitmap = layout.isHfsPlus
                                     ? byteOf(layout.allocationFile)
                                     : (layout.partitionStart + kHfsBitmapSector).byte();
    const bool headers = layout.isHfsPlus
                             ? image.writeRecord(header, BuildVolumeHeader(params)) &&
                                   image.writeRecord(alternate, BuildVolumeHeader(params))
                             : image.writeRecord(header, BuildMasterDirectoryBlock(params)) &&
                                   image.writeRecord(alternate, BuildMasterDirectoryBlock(params));
    return headers && image.writeAt(bitmap, BitmapOf(layout)) &&
           WriteExtentsTree(image, byteOf(layout.extentsFile), layout.isHfsPlus,
                            layout.extentsFile.blockCount * layout.blockSize(), pcBlocks) &&
           catalogNodes.writeTo(image, byteOf(layout.catalogFile));
}

}  // namespace vellmark
