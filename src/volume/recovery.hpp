// What is found when something ended before its time: this program in the middle of a flush, or
// another system with a volume of HFS mounted.
#pragma once

#include "support/messages.hpp"
#include "volume/mount.hpp"

namespace vellmark {

/// Completes a change of the open image whose redo log lies beside it (IO/redo_log.hpp), and says
/// so. An image that is opened for reading is opened for writing meanwhile, where that is allowed.
/// False after a message when it could not be completed, and nothing may be changed.
[[nodiscard]] bool CompleteInterruptedChange(VolumeContext& volume, Access access,
                                             Messages& messages);

/// HFS: what the catalog and the extents tree have in use is marked in the loaded bitmap, and the
/// next number is raised above all that are there. Emulators that are ended hard leave both behind
/// the catalog; new files would then overwrite others.
[[nodiscard]] TreeResult CatchUpWithCatalog(VolumeContext& volume);

}  // namespace vellmark
