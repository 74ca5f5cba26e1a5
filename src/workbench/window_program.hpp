// The program with a window.
#pragma once

#include <span>
#include <string>

#include "session/command_context.hpp"

namespace vellmark {

/// Shows the window until it is closed, with the file of the first argument, if there is one, open
/// in it. Where a window of this user is there already, that one is handed the file. Returns the
/// exit status.
[[nodiscard]] int RunWindow(int argc, char** argv, CommandContext& context);

}  // namespace vellmark
