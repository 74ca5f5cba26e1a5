// Whether fonts are made what the other system has of them on their way from one to the other.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "support/messages.hpp"

namespace vellmark {

enum class FontPolicy {
    Ask,     ///< after a question for each, whose answer may be kept
    Always,  ///< those of which that is possible
    Never    ///< fonts are files like others
};

/// A name for a question: up to 40 characters of it, fit to be shown.
[[nodiscard]] std::string NameForQuestion(std::string_view pcName);

/// Whether the font file of that name is converted; nothing when a person was asked and gave no
/// answer.
[[nodiscard]] std::optional<bool> ConvertsFont(FontPolicy policy, std::string_view name,
                                               RememberedAnswer& kept, Messages& messages);

}  // namespace vellmark
