// How commands come to a project and leave it.
#pragma once

#include <optional>
#include <string>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Opens a project to change it: refuses a file that is write-protected, which the saving of a
/// project would not notice, as it puts a new file in its place. What went wrong has been shown.
[[nodiscard]] bool OpenForChange(const std::string& path, Messages& messages,
                                 std::optional<ProjectFile>& project);

/// Keeps the project as its file has it, with the extension `BAK` beside it; tells when that cannot
/// be done.
void BackUpBeforeChange(const ProjectFile& project, Messages& messages);

/// Whether the project may be saved after this inclusion. An item that was named and is not in the
/// project now makes the whole command fail; the reason has been shown then.
[[nodiscard]] bool IsWorthSaving(const InclusionResult& included, Messages& messages);

}  // namespace vellmark
