// The window: a tree of folders, the items of one of them, and what is going on.
#pragma once

#include <QMainWindow>
#include <QTranslator>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "project/inclusion_rules.hpp"
#include "project/view_names.hpp"
#include "session/session.hpp"
#include "workbench/commands/command_bar.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/jobs/job_panel.hpp"
#include "workbench/jobs/job_runner.hpp"
#include "workbench/jobs/session_progress.hpp"
#include "workbench/main_window/size_gauge.hpp"
#include "workbench/main_window/status_panels.hpp"
#include "workbench/messages/window_messages.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/models/list_model.hpp"
#include "workbench/models/tree_model.hpp"
#include "workbench/models/volume_items.hpp"
#include "workbench/settings/pane_widths.hpp"

class QLabel;
class QSplitter;
class QTreeView;

namespace vellmark {

/// What a command acts on.
struct Selection {
    bool isInList = false;
    std::vector<std::size_t> rows;  ///< of the list, in their order
    std::int32_t folder = 0;        ///< the one selected in the tree
    bool isRoot = true;             ///< that one is the root

    /// Something that can be deleted, renamed or moved.
    [[nodiscard]] bool hasItem() const { return isInList ? !rows.empty() : !isRoot; }
    /// The same, or the root.
    [[nodiscard]] bool hasAnything() const { return !isInList || !rows.empty(); }
};

/// What a person does not want to be asked again until the program ends.
struct KeptAnswers {
    InclusionAnswers views;         ///< in which views files of the other system go
    TruncationAnswers names;        ///< for which views names are shortened without a question
    bool shortensImported = false;  ///< names too long for a volume are
    bool addsCrc = false;           ///< and end in digits of a checksum where one is taken
    bool convertsFontsOut = false;  ///< fonts that go to the PC, without a question
    bool convertsFontsIn = false;   ///< and those that come to a volume
    bool hidesNoFonts = false;      ///< files without a font that can be converted are not named
};

class TVellmark final : public QMainWindow, private DocumentDialogs {
  public:
    /// The context, with its running session, outlives the window.
    explicit TVellmark(CommandContext& context);
    ~TVellmark() override;

    /// Opens what the settings or the path ask for, and shows it.
    void start(const std::string& path);
    /// Leaves what is open and opens a file; what went wrong has been shown.
    void openPath(const std::string& path);

    [[nodiscard]] CommandContext& context() { return context_; }
    [[nodiscard]] SessionState& state() { return *context_.session; }
    [[nodiscard]] const SessionState& state() const { return *context_.session; }
    [[nodiscard]] Documents& documents() { return state().documents; }
    [[nodiscard]] const Documents& documents() const { return state().documents; }
    [[nodiscard]] Session& session() { return session_; }
    [[nodiscard]] KeptAnswers& answers() { return answers_; }
    [[nodiscard]] WindowMessages& messages() { return messages_; }
    [[nodiscard]] JobRunner& jobs() { return jobs_; }
    [[nodiscard]] Language language() const { return context_.language; }
    [[nodiscard]] QString text(int number) const { return Words(number, language()); }

    [[nodiscard]] Selection selection() const;
    /// Facts of a row of the list.
    [[nodiscard]] RowFacts factsOf(std::size_t row) const { return source_->facts(row); }
    /// Of the open volume; null in the other modes.
    [[nodiscard]] const VolumeItems* volumeItems() const { return volumeItems_; }
    [[nodiscard]] std::size_t rowCount() const { return source_ ? source_->count() : 0; }

    /// Runs a job; false when it could not begin, or ended for want of memory, after a message.
    /// Work that was not a compile has the document shown anew when it has ended.
    bool runJob(JobKind kind, const std::function<void(Progress& progress)>& work);
    /// Does something as soon as no job runs and no dialog stands: either holds on to what is open.
    void whenIdle(const std::function<void()>& what);
    /// Asks whether the running job is to stop (Esc, else the button or the end of the program).
    void askToStop(bool isEscape);

