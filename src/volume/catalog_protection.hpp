// What later systems keep on HFS+ volumes and this program does not change: hard links, the files
// that they lead to, compressed files, and extended attributes (Apple Technical Note TN1150).
#pragma once

#include "volume/edit_result.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// `Protected` when the record that the catalog stands on is not to be renamed, moved, relabelled
/// or deleted; else `Done`.
[[nodiscard]] EditResult RefuseChange(VolumeContext& volume);
/// The same for a deletion, which would also leave extended attributes without their file.
[[nodiscard]] EditResult RefuseDeletion(VolumeContext& volume);

}  // namespace vellmark
