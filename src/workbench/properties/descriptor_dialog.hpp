// The texts of the ISO descriptor.
#pragma once

#include "project/project_file.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

/// Asks for the texts until they can be had, and sets them. False when nothing was changed.
[[nodiscard]] bool AskDescriptorTexts(TVellmark& window, ProjectFile& project, QWidget* owner);

}  // namespace vellmark
