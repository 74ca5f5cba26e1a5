#include "workbench/layout/layout_editor.hpp"

#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSlider>
#include <QSpinBox>
#include <QTreeView>
#include <QVBoxLayout>

#include "session/settings.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/help/help_window.hpp"
#include "workbench/layout/icon_rows.hpp"
#include "workbench/layout/item_pane.hpp"
#include "workbench/layout/layout_preview.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextOk = 1001;
constexpr int kTextCancel = 1002;
constexpr int kTextBrowse = 1189;
constexpr int kTextTitle = 1510;
constexpr int kTextWindow = 1511;
constexpr int kTextIcons = 1512;
constexpr int kTextIconSize = 1519;
constexpr int kTextSpacing = 1520;
constexpr int kTextTextSize = 1521;
constexpr int kTextFirstColumn = 1525;
constexpr int kTextPicture = 1528;
constexpr int kTextExtension = 1529;
constexpr int kTextFilter = 1531;
constexpr int kTextBrowseTitle = 1532;
constexpr int kTextEdit = 1533;
constexpr int kTextUp = 5216;
constexpr int kTextDown = 5217;

struct EdgeField {
    const char* name;
    int caption;
};
// In the order of `Edge`, two a line.
constexpr EdgeField kEdgeFields[] = {{"Gauche", 1513}, {"Haut", 1514},    {"Droite", 1515},
                                     {"Bas", 1516},    {"Largeur", 1518}, {"Hauteur", 1517}};

// In average characters.
constexpr int kNameWidth = 26;
constexpr int kPlaceWidth = 9;

}  // namespace

TDS_Store::TDS_Store(TVellmark& window, EditedLayout& edited)
    : QDialog(&window), window_(window), edited_(edited) {
    setObjectName(QStringLiteral("TDS_Store"));
    setWindowTitle(window.text(kTextTitle));
    auto* const column = new QVBoxLayout(this);
    auto* const both = new QHBoxLayout;
    auto* const left = new QVBoxLayout;
    left->addWidget(newWindowGroup());
    left->addWidget(newPictureGroup());
    left->addStretch(1);
    both->addLayout(left);
    both->addWidget(newIconGroup(), 1);
    column->addLayout(both, 1);
    addOkAndCancel(*column);
    showLayout();
    showPicture();
    edges_[Left]->setFocus();
}

QGroupBox* TDS_Store::newGroup(int caption) {
    return new QGroupBox(window_.text(caption).trimmed(), this);
}

QPushButton* TDS_Store::newButton(const char* name, int caption, void (TDS_Store::*run)()) {
    auto* const button = new QPushButton(window_.text(caption), this);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, [this, run] { (this->*run)(); });
    return button;
}

QGroupBox* TDS_Store::newWindowGroup() {
    QGroupBox* const group = newGroup(kTextWindow);
    auto* const grid = new QGridLayout(group);
    for (int edge = 0; edge < Edges; ++edge) {
        const QString caption = window_.text(kEdgeFields[edge].caption);
        QSpinBox* const field = NewNumberField(kEdgeFields[edge].name, caption, group);
        connect(field, &QSpinBox::valueChanged, this,
                [this, edge](int value) { setEdge(static_cast<Edge>(edge), value); });
        grid->addWidget(new QLabel(caption, group), edge / 2, edge % 2 * 2);
        grid->addWidget(field, edge / 2, edge % 2 * 2 + 1);
        edges_[static_cast<std::size_t>(edge)] = field;
    }
    grid->setColumnStretch(1, 1);
    grid->setColumnStretch(3, 1);
    preview_ = new LayoutPreview(layout(), group);
    preview_->setPlaced([this](const QRect& placed) { setWindow(placed); });
    grid->addWidget(preview_, Edges / 2, 0, 1, 4, Qt::AlignCenter);
    return group;
}

QGroupBox* TDS_Store::newPictureGroup() {
    QGroupBox* const group = newGroup(kTextPicture);
    auto* const column = new QVBoxLayout(group);
    auto* const line = new QHBoxLayout;
    path_ = new QLineEdit(group);
    path_->setObjectName(QStringLiteral("Fond"));
    path_->setReadOnly(true);
    path_->setAccessibleName(group->title());
    line->addWidget(path_, 1);
    line->addWidget(newButton("Parcourir", kTextBrowse, &TDS_Store::browse));
    column->addLayout(line);
    pixels_ = new QLabel(group);
    pixels_->setObjectName(QStringLiteral("Pixels"));
    pixels_->setTextFormat(Qt::PlainText);
    pixels_->setWordWrap(true);
    column->addWidget(pixels_);
    return group;
}

QGroupBox* TDS_Store::newIconGroup() {
    QGroupBox* const group = newGroup(kTextIcons);
    auto* const column = new QVBoxLayout(group);
    column->addLayout(newSizes());
    makeIconList();
    pane_ = new ItemPane(layout(), window_.language(), this);
    pane_->setStored([this] { showLayout(); });
    auto* const both = new QHBoxLayout;
    both->addWidget(list_, 1);
    both->addWidget(pane_);
    column->addLayout(both, 1);
    column->addLayout(newIconButtons());
    return group;
}

