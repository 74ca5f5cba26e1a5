#include "workbench/main_window/main_window.hpp"

#include <QApplication>
#include <QClipboard>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QPointer>
#include <QSplitter>
#include <QStandardPaths>
#include <QStyledItemDelegate>
#include <QThread>
#include <QTimer>
#include <QTreeView>
#include <QVBoxLayout>
#include <utility>

#include "session/reading_ports.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/commands/item_changes.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/dialogs/new_volume_dialog.hpp"
#include "workbench/jobs/main_thread.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextReally = 1124;

// How often it is looked whether a dialog or a job has ended that somebody else waits for.
constexpr int kIdleMs = 50;

// Cells of sizes.
class NumberCells final : public QStyledItemDelegate {
  public:
    using QStyledItemDelegate::QStyledItemDelegate;

  protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->text += kBehindNumbers;
    }
};

std::string DocumentFolder() {
    return ToPath(QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)) + "/";
}

}  // namespace

TVellmark::TVellmark(CommandContext& context)
    : context_(context),
      messages_(*context.session, context),
      jobs_(
          [this](int level, std::string_view line) {
              InMainThread([&] { state().journal.step(level, line); });
          },
          [this] { jobChanged(); }),
      progress_(jobs_),
      session_(*context.session, {.messages = messages_,
                                  .progress = progress_,
                                  .dialogs = *this,
                                  .clock = context.clock,
                                  .guard = context.guard,
                                  .dataFolder = context.dataFolder,
                                  .documents = DocumentFolder()}),
      treeModel_(pictures_),
      listModel_(pictures_) {
    // A person is there.
    context_.asks = true;
    setObjectName(QStringLiteral("TVellmark"));
    setWindowIcon(ProgramIcon());
    messages_.setOwner(this);
    makePanes();
    bar_ = std::make_unique<CommandBar>(*this, *this);
    bar_->setBeforeShowing([this] { updateCommands(); });
    bar_->setOpenRecent([this](const std::string& path) { openPath(path); });
    connectTree();
    connectList();
    connect(QGuiApplication::clipboard(), &QClipboard::dataChanged, this,
            [this] { followClipboard(); });
    isToolBarHidden_ = state().settings.has(kOptionHideToolBar);
    restorePlace();
    qApp->installEventFilter(this);
}

TVellmark::~TVellmark() {
    qApp->removeEventFilter(this);
}

void TVellmark::makePanes() {
    panes_ = new QSplitter(this);
    auto* left = new QWidget(panes_);
    tree_ = new QTreeView(left);
    tree_->setObjectName(QStringLiteral("TV"));
    tree_->setModel(&treeModel_);
    tree_->setHeaderHidden(true);
    tree_->setUniformRowHeights(true);
    tree_->setEditTriggers(QAbstractItemView::EditKeyPressed);
    tree_->setContextMenuPolicy(Qt::CustomContextMenu);
    tree_->setDragEnabled(true);
    gauge_ = new SizeGauge(left);
    auto* column = new QVBoxLayout(left);
    column->setContentsMargins(0, 0, 0, 0);
    column->addWidget(tree_, 1);
    column->addWidget(gauge_);

    list_ = new QTreeView(panes_);
    list_->setObjectName(QStringLiteral("LV"));
    list_->setModel(&listModel_);
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setItemsExpandable(false);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setEditTriggers(QAbstractItemView::EditKeyPressed);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    list_->setDragEnabled(true);
    list_->header()->setSectionsClickable(true);
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionsMovable(false);
    list_->setItemDelegateForColumn(kColumnData, new NumberCells(list_));
    list_->setItemDelegateForColumn(kColumnResource, new NumberCells(list_));
    emptyHint_ = new QLabel(list_->viewport());
    emptyHint_->setObjectName(QStringLiteral("EmptyHint"));
    emptyHint_->setAlignment(Qt::AlignCenter);
    emptyHint_->setWordWrap(true);
    emptyHint_->hide();
    // Over the empty list, which takes the drops and the clicks.
    emptyHint_->setAttribute(Qt::WA_TransparentForMouseEvents);
    (new QVBoxLayout(list_->viewport()))->addWidget(emptyHint_);
    tree_->viewport()->setAcceptDrops(true);
    list_->viewport()->setAcceptDrops(true);

    panes_->addWidget(left);
    panes_->addWidget(list_);
    panes_->setStretchFactor(1, 1);
    panes_->setChildrenCollapsible(true);
    jobPanel_ = new JobPanel(
        jobs_, [this] { askToStop(false); }, this);
    auto* whole = new QWidget(this);
    auto* rows = new QVBoxLayout(whole);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->setSpacing(0);
    rows->addWidget(panes_, 1);
    rows->addWidget(jobPanel_);
    setCentralWidget(whole);
    status_ = new StatusPanels(this);
    setStatusBar(status_);
}

void TVellmark::connectTree() {
    treeModel_.setRename(
        [this](std::int32_t folder, const QString& name) { RenameFolderOf(*this, folder, name); });
    treeModel_.setMimeData([this](std::int32_t folder) { return DragFolder(*this, folder); });
    connect(tree_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this](const QModelIndex& now) {
                if (isShowing_ || !now.isValid())
                    return;
                // What has what is open is done, the tree goes back to the folder that is shown.
                if (jobs_.isExclusive())
                    return;
                documents().listHasFocus = false;
                showFolder(treeModel_.folderAt(now));
            });
    const auto leftList = [this] {
        if (isShowing_ || jobs_.isExclusive())
            return;
        documents().listHasFocus = false;
        updateCommands();
    };
    connect(tree_, &QTreeView::expanded, this, leftList);
    connect(tree_, &QTreeView::collapsed, this, [this, leftList](const QModelIndex& index) {
        // The root stays open.
        if (!index.parent().isValid())
            tree_->expand(index);
        leftList();
    });
    connect(tree_, &QTreeView::customContextMenuRequested, this,
            [this](const QPoint& at) { showContextMenu(at, false); });
}

