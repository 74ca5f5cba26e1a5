// What `make` and `build` share: the options of a compile, and running it.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

#include "compiler/compile_context.hpp"

namespace vellmark {

struct BuildOptions {
    std::string output;
    std::string kind = "hybrid";
    bool postgap = false;
    bool force = false;
    bool quiet = false;
};

/// Declares the options on a verb.
void AddBuildOptions(CLI::App& app, BuildOptions& options);

/// Compiles the project to `options.output`, its tables in a private folder, and tells what came
/// out. `skipped` are items that were left out before. Returns an exit status.
[[nodiscard]] int RunBuild(ProjectFile& project, const BuildOptions& options, Messages& messages,
                           Progress& progress, const Clock& clock);

/// A label as records hold it. False, after a message, when it has a character that no label of the
/// project can hold, or is too long for the format.
[[nodiscard]] bool SetLabels(ProjectFile& project, const std::string& label, Messages& messages);

}  // namespace vellmark
