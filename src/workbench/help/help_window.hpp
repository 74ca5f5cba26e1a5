// The help, in a window of its own.
#pragma once

#include "support/texts.hpp"

class QDialogButtonBox;
class QWidget;

namespace vellmark {

/// Shows a topic of the help (the name of an anchor in its page; "" for the contents), beside the
/// window that goes on. A help window that is there already shows it.
void ShowHelpTopic(const char* topic, Language language, QWidget* owner);

/// The same, with the cursor where a text to look for is typed.
void SearchHelp(Language language, QWidget* owner);

/// The button of a dialog that shows its topic of the help beside it (F1).
void AddHelpButton(QDialogButtonBox& buttons, const char* topic, Language language);

}  // namespace vellmark
