// How far the ISO 9660 side of a disc image goes, which its volume descriptor does not say: discs
// have padding behind their Volume Space Size, and some writers let it end early.
#pragma once

#include <cstdint>

#include "IO/iso_reader.hpp"
#include "support/byte_source.hpp"

namespace vellmark {

enum class IsoReach {
    Within,  ///< nothing goes on behind the place
    Behind,
    Unknown  ///< a directory is damaged, and nothing was found behind the place before
};

/// Whether files or directories of either tree go on behind a place, in bytes of the disc's data.
[[nodiscard]] IsoReach TreesReach(const IsoReader& reader, std::uint64_t limit);

/// Whether boot catalogs (El Torito), or boot images that they name, begin behind a place; a
/// catalog that cannot be read counts as one.
[[nodiscard]] bool BootImagesReach(ByteSource& disc, std::uint64_t limit);

}  // namespace vellmark
