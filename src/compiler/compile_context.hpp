// One compile: what is to be made, and how it ended.
#pragma once

#include <cstdint>
#include <string>

#include "project/project_file.hpp"
#include "support/clock.hpp"
#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// Bytes of a sector of a disc; a block of the Macintosh structures has 512.
inline constexpr std::uint32_t kDiscSectorBytes = 2048;
inline constexpr std::uint32_t kBlocksPerSector = 4;
/// Zero sectors that some drives want to see behind the data (2 seconds).
inline constexpr std::uint32_t kPostgapSectors = 150;

/// The six kinds of image.
enum class CompileMode : int {
    HybridHfs = 0,
    HybridHfsPlus = 1,
    IsoPlus = 2,
    PureIso = 3,
    PureHfs = 4,
    PureHfsPlus = 5
};

[[nodiscard]] constexpr bool HasIso(CompileMode mode) {
    return mode != CompileMode::PureHfs && mode != CompileMode::PureHfsPlus;
}
[[nodiscard]] constexpr bool HasMacintosh(CompileMode mode) {
    return mode != CompileMode::PureIso && mode != CompileMode::IsoPlus;
}
[[nodiscard]] constexpr bool IsHfsPlusMode(CompileMode mode) {
    return mode == CompileMode::HybridHfsPlus || mode == CompileMode::PureHfsPlus;
}

enum class CompileResult : int {
    Done = 0,
    Aborted = -1,         ///< stopped by the user
    CopyFailed = -2,      ///< a source could not be read, or the target not written
    TablesFailed = -3,    ///< the temporary tables could not be made
    NoRoom = -4,          ///< the target's disk is too small
    Empty = -5,           ///< nothing to put into the image
    TargetFailed = -6,    ///< the target cannot be created
    ProjectNotSaved = -7  ///< the image is there, but what it settled about the project is lost
};

/// What the person asked for.
enum class ImageKind { Hybrid, Iso, Hfs };

/// One compile request, handed down through the steps.
struct CompileContext {
    ProjectFile& project;
    Messages& messages;
    Progress& progress;
    const Clock& clock;
    std::string targetPath;              ///< path of the image
    ImageKind kind = ImageKind::Hybrid;  ///< an ISO+ project has one kind of its own
    bool postgap = false;                ///< add `kPostgapSectors`
    std::uint64_t freeBytes = 0;         ///< room in the Macintosh volume that no file takes
    bool strictIso = false;       ///< sort the ISO trees as ECMA-119 asks, and tell of deep folders
    bool replace = false;         ///< an existing image may be replaced
    bool isPassing = false;       ///< the image is passed on, and need not outlast a power cut
    bool projectChanged = false;  ///< since it was opened: save it with the image
    FileGuard guard = {};         ///< of an image that is replaced
    std::string tableFolder = ".";              ///< where the temporary tables lie
    CompileMode mode = CompileMode::HybridHfs;  ///< settled by the driver
};

}  // namespace vellmark
