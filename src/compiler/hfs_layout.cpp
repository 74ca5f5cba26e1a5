#include "compiler/hfs_layout.hpp"

#include <algorithm>

#include "compiler/pc_blocks.hpp"
#include "volume/catalog_records.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kBootAndHeaderSectors = 3;
constexpr std::uint32_t kBitsPerSector = 4096;
constexpr std::uint32_t kHfsPlusBlockSectors = 4;
constexpr std::uint32_t kHfsPlusBitsPerBlock = 16384;
constexpr std::uint32_t kHfsPlusExtentsSectors = 64;
constexpr std::uint32_t kManyNodes = 15000;
constexpr std::uint32_t kNodeSectors = 8;
/// Other programs refuse an HFS partition below 800 KiB.
constexpr std::uint64_t kSmallestHfsSectors = 1600;
constexpr std::uint32_t kLargestBlockSize = 65535;
constexpr std::uint64_t kMostBlocksOfFork = 32767;
/// Of an HFS volume: checkers take a file that ends with the last allocation block for damage.
constexpr std::uint32_t kBlocksBehindFiles = 1;
/// The second header and the sector behind it, and two that are not the partition's.
constexpr std::uint32_t kSectorsBehindBlocks = 4;

// Keys, as far as packing sees them.
constexpr std::size_t kHfsKeyHead = 7;
constexpr std::size_t kHfsPlusKeyHead = 8;
constexpr std::size_t kHfsThreadPacked = 54;
constexpr std::size_t kHfsPlusThreadHead = 10;

std::uint64_t RoundUp(std::uint64_t value, std::uint64_t step) {
    return (value + step - 1) / step * step;
}

// Packs records into nodes one after the other.
class NodePacker {
  public:
    explicit NodePacker(std::size_t nodeSize) : nodeSize_(nodeSize) {}
    void add(std::size_t bytes) {
        if (nodeSize_ >= 2 * records_ + fill_ + bytes) {
            ++records_;
            fill_ += bytes;
            return;
        }
        fill_ = bytes + kNodeDescriptorSize;
        records_ = 2;
        ++nodes_;
    }
    [[nodiscard]] std::uint32_t nodes() const { return nodes_; }

  private:
    std::size_t nodeSize_;
    std::size_t fill_ = 0;
    std::size_t records_ = 0;
    std::uint32_t nodes_ = 0;
};

void PackHfs(NodePacker& packer, const DiscItem& item) {
    const std::size_t data = item.isFolder() ? sizeof(HfsFolderRecord) : sizeof(HfsFileRecord);
    packer.add(data + RoundUp(item.hfsName.size() + kHfsKeyHead, 2));
    if (item.isFolder())
        packer.add(kHfsThreadPacked);
}

void PackHfsPlus(NodePacker& packer, const DiscItem& item) {
    const std::size_t name = 2 * item.hfsPlusName.size();
    packer.add((item.isFolder() ? sizeof(HfsPlusFolderRecord) : sizeof(HfsPlusFileRecord)) + name +
               kHfsPlusKeyHead);
    packer.add(name + kHfsPlusThreadHead);
}

}  // namespace

std::uint32_t CountCatalogLeaves(const DiscPlan& plan, bool isHfsPlus) {
    NodePacker packer(NewNodeSize(isHfsPlus));
    for (const DiscFolder& folder : plan.folders)
        for (const DiscItem& item : folder.items)
            if (item.inHfs)
                isHfsPlus ? PackHfsPlus(packer, item) : PackHfs(packer, item);
    return std::max<std::uint32_t>(packer.nodes(), 1);
}

