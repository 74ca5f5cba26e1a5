// What becomes of the lines of a report: each is accepted by changing the project, or left.
//
// Each function takes a report, or a part of it, and acts on the lines of its own kind. A line that
// is out of date is reported through `Messages::itemSkipped` and left out. A file that takes the
// place of a folder, or the other way round, is two lines: deletions are accepted before additions.
#pragma once

#include <cstdint>
#include <functional>
#include <span>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "project/refresh.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// Called with each line that was accepted; may be empty.
using AcceptedLine = std::function<void(const ProjectChange& change)>;

/// What a function of these did.
struct Acceptance {
    std::int64_t items = 0;    ///< taken out or changed, not counting what lay below
    std::int64_t skipped = 0;  ///< reported through `Messages::itemSkipped`
};

/// Takes the deleted items out, folders with all that the project has below them: of one that holds
/// something the person is asked first, unless `confirm` keeps an answer. The counters of the
/// folders are brought up to date.
[[nodiscard]] Acceptance AcceptDeleted(ProjectFile& project, std::span<const ProjectChange> report,
                                       RememberedAnswer& confirm, Messages& messages,
                                       Progress& progress, const AcceptedLine& accepted = {});

/// Takes over what is on the disk now: lengths and dates, and of a file that is or was a container
/// coding, signature, name and flags as well. The signature of a plain file stays as it is. A mark
/// of missing goes. Of `options` the lookup of signatures and the clock are used.
[[nodiscard]] Acceptance AcceptModified(ProjectFile& project, std::span<const ProjectChange> report,
                                        const InclusionOptions& options, Messages& messages,
                                        Progress& progress, const AcceptedLine& accepted = {});

/// Includes the new items in their folders, folders with all that is in them.
[[nodiscard]] InclusionResult AcceptAdded(ProjectFile& project,
                                          std::span<const ProjectChange> report,
                                          InclusionOptions& options, Messages& messages,
                                          Progress& progress, const AcceptedLine& accepted = {});

}  // namespace vellmark
