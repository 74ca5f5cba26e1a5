#include "project/rebuild.hpp"

#include <algorithm>
#include <span>

#include "project/accept.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kMostRootsTold = 8;

std::vector<PcIdentity> IdentitiesOf(const std::vector<std::string>& paths) {
    std::vector<PcIdentity> identities;
    for (const std::string& path : paths)
        if (const PcFacts facts = PcFactsOf(path); facts.kind != PcKind::Missing)
            identities.push_back(IdentityOf(facts));
    return identities;
}

std::vector<std::string> OwnPaths(const ProjectFile& project, const std::string& journal) {
    if (!project.hasFile())
        return {journal};
    return {project.path(), ProjectBackupPath(project.path()), journal};
}

RebuildResult AcceptAll(ProjectFile& project, const RebuildRequest& request, const Ports& ports) {
    const auto& [messages, progress, clock] = ports;
    InclusionOptions inclusion{clock, ProjectView::Hybrid, kYesToAll, kShortenAll};
    inclusion.signatureOf = request.signatureOf;
    inclusion.excluded = NeverItems(project, request.target, request.journal);
    inclusion.buildTellsNames = request.buildTellsNames;
    RememberedAnswer yes{Remembered::YesToAll};

    const CheckResult check = Check(project, kRootFolder,
                                    {.clock = clock,
                                     .additions = request.additions,
                                     .rootAdditions = request.additions,
                                     .dates = request.dates,
                                     .missingRootsAreDeleted = request.dropsMissing,
                                     .excluded = inclusion.excluded},
                                    messages, progress);
    RebuildResult result;
    result.isStopped = check.isStopped;
    result.missingRoots = check.missingRoots;
    result.skipped = check.skipped;
    if (!result.isWhole())
        return result;
    const AcceptedLine note = [&](const ProjectChange& change) {
        result.changes.push_back(change);
    };
    const Acceptance deleted = AcceptDeleted(project, check.changes, yes, messages, progress, note);
    const Acceptance modified =
        AcceptModified(project, check.changes, inclusion, messages, progress, note);
    const InclusionResult added =
        AcceptAdded(project, check.changes, inclusion, messages, progress, note);
    result.deleted = deleted.items;
    result.modified = modified.items;
    result.folders = added.folders;
    result.files = added.files;
    result.skipped += deleted.skipped + modified.skipped + added.skipped;
    result.isStopped = added.status == InclusionStatus::Stopped || !progress.mayGoOn();
    return result;
}

Sentence WordOf(ChangeKind kind) {
    return kind == ChangeKind::Deleted    ? Sentence::kDeleted
           : kind == ChangeKind::Modified ? Sentence::kModified
                                          : Sentence::kAdded;
}

}  // namespace

RebuildResult Rebuild(ProjectFile& project, const RebuildRequest& request, const Ports& ports) {
    RebuildResult result = AcceptAll(project, request, ports);
    if (result.isStopped)
        ports.messages.showMessage(Sentence::kStoppedUnchanged);
    TellMissingRoots(project, result.missingRoots, ports.messages);
    return result;
}

std::vector<PcIdentity> OwnFiles(const ProjectFile& project, const std::string& journal) {
    return IdentitiesOf(OwnPaths(project, journal));
}

std::vector<PcIdentity> NeverItems(const ProjectFile& project, const std::string& target,
                                   const std::string& journal) {
    std::vector<std::string> paths = OwnPaths(project, journal);
    paths.push_back(target);
    if (project.hasFile())
        for (const char* extension : {"iso", "ISO", "dmg"})
            paths.push_back(WithExtension(project.path(), extension));
    return IdentitiesOf(paths);
}

void TellMissingRoots(const ProjectFile& project, const std::vector<std::string>& roots,
                      Messages& messages) {
    const std::string path = Printable(project.path());
    for (const std::string& root : std::span(roots).first(std::min(roots.size(), kMostRootsTold)))
        messages.showMessage(
            Reason(root.starts_with('/') ? Sentence::kRootNotThere : Sentence::kRootOfOtherSystem,
                   Printable(root), path));
    if (roots.size() > kMostRootsTold)
        messages.showMessage(Reason(Sentence::kMoreRoots, roots.size() - kMostRootsTold));
}

Reason ChangeLine(const ProjectChange& change) {
    return Reason(Sentence::kChangeLine, WordOf(change.kind), Printable(change.path),
                  change.isFolder ? "/" : "");
}

Reason RebuildSummary(const ProjectFile& project, const RebuildResult& result) {
    return Reason(Sentence::kRebuildSummary, Printable(project.path()), result.deleted,
                  result.modified, result.folders, result.files);
}

}  // namespace vellmark
