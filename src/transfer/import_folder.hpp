// What folders of the PC pass on to folders of a volume.
#pragma once

#include "support/mac_dates.hpp"
#include "support/pc_folder.hpp"
#include "volume/btree.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// A date of the PC in the time of the volume.
[[nodiscard]] MacSeconds VolumeDate(const VolumeContext& volume, UnixSeconds at,
                                    const Clock& clock);

/// Gives a folder the date of one of the PC, and makes it invisible when that is hidden. `Missing`
/// when there is no such folder.
[[nodiscard]] TreeResult SetFolderFacts(WritableVolume& volume, std::uint32_t folderId,
                                        const PcFacts& facts, bool hidden, const Clock& clock);

/// Tells the Finder that a folder has an icon of its own, which it has not seen yet.
[[nodiscard]] TreeResult MarkCustomIcon(WritableVolume& volume, std::uint32_t folderId);

}  // namespace vellmark
