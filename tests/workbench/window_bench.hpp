// A person at the real window, without a screen: keys, menus and drops as a script, and what they
// see and are asked as its transcript.
#pragma once

#include <sys/fsuid.h>
#include <unistd.h>

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QClipboard>
#include <QDialog>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QMimeData>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QStackedWidget>
#include <QTest>
#include <QTimer>
#include <QTreeView>
#include <deque>
#include <functional>
#include <memory>
#include <set>

#include "session/session_bench.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/messages/message_dialogs.hpp"

namespace vellmark::test {

// A line a step, its answers behind it with ` | ` between them; each dialog takes the next answers
// up to the one that ends it:
//
//     menu NAME          gives a command of the table, as its menu, tool bar or context menu has it
//     key KEYS           pressed in the side that has the focus; on LIST or TREE first
//     click COLUMN       on the head of a column of the list
//     rows NAME...       selects rows of the list (none: nothing)
//     tree PATH          selects a folder in the tree, names from below the root with / between
//     enter NAME         a double click on a row
//     focus list|tree    goes to that side with the tabulator
//     type TEXT          into the editor of a name, and Enter
//     drop list|tree NAME FILE...   files on a row or a folder; - for the empty part
//     move NAME TO       a row is dragged onto another
//     clip FILE...       puts files into the clipboard
//     open FILE, close   of the window
//     return FROM TO     to the window, after another program has moved a file
//
// Answers: yes, no, close, remember (the box), file PATH, cancel, press BUTTON, set FIELD=TEXT,
// check BOX, pick NUMBER, give COMMAND (of the dialog), keys KEYS (pressed there), select ROW...
// (of its list), head COLUMN (a click on it), page NUMBER, gone (as soon as it is), hand FILE (a
// second start hands it over), read NAME (what a widget of the dialog says, and whether it is off),
// drag WIDGET X Y DX DY (the mouse, from there so far). Without a dialog: abort, as soon as a
// compile runs, and quit, which closes the window then.
class WindowTest : public ScriptTest {
  protected:
    WindowTest() { answerSoon(); }
    ~WindowTest() override { closeWindow(); }

    void openWindow(const std::string& path = {}) {
        context_ = std::make_unique<CommandContext>(
            CommandContext{.input = input_,
                           .output = output_,
                           .errors = output_,
                           .clock = clock_,
                           .lockFolder = lockFolder_,
                           .dataFolder = (root() / "data").string(),
                           .settings = &settings_,
                           .locale = locale_});
        state_ = std::make_unique<SessionState>(settings_, clock_);
        state_->settings = LoadSettings(settings_);
        context_->session = state_.get();
        context_->language = SpokenLanguage(std::nullopt, *context_);
        window_ = std::make_unique<TVellmark>(*context_);
        window_->show();
        window_->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        window_->start(path);
    }
    void closeWindow() {
        if (window_) {
            (void)window_->close();
            QCoreApplication::processEvents();
        }
        window_.reset();
        state_.reset();
        context_.reset();
    }

    /// Plays one line and returns what was heard meanwhile.
    std::string does(const std::string& line) {
        Names parts = Split(Replaced(Replaced(line, " | ", "\a"), "$PWD", cwd()), '\a');
        answers_.assign(parts.begin() + 1, parts.end());
        const std::size_t blank = std::min(parts[0].find(' '), parts[0].size());
        const std::string verb = parts[0].substr(0, blank);
        const std::string rest = parts[0].substr(std::min(blank + 1, parts[0].size()));
        heard_.clear();
        waits_ = 0;
        step(verb, rest);
        for (int i = 0; i < 5; ++i)
            QCoreApplication::processEvents();
        if (!answers_.empty() && answers_.front() == "gone")
            answers_.pop_front();
        EXPECT_TRUE(answers_.empty()) << answers_.front() << " was not asked for: " << line;
        return std::exchange(heard_, {});
    }

