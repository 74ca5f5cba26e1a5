// How files and folders of the PC become items of a project.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "project/folder_chain.hpp"
#include "project/inclusion_rules.hpp"
#include "project/project_file.hpp"
#include "project/source_coding.hpp"
#include "project/view_names.hpp"
#include "support/clock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// What an inclusion goes by. The answers are the command's and change with what the person says.
struct InclusionOptions {
    const Clock& clock;                      ///< for the zone of dates
    ProjectView view = ProjectView::Hybrid;  ///< the view worked in; an ISO+ project has only ISO
    InclusionAnswers answers = {};
    TruncationAnswers truncation = {};
    /// For files whose container holds none; without a lookup, `kDefaultSignature`.
    SignatureLookup signatureOf = {};
    /// Files that are passed over in silence: an image being made is never its own source.
    std::vector<PcIdentity> excluded = {};
    /// What was named and is there already is passed over in silence, and one of its name left out
    /// like any other item, instead of deciding the status: for a command that is repeated.
    bool toleratesConflicts = false;
    /// A path that names nothing is left out like any other item: for a list of which the rest is
    /// to be done.
    bool toleratesMissing = false;
    /// The forks that cannot be taken, and the names that items got, are reported by the build that
    /// follows at once.
    bool buildTellsForks = false;
    bool buildTellsNames = false;
    /// Called with the path of each item that was added, folders without a `/`; may be empty.
    std::function<void(const std::string& path)> added = {};
};

enum class InclusionStatus {
    Done,          ///< what could be included was; see `skipped`
    NotFound,      ///< a name or pattern stands for nothing
    Conflict,      ///< an item that was named is there already, or another one of its name; an
                   ///< ISO+ project passes over the former
    NoSuchFolder,  ///< the project has no such folder
    Stopped        ///< by the user: folders not reached stay empty, the project should not be saved
};

struct InclusionResult {
    std::int64_t folders = 0;  ///< added, on all levels
    std::int64_t files = 0;
    std::int64_t skipped = 0;  ///< reported through `Messages::itemSkipped`, each by name: what was
                               ///< left out, and files without their forks
    InclusionStatus status = InclusionStatus::Done;

    /// Nothing of what was named could be taken.
    [[nodiscard]] bool isVain() const { return files + folders == 0 && skipped > 0; }
};

/// Adds to the folder `parent` of the project what `path` names: a file, a folder with all that is
/// in it, or, with `*` and `?` in its last component, each item of a folder that fits (`FOLDER/*`
/// is the contents of a folder). Items are taken in byte order of their names; counters and view
/// flags of all folders concerned are brought up to date. What leads to a status other than Done
/// has been shown, apart from Stopped.
///
/// A file is what its container makes it (project/source_coding.hpp). A MacBinary file that holds a
/// custom icon gives its folder that mark; in root it becomes the icon of the volume, in the HFS
/// view alone. A file whose forks cannot be taken, as its container, companion or stream is
/// damaged, is included as a plain file, named and counted among those that were left out.
///
/// Symbolic links are followed, but never into a folder that they lie in, nor twice to the same
/// folder. Left out and counted: links that lead nowhere, pipes, sockets, devices, what cannot be
/// read, files of 4 GiB or more, paths and names longer than a record holds,
/// `._` companions whose file is not there or that were named themselves. Passed over in silence:
/// other companions, and inside a folder what the project has already.
[[nodiscard]] InclusionResult Include(ProjectFile& project, const std::string& path,
                                      std::int32_t parent, InclusionOptions& options,
                                      Messages& messages, Progress& progress);

/// The same for many paths at once: the folder is put in order once. The status is the first that
/// is not Done; only Stopped ends the work.
[[nodiscard]] InclusionResult Include(ProjectFile& project, std::span<const std::string> paths,
                                      std::int32_t parent, InclusionOptions& options,
                                      Messages& messages, Progress& progress);

/// The same for all that lies in a folder of the PC, which is there.
[[nodiscard]] InclusionResult IncludeAllOf(ProjectFile& project, const std::string& folder,
                                           std::int32_t parent, InclusionOptions& options,
                                           Messages& messages, Progress& progress);

}  // namespace vellmark
