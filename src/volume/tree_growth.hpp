// More nodes for the trees of a volume. What was changed when it fails is for the caller to take
// back (`VolumeChange`).
#pragma once

#include <cstdint>

#include "volume/writable_volume.hpp"

namespace vellmark {

/// Blocks of the smallest piece by which a tree grows: whole nodes in whole blocks.
[[nodiscard]] std::uint32_t GrowthUnit(const WritableVolume& volume, const TreeCursor& tree);

/// By how many blocks a tree grows as a rule: by its clump, or a quarter of the free space where
/// that is less; whole units, at least one.
[[nodiscard]] std::uint32_t ModestGrowth(const WritableVolume& volume, bool isCatalog);

/// Adds free nodes to the catalog, `wanted` blocks of them where the volume has as much, in runs as
/// long as possible. They go into the header's record, or into the extents tree when that is full.
/// `Full` when there is no room for a single unit.
[[nodiscard]] TreeResult ExtendCatalog(WritableVolume& volume, std::uint32_t wanted);

/// Adds free nodes to the extents tree, all whose runs stand in the header: `Full` when that
/// has no place for one more, or there is no room.
[[nodiscard]] TreeResult ExtendExtentsTree(WritableVolume& volume);

}  // namespace vellmark
