// What is found when something ended before its time: this program in the middle of a flush, or
// another system with a volume of HFS mounted.
#pragma once

#include "support/messages.hpp"
#include "volume/mount.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// Completes a change of an image that has a redo log (IO/redo_log.hpp), and says so. An image that
/// is only read is shown as it will be then; neither it nor the log is changed. A log of another
/// state of the image gets another name before the image is changed. What cannot be judged stays as
/// it is. False after a message when the image must not be changed.
[[nodiscard]] bool CompleteInterruptedChange(PcFile& image, const std::string& path,
                                             const FileGuard& guard, Access access,
                                             Messages& messages);

/// HFS: what the catalog and the extents tree have in use is marked in the loaded bitmap, and the
/// next number is raised above all that are there. Emulators that are ended hard leave both behind
/// the catalog; new files would then overwrite others.
[[nodiscard]] TreeResult CatchUpWithCatalog(WritableVolume& volume);

}  // namespace vellmark
