// Which volume of which image a verb works on.
#pragma once

#include <optional>
#include <string>

#include "session/options.hpp"
#include "volume/mount.hpp"

namespace vellmark {

struct VolumeOptions {
    std::string image;
    std::optional<unsigned> partition = {};  ///< from 1; nothing for the first that has a volume
    bool writable = false;                   ///< change a bare volume as well, and a locked one
    bool unlocks = false;                    ///< change a locked one
};

/// Declares `--partition`.
void AddPartitionNumber(OptionSet& arguments, std::optional<unsigned>& partition);
/// Declares IMAGE, `--partition` and `--writable`, for a verb that changes a volume.
void AddVolumeOptions(OptionSet& arguments, VolumeOptions& options);

/// What is asked of the image that is opened under `path` and called `name`.
[[nodiscard]] OpenRequest RequestOf(const VolumeOptions& options, const std::string& path,
                                    const std::string& name);

}  // namespace vellmark
