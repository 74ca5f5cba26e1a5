// What a file is by its name: the extension settles in which mode it is worked on.
#pragma once

#include <string_view>

#include "project/project_file.hpp"

namespace vellmark {

enum class FileMode : int {
    Unknown = -1,
    Project = 0,    ///< a hybrid project
    Partition = 1,  ///< a disk image
    IsoPlus = 2     ///< an ISO+ project
};

/// By the extension of the last component (`/` or `\` before it), in any case. Only as many of its
/// characters count as the known extension has: `.isofoo` is an image too.
[[nodiscard]] FileMode FileModeOf(std::string_view path);

/// The kind of project that a file of that name is or becomes: hybrid for any name but an ISO+ one.
[[nodiscard]] ProjectMode ProjectModeOf(std::string_view path);

}  // namespace vellmark
