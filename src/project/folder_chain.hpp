// Which folders a folder of the PC lies in, so that links are never followed in a circle.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "support/pc_folder.hpp"

namespace vellmark {

/// Which object of the PC something really is.
struct PcIdentity {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    bool operator==(const PcIdentity&) const = default;
    bool operator<(const PcIdentity& other) const {
        return device != other.device ? device < other.device : inode < other.inode;
    }
};

[[nodiscard]] PcIdentity IdentityOf(const PcFacts& facts);

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
