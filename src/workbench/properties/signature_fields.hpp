// Type and creator of a file in a dialog, and what the signature table calls them.
#pragma once

#include <array>
#include <optional>

#include "support/reason.hpp"

class QLineEdit;

namespace vellmark {

class FormDialog;
class TVellmark;

class SignatureFields {
  public:
    using Code = std::array<char, 4>;

    /// Adds the rows to a dialog, which owns them.
    SignatureFields(FormDialog& dialog, TVellmark& window, const std::array<char, 8>& signature);
    /// What the person has changed; why one of them cannot be had, none when both can.
    [[nodiscard]] Reason read(std::optional<Code>& type, std::optional<Code>& creator) const;

  private:
    QLineEdit* type_;
    QLineEdit* creator_;
};

}  // namespace vellmark
