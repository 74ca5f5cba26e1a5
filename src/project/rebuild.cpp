#include "project/rebuild.hpp"

#include "project/accept.hpp"

namespace vellmark {

RebuildResult Rebuild(ProjectFile& project, const RebuildOptions& options, Messages& messages,
                      Progress& progress) {
    InclusionOptions inclusion = options.inclusion;
    inclusion.view = ProjectView::Hybrid;
    inclusion.answers = kYesToAll;
    inclusion.truncation = kShortenAll;
    RememberedAnswer yes{Remembered::YesToAll};

    const CheckResult check = Check(project, kRootFolder,
                                    {.clock = inclusion.clock,
                                     .additions = options.additions,
                                     .rootAdditions = options.additions,
                                     .dates = options.dates,
                                     .missingRootsAreDeleted = options.dropsMissing,
                                     .excluded = inclusion.excluded},
                                    messages, progress);
    RebuildResult result;
    result.isStopped = check.isStopped;
    result.missingRoots = check.missingRoots;
    if (result.isStopped || !result.missingRoots.empty())
        return result;
    const AcceptedLine note = [&](const ProjectChange& change) {
        result.changes.push_back(change);
    };
    result.deleted = AcceptDeleted(project, check.changes, yes, messages, progress, note);
    result.modified = AcceptModified(project, check.changes, inclusion, messages, progress, note);
    const InclusionResult added =
        AcceptAdded(project, check.changes, inclusion, messages, progress, note);
    result.folders = added.folders;
    result.files = added.files;
    result.isStopped = added.status == InclusionStatus::Stopped || !progress.chunk(0);
    return result;
}

}  // namespace vellmark
