// Writes the Macintosh structures of an image: the map that leads to the volume, its headers, its
// bitmap and its two trees.
#pragma once

#include "compiler/catalog_builder.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// Driver descriptor and partition map, in the first sector of the image.
[[nodiscard]] bool WritePartitionMap(const CompileContext& context, const HfsLayout& layout,
                                     PcFile& image);

/// Headers, bitmap, extents tree and catalog.
[[nodiscard]] bool WriteVolume(const CompileContext& context, const DiscPlan& plan,
                               const HfsLayout& layout, const MemoryNodes& catalogNodes,
                               const BuiltCatalog& catalog, PcFile& image);

}  // namespace vellmark
