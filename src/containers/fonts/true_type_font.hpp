// TrueType fonts. On a Macintosh each lies in a resource `sfnt` of a suitcase, on a PC in a file;
// the bytes are the same.
#pragma once

#include <string>

#include "support/byte_source.hpp"

namespace vellmark {

/// The PostScript name of the font in its table of names, up to 31 bytes; empty for none.
[[nodiscard]] std::string FontNameOfTrueType(ByteSource& font);

}  // namespace vellmark