    /// Title, folders that are open in the tree, rows, panels.
    [[nodiscard]] std::string seen() {
        if (!window_)
            return "no window\n";
        std::string text = window_->windowTitle().toStdString() + "\n  tree";
        QTreeView& tree = window_->tree();
        for (QModelIndex index = tree.model()->index(0, 0); index.isValid();
             index = tree.indexBelow(index)) {
            int depth = 0;
            for (QModelIndex above = index.parent(); above.isValid(); above = above.parent())
                ++depth;
            text += " " + std::string(static_cast<std::size_t>(depth), '.') +
                    (index == tree.currentIndex() ? "*" : "") +
                    index.data().toString().toStdString();
        }
        text += "\n  list";
        QAbstractItemModel& rows = *window_->list().model();
        for (int row = 0; row < rows.rowCount(); ++row)
            text += " " + rows.index(row, 0).data().toString().toStdString() + "(" +
                    rows.index(row, 2).data().toString().toStdString() + ")";
        text += "\n  bar ";
        for (int panel = 0; panel < StatusPanels::kPanels; ++panel)
            text += " [" + window_->status().panel(panel).toStdString() + "]";
        return text + "\n";
    }

    [[nodiscard]] TVellmark& window() { return *window_; }
    [[nodiscard]] QAction& action(const std::string& name) const {
        return *window_->findChild<QAction*>(QString::fromStdString(name));
    }

  private:
    static std::string cwd() { return std::filesystem::current_path().string(); }

    void step(const std::string& verb, const std::string& rest) {
        const Names words = wordsOf(rest);
        const std::map<std::string, std::function<void()>> steps = {
            {"open", [&] { window_ ? window_->openPath(rest) : openWindow(rest); }},
            {"close", [&] { closeWindow(); }},
            {"return", [&] { returnAfter(words); }},
            {"menu", [&] { give(rest); }},
            {"key", [&] { press(rest); }},
            {"rows", [&] { selectRows(words); }},
            {"tree", [&] { selectFolder(rest); }},
            {"enter", [&] { emit window_->list().activated(rowNamed(rest)); }},
            {"focus", [&] { turnTo(rest); }},
            {"type", [&] { typeName(rest); }},
            {"click", [&] { clickHead(*window_->list().header(), std::stoi(rest)); }},
            {"drop", [&] { drop(words); }},
            {"move", [&] { move(words); }},
            {"clip", [&] { fillClipboard(words); }}};
        ASSERT_EQ(steps.count(verb), 1u) << verb;
        steps.at(verb)();
    }

    void returnAfter(const Names& fromTo) {
        std::filesystem::rename(fromTo[0], fromTo[1]);
        QEvent comesBack(QEvent::ActivationChange);
        window_->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        QCoreApplication::sendEvent(window_.get(), &comesBack);
    }

    [[nodiscard]] QTreeView& sideNamed(const std::string& name) {
        return name == "list" ? window_->list() : window_->tree();
    }

    void turnTo(const std::string& side) {
        window_->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        sideNamed(side == "list" ? "tree" : "list").setFocus();
        sideNamed(side).setFocus(Qt::TabFocusReason);
    }

    void give(const std::string& name) {
        window_->updateCommands();
        QAction& command = action(name);
        if (!command.isVisible() || !command.isEnabled())
            heard_ += "! " + name + " is off\n";
        else
            command.trigger();
    }

    void press(const std::string& keys) {
        QTreeView& side = window_->documents().listHasFocus ? window_->list() : window_->tree();
        // A dialog that ends does not give the window back what it had where there is no screen.
        window_->activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(window_.get()));
        side.setFocus();
        QTest::keyClick(&side, KeyOf(keys).key(), KeyOf(keys).keyboardModifiers());
    }
    static QKeyCombination KeyOf(const std::string& keys) {
        return QKeySequence(QString::fromStdString(keys), QKeySequence::PortableText)[0];
    }

    [[nodiscard]] QModelIndex rowNamed(const std::string& name) {
        QAbstractItemModel& rows = *window_->list().model();
        for (int row = 0; row < rows.rowCount(); ++row)
            if (rows.index(row, 0).data().toString().toStdString() == name)
                return rows.index(row, 0);
        ADD_FAILURE() << "no row " << name;
        return {};
    }

