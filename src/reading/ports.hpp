// What the operations of this room are handed by whoever runs them.
#pragma once

#include "support/clock.hpp"
#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

struct ReadingPorts {
    Messages& messages;
    Progress& progress;
    const Clock& clock;    ///< its zone is that of HFS dates
    FileGuard guard = {};  ///< how files are opened that others may change too
    bool asks = false;     ///< somebody can answer a question
};

}  // namespace vellmark
