#include "session/batch/batch_commands.hpp"

#include <fmt/core.h>

#include <optional>
#include <string>
#include <vector>

#include "IO/disk_image.hpp"
#include "compiler/compile.hpp"
#include "join/deshybridation.hpp"
#include "join/hybridation.hpp"
#include "project/inclusion.hpp"
#include "project/project_folders.hpp"
#include "reading/plain_image.hpp"
#include "session/file_modes.hpp"
#include "session/include_list.hpp"
#include "session/labels.hpp"
#include "session/open_project.hpp"
#include "session/project_rebuild.hpp"
#include "session/reading_ports.hpp"
#include "session/session_state.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
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
        messages.showMessage(
            fmt::format("{} is not there, and no project is made under that name: projects end in "
                        ".vlpr, .cat or .vlso.",
                        Printable(job.project)));
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

BatchResult ResultOf(CompileResult result) {
    switch (result) {
        case CompileResult::Done:
            return BatchResult::Done;
        case CompileResult::NoRoom:
            return BatchResult::NoRoom;
        default:
            return BatchResult::NotCreated;
    }
}

}  // namespace

BatchResult BatchCompile(const BatchJob& job) {
    Messages& messages = job.terminal.messages;
    const ProjectMode mode = ProjectModeOf(job.project);
    if (mode == ProjectMode::IsoPlus && job.side != BatchSide::Both) {
        messages.showMessage("An ISO+ project is built into one kind of image.");
        return BatchResult::NotUnderstood;
    }
    std::optional<ProjectFile> project;
    if (ProjectFile::Open(FollowLink(job.project), mode, messages, project,
                          ChangingAccess(job.context)) != ProjectOpened::Opened)
        return BatchResult::NotOpened;
    const std::string image = FollowLink(WithExtension(job.project, "ISO"));
    if (AreSameFile(image, job.project)) {
        messages.showMessage(
            fmt::format("The image {} would replace its own project.", Printable(image)));
        return BatchResult::NotCreated;
    }
    bool changed = false;
    if (!MayMakeFile(image, true, messages) ||
        !RebuildBeforeBuild(*project, false, image, job.context, job.terminal, changed))
        return BatchResult::NotCreated;
    const ImageKind kind = job.side == BatchSide::Hfs   ? ImageKind::Hfs
                           : job.side == BatchSide::Iso ? ImageKind::Iso
                                                        : ImageKind::Hybrid;
    CompileContext compile{*project,          messages, job.terminal.progress,
                           job.context.clock, image,    kind};
    compile.replace = true;
    compile.guard = job.context.guard;
    compile.projectChanged = changed;
    return ResultOf(CompileProject(compile));
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
    const bool isList = job.argument.starts_with(kListSign);
    std::vector<std::string> paths;
    if (!isList)
        paths.push_back(job.argument);
    else if (!ReadIncludeList(job.argument.substr(1), paths, messages))
        return BatchResult::NotFound;
    std::optional<ProjectFile> project;
    if (!OpenOrCreate(job, project))
        return BatchResult::NotOpened;
    InclusionOptions options{job.context.clock, ViewOf(job.side), kYesToAll, kShortenAll};
    options.signatureOf = SignatureLookupOf(job.context, job.terminal.messages);
    options.excluded = OwnFiles(*project, job.context);
    options.toleratesConflicts = true;
    options.toleratesMissing = isList;
    const InclusionResult included =
        Include(*project, paths, kRootFolder, options, messages, job.terminal.progress);
    if (!IsWorthSaving(included, messages))
        return BatchResult::NotFound;
    // Nothing that was named could be taken: no project comes into being for it.
    const bool isVain = included.files + included.folders == 0 && included.skipped > 0;
    if (isVain && PcFactsOf(job.project).kind == PcKind::Missing)
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
    RebuildResult result;
    if (!RebuildInMemory(*project, {}, job.context, job.terminal, result))
        return BatchResult::NotCreated;
    if (!result.hasChanges())
        return BatchResult::Done;
    BackUpBeforeChange(*project, job.context, messages);
    return Save(*project, messages);
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
    if (!SetLabels(*project, job.argument, side, messages))
        return BatchResult::NotCreated;
    return Save(*project, messages);
}

}  // namespace vellmark
