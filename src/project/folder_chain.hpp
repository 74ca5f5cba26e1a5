// Which folders a folder of the PC lies in, so that links are never followed in a circle.
#pragma once

#include <memory>
#include <string>

#include "support/pc_folder.hpp"

namespace vellmark {

/// A folder and those that it lies in, up to the root of the PC. Empty above that.
struct FolderChain {
    PcIdentity identity;
    std::shared_ptr<const FolderChain> above;
};
using ChainPtr = std::shared_ptr<const FolderChain>;

/// The chain of a path; empty when it is not there.
[[nodiscard]] ChainPtr ChainOf(const std::string& folder);
/// The chain of a folder that lies in the one of `above`.
[[nodiscard]] ChainPtr Below(const ChainPtr& above, const PcIdentity& folder);
[[nodiscard]] bool IsIn(const ChainPtr& chain, const PcIdentity& identity);

}  // namespace vellmark
