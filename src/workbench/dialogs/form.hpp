// What dialogs have in common: labelled rows over a row of buttons.
#pragma once

#include <QDialog>
#include <QString>
#include <cstdint>

#include "support/texts.hpp"

class QCheckBox;
class QDialogButtonBox;
class QFormLayout;
class QLineEdit;
class QPushButton;
class QVBoxLayout;

namespace vellmark {

class FormDialog : public QDialog {
  public:
    /// `topic` of the help is what its button shows.
    FormDialog(const char* topic, const QString& title, Language language, QWidget* owner);

    [[nodiscard]] Language language() const { return language_; }
    [[nodiscard]] QString words(int number) const;

    /// A row with a text to be read.
    void addFact(int caption, const QString& value);
    void addFact(const QString& caption, const QString& value);
    /// The widget of such a row: a text that fits is a label, a longer one can be gone through.
    [[nodiscard]] QWidget* newFact(const QString& value);
    /// A size with one digit behind the point, as the language has it.
    void addMegabytes(int caption, std::uint64_t discSectors);
    /// A text below the rows above it, as wide as they are.
    void addNote(const QString& text);
    /// A row with a text to be changed; `most` characters at most, 0 for any number.
    QLineEdit* addField(const char* name, int caption, const QString& value, int most = 0);
    QCheckBox* addBox(const char* name, int caption, bool isOn);
    void addWide(QWidget* widget);
    void addRow(const QString& caption, QWidget* widget);
    /// The same with a button behind the widget, which does not close the dialog.
    QPushButton* addRowWithButton(const QString& caption, QWidget* widget, const char* name,
                                  const QString& buttonCaption);

    QPushButton* addButton(const char* name, const QString& caption, int result);
    /// OK and Cancel.
    void addOkAndCancel();

    [[nodiscard]] QFormLayout& form() { return *form_; }

  private:
    Language language_;
    QVBoxLayout* column_;
    QFormLayout* form_;
    QDialogButtonBox* buttons_;
};

}  // namespace vellmark
