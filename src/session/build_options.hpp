// What `make` and `build` share: the options of a build, and what is said of one.
#pragma once

#include <string>

#include "compiler/build_project.hpp"
#include "session/command_context.hpp"
#include "session/options.hpp"
#include "session/output_file.hpp"
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
    bool verbose = false;  ///< name every changed name
    bool dryRun = false;   ///< say what would come out, and write nothing
};

/// Declares the options on a verb, apart from the output.
void AddBuildOptions(OptionSet& arguments, BuildOptions& options);

/// What of the options does not go together, or is no value; none for nothing.
[[nodiscard]] Reason BuildRefusal(const BuildOptions& options, ProjectMode mode);

/// The image that the options ask for.
[[nodiscard]] BuildRequest RequestOf(const BuildOptions& options, const OutputFile& output,
                                     const CommandContext& context);

/// Builds the project, saves what the build settled about one that has a file, sends an image to
/// the standard output that goes there, and says what came out. In a dry run nothing is written,
/// and what would come out is said. Returns an exit status.
[[nodiscard]] int BuildAndTell(ProjectFile& project, const BuildRequest& request,
                               const BuildOptions& options, const OutputFile& output,
                               CommandContext& context, Terminal& terminal);

}  // namespace vellmark
