// The labels of a project that nobody named.
#pragma once

#include <string>
#include <string_view>

#include "project/project_record.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// The label of a project that nobody named, in the language of the person; Windows-1252.
[[nodiscard]] std::string UntitledLabel(Language language);

/// Whether a label, Windows-1252, is that one, in whatever language.
[[nodiscard]] bool IsUntitledLabel(std::string_view label);

/// Gives each label that is still "Untitled", in whatever language, the name of the image at
/// `targetPath` without its extension. A name with letters that a label cannot hold is reported,
/// and the label is "Untitled" in the language of the person. So is an empty one. True when a label
/// took the name: it belongs to the project from then on.
[[nodiscard]] bool SettleLabels(ProjectHeader& header, const std::string& targetPath,
                                Messages& messages);

}  // namespace vellmark
