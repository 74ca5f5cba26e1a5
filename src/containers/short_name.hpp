// Names that are too long, or that another item has: cut, with their extension kept, and told apart
// by digits that come from the whole name, so that the same file gets the same name every time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace vellmark {

/// A name of bytes cut to `most`. An extension of at most four characters stays, and no blank is
/// left at the end.
[[nodiscard]] std::string CutName(std::string_view name, std::size_t most);
/// The same of units; a letter is not parted from its marks, nor a pair in the middle.
[[nodiscard]] std::u16string CutName(std::u16string_view name, std::size_t most);

/// The name with `tail` (ASCII) before its extension, and as much of what is before that as `most`
/// leaves room for.
[[nodiscard]] std::string WithTail(std::string_view name, std::string_view tail, std::size_t most);
[[nodiscard]] std::u16string WithTail(std::u16string_view name, std::string_view tail,
                                      std::size_t most);

/// `-` and four digits of a CRC, the low one first. `round` above 0 adds its digits, for names that
/// agree in that too.
[[nodiscard]] std::string DigitsTail(std::uint16_t crc, unsigned round = 0);

}  // namespace vellmark
