#include "workbench/messages/message_dialogs.hpp"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QTimer>
#include <QVBoxLayout>

#include "workbench/dialogs/help_dialog.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextClose = 1000;
constexpr int kTextRemember = 1042;
constexpr int kTextYes = 1043;
constexpr int kTextNo = 1044;

// Longer texts are broken where the widget sees fit.
constexpr int kMostCharactersALine = 90;

// A path without a blank can be longer than a line: it is broken behind its slashes, by characters
// that take no room.
QString Breakable(QString text) {
    constexpr QChar kBreak(0x200b);
    qsizetype start = 0;
    for (qsizetype at = 0; at < text.size(); ++at) {
        if (text[at].isSpace())
            start = at + 1;
        if (at - start + 1 < kMostCharactersALine)
            continue;
        const qsizetype slash = text.lastIndexOf(u'/', at);
        start = slash > start ? slash + 1 : at + 1;
        text.insert(start, kBreak);
    }
    return text;
}

}  // namespace

MessageDialog::MessageDialog(const QString& text, Language language, QWidget* owner)
    : QDialog(owner), column_(new QVBoxLayout(this)), buttons_(new QDialogButtonBox(this)) {
    setWindowTitle(QStringLiteral("Vellmark"));
    setAccessibleName(text);
    auto* label = new QLabel(text, this);
    label->setObjectName(QStringLiteral("MessTexte"));
    label->setTextFormat(Qt::PlainText);
    label->setTextInteractionFlags(Qt::TextSelectableByMouse);
    const QFontMetrics metrics = label->fontMetrics();
    if (metrics.size(0, text).width() > metrics.averageCharWidth() * kMostCharactersALine) {
        label->setText(Breakable(text));
        label->setWordWrap(true);
        label->setMinimumWidth(metrics.averageCharWidth() * kMostCharactersALine);
    }
    column_->addWidget(label);
    column_->addWidget(buttons_);
    AddHelpButton(*buttons_, language);
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
