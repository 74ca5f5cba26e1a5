// One row of the signature table.
#pragma once

#include <optional>

#include "containers/signatures.hpp"

class QWidget;

namespace vellmark {

class TVellmark;

/// Shows the table in use; the row that the person picks, nothing when they give up.
[[nodiscard]] std::optional<SignatureRow> ChooseSignature(TVellmark& window, QWidget* owner);

}  // namespace vellmark
