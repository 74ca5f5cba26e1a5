// Every text that a user reads is a numbered entry of one table: English at N, French at N + 10000.
#pragma once

#include <fmt/printf.h>

#include <string>
#include <string_view>

namespace vellmark {

/// Offset added to a text number.
enum class Language : int { English = 0, French = 10000 };

/// The text of that number (UTF-8), "" when there is none.
[[nodiscard]] std::string_view Text(int number, Language language = Language::English);

/// The text with its operands put in; `%s`, `%d` and their like.
template <typename... Operands>
[[nodiscard]] std::string FormatText(int number, Language language, const Operands&... operands) {
    return fmt::sprintf(Text(number, language), operands...);
}

/// The same in English.
template <typename... Operands>
[[nodiscard]] std::string FormatText(int number, const Operands&... operands) {
    return fmt::sprintf(Text(number), operands...);
}

}  // namespace vellmark
