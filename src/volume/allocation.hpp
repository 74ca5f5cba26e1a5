// The bitmap of allocation blocks and the maps of nodes, in memory while a change is under way, and
// their way back to the image together with the header.
#pragma once

#include <cstdint>

#include "support/mac_dates.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Loads the bitmap and the catalog's node map. `Failed` when the volume may only be read,
/// `Damaged` when the allocation file does not cover the volume, or the image ends before it.
[[nodiscard]] TreeResult LoadAllocationState(VolumeContext& volume);

/// Writes nodes, node maps, bitmap, header and its copy, counting the write, all of it or in the
/// end none (IO/sector_batch.hpp), and forgets the bitmap. Without a loaded bitmap nothing is
/// written.
[[nodiscard]] TreeResult FlushVolume(VolumeContext& volume, const Clock& clock);
/// The same, with the bitmap kept for further changes. What was given up before is free after it.
[[nodiscard]] TreeResult CheckpointVolume(VolumeContext& volume, const Clock& clock);

/// Where the second header stands: in the last but one sector of the partition. In HFS that is
/// behind the last block. In HFS+ it is in the last blocks, or behind them where the partition is
/// no multiple of the block size; a partition that goes on for more than that is not the volume's
/// own. In sectors of 512 bytes from the start of the image.
[[nodiscard]] std::uint64_t AlternateSector(const VolumeContext& volume);

/// Forgets the bitmap without writing anything.
void ReleaseAllocationState(VolumeContext& volume);

}  // namespace vellmark
