// The order of records in directories and path tables.
#pragma once

#include <cstddef>
#include <vector>

#include "IO/iso_text.hpp"
#include "compiler/disc_plan.hpp"

namespace vellmark {

/// The items of a folder that one of the ISO trees shows, in the order of their directory records:
/// that of the project, or of a plan in strict order that of ECMA-119 (9.3), by name and extension.
/// No two names of a folder are equal, and all have one version. An associated file stands before
/// its file in any case.
[[nodiscard]] std::vector<const DiscItem*> RecordOrder(const DiscPlan& plan,
                                                       const DiscFolder& folder, IsoTree tree);

/// Those that are folders, in the order of their records in a path table (ECMA-119, 9.4): that of
/// their directory records, or in strict order by the whole identifier.
[[nodiscard]] std::vector<const DiscItem*> PathOrder(const DiscPlan& plan, const DiscFolder& folder,
                                                     IsoTree tree);

/// Levels of the ISO hierarchy; the root is the first. ECMA-119 (6.8.2.1) allows eight.
inline constexpr std::size_t kMostIsoLevels = 8;

/// The folders that lie deeper than that, and one of them.
struct DeepFolders {
    std::size_t count = 0;
    const DiscItem* first = nullptr;
};
[[nodiscard]] DeepFolders FoldersTooDeep(const DiscPlan& plan);

}  // namespace vellmark
