#include "workbench/refresh/refresh_form.hpp"

#include <QHeaderView>
#include <QMenu>
#include <QSignalBlocker>
#include <QStandardItemModel>
#include <QTabWidget>
#include <QTreeWidget>
#include <algorithm>
#include <optional>
#include <utility>

#include "project/project_search.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/project_changes.hpp"
#include "workbench/dialogs/work_dialog.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/main_window/printing.hpp"
#include "workbench/refresh/locate_dialog.hpp"

namespace vellmark {

namespace {

constexpr int kTextLocate = 1412;
constexpr int kTextTitle = 1569;
constexpr int kTextProject = 1570;
constexpr int kTextClose = 2007;
constexpr int kTextPrint = 2011;
constexpr int kTextFile = 2045;
constexpr int kTextEdit = 2330;
constexpr int kTextEditHint = 2340;
constexpr int kTextFormHint = 2347;
constexpr int kTextPrintHint = 2348;
constexpr int kTextCloseHint = 2349;

constexpr int kColumnTexts[] = {1564, 1565, 1566, 1567, 1568};
constexpr int kColumns = std::size(kColumnTexts);
constexpr int kWidthCharacters = 110;
constexpr int kHeightLines = 24;

// How much of the form a command is about.
enum class Scope { All, Page, Line };

struct PageKind {
    ChangeKind kind;
    const char* name;
    int caption;
};
constexpr PageKind kPages[] = {{ChangeKind::Deleted, "Suppressions", 1561},
                               {ChangeKind::Modified, "Modifications", 1562},
                               {ChangeKind::Added, "Ajouts", 1563}};

struct FormCommand {
    WorkCommand command;
    Scope scope;
    bool accepts;
};

bool IsSame(const ProjectChange& a, const ProjectChange& b) {
    return a.kind == b.kind && a.parent == b.parent && a.number == b.number && a.name == b.name;
}

class TRefresh final : public WorkDialog {
  public:
    TRefresh(TVellmark& window, std::vector<ProjectChange> differences)
        : WorkDialog("TRefresh", window.text(kTextTitle), window.language(), &window),
          window_(window),
          differences_(std::move(differences)),
          pages_(new QTabWidget(this)) {
        pages_->setAccessibleName(windowTitle());
        frame().setCentralWidget(pages_);
        addCommands();
        connect(pages_, &QTabWidget::currentChanged, this, [this] { showState(); });
        showPages();
        resize(fontMetrics().averageCharWidth() * kWidthCharacters,
               fontMetrics().height() * kHeightLines);
    }

  private:
    void addCommands() {
        const FormCommand commands[] = {
            {{.name = "AccTout", .caption = 2331, .hint = 2341}, Scope::All, true},
            {{.name = "RejTout", .caption = 2332, .hint = 2342}, Scope::All, false},
            {{.name = "AccPage", .caption = 2333, .hint = 2343}, Scope::Page, true},
            {{.name = "RejPage", .caption = 2334, .hint = 2344}, Scope::Page, false},
            {{.name = "AccLigne",
              .caption = 2335,
              .hint = 2345,
              .key = QKeySequence(Qt::Key_Return),
              .picture = "add"},
             Scope::Line,
             true},
            {{.name = "RejLigne",
              .caption = 2336,
              .hint = 2346,
              .key = QKeySequence(Qt::Key_Delete),
              .picture = "delete"},
             Scope::Line,
             false}};
        QMenu& file = addMenu(kTextFile, kTextFormHint);
        QMenu& edit = addMenu(kTextEdit, kTextEditHint);
        for (const FormCommand& each : commands) {
            QAction& action = addCommand(
                edit, each.command,
                [this, scope = each.scope, accepts = each.accepts] { deal(scope, accepts); });
            if (each.scope == Scope::Line)
                needLine_.push_back(&action);
        }
        edit.addSeparator();
        locate_ =
            &addCommand(edit, {.name = "Localiser", .caption = kTextLocate, .picture = "search"},
                        [this] { locate(); });
        addCommand(file,
                   {.name = "Imprimer",
                    .caption = kTextPrint,
                    .hint = kTextPrintHint,
                    .key = QKeySequence::Print,
                    .picture = "print"},
                   [this] { print(); });
        addHelp(file, 2103, 2303, "refresh");
        addCommand(file, {.name = "Fermer", .caption = kTextClose, .hint = kTextCloseHint},
                   [this] { reject(); });
        finishMenus();
    }

    // Pages without lines are not there.
    void showPages() {
        const QString page = list() ? list()->objectName() : QString();
        const int row = list() ? list()->indexOfTopLevelItem(list()->currentItem()) : 0;
        const QSignalBlocker quiet(pages_);
        for (QTreeWidget* const each : pages_->findChildren<QTreeWidget*>()) {
            each->disconnect(this);
            delete each;
        }
        for (const PageKind& kind : kPages) {
            std::vector<std::size_t> lines;
            for (std::size_t i = 0; i < differences_.size(); ++i)
                if (differences_[i].kind == kind.kind)
                    lines.push_back(i);
            if (!lines.empty())
                pages_->addTab(newList(kind, lines), words(kind.caption));
        }
        // The line behind the one that was dealt with is the next.
        auto* const kept = page.isEmpty() ? nullptr : pages_->findChild<QTreeWidget*>(page);
        if (kept) {
            pages_->setCurrentWidget(kept);
            kept->setCurrentItem(kept->topLevelItem(std::min(row, kept->topLevelItemCount() - 1)));
        }
        showState();
    }

