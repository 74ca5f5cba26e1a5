// A project brought up to date with the disk in one go, without a question.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "project/refresh.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

struct RebuildOptions {
    /// Its clock, its lookup of signatures and what it excludes; new items go in the Hybrid view,
    /// and everything that an inclusion asks is answered with yes.
    const InclusionOptions& inclusion;
    bool additions = true;
    bool dates = false;         ///< also files of the same length whose date differs
    bool dropsMissing = false;  ///< also delete what comes from source roots that are not there
};

struct RebuildResult {
    std::int64_t deleted = 0;  ///< items, not counting what lay below a folder
    std::int64_t modified = 0;
    std::int64_t folders = 0;  ///< added, on all levels
    std::int64_t files = 0;
    bool isStopped = false;  ///< by the user: the project should not be saved
    /// What was taken over: a folder with all that is in it is one line.
    std::vector<ProjectChange> changes = {};
    /// Source roots that are not there: then nothing was changed.
    std::vector<std::string> missingRoots = {};

    [[nodiscard]] bool hasChanges() const { return deleted + modified + folders + files > 0; }
};

/// Accepts all that `Check` finds, and what is new in the folder that root's items come from, when
/// they come from one; or nothing of it, when a source root is not there. What is left out has been
/// told through `Messages::itemSkipped`.
[[nodiscard]] RebuildResult Rebuild(ProjectFile& project, const RebuildOptions& options,
                                    Messages& messages, Progress& progress);

}  // namespace vellmark
