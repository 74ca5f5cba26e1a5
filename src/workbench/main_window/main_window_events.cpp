// What a person does to the window itself: drops, double clicks, context menus, its place, its end.
#include <QApplication>
#include <QCloseEvent>
#include <QDropEvent>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QScreen>
#include <QScrollBar>
#include <QSplitter>
#include <QStyle>
#include <QTreeView>

#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/item_changes.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

void TVellmark::closeEvent(QCloseEvent* event) {
    if (jobs_.isRunning()) {
        event->ignore();
        askToStop(false);
        // A person who lets the job go on wants the window to stay.
        closesWhenDone_ = jobs_.isRunning() && jobs_.progress()->isStopped();
        return;
    }
    if (!isIdle()) {
        event->ignore();
        whenIdle([this] { close(); });
        return;
    }
    keepPlace();
    treeModel_.show(nullptr);
    listModel_.show(nullptr);
    source_.reset();
    volumeItems_ = nullptr;
    runJob(JobKind::Work, [this](Progress&) { session_.end(); });
    event->accept();
}

void TVellmark::showContextMenu(const QPoint& at, bool isList) {
    if (jobs_.isExclusive())
        return;
    documents().listHasFocus = isList;
    QTreeView& view = isList ? *list_ : *tree_;
    if (const QModelIndex index = view.indexAt(at); !isList && index.isValid())
        view.setCurrentIndex(index);
    updateCommands();
    bar_->menu(ContextMenu(documents().mode, isList).name).popup(view.viewport()->mapToGlobal(at));
}

void TVellmark::activated(const QModelIndex& index) {
    if (jobs_.isExclusive() || !source_ || !index.isValid())
        return;
    documents().listHasFocus = true;
    const RowFacts facts = factsOf(static_cast<std::size_t>(index.row()));
    if (facts.isFolder)
        showFolder(facts.number);
    else
        ShowItemProperties(*this);
}

void TVellmark::editName() {
    QTreeView& view = documents().listHasFocus ? *list_ : *tree_;
    QModelIndex index = view.currentIndex();
    if (const std::vector<std::size_t> rows = selectedRows();
        documents().listHasFocus && !rows.empty() &&
        !view.selectionModel()->isRowSelected(index.row(), {}))
        index = listModel_.index(static_cast<int>(rows.front()), 0);
    view.edit(index.siblingAtColumn(0));
}

// A person comes back from another program, which may have been at the document.
void TVellmark::lookForReplacement() {
    if (!isIdle() || isReplacementTold_ || !session_.isReplaced())
        return;
    isReplacementTold_ = true;
    const std::string path = Printable(documents().path());
    if (!documents().projectOfMode())
        messages_.showMessage(Reason(Sentence::kImageReplaced, path));
    else if (messages_.askYesNo(Reason(Sentence::kAskReadAgain, path)))
        runJob(JobKind::Work, [this](Progress&) { (void)session_.revert(); });
    isReplacementTold_ = session_.isReplaced();
}

bool TVellmark::takesDrops() const {
    return !jobs_.isRunning() && MayDo(documents(), SessionCommand::Drop);
}

bool TVellmark::eventFilter(QObject* watched, QEvent* event) {
    const bool isOnTree = watched == tree_->viewport();
    const bool isOnList = watched == list_->viewport();
    switch (event->type()) {
        case QEvent::DragEnter:
        case QEvent::DragMove:
        case QEvent::Drop: {
            if (!isOnTree && !isOnList)
                break;
            auto* const drop = static_cast<QDropEvent*>(event);
            const QMimeData* const mime = drop->mimeData();
            const bool isItems = mime->hasFormat(QLatin1String(kItemsMimeType));
            if (!takesDrops() || (!isItems && !mime->hasUrls())) {
                drop->ignore();
                return true;
            }
            drop->setDropAction(isItems ? Qt::MoveAction : Qt::CopyAction);
            drop->accept();
            if (event->type() == QEvent::Drop)
                dropped(*drop, isOnList);
            return true;
        }
        case QEvent::KeyPress:
            // A dialog that began the job is off meanwhile; one that is on asks something itself.
            if (static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape && jobs_.isRunning() &&
                !(QApplication::activeModalWidget() &&
                  QApplication::activeModalWidget()->isEnabled())) {
                askToStop(true);
                return true;
            }
            break;
        case QEvent::FocusIn:
            if (watched == list_ || watched == tree_)
                turnedTo(watched == list_, static_cast<QFocusEvent*>(event)->reason());
            break;
        default:
            break;
    }
    return QMainWindow::eventFilter(watched, event);
}

// Commands act on the side that a person went to last, even where that changed no selection.
void TVellmark::turnedTo(bool isList, Qt::FocusReason reason) {
    const bool isByHand = reason == Qt::MouseFocusReason || reason == Qt::TabFocusReason ||
                          reason == Qt::BacktabFocusReason;
    if (!isByHand || jobs_.isExclusive())
        return;
    documents().listHasFocus = isList;
    updateCommands();
}

void TVellmark::dropped(QDropEvent& event, bool isOnList) {
    const QPoint at = event.position().toPoint();
    std::int32_t folder = 0;
    if (!isOnList) {
        folder = treeModel_.folderAt(tree_->indexAt(at));
    } else if (const QModelIndex index = list_->indexAt(at); index.isValid() && source_) {
        const RowFacts facts = factsOf(static_cast<std::size_t>(index.row()));
        if (facts.isFolder)
            folder = facts.number;
    }
    // What was dropped may come from a program that waits for the answer.
    const bool isItems = event.mimeData()->hasFormat(QLatin1String(kItemsMimeType));
    const DraggedItems items = isItems ? DraggedItemsOf(*event.mimeData()) : DraggedItems();
    // What is moved within the window is not to be copied out first.
    const std::vector<std::string> paths =
        isItems ? std::vector<std::string>() : PathsOf(*event.mimeData());
    QMetaObject::invokeMethod(
        this,
        [this, folder, isItems, items, paths] {
            activateWindow();
            if (!takesDrops())
                return;
            if (folder != 0)
                showFolder(folder);
            if (isItems)
                MoveItemsHere(*this, items);
            else
                AddPaths(*this, paths);
        },
        Qt::QueuedConnection);
}

}  // namespace vellmark
