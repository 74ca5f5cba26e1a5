#include "volume/overflow_extents.hpp"

#include <algorithm>

#include "volume/tree_growth.hpp"

namespace vellmark {

namespace {

TreeKey ExtentsKey(bool isHfsPlus, std::uint32_t fileId, std::uint8_t fork,
                   std::uint32_t startBlock) {
    return isHfsPlus ? HfsPlusExtentsKey(fileId, fork, startBlock)
                     : HfsExtentsKey(fileId, fork, startBlock);
}

// Bytes of an extents key that hold the file and the fork: all but the start block at its end.
std::size_t OwnerBytes(const WritableVolume& volume, ConstByteSpan key) {
    return key.size() - (volume->isHfsPlus ? sizeof(be32) : sizeof(be16));
}

TreeResult Insert(WritableVolume& volume, const TreeKey& key, ConstByteSpan data) {
    const TreeResult result = InsertTreeRecord(volume->extents, key, data);
    if (result != TreeResult::Full)
        return result;
    const TreeResult grown = ExtendExtentsTree(volume);
    return grown == TreeResult::Done ? InsertTreeRecord(volume->extents, key, data) : grown;
}

template <typename Record>
RecordData DataOf(const std::vector<BlockRun>& runs) {
    Record record{};
    for (const BlockRun& run : runs)
        (void)AddRun(record, run);
    const ConstByteSpan bytes = AsBytes(record);
    return {bytes.begin(), bytes.end()};
}

template <typename Record>
TreeResult AddCatalogRun(WritableVolume& volume, std::uint32_t startBlock, std::uint32_t oldBlocks,
                         BlockRun run) {
    const auto keyAt = [&](std::uint32_t block) {
        return ExtentsKey(volume->isHfsPlus, kCatalogFileId, kDataFork, block);
    };
    while (startBlock < oldBlocks) {
        bool found = false;
        if (const TreeResult result = FindKey(volume->extents, keyAt(startBlock), found);
            result != TreeResult::Done)
            return result;
        const ByteSpan data =
            found ? volume->extents.view().data(volume->extents.index) : ByteSpan{};
        if (data.size() < sizeof(Record))
            return TreeResult::Damaged;
        auto& record = *reinterpret_cast<Record*>(data.data());
        const std::uint32_t blocks = BlocksOf(RunsOf(record));
        if (blocks == 0)
            return TreeResult::Damaged;
        startBlock += blocks;
        if (startBlock == oldBlocks && AppendRun(record, run))
            return volume->extents.store->write(volume->extents.node, volume->extents.nodeBuffer)
                       ? TreeResult::Done
                       : TreeResult::Failed;
    }
    Record record{};
    (void)AddRun(record, run);
    return Insert(volume, keyAt(oldBlocks), AsBytes(record));
}

}  // namespace

TreeResult OverflowOf(WritableVolume& volume, std::uint32_t fileId, std::uint8_t fork,
                      std::vector<OverflowRecord>& records) {
    const TreeKey first = ExtentsKey(volume->isHfsPlus, fileId, fork, 0);
    const std::size_t owner = OwnerBytes(volume, first);
    bool found = false;
    TreeResult result = FindKey(volume->extents, first, found);
    if (result == TreeResult::Done)
        result = SettleOnRecord(volume->extents, found);
    while (result == TreeResult::Done && found) {
        const NodeView node = volume->extents.view();
        const ConstByteSpan key = node.key(volume->extents.index);
        if (key.size() != first.size() ||
            !std::equal(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(owner),
                        key.begin()))
            break;
        // A fork has no more records than its volume has blocks.
        if (records.size() >= volume->totalBlocks())
            return TreeResult::Damaged;
        const ConstByteSpan data = node.data(volume->extents.index);
        records.push_back({TreeKey(key.begin(), key.end()), volume->isHfsPlus
                                                                ? RunsIn<HfsPlusExtentRecord>(data)
                                                                : RunsIn<HfsExtentRecord>(data)});
        result = NextRecord(volume->extents, found);
    }
    return result;
}

std::vector<OverflowRecord> OverflowRecords(bool isHfsPlus, std::uint32_t fileId, std::uint8_t fork,
                                            const std::vector<BlockRun>& runs,
                                            std::size_t heldRuns) {
    std::vector<OverflowRecord> records;
    std::uint32_t startBlock = 0;
    const std::size_t most = RunsPerRecord(isHfsPlus);
    for (std::size_t i = 0; i < runs.size(); ++i) {
        if (i >= heldRuns) {
            if ((i - heldRuns) % most == 0)
                records.push_back({ExtentsKey(isHfsPlus, fileId, fork, startBlock), {}});
            records.back().runs.push_back(runs[i]);
        }
        startBlock += runs[i].blockCount;
    }
    return records;
}

RecordData OverflowData(bool isHfsPlus, const OverflowRecord& record) {
    return isHfsPlus ? DataOf<HfsPlusExtentRecord>(record.runs)
                     : DataOf<HfsExtentRecord>(record.runs);
}

TreeResult AddOverflowRecord(WritableVolume& volume, const OverflowRecord& record) {
    return Insert(volume, record.key, OverflowData(volume->isHfsPlus, record));
}

TreeResult AddOverflow(WritableVolume& volume, std::uint32_t fileId, std::uint8_t fork,
                       const std::vector<BlockRun>& runs) {
    for (const OverflowRecord& record :
         OverflowRecords(volume->isHfsPlus, fileId, fork, runs, RunsPerRecord(volume->isHfsPlus)))
        if (const TreeResult result = AddOverflowRecord(volume, record); result != TreeResult::Done)
            return result;
    return TreeResult::Done;
}

TreeResult AddCatalogOverflow(WritableVolume& volume, std::uint32_t inHeader,
                              std::uint32_t oldBlocks, BlockRun run) {
    return volume->isHfsPlus ? AddCatalogRun<HfsPlusExtentRecord>(volume, inHeader, oldBlocks, run)
                             : AddCatalogRun<HfsExtentRecord>(volume, inHeader, oldBlocks, run);
}

}  // namespace vellmark
