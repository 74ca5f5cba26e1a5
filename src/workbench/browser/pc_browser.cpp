#include "workbench/browser/pc_browser.hpp"

#include <QActionGroup>
#include <QComboBox>
#include <QFileDialog>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QMenu>
#include <QSplitter>
#include <QStackedWidget>
#include <QStandardPaths>
#include <QStatusBar>
#include <QToolBar>
#include <QTreeView>
#include <algorithm>
#include <utility>

#include "transfer/selection_size.hpp"
#include "workbench/browser/places.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/messages/message_dialogs.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoRoom = 1074;
constexpr int kTextTitle = 6000;
constexpr int kTextSelection = 6006;
constexpr int kTextHint = 6007;
constexpr int kTextWait = 6010;
constexpr int kTextBrowse = 6020;

// In average characters and lines.
constexpr int kWidth = 130;
constexpr int kLines = 32;
constexpr int kMostPlaces = 30;
constexpr int kColumnWidths[kPcColumns] = {32, 11, 24, 22, 18};
constexpr int kLargeCell = 18;
constexpr int kSmallCell = 28;

struct StyleCommand {
    const char* name;
    int caption;
    const char* picture;
};
constexpr StyleCommand kStyles[kBrowserStyles] = {{"tlbtnLargeIcons", 6022, "large-icons"},
                                                  {"tlbtnSmallIcons", 6023, "small-icons"},
                                                  {"tlbtnList", 6024, "list"},
                                                  {"tlbtnReport", 6025, "report"}};

QKeySequence Key(const char* keys) {
    return QKeySequence(QLatin1String(keys));
}

}  // namespace

TWinVLV::TWinVLV(TVellmark& window, std::uint64_t freeBytes)
    : WorkDialog("TWinVLV", window.text(kTextTitle), window.language(), &window),
      window_(window),
      freeBytes_(freeBytes),
      state_(LoadBrowserState(window.state().store)),
      files_(new PcFiles(window.language(), window.state().settings.has(kOptionShowHidden), this)),
      order_(new PcOrder(*files_)) {
    makeViews();
    makePlaces();
    makeMenus();
    makePathBar();
    makePanels();
    restorePlace();
    setStyle(state_.style);
    const QString documents = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    goTo(QFile::decodeName(BrowserFolder(window.state().store, ToPath(documents) + "/").c_str()));
}

// Both have one selection; only one of them is to be seen.
void TWinVLV::makeViews() {
    views_ = new QStackedWidget;
    icons_ = new QListView(views_);
    icons_->setObjectName(QStringLiteral("Icones"));
    icons_->setResizeMode(QListView::Adjust);
    icons_->setLayoutMode(QListView::Batched);
    icons_->setTextElideMode(Qt::ElideMiddle);
    report_ = new QTreeView(views_);
    report_->setObjectName(QStringLiteral("Rapport"));
    report_->setRootIsDecorated(false);
    report_->setItemsExpandable(false);
    report_->setUniformRowHeights(true);
    report_->setAllColumnsShowFocus(true);
    for (QAbstractItemView* const each :
         {static_cast<QAbstractItemView*>(report_), static_cast<QAbstractItemView*>(icons_)}) {
        each->setModel(order_);
        each->setAccessibleName(words(kTextHint));
        each->setSelectionMode(QAbstractItemView::ExtendedSelection);
        each->setSelectionBehavior(QAbstractItemView::SelectRows);
        each->setEditTriggers(QAbstractItemView::NoEditTriggers);
        each->setContextMenuPolicy(Qt::CustomContextMenu);
        views_->addWidget(each);
        connect(each, &QAbstractItemView::activated, this,
                [this](const QModelIndex& index) { enter(index); });
    }
    QItemSelectionModel* const own = report_->selectionModel();
    report_->setSelectionModel(icons_->selectionModel());
    delete own;
    report_->setSortingEnabled(true);
    report_->sortByColumn(kPcName, Qt::AscendingOrder);
    report_->header()->setSectionsMovable(false);
    for (int column = 0; column < kPcColumns; ++column)
        report_->setColumnWidth(column, fontMetrics().averageCharWidth() * kColumnWidths[column]);
    connect(icons_->selectionModel(), &QItemSelectionModel::selectionChanged, this,
            [this] { selectionChanged(); });
}

