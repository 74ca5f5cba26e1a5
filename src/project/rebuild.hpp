// A project brought up to date with the disk in one go, without a question.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "project/refresh.hpp"
#include "support/ports.hpp"

namespace vellmark {

struct RebuildRequest {
    bool additions = true;
    bool dates = false;         ///< also files of the same length whose date differs
    bool dropsMissing = false;  ///< also delete what comes from source roots that are not there
    std::string target = {};    ///< path of an image that is to be made, never an item
    std::string journal = {};   ///< path of the open journal, never an item; "" for none
    SignatureLookup signatureOf = {};
    bool buildTellsNames = false;  ///< a build follows at once and reports the names of items
};

struct RebuildResult {
    std::int64_t deleted = 0;  ///< items, not counting what lay below a folder
    std::int64_t modified = 0;
    std::int64_t folders = 0;  ///< added, on all levels
    std::int64_t files = 0;
    std::int64_t skipped = 0;  ///< reported through `Messages::itemSkipped`, each by name
    bool isStopped = false;    ///< by the user
    /// What was taken over: a folder with all that is in it is one line.
    std::vector<ProjectChange> changes = {};
    /// Source roots that are not there: then nothing was changed.
    std::vector<std::string> missingRoots = {};

    [[nodiscard]] bool hasChanges() const { return deleted + modified + folders + files > 0; }
    /// Else the project should not be saved.
    [[nodiscard]] bool isWhole() const { return !isStopped && missingRoots.empty(); }
};

/// Accepts all that `Check` finds, and what is new in the folder that root's items come from, when
/// they come from one; or nothing of it, when a source root is not there. New items go in the
/// Hybrid view, and everything that an inclusion asks is answered with yes. That it was stopped,
/// and which roots are not there, has been shown.
[[nodiscard]] RebuildResult Rebuild(ProjectFile& project, const RebuildRequest& request,
                                    const Ports& ports);

/// The project, its backup copy and the journal ("" for none), which are no items of their project.
[[nodiscard]] std::vector<PcIdentity> OwnFiles(const ProjectFile& project,
                                               const std::string& journal);
/// The files that are never new items: the project's own, `target`, and the images that builds of
/// the project make as a rule.
[[nodiscard]] std::vector<PcIdentity> NeverItems(const ProjectFile& project,
                                                 const std::string& target,
                                                 const std::string& journal);

/// Says which folders that items of the project come from are not there, and how the project is
/// given where they lie now.
void TellMissingRoots(const ProjectFile& project, const std::vector<std::string>& roots,
                      Messages& messages);

/// A change as a line for the person; a folder has `/` behind its path.
[[nodiscard]] Reason ChangeLine(const ProjectChange& change);
/// What a rebuild did, for the person.
[[nodiscard]] Reason RebuildSummary(const ProjectFile& project, const RebuildResult& result);

}  // namespace vellmark
