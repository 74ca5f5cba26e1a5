#include "workbench/commands/project_changes.hpp"

#include <QElapsedTimer>

#include "project/drop.hpp"
#include "project/item_deletion.hpp"
#include "project/item_moves.hpp"
#include "project/item_names.hpp"
#include "project/item_properties.hpp"
#include "project/project_folders.hpp"
#include "project/project_properties.hpp"
#include "project/rebuild.hpp"
#include "session/project_options.hpp"
#include "session/signature_file.hpp"
#include "session/user_options.hpp"
#include "support/pc_folder.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextIncluded = 1457;
constexpr int kStatusPanel = 4;
constexpr int kSecondsAMinute = 60;

UserOptions OptionsOf(const TVellmark& window) {
    return OptionsOf(window.state().settings, window.language());
}

ProjectDocument& DocumentOf(TVellmark& window) {
    return *window.documents().projectOfMode();
}

}  // namespace

void KeepProject(TVellmark& window) {
    (void)window.session().keep();
    window.showDocument();
    window.messages().tellSkipped();
}

void AddToProject(TVellmark& window, const std::vector<std::string>& paths) {
    std::optional<InclusionResult> result;
    QElapsedTimer timer;
    window.runJob(JobKind::Work, [&](Progress& progress) {
        if (window.session().openProject() == nullptr)
            return;
        timer.start();
        ProjectDocument& document = DocumentOf(window);
        InclusionOptions options{window.context().clock, window.documents().shownView()};
        options.truncation = OptionsOf(window).shortenInViews;
        options.excluded = OwnFiles(*document.file, JournalOf(window.context()));
        options.signatureOf = SignatureLookupOf(window.context(), window.messages());
        result = AddDropped(window.session(), paths, document.folder, options, window.messages(),
                            progress);
        // Half of what was dropped is nothing that anybody asked for.
        if (result && result->status == InclusionStatus::Stopped)
            (void)window.session().revert();
        else if (result)
            (void)window.session().keep();
    });
    window.showDocument();
    if (result && result->status != InclusionStatus::Stopped) {
        const auto seconds = static_cast<int>(timer.elapsed() / 1000);
        window.status().setPanel(
            kStatusPanel, WordsWith(kTextIncluded, window.language(), seconds / kSecondsAMinute,
                                    seconds % kSecondsAMinute, result->folders, result->files));
    }
    window.messages().tellSkipped();
}

void DeleteFromProject(TVellmark& window, const std::vector<std::int32_t>& numbers) {
    RememberedAnswer confirm;
    if (OptionsOf(window).deletesSilently)
        confirm.kept = Remembered::YesToAll;
    Progress none;
    const DeletionResult result =
        DeleteItems(*DocumentOf(window).file, numbers, confirm, window.messages(), none);
    if (result.refusal)
        window.messages().showMessage(result.refusal);
    if (result.deleted > 0)
        KeepProject(window);
}

void MoveInProject(TVellmark& window, const std::vector<std::int32_t>& numbers) {
    ProjectDocument& document = DocumentOf(window);
    TruncationAnswers answers = OptionsOf(window).shortenInViews;
    const auto moved =
        MoveItems(*document.file, numbers, document.folder, answers, window.messages());
    if (!moved)
        window.messages().showMessage(moved.error());
    else if (*moved > 0)
        KeepProject(window);
}

void RenameInProject(TVellmark& window, std::int32_t number, const QString& name) {
    const Reason refusal = RenameItem(*DocumentOf(window).file, number, name.toStdString(),
                                      window.documents().shownView());
    if (refusal)
        window.messages().showMessage(refusal);
    else
        KeepProject(window);
}

void MakeProjectFolder(TVellmark& window, const std::string& name) {
    ProjectDocument& document = DocumentOf(window);
    NewFolderOptions options{window.context().clock, window.documents().shownView(),
                             OptionsOf(window).shortenInViews};
    if (NewFolder(*document.file, name, document.folder, options, window.messages()) != 0)
        KeepProject(window);
}

void RebuildProject(TVellmark& window) {
    RebuildResult result;
    window.runJob(JobKind::Work, [&](Progress& progress) {
        ProjectFile& project = *DocumentOf(window).file;
        const RebuildRequest request = RebuildRequestOf(window.context(), window.messages());
        result = Rebuild(project, request, {window.messages(), progress, window.context().clock});
        if (!result.isWhole())
            (void)window.session().revert();
        else if (result.hasChanges())
            (void)window.session().keep();
    });
    window.showDocument();
    if (result.isWhole() && DocumentOf(window).file)
        window.messages().showTimedMessage(RebuildSummary(*DocumentOf(window).file, result));
    window.messages().tellSkipped();
}

void HideExtensionsOfAll(TVellmark& window) {
    if (HideExtensions(*DocumentOf(window).file) > 0)
        KeepProject(window);
}

}  // namespace vellmark
