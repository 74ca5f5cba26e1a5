// Which columns the list has, and how wide they and the tree are.
#pragma once

#include <optional>

#include "workbench/settings/pane_widths.hpp"

namespace vellmark {

class TVellmark;

/// The widths as they are to be; nothing when the person gives up. `usual` are those that the
/// button for it, and a shown column without a width, get.
[[nodiscard]] std::optional<PaneWidths> AskColumns(TVellmark& window, const PaneWidths& now,
                                                   const PaneWidths& usual);

}  // namespace vellmark
