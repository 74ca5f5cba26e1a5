// Items that no way leads to from the root of their project: a project file from elsewhere may hold
// anything, and what is lost of it must be told.
#pragma once

#include <functional>
#include <string_view>

#include "project/project_file.hpp"

namespace vellmark {

/// Calls `tell` for each item whose folder the project lacks or which lies in a circle of folders,
/// and for each folder with a number that another one has. `reason` is a sentence.
void FindStrayRecords(
    const ProjectFile& project,
    const std::function<void(const ProjectRecord& record, std::string_view reason)>& tell);

}  // namespace vellmark
