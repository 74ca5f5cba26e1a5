// The help, in a window of its own.
#pragma once

#include "support/texts.hpp"

class QWidget;

namespace vellmark {

/// Shows a topic of the help ("project", "partition", "isoplus", "keys"; "" for its beginning),
/// beside the window that goes on. A help window that is there already shows it.
void ShowHelpTopic(const char* topic, Language language, QWidget* owner);

}  // namespace vellmark
