// The open volume: the medium, its header and its two trees. Two volumes can be open in one
// process; each has a record of its own.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
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

/// The nodes of a tree of the volume, wherever the extents of its file lie. What is written stays
/// in memory until `flush`, so that a change which fails half-way can be taken back. Nodes of a
/// catalog that are only read go through a cache.
class VolumeNodes final : public NodeStore {
  public:
    VolumeNodes(VolumeContext& volume, std::vector<BlockRun> runs, std::uint32_t nodeSize,
                bool cached);
    [[nodiscard]] bool read(std::uint32_t number, ByteSpan node) override;
    [[nodiscard]] bool write(std::uint32_t number, ConstByteSpan node) override;

    /// Writes to the medium what has changed.
    [[nodiscard]] bool flush();
    [[nodiscard]] std::size_t changedBytes() const { return changed_.size() * nodeSize_; }
    /// From here on `rollBack` can take everything back, until `keep`.
    void setSavepoint();
    void rollBack();
    void keep();
    /// The tree's file has grown.
    void addRun(BlockRun run) { runs_.push_back(run); }
    [[nodiscard]] const std::vector<BlockRun>& runs() const { return runs_; }

  private:
    using Bytes = std::vector<std::uint8_t>;

    VolumeContext& volume_;
    std::vector<BlockRun> runs_;
    std::uint32_t nodeSize_;
    std::unique_ptr<NodeCache> cache_;
    std::map<std::uint32_t, Bytes> changed_;
    bool hasSavepoint_ = false;
    std::map<std::uint32_t, Bytes> before_;  ///< of what the savepoint saw; empty: not changed then
    std::size_t runsBefore_ = 0;
};

struct VolumeContext : MediumContext {
    bool isMounted = false;
    bool isHfsPlus = false;
    MasterDirectoryBlock mdb{};          ///< HFS
    VolumeHeader vhb{};                  ///< HFS+
    std::string partitionName;           ///< in the map, UTF-8; empty without one
    std::uint64_t partitionSectors = 0;  ///< of the partition, or of the image behind its start
    std::uint32_t bitmapSectors = 0;
    std::uint32_t bitmapBytes = 0;
    TreeCursor catalog;
    TreeCursor extents;
    std::unique_ptr<VolumeNodes> catalogNodes;
    std::unique_ptr<VolumeNodes> extentsNodes;
    /// Blocks that the ISO 9660 side of the image needs, in rising order (volume/pc_side.hpp);
    /// nothing as long as it was not looked for.
    std::optional<std::vector<BlockRun>> pcSide;

    /// Allocation blocks of the volume.
    [[nodiscard]] std::uint32_t totalBlocks() const {
        return isHfsPlus ? vhb.totalBlocks : mdb.totalBlocks;
    }
    [[nodiscard]] std::uint32_t freeBlocks() const {
        return isHfsPlus ? vhb.freeBlocks : mdb.freeBlocks;
    }
};

}  // namespace vellmark
