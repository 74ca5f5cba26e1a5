// The bad block file: blocks that are in use without a file of the catalog that owns them. It has
// records in the extents tree and nowhere else (Inside Macintosh: Files, chapter 2; Apple Technical
// Note TN1150, "Bad Block File"). On a hybrid disc it owns what the PC side alone needs: to a
// Macintosh that repairs the volume, blocks without an owner would be free.
#pragma once

#include "volume/writable_volume.hpp"

namespace vellmark {

/// Adds to the bad block file what the PC side needs and nothing of the volume has, as after the
/// deletion of a file that both sides show, the largest runs first. Where there is no room for more
/// records, or the trees are damaged, the others are in use without an owner, and the next change
/// tries again: no change fails for it. `Failed` when a node cannot be read or written.
[[nodiscard]] TreeResult GivePcSideAnOwner(WritableVolume& volume);

}  // namespace vellmark
