// What the program returns to whoever started it.
#pragma once

namespace vellmark {

enum ExitStatus : int {
    kExitDone = 0,
    kExitFailed = 1,  ///< the reason is on standard error
    kExitUsage = 2,   ///< wrong usage, with a hint
    kExitSkipped = 3  ///< done, but some items were left out, each named on standard error
};

}  // namespace vellmark