void TWinVLV::makePlaces() {
    auto* const panes = new QSplitter(&frame());
    places_ = new QListWidget(panes);
    places_->setObjectName(QStringLiteral("Lieux"));
    places_->setAccessibleName(words(kTextBrowse));
    for (const Place& place : DesktopPlaces(language())) {
        auto* const item =
            new QListWidgetItem(style()->standardIcon(place.picture), place.name, places_);
        item->setData(Qt::UserRole, place.path);
        item->setToolTip(place.path);
    }
    const auto enter = [this](QListWidgetItem* item) { goTo(item->data(Qt::UserRole).toString()); };
    connect(places_, &QListWidget::itemClicked, this, enter);
    connect(places_, &QListWidget::itemActivated, this, enter);
    const int character = fontMetrics().averageCharWidth();
    places_->setMinimumWidth(
        std::min(places_->sizeHintForColumn(0) + 2 * character, character * kMostPlaces));
    panes->addWidget(places_);
    panes->addWidget(views_);
    panes->setStretchFactor(1, 1);
    panes->setCollapsible(1, false);
    panes->setSizes({places_->minimumWidth(), character * kWidth});
    frame().setCentralWidget(panes);
}

void TWinVLV::makeMenus() {
    QMenu& file = addMenu(6040, 0, "VF1");
    QMenu& edit = addMenu(6045, 0, "VE1");
    needSelection_ = {&addCommand(file, {"Mcop1", 6041, 0, Key("Ctrl+Return")}, [this] { copy(); }),
                      &addCommand(edit, {"VDS1", 6048, 0, Key("Ctrl+Shift+A")},
                                  [this] { icons_->clearSelection(); })};
    file.addSeparator();
    addCommand(file, {"Q", 6042, 0, Key("Ctrl+Q")}, [this] { reject(); });
    QItemSelectionModel* const selection = icons_->selectionModel();
    QAction& all = addCommand(edit, {"VSA1", 6046, 0, QKeySequence::SelectAll}, [=, this] {
        selection->select(everything(), QItemSelectionModel::ClearAndSelect);
    });
    QAction& inverse = addCommand(edit, {"VIS1", 6047, 0, Key("Ctrl+I")}, [=, this] {
        selection->select(everything(), QItemSelectionModel::Toggle);
    });
    edit.insertActions(needSelection_.back(), {&all, &inverse});
    edit.addSeparator();
    for (QAbstractItemView* const each :
         {static_cast<QAbstractItemView*>(report_), static_cast<QAbstractItemView*>(icons_)})
        connect(each, &QWidget::customContextMenuRequested, this,
                [each, &edit](const QPoint& at) { edit.popup(each->viewport()->mapToGlobal(at)); });
    addTool({"tlbtnBrowse", kTextBrowse, 0, {}, "open"}, [this] { browse(); });
    addTool({"tlbtnUp", 6021, 0, {}, "parent"}, [this] {
        goUp();
    }).setShortcuts({Key("Alt+Up"), Key("Backspace")});
    tools().addSeparator();
    makeStyles(edit);
    makeTools();
    finishMenus();
}

void TWinVLV::makeStyles(QMenu& menu) {
    auto* const styles = new QActionGroup(this);
    for (int at = 0; at < kBrowserStyles; ++at) {
        const StyleCommand& each = kStyles[at];
        const auto style = static_cast<BrowserStyle>(at);
        QAction& action = addCommand(menu, {each.name, each.caption, 0, {}, each.picture},
                                     [this, style] { setStyle(style); });
        action.setCheckable(true);
        styles->addAction(&action);
        styles_.push_back(&action);
    }
    tools().addSeparator();
}

