// How commands come to a project and leave it.
#pragma once

#include <optional>
#include <string>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "session/command_context.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Opens a project to change it: refuses a file that is write-protected, which the saving of a
/// project would not notice, as it puts a new file in its place. What went wrong has been shown.
/// Nobody else may open it as long as its records are in memory.
[[nodiscard]] bool OpenForChange(const std::string& path, const CommandContext& context,
                                 Messages& messages, std::optional<ProjectFile>& project);

/// How a project is opened that is to be saved, or may have to be.
[[nodiscard]] ProjectAccess ChangingAccess(const CommandContext& context);

/// Keeps the project as its file has it, with the extension `BAK` beside it; tells when that cannot
/// be done, or when the copy has another name as something else has that one. Not where the
/// settings do without.
void BackUpBeforeChange(const ProjectFile& project, const CommandContext& context,
                        Messages& messages);

/// Whether the project may be saved after this inclusion: not when it was stopped, or when a name
/// stands for nothing or for what may not be there twice. The reason has been shown then. What was
/// left out is no reason.
[[nodiscard]] bool IsWorthSaving(const InclusionResult& included, Messages& messages);

}  // namespace vellmark
