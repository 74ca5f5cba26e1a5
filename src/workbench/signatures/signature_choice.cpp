#include "workbench/signatures/signature_choice.hpp"

#include <QHeaderView>
#include <QTreeWidget>

#include "session/signature_file.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/signatures/entry_dialog.hpp"

namespace vellmark {

namespace {

constexpr int kTextTable = 1245;
constexpr int kColumns = static_cast<int>(std::size(kSignatureColumnTexts));
// In average characters.
constexpr int kWidths[kColumns] = {16, 16, 16, 34};
constexpr int kLines = 16;

SignatureEntry EntryOf(const SignatureRow& row) {
    return {row.extension, row.signature.substr(0, kMostSignatureField),
            row.signature.size() > kMostSignatureField ? row.signature.substr(kMostSignatureField)
                                                       : std::string(),
            row.comment};
}

void Fill(QTreeWidget& list, const SignatureTable& table) {
    for (const SignatureRow& row : table.rows()) {
        auto* const item = new QTreeWidgetItem(&list);
        for (int column = 0; column < kColumns; ++column)
            item->setText(column, SignatureColumnText(EntryOf(row), column));
    }
    list.setCurrentItem(list.topLevelItem(0));
}

}  // namespace

std::optional<SignatureRow> ChooseSignature(TVellmark& window, QWidget* owner) {
    const SignatureTable& table = SignaturesOf(window.context(), window.messages());
    FormDialog dialog("signatures", window.text(kTextTable), window.language(), owner);
    auto* const list = new QTreeWidget(&dialog);
    list->setObjectName(QStringLiteral("Signatures"));
    list->setAccessibleName(dialog.windowTitle());
    list->setRootIsDecorated(false);
    list->setUniformRowHeights(true);
    list->setAllColumnsShowFocus(true);
    QStringList heads;
    for (const int text : kSignatureColumnTexts)
        heads << window.text(text);
    list->setHeaderLabels(heads);
    const int character = list->fontMetrics().averageCharWidth();
    int width = 4 * character;
    for (int column = 0; column < kColumns; ++column) {
        list->setColumnWidth(column, character * kWidths[column]);
        width += character * kWidths[column];
    }
    list->setMinimumSize(width, list->fontMetrics().height() * kLines);
    Fill(*list, table);
    dialog.addWide(list);
    dialog.addOkAndCancel();
    QObject::connect(list, &QTreeWidget::itemActivated, &dialog, &QDialog::accept);
    if (dialog.exec() != QDialog::Accepted || !list->currentItem())
        return std::nullopt;
    return table.rows()[static_cast<std::size_t>(list->indexOfTopLevelItem(list->currentItem()))];
}

}  // namespace vellmark
