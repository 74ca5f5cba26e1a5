// Changes of the catalog that find room: a catalog without a free node gets more.
#pragma once

#include <functional>

#include "volume/writable_volume.hpp"

namespace vellmark {

/// How one try of a change ended.
enum class ChangeTry {
    Done,
    NoNodes,  ///< the catalog has no free node for it
    NoRoom,   ///< the volume has no free blocks for it
    Damaged,
    Failed,  ///< the image cannot be read or written
    Refused  ///< for a reason that the caller keeps
};
[[nodiscard]] ChangeTry ToChangeTry(TreeResult result);

/// Carries a change out, kept when it is `Done` and else taken back whole. Only when the catalog
/// has no free node for it is it tried again, with nodes more: a modest number first
/// (`ModestGrowth`), then as few as will do. What needs no node needs no blocks either. `records`
/// is how many records the change inserts at most.
[[nodiscard]] ChangeTry ChangeCatalog(WritableVolume& volume, unsigned records,
                                      const std::function<ChangeTry()>& change);
/// The same for a change that nothing but the trees takes part in.
[[nodiscard]] TreeResult ChangeTrees(WritableVolume& volume, unsigned records,
                                     const std::function<TreeResult()>& change);

}  // namespace vellmark
