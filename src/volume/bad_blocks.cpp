#include "volume/bad_blocks.hpp"

#include <algorithm>
#include <span>
#include <utility>
#include <vector>

#include "volume/catalog_access.hpp"
#include "volume/overflow_extents.hpp"
#include "volume/volume_change.hpp"

namespace vellmark {

namespace {

// In rising order, what touches or overlaps joined.
std::vector<BlockRun> Joined(std::vector<BlockRun> runs) {
    std::sort(runs.begin(), runs.end(),
              [](const BlockRun& a, const BlockRun& b) { return a.startBlock < b.startBlock; });
    std::vector<BlockRun> joined;
    for (const BlockRun& run : runs) {
        if (joined.empty() || joined.back().startBlock + joined.back().blockCount < run.startBlock)
            joined.push_back(run);
        else
            joined.back().blockCount =
                std::max(joined.back().blockCount,
                         run.startBlock + run.blockCount - joined.back().startBlock);
    }
    return joined;
}

bool AreEqual(const OverflowRecord& a, const OverflowRecord& b) {
    return a.key == b.key && std::equal(a.runs.begin(), a.runs.end(), b.runs.begin(), b.runs.end(),
                                        [](const BlockRun& x, const BlockRun& y) {
                                            return x.startBlock == y.startBlock &&
                                                   x.blockCount == y.blockCount;
                                        });
}

// Puts the records of the bad block file in the place of those that it has. What is the same at
// their beginning stays as it is.
TreeResult Replace(WritableVolume& volume, const std::vector<OverflowRecord>& old,
                   const std::vector<OverflowRecord>& records) {
    auto [was, is] =
        std::mismatch(old.begin(), old.end(), records.begin(), records.end(), AreEqual);
    TreeResult result = TreeResult::Done;
    for (; was != old.end() && result == TreeResult::Done; ++was)
        result = RemoveTreeRecord(volume->extents, was->key);
    for (; is != records.end() && result == TreeResult::Done; ++is)
        result = AddOverflowRecord(volume, *is);
    return result;
}

void TellOfBadBlocks(WritableVolume& volume) {
    if (volume->isHfsPlus)
        volume->vhb.attributes = volume->vhb.attributes | kVolumeSparedBlocks;
    else
        volume->mdb.attributes =
            static_cast<std::uint16_t>(volume->mdb.attributes | kVolumeSparedBlocks);
}

// All runs that something of the volume has, the bad block file included.
TreeResult FindOwned(WritableVolume& volume, std::vector<BlockRun>& owned) {
    const auto add = [&](const std::vector<BlockRun>& runs) {
        for (const BlockRun& run : runs)
            if (std::uint64_t{run.startBlock} + run.blockCount <= volume->totalBlocks())
                owned.push_back(run);
    };
    add(volume->catalogNodes->runs());
    add(volume->extentsNodes->runs());
    add(volume.allocation().file);
    if (volume->isHfsPlus) {
        add(RunsOf(volume->vhb.attributesFile.extents));
        add(RunsOf(volume->vhb.startupFile.extents));
    }
    const TreeResult extents = ForEachLeaf(volume->extents, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i)
            add(volume->isHfsPlus ? RunsIn<HfsPlusExtentRecord>(leaf.data(i))
                                  : RunsIn<HfsExtentRecord>(leaf.data(i)));
        return TreeResult::Done;
    });
    if (extents != TreeResult::Done)
        return extents;
    return ForEachLeaf(volume->catalog, [&](NodeView leaf) {
        for (std::size_t i = 0; i < leaf.count(); ++i)
            if (RecordTypeOf(volume, leaf.data(i)) == CatalogRecordType::File)
                for (const std::vector<BlockRun>& fork : RunsOfForks(volume, leaf.data(i)))
                    add(fork);
        return TreeResult::Done;
    });
}

// What the first have and the others have not; both in rising order.
std::vector<BlockRun> Without(const std::vector<BlockRun>& runs,
                              const std::vector<BlockRun>& others) {
    std::vector<BlockRun> rest;
    auto other = others.begin();
    for (const BlockRun& run : runs) {
        std::uint32_t from = run.startBlock;
        const std::uint32_t end = run.startBlock + run.blockCount;
        while (other != others.end() && other->startBlock + other->blockCount <= from)
            ++other;
        for (auto next = other; from < end; ++next) {
            const bool isLast = next == others.end() || next->startBlock >= end;
            const std::uint32_t until = isLast ? end : std::max(from, next->startBlock);
            if (until > from)
                rest.push_back({from, until - from});
            from = isLast ? end : next->startBlock + next->blockCount;
        }
    }
    return rest;
}

// Adds the runs to what the bad block file has, or nothing of them.
TreeResult AddToBadBlocks(WritableVolume& volume, std::span<const BlockRun> lost) {
    std::vector<OverflowRecord> old;
    const TreeResult found = OverflowOf(volume, kBadBlockFileId, kDataFork, old);
    if (found != TreeResult::Done)
        return found;
    std::vector<BlockRun> runs(lost.begin(), lost.end());
    for (const OverflowRecord& record : old)
        runs.insert(runs.end(), record.runs.begin(), record.runs.end());
    const bool isSound = std::all_of(runs.begin(), runs.end(), [&](const BlockRun& run) {
        return std::uint64_t{run.startBlock} + run.blockCount <= volume->totalBlocks();
    });
    if (!isSound)
        return TreeResult::Damaged;
    VolumeChange change(volume);
    const TreeResult result = Replace(
        volume, old,
        OverflowRecords(volume->isHfsPlus, kBadBlockFileId, kDataFork, Joined(std::move(runs)), 0));
    TellOfBadBlocks(volume);
    return change.end(result);
}

}  // namespace

TreeResult GivePcSideAnOwner(WritableVolume& volume) {
    if (!volume->pcSide || volume->pcSide->empty())
        return TreeResult::Done;
    std::vector<BlockRun> owned;
    TreeResult result = FindOwned(volume, owned);
    std::vector<BlockRun> lost;
    if (result == TreeResult::Done)
        lost = Without(*volume->pcSide, Joined(std::move(owned)));
    // Where there is no room for all records, the largest runs come first.
    std::sort(lost.begin(), lost.end(), [](const BlockRun& a, const BlockRun& b) {
        return std::pair(b.blockCount, a.startBlock) < std::pair(a.blockCount, b.startBlock);
    });
    std::size_t given = 0;
    std::size_t count = lost.size();
    while (count > 0 && (result == TreeResult::Done || result == TreeResult::Full)) {
        result = AddToBadBlocks(volume, std::span(lost).subspan(given, count));
        if (result == TreeResult::Done)
            given += count;
        count = std::min(result == TreeResult::Done ? count : count / 2, lost.size() - given);
    }
    return result == TreeResult::Failed ? result : TreeResult::Done;
}

}  // namespace vellmark