QComboBox* TDS_Store::newSizeList(const char* name, int caption, std::span<const int> sizes,
                                  std::size_t DsStoreLayout::*index) {
    auto* const list = new QComboBox(this);
    list->setObjectName(QLatin1String(name));
    list->setAccessibleName(window_.text(caption));
    for (const int size : sizes)
        list->addItem(QString::number(size));
    list->setCurrentIndex(static_cast<int>(layout().*index));
    connect(list, &QComboBox::currentIndexChanged, this, [this, index](int at) {
        layout().*index = static_cast<std::size_t>(at);
        placeAnew();
    });
    return list;
}

QBoxLayout* TDS_Store::newSizes() {
    auto* const sizes = new QHBoxLayout;
    const auto add = [&](QHBoxLayout& line, int caption, QWidget* field) {
        line.addWidget(new QLabel(window_.text(caption), this));
        line.addWidget(field);
    };
    add(*sizes, kTextIconSize,
        newSizeList("TailleIcones", kTextIconSize, kIconSizes, &DsStoreLayout::iconSize));
    sizes->addSpacing(fontMetrics().averageCharWidth() * 2);
    add(*sizes, kTextTextSize,
        newSizeList("TailleTexte", kTextTextSize, kTextSizes, &DsStoreLayout::textSize));
    sizes->addStretch(1);
    auto* const spacing = new QSlider(Qt::Horizontal, this);
    spacing->setObjectName(QStringLiteral("Espacement"));
    spacing->setAccessibleName(window_.text(kTextSpacing));
    spacing->setRange(0, static_cast<int>(kSpacings.size()) - 1);
    spacing->setPageStep(1);
    spacing->setTickPosition(QSlider::TicksBelow);
    spacing->setValue(static_cast<int>(layout().spacing));
    connect(spacing, &QSlider::valueChanged, this, [this](int value) {
        layout().spacing = static_cast<std::size_t>(value);
        placeAnew();
    });
    auto* const both = new QVBoxLayout;
    both->addLayout(sizes);
    auto* const room = new QHBoxLayout;
    add(*room, kTextSpacing, spacing);
    room->setStretchFactor(spacing, 1);
    both->addLayout(room);
    return both;
}

void TDS_Store::makeIconList() {
    QStringList heads;
    for (int column = 0; column < 3; ++column)
        heads << window_.text(kTextFirstColumn + column);
    rows_ = new IconRows(layout(), heads, this);
    list_ = new QTreeView(this);
    list_->setObjectName(QStringLiteral("Icones"));
    list_->setAccessibleName(window_.text(kTextIcons).trimmed());
    list_->setModel(rows_);
    list_->setRootIsDecorated(false);
    list_->setUniformRowHeights(true);
    list_->setAllColumnsShowFocus(true);
    list_->setEditTriggers(QAbstractItemView::NoEditTriggers);
    const int character = list_->fontMetrics().averageCharWidth();
    list_->header()->setStretchLastSection(false);
    list_->header()->setSectionsMovable(false);
    list_->header()->setSectionResizeMode(0, QHeaderView::Stretch);
    for (int column = 1; column < 3; ++column)
        list_->setColumnWidth(column, character * kPlaceWidth);
    list_->setMinimumWidth(character * (kNameWidth + 2 * kPlaceWidth));
    list_->setCurrentIndex(rows_->index(0, 0));
    list_->installEventFilter(this);
    connect(list_, &QTreeView::activated, this, [this] { editItem(); });
    connect(list_->selectionModel(), &QItemSelectionModel::currentChanged, this,
            [this] { updateButtons(); });
}

QBoxLayout* TDS_Store::newIconButtons() {
    auto* const line = new QHBoxLayout;
    up_ = newButton("Monter", kTextUp, &TDS_Store::moveUp);
    up_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Up")));
    down_ = newButton("Descendre", kTextDown, &TDS_Store::moveDown);
    down_->setShortcut(QKeySequence(QStringLiteral("Ctrl+Down")));
    edit_ = newButton("Modifier", kTextEdit, &TDS_Store::editItem);
    edit_->setShortcut(QKeySequence(Qt::Key_F2));
    for (QPushButton* const each : {up_, down_, edit_})
        line->addWidget(each);
    line->addStretch(1);
    return line;
}

