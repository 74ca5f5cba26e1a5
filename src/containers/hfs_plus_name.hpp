// Names of an HFS+ catalog: UTF-16, decomposed, marks in canonical order, at most 255 units (Apple
// Technical Note TN1150, "HFS Plus Names" and "Unicode Subtleties").
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vellmark {

/// The units in host order. On the disk they are big-endian behind a big-endian 16-bit count.
using HfsPlusName = std::u16string;

/// Most units of a name. A longer one is cut (containers/short_name.hpp).
inline constexpr std::size_t kHfsPlusNameMax = 255;

/// Wide PC name to HFS+. A private code gives what it stands for; U+0080 to U+009F are read as
/// Windows-1252; half of a surrogate pair gives `_`. A colon stays. A 0 ends the name.
[[nodiscard]] HfsPlusName WideToHfsPlusName(std::u16string_view wide);

/// Windows-1252 to HFS+. A colon stays. A 0 ends the name.
[[nodiscard]] HfsPlusName AnsiToHfsPlusName(std::string_view ansi);

/// Composed, for showing a name. U+F8FF, a colon and a 0 stay.
[[nodiscard]] std::u16string HfsPlusNameToWide(const HfsPlusName& name);

}  // namespace vellmark
