// One node of a B-tree, in the form that HFS and HFS+ share (Inside Macintosh: Files, chapter 2;
// Apple Technical Note TN1150): a descriptor, records from byte 14 on, and their offsets as 16-bit
// words from the end of the node backwards, the last of them where free space begins.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "support/endian.hpp"

namespace vellmark {

using ByteSpan = std::span<std::uint8_t>;
using ConstByteSpan = std::span<const std::uint8_t>;

enum class NodeKind : std::uint8_t { Index = 0, Header = 1, Map = 2, Leaf = 255 };

struct NodeDescriptor {
    be32 forwardLink;     ///< 0: none
    be32 backwardLink;    ///< 0: none
    std::uint8_t kind;    ///< `NodeKind`
    std::uint8_t height;  ///< 1 for leaves, 0 for header and map nodes
    be16 recordCount;
    be16 reserved;
};
static_assert(sizeof(NodeDescriptor) == 14);

/// First record of node 0.
struct TreeHeaderRecord {
    be16 depth;
    be32 root;
    be32 leafRecords;
    be32 firstLeaf;
    be32 lastLeaf;
    be16 nodeSize;      ///< bytes
    be16 maxKeyLength;  ///< bytes behind the length field
    be32 totalNodes;
    be32 freeNodes;
    be16 reserved;
    be32 clumpSize;
    std::uint8_t treeType;
    std::uint8_t keyCompareType;
    be32 attributes;
    std::array<be32, 16> reserved2;
};
static_assert(sizeof(TreeHeaderRecord) == 106);

inline constexpr std::size_t kNodeDescriptorSize = sizeof(NodeDescriptor);
/// Where the node map begins in node 0, and what is left of the node around it.
inline constexpr std::size_t kHeaderMapOffset = 248;
inline constexpr std::size_t kHeaderMapOverhead = 256;
/// What a map node keeps for its descriptor and two offsets.
inline constexpr std::size_t kMapNodeOverhead = 20;

/// How the trees of the two formats differ; everything else is one algorithm.
struct TreeFormat {
    std::size_t keyLengthBytes;       ///< size of the length field: 1 in HFS, 2 in HFS+
    std::size_t fixedIndexKeyLength;  ///< key length forced in index records; 0: as it is
    std::uint16_t maxKeyLength;
    bool appendSplits;  ///< a record behind a full leaf opens a leaf of its own
    /// Sign of the order of two whole keys, length field included.
    int (*compare)(ConstByteSpan a, ConstByteSpan b);
};

/// A view of a node's bytes. Reading a node that came from outside begins with `isSound`; after it
/// all records may be used without further checks.
class NodeView {
  public:
    NodeView(ByteSpan bytes, const TreeFormat& format) : bytes_(bytes), format_(&format) {}

    [[nodiscard]] NodeDescriptor& descriptor() const {
        return *reinterpret_cast<NodeDescriptor*>(bytes_.data());
    }
    [[nodiscard]] NodeKind kind() const { return static_cast<NodeKind>(descriptor().kind); }
    [[nodiscard]] std::size_t count() const { return descriptor().recordCount; }
    [[nodiscard]] ByteSpan bytes() const { return bytes_; }

    /// Byte offset of record `index`; of free space for `index` = count.
    [[nodiscard]] std::size_t offset(std::size_t index) const { return offsetWord(index); }
    [[nodiscard]] ByteSpan record(std::size_t index) const {
        return bytes_.subspan(offset(index), offset(index + 1) - offset(index));
    }
    /// Key of a record, with its length field, without padding.
    [[nodiscard]] ByteSpan key(std::size_t index) const;
    /// What follows the key.
    [[nodiscard]] ByteSpan data(std::size_t index) const;
    /// Child of an index record.
    [[nodiscard]] std::uint32_t child(std::size_t index) const;

    /// Bytes free for records and their offsets.
    [[nodiscard]] std::size_t freeBytes() const {
        return bytes_.size() - 2 * (count() + 1) - offset(count());
    }
    /// Whether a record of that many bytes, with its offset, still fits.
    [[nodiscard]] bool fits(std::size_t recordBytes) const {
        return recordBytes + 2 <= freeBytes();
    }

    /// Empties the node and gives it kind and height; the links become 0.
    void clear(NodeKind kind, std::uint8_t height);
    /// Puts a record (key and data, already padded) before record `index`; it must fit.
    void insert(std::size_t index, ConstByteSpan record);
    /// Moves the records from `first` on to the end of `target`, which must have room.
    void moveTail(std::size_t first, NodeView& target);
    /// Takes record `index` out.
    void remove(std::size_t index);

    /// Whether offsets rise within the node and each key lies within its record.
    [[nodiscard]] bool isSound() const;

  private:
    [[nodiscard]] be16& offsetWord(std::size_t index) const {
        return *reinterpret_cast<be16*>(bytes_.data() + bytes_.size() - 2 * (index + 1));
    }
    [[nodiscard]] std::size_t keySize(ConstByteSpan record) const;

    ByteSpan bytes_;
    const TreeFormat* format_;
};

}  // namespace vellmark
