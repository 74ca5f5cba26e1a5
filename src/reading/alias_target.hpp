// Where an alias leads on a volume that is open.
#pragma once

#include <optional>
#include <string>

#include "containers/alias_record.hpp"
#include "support/mac_dates.hpp"
#include "volume/catalog.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

struct AliasTarget {
    /// The record names this volume, by its name or by the moment when it was made: a volume that
    /// was renamed is still the same.
    bool isOnVolume = false;
    std::optional<CatalogItem> item;  ///< nothing when it is on another volume or not there now
    std::string path;                 ///< of the item, `/` between the names; empty for the root
    Reason problem;                   ///< what is damaged on the way, if anything
};

/// Looks for the target as the Macintosh does: the name in its folder, then the number of the item,
/// which it keeps when it is moved, then the full path. `label` is the name of the volume.
[[nodiscard]] AliasTarget FindAliasTarget(VolumeContext& volume, const std::string& label,
                                          const AliasRecord& alias, const Clock& clock);

}  // namespace vellmark
