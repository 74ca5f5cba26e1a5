// From the open project to an image: what is asked before, what is said after.
#include <QApplication>
#include <cstring>

#include "compiler/automatic_label.hpp"
#include "compiler/build_project.hpp"
#include "project/project_properties.hpp"
#include "session/project_options.hpp"
#include "session/settings.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/targets.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/dialogs/compile_dialog.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextOverwrite = 1061;
constexpr int kTextDone = 1293;
constexpr int kTextSucceeded = 1295;
constexpr int kTextAborted = 1395;
constexpr int kTextNothing = 1550;
constexpr int kTextNothingInIso = 1551;
constexpr int kTextNothingInHfs = 1552;
constexpr int kTextNoFiles = 1553;

constexpr int kStatusPanel = 4;

// Which sides the image can have; nothing after a message when there is nothing to build.
std::optional<ImageKind> KindOf(TVellmark& window, const ProjectFile& project) {
    WindowMessages& messages = window.messages();
    const ProjectCounts counts = CountItems(project);
    const bool isIsoEmpty = counts.iso.files + counts.iso.folders == 0;
    const bool isHfsEmpty = counts.hfs.files + counts.hfs.folders == 0;
    if (project.mode() == ProjectMode::IsoPlus) {
        if (!isIsoEmpty)
            return ImageKind::Hybrid;
        messages.showMessage(ToldText{kTextNoFiles});
        return std::nullopt;
    }
    if (isIsoEmpty && isHfsEmpty) {
        messages.showMessage(ToldText{kTextNothing});
        return std::nullopt;
    }
    if (isIsoEmpty) {
        messages.showMessage(ToldText{kTextNothingInIso});
        return ImageKind::Hfs;
    }
    if (isHfsEmpty) {
        messages.showMessage(ToldText{kTextNothingInHfs});
        return ImageKind::Iso;
    }
    return ImageKind::Hybrid;
}

// The file to make; nothing when the person gave up or it cannot be made, after a message.
std::optional<std::string> TargetOf(TVellmark& window, const ProjectFile& project, ImageKind kind) {
    const std::optional<std::string> path = AskImageTarget(window, project, kind);
    if (!path) {
        QApplication::beep();
        return std::nullopt;
    }
    KeepFolderOf(*path, setting::kCompileFolder, window.state().store);
    const std::string target = FollowLink(*path);
    if (const Reason refusal = TargetRefusal(project, target)) {
        window.messages().showMessage(refusal);
        return std::nullopt;
    }
    if (PcFactsOf(target).kind != PcKind::Missing &&
        !window.messages().askYesNo(Reason::Told(kTextOverwrite, Printable(target))))
        return std::nullopt;
    if (!MayMakeFile(target, true, window.messages()))
        return std::nullopt;
    return target;
}

BuildRequest RequestOf(TVellmark& window, const std::string& target, ImageKind kind,
                       const CompileChoices& choices) {
    BuildRequest request;
    request.targetPath = target;
    request.kind = kind;
    request.postgap = choices.postgap;
    request.replace = true;
    request.guard = window.context().guard;
    request.rebuilds = choices.rebuild;
    if (choices.rebuild)
        request.rebuild = RebuildRequestOf(window.context(), window.messages());
    request.backsUp = !window.state().settings.has(kVlNoBackup);
    return request;
}

// Runs a prepared build beside the window; the project can be looked at meanwhile.
CompileResult Write(TVellmark& window, Build& build) {
    Documents& documents = window.documents();
    CompileResult result = CompileResult::Aborted;
    documents.compile = CompileState::Runs;
    window.runJob(JobKind::Compile, [&](Progress&) { result = build.write(); });
    documents.compile = result == CompileResult::Done ? CompileState::Idle : CompileState::Stopped;
    return result;
}

void Tell(TVellmark& window, CompileResult result, const BuildSummary& summary) {
    if (result != CompileResult::Done) {
        window.status().setPanel(kStatusPanel, {});
        // What happened has been said; that the image is not there has not.
        if (result != CompileResult::Aborted)
            window.messages().showMessage(ToldText{kTextAborted});
        return;
    }
    const SideCounts& side = HasIso(summary.mode) ? summary.iso : summary.macintosh;
    QString done = WordsWith(
        kTextDone, window.language(),
        SizeWords(summary.imageBytes, window.language() == Language::French).toStdString(),
        side.folders, side.files);
    window.status().setPanel(kStatusPanel, done);
    if (const qsizetype bracket = done.indexOf(u'('); bracket > 0)
        done[bracket - 1] = u'\n';
    window.messages().showMessage((done + window.text(kTextSucceeded)).toStdString());
}

// The whole of it, for a project that has something to build.
void Compile(TVellmark& window, ProjectFile& project, ImageKind kind, const std::string& target) {
    window.runJob(JobKind::Work, [&](Progress&) {
        if (SettleLabels(project.header(), target, window.messages()))
            (void)window.session().keep();
    });
    const ProjectHeader before = project.header();
    const std::optional<CompileChoices> choices = AskCompile(window, project, kind, target);
    if (std::memcmp(&before, &project.header(), sizeof before) != 0)
        KeepProject(window);
    if (!choices)
        return;
    // The progress of both jobs is that of the job that runs.
    SessionProgress progress(window.jobs());
    Build build(project, RequestOf(window, target, kind, *choices),
                {window.messages(), progress, window.context().clock});
    CompileResult result = CompileResult::Aborted;
    window.runJob(JobKind::Work, [&](Progress&) { result = build.prepare(); });
    if (result == CompileResult::Done)
        result = Write(window, build);
    window.runJob(JobKind::Work, [&](Progress&) {
        if (result != CompileResult::Done)
            TakeBack(window);
        else if (build.settled().any())
            (void)window.session().keep();
    });
    window.messages().tellSkipped();
    Tell(window, result, result == CompileResult::Done ? build.summary() : BuildSummary());
}

}  // namespace

void CompileOrAbort(TVellmark& window) {
    if (window.jobs().isCompile()) {
        window.jobs().stop();
        return;
    }
    ProjectFile& project = *window.documents().projectOfMode()->file;
    const std::optional<ImageKind> kind = KindOf(window, project);
    if (!kind)
        return;
    if (const std::optional<std::string> target = TargetOf(window, project, *kind))
        Compile(window, project, *kind, *target);
}

}  // namespace vellmark
