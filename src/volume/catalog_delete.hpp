// Files and folders taken out of a volume: their records, their threads and their blocks.
#pragma once

#include <cstdint>
#include <string>

#include "support/messages.hpp"
#include "support/progress.hpp"
#include "volume/catalog.hpp"
#include "volume/edit_result.hpp"
#include "volume/writable_volume.hpp"

namespace vellmark {

/// What deleting needs to ask and to show on its way.
struct DeleteContext {
    Messages& messages;
    Progress& progress;
    const Clock& clock;
    RememberedAnswer& answer;  ///< to the question about folders that are not empty
    bool confirms = true;      ///< false: folders go without a question
    /// Where a folder cannot go: the path, from that folder, of what in it cannot.
    std::string obstacle = {};
};

/// Deletes an item; a folder that is not empty goes with all that is in it, after a question.
/// `Declined` when the answer is no, `Stopped` when the user ends it on the way: all is then as
/// before, as with every other result but `Done`.
[[nodiscard]] EditResult DeleteItemByName(WritableVolume& volume, const CatalogName& name,
                                          std::uint32_t parentId, DeleteContext& context);

/// Takes the record of a file out, with its thread, its blocks and its counts, for use within a
/// change (volume/volume_change.hpp) that ends it. The valence of its folder is left to the caller.
[[nodiscard]] EditResult DeleteFile(WritableVolume& volume, std::uint32_t parentId,
                                    const CatalogName& name);

}  // namespace vellmark
