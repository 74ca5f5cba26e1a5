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

/// Whether a file holds the icon of a folder, in its place or not. The icon of a volume is known by
/// its name alone.
[[nodiscard]] bool IsIconFile(const ProjectRecord& record);

/// Brings the mark of a folder, or of the volume, up to date after an icon file came or went or had
/// its name or its views changed: the mark is there as long as the HFS view has such a file.
void RenewIconMark(ProjectFile& project, std::int32_t folder);

/// The icon of the volume, which is about to leave root, has the name again that it came with.
void BecomeFolderIcon(ProjectRecord& record);

/// Takes the mark from the folder of such a file, which is about to leave or to become another.
void ForgetCustomIcon(ProjectFile& project, const ProjectRecord& record);

}  // namespace vellmark
