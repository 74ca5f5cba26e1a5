// From a number in a structure to the sector of the image that it means.
#pragma once

#include <string>
#include <vector>

#include "inspect/structure_table.hpp"

namespace vellmark {

/// The ways from a number by a rule: none where it leads nowhere that is known.
[[nodiscard]] std::vector<SectorLink> LinksOf(const SectorScene& scene, StructureCode code,
                                              LinkRule rule, std::string_view name,
                                              std::uint64_t number);

/// Where a volume lies whose header is in the scene.
struct HeaderPlace {
    std::uint64_t start = 0;        ///< sector
    std::uint64_t blocksStart = 0;  ///< sector of allocation block 0
    std::uint64_t sectorsPerBlock = 0;
    std::uint64_t otherHeader = 0;  ///< of the two headers the one that is not in the scene
};
[[nodiscard]] HeaderPlace PlaceOfHeader(const SectorScene& scene, StructureCode code);

}  // namespace vellmark
