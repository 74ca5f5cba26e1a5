#include "workbench/properties/signature_fields.hpp"

#include <QLineEdit>

#include "containers/names.hpp"
#include "containers/typed_signature.hpp"
#include "session/signature_file.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/dialogs/form.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextCreator = 1210;
constexpr int kTextType = 1211;
constexpr int kTextIdentification = 1220;

constexpr int kCodeCharacters = 4;

QString Letters(std::string_view mac) {
    return ToQString(WideToUtf8(MacNameToWide(mac)));
}

}  // namespace

SignatureFields::SignatureFields(FormDialog& dialog, TVellmark& window,
                                 const std::array<char, 8>& signature) {
    const std::string_view letters(signature.data(), signature.size());
    const SignatureRow* const row =
        SignaturesOf(window.context(), window.messages()).RowOfSignature(letters, true);
    type_ = dialog.addField("Type", kTextType, Letters(letters.substr(0, kCodeCharacters)),
                            kCodeCharacters);
    creator_ = dialog.addField("Createur", kTextCreator, Letters(letters.substr(kCodeCharacters)),
                               kCodeCharacters);
    dialog.addFact(kTextIdentification, row ? ToQString(NarrowToUtf8(row->comment)) : QString());
}

Reason SignatureFields::read(std::optional<Code>& type, std::optional<Code>& creator) const {
    for (const auto& [field, to] : {std::pair{type_, &type}, std::pair{creator_, &creator}})
        if (field->isModified()) {
            *to = TypedCode(field->text().toStdString());
            if (!*to)
                return Reason(Sentence::kNoCode, field->accessibleName().toStdString(),
                              field->text().toStdString());
        }
    return {};
}

}  // namespace vellmark
