#include "workbench/dialogs/name_dialogs.hpp"

#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include "session/session_state.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
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

constexpr int kTextImportTitle = 1490;
constexpr int kTextImportNote = 1491;
constexpr int kTextFullName = 1492;
constexpr int kTextShortName = 1493;
constexpr int kTextImportAutomatic = 1494;
constexpr int kTextImportCrc = 1495;
constexpr int kTextImportSave = 1496;

constexpr int kMostProjectCharacters = 62;
constexpr int kMostHfsCharacters = 31;
constexpr int kMostHfsPlusCharacters = 255;

int TitleOf(TruncatedName kind) {
    switch (kind) {
        case TruncatedName::Iso:
            return kTextIsoTitle;
        case TruncatedName::Hfs:
            return kTextHfsTitle;
        case TruncatedName::HfsPlus:
        case TruncatedName::Imported:
            break;
    }
    return kTextHfsPlusTitle;
}

// A project keeps no more of a name, in HFS+ neither.
int MostOf(TruncatedName kind) {
    return kind == TruncatedName::Hfs ? kMostHfsCharacters : kMostProjectCharacters;
}

class NameDialog : public FormDialog {
  public:
    NameDialog(int title, Language language, QWidget* owner)
        : FormDialog("names", Words(title, language), language, owner) {}

    QLineEdit* addNameField(int caption, const QString& value, int most) {
        QLineEdit* const name = addField("Nom", caption, value, most);
        name->selectAll();
        name->setFocus();
        return name;
    }
    // The name can be accepted while it is not empty.
    QLineEdit* addName(int caption, const QString& value, int most) {
        QLineEdit* const name = addNameField(caption, value, most);
        addOkAndCancel();
        auto* const ok = findChild<QPushButton*>(QStringLiteral("OK"));
        connect(name, &QLineEdit::textChanged, ok,
                [ok](const QString& text) { ok->setEnabled(!text.isEmpty()); });
        return name;
    }
};

}  // namespace

TruncationAnswer AskTruncation(TruncatedName kind, std::string_view fullName,
                               std::string_view proposal, Language language, QWidget* owner) {
    NameDialog dialog(TitleOf(kind), language, owner);
    dialog.addFact(kTextOriginal, ToQString(Printable(fullName)));
    const QCheckBox* const automatic = dialog.addBox("Auto", kTextAutomatic, false);
    const QLineEdit* const name = dialog.addName(kTextTruncated, ToQString(proposal), MostOf(kind));
    TruncationAnswer answer;
    answer.accepted = dialog.exec() == QDialog::Accepted;
    answer.automatic = automatic->isChecked();
    answer.name = name->text().toStdString();
    return answer;
}

TruncationAnswer AskImportedName(std::string_view fullName, std::string_view proposal,
                                 SessionState& state, Language language, QWidget* owner) {
    NameDialog dialog(kTextImportTitle, language, owner);
    dialog.addNote(Words(kTextImportNote, language));
    dialog.addFact(kTextFullName, ToQString(Printable(fullName)));
    Settings& settings = state.settings;
    const QLineEdit* const name =
        dialog.addNameField(kTextShortName, ToQString(proposal), kMostHfsCharacters);
    const QCheckBox* const automatic = dialog.addBox("Auto", kTextImportAutomatic, false);
    const QCheckBox* const addsCrc =
        dialog.addBox("CRC", kTextImportCrc, settings.has(kOptionAddedCrc));
    const QCheckBox* const saves = dialog.addBox("Garder", kTextImportSave, false);
    dialog.addOkAndCancel();
    TruncationAnswer answer;
    answer.accepted = dialog.exec() == QDialog::Accepted;
    answer.automatic = automatic->isChecked();
    answer.addsCrc = addsCrc->isChecked();
    answer.name = name->text().toStdString();
    if (answer.accepted && saves->isChecked()) {
        settings.options &= ~std::uint32_t{kOptionShortenImported | kOptionAddedCrc};
        settings.options |= (answer.automatic ? kOptionShortenImported : 0u) |
                            (answer.addsCrc ? kOptionAddedCrc : 0u);
        state.store.write(setting::kOptions, std::to_string(settings.options));
    }
    return answer;
}

std::optional<std::string> AskShorterName(std::string_view path, std::string_view proposal,
                                          std::size_t mostBytes, Language language,
                                          QWidget* owner) {
    NameDialog dialog(kTextPcNameTitle, language, owner);
    dialog.addNote(Words(Reason(Sentence::kNameTooLongOnPc, mostBytes), language));
    dialog.addFact(kTextOriginal, ToQString(Printable(path)));
    QLineEdit* const name = dialog.addNameField(kTextPcName, ToQString(proposal), 0);
    name->setObjectName(QStringLiteral("cont_fich"));
    auto* const length = new QLabel(&dialog);
    dialog.addRow(Words(Sentence::kLengthInBytes, language), length);
    dialog.addOkAndCancel();
    auto* const ok = dialog.findChild<QPushButton*>(QStringLiteral("OK"));
    const auto measure = [=](const QString& text) {
        const auto bytes = static_cast<std::size_t>(text.toUtf8().size());
        length->setText(QStringLiteral("%1 / %2").arg(bytes).arg(mostBytes));
        ok->setEnabled(bytes > 0 && bytes <= mostBytes);
    };
    QObject::connect(name, &QLineEdit::textChanged, &dialog, measure);
    measure(name->text());
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return name->text().toStdString();
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
