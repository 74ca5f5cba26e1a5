// Dialogs that ask for a name.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/messages.hpp"
#include "support/texts.hpp"

class QWidget;

namespace vellmark {

struct SessionState;

/// What is to become of a name that is too long for a view.
[[nodiscard]] TruncationAnswer AskTruncation(TruncatedName kind, std::string_view fullName,
                                             std::string_view proposal, Language language,
                                             QWidget* owner);
/// The same of the name of a file or folder that comes to an HFS volume. What is to be done from
/// now on is kept in the settings when the person wants it so.
[[nodiscard]] TruncationAnswer AskImportedName(std::string_view fullName, std::string_view proposal,
                                               SessionState& state, Language language,
                                               QWidget* owner);
/// A shorter name for what is copied to the PC, of at most `mostBytes`; nothing when the person
/// gives none. `path` is that of the item.
[[nodiscard]] std::optional<std::string> AskShorterName(std::string_view path,
                                                        std::string_view proposal,
                                                        std::size_t mostBytes, Language language,
                                                        QWidget* owner);
/// The name of a copy on the PC; nothing when the person gives none.
[[nodiscard]] std::optional<std::string> AskPcName(std::string_view proposal, Language language,
                                                   QWidget* owner);
/// The name of a new folder, of at most 31 characters, or 255 in HFS+; never empty.
[[nodiscard]] std::optional<std::string> AskFolderName(bool isHfsPlus, Language language,
                                                       QWidget* owner);

}  // namespace vellmark
