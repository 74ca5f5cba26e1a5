// How the window looks at things: modes, views, languages, the journal, help.
#include <QDesktopServices>
#include <QDir>
#include <QProcess>
#include <QUrl>

#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/dialogs/about_dialog.hpp"
#include "workbench/dialogs/journal_dialog.hpp"
#include "workbench/help/help_window.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

void ChooseMode(TVellmark& window, FileMode mode) {
    if (window.documents().mode != mode)
        window.runJob(JobKind::Work, [&](Progress&) { window.session().chooseMode(mode); });
    // The mark of the one that was chosen has gone from its row.
    window.updateCommands();
}

void ChooseView(TVellmark& window, ProjectView view) {
    if (window.documents().view != view) {
        window.session().setView(view);
        window.showDocument();
    }
    window.updateCommands();
}

void ChooseCopyMode(TVellmark& window, CopyMode mode) {
    (void)window.session().setCopyMode(mode);
    window.updateCommands();
}

void Speak(TVellmark& window, Language language) {
    if (window.language() != language) {
        window.state().settings.language = language;
        window.setLanguage(language);
        // The table has words of its own for each language.
        window.state().signatures.reset();
        window.showDocument();
    }
    window.updateCommands();
}

void OpenWithDesktop(TVellmark& window, const QString& path) {
    if (!QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        window.messages().showMessage(Reason(Sentence::kNoBrowser, Printable(ToPath(path))));
}

}  // namespace

void ChooseProjectMode(TVellmark& window) {
    ChooseMode(window, FileMode::Project);
}

void ChoosePartitionMode(TVellmark& window) {
    ChooseMode(window, FileMode::Partition);
}

void ChooseIsoPlusMode(TVellmark& window) {
    ChooseMode(window, FileMode::IsoPlus);
}

void ChooseNextMode(TVellmark& window) {
    window.runJob(JobKind::Work, [&](Progress&) { window.session().chooseNextMode(); });
}

void ViewIso(TVellmark& window) {
    ChooseView(window, ProjectView::Iso);
}

void ViewHybrid(TVellmark& window) {
    ChooseView(window, ProjectView::Hybrid);
}

void ViewHfs(TVellmark& window) {
    ChooseView(window, ProjectView::Hfs);
}

void ViewNext(TVellmark& window) {
    constexpr int kViews = 3;
    ChooseView(window,
               static_cast<ProjectView>((static_cast<int>(window.documents().view) + 1) % kViews));
}

void ToggleToolBar(TVellmark& window) {
    window.setToolBarHidden(!window.isToolBarHidden());
}

void CopyDataFork(TVellmark& window) {
    ChooseCopyMode(window, CopyMode::DataFork);
}

void CopyResourceFork(TVellmark& window) {
    ChooseCopyMode(window, CopyMode::ResourceFork);
}

void CopyMacBinary(TVellmark& window) {
    ChooseCopyMode(window, CopyMode::MacBinary);
}

void CopyAppleDouble(TVellmark& window) {
    ChooseCopyMode(window, CopyMode::AppleDouble);
}

void CopyAppleSingle(TVellmark& window) {
    ChooseCopyMode(window, CopyMode::AppleSingle);
}

void SpeakEnglish(TVellmark& window) {
    Speak(window, Language::English);
}

void SpeakFrench(TVellmark& window) {
    Speak(window, Language::French);
}

void ManageJournal(TVellmark& window) {
    ShowJournalDialog(window);
    window.updateCommands();
}

void LaunchFileManager(TVellmark& window) {
    OpenWithDesktop(window, QDir::homePath());
}

void LaunchIconComposer(TVellmark& window) {
    const std::string& program = window.state().settings.iconComposer;
    if (!QProcess::startDetached(QFile::decodeName(program.c_str()), {}))
        window.messages().showMessage(Reason(Sentence::kNotStarted, Printable(program)));
}

void ShowParent(TVellmark& window) {
    window.session().enterParent();
    window.showFolder(window.selection().folder);
}

void ShowAgain(TVellmark& window) {
    if (window.documents().isOpen())
        window.showDocument();
}

void ShowHelp(TVellmark& window) {
    ShowHelpTopic("", window.language(), &window);
}

void ShowModeHelp(TVellmark& window) {
    constexpr const char* kTopics[] = {"project", "partition", "isoplus"};
    ShowHelpTopic(kTopics[static_cast<std::size_t>(window.documents().mode)], window.language(),
                  &window);
}

void ShowHelpOnHelp(TVellmark& window) {
    ShowHelpTopic("help", window.language(), &window);
}

void ShowHelpIndex(TVellmark& window) {
    ShowHelpTopic("index", window.language(), &window);
}

void SearchInHelp(TVellmark& window) {
    SearchHelp(window.language(), &window);
}

void ShowSupport(TVellmark& window) {
    const std::string name =
        window.language() == Language::French ? "support_fr.html" : "support_en.html";
    for (const std::string& folder : window.context().shippedFolders)
        if (PcFactsOf(folder + name).kind == PcKind::File)
            return OpenWithDesktop(window, QFile::decodeName((folder + name).c_str()));
    window.messages().showMessage(Sentence::kNoSupportPage);
}

void ShowAbout(TVellmark& window) {
    ShowAboutDialog(window.language(), &window);
}

bool IsProjectMode(const TVellmark& window) {
    return window.documents().mode == FileMode::Project;
}

bool IsPartitionMode(const TVellmark& window) {
    return window.documents().mode == FileMode::Partition;
}

bool IsIsoPlusMode(const TVellmark& window) {
    return window.documents().mode == FileMode::IsoPlus;
}

bool IsIsoView(const TVellmark& window) {
    return window.documents().view == ProjectView::Iso;
}

bool IsHybridView(const TVellmark& window) {
    return window.documents().view == ProjectView::Hybrid;
}

bool IsHfsView(const TVellmark& window) {
    return window.documents().view == ProjectView::Hfs;
}

bool IsToolBarHidden(const TVellmark& window) {
    return window.isToolBarHidden();
}

bool IsDataForkMode(const TVellmark& window) {
    return window.documents().copyMode == CopyMode::DataFork;
}

bool IsResourceForkMode(const TVellmark& window) {
    return window.documents().copyMode == CopyMode::ResourceFork;
}

bool IsMacBinaryMode(const TVellmark& window) {
    return window.documents().copyMode == CopyMode::MacBinary;
}

bool IsAppleDoubleMode(const TVellmark& window) {
    return window.documents().copyMode == CopyMode::AppleDouble;
}

bool IsAppleSingleMode(const TVellmark& window) {
    return window.documents().copyMode == CopyMode::AppleSingle;
}

bool IsEnglish(const TVellmark& window) {
    return window.language() == Language::English;
}

bool IsFrench(const TVellmark& window) {
    return window.language() == Language::French;
}

bool IsJournalOpen(const TVellmark& window) {
    return window.state().journal.isOpen();
}

}  // namespace vellmark
