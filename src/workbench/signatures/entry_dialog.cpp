#include "workbench/signatures/entry_dialog.hpp"

#include <QLineEdit>
#include <algorithm>

#include "support/encoding.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/messages/message_dialogs.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextNew = 5319;
constexpr int kTextEdit = 5320;

using Field = std::string SignatureEntry::*;
constexpr Field kFields[] = {&SignatureEntry::extension, &SignatureEntry::type,
                             &SignatureEntry::creator, &SignatureEntry::comment};

struct FieldRow {
    const char* name;
    int caption;
    std::size_t most;
};
constexpr FieldRow kRows[] = {{"Extension", 5321, kMostSignatureField},
                              {"Type", 5322, kMostSignatureField},
                              {"Createur", 5323, kMostSignatureField},
                              {"Commentaire", 5324, kMostSignatureComment}};

class EntryDialog final : public FormDialog {
  public:
    EntryDialog(const SignatureEntry* entry, Language language, QWidget* owner)
        : FormDialog("signatures", Words(entry ? kTextEdit : kTextNew, language), language, owner),
          old_(entry ? *entry : SignatureEntry()) {
        for (std::size_t i = 0; i < std::size(kRows); ++i) {
            const QString text = SignatureColumnText(old_, static_cast<int>(i));
            fields_[i] =
                addField(kRows[i].name, kRows[i].caption, text,
                         std::max(static_cast<int>(kRows[i].most), static_cast<int>(text.size())));
            fields_[i]->setCursorPosition(0);
        }
        addOkAndCancel();
    }

    [[nodiscard]] const SignatureEntry& entry() const { return entry_; }

    void done(int result) override {
        if (result == Accepted && !take())
            return;
        FormDialog::done(result);
    }

  private:
    bool take() {
        SignatureEntry typed;
        for (std::size_t i = 0; i < std::size(kRows); ++i)
            typed.*kFields[i] = fields_[i]->text().toStdString();
        const Result<SignatureEntry> entry = TypedSignatureEntry(typed, old_);
        if (entry)
            entry_ = *entry;
        else
            (void)TMessOK(Words(entry.error(), language()), language(), 0, this).exec();
        return entry.has_value();
    }

    SignatureEntry old_;
    SignatureEntry entry_;
    QLineEdit* fields_[std::size(kRows)] = {};
};

}  // namespace

QString SignatureColumnText(const SignatureEntry& entry, int column) {
    return ToQString(NarrowToUtf8(entry.*kFields[column]));
}

std::optional<SignatureEntry> AskForEntry(const SignatureEntry* entry, Language language,
                                          QWidget* owner) {
    EntryDialog dialog(entry, language, owner);
    if (dialog.exec() != QDialog::Accepted)
        return std::nullopt;
    return dialog.entry();
}

}  // namespace vellmark
