// Rows of the command table as the toolkit has them: actions in menus, tool bars and context menus.
#pragma once

#include <QAction>
#include <QHash>
#include <QMenu>
#include <QToolBar>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "support/texts.hpp"
#include "workbench/commands/command_table.hpp"

class QMainWindow;

namespace vellmark {

/// What the enabled states are computed from.
struct CommandState {
    const Documents* documents = nullptr;  ///< null while a job has them
    bool isCompiling = false;
    bool isBusy = false;  ///< any job
    bool hasListSelection = false;
    bool hasItem = false;      ///< something but the root, on the side that has the focus
    bool hasAnything = false;  ///< the same, or the root
    bool isFolderSelected = false;
    bool hasPaste = false;
    bool hasIconComposer = false;
    bool isJoinable = true;  ///< the open image is of a kind that a disc can take
};

class CommandBar {
  public:
    /// Makes all menus and tool bars of the window.
    CommandBar(QMainWindow& window, TVellmark& commands);

    /// Captions and hints in a language.
    void setLanguage(Language language);
    void setDark(bool isDark);
    /// Computes what is shown, enabled and checked. `mode` is that of the documents.
    void update(const CommandState& state, FileMode mode, const TVellmark& window);
    /// The mode of the last update.
    [[nodiscard]] FileMode mode() const { return mode_; }
    void setRecentFiles(FileMode mode, const std::vector<std::string>& paths);
    void setToolBarHidden(FileMode mode, bool isHidden);

    [[nodiscard]] QAction& action(std::string_view name) const;
    [[nodiscard]] QMenu& menu(std::string_view name) const;
    [[nodiscard]] QToolBar& toolBar(FileMode mode) const;
    /// Called before a menu is shown.
    void setBeforeShowing(std::function<void()> before) { beforeShowing_ = std::move(before); }
    /// Called with the path of a recent file that was chosen.
    void setOpenRecent(std::function<void(const std::string& path)> open) {
        openRecent_ = std::move(open);
    }

  private:
    void makeActions(TVellmark& commands);
    QMenu* makeMenu(const CommandMenu& menu);
    void fill(QMenu& menu, const CommandMenu& rows);
    [[nodiscard]] bool isEnabled(const CommandRow& row, const CommandState& state) const;
    [[nodiscard]] QString captionOf(const CommandRow& row, bool isAbort) const;

    QMainWindow& window_;
    Language language_ = Language::English;
    FileMode mode_ = FileMode::Unknown;
    QHash<QByteArray, QAction*> actions_;
    QHash<QByteArray, QMenu*> menus_;
    std::vector<QToolBar*> toolBars_;
    bool hasRecent_ = false;
    std::function<void()> beforeShowing_ = [] {};
    std::function<void(const std::string& path)> openRecent_;
};

/// Gives each caption of a menu, or of the bar, that has no key of its own the first of its letters
/// that no other has.
void GiveKeys(QWidget& menu);

}  // namespace vellmark
