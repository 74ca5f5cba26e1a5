#include "workbench/dialogs/name_dialogs.hpp"

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>

#include "support/encoding.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextNewFolder = 1115;
constexpr int kTextNewFolderTitle = 1132;
constexpr int kTextFolderName = 1133;
constexpr int kTextPcNameTitle = 1136;
constexpr int kTextPcName = 1138;
constexpr int kTextHfsPlusTitle = 1279;
constexpr int kTextIsoTitle = 1280;
constexpr int kTextAutomatic = 1281;
constexpr int kTextHfsTitle = 1282;
constexpr int kTextOriginal = 1283;
constexpr int kTextTruncated = 1284;

constexpr int kMostHfsCharacters = 31;
constexpr int kMostHfsPlusCharacters = 255;

int TitleOf(TruncatedName kind) {
    switch (kind) {
        case TruncatedName::Iso:
            return kTextIsoTitle;
        case TruncatedName::Hfs:
            return kTextHfsTitle;
        case TruncatedName::HfsPlus:
            break;
    }
    return kTextHfsPlusTitle;
}

class NameDialog : public FormDialog {
  public:
    NameDialog(int title, Language language, QWidget* owner)
        : FormDialog("names", Words(title, language), language, owner) {}

    // The name can be accepted while it is not empty.
    QLineEdit* addName(int caption, const QString& value, int most) {
        QLineEdit* const name = addField("Nom", caption, value, most);
        addOkAndCancel();
        auto* const ok = findChild<QPushButton*>(QStringLiteral("OK"));
        connect(name, &QLineEdit::textChanged, ok,
                [ok](const QString& text) { ok->setEnabled(!text.isEmpty()); });
        name->selectAll();
        name->setFocus();
        return name;
    }
};

}  // namespace

TruncationAnswer AskTruncation(TruncatedName kind, std::string_view fullName,
                               std::string_view proposal, Language language, QWidget* owner) {
    NameDialog dialog(TitleOf(kind), language, owner);
    dialog.addFact(kTextOriginal, ToQString(Printable(fullName)));
    const QCheckBox* const automatic = dialog.addBox("Auto", kTextAutomatic, false);
    const QLineEdit* const name =
        dialog.addName(kTextTruncated, ToQString(proposal), static_cast<int>(proposal.size()));
    TruncationAnswer answer;
    answer.accepted = dialog.exec() == QDialog::Accepted;
    answer.automatic = automatic->isChecked();
    answer.name = name->text().toStdString();
    return answer;
}

std::optional<std::string> AskPcName(std::string_view proposal, Language language, QWidget* owner) {
    NameDialog dialog(kTextPcNameTitle, language, owner);
    const QLineEdit* const name =
        dialog.addName(kTextPcName, ToQString(proposal), kMostHfsPlusCharacters);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return name->text().toStdString();
}

std::optional<std::string> AskFolderName(bool isHfsPlus, Language language, QWidget* owner) {
    NameDialog dialog(kTextNewFolderTitle, language, owner);
    const QLineEdit* const name =
        dialog.addName(kTextFolderName, Words(kTextNewFolder, language),
                       isHfsPlus ? kMostHfsPlusCharacters : kMostHfsCharacters);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return name->text().toStdString();
}

}  // namespace vellmark
