#include "workbench/messages/message_dialogs.hpp"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTextEdit>
#include <QTimer>
#include <QVBoxLayout>
#include <cmath>

#include "workbench/help/help_window.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextCancel = 1002;
constexpr int kTextRemember = 1042;
constexpr int kTextYes = 1043;
constexpr int kTextNo = 1044;

// What No gives where Esc is something else.
constexpr int kSaidNo = QDialog::Accepted + 1;

// Longer texts are broken where the widget sees fit.
constexpr int kMostCharactersALine = 90;

// Wraps where it must, also within a path without a blank, which a label cannot. What is selected
// and copied is the text as it is.
QWidget* NewLongText(const QString& text, int width, QWidget* owner) {
    auto* const shown = new QTextEdit(owner);
    shown->setReadOnly(true);
    shown->setFrameShape(QFrame::NoFrame);
    shown->viewport()->setAutoFillBackground(false);
    shown->setFocusPolicy(Qt::ClickFocus);
    shown->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    shown->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    shown->setWordWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    shown->setPlainText(text);
    shown->document()->setDocumentMargin(0);
    shown->document()->setTextWidth(width);
    shown->setFixedSize(width, static_cast<int>(std::ceil(shown->document()->size().height())));
    return shown;
}

QWidget* NewShortText(const QString& text, QWidget* owner) {
    auto* const label = new QLabel(text, owner);
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    return label;
}

}  // namespace

MessageDialog::MessageDialog(const QString& text, Language language, QWidget* owner)
    : QDialog(owner), column_(new QVBoxLayout(this)), buttons_(new QDialogButtonBox(this)) {
    setWindowTitle(QStringLiteral("Vellmark"));
    setAccessibleName(text);
    const QFontMetrics metrics = fontMetrics();
    const int most = metrics.averageCharWidth() * kMostCharactersALine;
    column_->addWidget(metrics.size(0, text).width() > most ? NewLongText(text, most, this)
                                                            : NewShortText(text, this));
    column_->addWidget(buttons_);
    AddHelpButton(*buttons_, "messages", language);
    column_->setSizeConstraint(QLayout::SetFixedSize);
}

QPushButton* MessageDialog::addButton(const char* name, const QString& caption, int result) {
    auto* button = new QPushButton(caption, this);
    button->setObjectName(QLatin1String(name));
    if (!first_)
        first_ = button;
    buttons_->addButton(button,
                        result == Accepted ? QDialogButtonBox::YesRole : QDialogButtonBox::NoRole);
    connect(button, &QPushButton::clicked, this, [this, result] { done(result); });
    return button;
}

void MessageDialog::addRememberBox(Language language) {
    remember_ = new QCheckBox(Words(kTextRemember, language), this);
    remember_->setObjectName(QStringLiteral("Toujours"));
    column_->insertWidget(1, remember_);
    // It stands above the buttons, and they have the first key.
    setTabOrder(remember_, first_);
    first_->setFocus();
}

TMessOK::TMessOK(const QString& text, Language language, int interval, QWidget* owner)
    : MessageDialog(text, language, owner) {
    addButton("MessFermer", Words(kTextClose, language), Rejected)->setDefault(true);
    if (interval != 0)
        QTimer::singleShot(interval, this, &QDialog::reject);
}

TMessON::TMessON(const QString& text, Language language, QWidget* owner)
    : MessageDialog(text, language, owner) {
    addButton("MessOui", Words(kTextYes, language), Accepted)->setDefault(true);
    addButton("MessNon", Words(kTextNo, language), Rejected);
}

TMessONA::TMessONA(const QString& text, Language language, QWidget* owner)
    : MessageDialog(text, language, owner) {
    addButton("MessOui", Words(kTextYes, language), Accepted)->setDefault(true);
    addButton("MessNon", Words(kTextNo, language), kSaidNo);
    addButton("MessAnnuler", Words(kTextCancel, language), Rejected);
}

std::optional<bool> TMessONA::ask() {
    const int said = exec();
    return said == Rejected ? std::nullopt : std::optional(said == Accepted);
}

TMessONT::TMessONT(const QString& text, Language language, QWidget* owner)
    : MessageDialog(text, language, owner) {
    addButton("MessOui", Words(kTextYes, language), Accepted)->setDefault(true);
    addButton("MessNon", Words(kTextNo, language), Rejected);
    addRememberBox(language);
}

Answer TMessONT::ask() {
    const bool isYes = exec() == Accepted;
    if (isRemembered())
        return isYes ? Answer::YesToAll : Answer::NoToAll;
    return isYes ? Answer::Yes : Answer::No;
}

TMessAnn::TMessAnn(const QString& text, Language language, QWidget* owner)
    : MessageDialog(text, language, owner) {
    addButton("MessFermer", Words(kTextClose, language), Rejected)->setDefault(true);
    addRememberBox(language);
}

bool TMessAnn::show() {
    (void)exec();
    return isRemembered();
}

}  // namespace vellmark
