// Types and creators as a person types them.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace vellmark {

/// Letters in MacRoman, from UTF-8. Nothing when there are none or more than `most`, or MacRoman
/// lacks one of them.
[[nodiscard]] std::optional<std::string> TypedMacLetters(std::string_view typed, std::size_t most);

/// A type or a creator: up to four letters, filled up with blanks.
[[nodiscard]] std::optional<std::array<char, 4>> TypedCode(std::string_view typed);

/// A type and a creator: eight letters.
[[nodiscard]] std::optional<std::array<char, 8>> TypedSignature(std::string_view typed);

}  // namespace vellmark
