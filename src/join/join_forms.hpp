// Joining a partition to a disc in each of the forms of image, once everything that can be known
// beforehand speaks for it.
#pragma once

#include "join/join_job.hpp"

namespace vellmark {

/// Puts the partition behind a plain image and the map in front, where the file lies.
[[nodiscard]] HybridationResult JoinPlain(JoinJob& job);
/// The same with the sectors of a raw image of one data track.
[[nodiscard]] HybridationResult JoinRaw(JoinJob& job);
/// Whether what a raw image has behind its ISO 9660 volume can be what is left of a join in which
/// the power failed: sectors with their headers, and zeros or a part in the places of others. Reads
/// all of it. A join goes behind it and leaves its bytes alone.
[[nodiscard]] bool EndsInTornJoin(const JoinJob& job);
/// Makes a plain image of a raw one and the partition, and puts it in the place of the raw one.
[[nodiscard]] HybridationResult JoinRepacked(JoinJob& job);

}  // namespace vellmark
