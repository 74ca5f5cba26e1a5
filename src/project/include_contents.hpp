// What a command, a list or a person adds to a project in one go.
#pragma once

#include <string>
#include <vector>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "support/ports.hpp"

namespace vellmark {

/// What is to be included, and where. One of the three sources is used: the paths unless one of the
/// others is given.
struct ContentsRequest {
    /// Files, folders and patterns, as a person gives them.
    std::vector<std::string> paths = {};
    std::string list = {};   ///< path of a file that has them, one a line; "" for none
    std::string allOf = {};  ///< folder of the PC whose contents are wanted; "" for none
    /// Path of the folder of the project that takes them, made where it is not there; "" for root.
    std::string target = {};
};

/// Makes the target folder, in the view of the options, and includes all that was asked for, by
/// `Include`. The items of a folder are in its views: where these are not what was asked for, it is
/// reported. What leads to a status other than Done has been shown, `Stopped` too; the project
/// should not be saved then. What a list names in vain is left out and reported.
[[nodiscard]] InclusionResult IncludeContents(ProjectFile& project, const ContentsRequest& request,
                                              InclusionOptions& options, const Ports& ports);

/// Why nothing can be included from the folder of the PC of that path; none when it can.
[[nodiscard]] Reason SourceFolderRefusal(const std::string& path);

}  // namespace vellmark
