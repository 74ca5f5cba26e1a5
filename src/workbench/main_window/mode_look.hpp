// How each working mode looks: its tints and its words in the status bar.
#pragma once

#include <QColor>

#include "session/documents.hpp"

namespace vellmark {

/// Behind tree and list, where `base` is the palette's colour of such places.
[[nodiscard]] QColor ModeColour(FileMode mode, const QColor& base);

/// What the first panel of the status bar says: the view of a project, or the mode.
[[nodiscard]] QString ModeWords(const Documents& documents, Language language);

}  // namespace vellmark
