#include "workbench/refresh/replace_signature_dialog.hpp"

#include <QFormLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <algorithm>

#include "containers/typed_signature.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextCancel = 1002;
constexpr int kTextCreator = 1210;
constexpr int kTextType = 1211;
constexpr int kTextTitle = 1389;
constexpr int kTextReplace = 1420;
constexpr int kTextOriginal = 1426;
constexpr int kTextNew = 1427;

constexpr int kCodeCharacters = 4;

class TRRSig final : public FormDialog {
  public:
    explicit TRRSig(TVellmark& window)
        : FormDialog("replacesignature", window.text(kTextTitle), window.language(), &window) {
        addHead(kTextOriginal);
        QLineEdit* const first = addField("OrigType", kTextType, {}, kCodeCharacters);
        fields_ = {first, addField("OrigCreat", kTextCreator, {}, kCodeCharacters)};
        addHead(kTextNew);
        fields_.push_back(addField("NouvType", kTextType, {}, kCodeCharacters));
        fields_.push_back(addField("NouvCreat", kTextCreator, {}, kCodeCharacters));
        for (std::size_t i = 0; i < fields_.size(); ++i)
            fields_[i]->setAccessibleName(words(i < 2 ? kTextOriginal : kTextNew) + u' ' +
                                          fields_[i]->accessibleName().remove(u':').trimmed());
        addButton("Remplacer", words(kTextReplace), Accepted)->setDefault(true);
        addButton("Cancel", words(kTextCancel), Rejected);
    }

    [[nodiscard]] Reason read(SignaturesWanted& wanted) const {
        for (std::size_t i = 0; i < fields_.size(); ++i) {
            const auto code = TypedCode(fields_[i]->text().toStdString());
            if (!code)
                return Reason(Sentence::kNoCode, fields_[i]->accessibleName().toStdString(),
                              fields_[i]->text().toStdString());
            std::array<char, 8>& signature = i < 2 ? wanted.from : wanted.to;
            std::copy(code->begin(), code->end(), signature.begin() + (i % 2 == 0 ? 0 : 4));
        }
        return {};
    }

  private:
    void addHead(int caption) { addWide(new QLabel(words(caption), this)); }

    std::vector<QLineEdit*> fields_;
};

}  // namespace

std::optional<SignaturesWanted> AskSignatures(TVellmark& window) {
    TRRSig dialog(window);
    SignaturesWanted wanted;
    while (dialog.exec() == QDialog::Accepted) {
        const Reason refusal = dialog.read(wanted);
        if (!refusal)
            return wanted;
        window.messages().showMessage(refusal);
    }
    return std::nullopt;
}

}  // namespace vellmark
