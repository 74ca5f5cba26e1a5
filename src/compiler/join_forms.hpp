// Joining a partition to a disc in each of the forms of image, once everything that can be known
// beforehand speaks for it.
#pragma once

#include "compiler/join_job.hpp"

namespace vellmark {

/// Puts the partition behind a plain image and the map in front, where the file lies.
[[nodiscard]] HybridationResult JoinPlain(JoinJob& job);
/// The same with the sectors of a raw image of one data track.
[[nodiscard]] HybridationResult JoinRaw(JoinJob& job);
/// Makes a plain image of a raw one and the partition, and puts it in the place of the raw one.
[[nodiscard]] HybridationResult JoinRepacked(JoinJob& job);

}  // namespace vellmark
