#include "workbench/dialogs/form.hpp"

#include <QCheckBox>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QLocale>
#include <QPushButton>
#include <QVBoxLayout>
#include <algorithm>

#include "workbench/help/help_window.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextOk = 1001;
constexpr int kTextCancel = 1002;

// Fields are at least that wide, in average characters.
constexpr int kFieldCharacters = 32;
constexpr int kMostFactCharacters = 60;
// A title makes a dialog at most as wide; so much go to what stands beside it.
constexpr int kMostTitle = 110;
constexpr int kTitleButtons = 16;
constexpr double kSectorsAMegabyte = 512;

}  // namespace

FormDialog::FormDialog(const char* topic, const QString& title, Language language, QWidget* owner)
    : QDialog(owner),
      language_(language),
      column_(new QVBoxLayout(this)),
      form_(new QFormLayout),
      buttons_(new QDialogButtonBox(this)) {
    setWindowTitle(title);
    // Desktops write it bolder, between their buttons.
    const QFontMetrics metrics = fontMetrics();
    setMinimumWidth(std::min(
        metrics.horizontalAdvance(title) * 5 / 4 + metrics.averageCharWidth() * kTitleButtons,
        metrics.averageCharWidth() * kMostTitle));
    form_->setFieldGrowthPolicy(QFormLayout::AllNonFixedFieldsGrow);
    column_->addLayout(form_);
    column_->addStretch(1);
    column_->addWidget(buttons_);
    AddHelpButton(*buttons_, topic, language);
}

QString FormDialog::words(int number) const {
    return Words(number, language_);
}

void FormDialog::addFact(int caption, const QString& value) {
    addFact(words(caption), value);
}

void FormDialog::addFact(const QString& caption, const QString& value) {
    QWidget* const shown = newFact(value);
    form_->addRow(caption, shown);
    shown->setAccessibleName(caption + u' ' + value);
}

QWidget* FormDialog::newFact(const QString& value) {
    if (fontMetrics().horizontalAdvance(value) <=
        fontMetrics().averageCharWidth() * kMostFactCharacters) {
        auto* const label = new QLabel(value, this);
        label->setTextFormat(Qt::PlainText);
        label->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
        return label;
    }
    // A path can be wider than the screen.
    auto* const line = new QLineEdit(value, this);
    line->setReadOnly(true);
    line->setMinimumWidth(fontMetrics().averageCharWidth() * kMostFactCharacters);
    line->setToolTip(value);
    line->setCursorPosition(0);
    return line;
}

void FormDialog::addMegabytes(int caption, std::uint64_t discSectors) {
    const QLocale locale(language_ == Language::French ? QLocale::French : QLocale::English);
    addFact(caption, locale.toString(static_cast<double>(discSectors) / kSectorsAMegabyte, 'f', 1));
}

void FormDialog::addNote(const QString& text) {
    auto* const label = new QLabel(text, this);
    label->setObjectName(QStringLiteral("Note"));
    label->setTextFormat(Qt::PlainText);
    label->setWordWrap(true);
    form_->addRow(label);
}

QLineEdit* FormDialog::addField(const char* name, int caption, const QString& value, int most) {
    auto* field = new QLineEdit(value, this);
    field->setObjectName(QLatin1String(name));
    field->setMinimumWidth(field->fontMetrics().averageCharWidth() * kFieldCharacters);
    if (most > 0)
        field->setMaxLength(most);
    field->setAccessibleName(words(caption));
    // What can be changed comes before what can only be read.
    if (!focusWidget())
        field->setFocus();
    form_->addRow(words(caption), field);
    return field;
}

QCheckBox* FormDialog::addBox(const char* name, int caption, bool isOn) {
    auto* box = new QCheckBox(words(caption), this);
    box->setObjectName(QLatin1String(name));
    box->setChecked(isOn);
    form_->addRow(QString(), box);
    return box;
}

void FormDialog::addWide(QWidget* widget) {
    form_->addRow(widget);
}

void FormDialog::addRow(const QString& caption, QWidget* widget) {
    widget->setAccessibleName(caption);
    form_->addRow(caption, widget);
}

QPushButton* FormDialog::addRowWithButton(const QString& caption, QWidget* widget, const char* name,
                                          const QString& buttonCaption) {
    auto* const row = new QWidget(this);
    auto* const both = new QHBoxLayout(row);
    both->setContentsMargins(0, 0, 0, 0);
    auto* const button = new QPushButton(buttonCaption, row);
    button->setObjectName(QLatin1String(name));
    button->setAutoDefault(false);
    both->addWidget(widget, 1);
    both->addWidget(button);
    addRow(caption, row);
    widget->setAccessibleName(caption);
    row->setFocusProxy(widget);
    return button;
}

QPushButton* FormDialog::addButton(const char* name, const QString& caption, int result) {
    auto* button = new QPushButton(caption, this);
    button->setObjectName(QLatin1String(name));
    buttons_->addButton(
        button, result == Rejected ? QDialogButtonBox::RejectRole : QDialogButtonBox::AcceptRole);
    connect(button, &QPushButton::clicked, this, [this, result] {
        if (result == Rejected)
            reject();
        else
            done(result);
    });
    return button;
}

void FormDialog::addOkAndCancel() {
    addButton("OK", words(kTextOk), Accepted)->setDefault(true);
    addButton("Cancel", words(kTextCancel), Rejected);
}

}  // namespace vellmark
