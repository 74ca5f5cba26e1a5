// A dialog that works like a window: with menus, a tool bar and hints in a status bar.
#pragma once

#include <QAction>
#include <QDialog>
#include <QKeySequence>
#include <QMainWindow>
#include <functional>

#include "support/texts.hpp"

class QMenu;
class QToolBar;

namespace vellmark {

/// A command of such a dialog.
struct WorkCommand {
    const char* name;
    int caption;
    int hint = 0;  ///< 0 for none
    QKeySequence key = {};
    const char* picture = nullptr;  ///< none: it is in the menu alone
};

class WorkDialog : public QDialog {
  public:
    WorkDialog(const char* name, const QString& title, Language language, QWidget* owner);

    [[nodiscard]] Language language() const { return language_; }
    [[nodiscard]] QString words(int number) const;

  protected:
    [[nodiscard]] QMainWindow& frame() { return *frame_; }
    QMenu& addMenu(int caption, int hint = 0, const char* name = "");
    /// Adds a command to a menu, and to the tool bar when it has a picture.
    QAction& addCommand(QMenu& menu, const WorkCommand& command, std::function<void()> run);
    /// The help of this dialog, in a menu and behind F1.
    void addHelp(QMenu& menu, int caption, int hint, const char* topic);
    /// The same, and commands, in the tool bar alone.
    void addHelp(const char* topic);
    QAction& addTool(const WorkCommand& command, std::function<void()> run);
    [[nodiscard]] QToolBar& tools() { return *tools_; }
    /// Gives the menus keys. After the last command.
    void finishMenus();
    void showHint(const QString& text);

  private:
    QAction& makeCommand(const WorkCommand& command, std::function<void()> run);

    Language language_;
    QMainWindow* frame_;
    QToolBar* tools_;
};

}  // namespace vellmark
