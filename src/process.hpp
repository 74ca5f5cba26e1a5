// What both programs, the one with verbs and the one with a window, find around them in the
// process.
#pragma once

#include <functional>

#include "session/command_context.hpp"

namespace vellmark {

/// Calls `run` with a context made of the process: its streams, its environment, the folders of its
/// user. What is thrown on the way becomes a message and the status of a failure.
[[nodiscard]] int RunInProcess(const std::function<int(CommandContext& context)>& run);

}  // namespace vellmark
