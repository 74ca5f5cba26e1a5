// A mounted volume that is open for changes: its bitmap and its maps of nodes are in memory, and
// what is changed stays there until it is written, all of it or in the end none.
#pragma once

#include <cstdint>
#include <map>
#include <tl/expected.hpp>
#include <vector>

#include "IO/sector_batch.hpp"
#include "support/mac_dates.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Which blocks are in use.
struct AllocationState {
    std::vector<std::uint8_t> bitmap;  ///< a set bit is a block in use, most significant first
    std::vector<BlockRun> file;        ///< HFS+: where the allocation file lies
    /// Start and count of what was given up since the last flush. The medium still refers to these
    /// blocks, so nothing is put there and the bitmap has them in use.
    std::map<std::uint32_t, std::uint32_t> freed;
    std::size_t changedFrom = 0;  ///< bytes of the bitmap that the medium does not have yet
    std::size_t changedEnd = 0;

    /// One step of marking, to be undone by its opposite.
    enum class Mark { Used, Free, Freed, NotFreed };
    struct Marking {
        BlockRun run;
        Mark mark = Mark::Used;
    };
    bool hasSavepoint = false;
    std::vector<Marking> sinceSavepoint;
};

/// What every function that changes a volume takes. It is a handle: the volume itself stays mounted
/// as long as this lives, and what was not flushed is forgotten with it. One volume has one at a
/// time.
class WritableVolume {
  public:
    /// Loads bitmap and node maps. `Failed` when the volume may only be read, `Damaged` when the
    /// allocation file does not cover the volume, or the image ends before it.
    [[nodiscard]] static tl::expected<WritableVolume, TreeResult> Load(VolumeContext& volume);

    VolumeContext* operator->() const { return volume_; }
    VolumeContext& operator*() const { return *volume_; }
    /// It is read like any other.
    operator VolumeContext&() const { return *volume_; }

    /// Writes nodes, node maps, bitmap, header and its copy, counting the write, all of it or in
    /// the end none (IO/sector_batch.hpp). What was given up before is free after it. When it fails
    /// it can be tried again.
    [[nodiscard]] TreeResult flush(const Clock& clock);
    /// What a flush that failed has not written, or not all of it.
    [[nodiscard]] const SectorBatch& unfinished() const { return unfinished_; }

    [[nodiscard]] AllocationState& allocation() { return allocation_; }
    [[nodiscard]] const AllocationState& allocation() const { return allocation_; }

    /// HFS: a folder was given more items than some systems show.
    bool hasLargeFolder = false;

  private:
    explicit WritableVolume(VolumeContext& volume) : volume_(&volume) {}
    [[nodiscard]] TreeResult load();
    [[nodiscard]] TreeResult readBitmap();
    [[nodiscard]] bool commit();
    [[nodiscard]] bool writeHeaders(const Clock& clock);

    VolumeContext* volume_;
    AllocationState allocation_;
    SectorBatch unfinished_;
};

/// Where the second header stands: in the last but one sector of the partition. In HFS that is
/// behind the last block. In HFS+ it is in the last blocks, or behind them where the partition is
/// no multiple of the block size; a partition that goes on for more than that is not the volume's
/// own. In sectors of 512 bytes from the start of the image.
[[nodiscard]] Sector512 AlternateSector(const VolumeContext& volume);

}  // namespace vellmark
