#include "volume/pc_side.hpp"

#include <algorithm>
#include <utility>

#include "IO/iso_coverage.hpp"
#include "volume/catalog_keys.hpp"
#include "volume/fork_reader.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kHeaderSector = 2;

// Blocks that lie, wholly or in part, in one of the ranges.
std::vector<BlockRun> BlocksIn(const VolumeContext& volume, const std::vector<ByteRange>& ranges) {
    const std::uint64_t first = volume.blocksStart.byte();
    const std::uint64_t end = first + std::uint64_t{volume.totalBlocks()} * volume.blockSize;
    std::vector<BlockRun> runs;
    for (const ByteRange& range : ranges) {
        if (range.end <= first || range.offset >= end)
            continue;
        const std::uint64_t from = (std::max(range.offset, first) - first) / volume.blockSize;
        const std::uint64_t behind =
            (std::min(range.end, end) - first + volume.blockSize - 1) / volume.blockSize;
        // Two ranges may share a block.
        const std::uint64_t noted =
            runs.empty() ? 0 : std::uint64_t{runs.back().startBlock} + runs.back().blockCount;
        const std::uint64_t start = std::max(from, noted);
        if (start == noted && !runs.empty())
            runs.back().blockCount += static_cast<std::uint32_t>(behind - start);
        else if (start < behind)
            runs.push_back(
                {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(behind - start)});
    }
    return runs;
}

bool Touches(const std::vector<ByteRange>& ranges, Sector512 sector, std::uint64_t sectors) {
    const std::uint64_t offset = sector.byte();
    const std::uint64_t end = offset + sectors * kSectorBytes;
    const auto range = std::find_if(ranges.begin(), ranges.end(),
                                    [&](const ByteRange& r) { return r.end > offset; });
    return range != ranges.end() && range->offset < end;
}

// Whether what every change writes lies where the PC side reads.
bool SharesStructures(VolumeContext& volume, const std::vector<ByteRange>& ranges) {
    std::vector<BlockRun> runs = volume.catalogNodes->runs();
    for (const BlockRun& run : volume.extentsNodes->runs())
        runs.push_back(run);
    if (volume.isHfsPlus) {
        const ForkRecord& file = volume.vhb.allocationFile;
        std::vector<BlockRun> bitmap;
        // One that cannot be followed keeps the bitmap from being loaded.
        (void)FollowExtents(volume, kAllocationFileId, kDataFork,
                            {file.logicalSize, file.totalBlocks, RunsOf(file.extents)}, bitmap);
        runs.insert(runs.end(), bitmap.begin(), bitmap.end());
    } else if (Touches(ranges, volume.partitionStart + volume.mdb.bitmapStartSector,
                       volume.bitmapSectors)) {
        return true;
    }
    return Touches(ranges, volume.partitionStart + kHeaderSector, 1) ||
           Touches(ranges, AlternateSector(volume), 1) ||
           std::any_of(runs.begin(), runs.end(), [&](const BlockRun& run) {
               return Touches(ranges, BlockToSector(volume, BlockNumber{run.startBlock}),
                              std::uint64_t{run.blockCount} * volume.sectorsPerBlock);
           });
}

}  // namespace

void FindPcSide(VolumeContext& volume) {
    if (volume.pcSide)
        return;
    const IsoCoverage coverage = CoverIso(*volume.image);
    volume.pcSide = BlocksIn(volume, coverage.ranges);
    if (!coverage.isWhole)
        volume.readOnlyReasons.add(ReadOnlyReason::PcSideUnknown);
    else if (SharesStructures(volume, coverage.ranges))
        volume.readOnlyReasons.add(ReadOnlyReason::PcSideShared);
}

std::vector<BlockRun> WithoutPcSide(const VolumeContext& volume, BlockRun run) {
    std::vector<BlockRun> parts;
    std::uint32_t from = run.startBlock;
    const std::uint32_t end = run.startBlock + run.blockCount;
    if (volume.pcSide) {
        const auto behind = [](std::uint32_t block, const BlockRun& needed) {
            return block < needed.startBlock + needed.blockCount;
        };
        auto needed = std::upper_bound(volume.pcSide->begin(), volume.pcSide->end(), from, behind);
        for (; needed != volume.pcSide->end() && needed->startBlock < end; ++needed) {
            if (needed->startBlock > from)
                parts.push_back({from, needed->startBlock - from});
            from = std::min(end, needed->startBlock + needed->blockCount);
        }
    }
    if (from < end)
        parts.push_back({from, end - from});
    return parts;
}

}  // namespace vellmark