void TVellmark::connectList() {
    listModel_.setRename(
        [this](std::size_t row, const QString& name) { RenameRow(*this, row, name); });
    listModel_.setMimeData(
        [this](const std::vector<std::size_t>& rows) { return DragRows(*this, rows); });
    connect(list_->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        if (isShowing_ || jobs_.isExclusive())
            return;
        selected_.clear();
        for (const std::size_t row : selectedRows())
            selected_.push_back(source_->numberAt(row));
        documents().listHasFocus = true;
        updateCommands();
    });
    connect(list_->header(), &QHeaderView::sectionClicked, this, [this](int column) {
        listModel_.sortByClick(column);
        list_->header()->setSortIndicatorShown(true);
        list_->header()->setSortIndicator(
            column, listModel_.isDescending() ? Qt::DescendingOrder : Qt::AscendingOrder);
    });
    connect(list_, &QTreeView::customContextMenuRequested, this,
            [this](const QPoint& at) { showContextMenu(at, true); });
    connect(list_, &QTreeView::activated, this,
            [this](const QModelIndex& index) { activated(index); });
}

// Another program is asked for it, so once a change will do.
void TVellmark::followClipboard() {
    hasPaste_ = !ClipboardPaths().empty();
    updateCommands();
}

void TVellmark::updateCommands() {
    const bool isOurs = !jobs_.isExclusive();
    const Selection selected = isOurs ? selection() : Selection();
    CommandState now;
    now.documents = isOurs ? &documents() : nullptr;
    now.isCompiling = jobs_.isCompile();
    now.isBusy = jobs_.isRunning();
    now.hasListSelection = list_->selectionModel()->hasSelection();
    now.hasItem = selected.hasItem();
    now.hasAnything = selected.hasAnything();
    now.isFolderSelected =
        isOurs && (selected.isInList ? !selected.rows.empty() && source_ &&
                                           factsOf(selected.rows.front()).isFolder
                                     : source_ != nullptr);
    now.hasPaste = isOurs && hasPaste_ && documents().isOpen();
    now.hasIconComposer = !state().settings.iconComposer.empty();
    now.isJoinable = isOurs && documents().partition && documents().partition->isJoinable();
    if (isOurs)
        bar_->update(now, documents().mode, *this);
    else
        bar_->update(now, bar_->mode(), *this);
    if (isOurs)
        showSide();
    treeModel_.setEditable(isOurs && MayDo(documents(), SessionCommand::Rename));
    listModel_.setEditable(isOurs && MayDo(documents(), SessionCommand::Rename));
}

std::optional<std::string> TVellmark::askPath(const PathRequest& request) {
    return InMainThread([&] { return AskDocumentPath(request, language(), this); });
}

std::optional<FormatInput> TVellmark::askNewVolume() {
    return InMainThread([&] { return AskNewVolume(documents().isHfsPlus, language(), this); });
}

bool TVellmark::runJob(JobKind kind, const std::function<void(Progress& progress)>& work) {
    bool isDone = false;
    const QPointer<QWidget> dialog = QApplication::activeModalWidget();
    const QPointer<QWidget> focus = dialog ? dialog->focusWidget() : nullptr;
    // A dialog that began the job is not to begin another one meanwhile.
    if (dialog)
        dialog->setEnabled(false);
    try {
        isDone = jobs_.run(kind, work);
    } catch (const std::bad_alloc&) {
        messages_.showError(Reason(Sentence::kNoMemory));
    } catch (const std::exception& problem) {
        messages_.showError(Reason(Sentence::kNotDone, problem.what()));
    }
    if (dialog)
        dialog->setEnabled(true);
    if (focus)
        focus->setFocus();
    // The command that ran the job is still to be ended.
    if (std::exchange(closesWhenDone_, false))
        QTimer::singleShot(0, this, [this] { whenIdle([this] { close(); }); });
    return isDone;
}

bool TVellmark::isIdle() const {
    return !jobs_.isRunning() && QApplication::activeModalWidget() == nullptr &&
           thread()->loopLevel() <= 1;
}

void TVellmark::whenIdle(const std::function<void()>& what) {
    if (isIdle())
        what();
    else
        QTimer::singleShot(kIdleMs, this, [this, what] { whenIdle(what); });
}

void TVellmark::askToStop(bool isEscape) {
    if (jobs_.isRunning() && !jobs_.progress()->isStopped() &&
        messages_.askYesNo(isEscape ? Reason::Told(kTextReally) : Reason(Sentence::kReallyStop)))
        jobs_.stop();
}

void TVellmark::jobChanged() {
    jobPanel_->follow();
    if (jobs_.isExclusive()) {
        isTaken_ = true;
        QApplication::setOverrideCursor(Qt::BusyCursor);
        treeModel_.freeze(true);
        listModel_.freeze(true);
    } else if (std::exchange(isTaken_, false)) {
        QApplication::restoreOverrideCursor();
        // What the rows stood for may be gone: nothing looks at them before they are new.
        showDocument();
        return;
    }
    updateCommands();
}

}  // namespace vellmark
