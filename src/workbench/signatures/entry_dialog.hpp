// One entry of the signature table.
#pragma once

#include <optional>

#include "containers/signature_text.hpp"
#include "support/texts.hpp"

class QString;
class QWidget;

namespace vellmark {

/// Headings of the columns in which entries are shown: extension, type, creator, comment.
inline constexpr int kSignatureColumnTexts[] = {5412, 5414, 5413, 5415};
/// What stands in such a column.
[[nodiscard]] QString SignatureColumnText(const SignatureEntry& entry, int column);

/// Asks for an entry, of which `entry` is the present one, null for a new one. Nothing when the
/// person gives up.
[[nodiscard]] std::optional<SignatureEntry> AskForEntry(const SignatureEntry* entry,
                                                        Language language, QWidget* owner);

}  // namespace vellmark
