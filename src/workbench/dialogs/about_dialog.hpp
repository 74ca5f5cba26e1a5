// What this program is.
#pragma once

#include "support/texts.hpp"

class QWidget;

namespace vellmark {

void ShowAboutDialog(Language language, QWidget* owner);

}  // namespace vellmark
