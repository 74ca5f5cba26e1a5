// Fonts of a Macintosh on their way to the PC: printer fonts become PFB with their metrics, and
// suitcases a TTF for each font in them.
#pragma once

#include <optional>
#include <string>

#include "transfer/copy_out.hpp"

namespace vellmark {

/// Makes fonts of the PC of a font file, in the folder of `target`, under the names of the fonts,
/// or under that of the target where a person chose it, with the extension that it lacks. Nothing
/// when the file is to be copied as it is: it is no font, or a person wants it so.
[[nodiscard]] std::optional<CopyOutResult> CopyFontOut(CopyOut& batch, const CatalogItem& item,
                                                       const std::string& path,
                                                       const std::string& target);

}  // namespace vellmark
