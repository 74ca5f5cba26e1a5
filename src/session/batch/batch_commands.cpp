#include "session/batch/batch_commands.hpp"

#include <optional>
#include <string>
#include <vector>

#include "IO/disk_image.hpp"
#include "compiler/build_project.hpp"
#include "join/deshybridation.hpp"
#include "join/hybridation.hpp"
#include "project/include_contents.hpp"
#include "project/labels.hpp"
#include "project/open_project.hpp"
#include "project/project_folders.hpp"
#include "project/rebuild.hpp"
#include "reading/plain_image.hpp"
#include "session/file_modes.hpp"
#include "session/project_options.hpp"
#include "session/reading_ports.hpp"
#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"

namespace vellmark {

namespace {

/// Begins the path of a file that lists what is to be included.
constexpr char kListSign = '$';

ProjectView ViewOf(BatchSide side) {
    return side == BatchSide::Hfs   ? ProjectView::Hfs
           : side == BatchSide::Iso ? ProjectView::Iso
                                    : ProjectView::Hybrid;
}

// A new project comes into being in memory alone: its file is written when the command succeeds.
bool OpenOrCreate(const BatchJob& job, std::optional<ProjectFile>& project) {
    Messages& messages = job.terminal.messages;
    const PcFacts facts = PcFactsOf(job.project);
    if (facts.kind != PcKind::Missing || facts.isLink)
        return OpenForChange(job.project, job.context, messages, project);
    const FileMode mode = FileModeOf(job.project);
    if (mode != FileMode::Project && mode != FileMode::IsoPlus) {
        messages.showMessage(Reason(Sentence::kBatchNoProjectName, Printable(job.project)));
        return false;
    }
    if (!MayMakeFile(job.project, false, messages))
        return false;
    ProjectAccess access = ChangingAccess(job.context);
    access.mayReplace = false;
    const ProjectMode kind = ProjectModeOf(job.project);
    project = ProjectFile::Create(job.project, kind, NewProjectDefaults(job.context, kind), access);
    return true;
}

BatchResult Save(ProjectFile& project, Messages& messages) {
    return project.save(messages) ? BatchResult::Done : BatchResult::NotOpened;
}

Ports PortsOf(const BatchJob& job) {
    return {job.terminal.messages, job.terminal.progress, job.context.clock};
}

}  // namespace

BatchResult BatchCompile(const BatchJob& job) {
    Messages& messages = job.terminal.messages;
    const ProjectMode mode = ProjectModeOf(job.project);
    if (mode == ProjectMode::IsoPlus && job.side != BatchSide::Both) {
        messages.showMessage(Sentence::kOneKindOfImage);
        return BatchResult::NotUnderstood;
    }
    std::optional<ProjectFile> project;
    if (ProjectFile::Open(FollowLink(job.project), mode, messages, project,
                          ChangingAccess(job.context)) != ProjectOpened::Opened)
        return BatchResult::NotOpened;
    BuildRequest request;
    request.targetPath = FollowLink(WithExtension(job.project, "ISO"));
    if (const Reason refusal = TargetRefusal(*project, request.targetPath)) {
        messages.showMessage(refusal);
        return BatchResult::NotCreated;
    }
    if (!MayMakeFile(request.targetPath, true, messages))
        return BatchResult::NotCreated;
    request.kind = job.side == BatchSide::Hfs   ? ImageKind::Hfs
                   : job.side == BatchSide::Iso ? ImageKind::Iso
                                                : ImageKind::Hybrid;
    request.replace = true;
    request.guard = job.context.guard;
    request.tableFolder = ".";
    request.rebuilds = project->header().rebuildBeforeCompile();
    if (request.rebuilds)
        request.rebuild = RebuildRequestOf(job.context, messages);
    request.backsUp = OptionsOf(job.context).backsUpProjects;
    const BuildOutcome outcome = BuildProject(*project, request, PortsOf(job));
    if (outcome.result != CompileResult::Done)
        return outcome.result == CompileResult::NoRoom ? BatchResult::NoRoom
                                                       : BatchResult::NotCreated;
    return !outcome.settled.any() || SaveAfterBuild(*project, messages) ? BatchResult::Done
                                                                        : BatchResult::NotCreated;
}

BatchResult BatchMakeFolders(const BatchJob& job) {
    Messages& messages = job.terminal.messages;
    std::optional<ProjectFile> project;
    if (!OpenOrCreate(job, project))
        return BatchResult::NotOpened;
    NewFolderOptions options{job.context.clock, ViewOf(job.side), kShortenAll};
    if (NewPathFolder(*project, job.argument, options, messages) == 0)
        return BatchResult::NotCreated;
    return Save(*project, messages);
}

BatchResult BatchInclude(const BatchJob& job) {
    Messages& messages = job.terminal.messages;
    ContentsRequest request;
    if (job.argument.starts_with(kListSign))
        request.list = job.argument.substr(1);
    else
        request.paths.push_back(job.argument);
    std::optional<ProjectFile> project;
    if (!OpenOrCreate(job, project))
        return BatchResult::NotOpened;
    InclusionOptions options{job.context.clock, ViewOf(job.side), kYesToAll, kShortenAll};
    options.signatureOf = SignatureLookupOf(job.context, messages);
    options.excluded = OwnFiles(*project, JournalOf(job.context));
    options.toleratesConflicts = true;
    const InclusionResult included = IncludeContents(*project, request, options, PortsOf(job));
    if (included.status != InclusionStatus::Done)
        return BatchResult::NotFound;
    // Nothing that was named could be taken: no project comes into being for it.
    if (included.isVain() && PcFactsOf(job.project).kind == PcKind::Missing)
        return BatchResult::NotFound;
    return Save(*project, messages);
}

BatchResult BatchRebuild(const BatchJob& job) {
    Messages& messages = job.terminal.messages;
    SessionState* session = job.context.session;
    if (job.opensLog && session && !session->journal.isOpen()) {
        if (!OpenJournal(job.argument, {&job.project, 1}, *session, job.context))
            return BatchResult::NotCreated;
        session->journal.mark();
    }
    std::optional<ProjectFile> project;
    if (!OpenForChange(job.project, job.context, messages, project))
        return BatchResult::NotOpened;
    const RebuildResult result =
        Rebuild(*project, RebuildRequestOf(job.context, messages), PortsOf(job));
    if (!result.isWhole())
        return BatchResult::NotCreated;
    if (!result.hasChanges() || SaveWithBackup(*project, job.context, messages))
        return BatchResult::Done;
    return BatchResult::NotOpened;
}

BatchResult BatchExpand(const BatchJob& job) {
    const ExpandResult result = ExpandToFile({.image = job.project,
                                              .target = FollowLink(job.argument),
                                              .named = job.argument,
                                              .replace = true},
                                             PortsOf(job.context, job.terminal));
    job.context.readIncomplete = result.isIncomplete;
    return result.end == ExpandEnd::Done       ? BatchResult::DoneAndOpen
           : result.end == ExpandEnd::NotBegun ? BatchResult::NotCreated
                                               : BatchResult::NotOpened;
}

BatchResult BatchJoin(const BatchJob& job) {
    const HybridationOptions options{
        .opensRoot = OptionsOf(job.context).opensRoot, .force = true, .guard = job.context.guard};
    const HybridationOutcome outcome = Hybridate(job.argument, {job.project}, options,
                                                 job.terminal.messages, job.terminal.progress);
    switch (outcome.result) {
        case HybridationResult::Done:
            return BatchResult::DoneAndOpen;
        case HybridationResult::PartitionNotOpened:
        case HybridationResult::ImageRefused:
        case HybridationResult::NoTemporaryFile:
            return BatchResult::NotOpened;
        default:
            return BatchResult::NotCreated;
    }
}

BatchResult BatchSplit(const BatchJob& job) {
    switch (Deshybridate(job.project, job.terminal.messages, job.context.guard).result) {
        case DeshybridationResult::Done:
            return BatchResult::Done;
        case DeshybridationResult::NotOpened:
            return BatchResult::NotOpened;
        default:
            return BatchResult::NotCreated;
    }
}

BatchResult BatchSetLabel(const BatchJob& job) {
    Messages& messages = job.terminal.messages;
    std::optional<ProjectFile> project;
    if (!OpenOrCreate(job, project))
        return BatchResult::NotOpened;
    const LabelSide side = job.side == BatchSide::Hfs   ? LabelSide::Hfs
                           : job.side == BatchSide::Iso ? LabelSide::Iso
                                                        : LabelSide::Both;
    if (const Reason refusal = SetLabels(*project, job.argument, side)) {
        messages.showMessage(refusal);
        return BatchResult::NotCreated;
    }
    return Save(*project, messages);
}

}  // namespace vellmark
