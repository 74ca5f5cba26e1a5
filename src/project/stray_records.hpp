// Items that no way leads to from the root of their project: a project file from elsewhere may hold
// anything, and what is lost of it must be reported.
#pragma once

#include <functional>

#include "project/project_file.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Calls `tell` for each item whose folder the project lacks or which lies in a circle of folders,
/// and for each folder with a number that another one has. `reason` is a sentence.
void FindStrayRecords(
    const ProjectFile& project,
    const std::function<void(const ProjectRecord& record, const Reason& reason)>& tell);

}  // namespace vellmark
