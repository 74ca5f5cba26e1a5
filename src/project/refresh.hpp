// A project compared with the disk: what was deleted, modified and added since its items were
// included. The report is a value; nothing is changed. See accept.hpp for what becomes of it.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "project/inclusion.hpp"
#include "project/project_file.hpp"
#include "support/clock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// The values are the letters of the report.
enum class ChangeKind : char { Deleted = 'D', Modified = 'M', Added = 'A' };

/// One line of a report.
struct ProjectChange {
    ChangeKind kind = ChangeKind::Deleted;
    bool isFolder = false;
    std::int32_t parent = 0;      ///< number of the folder in the project
    std::int32_t number = 0;      ///< of the item; 0 for one that is not in the project yet
    std::uint64_t sizeBytes = 0;  ///< the length on the disk now, or the stored one
    std::string accessPath;       ///< as in records: Windows-1252, `/` at its end
    std::string name;             ///< source name, Windows-1252
    std::string path;             ///< of the system, as far as it is known
};

/// The line in the form that reports on paper have: `KIND|PARENT|NUMBER|LENGTH|PATH|NAME`, CR LF.
[[nodiscard]] std::string ReportLine(const ProjectChange& change);

struct CheckOptions {
    const Clock& clock;     ///< for the zone of dates
    bool additions = true;  ///< also what is new in the folders of the PC
    /// Also what is new in the one folder that all items of root come from; where they come from
    /// several, nothing can be new in root.
    bool rootAdditions = false;
    /// Also files of the same length whose date differs.
    bool dates = false;
    /// What comes from source roots that are not there is deleted like anything else.
    bool missingRootsAreDeleted = false;
    /// Never new: the project's own file and its like.
    std::span<const PcIdentity> excluded = {};
};

struct CheckResult {
    std::vector<ProjectChange> changes;  ///< folder by folder, in each the new items last
    /// Source roots that are not there: paths of the system that end in `/`, or what records have
    /// of another system. Their items are neither changed nor gone.
    std::vector<std::string> missingRoots;
    /// What could not be looked at, or is out of place in the project: reported, each by name.
    std::int64_t skipped = 0;
    bool isStopped = false;  ///< by the user

    /// Project and disk agree, as far as the disk could be looked at.
    [[nodiscard]] bool foundNothing() const { return changes.empty() && isWhole(); }
    /// All of the disk could be looked at.
    [[nodiscard]] bool isWhole() const { return skipped == 0 && missingRoots.empty(); }
};

/// Compares a folder of the project and all below it. Of a folder that is gone nothing below it is
/// reported. An item of the other kind (a file where a folder was) is gone, and the new one an
/// addition. A file is modified when its length is another, when it is marked as missing and is
/// there, or when forks that lie beside it changed; what lies inside a file of the same length is
/// not compared. What cannot be looked at is reported through `Messages::itemSkipped` and counts as
/// unchanged.
///
/// A source root is a folder of the PC that a folder of the project, which is not made of it, has
/// items of. When it is not there (an unplugged disk, a moved folder), or its path is one of
/// another system, nothing is known of its items. So it is when all items of it are gone and it is
/// empty, as the place is where a disk was mounted, or they were folders, which are roots
/// themselves then.
///
/// Each folder of the PC is read once for each folder of the project that has items of it.
[[nodiscard]] CheckResult Check(const ProjectFile& project, std::int32_t folder,
                                const CheckOptions& options, Messages& messages,
                                Progress& progress);

}  // namespace vellmark
