// The folder of the PC that copies go to.
#pragma once

#include <optional>
#include <string>

namespace vellmark {

class TVellmark;

/// Asks for it, beginning with the last one; it is kept for the next time. Nothing when the person
/// gives up.
[[nodiscard]] std::optional<std::string> AskTargetFolder(TVellmark& window);

}  // namespace vellmark
