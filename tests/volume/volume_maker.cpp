#include "volume/volume_maker.hpp"

#include <fmt/core.h>

#include <algorithm>

#include "IO/redo_log.hpp"
#include "volume/bad_blocks.hpp"
#include "volume/block_bitmap.hpp"
#include "volume/catalog_insert.hpp"
#include "volume/overflow_extents.hpp"
#include "volume/tree_bench.hpp"
#include "volume/volume_headers.hpp"

namespace vellmark::testing {

namespace {

constexpr std::uint32_t kExtentsNodes = 8;
/// Behind the trees, as another program found them.
constexpr std::uint32_t kBadBlocks = 2;

std::uint32_t BlocksOf(const VolumeShape& shape, std::uint64_t bytes) {
    return static_cast<std::uint32_t>((bytes + shape.blockSize - 1) / shape.blockSize);
}

// HFS+: blocks at the front with the header, and at the end with its copy.
std::vector<BlockRun> BlocksOfHeaders(const VolumeShape& shape) {
    if (!shape.isHfsPlus)
        return {{0, 0}, {shape.totalBlocks, 0}};
    const std::uint32_t last = BlocksOf(shape, 1024);
    return {{0, BlocksOf(shape, 1536)}, {shape.totalBlocks - last, last}};
}

VolumeParams ParamsOf(const VolumeShape& shape) {
    VolumeParams params;
    params.label = "model";
    params.now = 0xB0000000;
    params.blockSize = shape.blockSize;
    params.totalBlocks = shape.totalBlocks;
    params.clumpSize = shape.blockSize;
    params.nextCatalogId = 16;
    params.allocationStart = static_cast<std::uint16_t>(3 + (shape.totalBlocks + 4095) / 4096);
    const std::vector<BlockRun> headers = BlocksOfHeaders(shape);
    const std::uint32_t nodeSize = NewNodeSize(shape.isHfsPlus);
    std::uint32_t next = headers[0].blockCount;
    const auto file = [&](std::uint32_t blocks) {
        next += blocks;
        return SystemFile{next - blocks, blocks};
    };
    if (shape.isHfsPlus)
        params.allocationFile = file(BlocksOf(shape, (shape.totalBlocks + 4095) / 4096 * 512));
    params.extentsFile = file(BlocksOf(shape, kExtentsNodes * nodeSize));
    params.catalogFile = file(BlocksOf(shape, shape.catalogNodes * nodeSize));
    params.hasBadBlocks = true;
    params.nextAllocation = next + kBadBlocks;
    params.freeBlocks = shape.totalBlocks - params.nextAllocation - headers[1].blockCount;
    return params;
}

bool WriteCatalog(ByteSink& image, std::uint64_t offset, const VolumeShape& shape) {
    MemoryNodes nodes(NewNodeSize(shape.isHfsPlus));
    TreeCursor tree;
    FolderFacts root;
    root.id = kRootFolderId;
    return BuildCatalogTree(tree, nodes, shape.isHfsPlus, shape.catalogNodes) &&
           (shape.isHfsPlus
                ? InsertFolder(tree, kRootParentId, u"model", root)
                : InsertFolder(tree, kRootParentId, "model", root)) == TreeResult::Done &&
           FlushTree(tree) == TreeResult::Done && nodes.writeTo(image, offset);
}

void Count(std::vector<int>& uses, const std::vector<BlockRun>& runs) {
    for (const BlockRun& run : runs)
        for (std::uint32_t i = 0; i < run.blockCount; ++i)
            ++uses.at(run.startBlock + i);
}

}  // namespace

bool MakeVolume(const std::string& path, const VolumeShape& shape) {
    RemoveRedoLogs(path, {});
    const VolumeParams params = ParamsOf(shape);
    const std::uint64_t first = shape.isHfsPlus ? 0 : params.allocationStart * 512u;
    const std::uint64_t bytes =
        first + std::uint64_t{shape.totalBlocks} * shape.blockSize + (shape.isHfsPlus ? 0 : 1024);
    const auto at = [&](const SystemFile& file) {
        return first + std::uint64_t{file.startBlock} * shape.blockSize;
    };
    PcFile image(path, PcFile::Mode::CreateTruncate);
    Bytes bitmap = UsedBlocks(params.nextAllocation, (shape.totalBlocks + 4095) / 4096);
    for (std::uint32_t block = params.nextAllocation + params.freeBlocks; block < shape.totalBlocks;
         ++block)
        MarkUsed(bitmap, block);
    const auto writeHeaders = [&](const auto& header) {
        return image.writeRecord(1024, header) && image.writeRecord(bytes - 1024, header);
    };
    VolumeHeader plusHeader = BuildVolumeHeader(params);
    if (shape.isHfsx) {
        plusHeader.signature = kHfsxSignature;
        plusHeader.version = std::uint16_t{5};
    }
    return image.setSize(bytes) &&
           (shape.isHfsPlus ? writeHeaders(plusHeader)
                            : writeHeaders(BuildMasterDirectoryBlock(params))) &&
           image.writeAt(shape.isHfsPlus ? at(params.allocationFile) : 3 * 512, bitmap) &&
           WriteExtentsTree(image, at(params.extentsFile), shape.isHfsPlus,
                            params.extentsFile.blockCount * shape.blockSize,
                            {{params.nextAllocation - kBadBlocks, kBadBlocks}}) &&
           WriteCatalog(image, at(params.catalogFile), shape);
}

std::vector<Bytes> StateOf(WritableVolume& volume) {
    MasterDirectoryBlock hfsHeader = volume->mdb;
    VolumeHeader plusHeader = volume->vhb;
    AllocationState allocation = volume.allocation();
    // What a flush in between changes is no change of the volume.
    hfsHeader.writeCount = plusHeader.writeCount = 0;
    hfsHeader.modificationDate = plusHeader.modificationDate = 0;
    plusHeader.lastMountedVersion = 0;
    allocation.hasSavepoint = false;
    FreeWhatWasFreed(allocation);
    const auto mdb = AsBytes(hfsHeader);
    const auto vhb = AsBytes(plusHeader);
    std::vector<Bytes> state = {
        allocation.bitmap, {mdb.begin(), mdb.end()}, {vhb.begin(), vhb.end()}};
    for (TreeCursor* tree : {&volume->catalog, &volume->extents}) {
        (void)FlushTree(*tree);
        for (Bytes& node : AllNodes(*tree))
            state.push_back(std::move(node));
    }
    return state;
}

std::string FaultOfBlocks(WritableVolume& volume) {
    const std::uint32_t total = volume->totalBlocks();
    std::vector<int> uses(total);
    for (const auto* nodes : {volume->catalogNodes.get(), volume->extentsNodes.get()})
        Count(uses, nodes->runs());
    Count(uses, volume.allocation().file);
    Count(uses, BlocksOfHeaders({"", volume->isHfsPlus, volume->blockSize, total, 0}));
    std::vector<OverflowRecord> bad;
    if (OverflowOf(volume, kBadBlockFileId, kDataFork, bad) != TreeResult::Done)
        return "the blocks that are not to be given out";
    for (const OverflowRecord& record : bad)
        Count(uses, record.runs);
    const TreeResult walked = WalkVolume(volume, [&](const std::string&, const CatalogItem& item) {
        for (const bool resource : {false, true}) {
            std::vector<BlockRun> runs;
            if (!item.isFolder && ForkRuns(volume, item, resource, runs) == TreeResult::Done)
                Count(uses, runs);
        }
    });
    if (walked != TreeResult::Done)
        return "a folder cannot be listed";
    std::uint32_t free = 0;
    for (std::uint32_t block = 0; block < total; ++block) {
        const bool marked = IsWhollyUsed(volume.allocation().bitmap, {block, 1});
        if (uses[block] > 1 || marked != (uses[block] == 1))
            return fmt::format("block {}: {} uses, {}", block, uses[block],
                               marked ? "marked" : "not marked");
        free += marked ? 0 : 1;
    }
    return free == volume->freeBlocks() ? "" : "number of free blocks";
}

}  // namespace vellmark::testing
