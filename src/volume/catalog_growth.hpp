// A catalog that is full gets more nodes.
#pragma once

#include <cstdint>

#include "volume/volume_context.hpp"

namespace vellmark {

/// Adds free nodes to the catalog: as many blocks as its file has, in one run, or what the volume
/// still gives of them. The run goes into the header's record, or into the extents tree when that
/// record is full. `Full` when there is no room; what was changed then is for the caller to take
/// back (`VolumeChange`).
[[nodiscard]] TreeResult ExtendCatalog(VolumeContext& volume);

/// Makes sure that the catalog takes that many further records, whatever they split.
[[nodiscard]] TreeResult EnsureCatalogRoom(VolumeContext& volume, unsigned records);

}  // namespace vellmark
