#include "containers/bundle_bit.hpp"

#include <algorithm>
#include <array>

#include "containers/resource_fork.hpp"

namespace vellmark {
namespace {

constexpr std::uint32_t kUsualDataOffset = 256;
constexpr std::array<char, 4> kBundleType{'B', 'N', 'D', 'L'};

}  // namespace

bool HasBundleResource(ByteSource& resourceFork) {
    const auto header = ReadResourceHeader(resourceFork, 0);
    if (!header || header->dataOffset != kUsualDataOffset)
        return false;
    SliceSource map(resourceFork, header->mapOffset, header->mapLength);
    const ResourceTypeList types = ReadResourceTypes(map);
    return std::any_of(types.entries.begin(), types.entries.end(),
                       [](const ResourceTypeEntry& entry) { return entry.type == kBundleType; });
}

}  // namespace vellmark
