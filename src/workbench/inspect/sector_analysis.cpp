#include "workbench/inspect/sector_analysis.hpp"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScreen>
#include <QTabBar>
#include <QTabWidget>
#include <QTreeWidget>
#include <QVBoxLayout>

#include "inspect/structure_reader.hpp"
#include "inspect/tree_listing.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/inspect/fork_viewer.hpp"
#include "workbench/jobs/main_thread.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextAlternate = 3276;
constexpr int kTextListTree = 3351;
constexpr int kTextLengthy = 3352;

constexpr int kValueCharacters = 30;
constexpr int kListLines = 14;
constexpr std::size_t kNodesAtOnce = 200;

// A value that can be copied, and whose bytes are marked while it has the focus.
class ValueField final : public QLineEdit {
  public:
    ValueField(const QString& value, std::function<void()> entered, QWidget* owner)
        : QLineEdit(value, owner), entered_(std::move(entered)) {
        setReadOnly(true);
        setCursorPosition(0);
        setMinimumWidth(fontMetrics().averageCharWidth() * kValueCharacters);
    }

  protected:
    void focusInEvent(QFocusEvent* event) override {
        QLineEdit::focusInEvent(event);
        entered_();
    }

  private:
    std::function<void()> entered_;
};

class AnalysisForm final : public FormDialog {
  public:
    AnalysisForm(const AnalysisScene& scene, const Analysis& analysis)
        : FormDialog("analysis", Words(analysis.title, scene.window.language()),
                     scene.window.language(), scene.owner),
          scene_(scene) {
        setObjectName(QString::fromLatin1(analysis.form.data(),
                                          static_cast<qsizetype>(analysis.form.size())));
        tabs_ = new QTabWidget(this);
        tabs_->setAccessibleName(windowTitle());
        tabs_->setUsesScrollButtons(false);
        for (const AnalysedPage& page : analysis.pages)
            addPage(page);
        // One page needs no tab.
        tabs_->tabBar()->setVisible(analysis.pages.size() > 1);
        connect(tabs_, &QTabWidget::currentChanged, this, [this] { focusFirstLink(); });
        addWide(tabs_);
        if (analysis.problem)
            addNote(Words(analysis.problem, language()));
        for (const SectorLink& link : analysis.links)
            addWide(newLink(link, words(kTextAlternate)));
        if (analysis.hasTree)
            addTree();
        addButton("MessFermer", words(kTextClose), Rejected)->setDefault(true);
        focusFirstLink();
    }

    [[nodiscard]] const std::optional<SectorLink>& chosen() const { return chosen_; }

  private:
    // The keyboard goes to what leads on, as on a page that was turned to.
    void focusFirstLink() {
        if (QWidget* const page = tabs_->currentWidget())
            if (auto* const link = page->findChild<QPushButton*>())
                link->setFocus();
    }

    QPushButton* newLink(const SectorLink& link, const QString& caption) {
        auto* const button = new QPushButton(caption, this);
        button->setObjectName(QString::fromStdString(link.name));
        button->setAutoDefault(false);
        button->setToolTip(QString::number(link.sector));
        connect(button, &QPushButton::clicked, this, [this, link] {
            chosen_ = link;
            accept();
        });
        return button;
    }

    void addPage(const AnalysedPage& page) {
        auto* const widget = new QWidget(tabs_);
        auto* const column = new QVBoxLayout(widget);
        auto* const rows = new QFormLayout;
        column->addLayout(rows);
        for (const AnalysedField& field : page.fields)
            if (!field.isUnused)
                addField(*rows, field);
        if (page.list)
            column->addWidget(newList(*page.list));
        column->addStretch(1);
        const QString caption = Words(page.caption, language());
        tabs_->addTab(widget, caption.isEmpty() ? windowTitle() : caption);
    }

    void addField(QFormLayout& rows, const AnalysedField& field) {
        const QString caption = Words(field.caption, language());
        auto* const value = new ValueField(
            ToQString(field.value), [this, bytes = field.bytes] { scene_.mark(bytes); }, this);
        value->setObjectName(QString::fromStdString(field.key));
        value->setAccessibleName(caption);
        if (field.links.empty()) {
            rows.addRow(caption, value);
            return;
        }
        auto* const row = new QWidget(this);
        auto* const parts = new QHBoxLayout(row);
        parts->setContentsMargins(0, 0, 0, 0);
        parts->addWidget(value, 1);
        for (const SectorLink& link : field.links) {
            QPushButton* const button = newLink(link, QStringLiteral("→ %1").arg(link.sector));
            button->setAccessibleName(caption + u' ' + QString::number(link.sector));
            parts->addWidget(button);
        }
        rows.addRow(caption, row);
    }

    QTreeWidget* newTable(const QStringList& heads) {
        auto* const table = new QTreeWidget(this);
        table->setRootIsDecorated(false);
        table->setUniformRowHeights(true);
        table->setAllColumnsShowFocus(true);
        table->setHeaderLabels(heads);
        table->setMinimumHeight(fontMetrics().height() * kListLines);
        return table;
    }

