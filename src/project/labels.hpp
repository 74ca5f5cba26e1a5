// The names of the volume that is made from a project.
#pragma once

#include <string>

#include "project/project_file.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Which label is meant.
enum class LabelSide { Both, Iso, Hfs };

/// Why a volume cannot have a label of UTF-8: it is empty, longer than the format takes, has a
/// control character or, for HFS, one that MacRoman lacks. None when it can.
[[nodiscard]] Reason CheckLabel(const std::string& label, bool isHfsPlus);

/// Sets labels from UTF-8, that of the Macintosh side as `RenameVolume` and `FormatVolume` do. An
/// ISO+ project has one label only, the ISO one. A reason, and no change, when it is refused: for
/// both sides by the rule of the Macintosh side; `_` then stands for a character that Windows-1252,
/// in which the ISO label is kept, lacks. An HFS+ project keeps both in it.
[[nodiscard]] Reason SetLabels(ProjectFile& project, const std::string& label, LabelSide side);

}  // namespace vellmark
