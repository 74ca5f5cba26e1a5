#include "workbench/signatures/signature_key.hpp"

#include <QFileDialog>
#include <QLineEdit>
#include <QPushButton>

#include "session/signature_file.hpp"
#include "support/backup_path.hpp"
#include "support/encoding.hpp"
#include "support/pc_folder.hpp"
#include "transfer/import_batch.hpp"
#include "workbench/commands/handlers.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/signatures/sign_edit.hpp"

namespace vellmark {

namespace {

constexpr int kTextKeyTitle = 1054;
constexpr int kTextKey = 1055;
constexpr int kTextContents = 1056;
constexpr int kTextEmpty = 1058;
constexpr int kTextBrowse = 1060;
constexpr int kTextRegistering = 5330;
constexpr int kTextRegisteredKey = 5331;
constexpr int kTextRegisteredNow = 5332;
constexpr int kTextRegisteredFile = 5333;
constexpr int kTextFilter = 5419;
constexpr int kTextOpen = 5420;
constexpr int kTextSave = 5421;
constexpr int kTextExtension = 5422;

QString KeyName(TVellmark& window) {
    return ToQString(Printable(window.state().store.placeOf(setting::kSignatures)));
}

// What is registered, if that is a path at all.
QString Registered(TVellmark& window) {
    const std::string path = OpenRegisteredSigFile(window.state().store);
    return path.starts_with('/') ? ToQString(Printable(path)) : window.text(kTextEmpty);
}

QString SigFilter(TVellmark& window) {
    return DialogFilter(Text(kTextFilter, window.language()));
}

class KeyDialog final : public FormDialog {
  public:
    explicit KeyDialog(TVellmark& window)
        : FormDialog("signatures", window.text(kTextKeyTitle), window.language(), &window),
          window_(window),
          path_(OpenRegisteredSigFile(window.state().store)) {
        addFact(kTextKey, KeyName(window));
        field_ = addField("Fichier", kTextContents, Registered(window));
        field_->setReadOnly(true);
        field_->setCursorPosition(0);
        auto* const browse = new QPushButton(words(kTextBrowse) + QStringLiteral("..."), this);
        browse->setObjectName(QStringLiteral("Parcourir"));
        browse->setAutoDefault(false);
        addRow(QString(), browse);
        browse->setAccessibleName(browse->text());
        browse->setFocus();
        connect(browse, &QPushButton::clicked, this, [this] { chooseFile(); });
        addOkAndCancel();
    }

    /// "" when it is the one that is registered already.
    [[nodiscard]] const std::string& chosen() const { return chosen_; }

  private:
    void chooseFile() {
        const std::optional<std::string> path = AskSigFile(window_, path_, this);
        if (!path)
            return;
        path_ = chosen_ = *path;
        field_->setText(ToQString(Printable(path_)));
        field_->setCursorPosition(0);
    }

    TVellmark& window_;
    std::string path_;
    std::string chosen_;
    QLineEdit* field_;
};

}  // namespace

std::optional<std::string> AskSigFile(TVellmark& window, const std::string& at, QWidget* owner) {
    const QString path = QFileDialog::getOpenFileName(
        owner, window.text(kTextOpen), QFile::decodeName(at.c_str()), SigFilter(window));
    return path.isEmpty() ? std::nullopt : std::optional(ToPath(path));
}

std::optional<std::string> AskSigTarget(TVellmark& window, const std::string& at, QWidget* owner) {
    const QString path =
        QFileDialog::getSaveFileName(owner, window.text(kTextSave), QFile::decodeName(at.c_str()),
                                     SigFilter(window), nullptr, QFileDialog::DontConfirmOverwrite);
    if (path.isEmpty())
        return std::nullopt;
    const std::string given = ToPath(path);
    return PcNameOfPath(given).find('.') == std::string::npos
               ? WithExtension(given, Text(kTextExtension, window.language()))
               : given;
}

void ConfirmRegistration(TVellmark& window, const std::string& path, QWidget* owner) {
    FormDialog dialog("signatures", window.text(kTextRegistering), window.language(), owner);
    dialog.addFact(window.text(kTextRegisteredKey).trimmed(), KeyName(window));
    dialog.addFact(window.text(kTextRegisteredNow).trimmed(), Registered(window));
    dialog.addFact(window.text(kTextRegisteredFile).trimmed(), ToQString(Printable(path)));
    dialog.addOkAndCancel();
    if (dialog.exec() == QDialog::Accepted)
        (void)RegisterSignatures(window.state().store, path, window.messages());
}

void ManageSignatureKey(TVellmark& window) {
    KeyDialog dialog(window);
    if (dialog.exec() != QDialog::Accepted)
        return;
    if (!dialog.chosen().empty())
        (void)RegisterSignatures(window.state().store, dialog.chosen(), window.messages());
    TakeSignaturesAnew(window);
}

}  // namespace vellmark
