// The open volume: the medium, its header, its two trees, and its bitmap while a change is under
// way. Two volumes can be open in one process; each has a record of its own.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "IO/sector_io.hpp"
#include "volume/btree.hpp"
#include "volume/hfs_plus_structures.hpp"
#include "volume/hfs_structures.hpp"
#include "volume/node_cache.hpp"

namespace vellmark {

/// A run of allocation blocks, in the width of HFS+.
struct BlockRun {
    std::uint32_t startBlock = 0;
    std::uint32_t blockCount = 0;
};

struct VolumeContext;

/// The nodes of a tree of the volume, wherever the extents of its file lie. Nodes of a catalog go
/// through a cache.
class VolumeNodes final : public NodeStore {
  public:
    VolumeNodes(VolumeContext& volume, std::vector<BlockRun> runs, std::uint32_t nodeSize,
                bool cached);
    [[nodiscard]] bool read(std::uint32_t number, ByteSpan node) override;
    [[nodiscard]] bool write(std::uint32_t number, ConstByteSpan node) override;

  private:
    VolumeContext& volume_;
    std::vector<BlockRun> runs_;
    std::uint32_t nodeSize_;
    std::unique_ptr<NodeCache> cache_;
};

/// Blocks in use while a change is under way: a set bit is a block in use, most significant first.
struct AllocationState {
    std::vector<std::uint8_t> bitmap;  ///< empty while nothing is loaded
    std::vector<BlockRun> file;        ///< HFS+: where the allocation file lies
};

struct VolumeContext : MediumContext {
    bool isMounted = false;
    bool isHfsPlus = false;
    MasterDirectoryBlock mdb{};          ///< HFS
    VolumeHeader vhb{};                  ///< HFS+
    std::uint64_t partitionSectors = 0;  ///< of the partition, or of the image behind its start
    std::uint32_t bitmapSectors = 0;
    std::uint32_t bitmapBytes = 0;
    TreeCursor catalog;
    TreeCursor extents;
    std::unique_ptr<VolumeNodes> catalogNodes;
    std::unique_ptr<VolumeNodes> extentsNodes;
    AllocationState allocation;

    /// Allocation blocks of the volume.
    [[nodiscard]] std::uint32_t totalBlocks() const {
        return isHfsPlus ? vhb.totalBlocks : mdb.totalBlocks;
    }
    [[nodiscard]] std::uint32_t freeBlocks() const {
        return isHfsPlus ? vhb.freeBlocks : mdb.freeBlocks;
    }
};

}  // namespace vellmark
