// What a person should know of a volume that is full.
#pragma once

#include <cstdint>

#include "support/reason.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Why a volume took no `wantedBytes` more: on a hybrid disc because of what its PC
/// side keeps, or when the blocks of an HFS volume are used up and not its bytes, as they would be
/// enough were its blocks as small as they can be. None otherwise. Reads the whole catalog.
[[nodiscard]] Reason RoomRemark(VolumeContext& volume, std::uint64_t wantedBytes);

}  // namespace vellmark
