// Which signature file is in use.
#pragma once

#include <optional>
#include <string>

class QWidget;

namespace vellmark {

class TVellmark;

/// Asks for a signature file that is there, or for the name of one to write, beginning at a path.
[[nodiscard]] std::optional<std::string> AskSigFile(TVellmark& window, const std::string& at,
                                                    QWidget* owner);
[[nodiscard]] std::optional<std::string> AskSigTarget(TVellmark& window, const std::string& at,
                                                      QWidget* owner);

/// Shows what is registered and what is to be, and registers it when the person agrees.
void ConfirmRegistration(TVellmark& window, const std::string& path, QWidget* owner);
}  // namespace vellmark
