// What of the open document the window shows.
#include <QApplication>
#include <QHeaderView>
#include <QScrollBar>
#include <QSplitter>
#include <QTreeView>
#include <unordered_set>
#include <utility>

#include "session/signature_file.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/main_window/mode_look.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/models/project_items.hpp"

namespace vellmark {

namespace {

constexpr int kTextFiles = 1015;
constexpr int kTextFolders = 1016;
constexpr int kTextEmptyFolder = 1017;

constexpr std::uint64_t kDiscSectorBytes = 2048;

}  // namespace

void TVellmark::start(const std::string& path) {
    setLanguage(context_.language);
    // The first painting does not wait for a disk.
    session_.switchMode(state().settings.startMode());
    showLook();
    runJob(JobKind::Work, [&](Progress&) { session_.start(path); });
    followClipboard();
    messages_.tellSkipped();
    // One that is to be opened at each start, and has no file yet.
    const Settings& settings = state().settings;
    if (settings.has(kVlOpenJournal) && settings.journal.empty() && !state().journal.isOpen())
        ManageJournal(*this);
}

void TVellmark::openPath(const std::string& path) {
    if (jobs_.isRunning())
        return;
    runJob(JobKind::Work, [&](Progress&) { (void)session_.open(path); });
    messages_.tellSkipped();
}

std::int32_t TVellmark::currentFolder() const {
    if (const ProjectDocument* document = documents().projectOfMode())
        return document->folder;
    return static_cast<std::int32_t>(documents().partitionFolder);
}

Selection TVellmark::selection() const {
    Selection selected;
    selected.isInList = documents().listHasFocus;
    selected.folder = currentFolder();
    selected.isRoot = !tree_->currentIndex().parent().isValid();
    selected.rows = selectedRows();
    return selected;
}

// The toolkit's own list of them takes the square of their number.
std::vector<std::size_t> TVellmark::selectedRows() const {
    std::vector<std::size_t> rows;
    for (const QItemSelectionRange& range : list_->selectionModel()->selection())
        for (int row = range.top(); row <= range.bottom(); ++row)
            rows.push_back(static_cast<std::size_t>(row));
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    return rows;
}

void TVellmark::makeSource() {
    volumeItems_ = nullptr;
    source_.reset();
    const SignatureTable& signatures = SignaturesOf(context_, messages_);
    if (const ProjectDocument* document = documents().projectOfMode()) {
        if (document->file)
            source_ = std::make_unique<ProjectItems>(*document->file, documents().shownView(),
                                                     signatures, language());
    } else if (documents().partition) {
        auto items = std::make_unique<VolumeItems>(documents().partition->volume(), signatures,
                                                   language(), context_.clock);
        items->setShowsHidden(state().settings.has(kOptionShowHidden));
        volumeItems_ = items.get();
        source_ = std::move(items);
    }
}

std::vector<std::int32_t> TVellmark::openedFolders() const {
    std::vector<std::int32_t> opened;
    for (QModelIndex index = treeModel_.index(0, 0, {}); index.isValid();
         index = tree_->indexBelow(index))
        if (tree_->isExpanded(index))
            opened.push_back(treeModel_.folderAt(index));
    return opened;
}

void TVellmark::openFolders(const std::vector<std::int32_t>& folders) {
    for (const std::int32_t folder : folders)
        if (const QModelIndex index = treeModel_.indexOf(folder); index.isValid())
            tree_->expand(index);
}

void TVellmark::showDocument() {
    if (jobs_.isExclusive())
        return;
    isShowing_ = true;
    isReplacementTold_ = isReplacementTold_ && session_.isReplaced();
    const bool isSame = shownPath_ == documents().path();
    shownPath_ = documents().path();
    const std::vector<std::int32_t> opened = isSame ? openedFolders() : std::vector<std::int32_t>();
    const std::vector<std::int32_t> selected = std::exchange(selected_, {});
    const int scrolled = list_->verticalScrollBar()->value();
    const std::int32_t before = shownFolder_;
    treeModel_.show(nullptr);
    listModel_.show(nullptr);
    treeModel_.freeze(false);
    listModel_.freeze(false);
    makeSource();
    treeModel_.show(source_.get());
    if (source_) {
        tree_->expand(treeModel_.index(0, 0, {}));
        openFolders(opened);
        QModelIndex index = treeModel_.indexOf(currentFolder());
        if (!index.isValid())
            index = treeModel_.index(0, 0, {});
        tree_->setCurrentIndex(index);
        tree_->scrollTo(index);
        (void)session_.enterFolder(treeModel_.folderAt(index));
    }
    listFolder();
    if (source_ && isSame && before == currentFolder()) {
        selectRows(selected);
        list_->verticalScrollBar()->setValue(scrolled);
    }
    isShowing_ = false;
    setWindowTitle(ToQString(WindowTitle(documents())));
    showGauge();
    showRecentFiles();
    showLook();
}

void TVellmark::selectRows(const std::vector<std::int32_t>& numbers) {
    const std::unordered_set<std::int32_t> wanted(numbers.begin(), numbers.end());
    QItemSelection rows;
    const std::size_t count = wanted.empty() ? 0 : source_->count();
    for (std::size_t row = 0; row < count; ++row) {
        // Neighbours together: the toolkit is slow with many small ranges.
        const std::size_t first = row;
        for (; row < count && wanted.contains(source_->numberAt(row)); ++row)
            selected_.push_back(source_->numberAt(row));
        if (row > first)
            rows.select(listModel_.index(static_cast<int>(first), 0),
                        listModel_.index(static_cast<int>(row) - 1, kColumnCount - 1));
    }
    list_->selectionModel()->select(rows, QItemSelectionModel::Select);
}

void TVellmark::listFolder() {
    if (source_)
        source_->list(currentFolder());
    shownFolder_ = currentFolder();
    listModel_.forgetSorting();
    list_->header()->setSortIndicatorShown(false);
    listModel_.show(source_.get());
    showTotals();
    showEmptyHint();
}

void TVellmark::showFolder(std::int32_t folder) {
    if (jobs_.isExclusive() || !source_ || !session_.enterFolder(folder))
        return;
    isShowing_ = true;
    const QModelIndex index = treeModel_.indexOf(folder);
    if (index.isValid()) {
        tree_->setCurrentIndex(index);
        tree_->expand(index);
    }
    listFolder();
    isShowing_ = false;
    updateCommands();
}

void TVellmark::showItem(std::int32_t folder, std::int32_t number) {
    showFolder(folder);
    if (!source_)
        return;
    const std::size_t row = source_->rowOf(number);
    if (row == source_->count())
        return;
    const QModelIndex index = listModel_.index(static_cast<int>(row), 0);
    list_->setCurrentIndex(index);
    list_->scrollTo(index);
    list_->setFocus();
}

void TVellmark::showView() {
    listModel_.show(nullptr);
    showDocument();
}

void TVellmark::showTotals() {
    const bool isFrench = language() == Language::French;
    const FolderTotals totals = source_ ? source_->totals() : FolderTotals();
    const bool isEmpty = totals.folders + totals.files == 0;
    status_->setPanel(1, isEmpty ? QString() : WordsWith(kTextFolders, language(), totals.folders));
    status_->setPanel(2, isEmpty ? QString() : WordsWith(kTextFiles, language(), totals.files));
    status_->setPanel(3, !source_  ? QString()
                         : isEmpty ? text(kTextEmptyFolder)
                                   : SizeWords(totals.bytes, isFrench));
    QString note;
    if (documents().partition && documents().partition->isReadOnly())
        note = Words(documents().partition->readOnlyReason(), language());
    if (volumeItems_ && volumeItems_->problem())
        note = Words(volumeItems_->problem(), language());
    status_->setPanel(4, note);
}

void TVellmark::showGauge() {
    const ProjectDocument* const document = documents().projectOfMode();
    if (!document)
        return;
    const Settings& settings = state().settings;
    gauge_->show(
        document->file ? document->file->totals().sectors * kDiscSectorBytes : 0,
        documents().mode == FileMode::IsoPlus ? settings.isoPlusSizeMb : settings.projectSizeMb,
        language());
}

void TVellmark::showRecentFiles() {
    bar_->setRecentFiles(documents().mode, RecentFiles(state().store, documents().mode));
}

}  // namespace vellmark
