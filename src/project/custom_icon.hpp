// Files that hold the custom icon of the folder they lie in, or in root that of the volume.
#pragma once

#include "project/project_file.hpp"
#include "project/sibling_names.hpp"

namespace vellmark {

/// Gives the folder of a file with a custom icon its mark. In root of a hybrid project the file
/// becomes the icon of the volume, in the HFS view alone; `names` are those of root. A volume has
/// one icon: another file of that name comes first, and a second icon stays a file.
void PlaceCustomIcon(ProjectFile& project, ProjectRecord& record, SiblingNames& names);

/// Whether a file was given its place by `PlaceCustomIcon`.
[[nodiscard]] bool IsPlacedIcon(const ProjectRecord& record);

/// Takes the mark from the folder of such a file, which is about to leave or to become another.
void ForgetCustomIcon(ProjectFile& project, const ProjectRecord& record);

}  // namespace vellmark
