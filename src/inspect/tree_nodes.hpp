// Nodes of B-trees as they are found in sectors: nothing of them is believed.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "inspect/structure_table.hpp"
#include "volume/tree_node.hpp"

namespace vellmark {

inline constexpr std::uint32_t kLargestNode = 32768;  ///< bytes

/// One record of a node, within its bytes.
struct NodeRecord {
    std::uint32_t offset = 0;
    ConstByteSpan key;   ///< with its length field, cut to what is there
    ConstByteSpan data;  ///< behind the key
};

/// How the keys of a node are to be read.
struct NodeForm {
    bool isHfsPlus = false;
    TreeRole role = TreeRole::Catalog;
};

/// The form of the scene's node: that of the tree that it belongs to, or what its first key looks
/// like.
[[nodiscard]] NodeForm FormOfNode(const SectorScene& scene);

/// What the first key of a node looks like.
[[nodiscard]] NodeForm FormByKey(ConstByteSpan node);

struct NodeRecords {
    std::vector<NodeRecord> records;
    std::size_t missing = 0;  ///< counted, but without bytes of their own
};
[[nodiscard]] NodeRecords RecordsOf(ConstByteSpan node, const NodeForm& form);

/// The number in a key that says what the record belongs to: a parent, or a file.
[[nodiscard]] std::uint32_t KeyNumber(ConstByteSpan key, const NodeForm& form);
/// The name in a key of a catalog; "" for a thread.
[[nodiscard]] std::string KeyName(ConstByteSpan key, const NodeForm& form);

/// The whole node that begins in the scene's sector, in the size that its tree tells, or that its
/// own offsets show.
[[nodiscard]] std::vector<std::uint8_t> ReadWholeNode(const SectorScene& scene);

}  // namespace vellmark
