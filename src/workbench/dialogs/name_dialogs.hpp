// Dialogs that ask for a name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/messages.hpp"
#include "support/texts.hpp"

class QWidget;

namespace vellmark {

/// What is to become of a name that is too long for a view.
[[nodiscard]] TruncationAnswer AskTruncation(TruncatedName kind, std::string_view fullName,
                                             std::string_view proposal, Language language,
                                             QWidget* owner);
/// The name of a copy on the PC; nothing when the person gives none.
[[nodiscard]] std::optional<std::string> AskPcName(std::string_view proposal, Language language,
                                                   QWidget* owner);
/// The name of a new folder, of at most 31 characters, or 255 in HFS+; never empty.
[[nodiscard]] std::optional<std::string> AskFolderName(bool isHfsPlus, Language language,
                                                       QWidget* owner);

}  // namespace vellmark
