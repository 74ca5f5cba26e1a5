// The names of the volume that is made from a project.
#pragma once

#include <string>

#include "project/project_file.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Which label is meant.
enum class LabelSide { Both, Iso, Hfs };

/// Whether a volume can have a label of UTF-8. False, after a message, when it is empty, longer
/// than the format takes, has a control character or, for HFS, one that MacRoman lacks.
[[nodiscard]] bool CheckLabel(const std::string& label, bool isHfsPlus, Messages& messages);

/// Sets labels from UTF-8, that of the Macintosh side as `RenameVolume` and `FormatVolume` do. An
/// ISO+ project has one label only, the ISO one. False, after a message and without a change, when
/// it is refused: for both sides by the rule of the Macintosh side; `_` then stands for a character
/// that Windows-1252, in which the ISO label is kept, lacks. An HFS+ project keeps both in it.
[[nodiscard]] bool SetLabels(ProjectFile& project, const std::string& label, LabelSide side,
                             Messages& messages);

}  // namespace vellmark
