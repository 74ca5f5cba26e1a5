// An image file with a new, empty volume.
#pragma once

#include <cstdint>
#include <string>

#include "support/file_lock.hpp"
#include "support/ports.hpp"
#include "support/reason.hpp"
#include "volume/formatter.hpp"

namespace vellmark {

/// Why no volume of that format can have so many megabytes; none when it can.
[[nodiscard]] Reason VolumeSizeRefusal(bool isHfsPlus, std::uint64_t megabytes);

struct NewVolumeFile {
    std::string path;
    bool replaces = false;  ///< a file of that name that is there
    FileGuard guard = {};
};

/// Makes the image, which appears under its name when it is whole. False after a message; the disk
/// is then as it was.
[[nodiscard]] bool MakeVolumeFile(const NewVolumeFile& file, const FormatInput& input,
                                  const Ports& ports);

}  // namespace vellmark
