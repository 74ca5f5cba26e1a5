// A walk over all folders of an ISO 9660 or Joliet tree.
#pragma once

#include <functional>
#include <vector>

#include "IO/iso_reader.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Gets a folder and what is in it; false ends the walk.
using VisitIsoFolder =
    std::function<bool(const IsoEntry& folder, const std::vector<IsoEntry>& entries)>;

/// Visits each folder once, the root first. A reason when a directory is damaged.
[[nodiscard]] Reason ForEachIsoFolder(const IsoReader& reader, IsoTree tree,
                                      const VisitIsoFolder& visit);

}  // namespace vellmark
