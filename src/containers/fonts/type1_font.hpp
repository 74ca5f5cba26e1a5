// PostScript fonts of type 1. On a Macintosh the program of such a font lies in the resources
// `POST` of a printer font (Adobe Technical Note 5040), on a PC in a file of sections, PFB. The
// program itself is the same on both sides and is not interpreted.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "containers/pieced_source.hpp"
#include "containers/resource_fork.hpp"
#include "support/byte_source.hpp"
#include "support/endian.hpp"
#include "support/result.hpp"

namespace vellmark {

/// What stands in front of a section of a PFB; the last one has no length.
struct PfbSection {
    std::uint8_t mark = 0x80;
    std::uint8_t type = 0;  ///< `Type1Section`
    le32 length;            ///< bytes
};
static_assert(sizeof(PfbSection) == 6);

enum class Type1Section : std::uint8_t {
    Comment = 0,  ///< `POST` only
    Text = 1,
    Binary = 2,
    EndOfFile = 3,
    DataFork = 4,  ///< `POST` only: the bytes lie in the data fork
    EndOfFont = 5  ///< `POST` only
};

/// The font of a printer font as a PFB; none when it has no `POST` resources. Runs of resources of
/// one kind become one section. A reason when its bytes do not all lie in the fork. The
/// fork must outlive it.
[[nodiscard]] Result<std::optional<PiecedSource>> PfbOf(ByteSource& fork, const ResourceTree& tree);

/// The text in front of the encrypted part of a PFB, cut where it is long beyond all use.
[[nodiscard]] std::string ClearTextOfPfb(ByteSource& pfb);
/// The name of the font in such a text, as PostScript knows it; empty for none.
[[nodiscard]] std::string FontNameOfType1(const std::string& clearText);

}  // namespace vellmark
