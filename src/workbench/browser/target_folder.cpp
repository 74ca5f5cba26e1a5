#include "workbench/browser/target_folder.hpp"

#include <unistd.h>

#include <QFileDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>
#include <cerrno>

#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextCancel = 1002;
constexpr int kTextBrowse = 1060;
constexpr int kTextTitle = 1129;
constexpr int kTextCopyNow = 1139;
constexpr int kTextSelectFolder = 1501;

class TDestSel final : public FormDialog {
  public:
    TDestSel(TVellmark& window, const std::string& folder)
        : FormDialog("target", window.text(kTextTitle), window.language(), &window),
          window_(window) {
        addNote(words(kTextSelectFolder));
        auto* const row = new QWidget(this);
        path_ = new QLineEdit(QFile::decodeName(folder.c_str()), row);
        path_->setObjectName(QStringLiteral("Chemin"));
        path_->setAccessibleName(windowTitle());
        path_->setMinimumWidth(fontMetrics().averageCharWidth() * 50);
        auto* const browse = new QPushButton(words(kTextBrowse), row);
        browse->setObjectName(QStringLiteral("Browse"));
        browse->setAutoDefault(false);
        auto* const columns = new QHBoxLayout(row);
        columns->setContentsMargins(0, 0, 0, 0);
        columns->addWidget(path_, 1);
        columns->addWidget(browse);
        addWide(row);
        connect(browse, &QPushButton::clicked, this, [this] { chooseFolder(); });
        QPushButton* const copy = addButton("CopNow", words(kTextCopyNow), Accepted);
        copy->setDefault(true);
        connect(path_, &QLineEdit::textChanged, copy,
                [copy](const QString& text) { copy->setEnabled(!text.isEmpty()); });
        addButton("Cancel", words(kTextCancel), Rejected);
        path_->setFocus();
    }

    /// From the root, without a slash at its end.
    [[nodiscard]] std::string folder() const {
        return ToPath(QDir::cleanPath(QDir(path_->text()).absolutePath()));
    }

    // A folder that cannot take anything leaves the dialog open.
    void done(int result) override {
        if (result == Accepted) {
            // The stroke at its end asks for a folder.
            if (::access((folder() + "/").c_str(), W_OK | X_OK) != 0) {
                window_.messages().showMessage(
                    Reason(Sentence::kNamedReason, Printable(folder()), SystemError{errno}));
                return;
            }
        }
        FormDialog::done(result);
    }

  private:
    void chooseFolder() {
        const QString chosen =
            QFileDialog::getExistingDirectory(this, words(kTextSelectFolder), path_->text());
        if (!chosen.isEmpty())
            path_->setText(chosen);
    }

    TVellmark& window_;
    QLineEdit* path_;
};

}  // namespace

std::optional<std::string> AskTargetFolder(TVellmark& window) {
    SettingsStore& store = window.state().store;
    TDestSel dialog(window, KeptFolder(store, setting::kCopyFolder, ToPath(QDir::homePath())));
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    KeepFolderOf(dialog.folder() + "/", setting::kCopyFolder, store);
    return dialog.folder();
}

}  // namespace vellmark
