#include "containers/bundle_bit.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "containers/fork_pair.hpp"
#include "support/endian.hpp"

namespace vellmark {
namespace {

struct ResourceForkHeader {
    be32 dataOffset;  ///< bytes from the start of the fork, as is the next
    be32 mapOffset;
    be32 dataLength;  ///< bytes
    be32 mapLength;
};
static_assert(sizeof(ResourceForkHeader) == 16);

struct ResourceTypeEntry {
    std::array<char, 4> type;
    be16 lastResource;  ///< number of resources of the type, less one
    be16 listOffset;
};
static_assert(sizeof(ResourceTypeEntry) == 8);

constexpr std::uint32_t kUsualDataOffset = 256;
constexpr std::uint32_t kTypeCountOffset = 28;
constexpr std::uint16_t kNoTypes = 0xFFFF;
constexpr std::array<char, 4> kBundleType{'B', 'N', 'D', 'L'};

}  // namespace

bool HasBundleResource(ByteSource& resourceFork) {
    ResourceForkHeader header;
    be16 lastType;
    if (!resourceFork.readRecord(0, header) || header.dataOffset != kUsualDataOffset)
        return false;
    SliceSource map(resourceFork, header.mapOffset, header.mapLength);
    if (!map.readRecord(kTypeCountOffset, lastType) || lastType == kNoTypes)
        return false;
    std::vector<ResourceTypeEntry> types(lastType + 1u);
    const std::size_t got = map.readAt(
        kTypeCountOffset + sizeof(lastType),
        {reinterpret_cast<std::uint8_t*>(types.data()), types.size() * sizeof(ResourceTypeEntry)});
    types.resize(got / sizeof(ResourceTypeEntry));
    return std::any_of(types.begin(), types.end(),
                       [](const ResourceTypeEntry& entry) { return entry.type == kBundleType; });
}

}  // namespace vellmark
