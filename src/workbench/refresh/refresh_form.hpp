// What was deleted, modified and added on the disk since the items of a project were included, to
// be taken over or left.
#pragma once

#include <vector>

#include "project/refresh.hpp"

namespace vellmark {

class TVellmark;

/// Shows the differences, at least one, until each is dealt with or the person leaves the rest.
void ShowDifferences(TVellmark& window, std::vector<ProjectChange> differences);

}  // namespace vellmark