void TDS_Store::addOkAndCancel(QBoxLayout& column) {
    auto* const buttons = new QDialogButtonBox(this);
    column.addWidget(buttons);
    AddHelpButton(*buttons, "layout", window_.language());
    const auto add = [&](const char* name, int caption, QDialogButtonBox::ButtonRole role) {
        QPushButton* const button = buttons->addButton(window_.text(caption), role);
        button->setObjectName(QLatin1String(name));
        return button;
    };
    add("OK", kTextOk, QDialogButtonBox::AcceptRole)->setDefault(true);
    add("Cancel", kTextCancel, QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
}

// The list would hand on the key by which it opens an item, and OK has the same.
bool TDS_Store::eventFilter(QObject* watched, QEvent* event) {
    if (watched != list_ || event->type() != QEvent::KeyPress)
        return QDialog::eventFilter(watched, event);
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key != Qt::Key_Return && key != Qt::Key_Enter)
        return false;
    editItem();
    return true;
}

// What was typed there is not lost because the pane is still open.
void TDS_Store::accept() {
    pane_->store();
    QDialog::accept();
}

void TDS_Store::setEdge(Edge edge, int value) {
    switch (edge) {
        case Left:
            layout().left = value;
            break;
        case Top:
            layout().top = value;
            break;
        case Right:
            layout().right = value;
            break;
        case Bottom:
            layout().bottom = value;
            break;
        case Width:
            layout().setWidth(value);
            break;
        case Height:
            layout().setHeight(value);
            break;
        case Edges:
            return;
    }
    placeAnew();
}

void TDS_Store::setWindow(const QRect& window) {
    layout().left = window.x();
    layout().top = window.y();
    layout().setWidth(window.width());
    layout().setHeight(window.height());
    placeAnew();
}

// Another grid has no room for what was placed by hand.
void TDS_Store::placeAnew() {
    PlaceIcons(layout());
    showLayout();
}

void TDS_Store::showLayout() {
    const DsStoreLayout& now = layout();
    const int values[Edges] = {now.left, now.top, now.right, now.bottom, now.width(), now.height()};
    for (std::size_t edge = 0; edge < Edges; ++edge)
        ShowNumber(*edges_[edge], values[edge], kMostEdge);
    rows_->tellChanged();
    pane_->showRow();
    preview_->update();
    updateButtons();
}

void TDS_Store::showPicture() {
    const std::string& path = edited_.project.background;
    path_->setText(ToQString(Printable(path)));
    path_->setToolTip(path_->text());
    const std::optional<BackgroundPicture>& picture = edited_.picture;
    pixels_->setText(picture ? Words(Reason(Sentence::kPicturePixels, picture->size.width(),
                                            picture->size.height()),
                                     window_.language())
                             : Words(edited_.pictureProblem, window_.language()));
    preview_->setPicture(picture);
}

// The picture that was there goes when none is chosen, and stays when another cannot be read.
void TDS_Store::browse() {
    const std::string& path = edited_.project.background;
    const std::string folder =
        path.empty()
            ? KeptFolder(window_.state().store, setting::kDocumentFolder, ToPath(QDir::homePath()))
            : FolderOf(path);
    QFileDialog dialog(this, window_.text(kTextBrowseTitle), QFile::decodeName(folder.c_str()),
                       DialogFilter(Text(kTextFilter, window_.language())));
    dialog.setFileMode(QFileDialog::ExistingFile);
    dialog.setDefaultSuffix(window_.text(kTextExtension));
    EditedLayout chosen;
    if (dialog.exec() == QDialog::Accepted && !dialog.selectedFiles().isEmpty()) {
        chosen.project.background = ToPath(dialog.selectedFiles().first());
        std::optional<Result<BackgroundPicture>> picture;
        window_.runJob(JobKind::Look, [&](Progress& progress) {
            picture = ReadBackground(chosen.project.background, progress);
        });
        if (!picture)
            return;
        if (!*picture) {
            window_.messages().showMessage(picture->error());
            return;
        }
        chosen.picture = **picture;
    }
    edited_.project.background = chosen.project.background;
    edited_.picture = chosen.picture;
    edited_.pictureProblem = {};
    showPicture();
}

std::optional<std::size_t> TDS_Store::currentRow() const {
    const QModelIndex index = list_->currentIndex();
    return index.isValid() ? std::optional(static_cast<std::size_t>(index.row())) : std::nullopt;
}

void TDS_Store::editItem() {
    if (const auto row = currentRow())
        pane_->edit(*row);
}

// The pane goes on showing the item that it shows.
void TDS_Store::move(int way) {
    const auto row = currentRow();
    const std::size_t other = row.value_or(0) + static_cast<std::size_t>(way);
    if (!row || other >= layout().items.size())
        return;
    pane_->store();
    SwapItems(layout(), *row, other);
    if (pane_->row() == row || pane_->row() == other)
        pane_->setRow(pane_->row() == row ? other : *row);
    list_->setCurrentIndex(rows_->index(static_cast<int>(other), 0));
    showLayout();
}

void TDS_Store::updateButtons() {
    const auto row = currentRow();
    up_->setEnabled(row && *row > 0);
    down_->setEnabled(row && *row + 1 < layout().items.size());
    edit_->setEnabled(row.has_value());
}

}  // namespace vellmark