    void selectRows(const Names& names) {
        QItemSelectionModel& selection = *window_->list().selectionModel();
        selection.clear();
        for (const std::string& name : names)
            selection.setCurrentIndex(rowNamed(name),
                                      QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }

    [[nodiscard]] QModelIndex folderAt(const std::string& path) {
        QTreeView& tree = window_->tree();
        QModelIndex at = tree.model()->index(0, 0);
        for (const std::string& name : Split(path, '/')) {
            tree.expand(at);
            QModelIndex child;
            for (int row = 0; row < tree.model()->rowCount(at) && !child.isValid(); ++row)
                if (tree.model()->index(row, 0, at).data().toString().toStdString() == name)
                    child = tree.model()->index(row, 0, at);
            EXPECT_TRUE(child.isValid()) << "no folder " << path;
            at = child;
        }
        return at;
    }
    void selectFolder(const std::string& path) { window_->tree().setCurrentIndex(folderAt(path)); }

    static void clickHead(QHeaderView& head, int column) {
        const QPoint at(head.sectionViewportPosition(column) + 20, head.height() / 2);
        QTest::mouseClick(head.viewport(), Qt::LeftButton, {}, at);
    }

    void typeName(const std::string& text) {
        auto* const editor = qobject_cast<QLineEdit*>(QApplication::focusWidget());
        ASSERT_NE(editor, nullptr) << "no name is edited";
        editor->setText(QString::fromStdString(text));
        QTest::keyClick(editor, Qt::Key_Return);
    }

    static std::unique_ptr<QMimeData> files(const Names& paths, std::size_t from) {
        auto data = std::make_unique<QMimeData>();
        QList<QUrl> urls;
        for (std::size_t i = from; i < paths.size(); ++i)
            urls << QUrl::fromLocalFile(
                QString::fromStdString(std::filesystem::absolute(paths[i]).string()));
        data->setUrls(urls);
        return data;
    }
    static void fillClipboard(const Names& paths) {
        QApplication::clipboard()->setMimeData(files(paths, 0).release());
    }

    void dropAt(QTreeView& view, const QModelIndex& index, const QMimeData& data) {
        const QPoint below(5, view.viewport()->height() - 2);
        const QPoint at = index.isValid() ? view.visualRect(index).center() : below;
        QDragEnterEvent enters(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(view.viewport(), &enters);
        if (!enters.isAccepted()) {
            heard_ += "! is not taken\n";
            return;
        }
        QDropEvent drops(at, Qt::CopyAction | Qt::MoveAction, &data, Qt::LeftButton, {});
        QCoreApplication::sendEvent(view.viewport(), &drops);
    }
    void drop(const Names& words) {
        const bool isOnList = words[0] == "list";
        QTreeView& view = sideNamed(words[0]);
        const QModelIndex index = words[1] == "-" ? QModelIndex()
                                  : isOnList      ? rowNamed(words[1])
                                                  : folderAt(words[1]);
        dropAt(view, index, *files(words, 2));
    }
    void move(const Names& words) {
        const std::unique_ptr<QMimeData> data(
            window_->list().model()->mimeData({rowNamed(words[0])}));
        dropAt(window_->list(), rowNamed(words[1]), *data);
    }

    // What stands in front is answered; a dialog that nobody answers is given up, so that a test
    // ends.
    void answerSoon() {
        QTimer::singleShot(1, &there_, [this] { answer(); });
    }
    void answer() {
        // An answer may bring another dialog before it returns.
        answerSoon();
        auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (!dialog || !dialog->isVisible() || !dialog->isEnabled()) {
            if (!answers_.empty() && window_ && window_->jobs().isCompile())
                interrupt();
            return;
        }
        if (dialog != noted_) {
            noted_ = dialog;
            heard_ += "! " + textOf(*dialog) + "\n";
        }
        const std::string given = answers_.empty() ? "cancel" : answers_.front();
        if (!answers_.empty())
            answers_.pop_front();
        else
            heard_ += "! (given up)\n";
        const std::size_t blank = std::min(given.find(' '), given.size());
        apply(*dialog, given.substr(0, blank), given.substr(std::min(blank + 1, given.size())));
    }

    void interrupt() {
        if (answers_.front() != "abort" && answers_.front() != "quit")
            return;
        const bool isAbort = answers_.front() == "abort";
        answers_.pop_front();
        if (isAbort)
            give(window_->documents().mode == FileMode::IsoPlus ? "CompISOP" : "Compil1");
        else
            (void)window_->close();
    }

    static std::string textOf(const QDialog& dialog) {
        const bool isMessage = dynamic_cast<const MessageDialog*>(&dialog) != nullptr;
        return Replaced(
            Replaced((isMessage ? dialog.accessibleName() : dialog.windowTitle()).toStdString(),
                     "\n", "/"),
            cwd(), "$PWD");
    }

    void apply(QDialog& dialog, const std::string& verb, const std::string& rest) {
        const auto press = [&, noted = noted_](const std::string& name) {
            auto* const button = dialog.findChild<QPushButton*>(QString::fromStdString(name));
            if (!button && ++waits_ < kMostWaits) {
                // What brings the dialog that has it still goes on.
                answers_.push_front(rest.empty() ? verb : verb + " " + rest);
                noted_ = noted;
                return;
            }
            ASSERT_NE(button, nullptr) << name;
            EXPECT_TRUE(button->isEnabled()) << name << " is off";
            button->click();
        };
        const std::set<std::string> staying = {"set",  "check",  "remember", "hand",
                                               "give", "select", "head",     "page",
                                               "keys", "gone",   "read",     "drag"};
        noted_ = staying.contains(verb) ? noted_ : nullptr;
        if (verb == "yes")
            press("MessOui");
        else if (verb == "no")
            press("MessNon");
        else if (verb == "close")
            press("MessFermer");
        else if (verb == "press")
            press(rest);
        else if (verb == "cancel")
            dialog.reject();
        else if (verb == "remember")
            dialog.findChild<QCheckBox*>(QStringLiteral("Toujours"))->setChecked(true);
        else if (verb == "check")
            dialog.findChild<QAbstractButton*>(QString::fromStdString(rest))->click();
        else if (verb == "set")
            set(dialog, rest);
        else if (verb == "hand")
            window_->whenIdle([this, rest] { window_->openPath(rest); });
        else if (verb == "give")
            giveIn(dialog, rest);
        else if (verb == "select")
            select(shownList(dialog), rest);
        else if (verb == "head")
            clickHead(*dialog.findChild<QHeaderView*>(), std::stoi(rest));
        else if (verb == "keys")
            QTest::keyClick(dialog.focusWidget(), KeyOf(rest).key(),
                            KeyOf(rest).keyboardModifiers());
        else if (verb == "gone") {
            if (++waits_ < kMostWaits)
                answers_.push_front(verb);
        } else if (verb == "page")
            dialog.findChild<QTabWidget*>()->setCurrentIndex(std::stoi(rest));
        else if (verb == "read")
            read(dialog, rest);
        else if (verb == "drag")
            drag(dialog, wordsOf(rest));
        else if (verb == "pick")
            pick(dialog, std::stoi(rest));
        else if (verb == "file")
            choose(dialog, rest);
        else
            ADD_FAILURE() << "no answer " << verb;
    }

    static QAbstractItemView& shownList(QDialog& dialog) {
        auto* const pages = dialog.findChild<QStackedWidget*>();
        QWidget* const page = pages ? pages->currentWidget() : &dialog;
        auto* const self = qobject_cast<QAbstractItemView*>(page);
        return self ? *self : *page->findChild<QAbstractItemView*>();
    }
    void giveIn(QDialog& dialog, const std::string& name) {
        auto* const command = dialog.findChild<QAction*>(QString::fromStdString(name));
        ASSERT_NE(command, nullptr) << name;
        if (command->isEnabled())
            command->trigger();
        else
            heard_ += "! " + name + " is off\n";
    }
    // Rows by their numbers or by their names; one that is not there yet is waited for.
    void select(QAbstractItemView& view, const std::string& names) {
        view.clearSelection();
        for (const std::string& name : wordsOf(names)) {
            const QModelIndex first = view.model()->index(0, 0, view.rootIndex());
            const auto hits = view.model()->match(
                first, Qt::DisplayRole, QString::fromStdString(name), 1, Qt::MatchExactly);
            const bool isNumber = name.find_first_not_of("0123456789") == std::string::npos;
            if (!isNumber && hits.isEmpty() && ++waits_ < kMostWaits) {
                answers_.push_front("select " + names);
                return;
            }
            ASSERT_TRUE(isNumber || !hits.isEmpty()) << "no row " << name;
            const QModelIndex row =
                isNumber ? view.model()->index(std::stoi(name), 0, view.rootIndex()) : hits[0];
            view.selectionModel()->setCurrentIndex(
                row, QItemSelectionModel::Select | QItemSelectionModel::Rows);
        }
    }

    static void set(QDialog& dialog, const std::string& fieldAndText) {
        const std::size_t sign = fieldAndText.find('=');
        auto* const field =
            dialog.findChild<QWidget*>(QString::fromStdString(fieldAndText.substr(0, sign)));
        ASSERT_NE(field, nullptr) << fieldAndText;
        field->setFocus();
        QTest::keyClick(field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClick(field, Qt::Key_Delete);
        QTest::keyClicks(field, QString::fromStdString(fieldAndText.substr(sign + 1)));
    }
    static void drag(const QDialog& dialog, const Names& words) {
        auto* const widget = dialog.findChild<QWidget*>(QString::fromStdString(words[0]));
        ASSERT_NE(widget, nullptr) << words[0];
        const QPoint from(std::stoi(words[1]), std::stoi(words[2]));
        const QPoint to = from + QPoint(std::stoi(words[3]), std::stoi(words[4]));
        const auto send = [&](QEvent::Type type, const QPoint& at, Qt::MouseButton button) {
            QMouseEvent event(type, at, widget->mapToGlobal(at), button,
                              type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::LeftButton,
                              {});
            QCoreApplication::sendEvent(widget, &event);
        };
        send(QEvent::MouseButtonPress, from, Qt::LeftButton);
        send(QEvent::MouseMove, to, Qt::NoButton);
        send(QEvent::MouseButtonRelease, to, Qt::LeftButton);
    }
    // A selected text, else the whole in one line; the rows of a list.
    void read(const QDialog& dialog, const std::string& name) {
        const auto* const widget = dialog.findChild<QWidget*>(QString::fromStdString(name));
        ASSERT_NE(widget, nullptr) << name;
        if (const auto* const view = qobject_cast<const QAbstractItemView*>(widget)) {
            heard_ += "=";
            for (int row = 0; row < view->model()->rowCount(); ++row)
                for (int column = 0; column < view->model()->columnCount(); ++column)
                    heard_ += (column == 0 ? " " : ",") +
                              view->model()->index(row, column).data().toString().toStdString();
            heard_ += "\n";
            return;
        }
        const auto* const text = qobject_cast<const QPlainTextEdit*>(widget);
        const QString selected = text ? text->textCursor().selectedText() : QString();
        const QString shown = !selected.isEmpty() ? selected
                              : text              ? text->toPlainText()
                                                  : widget->property("text").toString();
        heard_ += "= " + Replaced(Replaced(shown.toStdString(), "\n", "/"), cwd(), "$PWD") +
                  (widget->isEnabled() ? "\n" : " (off)\n");
    }
    static void pick(QDialog& dialog, int row) {
        dialog.findChild<QListWidget*>()->setCurrentRow(row);
        dialog.accept();
    }
    static void choose(QDialog& dialog, const std::string& path) {
        auto* const files = qobject_cast<QFileDialog*>(&dialog);
        ASSERT_NE(files, nullptr) << "no file is asked for";
        const QString whole = QString::fromStdString(std::filesystem::absolute(path).string());
        files->setDirectory(QFileInfo(whole).path());
        files->findChild<QLineEdit*>(QStringLiteral("fileNameEdit"))->setText(whole);
        QMetaObject::invokeMethod(files, "accept");
    }

    std::istringstream input_;
    std::ostringstream output_;
    std::unique_ptr<CommandContext> context_;
    std::unique_ptr<SessionState> state_;
    std::unique_ptr<TVellmark> window_;
    QObject there_;
    std::deque<std::string> answers_;
    std::string heard_;
    static constexpr int kMostWaits = 5000;  // of a millisecond
    int waits_ = 0;
    QPointer<const QDialog> noted_;  // another one may come to lie where it lay
};

/// As long as it lives this thread, and those that it begins, may do what files allow to anybody:
/// for the one who owns everything their modes say nothing.
class Nobody {
  public:
    Nobody() {
        if (isRoot())
            ::setfsuid(kNobody);
    }
    ~Nobody() {
        if (isRoot())
            ::setfsuid(0);
    }
    Nobody(const Nobody&) = delete;
    Nobody& operator=(const Nobody&) = delete;

  private:
    static constexpr uid_t kNobody = 65534;
    static bool isRoot() { return ::geteuid() == 0; }
};

// Transcripts: what a person does, and what they hear and see.
class WindowScripts : public WindowTest {
  protected:
    /// Plays the steps of a transcript and writes it anew: behind each line with `>` what was
    /// heard, and with `>>` what is seen too.
    std::string written(const std::string& transcript) {
        std::string text;
        for (const std::string& line : Split(transcript, '\n')) {
            SCOPED_TRACE(line);
            if (line[0] != '>')
                continue;
            const bool isSeen = line.starts_with(">>");
            text += line + "\n" + does(line.substr(isSeen ? 3 : 2));
            if (isSeen)
                text += seen();
        }
        return text;
    }
    void plays(const std::string& transcript) { EXPECT_EQ("\n" + written(transcript), transcript); }
};

}  // namespace vellmark::test
