// Joining a partition to the raw image of a Video CD: an ISO 9660 track, then tracks of video. The
// partition goes between them, a gap of 150 sectors behind it, and all stored positions of the
// video are raised: the table of entries in sector 151, the ISO directories, the cue sheet.
#pragma once

#include <cstdint>

#include "join/join_job.hpp"

namespace vellmark {

inline constexpr std::uint32_t kVideoGapSectors = 150;

/// Whether a raw image has the table of entries of a Video CD.
[[nodiscard]] bool IsVideoCd(ByteSource& image);

/// Makes a new image and, where there is a cue sheet, a new one of those. The old ones are kept
/// beside them with the extensions `BAK` and `BAC`; with `force` they replace older ones of these
/// names.
[[nodiscard]] HybridationResult JoinVideoCd(JoinJob& job);

}  // namespace vellmark
