#include "workbench/layout/item_pane.hpp"

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalBlocker>
#include <QSpinBox>
#include <QVBoxLayout>
#include <algorithm>

#include "workbench/layout/icon_rows.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextSave = 1190;
constexpr int kTextTitle = 1534;
constexpr int kTextName = 1535;
constexpr int kTextVertical = 1536;
constexpr int kTextHorizontal = 1537;
constexpr int kTextHide = 1539;
constexpr int kTextSaveIt = 1540;
constexpr int kTextLoadAnother = 1541;

constexpr int kMostPlace = 500;
constexpr int kStep = 5;
// In average characters, so that the texts below do not make it wider.
constexpr int kNoteWidth = 34;

}  // namespace

void ShowNumber(QSpinBox& field, int number, int most) {
    const QSignalBlocker quiet(field);
    field.setRange(std::min(0, number), std::max(most, number));
    field.setValue(number);
}

QSpinBox* NewNumberField(const char* name, const QString& caption, QWidget* owner) {
    auto* const field = new QSpinBox(owner);
    field->setObjectName(QLatin1String(name));
    field->setAccessibleName(caption);
    field->setSingleStep(kStep);
    return field;
}

ItemPane::ItemPane(DsStoreLayout& layout, Language language, QWidget* owner)
    : QGroupBox(Words(kTextTitle, language).trimmed(), owner),
      layout_(layout),
      language_(language),
      name_(new QLineEdit(this)),
      note_(new QLabel(this)) {
    setObjectName(QStringLiteral("Volet"));
    auto* const column = new QVBoxLayout(this);
    auto* const form = new QFormLayout;
    column->addLayout(form);
    name_->setObjectName(QStringLiteral("Nom"));
    name_->setReadOnly(true);
    name_->setAccessibleName(Words(kTextName, language));
    form->addRow(Words(kTextName, language), name_);
    const auto addField = [&](const char* name, int caption) {
        QSpinBox* const field = NewNumberField(name, Words(caption, language), this);
        form->addRow(Words(caption, language), field);
        return field;
    };
    vertical_ = addField("PosVert", kTextVertical);
    horizontal_ = addField("PosHoriz", kTextHorizontal);
    note_->setObjectName(QStringLiteral("Note"));
    note_->setTextFormat(Qt::PlainText);
    note_->setWordWrap(true);
    note_->setAlignment(Qt::AlignTop | Qt::AlignLeft);
    note_->setMinimumWidth(note_->fontMetrics().averageCharWidth() * kNoteWidth);
    auto* const buttons = new QHBoxLayout;
    const auto addButton = [&](const char* name, int caption, auto run) {
        auto* const button = new QPushButton(Words(caption, language), this);
        button->setObjectName(QLatin1String(name));
        button->setAutoDefault(false);
        connect(button, &QPushButton::clicked, this, [this, run] { (this->*run)(); });
        buttons->addWidget(button);
    };
    addButton("Sauver", kTextSave, &ItemPane::save);
    addButton("Cacher", kTextHide, &ItemPane::hidePane);
    column->addLayout(buttons);
    column->addWidget(note_, 1);
    setVisible(false);
}

void ItemPane::edit(std::size_t row) {
    row_ = row;
    showRow();
    note(kTextSaveIt);
    setVisible(true);
    vertical_->setFocus();
    vertical_->selectAll();
}

void ItemPane::showRow() {
    if (!row_)
        return;
    const PlacedItem& item = layout_.items[*row_];
    name_->setText(ShownName(item));
    name_->setCursorPosition(0);
    name_->setToolTip(name_->text());
    ShowNumber(*vertical_, item.y, kMostPlace);
    ShowNumber(*horizontal_, item.x, kMostPlace);
}

void ItemPane::store() {
    if (!row_)
        return;
    layout_.items[*row_].x = horizontal_->value();
    layout_.items[*row_].y = vertical_->value();
    if (stored_)
        stored_();
}

void ItemPane::save() {
    store();
    note(kTextLoadAnother);
}

void ItemPane::hidePane() {
    store();
    row_.reset();
    setVisible(false);
}

void ItemPane::note(int text) {
    note_->setText(Words(text, language_).trimmed());
}

}  // namespace vellmark
