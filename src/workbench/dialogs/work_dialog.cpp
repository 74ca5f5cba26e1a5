#include "workbench/dialogs/work_dialog.hpp"

#include <QMenuBar>
#include <QStatusBar>
#include <QToolBar>
#include <QVBoxLayout>
#include <utility>

#include "workbench/commands/command_bar.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/help/help_window.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextHelp = 2103;

}  // namespace

WorkDialog::WorkDialog(const char* name, const QString& title, Language language, QWidget* owner)
    : QDialog(owner),
      language_(language),
      frame_(new QMainWindow(this)),
      tools_(new QToolBar(frame_)) {
    setObjectName(QLatin1String(name));
    setWindowTitle(title);
    setWindowFlag(Qt::WindowMaximizeButtonHint);
    // A part of this one, where such a thing is a window by itself otherwise.
    frame_->setWindowFlags(Qt::Widget);
    tools_->setMovable(false);
    frame_->addToolBar(tools_);
    frame_->setContextMenuPolicy(Qt::NoContextMenu);
    (void)frame_->statusBar();
    auto* const column = new QVBoxLayout(this);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(frame_);
}

QString WorkDialog::words(int number) const {
    return Words(number, language_);
}

QMenu& WorkDialog::addMenu(int caption, int hint, const char* name) {
    QMenu* const menu = frame_->menuBar()->addMenu(words(caption));
    menu->setObjectName(QLatin1String(name));
    menu->menuAction()->setStatusTip(words(hint).mid(1));
    return *menu;
}

QAction& WorkDialog::makeCommand(const WorkCommand& command, std::function<void()> run) {
    auto* const action = new QAction(words(command.caption), this);
    action->setObjectName(QLatin1String(command.name));
    action->setShortcut(command.key);
    action->setStatusTip(words(command.hint).mid(1));
    connect(action, &QAction::triggered, this, std::move(run));
    if (command.picture) {
        const bool isDark = palette().window().color().lightness() < 128;
        action->setIcon(ToolIcon(QLatin1String(command.picture), isDark));
        tools_->addAction(action);
    }
    return *action;
}

QAction& WorkDialog::addCommand(QMenu& menu, const WorkCommand& command,
                                std::function<void()> run) {
    QAction& action = makeCommand(command, std::move(run));
    menu.addAction(&action);
    return action;
}

QAction& WorkDialog::addTool(const WorkCommand& command, std::function<void()> run) {
    return makeCommand(command, std::move(run));
}

void WorkDialog::addHelp(QMenu& menu, int caption, int hint, const char* topic) {
    addCommand(menu, {"AideCommande", caption, hint, QKeySequence(Qt::Key_F1), "help"},
               [this, topic] { ShowHelpTopic(topic, language_, this); });
}

void WorkDialog::addHelp(const char* topic) {
    addTool({"AideCommande", kTextHelp, 0, QKeySequence(Qt::Key_F1), "help"},
            [this, topic] { ShowHelpTopic(topic, language_, this); });
}

void WorkDialog::finishMenus() {
    for (QMenu* const menu : frame_->menuBar()->findChildren<QMenu*>())
        GiveKeys(*menu);
    GiveKeys(*frame_->menuBar());
}

void WorkDialog::showHint(const QString& text) {
    frame_->statusBar()->showMessage(text);
}

}  // namespace vellmark