    QTreeWidget* newList(const PageKind& page, const std::vector<std::size_t>& lines) {
        auto* const list = new QTreeWidget(pages_);
        list->setObjectName(QLatin1String(page.name));
        list->setAccessibleName(words(page.caption));
        list->setRootIsDecorated(false);
        list->setUniformRowHeights(true);
        list->setAllColumnsShowFocus(true);
        QStringList heads;
        for (const int caption : kColumnTexts)
            heads << words(caption);
        list->setHeaderLabels(heads);
        QList<QTreeWidgetItem*> rows;
        for (const std::size_t line : lines) {
            auto* const row = new QTreeWidgetItem(cells(differences_[line]));
            row->setData(0, Qt::UserRole, QVariant::fromValue<qulonglong>(line));
            row->setTextAlignment(3, Qt::AlignRight | Qt::AlignVCenter);
            rows << row;
        }
        list->addTopLevelItems(rows);
        list->setCurrentItem(rows.first());
        for (int column = 0; column + 1 < kColumns; ++column)
            list->resizeColumnToContents(column);
        connect(list, &QTreeWidget::currentItemChanged, this, [this] { showState(); });
        return list;
    }

    [[nodiscard]] QStringList cells(const ProjectChange& change) const {
        const ProjectFile& project = *window_.documents().projectOfMode()->file;
        const ProjectRecord* const folder = project.findByNumber(change.parent);
        const QString father =
            folder ? ToQString(Printable(NarrowToUtf8(folder->sourceName()))) : QString();
        return {ToQString(Printable(NarrowToUtf8(change.name))) +
                    (change.isFolder ? QStringLiteral("/") : QString()),
                father.isEmpty() ? QString::number(change.parent)
                                 : QStringLiteral("%1 (%2)").arg(father).arg(change.parent),
                change.number == 0 ? QString() : QString::number(change.number),
                change.isFolder ? QString() : QString::number(change.sizeBytes),
                ToQString(Printable(NarrowToUtf8(change.accessPath)))};
    }

    [[nodiscard]] QTreeWidget* list() const {
        return dynamic_cast<QTreeWidget*>(pages_->currentWidget());
    }
    [[nodiscard]] std::optional<std::size_t> line() const {
        const QTreeWidgetItem* const row = list() ? list()->currentItem() : nullptr;
        return row ? std::optional<std::size_t>(row->data(0, Qt::UserRole).toULongLong())
                   : std::nullopt;
    }

    void showState() {
        const std::optional<std::size_t> now = line();
        for (QAction* const each : needLine_)
            each->setEnabled(now.has_value());
        locate_->setEnabled(now && differences_[*now].kind == ChangeKind::Deleted);
    }

    [[nodiscard]] std::vector<ProjectChange> chosen(Scope scope) const {
        const std::optional<std::size_t> now = line();
        if (scope == Scope::All || !now)
            return scope == Scope::All ? differences_ : std::vector<ProjectChange>();
        if (scope == Scope::Line)
            return {differences_[*now]};
        std::vector<ProjectChange> page;
        for (const ProjectChange& change : differences_)
            if (change.kind == differences_[*now].kind)
                page.push_back(change);
        return page;
    }

    // What was taken over, or is not wanted, goes from the form; what was refused stays.
    void deal(Scope scope, bool accepts) {
        const std::vector<ProjectChange> wanted = chosen(scope);
        drop(accepts ? AcceptDifferences(window_, wanted) : wanted);
    }

    void drop(const std::vector<ProjectChange>& dealtWith) {
        std::erase_if(differences_, [&](const ProjectChange& change) {
            return std::any_of(dealtWith.begin(), dealtWith.end(),
                               [&](const ProjectChange& each) { return IsSame(each, change); });
        });
        showPages();
        if (differences_.empty())
            accept();
    }

    void locate() {
        const std::optional<std::size_t> now = line();
        if (now && LocateItem(window_, differences_[*now], *this))
            drop({differences_[*now]});
    }

    void print() {
        QStandardItemModel rows(0, kColumns);
        for (int column = 0; column < kColumns; ++column)
            rows.setHeaderData(column, Qt::Horizontal,
                               words(kColumnTexts[static_cast<std::size_t>(column)]));
        for (const PageKind& page : kPages) {
            bool isFirst = true;
            for (const ProjectChange& change : differences_) {
                if (change.kind != page.kind)
                    continue;
                if (std::exchange(isFirst, false))
                    rows.appendRow(new QStandardItem(words(page.caption)));
                QList<QStandardItem*> row;
                for (const QString& cell : cells(change))
                    row << new QStandardItem(cell);
                rows.appendRow(row);
            }
        }
        constexpr PrintedColumn kPrinted[] = {{.28}, {.18}, {.08, true}, {.12, true}, {.34}};
        PrintTable(words(kTextProject) +
                       ToQString(Printable(window_.documents().projectOfMode()->file->path())),
                   rows, kPrinted, this);
    }

    TVellmark& window_;
    std::vector<ProjectChange> differences_;
    QTabWidget* pages_;
    std::vector<QAction*> needLine_;
    QAction* locate_ = nullptr;
};

}  // namespace

void ShowDifferences(TVellmark& window, std::vector<ProjectChange> differences) {
    (void)TRefresh(window, std::move(differences)).exec();
}

}  // namespace vellmark
