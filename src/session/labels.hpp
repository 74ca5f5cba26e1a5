// The names of the volume that is made from a project.
#pragma once

#include <optional>
#include <string>

#include "project/project_file.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// Which label is meant.
enum class LabelSide { Both, Iso, Hfs };

/// A label of UTF-8 in Windows-1252. Nothing, after a message, when it is empty, longer than the
/// format takes, or has a character outside Windows-1252 or a control character.
[[nodiscard]] std::optional<std::string> CheckedLabel(const std::string& label, bool isHfsPlus,
                                                      Messages& messages);

/// Sets labels from UTF-8. An ISO+ project has one label only, the ISO one. False, after a message
/// and without a change, when it is refused: for both sides by the rule of the Macintosh side.
[[nodiscard]] bool SetLabels(ProjectFile& project, const std::string& label, LabelSide side,
                             Messages& messages);

}  // namespace vellmark
