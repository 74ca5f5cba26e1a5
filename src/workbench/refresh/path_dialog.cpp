#include "workbench/refresh/path_dialog.hpp"

#include <QComboBox>
#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

#include "project/access_path.hpp"
#include "support/encoding.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextBrowse = 1060;
constexpr int kTextTitle = 1145;
constexpr int kTextOld = 1146;
constexpr int kTextNew = 1147;
constexpr int kTextMoved = 1148;

constexpr int kCharacters = 60;

}  // namespace

std::optional<PathsWanted> AskPaths(TVellmark& window) {
    FormDialog dialog("paths", window.text(kTextTitle), window.language(), &window);
    auto* const from = new QComboBox(&dialog);
    from->setObjectName(QStringLiteral("Ancien"));
    from->setEditable(true);
    from->setMinimumWidth(dialog.fontMetrics().averageCharWidth() * kCharacters);
    for (const std::string& path : TopAccessPaths(*window.documents().projectOfMode()->file))
        from->addItem(ToQString(NarrowToUtf8(path)));
    dialog.addRow(window.text(kTextOld), from);
    auto* const to = new QLineEdit(&dialog);
    to->setObjectName(QStringLiteral("Nouveau"));
    const QPushButton* const browse =
        dialog.addRowWithButton(window.text(kTextNew), to, "Parcourir", window.text(kTextBrowse));
    to->setFocus();
    QObject::connect(browse, &QPushButton::clicked, &dialog, [&] {
        const QString folder =
            QFileDialog::getExistingDirectory(&dialog, window.text(kTextMoved), to->text());
        if (!folder.isEmpty())
            to->setText(folder);
    });
    dialog.addOkAndCancel();
    auto* const ok = dialog.findChild<QPushButton*>(QStringLiteral("OK"));
    const auto check = [=] {
        ok->setEnabled(!from->currentText().isEmpty() && !to->text().isEmpty());
    };
    QObject::connect(from, &QComboBox::editTextChanged, &dialog, check);
    QObject::connect(to, &QLineEdit::textChanged, &dialog, check);
    check();
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return PathsWanted{from->currentText().toStdString(), ToPath(to->text())};
}

}  // namespace vellmark
