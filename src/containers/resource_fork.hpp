// The map of a resource fork (Inside Macintosh: More Macintosh Toolbox, Resource Manager): which
// resources there are and where their bytes lie. The map is read once; the resources stay where
// they are. Nothing that it says is believed unseen: what is damaged is said, and the rest shown.
#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "containers/fork_pair.hpp"
#include "support/endian.hpp"
#include "support/reason.hpp"

namespace vellmark {

struct ResourceForkHeader {
    be32 dataOffset;  ///< bytes from the start of the fork, as is the next
    be32 mapOffset;
    be32 dataLength;  ///< bytes
    be32 mapLength;
};
static_assert(sizeof(ResourceForkHeader) == 16);

struct ResourceTypeEntry {
    std::array<char, 4> type;  ///< MacRoman
    be16 lastResource;         ///< number of resources of the type, less one
    be16 listOffset;           ///< of the first reference, from `kTypeListOffset` in the map
};
static_assert(sizeof(ResourceTypeEntry) == 8);

struct ResourceReference {
    be16 id;                 ///< signed to its owner
    be16 nameOffset;         ///< `kNoResourceName`: it has none
    be32 attributesAndData;  ///< attributes, then 24 bits: bytes from the start of the data
    be32 handle;             ///< of no meaning in a file
};
static_assert(sizeof(ResourceReference) == 12);

inline constexpr std::uint16_t kNoResourceName = 0xFFFF;
/// Where the type list stands in every map that the system writes: the count, then the entries.
inline constexpr std::uint32_t kTypeListOffset = 28;

/// Where a fork begins in an AppleDouble file without a table that says it.
inline constexpr std::uint64_t kAppleDoubleForkOffset = 82;

/// Where the resource fork begins in bytes that are looked at: 0, or behind the header when they
/// are an AppleDouble file.
[[nodiscard]] std::uint64_t ResourceBaseOffset(ByteSource& bytes);

/// The first record of the fork at byte `base`; nothing when it is not wholly there.
[[nodiscard]] std::optional<ResourceForkHeader> ReadResourceHeader(ByteSource& fork,
                                                                   std::uint64_t base);

/// The type list of a map, as far as the map has room for it.
struct ResourceTypeList {
    std::uint32_t counted = 0;  ///< types that the map says it has
    std::vector<ResourceTypeEntry> entries;
};
[[nodiscard]] ResourceTypeList ReadResourceTypes(ByteSource& map);

struct Resource {
    std::uint16_t id = 0;
    std::uint16_t nameOffset = kNoResourceName;
    std::uint8_t attributes = 0;
    bool isWhole = false;        ///< the length and all bytes lie within the fork
    std::uint64_t position = 0;  ///< of the length field, in the bytes that were read
    std::uint32_t length = 0;    ///< bytes behind it, as they are counted there; 0 without it

    /// The bytes of the resource without its length, as far as they are there.
    [[nodiscard]] SliceSource contents(ByteSource& fork) const {
        return {fork, position + kLengthBytes, length};
    }
    /// The same with the length in front, as a viewer shows it.
    [[nodiscard]] SliceSource withLength(ByteSource& fork) const {
        return {fork, position, kLengthBytes + length};
    }
    static constexpr std::uint64_t kLengthBytes = 4;
};

struct ResourceType {
    std::array<char, 4> letters{};  ///< MacRoman
    std::vector<Resource> resources;
};

/// What a map shows, in its order.
struct ResourceTree {
    std::vector<ResourceType> types;
    Reason problem;  ///< what is wrong with the map; the rest of it is in `types`

    [[nodiscard]] std::size_t count() const;
    /// The first resource of that type and id; null when there is none.
    [[nodiscard]] const Resource* find(std::string_view type, std::uint16_t id) const;
};

/// Reads the map of the fork at byte `base`. A fork without bytes has no resources, and is no
/// damage.
[[nodiscard]] ResourceTree WalkResourceMap(ByteSource& fork, std::uint64_t base);

/// `id=0x0080, lg=32`, as a resource is listed below its type.
[[nodiscard]] std::string ResourceLabel(const Resource& resource);
/// The four letters of a type in UTF-8, printable.
[[nodiscard]] std::string ResourceTypeName(const ResourceType& type);

}  // namespace vellmark
