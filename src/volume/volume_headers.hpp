// The headers of a new volume, made in one place for the formatter and the compiler, and the two
// entries of the partition map that leads to it.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "IO/partition_structures.hpp"
#include "support/mac_dates.hpp"
#include "volume/btree.hpp"
#include "volume/hfs_plus_structures.hpp"
#include "volume/hfs_structures.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// A system file: where it lies, in allocation blocks.
struct SystemFile {
    std::uint32_t startBlock = 0;
    std::uint32_t blockCount = 0;
};

/// What the header of a new volume stores.
struct VolumeParams {
    std::string label;            ///< HFS: MacRoman, at most 27 bytes are used
    MacSeconds now = 0;           ///< in the time of the format
    std::uint32_t blockSize = 0;  ///< bytes
    std::uint32_t totalBlocks = 0;
    std::uint32_t freeBlocks = 0;
    std::uint32_t nextAllocation = 0;
    std::uint32_t clumpSize = 0;  ///< bytes; HFS
    std::uint32_t nextCatalogId = 0;
    std::uint16_t bitmapStart = 3;      ///< sectors from the start of the volume; HFS
    std::uint16_t allocationStart = 0;  ///< sectors from the start of the volume; HFS
    SystemFile allocationFile;          ///< HFS+
    SystemFile extentsFile;
    SystemFile catalogFile;
    std::uint32_t fileCount = 0;
    std::uint32_t folderCount = 0;      ///< without the root
    std::uint32_t rootFileCount = 0;    ///< HFS
    std::uint32_t rootFolderCount = 0;  ///< HFS
    std::uint32_t volumeId = 0;         ///< any value
    bool hasBadBlocks = false;          ///< the extents tree has records of the bad block file
    bool openRoot = false;              ///< the Finder opens the root's window at the mount
};

[[nodiscard]] MasterDirectoryBlock BuildMasterDirectoryBlock(const VolumeParams& params);
[[nodiscard]] VolumeHeader BuildVolumeHeader(const VolumeParams& params);

/// Writes an extents tree that fills its file of `fileBytes` bytes, at byte `offset`. It is empty
/// but for the runs of blocks that no file may have, which belong to the bad block file; false when
/// it cannot hold them.
[[nodiscard]] bool WriteExtentsTree(ByteSink& image, std::uint64_t offset, bool isHfsPlus,
                                    std::uint32_t fileBytes,
                                    const std::vector<BlockRun>& badBlocks = {});
/// Nodes that an extents tree with so many runs of one file needs, the header and those of the
/// index included.
[[nodiscard]] std::uint32_t ExtentsTreeNodes(std::uint64_t runs, bool isHfsPlus);
/// A catalog with an empty root leaf that fills its file.
[[nodiscard]] bool BuildCatalogTree(TreeCursor& tree, NodeStore& store, bool isHfsPlus,
                                    std::uint32_t totalNodes);

/// Bytes of a node in volumes that this program makes.
[[nodiscard]] constexpr std::uint32_t NewNodeSize(bool isHfsPlus) {
    return isHfsPlus ? 4096 : 512;
}

/// A bitmap of whole sectors whose first `blocks` bits are set.
[[nodiscard]] std::vector<std::uint8_t> UsedBlocks(std::uint32_t blocks, std::uint32_t sectors);
/// One more block in use in such a bitmap.
void MarkUsed(std::span<std::uint8_t> bitmap, std::uint32_t block);

/// Blocks of 512 bytes of the medium.
[[nodiscard]] DriverDescriptor BuildDriverDescriptor(std::uint32_t blockCount);
/// One of two entries; `name` and `type` are cut at 31 bytes.
[[nodiscard]] PartitionMapEntry BuildMapEntry(std::uint32_t startBlock, std::uint32_t blockCount,
                                              std::string_view name, std::string_view type,
                                              std::uint32_t status);

/// Status word of both entries: valid, allocated, writable.
inline constexpr std::uint32_t kMapStatus = 19;

}  // namespace vellmark
