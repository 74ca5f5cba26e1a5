// How a project is opened to be changed, and what is kept of it before it is saved.
#pragma once

#include <optional>
#include <string>

#include "project/project_file.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Opens the project that `path` leads to, to change it: refuses a file that is write-protected,
/// which the saving of a project would not notice, as it puts a new file in its place. What went
/// wrong has been shown. Nobody else may open it as long as its records are in memory; others are
/// waited for so many milliseconds.
[[nodiscard]] bool OpenForChange(const std::string& path, ProjectMode mode, unsigned lockWaitMs,
                                 Messages& messages, std::optional<ProjectFile>& project);

/// Keeps the project as its file has it, with the extension `BAK` beside it; says so when that
/// cannot be done, or when the copy has another name as something else has that one.
void BackUpBeforeChange(const ProjectFile& project, Messages& messages);

/// Saves what a build settled about its project. A project that may not be saved over its file
/// stays as it is, which is reported; false when it should have been saved and was not.
[[nodiscard]] bool SaveAfterBuild(ProjectFile& project, Messages& messages);

}  // namespace vellmark
