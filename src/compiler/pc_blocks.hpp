// Blocks of a hybrid image's Macintosh volume that the PC alone reads, such as the containers of
// Macintosh files: no file of the catalog has them. The extents tree names them as those of the bad
// block file (Apple Technical Note TN1150, "Bad Block File"), so that a repair of the volume does
// not take them for lost, frees them and lets other files overwrite them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "compiler/disc_plan.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// The runs that they make.
[[nodiscard]] std::size_t CountPcRuns(const DiscPlan& plan);

/// Those of a plan whose files have their places, in rising order; `firstBlock` is the allocation
/// block at which the file area begins.
[[nodiscard]] std::vector<BlockRun> PcBlocks(const DiscPlan& plan, std::uint32_t blockSize,
                                             BlockNumber firstBlock);

}  // namespace vellmark
