// The dialogs that say or ask something.
#pragma once

#include <QCheckBox>
#include <QDialog>
#include <QString>
#include <optional>

#include "support/messages.hpp"
#include "support/texts.hpp"

class QDialogButtonBox;
class QVBoxLayout;

namespace vellmark {

/// What they have in common: a text over a row of buttons. Esc is No or Close.
class MessageDialog : public QDialog {
  public:
    MessageDialog(const QString& text, Language language, QWidget* owner);

  protected:
    QPushButton* addButton(const char* name, const QString& caption, int result);
    void addRememberBox(Language language);
    [[nodiscard]] bool isRemembered() const { return remember_ && remember_->isChecked(); }

  private:
    QVBoxLayout* column_;
    QDialogButtonBox* buttons_;
    QPushButton* first_ = nullptr;
    QCheckBox* remember_ = nullptr;
};

/// A message with a button to close it; it closes itself after `interval` milliseconds unless that
/// is 0.
class TMessOK final : public MessageDialog {
  public:
    TMessOK(const QString& text, Language language, int interval, QWidget* owner);
};

/// A question with yes and no.
class TMessON final : public MessageDialog {
  public:
    TMessON(const QString& text, Language language, QWidget* owner);
    [[nodiscard]] bool ask() { return exec() == QDialog::Accepted; }
};

/// A question before something is left: yes, no, or not to leave it. Esc is the last.
class TMessONA final : public MessageDialog {
  public:
    TMessONA(const QString& text, Language language, QWidget* owner);
    /// Nothing for not to leave it.
    [[nodiscard]] std::optional<bool> ask();
};

/// A question with yes and no for many items: the answer can be kept.
class TMessONT final : public MessageDialog {
  public:
    TMessONT(const QString& text, Language language, QWidget* owner);
    [[nodiscard]] Answer ask();
};

/// A message that need not come again.
class TMessAnn final : public MessageDialog {
  public:
    TMessAnn(const QString& text, Language language, QWidget* owner);
    /// True when it is not to come again.
    [[nodiscard]] bool show();
};

}  // namespace vellmark
