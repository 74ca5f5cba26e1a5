#include "volume/tree_growth.hpp"

#include <algorithm>
#include <vector>

#include "volume/block_allocation.hpp"
#include "volume/fork_reader.hpp"
#include "volume/overflow_extents.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kZeroSectors = 1024;

TreeCursor& TreeOf(WritableVolume& volume, bool isCatalog) {
    return isCatalog ? volume->catalog : volume->extents;
}

VolumeNodes& NodesOf(WritableVolume& volume, bool isCatalog) {
    return isCatalog ? *volume->catalogNodes : *volume->extentsNodes;
}

// New nodes begin as zeros.
bool ZeroRun(WritableVolume& volume, BlockRun run) {
    Sector512 sector = BlockToSector(volume, BlockNumber{run.startBlock});
    std::uint64_t left = std::uint64_t{run.blockCount} * volume->sectorsPerBlock;
    std::vector<std::uint8_t> zeros(std::min<std::uint64_t>(left, kZeroSectors) * kSectorBytes);
    while (left > 0) {
        const auto count = static_cast<std::uint32_t>(std::min<std::uint64_t>(left, kZeroSectors));
        if (volume->transferSlot({kCommandWrite, count, sector, zeros}) != 0)
            return false;
        sector = sector + count;
        left -= count;
    }
    return true;
}

// A run of whole units: behind the last one of the file where that is free, so that the two are
// one, else where files would go, else the longest.
bool TakeRun(WritableVolume& volume, const std::vector<BlockRun>& file, std::uint32_t unit,
             std::uint32_t wanted, BlockRun& run) {
    const auto trim = [&] {
        const std::uint32_t rest = run.blockCount % unit;
        if (rest != 0)
            ReturnBlocks(volume, {{run.startBlock + run.blockCount - rest, rest}});
        run.blockCount -= rest;
        return run.blockCount != 0;
    };
    if (AllocateBehind(volume, file.back(), wanted, run) && trim())
        return true;
    if (AllocateRun(volume, wanted, run) && trim())
        return true;
    RestartAllocation(volume);
    if (AllocateRun(volume, wanted, run) && trim())
        return true;
    return AllocateLongestRun(volume, wanted, run) && trim();
}

template <typename Record>
bool AddToHeader(Record& extents, BlockRun run, std::uint32_t stored, std::uint32_t oldBlocks) {
    return stored == oldBlocks && AppendRun(extents, run);
}

// Writes down that the tree's file, of `oldBlocks` until now, goes on with the run.
TreeResult RecordRun(WritableVolume& volume, bool isCatalog, std::uint32_t oldBlocks,
                     BlockRun run) {
    const std::uint64_t bytes = std::uint64_t{run.blockCount} * volume->blockSize;
    std::uint32_t stored = 0;
    bool isInHeader = false;
    if (volume->isHfsPlus) {
        ForkRecord& fork = isCatalog ? volume->vhb.catalogFile : volume->vhb.extentsFile;
        stored = BlocksOf(RunsOf(fork.extents));
        isInHeader = AddToHeader(fork.extents, run, stored, oldBlocks);
        fork.logicalSize = fork.logicalSize + bytes;
        fork.totalBlocks = fork.totalBlocks + run.blockCount;
    } else {
        MasterDirectoryBlock& mdb = volume->mdb;
        HfsExtentRecord& extents = isCatalog ? mdb.catalogFileExtents : mdb.extentsFileExtents;
        be32& size = isCatalog ? mdb.catalogFileSize : mdb.extentsFileSize;
        stored = BlocksOf(RunsOf(extents));
        isInHeader = AddToHeader(extents, run, stored, oldBlocks);
        size = static_cast<std::uint32_t>(size + bytes);
    }
    if (isInHeader)
        return TreeResult::Done;
    return isCatalog ? AddCatalogOverflow(volume, stored, oldBlocks, run) : TreeResult::Full;
}

TreeResult AddOneRun(WritableVolume& volume, bool isCatalog, std::uint32_t wanted,
                     std::uint32_t& got) {
    TreeCursor& tree = TreeOf(volume, isCatalog);
    VolumeNodes& nodes = NodesOf(volume, isCatalog);
    const std::uint32_t oldBlocks = BlocksOf(nodes.runs());
    BlockRun run;
    if (!TakeRun(volume, nodes.runs(), GrowthUnit(volume, tree), wanted, run))
        return TreeResult::Full;
    if (!ZeroRun(volume, run))
        return TreeResult::Failed;
    got = run.blockCount;
    nodes.addRun(run);
    const std::uint64_t added = std::uint64_t{run.blockCount} * volume->blockSize / tree.nodeSize;
    const TreeResult result = GrowTree(tree, static_cast<std::uint32_t>(added));
    return result == TreeResult::Done ? RecordRun(volume, isCatalog, oldBlocks, run) : result;
}

}  // namespace

std::uint32_t GrowthUnit(const WritableVolume& volume, const TreeCursor& tree) {
    return std::max(tree.nodeSize / volume->blockSize, 1u);
}

std::uint32_t ModestGrowth(const WritableVolume& volume, bool isCatalog) {
    const std::uint32_t unit = GrowthUnit(volume, isCatalog ? volume->catalog : volume->extents);
    const std::uint32_t clump =
        volume->isHfsPlus
            ? std::uint32_t{(isCatalog ? volume->vhb.catalogFile : volume->vhb.extentsFile)
                                .clumpSize}
            : std::uint32_t{isCatalog ? volume->mdb.catalogClumpSize
                                      : volume->mdb.extentsClumpSize};
    const std::uint32_t blocks = std::min(clump / volume->blockSize, volume->freeBlocks() / 4);
    return std::max(blocks / unit * unit, unit);
}

TreeResult ExtendCatalog(WritableVolume& volume, std::uint32_t wanted) {
    TreeResult result = TreeResult::Done;
    std::uint32_t added = 0;
    while (added < wanted && result == TreeResult::Done) {
        std::uint32_t got = 0;
        result = AddOneRun(volume, true, wanted - added, got);
        added += result == TreeResult::Done ? got : 0;
    }
    // Without a free run that is long enough, what there was has to do.
    return result == TreeResult::Full && added != 0 ? TreeResult::Done : result;
}

TreeResult ExtendExtentsTree(WritableVolume& volume) {
    std::uint32_t got = 0;
    return AddOneRun(volume, false, ModestGrowth(volume, false), got);
}

}  // namespace vellmark
