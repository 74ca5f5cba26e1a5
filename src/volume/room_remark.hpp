// What helps when a volume is full of small files.
#pragma once

#include <cstdint>
#include <string>

#include "volume/volume_context.hpp"

namespace vellmark {

/// A sentence when the blocks of an HFS volume are used up and not its bytes: what its files hold
/// and `wantedBytes` more would fit, were the blocks smaller, as they can be. "" otherwise. Reads
/// the whole catalog.
[[nodiscard]] std::string RoomRemark(VolumeContext& volume, std::uint64_t wantedBytes);

}  // namespace vellmark
