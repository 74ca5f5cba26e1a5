// Paths of a project made right after its files were moved: one path put in the place of another,
// and the search for an item that is missing.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "project/project_file.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// The path of a folder of the PC, as a person gives it, as records have it: Windows-1252, `/` at
/// its end. Empty when no record can hold it.
[[nodiscard]] std::string RecordPathOf(const std::string& typed);
/// The same of a path that items of a project have: one with `\` alone comes from another system
/// and stays as it is.
[[nodiscard]] std::string OldRecordPathOf(const std::string& typed);

/// The folders of the PC that the items of a project come from, without those that lie in another
/// of them: as records have them, in their order.
[[nodiscard]] std::vector<std::string> TopAccessPaths(const ProjectFile& project);

/// What became of the items of a path.
struct PathsChanged {
    std::int64_t items = 0;
    std::int64_t skipped = 0;  ///< reported through `Messages::itemSkipped`
};

/// Puts `newPath` in the place of `oldPath` (both Windows-1252, as records have them; a missing
/// separator at their ends is added) at the start of every access path, case by case. A folder that
/// is itself what `oldPath` names becomes what `newPath` names, its source name included; the names
/// in the views stay. Where `oldPath` is written with `\` throughout, as in a project made on
/// another system, what follows it comes to be written with `/`. An item whose new path is longer
/// than a record holds is reported through `Messages::itemSkipped` and left as it is.
[[nodiscard]] PathsChanged ChangeAccessPath(ProjectFile& project, std::string_view oldPath,
                                            std::string_view newPath, Messages& messages);

/// Most places that a search names.
inline constexpr std::size_t kMostPlaces = 128;

/// Looks for files, or folders, of that source name (whole or 8.3, without regard to case) below
/// the folders given, such as all mounted disks. Links are not followed, folders that cannot be
/// read passed over. Paths of the system, in the order in which they are found; ends when the
/// user stops it.
[[nodiscard]] std::vector<std::string> Locate(std::span<const std::string> places,
                                              std::string_view sourceName, bool isFolder,
                                              Progress& progress);

/// Makes the item come from `path`, an existing file or folder of the PC: its access path and its
/// source name, and the access paths of what the project has below a folder. False after a message
/// when the item is not there, is of the other kind, or the path cannot be kept in a record.
[[nodiscard]] bool ReplaceSource(ProjectFile& project, std::int32_t number, const std::string& path,
                                 Messages& messages);

}  // namespace vellmark
