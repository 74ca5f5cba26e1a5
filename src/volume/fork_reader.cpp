#include "volume/fork_reader.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <iterator>

#include "volume/catalog_keys.hpp"

namespace vellmark {

namespace {

template <typename Record>
std::vector<BlockRun> RunsOfRecord(const Record& record) {
    std::vector<BlockRun> runs;
    for (const auto& extent : record) {
        if (extent.blockCount == 0)
            break;
        runs.push_back({extent.startBlock, extent.blockCount});
    }
    return runs;
}

template <typename Record, typename Number>
bool AddToRecord(Record& record, Number startBlock, Number blockCount) {
    for (auto& extent : record)
        if (extent.blockCount == 0) {
            extent = {startBlock, blockCount};
            return true;
        }
    return false;
}

template <typename Record>
bool AppendToRecord(Record& record, BlockRun run) {
    const auto next = std::find_if(record.begin(), record.end(),
                                   [](const auto& extent) { return extent.blockCount == 0; });
    if (next != record.begin()) {
        auto& last = *std::prev(next);
        if (std::uint32_t{last.startBlock} + last.blockCount == run.startBlock) {
            const BlockRun joined{last.startBlock, last.blockCount + run.blockCount};
            last = {};
            return AddRun(record, joined);
        }
    }
    return AddRun(record, run);
}

// Adds runs that lie within the volume; false at the first that does not.
bool AddRuns(const VolumeContext& volume, const std::vector<BlockRun>& from,
             std::vector<BlockRun>& runs, std::uint64_t& blocks) {
    for (const BlockRun& run : from) {
        if (std::uint64_t{run.startBlock} + run.blockCount > volume.totalBlocks())
            return false;
        runs.push_back(run);
        blocks += run.blockCount;
    }
    return true;
}

}  // namespace

std::vector<BlockRun> RunsOf(const HfsExtentRecord& record) {
    return RunsOfRecord(record);
}
std::vector<BlockRun> RunsOf(const HfsPlusExtentRecord& record) {
    return RunsOfRecord(record);
}

bool AddRun(HfsExtentRecord& record, BlockRun run) {
    return AddToRecord(record, static_cast<std::uint16_t>(run.startBlock),
                       static_cast<std::uint16_t>(run.blockCount));
}
bool AddRun(HfsPlusExtentRecord& record, BlockRun run) {
    return AddToRecord(record, run.startBlock, run.blockCount);
}

bool AppendRun(HfsExtentRecord& record, BlockRun run) {
    return AppendToRecord(record, run);
}
bool AppendRun(HfsPlusExtentRecord& record, BlockRun run) {
    return AppendToRecord(record, run);
}

std::uint32_t BlocksOf(const std::vector<BlockRun>& runs) {
    std::uint32_t blocks = 0;
    for (const BlockRun& run : runs)
        blocks += run.blockCount;
    return blocks;
}

bool TransferFork(VolumeContext& volume, const std::vector<BlockRun>& runs, std::int32_t command,
                  std::uint64_t offset, ByteSpan bytes) {
    std::uint64_t runStart = 0;  // bytes of the fork before this run
    for (const BlockRun& run : runs) {
        const std::uint64_t runBytes = std::uint64_t{run.blockCount} * volume.blockSize;
        if (bytes.empty())
            break;
        if (offset < runStart + runBytes) {
            const std::uint64_t within = offset - runStart;
            const auto piece =
                static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), runBytes - within));
            const SectorRequest request{
                command, static_cast<std::uint32_t>(piece / kSectorBytes),
                BlockToSector(volume, BlockNumber{run.startBlock}) + within / kSectorBytes,
                bytes.first(piece)};
            if (volume.transferSlot(request) != 0)
                return false;
            bytes = bytes.subspan(piece);
            offset += piece;
        }
        runStart += runBytes;
    }
    return bytes.empty();
}

ForkPlace PlaceInFork(const VolumeContext& volume, const std::vector<BlockRun>& runs,
                      std::uint64_t offset) {
    for (const BlockRun& run : runs) {
        const std::uint64_t runBytes = std::uint64_t{run.blockCount} * volume.blockSize;
        if (offset < runBytes)
            return {BlockToSector(volume, BlockNumber{run.startBlock}).byte() + offset,
                    runBytes - offset};
        offset -= runBytes;
    }
    return {};
}

TreeResult FollowExtents(VolumeContext& volume, std::uint32_t fileId, std::uint8_t fork,
                         const ForkInfo& info, std::vector<BlockRun>& runs) {
    runs.clear();
    std::uint64_t blocks = 0;
    if (!AddRuns(volume, info.runs, runs, blocks))
        return TreeResult::Damaged;
    while (blocks < info.totalBlocks) {
        // A fork has no more blocks than its volume; the keys of HFS could not even count them.
        if (blocks >= volume.totalBlocks())
            return TreeResult::Damaged;
        const auto start = static_cast<std::uint32_t>(blocks);
        const TreeKey key = volume.isHfsPlus ? HfsPlusExtentsKey(fileId, fork, start)
                                             : HfsExtentsKey(fileId, fork, start);
        bool found = false;
        if (const TreeResult result = FindKey(volume.extents, key, found);
            result != TreeResult::Done)
            return result;
        if (!found)
            return TreeResult::Damaged;
        const ConstByteSpan data = volume.extents.view().data(volume.extents.index);
        const std::vector<BlockRun> more =
            volume.isHfsPlus ? RunsIn<HfsPlusExtentRecord>(data) : RunsIn<HfsExtentRecord>(data);
        // A record without blocks would be asked for again and again.
        if (more.empty() || !AddRuns(volume, more, runs, blocks))
            return TreeResult::Damaged;
    }
    return TreeResult::Done;
}

std::uint64_t ForkSource::copyTo(PcFile& target, ByteMove move) {
    if (move.from >= size_ || !volume_.image)
        return 0;
    const ForkPlace place = PlaceInFork(volume_, runs_, move.from);
    return target.copyFrom(
        *volume_.image,
        {place.imageOffset, move.to, std::min({move.count, size_ - move.from, place.bytes})});
}

std::size_t ForkSource::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    if (offset >= size_)
        return 0;
    std::span<std::uint8_t> rest =
        out.first(static_cast<std::size_t>(std::min<std::uint64_t>(out.size(), size_ - offset)));
    std::size_t done = 0;
    while (!rest.empty()) {
        const std::size_t skip = offset % kSectorBytes;
        if (skip == 0 && rest.size() >= kSectorBytes) {
            const std::size_t whole = rest.size() / kSectorBytes * kSectorBytes;
            if (!TransferFork(volume_, runs_, kCommandRead, offset, rest.first(whole)))
                break;
            offset += whole;
            done += whole;
            rest = rest.subspan(whole);
            continue;
        }
        std::array<std::uint8_t, kSectorBytes> sector;
        if (!TransferFork(volume_, runs_, kCommandRead, offset - skip, sector))
            break;
        const std::size_t piece = std::min(rest.size(), kSectorBytes - skip);
        std::copy_n(sector.begin() + static_cast<std::ptrdiff_t>(skip), piece, rest.begin());
        offset += piece;
        done += piece;
        rest = rest.subspan(piece);
    }
    return done;
}

}  // namespace vellmark
