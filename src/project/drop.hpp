// What is dropped on an open project: files and folders that go into the folder shown.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "project/inclusion.hpp"

namespace vellmark {

/// Who holds the project that something is dropped on.
class DropTarget {
  public:
    virtual ~DropTarget() = default;
    /// The open project, or a new one when none is open; nullptr when that could not be made, which
    /// has been shown.
    [[nodiscard]] virtual ProjectFile* openProject() = 0;
};

/// Includes the paths in order. One that is in the folder already, or has the name of another item
/// of the view, is reported and left out while the others go on; in an ISO+ project nothing is said
/// of the first. When something was added, the folder and those above it come into the view of the
/// options too. Nothing without a project. Saving is the caller's.
[[nodiscard]] std::optional<InclusionResult> AddDropped(DropTarget& target,
                                                        std::span<const std::string> paths,
                                                        std::int32_t folder,
                                                        InclusionOptions& options,
                                                        Messages& messages, Progress& progress);

}  // namespace vellmark
