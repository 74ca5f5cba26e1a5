// The command that lays out the root: what is settled before the editor, and what becomes of what
// was edited.
#include <QDir>
#include <QFileDialog>
#include <utility>

#include "compiler/automatic_label.hpp"
#include "project/project_properties.hpp"
#include "project/view_names.hpp"
#include "session/settings.hpp"
#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "support/targets.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/layout/layout_editor.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/properties/label_dialog.hpp"

namespace vellmark {

namespace {

constexpr int kTextNeedsLabel = 1037;
constexpr int kTextOverwrite = 1061;
constexpr int kTextFilter = 1522;
constexpr int kTextSaveTitle = 1523;
constexpr int kTextBecomesHfsPlus = 1542;

/// Null when the project could not be read again after a change that was taken back.
ProjectFile* ProjectOf(TVellmark& window) {
    ProjectDocument* const document = window.documents().projectOfMode();
    return document && document->file ? &*document->file : nullptr;
}

// False when the project stays as it is: "no" counts where names would be lost.
bool BecomesHfsPlus(TVellmark& window) {
    ProjectFile& project = *ProjectOf(window);
    if (project.header().isHfsPlus())
        return true;
    const bool isAgreed = window.messages().askYesNo(Reason::Told(kTextBecomesHfsPlus));
    if (!isAgreed && HasNamesHfsPlusLoses(project))
        return false;
    Reason refusal;
    ChangeProjectFile(window, [&](Progress&) {
        refusal = ChangeProject(project, {.isHfsPlus = true});
        return !refusal;
    });
    if (refusal)
        window.messages().showMessage(refusal);
    return !refusal && ProjectOf(window) != nullptr;
}

// Nothing after a message.
std::optional<EditedLayout> Read(TVellmark& window) {
    EditedLayout edited;
    const bool isDone = window.runJob(JobKind::Work, [&](Progress& progress) {
        edited.project = LayoutOfProject(*ProjectOf(window), window.messages());
        if (edited.project.background.empty())
            return;
        const auto picture = ReadBackground(edited.project.background, progress);
        if (picture)
            edited.picture = *picture;
        else
            edited.pictureProblem = picture.error();
    });
    return isDone ? std::optional(std::move(edited)) : std::nullopt;
}

// Where the layout is kept on the PC: where it is, else beside the project.
std::string Proposal(TVellmark& window, const ProjectLayout& layout) {
    if (!layout.file.empty())
        return layout.file;
    const std::string folder =
        window.documents().projectOfMode()->isUntitled
            ? KeptFolder(window.state().store, setting::kDocumentFolder, ToPath(QDir::homePath()))
            : FolderOf(window.documents().path());
    return ToPath(QDir(QFile::decodeName(folder.c_str()))
                      .filePath(QFile::decodeName(std::string(kStoreName).c_str())));
}

// Nothing when the person gave up, or after a message.
std::optional<std::string> AskTarget(TVellmark& window, const ProjectLayout& layout) {
    const QString chosen = QFileDialog::getSaveFileName(
        &window, window.text(kTextSaveTitle), QFile::decodeName(Proposal(window, layout).c_str()),
        DialogFilter(Text(kTextFilter, window.language())), nullptr,
        QFileDialog::DontConfirmOverwrite);
    if (chosen.isEmpty())
        return std::nullopt;
    const std::string path = FollowLink(ToPath(chosen));
    WindowMessages& messages = window.messages();
    for (const std::string& needed : {window.documents().path(), layout.background})
        if (AreSameFile(path, needed)) {
            messages.showMessage(Reason(Sentence::kStoreReplacesSource, Printable(path)));
            return std::nullopt;
        }
    if (PcFactsOf(path).kind != PcKind::Missing &&
        !messages.askYesNo(Reason::Told(kTextOverwrite, Printable(path))))
        return std::nullopt;
    if (!MayMakeFile(path, true, messages))
        return std::nullopt;
    return path;
}

// False after a message: the project is as it was.
bool Keep(TVellmark& window, const ProjectLayout& layout, const std::string& path) {
    bool isDone = false;
    ChangeProjectFile(window, [&](Progress& progress) {
        isDone = SetLayout(*ProjectOf(window), layout, path,
                           {window.messages(), progress, window.context().clock});
        if (!isDone)
            TakeBack(window);
        return isDone;
    });
    window.messages().tellSkipped();
    return isDone;
}

}  // namespace

void ShowLayoutEditor(TVellmark& window) {
    if (IsUntitledLabel(ProjectOf(window)->header().hfsLabel())) {
        window.messages().showMessage(ToldText{kTextNeedsLabel});
        if (AskLabels(window))
            KeepProject(window);
    }
    if (!BecomesHfsPlus(window))
        return;
    std::optional<EditedLayout> edited = Read(window);
    if (!edited)
        return;
    TDS_Store editor(window, *edited);
    while (editor.exec() == QDialog::Accepted) {
        const auto path = AskTarget(window, edited->project);
        if (path && (Keep(window, edited->project, *path) || !ProjectOf(window)))
            break;
    }
}

}  // namespace vellmark
