#include "workbench/dialogs/list_choice.hpp"

#include <QListWidget>

#include "workbench/dialogs/form.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kLeastCharacters = 60;

}  // namespace

std::optional<std::size_t> ChooseFromList(std::string_view question,
                                          std::span<const std::string> names, Language language,
                                          QWidget* owner) {
    FormDialog dialog("choice", ToQString(question), language, owner);
    auto* list = new QListWidget(&dialog);
    list->setObjectName(QStringLiteral("Liste"));
    list->setAccessibleName(ToQString(question));
    list->setMinimumWidth(list->fontMetrics().averageCharWidth() * kLeastCharacters);
    for (const std::string& name : names)
        list->addItem(ToQString(name));
    list->setCurrentRow(0);
    dialog.addWide(list);
    dialog.addOkAndCancel();
    QObject::connect(list, &QListWidget::itemActivated, &dialog, &QDialog::accept);
    if (dialog.exec() != QDialog::Accepted || list->currentRow() < 0)
        return std::nullopt;
    return static_cast<std::size_t>(list->currentRow());
}

}  // namespace vellmark
