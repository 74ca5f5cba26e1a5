// The ports of the engine's readers, as a command has them.
#pragma once

#include <optional>
#include <string>

#include "reading/plain_image.hpp"
#include "session/command_context.hpp"
#include "session/terminal.hpp"

namespace vellmark {

[[nodiscard]] ReadingPorts PortsOf(const CommandContext& context, Terminal& terminal);

/// The image to open in place of one that was named, expanded where it is a compressed one. Nothing
/// after a message, or when the person did not want it. The context notes an image that lacks
/// something.
[[nodiscard]] std::optional<PlainImage> OpenPlainImage(const std::string& named, Access access,
                                                       CommandContext& context, Terminal& terminal);

}  // namespace vellmark
