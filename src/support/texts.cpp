#include "support/texts.hpp"

#include <fmt/args.h>
#include <fmt/printf.h>

#include <algorithm>
#include <functional>

namespace vellmark {

namespace {

struct Row {
    int number;
    std::string_view text;
};

constexpr Row kEnglish[] = {
#include "support/texts_en.inc"
};

constexpr Row kFrench[] = {
#include "support/texts_fr.inc"
};

// The search by halves wants rising numbers without a repetition.
template <std::size_t count>
constexpr bool Rises(const Row (&rows)[count]) {
    return std::ranges::adjacent_find(rows, std::greater_equal{}, &Row::number) ==
           std::ranges::end(rows);
}
static_assert(Rises(kEnglish) && Rises(kFrench));

template <std::size_t count>
std::string_view Find(const Row (&rows)[count], int number) {
    const auto* row = std::ranges::lower_bound(rows, number, {}, &Row::number);
    return row != std::ranges::end(rows) && row->number == number ? row->text : std::string_view{};
}

// The letters behind `%` that say to a C library how wide an operand is: operands here know that
// themselves.
constexpr std::string_view kSizes[] = {"I64", "I32", "ll", "l", "L", "hh", "h"};

std::string WithoutSizes(std::string_view format) {
    std::string plain;
    plain.reserve(format.size());
    while (!format.empty()) {
        const std::size_t percent = std::min(format.find('%'), format.size());
        const std::size_t width =
            std::min(format.find_first_not_of("-+ #0123456789.", percent + 1), format.size());
        plain.append(format.substr(0, width));
        format.remove_prefix(width);
        for (const std::string_view size : kSizes)
            if (percent < width && format.starts_with(size)) {
                format.remove_prefix(size.size());
                break;
            }
        // The letter of the conversion, which is a `%` in `%%`.
        plain.append(format.substr(0, 1));
        format.remove_prefix(std::min<std::size_t>(format.size(), 1));
    }
    return plain;
}

}  // namespace

std::string_view Text(int number, Language language) {
    constexpr int kFrenchOffset = static_cast<int>(Language::French);
    // A number of either kind may come in, also one that is French already.
    if (number >= kFrenchOffset)
        return Find(kFrench, number);
    return language == Language::French ? Find(kFrench, number + kFrenchOffset)
                                        : Find(kEnglish, number);
}

std::string FormatOperands(std::string_view format, std::span<const TextOperand> operands) {
    fmt::dynamic_format_arg_store<fmt::printf_context> store;
    for (const TextOperand& operand : operands)
        std::visit([&store](auto value) { store.push_back(value); }, operand.value);
    return fmt::vsprintf(WithoutSizes(format), fmt::basic_format_args<fmt::printf_context>(store));
}

}  // namespace vellmark
