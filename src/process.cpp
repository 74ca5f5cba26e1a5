#include "process.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "session/exit_status.hpp"
#include "session/session_state.hpp"
#include "session/settings_file.hpp"
#include "session/user_folders.hpp"
#include "support/file_lock.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

/// Longest time to wait for another process that is at the same file.
constexpr unsigned kLockWaitMs = 2000;

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

// The first of these variables that is set counts.
std::string_view MessageLocale() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = std::getenv(name); value && *value != '\0')
            return value;
    return {};
}

// Beside the installed program, else where the program was built.
std::vector<std::string> ShippedFolders() {
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    std::vector<std::string> paths = {VELLMARK_DATA_FOLDER "/"};
    if (!error)
        paths.insert(paths.begin(), program.parent_path().parent_path() / "share/vellmark/");
    return paths;
}

int Run(const std::function<int(CommandContext& context)>& run) {
    const SystemClock clock;
    const std::string home = Variable("HOME");
    SettingsFile settings(SettingsPath(Variable("XDG_CONFIG_HOME"), home), kLockWaitMs);
    std::error_code ignored;
    const std::string temporary = std::filesystem::temp_directory_path(ignored).string();
    const bool showsErrors = ::isatty(STDERR_FILENO) != 0;
    // Not in the braces below: g++ 12 then takes the text in it for uninitialised at -O3.
    const FileGuard guard{kLockWaitMs, LogFolder(Variable("XDG_STATE_HOME"), home)};
    CommandContext context{.input = std::cin,
                           .output = std::cout,
                           .errors = std::cerr,
                           .clock = clock,
                           // A question is written to the errors: it can only be answered where
                           // it can be read.
                           .asks = showsErrors && ::isatty(STDIN_FILENO) != 0,
                           .showsProgress = showsErrors,
                           .lockFolder = RuntimeFolder(Variable("XDG_RUNTIME_DIR"), temporary),
                           .dataFolder = DataFolder(Variable("XDG_DATA_HOME"), home),
                           .guard = guard,
                           .settings = &settings,
                           .locale = std::string(MessageLocale()),
                           .shippedFolders = ShippedFolders()};
    return run(context);
}

}  // namespace

int RunInProcess(const std::function<int(CommandContext& context)>& run) {
    try {
        return Run(run);
    } catch (const std::exception&) {
        // Only what comes before and behind a command ends here, and it only needs memory.
        const std::string_view words =
            SentenceText(Sentence::kNoMemory, LanguageOf(MessageLocale()));
        (void)std::fprintf(stderr, "vellmark: %.*s\n", static_cast<int>(words.size()),
                           words.data());
        return kExitFailed;
    }
}

}  // namespace vellmark
