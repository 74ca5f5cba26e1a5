// Where the Macintosh structures of an image lie, and the size of an allocation block.
#pragma once

#include <cstdint>
#include <optional>

#include "compiler/disc_plan.hpp"
#include "support/medium_places.hpp"
#include "volume/volume_headers.hpp"

namespace vellmark {

/// HFS: boot blocks, master directory block, bitmap, then the allocation blocks: extents file,
/// catalog, files, and one that stays free. HFS+: allocation block 0 holds boot blocks and header,
/// then come the allocation file, the extents file, the catalog and the files; one more allocation
/// block at the end holds the second header.
struct HfsLayout {
    bool isHfsPlus = false;
    std::uint32_t sectorsPerBlock = 4;  ///< 512-byte sectors of an allocation block
    Sector512 partitionStart;           ///< of the volume
    std::uint32_t bitmapSectors = 0;    ///< of 512 bytes
    std::uint32_t allocationStart =
        0;                           ///< 512-byte sectors from the start of the volume; 0 in HFS+
    SystemFile allocationFile;       ///< allocation blocks; HFS+
    SystemFile extentsFile;          ///< allocation blocks
    SystemFile catalogFile;          ///< allocation blocks
    std::uint32_t systemBlocks = 0;  ///< allocation blocks before the files
    std::uint32_t totalBlocks = 0;   ///< allocation blocks of the volume
    std::uint32_t usedBlocks = 0;    ///< in use: the first ones, in HFS+ the last one besides
    Sector512 fileAreaStart;         ///< of the files
    Sector512 imageEnd;              ///< of the whole image without a postgap
    std::uint64_t partitionSectors = 0;  ///< of 512 bytes, as the partition map stores

    [[nodiscard]] std::uint32_t blockSize() const { return sectorsPerBlock * 512; }
    [[nodiscard]] Sector512 sectorOf(BlockNumber block) const {
        return partitionStart + allocationStart + std::uint64_t{block.number} * sectorsPerBlock;
    }
    /// Where the second header stands.
    [[nodiscard]] Sector512 alternateHeader() const {
        return partitionStart + partitionSectors - 2;
    }
};

/// Nodes that the leaves of the catalog fill when they are packed, of 512 bytes in HFS and 4096 in
/// HFS+.
[[nodiscard]] std::uint32_t CountCatalogLeaves(const DiscPlan& plan, bool isHfsPlus);

/// What a volume has to have room for.
struct HfsContents {
    std::uint32_t catalogLeaves = 0;
    std::uint64_t fileBlocks = 0;  ///< allocation blocks of all files
    std::uint64_t freeBytes = 0;   ///< that stay free behind them
    std::size_t pcRuns = 0;        ///< runs of the files' blocks that the PC alone reads
};

/// Lays a volume out that begins at `partitionStart`.
[[nodiscard]] HfsLayout ComputeHfsLayout(Sector512 partitionStart, const HfsContents& contents,
                                         std::uint32_t blockSize);
[[nodiscard]] HfsLayout ComputeHfsPlusLayout(Sector512 partitionStart, const HfsContents& contents);

/// The smallest allocation block with which an HFS volume can hold the plan: a multiple of 2048
/// bytes with at most 65,535 blocks for system files, forks, free room and the free one, and in a
/// hybrid image with fewer than 32,767 for the largest fork. Nothing when there is none: then it
/// must be HFS+.
[[nodiscard]] std::optional<std::uint32_t> ChooseHfsBlockSize(const DiscPlan& plan,
                                                              std::uint32_t leaves, bool isHybrid,
                                                              std::uint64_t freeBytes = 0);

}  // namespace vellmark