    QTreeWidget* newList(const AnalysedList& list) {
        QStringList heads;
        for (const Reason& column : list.columns)
            heads << Words(column, language());
        QTreeWidget* const table = newTable(heads);
        table->setObjectName(QStringLiteral("Liste"));
        table->setAccessibleName(heads.join(QStringLiteral(", ")));
        rows_ = list.rows;
        for (const AnalysedRow& row : list.rows) {
            QStringList cells;
            for (const std::string& cell : row.cells)
                cells << ToQString(cell);
            table->addTopLevelItem(new QTreeWidgetItem(cells));
        }
        for (int column = 0; column < table->columnCount(); ++column)
            table->resizeColumnToContents(column);
        connect(table, &QTreeWidget::currentItemChanged, this, [this, table] {
            const int at = table->indexOfTopLevelItem(table->currentItem());
            if (at >= 0)
                scene_.mark(rows_[static_cast<std::size_t>(at)].bytes);
        });
        connect(table, &QTreeWidget::itemActivated, this, [this, table](QTreeWidgetItem* item) {
            const int at = table->indexOfTopLevelItem(item);
            if (const auto& link = rows_[static_cast<std::size_t>(at)].link) {
                chosen_ = link;
                accept();
            }
        });
        return table;
    }

    void addTree() {
        auto* const list = new QPushButton(words(kTextListTree), this);
        list->setObjectName(QStringLiteral("AffTree"));
        list->setAutoDefault(false);
        list->setToolTip(words(kTextLengthy));
        addWide(list);
        addWide(new QLabel(words(kTextLengthy), this));
        nodes_ = newTable({windowTitle()});
        nodes_->setObjectName(QStringLiteral("Noeuds"));
        nodes_->setAccessibleName(words(kTextListTree));
        nodes_->hide();
        addWide(nodes_);
        connect(nodes_, &QTreeWidget::itemActivated, this, [this](QTreeWidgetItem* item) {
            if (const QVariant sector = item->data(0, Qt::UserRole); sector.isValid()) {
                chosen_ = SectorLink{"node", sector.toULongLong(), StructureCode::Unknown};
                accept();
            }
        });
        connect(list, &QPushButton::clicked, this, [this, list] {
            list->setEnabled(false);
            listTree();
            list->setEnabled(true);
        });
    }

    // The form is closed to the person meanwhile; Esc asks whether to stop.
    void listTree() {
        nodes_->clear();
        nodes_->show();
        Reason problem;
        scene_.window.runJob(JobKind::Look, [&](Progress& progress) {
            auto listing = TreeListing::Open(scene_.image, scene_.inspected, scene_.sector);
            if (!listing) {
                problem = listing.error();
                return;
            }
            while (progress.mayGoOn()) {
                const std::vector<ListedNode> page = listing->next(kNodesAtOnce);
                if (page.empty())
                    return;
                InMainThread([&] { addNodes(page); });
            }
        });
        if (problem)
            scene_.window.messages().showMessage(problem);
    }

    void addNodes(const std::vector<ListedNode>& nodes) {
        QList<QTreeWidgetItem*> rows;
        for (const ListedNode& node : nodes) {
            const QString line = Words(node.line(), language());
            rows << new QTreeWidgetItem(
                {QString(static_cast<qsizetype>(node.indent()), u' ') + line});
            rows.back()->setToolTip(0, line);
            if (node.sector)
                rows.back()->setData(0, Qt::UserRole,
                                     QVariant::fromValue<qulonglong>(*node.sector));
        }
        nodes_->addTopLevelItems(rows);
    }

    const AnalysisScene& scene_;
    QTabWidget* tabs_ = nullptr;
    QTreeWidget* nodes_ = nullptr;
    std::vector<AnalysedRow> rows_;
    std::optional<SectorLink> chosen_;
};

// Beside the page, where the screen has room: its bytes are marked there.
void PlaceBeside(QWidget& form, const QWidget& page) {
    const QRect screen = page.screen()->availableGeometry();
    const QRect taken = page.frameGeometry();
    const int width = form.sizeHint().width();
    if (taken.right() + width < screen.right())
        form.move(taken.right() + 1, taken.top());
    else if (taken.left() - width > screen.left())
        form.move(taken.left() - width, taken.top());
}

}  // namespace

bool TMacDump::analyse(StructureCode as) {
    const auto found = AnalyseSector(file_.surroundings(), bytes(), {current(), as, language()});
    if (!found) {
        window_.messages().showMessage(found.error());
        return false;
    }
    const auto link =
        ShowAnalysis({window_, file_.surroundings(), bytes(), current(), this,
                      [this](ByteRange bytes) { page_->mark(bytes.offset, bytes.length); }},
                     *found);
    if (!link)
        return false;
    // The way leads to a sector of the image, wherever it began.
    if (link->sector > LastSector(*file_.bytes(ViewedFork::Image).source)) {
        window_.messages().showMessage(Reason(Sentence::kSectorNotThere, link->sector));
        return false;
    }
    if (fork_ != ViewedFork::Image)
        turnTo(ViewedFork::Image);
    goTo(link->sector);
    if (link->as == StructureCode::Unknown || analyse(link->as))
        return true;
    // The entries of a GUID table are looked at from their header, which comes again behind them.
    if (link->as != StructureCode::GptEntries)
        return true;
    travel(true);
    return analyse(as);
}

std::optional<SectorLink> ShowAnalysis(const AnalysisScene& scene, const Analysis& analysis) {
    AnalysisForm form(scene, analysis);
    PlaceBeside(form, *scene.owner);
    (void)form.exec();
    scene.mark({});
    return form.chosen();
}

}  // namespace vellmark
