// Files that several processes come to: one rule for images, projects and settings. Who reads has a
// shared lock, who changes or replaces has the file alone, and everybody waits for a moment.
#pragma once

#include <functional>
#include <string>

#include "support/pc_file.hpp"

namespace vellmark {

/// What the user's system gives to those who open files that are changed in place. It is handed in,
/// as nothing here reads the environment.
struct FileGuard {
    /// Longest time to wait for others, in milliseconds.
    unsigned lockWaitMs = 0;
    /// Folder for the redo logs of images in whose own folder none can be made; "" for nowhere.
    std::string logFolder = {};
};

/// Opens a file by `open` and locks it, again and again until nothing stands against it or the time
/// is over. What comes back is the file that has the path at that moment, and not one that was
/// replaced while this waited. A closed file with EWOULDBLOCK when others keep it locked.
[[nodiscard]] PcFile OpenLocked(const std::function<PcFile()>& open, LockKind kind,
                                unsigned waitMs);

}  // namespace vellmark
