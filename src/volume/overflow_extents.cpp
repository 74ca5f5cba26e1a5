#include "volume/overflow_extents.hpp"

#include <algorithm>
#include <cstring>

#include "volume/tree_growth.hpp"

namespace vellmark {

namespace {

TreeKey ExtentsKey(const VolumeContext& volume, std::uint32_t fileId, std::uint8_t fork,
                   std::uint32_t startBlock) {
    return volume.isHfsPlus ? HfsPlusExtentsKey(fileId, fork, startBlock)
                            : HfsExtentsKey(fileId, fork, startBlock);
}

// Bytes of an extents key that tell the file and the fork: all but the start block at its end.
std::size_t OwnerBytes(const VolumeContext& volume, ConstByteSpan key) {
    return key.size() - (volume.isHfsPlus ? sizeof(be32) : sizeof(be16));
}

TreeResult Insert(VolumeContext& volume, const TreeKey& key, ConstByteSpan data) {
    const TreeResult result = InsertTreeRecord(volume.extents, key, data);
    if (result != TreeResult::Full)
        return result;
    const TreeResult grown = ExtendExtentsTree(volume);
    return grown == TreeResult::Done ? InsertTreeRecord(volume.extents, key, data) : grown;
}

template <typename Record>
TreeResult AddRecords(VolumeContext& volume, std::uint32_t fileId, std::uint8_t fork,
                      const std::vector<BlockRun>& runs) {
    const std::size_t most = RunsPerRecord(volume.isHfsPlus);
    std::uint32_t startBlock = 0;
    Record record{};
    for (std::size_t i = 0; i < runs.size(); ++i) {
        const bool isOver = i >= most;
        if (isOver && i % most == 0)
            record = {};
        (void)AddRun(record, runs[i]);
        const bool isLast = i + 1 == runs.size() || (i + 1) % most == 0;
        if (isOver && isLast)
            if (const TreeResult result =
                    Insert(volume, ExtentsKey(volume, fileId, fork, startBlock), AsBytes(record));
                result != TreeResult::Done)
                return result;
        if (isLast)
            for (std::size_t j = i / most * most; j <= i; ++j)
                startBlock += runs[j].blockCount;
    }
    return TreeResult::Done;
}

template <typename Record>
TreeResult AddCatalogRun(VolumeContext& volume, std::uint32_t startBlock, std::uint32_t oldBlocks,
                         BlockRun run) {
    const auto keyAt = [&](std::uint32_t block) {
        return ExtentsKey(volume, kCatalogFileId, kDataFork, block);
    };
    while (startBlock < oldBlocks) {
        bool found = false;
        if (const TreeResult result = FindKey(volume.extents, keyAt(startBlock), found);
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
        if (startBlock == oldBlocks && AppendRun(record, run))
            return volume.extents.store->write(volume.extents.node, volume.extents.nodeBuffer)
                       ? TreeResult::Done
                       : TreeResult::Failed;
    }
    Record record{};
    (void)AddRun(record, run);
    return Insert(volume, keyAt(oldBlocks), AsBytes(record));
}

// The last number of a key.
std::uint32_t StartBlockOf(const VolumeContext& volume, ConstByteSpan key) {
    be16 narrow;
    be32 wide;
    if (volume.isHfsPlus) {
        std::memcpy(&wide, key.last(sizeof wide).data(), sizeof wide);
        return wide;
    }
    std::memcpy(&narrow, key.last(sizeof narrow).data(), sizeof narrow);
    return std::uint16_t{narrow};
}

template <typename Record>
TreeResult AddBadRun(VolumeContext& volume, BlockRun run) {
    constexpr std::uint32_t kBehindAll = 0xFFFFFFFF;
    const TreeKey behind = ExtentsKey(volume, kBadBlockFileId, kDataFork, kBehindAll);
    bool found = false;
    if (const TreeResult result = FindKey(volume.extents, behind, found);
        result != TreeResult::Done)
        return result;
    std::uint32_t startBlock = 0;
    // The record before that place is the file's last one, if it has any.
    if (volume.extents.header().depth != 0 && volume.extents.index > 0) {
        const std::size_t index = volume.extents.index - 1;
        const NodeView leaf = volume.extents.view();
        const ConstByteSpan key = leaf.key(index);
        const auto owner = static_cast<std::ptrdiff_t>(OwnerBytes(volume, behind));
        if (key.size() == behind.size() &&
            std::equal(behind.begin(), behind.begin() + owner, key.begin())) {
            const ByteSpan data = leaf.data(index);
            if (data.size() < sizeof(Record))
                return TreeResult::Damaged;
            auto& record = *reinterpret_cast<Record*>(data.data());
            startBlock = StartBlockOf(volume, key) + BlocksOf(RunsOf(record));
            if (AppendRun(record, run))
                return volume.extents.store->write(volume.extents.node, volume.extents.nodeBuffer)
                           ? TreeResult::Done
                           : TreeResult::Failed;
        }
    }
    Record record{};
    (void)AddRun(record, run);
    return InsertTreeRecord(volume.extents,
                            ExtentsKey(volume, kBadBlockFileId, kDataFork, startBlock),
                            AsBytes(record));
}

}  // namespace

TreeResult AddToBadBlocks(VolumeContext& volume, BlockRun run) {
    const TreeResult result = volume.isHfsPlus ? AddBadRun<HfsPlusExtentRecord>(volume, run)
                                               : AddBadRun<HfsExtentRecord>(volume, run);
    // Without this bit nobody looks for the file.
    if (result == TreeResult::Done && volume.isHfsPlus)
        volume.vhb.attributes = volume.vhb.attributes | kVolumeSparedBlocks;
    else if (result == TreeResult::Done)
        volume.mdb.attributes =
            static_cast<std::uint16_t>(volume.mdb.attributes | kVolumeSparedBlocks);
    return result;
}

TreeResult OverflowOf(VolumeContext& volume, std::uint32_t fileId, std::uint8_t fork,
                      std::vector<OverflowRecord>& records) {
    const TreeKey first = ExtentsKey(volume, fileId, fork, 0);
    const std::size_t owner = OwnerBytes(volume, first);
    bool found = false;
    TreeResult result = FindKey(volume.extents, first, found);
    if (result == TreeResult::Done)
        result = SettleOnRecord(volume.extents, found);
    while (result == TreeResult::Done && found) {
        const NodeView node = volume.extents.view();
        const ConstByteSpan key = node.key(volume.extents.index);
        if (key.size() != first.size() ||
            !std::equal(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(owner),
                        key.begin()))
            break;
        // A fork has no more records than its volume has blocks.
        if (records.size() >= volume.totalBlocks())
            return TreeResult::Damaged;
        const ConstByteSpan data = node.data(volume.extents.index);
        records.push_back({TreeKey(key.begin(), key.end()), volume.isHfsPlus
                                                                ? RunsIn<HfsPlusExtentRecord>(data)
                                                                : RunsIn<HfsExtentRecord>(data)});
        result = NextRecord(volume.extents, found);
    }
    return result;
}

TreeResult AddOverflow(VolumeContext& volume, std::uint32_t fileId, std::uint8_t fork,
                       const std::vector<BlockRun>& runs) {
    return volume.isHfsPlus ? AddRecords<HfsPlusExtentRecord>(volume, fileId, fork, runs)
                            : AddRecords<HfsExtentRecord>(volume, fileId, fork, runs);
}

TreeResult AddCatalogOverflow(VolumeContext& volume, std::uint32_t told, std::uint32_t oldBlocks,
                              BlockRun run) {
    return volume.isHfsPlus ? AddCatalogRun<HfsPlusExtentRecord>(volume, told, oldBlocks, run)
                            : AddCatalogRun<HfsExtentRecord>(volume, told, oldBlocks, run);
}

}  // namespace vellmark
