// What can be no item of a project at all.
#pragma once

#include <string>

#include "support/pc_folder.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Why an item of `folder` (`/` at its end) cannot be included; none when it can. `accessPath` is
/// the folder's as a record has it, empty when none can.
[[nodiscard]] Reason InclusionRefusal(const PcItem& item, const std::string& folder,
                                      const std::string& accessPath);

/// The length of a file that no record can hold; none of one that a record holds.
[[nodiscard]] Reason SizeRefusal(const PcFacts& facts);

}  // namespace vellmark
