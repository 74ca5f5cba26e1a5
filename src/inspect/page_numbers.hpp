// Numbers of sectors and offsets as a person reads and types them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vellmark {

inline constexpr unsigned kDecimal = 10;
inline constexpr unsigned kHexadecimal = 16;

/// The number without leading zeros, in lower-case digits.
[[nodiscard]] std::string NumberText(std::uint64_t number, unsigned base);
/// The same with at least `digits` digits.
[[nodiscard]] std::string NumberText(std::uint64_t number, unsigned base, std::size_t digits);

/// All of the text as a number; nothing when it is none, or too large. In base 16 `0x` may stand
/// before it.
[[nodiscard]] std::optional<std::uint64_t> ParseNumber(std::string_view text, unsigned base);

/// The sector that a typed text leads to: with a sign it counts from `current`. Nothing when it is
/// no number or not within 0 and `last`.
[[nodiscard]] std::optional<std::uint64_t> SectorToGoTo(std::string_view text, unsigned base,
                                                        std::uint64_t current, std::uint64_t last);

/// The bytes that hexadecimal digits stand for, two a byte, blanks between bytes allowed. Nothing
/// for anything else, and for no byte at all.
[[nodiscard]] std::optional<std::string> BytesOfHexDigits(std::string_view text);

}  // namespace vellmark
