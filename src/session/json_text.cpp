#include "session/json_text.hpp"

#include <fmt/core.h>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr int kIndent = 2;

std::string Escaped(char32_t scalar) {
    if (scalar == '\n')
        return "\n";  // between the values: inside of them it is escaped already
    if (scalar < 0x10000)
        return fmt::format("\\u{:04x}", static_cast<unsigned>(scalar));
    const auto above = static_cast<unsigned>(scalar - 0x10000);
    return fmt::format("\\u{:04x}\\u{:04x}", 0xD800 + (above >> 10), 0xDC00 + (above & 0x3FF));
}

}  // namespace

std::string JsonText(const nlohmann::ordered_json& value, unsigned indent) {
    std::string text = ReplaceNotShown(
        value.dump(kIndent, ' ', false, nlohmann::ordered_json::error_handler_t::replace), Escaped);
    if (indent == 0)
        return text;
    const std::string blanks(indent, ' ');
    for (std::size_t at = text.find('\n'); at != std::string::npos; at = text.find('\n', at + 1))
        text.insert(at + 1, blanks);
    return text;
}

}  // namespace vellmark
