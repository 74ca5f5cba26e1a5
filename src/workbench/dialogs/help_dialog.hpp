// The help, in a window of its own.
#pragma once

#include "support/texts.hpp"

class QDialogButtonBox;
class QWidget;

namespace vellmark {

/// Shows a topic of the help ("project", "partition", "isoplus", "keys"; "" for its beginning),
/// beside the window that goes on. A help window that is there already shows it.
void ShowHelpTopic(const char* topic, Language language, QWidget* owner);

/// The button of a dialog that shows the help beside it (F1).
void AddHelpButton(QDialogButtonBox& buttons, Language language);

}  // namespace vellmark
