#include "workbench/signatures/sign_edit.hpp"

#include <QDir>
#include <QHeaderView>
#include <QMenu>
#include <algorithm>

#include "session/signature_file.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "support/sentences.hpp"
#include "transfer/import_batch.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/main_window/printing.hpp"
#include "workbench/messages/message_dialogs.hpp"
#include "workbench/messages/words.hpp"
#include "workbench/signatures/entry_dialog.hpp"
#include "workbench/signatures/signature_key.hpp"

namespace vellmark {

namespace {

constexpr int kTextOverwrite = 1061;
constexpr int kTextSaveFirst = 5417;
constexpr int kTextTitle = 5418;

constexpr int kColumns = static_cast<int>(std::size(kSignatureColumnTexts));
// In average characters.
constexpr int kWidths[kColumns] = {16, 16, 16, 44};
constexpr int kLines = 24;
constexpr PrintedColumn kPrinted[kColumns] = {{.14}, {.14}, {.14}, {.58}};

}  // namespace

TSignEdit::TSignEdit(TVellmark& window)
    : WorkDialog("TSignEdit", window.text(kTextTitle), window.language(), &window),
      window_(window),
      document_(window.language()) {
    makeList();
    makeCommands();
    openTableInUse();
    showEntries();
    list_->setFocus();
}

void TSignEdit::makeList() {
    list_ = new QTreeWidget(&frame());
    list_->setObjectName(QStringLiteral("Signatures"));
    list_->setAccessibleName(words(kTextTitle));
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setSelectionMode(QAbstractItemView::ExtendedSelection);
    list_->setAllColumnsShowFocus(true);
    list_->setContextMenuPolicy(Qt::CustomContextMenu);
    const int character = list_->fontMetrics().averageCharWidth();
    int width = 0;
    QStringList heads;
    for (const int text : kSignatureColumnTexts)
        heads << words(text);
    list_->setHeaderLabels(heads);
    list_->header()->setSectionsClickable(true);
    list_->header()->setSectionsMovable(false);
    for (int column = 0; column < kColumns; ++column) {
        list_->setColumnWidth(column, character * kWidths[column]);
        width += character * kWidths[column];
    }
    frame().setCentralWidget(list_);
    resize(width + 4 * character, list_->fontMetrics().height() * kLines);
    connect(list_->header(), &QHeaderView::sectionClicked, this, [this](int at) { sortBy(at); });
    connect(list_, &QTreeWidget::itemSelectionChanged, this, [this] { updateCommands(); });
    connect(list_, &QTreeWidget::itemActivated, this, [this] { editEntries(); });
}

void TSignEdit::makeCommands() {
    makeFileMenu();
    tools().addSeparator();
    makeEditMenu();
    tools().addSeparator();
    QMenu& registry = addMenu(5220, 5260);
    register_ =
        &addCommand(registry, {"Inscrire", 5221, 5261, {}, "register"}, [this] { registerFile(); });
    tools().addSeparator();
    addHelp(addMenu(5225), 5225, 5265, "signatures");
    finishMenus();
}

void TSignEdit::makeFileMenu() {
    QMenu& menu = addMenu(5200, 5240);
    const auto add = [&](const WorkCommand& command, auto run) -> QAction& {
        return addCommand(menu, command, [this, run] { (void)(this->*run)(); });
    };
    add({"Nouveau", 5201, 5241, QKeySequence::New, "new"}, &TSignEdit::newFile);
    add({"Ouvrir", 5202, 5242, QKeySequence::Open, "open"}, &TSignEdit::openFile);
    save_ = &add({"Enregistrer", 5203, 5243, QKeySequence::Save, "save"}, &TSignEdit::save);
    add({"EnregistrerSous", 5204, 5244, QKeySequence(QStringLiteral("Ctrl+Shift+S"))},
        &TSignEdit::saveAs);
    add({"Fermer", 5206, 5246, QKeySequence(QStringLiteral("Ctrl+W"))}, &TSignEdit::newFile);
    menu.addSeparator();
    add({"Imprimer", 5207, 5247, QKeySequence::Print, "print"}, &TSignEdit::print);
    menu.addSeparator();
    addCommand(menu, {"Quitter", 5205, 5245, QKeySequence(QStringLiteral("Ctrl+Q"))},
               [this] { reject(); });
}

void TSignEdit::makeEditMenu() {
    QMenu& menu = addMenu(5210, 5250);
    const auto add = [&](const WorkCommand& command, auto run) -> QAction& {
        return addCommand(menu, command, [this, run] { (this->*run)(); });
    };
    needSelection_ = {
        &add({"Editer", 5211, 5251, QKeySequence(Qt::Key_F2), "rename"}, &TSignEdit::editEntries)};
    add({"Ajouter", 5212, 5252, QKeySequence(Qt::Key_Insert), "add"}, &TSignEdit::addEntry);
    menu.addSeparator();
    QAction& cutting = add({"Couper", 5213, 5253, QKeySequence::Cut, "cut"}, &TSignEdit::cut);
    cutting.setShortcuts({QKeySequence(QKeySequence::Cut), QKeySequence(Qt::Key_Delete)});
    needSelection_.push_back(&cutting);
    needSelection_.push_back(
        &add({"Copier", 5214, 5254, QKeySequence::Copy, "copy"}, &TSignEdit::copy));
    paste_ = &add({"Coller", 5215, 5255, QKeySequence::Paste, "paste"}, &TSignEdit::paste);
    menu.addSeparator();
    for (const bool up : {true, false})
        needSelection_.push_back(&addCommand(
            menu,
            {up ? "Monter" : "Descendre", up ? 5216 : 5217, up ? 5256 : 5257,
             QKeySequence(QLatin1String(up ? "Ctrl+Up" : "Ctrl+Down")), up ? "up" : "down"},
            [this, up] { moveEntries(up); }));
    connect(list_, &QWidget::customContextMenuRequested, this,
            [this, &menu](const QPoint& at) { menu.popup(list_->viewport()->mapToGlobal(at)); });
}

// The table that comes with the program is nobody's to change: it is the beginning of one's own.
void TSignEdit::openTableInUse() {
    const std::string path = OpenRegisteredSigFile(window_.state().store);
    if (!path.empty()) {
        if (const Reason refusal = document_.open(path))
            FileOpenError(window_.messages(), Printable(path), refusal);
        return;
    }
    for (const std::string& folder : window_.context().shippedFolders)
        if (!document_.openAsNew(folder + "default.sig"))
            return;
}

bool TSignEdit::mayLeave() {
    if (!document_.isChanged())
        return true;
    const std::optional<bool> saves = TMessONA(words(kTextSaveFirst), language(), this).ask();
    return saves && (!*saves || save());
}

void TSignEdit::reject() {
    if (mayLeave())
        WorkDialog::reject();
}

void TSignEdit::newFile() {
    if (!mayLeave())
        return;
    document_.clear();
    sortedBy_ = 0;
    showEntries();
}

void TSignEdit::openFile() {
    if (!mayLeave())
        return;
    const std::optional<std::string> path = AskSigFile(window_, proposedPath(), this);
    if (!path)
        return;
    if (const Reason refusal = document_.open(*path)) {
        FileOpenError(window_.messages(), Printable(*path), refusal);
        return;
    }
    sortedBy_ = 0;
    showEntries();
}

std::string TSignEdit::proposedPath() const {
    if (!document_.path().empty())
        return document_.path();
    return KeptFolder(window_.state().store, setting::kDocumentFolder, ToPath(QDir::homePath()));
}

bool TSignEdit::save() {
    return document_.path().empty() ? saveAs() : keep(document_.path());
}

bool TSignEdit::saveAs() {
    const std::optional<std::string> path = AskSigTarget(window_, proposedPath(), this);
    if (!path)
        return false;
    if (*path != document_.path() && PcFactsOf(*path).kind != PcKind::Missing &&
        !window_.messages().askYesNo(Reason::Told(kTextOverwrite, Printable(*path))))
        return false;
    return keep(*path);
}

bool TSignEdit::keep(const std::string& path) {
    const Rows chosen = selected();
    if (const Reason refusal = document_.save(path)) {
        window_.messages().showMessage(
            Reason(Sentence::kCannotBeWritten, Printable(path), refusal));
        return false;
    }
    showEntries(chosen);
    return true;
}

void TSignEdit::print() {
    PrintTable(QStringLiteral("SignEdit (%1)").arg(ToQString(Printable(document_.path()))),
               *list_->model(), kPrinted, this);
}

void TSignEdit::registerFile() {
    ConfirmRegistration(window_, document_.path(), this);
}

void TSignEdit::editEntries() {
    const Rows chosen = selected();
    for (const std::size_t at : chosen) {
        const SignatureEntry old = document_.text().entry(at);
        const std::optional<SignatureEntry> entry = AskForEntry(&old, language(), this);
        if (!entry)
            break;
        if (*entry != old)
            document_.changed().replace(at, *entry);
        showEntries(chosen);
    }
}

void TSignEdit::addEntry() {
    const std::optional<SignatureEntry> entry = AskForEntry(nullptr, language(), this);
    if (!entry)
        return;
    const std::size_t last = document_.text().count();
    document_.changed().insert(last, *entry);
    showEntries({last});
}

void TSignEdit::cut() {
    copy();
    const Rows chosen = selected();
    for (auto at = chosen.rbegin(); at != chosen.rend(); ++at)
        document_.changed().remove(*at);
    const std::size_t count = document_.text().count();
    showEntries(chosen.empty() || count == 0 ? Rows() : Rows{std::min(chosen.front(), count - 1)});
}

void TSignEdit::copy() {
    clipboard_.clear();
    for (const std::size_t at : selected())
        clipboard_.push_back(SignatureLine(document_.text().entry(at)));
    updateCommands();
}

// Behind what is selected, else at the end.
void TSignEdit::paste() {
    const Rows chosen = selected();
    std::size_t at = chosen.empty() ? document_.text().count() : chosen.back() + 1;
    Rows pasted;
    for (const std::string& line : clipboard_) {
        document_.changed().insert(at, SignatureEntryOf(line));
        pasted.push_back(at++);
    }
    showEntries(pasted);
}

void TSignEdit::moveEntries(bool up) {
    const Rows chosen = selected();
    const bool isAtEnd = up ? chosen.front() == 0 : chosen.back() + 1 == document_.text().count();
    if (!isAtEnd)
        showEntries(document_.changed().move(chosen, up));
}

void TSignEdit::sortBy(int column) {
    sortedBy_ = sortedBy_ == column + 1 ? -sortedBy_ : column + 1;
    if (document_.text().count() > 0)
        document_.changed().sort(sortedBy_);
    showEntries();
}

TSignEdit::Rows TSignEdit::selected() const {
    Rows rows;
    for (const QModelIndex& index : list_->selectionModel()->selectedRows())
        rows.push_back(static_cast<std::size_t>(index.row()));
    std::sort(rows.begin(), rows.end());
    return rows;
}

void TSignEdit::showEntries(const Rows& chosen) {
    const QSignalBlocker quiet(list_);
    list_->clear();
    QList<QTreeWidgetItem*> items;
    for (std::size_t at = 0; at < document_.text().count(); ++at) {
        auto* const item = new QTreeWidgetItem;
        for (int column = 0; column < kColumns; ++column)
            item->setText(column, SignatureColumnText(document_.text().entry(at), column));
        items << item;
    }
    list_->addTopLevelItems(items);
    for (const std::size_t at : chosen)
        items[static_cast<qsizetype>(at)]->setSelected(true);
    if (!chosen.empty()) {
        QTreeWidgetItem* const first = items[static_cast<qsizetype>(chosen.front())];
        list_->setCurrentItem(first, 0, QItemSelectionModel::NoUpdate);
        list_->scrollToItem(first);
    }
    list_->header()->setSortIndicatorShown(sortedBy_ != 0);
    if (sortedBy_ != 0)
        list_->header()->setSortIndicator(std::abs(sortedBy_) - 1,
                                          sortedBy_ > 0 ? Qt::AscendingOrder : Qt::DescendingOrder);
    updateCommands();
}

void TSignEdit::showTitle() {
    const QString mark = document_.isChanged() ? QStringLiteral("*") : QString();
    const QString name = ToQString(Printable(PcNameOfPath(document_.path())));
    setWindowTitle(name.isEmpty() ? words(kTextTitle) + mark
                                  : QStringLiteral("%1%2 [%3]").arg(name, mark, words(kTextTitle)));
}

void TSignEdit::updateCommands() {
    showTitle();
    const bool hasSelection = list_->selectionModel()->hasSelection();
    for (QAction* const each : needSelection_)
        each->setEnabled(hasSelection);
    paste_->setEnabled(!clipboard_.empty());
    save_->setEnabled(document_.isChanged() || document_.path().empty());
    register_->setEnabled(!document_.path().empty());
    const std::size_t count = document_.text().count();
    showHint(
        count > SignatureTable::kMaxEntries
            ? Words(Reason(Sentence::kSigTooMany, count, SignatureTable::kMaxEntries), language())
            : QString());
}

void TakeSignaturesAnew(TVellmark& window) {
    window.whenIdle([&window] {
        window.state().signatures.reset();
        window.showDocument();
    });
}

// The editor itself has no questions of a job to answer, and changes nothing that one uses.
void EditSignatures(TVellmark& window) {
    (void)TSignEdit(window).exec();
    TakeSignaturesAnew(window);
}

}  // namespace vellmark
