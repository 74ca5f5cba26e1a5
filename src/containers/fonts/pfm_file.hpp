// Font metrics of a PC (PFM, published as "Printer Font Metrics"), made for a PostScript font from
// the few keywords of its text that tell its measures. Widths are not in that text: those of a
// usual text face stand for them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vellmark {

/// The file for the font of that name. Nothing where the text has no bounding box or an encoding
/// that cannot be followed.
[[nodiscard]] std::optional<std::vector<std::uint8_t>> PfmOf(const std::string& clearText,
                                                             const std::string& name);

}  // namespace vellmark
