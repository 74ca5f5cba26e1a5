#include "inspect/page_numbers.hpp"

#include <fmt/core.h>

#include <charconv>

namespace vellmark {

std::string NumberText(std::uint64_t number, unsigned base) {
    return NumberText(number, base, 1);
}

std::string NumberText(std::uint64_t number, unsigned base, std::size_t digits) {
    return base == kHexadecimal ? fmt::format("{:0{}x}", number, digits)
                                : fmt::format("{:0{}}", number, digits);
}

std::optional<std::uint64_t> ParseNumber(std::string_view text, unsigned base) {
    if (base == kHexadecimal && (text.starts_with("0x") || text.starts_with("0X")))
        text.remove_prefix(2);
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number, static_cast<int>(base));
    if (text.empty() || error != std::errc{} || stopped != end)
        return std::nullopt;
    return number;
}

std::optional<std::uint64_t> SectorToGoTo(std::string_view text, unsigned base,
                                          std::uint64_t current, std::uint64_t last) {
    while (text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    const char sign = text.empty() ? '\0' : text.front();
    const bool isRelative = sign == '+' || sign == '-';
    const auto number = ParseNumber(isRelative ? text.substr(1) : text, base);
    if (!number || current > last)
        return std::nullopt;
    if (sign == '-')
        return *number <= current ? std::optional(current - *number) : std::nullopt;
    const std::uint64_t from = isRelative ? current : 0;
    return *number <= last - from ? std::optional(from + *number) : std::nullopt;
}

std::optional<std::string> BytesOfHexDigits(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        if (text.front() == ' ') {
            text.remove_prefix(1);
            continue;
        }
        unsigned value = 0;
        if (text.size() < 2)
            return std::nullopt;
        const auto [stopped, error] =
            std::from_chars(text.data(), text.data() + 2, value, kHexadecimal);
        if (error != std::errc{} || stopped != text.data() + 2)
            return std::nullopt;
        bytes.push_back(static_cast<char>(value));
        text.remove_prefix(2);
    }
    return bytes.empty() ? std::nullopt : std::optional(bytes);
}

}  // namespace vellmark
