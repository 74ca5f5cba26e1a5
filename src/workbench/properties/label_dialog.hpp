// The labels of a project.
#pragma once

namespace vellmark {

class TVellmark;

/// Asks for the labels of the open project until they can be had, and sets them. False when nothing
/// was changed.
[[nodiscard]] bool AskLabels(TVellmark& window);

}  // namespace vellmark