    /// Shows what is open anew: another document, or the same one after a change. The folder, what
    /// was opened in the tree and what was selected stay where they are there.
    void showDocument();
    /// Shows another folder of the document.
    void showFolder(std::int32_t folder);
    /// Shows the folder of an item and selects the item.
    void showItem(std::int32_t folder, std::int32_t number);
    void showView();
    void setLanguage(Language language);
    /// Computes again what may be done.
    void updateCommands();
    void setToolBarHidden(bool isHidden);
    /// Goes by other settings from now on, and keeps them.
    void applySettings(const Settings& wanted);
    /// Widths of the list's columns and of the tree, and those that nobody chose.
    [[nodiscard]] PaneWidths widths() const;
    [[nodiscard]] PaneWidths usualWidths() const;
    /// Has them from now on, and keeps them.
    void setWidths(const PaneWidths& wanted);
    [[nodiscard]] bool isToolBarHidden() const { return isToolBarHidden_; }

    [[nodiscard]] QTreeView& list() { return *list_; }
    [[nodiscard]] QTreeView& tree() { return *tree_; }
    [[nodiscard]] StatusPanels& status() { return *status_; }
    void editName();

  protected:
    void closeEvent(QCloseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
    void changeEvent(QEvent* event) override;

  private:
    std::optional<std::string> askPath(const PathRequest& request) override;
    std::optional<FormatInput> askNewVolume() override;

    void makePanes();
    void connectTree();
    void connectList();
    void restorePlace();
    void keepPlace();
    void keepSettings();
    void showWidths(const PaneWidths& widths);
    void makeSource();
    void listFolder();
    [[nodiscard]] std::vector<std::size_t> selectedRows() const;
    void selectRows(const std::vector<std::int32_t>& numbers);
    void showTotals();
    void showGauge();
    void showLook();
    void showSide();
    void showEmptyHint();
    void showRecentFiles();
    void jobChanged();
    [[nodiscard]] bool isIdle() const;
    [[nodiscard]] bool isDark() const;
    [[nodiscard]] std::int32_t currentFolder() const;
    [[nodiscard]] std::vector<std::int32_t> openedFolders() const;
    void openFolders(const std::vector<std::int32_t>& folders);
    [[nodiscard]] bool takesDrops() const;
    void dropped(QDropEvent& event, bool isOnList);
    void lookForReplacement();
    void turnedTo(bool isList, Qt::FocusReason reason);
    void followClipboard();
    void showContextMenu(const QPoint& at, bool isList);
    void activated(const QModelIndex& index);

    CommandContext& context_;
    KeptAnswers answers_;
    WindowMessages messages_;
    JobRunner jobs_;
    SessionProgress progress_;
    Session session_;

    QTranslator toolkitWords_;
    Pictures pictures_;
    std::unique_ptr<ItemSource> source_;
    VolumeItems* volumeItems_ = nullptr;
    TreeModel treeModel_;
    ListModel listModel_;

    QSplitter* panes_ = nullptr;
    QTreeView* tree_ = nullptr;
    QTreeView* list_ = nullptr;
    QLabel* emptyHint_ = nullptr;
    SizeGauge* gauge_ = nullptr;
    StatusPanels* status_ = nullptr;
    JobPanel* jobPanel_ = nullptr;
    std::unique_ptr<CommandBar> bar_;

    std::string shownPath_;               // of the document that is shown
    std::int32_t shownFolder_ = 0;        // what the list shows
    std::vector<std::int32_t> selected_;  // numbers of what is selected in it

    bool isToolBarHidden_ = false;
    bool hasPaste_ = false;   // files are in the clipboard
    bool isTaken_ = false;    // a job has what is open
    bool isShowing_ = false;  // what the views tell meanwhile is nobody's choice
    bool closesWhenDone_ = false;
    bool isReplacementTold_ = false;
};

}  // namespace vellmark
