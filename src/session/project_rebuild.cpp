#include "session/project_rebuild.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <span>

#include "session/open_project.hpp"
#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {

namespace {

constexpr std::size_t kMostRootsTold = 8;

std::vector<PcIdentity> IdentitiesOf(const std::vector<std::string>& paths) {
    std::vector<PcIdentity> identities;
    for (const std::string& path : paths)
        if (const PcFacts facts = PcFactsOf(path); facts.kind != PcKind::Missing)
            identities.push_back({facts.device, facts.inode});
    return identities;
}

std::vector<std::string> OwnPaths(const ProjectFile& project, const CommandContext& context) {
    return {project.path(), ProjectBackupPath(project.path()),
            context.session ? context.session->journal.path() : std::string{}};
}

}  // namespace

std::vector<PcIdentity> OwnFiles(const ProjectFile& project, const CommandContext& context) {
    return IdentitiesOf(OwnPaths(project, context));
}

std::vector<PcIdentity> NeverItems(const ProjectFile& project, const std::string& target,
                                   const CommandContext& context) {
    std::vector<std::string> paths = OwnPaths(project, context);
    paths.push_back(target);
    for (const char* extension : {"iso", "ISO", "dmg"})
        paths.push_back(WithExtension(project.path(), extension));
    return IdentitiesOf(paths);
}

void TellMissingRoots(const ProjectFile& project, const std::vector<std::string>& roots,
                      Messages& messages) {
    for (const std::string& root : std::span(roots).first(std::min(roots.size(), kMostRootsTold)))
        messages.showMessage(fmt::format(
            "{} {}: what the project {} has of it stays. \"vellmark path {} '{}' NEW\" tells the "
            "project where it lies now.",
            Printable(root),
            root.starts_with('/') ? "is not there" : "is the path of another system",
            Printable(project.path()), Printable(project.path()), Printable(root)));
    if (roots.size() > kMostRootsTold)
        messages.showMessage(
            fmt::format("So it is with {} folders more.", roots.size() - kMostRootsTold));
}

bool RebuildInMemory(ProjectFile& project, const ProjectRebuild& what, CommandContext& context,
                     Terminal& terminal, RebuildResult& result) {
    InclusionOptions inclusion{context.clock};
    inclusion.signatureOf = SignatureLookupOf(context, terminal.messages);
    inclusion.excluded = NeverItems(project, what.target, context);
    result = Rebuild(project, {inclusion, what.additions, what.dates, what.dropsMissing},
                     terminal.messages, terminal.progress);
    if (result.isStopped || StopSignals::requested())
        terminal.messages.showMessage("Stopped as you wished; nothing was changed.");
    TellMissingRoots(project, result.missingRoots, terminal.messages);
    return !result.isStopped && !StopSignals::requested() && result.missingRoots.empty();
}

std::string_view WordOf(ChangeKind kind) {
    return kind == ChangeKind::Deleted    ? "deleted"
           : kind == ChangeKind::Modified ? "modified"
                                          : "added";
}

std::string ChangeLine(const ProjectChange& change) {
    return fmt::format("{:<9} {}{}", WordOf(change.kind), Printable(change.path),
                       change.isFolder ? "/" : "");
}

std::string RebuildSentence(const ProjectFile& project, const RebuildResult& result) {
    return fmt::format("{}: {} items deleted, {} modified, {} folders and {} files added",
                       Printable(project.path()), result.deleted, result.modified, result.folders,
                       result.files);
}

bool RebuildBeforeBuild(ProjectFile& project, bool wanted, const std::string& target,
                        CommandContext& context, Terminal& terminal, bool& changed) {
    changed = false;
    if (!wanted && !project.header().rebuildBeforeCompile())
        return true;
    RebuildResult result;
    if (!RebuildInMemory(project, {.target = target}, context, terminal, result))
        return false;
    changed = result.hasChanges();
    if (!changed)
        return true;
    if (SaveRefusal(project.path()) == 0)
        BackUpBeforeChange(project, context, terminal.messages);
    terminal.messages.showTimedMessage(RebuildSentence(project, result));
    return true;
}

}  // namespace vellmark
