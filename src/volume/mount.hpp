// From an open image to a mounted volume.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "IO/recognition.hpp"
#include "support/messages.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

/// Reads the header of the volume at `partitionStart` and sets the geometry. An HFS wrapper around
/// an HFS+ volume is stepped through. False when there is no header of a known kind, or one whose
/// sizes cannot be right: HFS with a block size that is no multiple of 512, HFS+ with one that is
/// no power of two from 512 on.
[[nodiscard]] bool ReadVolumeHeader(VolumeContext& volume);

/// Opens the extents tree and the catalog. False when one of them cannot be used.
[[nodiscard]] bool OpenTrees(VolumeContext& volume);

/// What an image is opened for.
enum class Access {
    Read,   ///< the file is never opened for writing, and nobody changes it meanwhile
    Change  ///< nobody else may open it meanwhile
};

/// Which volume is to be opened, and how.
struct OpenRequest {
    std::string path;
    bool writable = false;  ///< a bare volume may be changed as well, and a locked one
    std::optional<unsigned> partition = {};  ///< from 1; nothing for the first that has a volume
    Access access = Access::Change;  ///< a file that may only be read is opened all the same
    bool unlocks = false;            ///< a locked volume may be changed
    std::string name = {};           ///< how messages call the image; empty for its path
};

/// Opens an image file. False after a message that names it and the reason; nothing is open then.
[[nodiscard]] bool OpenImageFile(VolumeContext& volume, const std::string& path, Access access,
                                 Messages& messages);

/// Opens the image file and mounts its volume; whether it may be changed is in `readOnlyReasons`.
/// False after a message that names the file and the reason; nothing is open then. A compressed
/// disk image is refused.
[[nodiscard]] bool OpenVolume(VolumeContext& volume, const OpenRequest& request,
                              Messages& messages);

/// Mounts the first partition of the open medium that really holds a volume. False when none does;
/// `ReadOnlyReason::CutImage` is then there for one that goes on behind the end of the image.
/// Messages as for `ScanMedium`.
[[nodiscard]] bool MountRequest(VolumeContext& volume, Messages* messages = nullptr);

/// Mounts one of the partitions that `ScanMedium` found, `number` from 1. None, or why not.
[[nodiscard]] Reason ChoosePartition(VolumeContext& volume,
                                     const std::vector<PartitionEntry>& partitions,
                                     unsigned number);

/// Name of the mounted volume, UTF-8, a slash in it shown as `:`.
[[nodiscard]] std::string VolumeName(VolumeContext& volume);

}  // namespace vellmark
