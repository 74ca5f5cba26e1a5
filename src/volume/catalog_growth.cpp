#include "volume/catalog_growth.hpp"

#include <algorithm>
#include <cstring>

#include "volume/block_allocation.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/fork_reader.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kZeroSectors = 1024;

std::uint32_t BlocksOf(const std::vector<BlockRun>& runs) {
    std::uint32_t blocks = 0;
    for (const BlockRun& run : runs)
        blocks += run.blockCount;
    return blocks;
}

// New nodes begin as zeros.
bool ZeroRun(VolumeContext& volume, BlockRun run) {
    std::uint64_t sector = BlockToSector(volume, run.startBlock);
    std::uint64_t left = std::uint64_t{run.blockCount} * volume.sectorsPerBlock;
    std::vector<std::uint8_t> zeros(std::min<std::uint64_t>(left, kZeroSectors) * kSectorBytes);
    while (left > 0) {
        const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, kZeroSectors));
        if (volume.transferSlot({kCommandWrite, count, sector, zeros}) != 0)
            return false;
        sector += count;
        left -= count;
    }
    return true;
}

// Large free runs may lie before the hint as well.
bool AllocateAnywhere(VolumeContext& volume, std::uint32_t wanted, BlockRun& run) {
    if (AllocateRun(volume, wanted, run))
        return true;
    RestartAllocation(volume);
    return AllocateRun(volume, wanted, run);
}

// A run for the catalog that holds whole nodes.
TreeResult TakeRun(VolumeContext& volume, std::uint32_t wanted, BlockRun& run) {
    const std::uint32_t unit = std::max(volume.catalog.nodeSize / volume.blockSize, 1u);
    for (; wanted >= unit; wanted /= 2) {
        if (!AllocateAnywhere(volume, wanted, run))
            continue;
        const std::uint32_t rest = run.blockCount % unit;
        if (rest != 0)
            ReturnBlocks(volume, {{run.startBlock + run.blockCount - rest, rest}});
        run.blockCount -= rest;
        if (run.blockCount != 0)
            return TreeResult::Done;
    }
    return TreeResult::Full;
}

TreeKey CatalogExtentsKey(const VolumeContext& volume, std::uint32_t startBlock) {
    return volume.isHfsPlus ? HfsPlusExtentsKey(kCatalogFileId, kDataFork, startBlock)
                            : HfsExtentsKey(kCatalogFileId, kDataFork, startBlock);
}

// Writes the run into the extents tree: behind the last record that the catalog has there, as long
// as that one has room, else as a record of its own. `startBlock` counts the blocks that the header
// tells.
template <typename Record>
TreeResult PutIntoExtentsTree(VolumeContext& volume, std::uint32_t startBlock,
                              std::uint32_t oldBlocks, BlockRun run) {
    while (startBlock < oldBlocks) {
        bool found = false;
        if (const TreeResult result =
                FindKey(volume.extents, CatalogExtentsKey(volume, startBlock), found);
            result != TreeResult::Done)
            return result;
        const ByteSpan data = found ? volume.extents.view().data(volume.extents.index) : ByteSpan{};
        if (data.size() < sizeof(Record))
            return TreeResult::Damaged;
        auto& record = *reinterpret_cast<Record*>(data.data());
        const std::uint32_t blocks = BlocksOf(RunsOf(record));
        if (blocks == 0)
            return TreeResult::Damaged;
        startBlock += blocks;
        if (startBlock == oldBlocks && AddRun(record, run))
            return volume.extents.store->write(volume.extents.node, volume.extents.nodeBuffer)
                       ? TreeResult::Done
                       : TreeResult::Failed;
    }
    Record record{};
    (void)AddRun(record, run);
    return InsertTreeRecord(volume.extents, CatalogExtentsKey(volume, oldBlocks), AsBytes(record));
}

// Writes down that the catalog's file, of `oldBlocks` until now, goes on with the run.
TreeResult RecordRun(VolumeContext& volume, std::uint32_t oldBlocks, BlockRun run) {
    const std::uint64_t bytes = std::uint64_t{run.blockCount} * volume.blockSize;
    if (volume.isHfsPlus) {
        ForkRecord& fork = volume.vhb.catalogFile;
        const std::uint32_t told = BlocksOf(RunsOf(fork.extents));
        fork.logicalSize = fork.logicalSize + bytes;
        fork.totalBlocks = fork.totalBlocks + run.blockCount;
        return AddRun(fork.extents, run)
                   ? TreeResult::Done
                   : PutIntoExtentsTree<HfsPlusExtentRecord>(volume, told, oldBlocks, run);
    }
    MasterDirectoryBlock& mdb = volume.mdb;
    const std::uint32_t told = BlocksOf(RunsOf(mdb.catalogFileExtents));
    mdb.catalogFileSize = static_cast<std::uint32_t>(mdb.catalogFileSize + bytes);
    return AddRun(mdb.catalogFileExtents, run)
               ? TreeResult::Done
               : PutIntoExtentsTree<HfsExtentRecord>(volume, told, oldBlocks, run);
}

}  // namespace

TreeResult ExtendCatalog(VolumeContext& volume) {
    const std::uint32_t oldBlocks = BlocksOf(volume.catalogNodes->runs());
    BlockRun run;
    if (const TreeResult result = TakeRun(volume, std::min(oldBlocks, volume.freeBlocks()), run);
        result != TreeResult::Done)
        return result;
    if (!ZeroRun(volume, run))
        return TreeResult::Failed;
    volume.catalogNodes->addRun(run);
    const std::uint64_t nodes =
        std::uint64_t{run.blockCount} * volume.blockSize / volume.catalog.nodeSize;
    const TreeResult result = GrowTree(volume.catalog, static_cast<std::uint32_t>(nodes));
    return result == TreeResult::Done ? RecordRun(volume, oldBlocks, run) : result;
}

TreeResult EnsureCatalogRoom(VolumeContext& volume, unsigned records) {
    const TreeHeaderRecord& tree = volume.catalog.header();
    while (tree.freeNodes < NodesForInsertions(tree.depth, records))
        if (const TreeResult result = ExtendCatalog(volume); result != TreeResult::Done)
            return result;
    return TreeResult::Done;
}

}  // namespace vellmark
