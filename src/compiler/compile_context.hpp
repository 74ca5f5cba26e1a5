// One compile: what is to be made, and how it ended.
#pragma once

#include <cstdint>

#include "compiler/build_request.hpp"
#include "project/project_file.hpp"
#include "support/clock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

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
    Aborted = -1,       ///< stopped by the user
    CopyFailed = -2,    ///< a source could not be read, or the target not written
    TablesFailed = -3,  ///< the temporary tables could not be made
    NoRoom = -4,        ///< the target's disk is too small
    Empty = -5,         ///< nothing to put into the image
    TargetFailed = -6,  ///< the target cannot be created
    NotRebuilt = -7     ///< the rebuild before it was stopped, or sources are not there
};

/// One compile, handed down through its steps.
struct CompileContext {
    ProjectFile& project;
    const BuildRequest& request;
    Messages& messages;
    Progress& progress;
    const Clock& clock;
    CompileMode mode = CompileMode::HybridHfs;  ///< settled by the driver
};

}  // namespace vellmark
