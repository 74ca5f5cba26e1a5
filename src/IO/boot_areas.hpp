// What a bootable disc keeps outside its trees (El Torito Bootable CD-ROM Format Specification,
// version 1.0): boot catalogs and the images that they name.
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "support/byte_source.hpp"

namespace vellmark {

/// Bytes of a disc, from its start.
struct BootArea {
    std::uint64_t offset = 0;
    std::uint64_t sizeBytes = 0;  ///< of an image: as far as the disc shows it, at least a sector
};

/// All boot catalogs and boot images; none on most discs. Nothing when a catalog cannot be read.
[[nodiscard]] std::optional<std::vector<BootArea>> FindBootAreas(ByteSource& disc);

}  // namespace vellmark
