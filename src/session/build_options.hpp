// What `make` and `build` share: the options of a compile, and running it.
#pragma once

#include <string>

#include "compiler/compile_context.hpp"
#include "session/command_context.hpp"
#include "session/options.hpp"
#include "session/terminal.hpp"

namespace vellmark {

inline constexpr const char* kHybridKind = "hybrid";

struct BuildOptions {
    std::string output;
    std::string kind = kHybridKind;
    bool postgap = false;
    bool strictIso = false;
    std::string free;  ///< a size; "" for nothing
    bool force = false;
    bool quiet = false;
    bool verbose = false;         ///< name every changed name
    bool toOutput = false;        ///< the standard output takes the image, and no line about it
    bool projectChanged = false;  ///< before the build: it is saved with the image
};

/// Declares the options on a verb, apart from the output.
void AddBuildOptions(OptionSet& arguments, BuildOptions& options);

/// What of the options does not go together, or is no value, as a sentence; "" for nothing.
[[nodiscard]] std::string BuildRefusal(const BuildOptions& options, ProjectMode mode);

/// Compiles the project to `options.output`, its tables in a private folder, and tells what came
/// out. Returns an exit status.
[[nodiscard]] int RunBuild(ProjectFile& project, const BuildOptions& options,
                           CommandContext& context, Terminal& terminal);

/// Whether a folder for temporary files was made; what speaks against it has been shown.
[[nodiscard]] bool HasTemporaryFolder(const std::string& path, Messages& messages);

}  // namespace vellmark
