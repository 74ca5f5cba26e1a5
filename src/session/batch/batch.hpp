// Batch commands: one option, a project and one argument do one job, and every question is answered
// in advance: `/C disc.vlpr`, `-IH disc.vlpr Pictures`.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "session/command_context.hpp"

namespace vellmark {

/// The letters of an option, in capitals.
struct BatchOption {
    char letter = 0;
    char second = 0;  ///< 0 for none
    bool operator==(const BatchOption&) const = default;
};

/// Reads the first argument of a command line: `/`, `-` or a single `\`, and one or two characters
/// that are no such sign again. Nothing for everything else, and for what is there as a file, as
/// paths begin with `/` too. Whether there is such a command is not looked at.
[[nodiscard]] std::optional<BatchOption> ParseBatchOption(std::string_view first);

/// Runs a batch command under the lock of the only instance. `arguments` holds the option, the
/// project and the argument. Temporary tables lie in the current folder. Returns an exit status.
[[nodiscard]] int RunBatch(const BatchOption& option, std::span<const std::string> arguments,
                           CommandContext& context);

}  // namespace vellmark