void TWinVLV::makeTools() {
    needSelection_.push_back(
        &addTool({"CalcSel", 6031, 0, {}, "select-size"}, [this] { countSelection(); }));
    needSelection_.push_back(&addTool({"TBCop", 6026, 0, {}, "copy-in"}, [this] { copy(); }));
    addTool({"Fermer", 6030, 0, {}, "close"}, [this] { reject(); });
    addHelp("browser");
}

void TWinVLV::makePathBar() {
    path_ = new QComboBox(&frame());
    path_->setObjectName(QStringLiteral("cmbPath"));
    path_->setEditable(true);
    path_->setInsertPolicy(QComboBox::NoInsert);
    path_->setAccessibleName(words(kTextBrowse));
    path_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    connect(path_->lineEdit(), &QLineEdit::returnPressed, this, [this] {
        goTo(path_->currentText());
        view().setFocus();
    });
    connect(path_, &QComboBox::activated, this,
            [this](int at) { goTo(path_->itemData(at).toString()); });
    auto* const bar = new QToolBar(&frame());
    bar->setMovable(false);
    bar->addWidget(path_);
    frame().addToolBarBreak();
    frame().addToolBar(bar);
}

void TWinVLV::makePanels() {
    frame().statusBar()->addWidget(new QLabel(words(kTextHint)), 1);
    sizePanel_ = new QLabel;
    sizePanel_->setObjectName(QStringLiteral("TailleSel"));
    frame().statusBar()->addPermanentWidget(sizePanel_);
}

void TWinVLV::restorePlace() {
    resize(fontMetrics().averageCharWidth() * kWidth, fontMetrics().height() * kLines);
    if (state_.width > 0)
        resize(state_.width, state_.height);
    if (state_.left >= 0)
        move(state_.left, state_.top);
}

void TWinVLV::keepPlace() {
    if (!isMaximized())
        state_ = {pos().x(), pos().y(), width(), height(), state_.style};
    KeepBrowserState(state_, window_.state().store);
    KeepFolderOf(ToPath(folder_) + "/", setting::kBrowserFolder, window_.state().store);
}

void TWinVLV::done(int result) {
    // What is still counted is for nobody.
    counter_.request_stop();
    ++countNumber_;
    keepPlace();
    WorkDialog::done(result);
}

QAbstractItemView& TWinVLV::view() const {
    if (views_->currentWidget() == report_)
        return *report_;
    return *icons_;
}

// What is no folder is not gone to.
void TWinVLV::goTo(const QString& path) {
    const QString folder = QDir::cleanPath(path);
    if (QFileInfo(folder).isDir() && QDir::isAbsolutePath(folder)) {
        folder_ = folder;
        icons_->clearSelection();
        const QModelIndex root = order_->mapFromSource(files_->setRootPath(folder));
        icons_->setRootIndex(root);
        report_->setRootIndex(root);
        selectionChanged();
    }
    showPath();
}

// Below it the folders that it lies in, and the places.
void TWinVLV::showPath() {
    path_->clear();
    QStringList paths = {folder_};
    while (QFileInfo(paths.back()).path() != paths.back())
        paths << QFileInfo(paths.back()).path();
    for (int at = 0; at < places_->count(); ++at)
        paths << places_->item(at)->data(Qt::UserRole).toString();
    paths.removeDuplicates();
    for (const QString& each : std::as_const(paths))
        path_->addItem(each, each);
}

void TWinVLV::goUp() {
    const QString from = folder_;
    goTo(QFileInfo(folder_).path());
    const QModelIndex index = order_->mapFromSource(files_->index(from));
    icons_->selectionModel()->setCurrentIndex(index, QItemSelectionModel::NoUpdate);
    view().scrollTo(index);
}

void TWinVLV::browse() {
    const QString folder = QFileDialog::getExistingDirectory(this, words(kTextBrowse), folder_);
    if (!folder.isEmpty())
        goTo(folder);
}

void TWinVLV::setStyle(BrowserStyle style) {
    state_.style = style;
    styles_[static_cast<std::size_t>(style)]->setChecked(true);
    if (style == BrowserStyle::Report)
        views_->setCurrentWidget(report_);
    else
        arrangeIcons(style);
    view().setFocus();
}