HfsLayout ComputeHfsLayout(Sector512 partitionStart, const HfsContents& contents,
                           std::uint32_t blockSize) {
    HfsLayout layout;
    const std::uint32_t b = blockSize / 512;
    layout.sectorsPerBlock = b;
    layout.partitionStart = partitionStart;
    const std::uint32_t told = std::max<std::uint32_t>(2 * b, 8);
    const auto extents = std::max(
        told, static_cast<std::uint32_t>(RoundUp(ExtentsTreeNodes(contents.pcRuns, false), b)));
    const std::uint32_t leaves = contents.catalogLeaves;
    const auto catalog = static_cast<std::uint32_t>(
        std::max<std::uint64_t>(RoundUp(2 * (leaves + 2) + leaves / 2, b), told));
    layout.extentsFile = {0, extents / b};
    layout.catalogFile = {extents / b, catalog / b};
    layout.systemBlocks = (extents + catalog) / b;
    const std::uint64_t freeBlocks = BlocksFor(contents.freeBytes, blockSize) + kBlocksBehindFiles;
    const std::uint64_t blocks = layout.systemBlocks + contents.fileBlocks + freeBlocks;
    // One bit for each sector of 2048 bytes: enough for every size of block.
    const std::uint64_t bits = RoundUp(blocks * b, kSectorsPerDiscSector) / kSectorsPerDiscSector;
    const std::uint64_t bitmap = (bits + kBitsPerSector - 1) / kBitsPerSector;
    // Behind the bitmap the allocation blocks begin, at a multiple of their size.
    layout.allocationStart =
        static_cast<std::uint32_t>((bitmap + kBootAndHeaderSectors) / b * b + b);
    layout.bitmapSectors = layout.allocationStart - kBootAndHeaderSectors;
    layout.totalBlocks = static_cast<std::uint32_t>(blocks);
    layout.usedBlocks = static_cast<std::uint32_t>(blocks - freeBlocks);
    layout.fileAreaStart = layout.sectorOf(BlockNumber{layout.systemBlocks});
    const Sector512 smallest(RoundUp((partitionStart + kSmallestHfsSectors + 2).number(), b));
    layout.imageEnd =
        std::max(layout.sectorOf(BlockNumber{layout.totalBlocks}) + kSectorsBehindBlocks, smallest);
    // The last two sectors of the image are not the partition's, so that the second header, which
    // stands in the partition's last but one, lies 2048 bytes before the end.
    layout.partitionSectors = layout.imageEnd - 2 - partitionStart;
    return layout;
}

HfsLayout ComputeHfsPlusLayout(Sector512 partitionStart, const HfsContents& contents) {
    HfsLayout layout;
    layout.isHfsPlus = true;
    const std::uint32_t b = kHfsPlusBlockSectors;
    layout.sectorsPerBlock = b;
    layout.partitionStart = partitionStart;
    const std::uint64_t nodes = std::uint64_t{4} * contents.catalogLeaves;
    const std::uint64_t catalogSectors = std::max<std::uint64_t>(
        RoundUp(kNodeSectors * (nodes > kManyNodes ? nodes / 4 * 5 : nodes), b),
        kHfsPlusExtentsSectors);
    const std::uint32_t extents =
        std::max(kHfsPlusExtentsSectors, kNodeSectors * ExtentsTreeNodes(contents.pcRuns, true)) /
        b;
    const auto catalog = static_cast<std::uint32_t>(catalogSectors / b);
    // The header block, the bitmap's own blocks and the last block have bits too.
    const std::uint64_t freeBlocks = BlocksFor(contents.freeBytes, layout.blockSize());
    std::uint64_t bitmap = 1;
    while (bitmap * kHfsPlusBitsPerBlock <
           contents.fileBlocks + freeBlocks + extents + catalog + bitmap + 2)
        ++bitmap;
    layout.allocationFile = {1, static_cast<std::uint32_t>(bitmap)};
    layout.bitmapSectors = static_cast<std::uint32_t>(bitmap) * b;
    layout.extentsFile = {layout.allocationFile.startBlock + layout.allocationFile.blockCount,
                          extents};
    layout.catalogFile = {layout.extentsFile.startBlock + extents, catalog};
    layout.systemBlocks = layout.catalogFile.startBlock + catalog;
    layout.usedBlocks = static_cast<std::uint32_t>(layout.systemBlocks + contents.fileBlocks + 1);
    layout.totalBlocks = static_cast<std::uint32_t>(layout.usedBlocks + freeBlocks);
    layout.fileAreaStart = layout.sectorOf(BlockNumber{layout.systemBlocks});
    layout.imageEnd = layout.sectorOf(BlockNumber{layout.totalBlocks});
    layout.partitionSectors = layout.imageEnd - partitionStart;
    return layout;
}

std::optional<std::uint32_t> ChooseHfsBlockSize(const DiscPlan& plan, std::uint32_t leaves,
                                                bool isHybrid, std::uint64_t freeBytes) {
    const HfsContents withoutFiles{leaves, 0, freeBytes, CountPcRuns(plan)};
    for (std::uint32_t size = kIsoSectorBytes; size <= kLargestBlockSize; size += kIsoSectorBytes) {
        if (isHybrid && BlocksFor(plan.largestFork, size) >= kMostBlocksOfFork)
            continue;
        std::uint64_t blocks = 0;
        for (const DiscFolder& folder : plan.folders)
            for (const DiscItem& item : folder.items)
                for (const DiscRun& run : item.runs)
                    blocks += BlocksFor(run.sizeBytes, size);
        const HfsLayout layout = ComputeHfsLayout(Sector512(0), withoutFiles, size);
        if (layout.totalBlocks + blocks <= kHfsLimit)
            return size;
    }
    return std::nullopt;
}

}  // namespace vellmark
