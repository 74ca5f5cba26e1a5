#include "workbench/inspect/viewer_dialogs.hpp"

#include <QCheckBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <algorithm>

#include "support/sentences.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/inspect/page_view.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextCancel = 1002;
constexpr int kTextSearch = 3048;
constexpr int kTextWanted = 3049;
constexpr int kTextStart = 3050;
constexpr int kTextAtStarts = 3051;
constexpr int kTextGo = 3078;
constexpr int kTextSector = 3079;
constexpr int kTextFontSize = 3150;
constexpr int kTextFontNote = 3151;

}  // namespace

std::optional<std::string> AskForSector(const std::string& current, Language language,
                                        QWidget* owner) {
    FormDialog dialog("viewer", Words(kTextGo, language), language, owner);
    QLineEdit* const field = dialog.addField("Secteur", kTextSector, ToQString(current));
    field->selectAll();
    dialog.addOkAndCancel();
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return field->text().toStdString();
}

std::optional<SearchWish> AskForSearch(const SearchWish& last, Language language, QWidget* owner) {
    FormDialog dialog("viewersearch", Words(kTextSearch, language), language, owner);
    QLineEdit* const field = dialog.addField("Chaine", kTextWanted, ToQString(last.text));
    field->selectAll();
    QCheckBox* const starts = dialog.addBox("DebutSecteur", kTextAtStarts, last.atSectorStarts);
    auto* const digits = new QCheckBox(Words(Sentence::kSearchInDigits, language), &dialog);
    digits->setObjectName(QStringLiteral("Chiffres"));
    digits->setChecked(last.isHexadecimal);
    dialog.addRow(QString(), digits);
    QPushButton* const start =
        dialog.addButton("Rechercher", dialog.words(kTextStart), QDialog::Accepted);
    start->setDefault(true);
    const auto follow = [&] { start->setEnabled(!field->text().isEmpty()); };
    QObject::connect(field, &QLineEdit::textChanged, &dialog, follow);
    follow();
    dialog.addButton("Cancel", dialog.words(kTextCancel), QDialog::Rejected);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return SearchWish{field->text().toStdString(), digits->isChecked(), starts->isChecked()};
}

std::optional<int> AskFontSize(int now, Language language, QWidget* owner) {
    FormDialog dialog("viewer", Words(kTextFontSize, language), language, owner);
    dialog.setObjectName(QStringLiteral("TSelCorps"));
    dialog.addNote(Words(kTextFontNote, language));
    auto* const list = new QListWidget(&dialog);
    list->setObjectName(QStringLiteral("Corps"));
    list->setAccessibleName(Words(kTextFontSize, language));
    for (int points = kLeastPoints; points <= kMostPoints; ++points)
        list->addItem(QString::number(points));
    list->setCurrentRow(std::clamp(now, kLeastPoints, kMostPoints) - kLeastPoints);
    dialog.addWide(list);
    dialog.addOkAndCancel();
    QObject::connect(list, &QListWidget::itemActivated, &dialog, &QDialog::accept);
    list->setFocus();
    if (dialog.exec() != QDialog::Accepted || list->currentRow() < 0)
        return std::nullopt;
    return kLeastPoints + list->currentRow();
}

}  // namespace vellmark
