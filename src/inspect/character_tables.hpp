// The three character sets in which bytes of a page are shown, and typed texts are looked for.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vellmark {

enum class CharTable : std::uint8_t {
    Macintosh,  ///< MacRoman, as names of files go to a PC
    Windows,    ///< Windows-1252
    Dos         ///< code page 437, its pictures of control characters included
};

/// The character that stands for a byte in a page: one that takes a column of its own. A 0 is a
/// blank; a control character is `_`, where the table has no picture of it.
[[nodiscard]] char16_t ShownCharacter(std::uint8_t byte, CharTable table);
/// The same in UTF-8.
[[nodiscard]] std::string_view ShownText(std::uint8_t byte, CharTable table);

/// The bytes that a typed text (UTF-8) has in that table; nothing when it lacks a character.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> BytesOfText(std::string_view text,
                                                                   CharTable table);

}  // namespace vellmark
