// From an open image to a mounted volume.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "IO/recognition.hpp"
#include "support/messages.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Reads the header at `volumeOffset` and sets the geometry. An HFS wrapper around an HFS+ volume
/// is stepped through. False when there is no header of a known kind, or one whose sizes cannot be
/// right: HFS with a block size that is no multiple of 512, HFS+ with one that is no power of two
/// from 512 on.
[[nodiscard]] bool ReadVolumeHeader(VolumeContext& volume);

/// Opens the extents tree and the catalog. False when one of them cannot be used.
[[nodiscard]] bool OpenTrees(VolumeContext& volume);

/// Opens the image file and mounts its volume. False after a message that names the file and the
/// reason; nothing is open then.
[[nodiscard]] bool OpenVolume(VolumeContext& volume, const std::string& path, Messages& messages);

/// Mounts the first partition of the open medium that really holds a volume. False when none does.
[[nodiscard]] bool MountRequest(VolumeContext& volume);

/// Name of the mounted volume, UTF-8, a slash in it shown as `:`.
[[nodiscard]] std::string VolumeName(VolumeContext& volume);

}  // namespace vellmark
