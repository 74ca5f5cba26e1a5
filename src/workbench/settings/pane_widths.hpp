// How wide the parts of the window are that a person may choose.
#pragma once

#include "session/settings.hpp"

namespace vellmark {

struct PaneWidths {
    ColumnWidths columns{};  ///< of the list, in pixels, 0 for one that is not shown
    int tree = 0;            ///< the same of the tree
};

}  // namespace vellmark
