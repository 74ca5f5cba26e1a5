// The bitmap of allocation blocks and the maps of nodes, in memory while a change is under way, and
// their way back to the image together with the header.
#pragma once

#include "support/mac_dates.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Loads the bitmap and the catalog's node map. `Failed` when the volume may only be read,
/// `Damaged` when the allocation file does not cover the volume, or the image ends before it.
[[nodiscard]] TreeResult LoadAllocationState(VolumeContext& volume);

/// Writes node map, bitmap, header and its copy, counting the write, and forgets the bitmap.
/// Without a loaded bitmap nothing is written.
[[nodiscard]] TreeResult FlushVolume(VolumeContext& volume, const Clock& clock);

/// Forgets the bitmap without writing anything.
void ReleaseAllocationState(VolumeContext& volume);

}  // namespace vellmark