void TWinVLV::arrangeIcons(BrowserStyle style) {
    const bool isLarge = style == BrowserStyle::LargeIcons;
    const int line = fontMetrics().height();
    const int character = fontMetrics().averageCharWidth();
    const int picture =
        this->style()->pixelMetric(isLarge ? QStyle::PM_LargeIconSize : QStyle::PM_SmallIconSize);
    icons_->setViewMode(isLarge ? QListView::IconMode : QListView::ListMode);
    icons_->setMovement(QListView::Static);
    icons_->setResizeMode(QListView::Adjust);
    icons_->setFlow(style == BrowserStyle::List ? QListView::TopToBottom : QListView::LeftToRight);
    icons_->setWrapping(true);
    icons_->setIconSize(QSize(picture, picture));
    icons_->setGridSize(isLarge ? QSize(character * kLargeCell, picture + 2 * line)
                                : QSize(character * kSmallCell, line * 3 / 2));
    views_->setCurrentWidget(icons_);
}

void TWinVLV::enter(const QModelIndex& index) {
    const QModelIndex source = order_->mapToSource(index);
    if (files_->isDir(source))
        goTo(files_->filePath(source));
}

QItemSelection TWinVLV::everything() const {
    const QModelIndex root = icons_->rootIndex();
    const int rows = order_->rowCount(root);
    return rows == 0 ? QItemSelection()
                     : QItemSelection(order_->index(0, 0, root),
                                      order_->index(rows - 1, kPcColumns - 1, root));
}

std::vector<std::string> TWinVLV::chosen() const {
    std::vector<int> rows;
    for (const QItemSelectionRange& range : icons_->selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(row);
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    std::vector<std::string> paths;
    paths.reserve(rows.size());
    for (const int row : rows)
        paths.push_back(ToPath(
            files_->filePath(order_->mapToSource(order_->index(row, 0, icons_->rootIndex())))));
    return paths;
}

// What was counted was something else.
void TWinVLV::selectionChanged() {
    counter_.request_stop();
    ++countNumber_;
    bytes_.reset();
    isCopyWanted_ = false;
    sizePanel_->clear();
    for (QAction* const each : needSelection_)
        each->setEnabled(icons_->selectionModel()->hasSelection());
}

void TWinVLV::countSelection() {
    sizePanel_->setText(words(kTextWait));
    const int number = ++countNumber_;
    counter_ = std::jthread([this, number, paths = chosen()](const std::stop_token& stop) {
        const std::uint64_t bytes = SelectionBytes(paths, [&] { return stop.stop_requested(); });
        QMetaObject::invokeMethod(
            this, [this, number, bytes] { counted(number, bytes); }, Qt::QueuedConnection);
    });
}

// An answer that nobody waits for any more is none.
void TWinVLV::counted(int number, std::uint64_t bytes) {
    if (number != countNumber_)
        return;
    bytes_ = bytes;
    const QString size = SizeWords(bytes, language() == Language::French);
    sizePanel_->setText(WordsWith(kTextSelection, language(), size.toStdString()));
    if (std::exchange(isCopyWanted_, false))
        finishCopy();
}

void TWinVLV::copy() {
    if (bytes_) {
        finishCopy();
        return;
    }
    isCopyWanted_ = true;
    countSelection();
}

void TWinVLV::finishCopy() {
    if (*bytes_ <= freeBytes_) {
        accept();
        return;
    }
    const auto size = [this](std::uint64_t bytes) {
        return SizeWords(bytes, language() == Language::French).toStdString();
    };
    (void)TMessOK(WordsWith(kTextNoRoom, language(), size(*bytes_), size(freeBytes_)), language(),
                  0, this)
        .exec();
}

std::vector<std::string> AskFilesToCopy(TVellmark& window) {
    const VolumeContext& volume = window.documents().partition->volume();
    TWinVLV browser(window, std::uint64_t{volume.freeBlocks()} * volume.blockSize);
    return browser.exec() == QDialog::Accepted ? browser.chosen() : std::vector<std::string>();
}

}  // namespace vellmark
