// What a command finds around it: its streams, the time, its settings, its place for the lock.
// Commands take all of it from here and nothing from the process, so that a test can hand in its
// own.
#pragma once

#include <functional>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

#include "support/clock.hpp"
#include "support/file_lock.hpp"
#include "support/settings_store.hpp"
#include "support/texts.hpp"

namespace vellmark {

struct SessionState;

struct CommandContext {
    std::istream& input;
    std::ostream& output;  ///< results
    std::ostream& errors;  ///< everything else
    const Clock& clock;
    bool asks = false;            ///< the input is a terminal: somebody can answer a question
    bool showsProgress = false;   ///< the errors go to a terminal: a line may be drawn over
    std::string lockFolder = {};  ///< where the lock of batch commands lies
    std::string dataFolder = {};  ///< where projects without a name lie; "" for nowhere
    FileGuard guard = {};         ///< how files are opened that others may change too
    Language language = Language::English;  ///< settled when the session begins
    int outputError = 0;  ///< the system's number of a failure to write results, once one is known
    bool readIncomplete = false;  ///< an image that was read lacks something, which was reported
    SettingsStore* settings = nullptr;  ///< null: every setting has its default, nothing is kept
    std::string locale = {};            ///< name of the locale for messages, "" when unknown
    /// Folders where files that come with the program can lie, `/` at their ends, the first one
    /// that has a file wins: `default.sig` and the support pages.
    std::vector<std::string> shippedFolders = {};
    /// Makes the process the one with a window, with a file to open ("" for none). Returns only
    /// where that failed, the system's error number; without it there is no window.
    std::function<int(const std::string& file)> becomeWindow = {};
    SessionState* session = nullptr;  ///< the running session; null before it begins
};

}  // namespace vellmark
