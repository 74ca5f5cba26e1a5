// How files and folders of the PC become items of a project.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "project/inclusion_rules.hpp"
#include "project/project_file.hpp"
#include "project/view_names.hpp"
#include "support/clock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// Signature of a file that nothing is known about.
inline constexpr std::string_view kDefaultSignature = "TEXT????";

/// Which object of the PC something really is.
struct PcIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    bool operator==(const PcIdentity&) const = default;
    bool operator<(const PcIdentity& other) const {
        return device != other.device ? device < other.device : inode < other.inode;
    }
};

/// What an inclusion goes by. The answers are the command's and change with what the person says.
struct InclusionOptions {
    const Clock& clock;                      ///< for the zone of dates
    ProjectView view = ProjectView::Hybrid;  ///< the view worked in; an ISO+ project has only ISO
    InclusionAnswers answers = {};
    TruncationAnswers truncation = {};
    /// Type and creator by the source name (Windows-1252); without one, `kDefaultSignature`.
    std::function<std::string(std::string_view name)> signatureOf = {};
    /// Files that are passed over in silence: an image being made is never its own source.
    std::vector<PcIdentity> excluded = {};
};

enum class InclusionStatus {
    Done,          ///< what could be included was; see `skipped`
    NotFound,      ///< a name or pattern stands for nothing
    Conflict,      ///< an item that was named is there already, or another one of its name
    NoSuchFolder,  ///< the project has no such folder
    Stopped        ///< by the user: folders not reached stay empty, the project should not be saved
};

struct InclusionResult {
    std::int64_t folders = 0;  ///< added, on all levels
    std::int64_t files = 0;
    std::int64_t skipped = 0;  ///< told through `Messages::itemSkipped`, each by name
    InclusionStatus status = InclusionStatus::Done;
};

/// Adds to the folder `parent` of the project what `path` names: a file, a folder with all that is
/// in it, or, with `*` and `?` in its last component, each item of a folder that fits (`FOLDER/*`
/// is the contents of a folder). Items are taken in byte order of their names; counters and view
/// flags of all folders concerned are brought up to date. What leads to a status other than Done
/// has been shown, apart from Stopped.
///
/// Symbolic links are followed, but never into a folder that they lie in, nor twice to the same
/// folder. Left out and counted: links that lead nowhere, pipes, sockets, devices, what cannot be
/// read, files of 4 GiB or more, paths and names longer than a record holds. Passed over in
/// silence: `._` companions, and inside a folder what the project has already.
[[nodiscard]] InclusionResult Include(ProjectFile& project, const std::string& path,
                                      std::int32_t parent, InclusionOptions& options,
                                      Messages& messages, Progress& progress);

/// The same for many paths at once: the folder is put in order once. The status is the first that
/// is not Done; only Stopped ends the work.
[[nodiscard]] InclusionResult Include(ProjectFile& project, std::span<const std::string> paths,
                                      std::int32_t parent, InclusionOptions& options,
                                      Messages& messages, Progress& progress);

}  // namespace vellmark
