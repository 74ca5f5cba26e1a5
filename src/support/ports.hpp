// The three ports that most operations of the engine take, handed on as one.
#pragma once

#include "support/clock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

struct Ports {
    Messages& messages;
    Progress& progress;
    const Clock& clock;
};

}  // namespace vellmark
