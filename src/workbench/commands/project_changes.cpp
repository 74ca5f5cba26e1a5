#include "workbench/commands/project_changes.hpp"

#include <QElapsedTimer>
#include <functional>

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

void ChangeProjectFile(TVellmark& window, const std::function<bool(Progress& progress)>& change) {
    window.runJob(JobKind::Work, [&](Progress& progress) {
        try {
            if (change(progress))
                (void)window.session().keep();
        } catch (...) {
            TakeBack(window);
            throw;
        }
    });
}

TruncationAnswers& NameAnswers(TVellmark& window) {
    TruncationAnswers& kept = window.answers().names;
    const TruncationAnswers wanted = OptionsOf(window).shortenInViews;
    kept = {kept.iso || wanted.iso, kept.hfs || wanted.hfs, kept.hfsPlus || wanted.hfsPlus};
    return kept;
}

void TakeBack(TVellmark& window) {
    if (!DocumentOf(window).isUnsaved)
        (void)window.session().revert();
}

void KeepProject(TVellmark& window) {
    ChangeProjectFile(window, [](Progress&) { return true; });
    window.messages().tellSkipped();
}

void AddToProject(TVellmark& window, const std::vector<std::string>& paths) {
    std::optional<InclusionResult> result;
    QElapsedTimer timer;
    ChangeProjectFile(window, [&](Progress& progress) {
        if (window.session().openProject() == nullptr)
            return false;
        timer.start();
        ProjectDocument& document = DocumentOf(window);
        InclusionOptions options{window.context().clock, window.documents().shownView()};
        options.answers = window.answers().views;
        options.truncation = NameAnswers(window);
        options.excluded = OwnFiles(*document.file, JournalOf(window.context()));
        // Of a thousand files one may have gone meanwhile.
        options.toleratesMissing = true;
        options.signatureOf = SignatureLookupOf(window.context(), window.messages());
        result = AddDropped(window.session(), paths, document.folder, options, window.messages(),
                            progress);
        window.answers().views = options.answers;
        window.answers().names = options.truncation;
        const bool isStopped = result && result->status == InclusionStatus::Stopped;
        if (isStopped)
            TakeBack(window);
        return result && !isStopped;
    });
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
    ChangeProjectFile(window, [&](Progress& progress) {
        const DeletionResult result =
            DeleteItems(*DocumentOf(window).file, numbers, confirm, window.messages(), progress);
        if (result.refusal)
            window.messages().showMessage(result.refusal);
        return result.deleted > 0;
    });
}

void MoveInProject(TVellmark& window, const std::vector<std::int32_t>& numbers) {
    ChangeProjectFile(window, [&](Progress&) {
        ProjectDocument& document = DocumentOf(window);
        const auto moved = MoveItems(*document.file, numbers, document.folder, NameAnswers(window),
                                     window.messages());
        if (!moved)
            window.messages().showMessage(moved.error());
        return moved && *moved > 0;
    });
}

void RenameInProject(TVellmark& window, std::int32_t number, const QString& name) {
    ChangeProjectFile(window, [&](Progress&) {
        const Reason refusal = RenameItem(*DocumentOf(window).file, number, name.toStdString(),
                                          window.documents().shownView());
        if (refusal)
            window.messages().showMessage(refusal);
        return !refusal;
    });
}

void MakeProjectFolder(TVellmark& window, const std::string& name) {
    ChangeProjectFile(window, [&](Progress&) {
        ProjectDocument& document = DocumentOf(window);
        NewFolderOptions options{window.context().clock, window.documents().shownView(),
                                 NameAnswers(window)};
        const bool isMade =
            NewFolder(*document.file, name, document.folder, options, window.messages()) != 0;
        NameAnswers(window) = options.truncation;
        return isMade;
    });
}

void RebuildProject(TVellmark& window) {
    RebuildResult result;
    Reason summary;
    ChangeProjectFile(window, [&](Progress& progress) {
        ProjectFile& project = *DocumentOf(window).file;
        const RebuildRequest request = RebuildRequestOf(window.context(), window.messages());
        result = Rebuild(project, request, {window.messages(), progress, window.context().clock});
        if (result.isWhole())
            summary = RebuildSummary(project, result);
        else
            TakeBack(window);
        return result.isWhole() && result.hasChanges();
    });
    if (summary)
        window.messages().showTimedMessage(summary);
    window.messages().tellSkipped();
}

void HideExtensionsOfAll(TVellmark& window) {
    ChangeProjectFile(window,
                      [&](Progress&) { return HideExtensions(*DocumentOf(window).file) > 0; });
}

}  // namespace vellmark
