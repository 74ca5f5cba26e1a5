// What a person wants to have otherwise from now on.
#include "workbench/commands/handlers.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/settings/column_dialog.hpp"
#include "workbench/settings/preferences_dialog.hpp"

namespace vellmark {

void EditPreferences(TVellmark& window) {
    if (const std::optional<Settings> wanted = AskPreferences(window))
        window.applySettings(*wanted);
}

void EditColumns(TVellmark& window) {
    if (const auto wanted = AskColumns(window, window.widths(), window.usualWidths()))
        window.setWidths(*wanted);
}

}  // namespace vellmark
