// The search for an item of a project that is not where it was.
#pragma once

#include "project/refresh.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

/// Looks for a missing item on the disks; true when the project knows where it lies now.
[[nodiscard]] bool LocateItem(TVellmark& window, const ProjectChange& missing, QWidget& owner);

}  // namespace vellmark
