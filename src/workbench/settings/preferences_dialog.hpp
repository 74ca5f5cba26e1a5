// What a person wants the program to do from now on.
#pragma once

#include <optional>

#include "session/settings.hpp"

namespace vellmark {

class TVellmark;

/// The settings as they are to be; nothing when the person gives up.
[[nodiscard]] std::optional<Settings> AskPreferences(TVellmark& window);

}  // namespace vellmark
