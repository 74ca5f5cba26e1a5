// Resource forks made around fonts of a PC, so that a Macintosh has them: a printer font of a PFB,
// a suitcase of a TTF.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "containers/pieced_source.hpp"
#include "support/result.hpp"

namespace vellmark {

/// Type and creator of the files that the forks belong to.
inline constexpr std::string_view kSuitcaseSignature = "tfilmovr";
inline constexpr std::string_view kPrinterFontSignature = "LWFNASPF";

/// What the numbers of fonts begin with, so that they are none of a system's own.
inline constexpr std::uint16_t kFirstFontId = 1024;
inline constexpr std::uint16_t kLastFontId = 32767;
/// The number behind that one; behind the last one the first.
[[nodiscard]] std::uint16_t FontIdAfter(std::uint16_t id);

/// A suitcase with one font and the family that it makes up; both have the number `id`. The name is
/// MacRoman. A reason when the font is too long for the fork.
[[nodiscard]] Result<PiecedSource> SuitcaseOf(ByteSource& font, std::string_view name,
                                              std::uint16_t id);

/// A printer font with the program of a PFB, in resources as short as printers take them. A reason
/// when the file is no PFB or is damaged, or too long for the fork.
[[nodiscard]] Result<PiecedSource> PrinterFontOf(ByteSource& pfb);

}  // namespace vellmark
