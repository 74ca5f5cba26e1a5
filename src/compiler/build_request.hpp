// What image of a project is wanted.
#pragma once

#include <cstdint>
#include <string>

#include "project/rebuild.hpp"
#include "support/file_lock.hpp"

namespace vellmark {

/// Which sides the image has. An ISO+ project has one kind of its own.
enum class ImageKind { Hybrid, Iso, Hfs };

struct BuildRequest {
    std::string targetPath;  ///< path of the image
    ImageKind kind = ImageKind::Hybrid;
    bool postgap = false;          ///< add `kPostgapSectors`
    std::uint64_t freeBytes = 0;   ///< room in the Macintosh volume that no file takes
    bool strictIso = false;        ///< sort the ISO trees as ECMA-119 asks, and report deep folders
    bool replace = false;          ///< an existing image may be replaced
    bool isPassing = false;        ///< the image is passed on, and need not outlast a power cut
    FileGuard guard = {};          ///< of an image that is replaced
    std::string tableFolder = {};  ///< where temporary tables lie; "" for a folder of their own

    /// The project is brought up to date with the disk first, as it may want by itself
    /// (`ProjectHeader::rebuildBeforeCompile`).
    bool rebuilds = false;
    RebuildRequest rebuild = {};
    bool backsUp = true;  ///< a copy is made of a project that the rebuild changed
};

}  // namespace vellmark
