// The file in which the Finder keeps how a folder looks, `.DS_Store`: records in a B-tree, whose
// nodes are blocks of a buddy allocator. All numbers are big-endian. Apple has published nothing of
// it; the form is the one that free readers of it agree on.
//
//   0     1, "Bud1", offset and size of the allocator's block, the offset again
//   +4    everything else: a block's address is its offset from here with the power of two of its
//         size in the low five bits
//
// The allocator's block has the addresses of all blocks, a directory with the one entry "DSDB" and
// the free blocks of each size. The block of DSDB names the root node. A node is the number of its
// last child (0 in a leaf), the number of its records, and the records, each behind the number of
// the child before it where there are any.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "support/result.hpp"

namespace vellmark {

struct StoreRecord {
    std::u16string name;  ///< of the item it is about; "." for the folder itself
    std::string id;       ///< four letters: what it says
    std::string type;     ///< four letters: how it says it
    /// Without the length in front of a `blob` or `ustr`, four bytes of a `shor`, `long` or `type`,
    /// one of a `bool`, eight of a `comp` or `dutc`.
    std::vector<std::uint8_t> value;

    bool operator==(const StoreRecord&) const = default;
};

/// Most bytes of a store that are looked at.
inline constexpr std::uint64_t kMostStoreBytes = 64u << 20;

/// All records in their order. Stores of one node are read too whose allocator is not what it
/// should be, or which hold more records than they count, as older programs wrote them. Failed when
/// the bytes are no store, or lead out of themselves before all records were found.
[[nodiscard]] Result<std::vector<StoreRecord>> ReadStore(std::span<const std::uint8_t> bytes);

/// A store of these records, which are put in their order. One node holds as many as fit 1,016
/// bytes; more go into as many nodes as it takes.
[[nodiscard]] std::vector<std::uint8_t> StoreBytes(std::vector<StoreRecord> records);

}  // namespace vellmark
