// Folders that exist in the project only, and the way to a folder by its path in the project.
#pragma once

#include <cstdint>
#include <string_view>

#include "project/project_file.hpp"
#include "project/view_names.hpp"
#include "support/clock.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// What the making of folders goes by.
struct NewFolderOptions {
    const Clock& clock;                      ///< their dates are now
    ProjectView view = ProjectView::Hybrid;  ///< an ISO+ project has only ISO
    TruncationAnswers truncation = {};
    bool widens = true;  ///< takes folders of a path that are there already into the view
};

/// Makes a folder in `parent` and returns its number. The name is UTF-8. 0 when it cannot be: the
/// reason has been shown.
[[nodiscard]] std::int32_t NewFolder(ProjectFile& project, std::string_view name,
                                     std::int32_t parent, NewFolderOptions& options,
                                     Messages& messages);

/// Makes those folders of a path (from root, `/` or `\` between the names) that the project lacks,
/// and returns the number of the last. A folder that is there but not in the view is taken into it
/// if the options say so. 0 when a folder cannot be made: the reason has been shown, and the
/// project should not be saved.
[[nodiscard]] std::int32_t NewPathFolder(ProjectFile& project, std::string_view path,
                                         NewFolderOptions& options, Messages& messages);

/// The number of the folder with that path of source names (UTF-8, `/` between them, from root);
/// root for the empty path, 0 when it is not there.
[[nodiscard]] std::int32_t FindFolderByPath(const ProjectFile& project, std::string_view path);

}  // namespace vellmark
