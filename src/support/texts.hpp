// Every text that a user reads is a numbered entry of one table: English at N, French at N + 10000.
#pragma once

#include <concepts>
#include <cstdint>
#include <initializer_list>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace vellmark {

/// Offset added to a text number.
enum class Language : int { English = 0, French = 10000 };

/// The text of that number (UTF-8), "" when there is none.
[[nodiscard]] std::string_view Text(int number, Language language = Language::English);

/// What is put in for one `%s`, `%d` or their like.
class TextOperand {
  public:
    TextOperand(std::string_view text) : value(text) {}
    TextOperand(const std::string& text) : value(std::string_view(text)) {}
    TextOperand(const char* text) : value(std::string_view(text)) {}
    template <std::signed_integral Number>
    TextOperand(Number number) : value(std::int64_t{number}) {}
    template <std::unsigned_integral Number>
    TextOperand(Number number) : value(std::uint64_t{number}) {}
    TextOperand(double number) : value(number) {}

    std::variant<std::string_view, std::int64_t, std::uint64_t, double> value;
};

/// `format` with its operands put in, as wide as they are: letters of size in it (`%I64d`, `%lu`)
/// count for nothing. The work is done in one place, as the library behind it is
/// large and slow to compile.
[[nodiscard]] std::string FormatOperands(std::string_view format,
                                         std::span<const TextOperand> operands);

[[nodiscard]] inline std::string FormatOperands(std::string_view format,
                                                std::initializer_list<TextOperand> operands) {
    return FormatOperands(format, std::span(operands.begin(), operands.size()));
}

/// The text with its operands put in.
template <typename... Operands>
[[nodiscard]] std::string FormatText(int number, Language language, const Operands&... operands) {
    return FormatOperands(Text(number, language), {TextOperand(operands)...});
}

/// The same in English.
template <typename... Operands>
[[nodiscard]] std::string FormatText(int number, const Operands&... operands) {
    return FormatText(number, Language::English, operands...);
}

}  // namespace vellmark
