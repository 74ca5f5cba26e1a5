// A project and what lies on the disk: brought together by a person who looks at each difference.
#include "containers/names.hpp"
#include "project/accept.hpp"
#include "project/access_path.hpp"
#include "project/project_properties.hpp"
#include "project/rebuild.hpp"
#include "project/replace_signature.hpp"
#include "session/project_options.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/refresh/path_dialog.hpp"
#include "workbench/refresh/refresh_form.hpp"
#include "workbench/refresh/replace_signature_dialog.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoDifference = 1338;
constexpr int kTextPathsChanged = 1408;
constexpr int kTextReplaced = 1428;
constexpr int kTextSignatureNotFound = 1429;
constexpr int kTextNoFiles = 1550;

ProjectFile& ProjectOf(TVellmark& window) {
    return *window.documents().projectOfMode()->file;
}

}  // namespace

std::vector<ProjectChange> AcceptDifferences(TVellmark& window,
                                             const std::vector<ProjectChange>& differences) {
    std::vector<ProjectChange> accepted;
    ChangeProjectFile(window, [&](Progress& progress) {
        ProjectFile& project = ProjectOf(window);
        WindowMessages& messages = window.messages();
        InclusionOptions options{window.context().clock, ProjectView::Hybrid};
        options.answers = window.answers().views;
        options.truncation = NameAnswers(window);
        options.excluded = NeverItems(project, {}, JournalOf(window.context()));
        options.signatureOf = SignatureLookupOf(window.context(), messages);
        RememberedAnswer confirm;
        if (OptionsOf(window.state().settings, window.language()).deletesSilently)
            confirm.kept = Remembered::YesToAll;
        const AcceptedLine note = [&](const ProjectChange& each) { accepted.push_back(each); };
        (void)AcceptDeleted(project, differences, confirm, messages, progress, note);
        (void)AcceptModified(project, differences, options, messages, progress, note);
        (void)AcceptAdded(project, differences, options, messages, progress, note);
        window.answers().views = options.answers;
        window.answers().names = options.truncation;
        if (progress.mayGoOn())
            return !accepted.empty();
        accepted.clear();
        TakeBack(window);
        return false;
    });
    window.messages().tellSkipped();
    return accepted;
}

bool ReplaceItemSource(TVellmark& window, std::int32_t number, const std::string& path) {
    bool isDone = false;
    ChangeProjectFile(window, [&](Progress&) {
        isDone = ReplaceSource(ProjectOf(window), number, path, window.messages());
        return isDone;
    });
    return isDone;
}

void RefreshProject(TVellmark& window) {
    CheckResult result;
    const bool isDone = window.runJob(JobKind::Work, [&](Progress& progress) {
        ProjectFile& project = ProjectOf(window);
        const auto never = NeverItems(project, {}, JournalOf(window.context()));
        result = Check(project, kRootFolder, {.clock = window.context().clock, .excluded = never},
                       window.messages(), progress);
    });
    window.messages().tellSkipped();
    // What was not looked at is not the same as nothing found.
    if (!isDone || result.isStopped)
        return;
    TellMissingRoots(ProjectOf(window), result.missingRoots, window.messages());
    if (result.foundNothing())
        window.messages().showMessage(Reason::Told(kTextNoDifference));
    if (!result.changes.empty())
        ShowDifferences(window, std::move(result.changes));
}

void ChangePathsOfProject(TVellmark& window) {
    ProjectFile& project = ProjectOf(window);
    if (PropertiesOf(project).counts.all.files == 0)
        return window.messages().showMessage(Reason::Told(kTextNoFiles));
    const std::optional<PathsWanted> wanted = AskPaths(window);
    if (!wanted)
        return;
    const std::string oldPath = OldRecordPathOf(wanted->oldPath);
    const std::string newPath = RecordPathOf(wanted->newPath);
    if (oldPath.empty() || newPath.empty())
        return window.messages().showMessage(
            Reason(Sentence::kPathUnusable,
                   Printable(oldPath.empty() ? wanted->oldPath : wanted->newPath)));
    PathsChanged changed;
    ChangeProjectFile(window, [&](Progress&) {
        changed = ChangeAccessPath(ProjectOf(window), oldPath, newPath, window.messages());
        return changed.items > 0;
    });
    window.messages().tellSkipped();
    window.messages().showMessage(Reason::Told(kTextPathsChanged, changed.items));
    if (changed.items > 0)
        RefreshProject(window);
}

void ReplaceSignatureOfFiles(TVellmark& window) {
    const std::optional<SignaturesWanted> wanted = AskSignatures(window);
    if (!wanted)
        return;
    std::int64_t count = 0;
    ChangeProjectFile(window, [&](Progress&) {
        count = ReplaceSignature(ProjectOf(window), wanted->from, wanted->to, {});
        return count > 0;
    });
    const std::string shown =
        Printable(WideToUtf8(MacNameToWide({wanted->from.data(), wanted->from.size()})));
    window.messages().showMessage(count > 0 ? Reason::Told(kTextReplaced, shown, count)
                                            : Reason::Told(kTextSignatureNotFound, shown));
}

}  // namespace vellmark
