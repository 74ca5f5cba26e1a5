// Blocks of a Macintosh volume that the ISO 9660 side of the same image needs. On a hybrid disc the
// files that both sides show have their bytes once: such blocks are never free, whatever the volume
// says of them, and nothing is ever written there.
#pragma once

#include <vector>

#include "volume/volume_context.hpp"

namespace vellmark {

/// Looks through the ISO 9660 trees of the image, once for each mounted volume, and notes their
/// blocks in `pcSide`. A reason for reading only is added where they cannot be found, or where the
/// volume's own structures lie in them.
void FindPcSide(VolumeContext& volume);

/// The parts of a run that the PC side does not need.
[[nodiscard]] std::vector<BlockRun> WithoutPcSide(const VolumeContext& volume, BlockRun run);

}  // namespace vellmark
