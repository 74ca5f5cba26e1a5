// The journal of an HFS+ volume, looked at only to see whether it still holds changes (Apple
// Technical Note TN1150, "Journal").
#pragma once

#include "volume/volume_context.hpp"

namespace vellmark {

/// Whether the volume keeps a journal in which changes may wait that were not carried out: also
/// when the journal lies on another device, or cannot be read or understood.
[[nodiscard]] bool JournalHoldsChanges(VolumeContext& volume);

}  // namespace vellmark
