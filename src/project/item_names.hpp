// The names of one item in the views of its project.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "project/project_file.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// The name under which a view shows an item, UTF-8: the ISO name, the HFS name, or in the Hybrid
/// view the source name, which an ISO+ project shows too.
[[nodiscard]] std::string ShownItemName(const ProjectFile& project, const ProjectRecord& record,
                                        ProjectView view);

/// Longest name (bytes of the record) that an item can be given in a view.
[[nodiscard]] std::size_t ItemNameLimit(const ProjectFile& project, ProjectView view);

/// Gives an item another name in a view, from UTF-8. In the Hybrid view it gets it in each view
/// that it is in; a folder that exists in the project only is then called so altogether, while the
/// source name of an item of the PC, which says where it comes from, stays. An ISO+ project has the
/// ISO view alone.
///
/// The item goes to its place in the order of its folder. Its HFS name is locked, so that neither
/// the disk nor a change of format takes it away; its ISO name where a compile would take the one
/// on the disk (folders, and names that Windows-1252 lacks). An icon of a folder or of the volume
/// that is no more called so gives up its mark.
///
/// Nothing when it was done; else nothing has changed: the item is not there or not in the view,
/// the name is empty, too long, holds characters that the view lacks, or another item of the folder
/// has it in that view, be it in other letters of case.
[[nodiscard]] Reason RenameItem(ProjectFile& project, std::int32_t number, std::string_view name,
                                ProjectView view);

}  // namespace vellmark
