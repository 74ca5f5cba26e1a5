// The whole program without a window.
#pragma once

#include <span>
#include <string>

#include "session/command_context.hpp"

namespace vellmark {

/// Runs a command line, `arguments` without the program's name, and returns the exit status. The
/// first argument decides: a verb or an option, a batch command, or the path of a file that a
/// window would show.
[[nodiscard]] int RunProgram(std::span<const std::string> arguments, CommandContext& context);

}  // namespace vellmark
