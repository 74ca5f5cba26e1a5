#include "join/hybrid_map.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "IO/apple_map.hpp"

namespace vellmark {

namespace {

constexpr std::uint16_t kBlockBytes = 512;
constexpr std::uint32_t kHybridMapEntries = 2;
/// Of a driver descriptor, from its `drivers` on: device, then the number of drivers.
constexpr std::size_t kDriverCountOffset = 8;

// A map whose blocks have another size, or that does not begin with its own entry, gives no usable
// entry for a map in blocks of 512.
PartitionMapEntry MapEntryOf(const FoundPartition& partition) {
    PartitionMapEntry entry = partition.map.mapEntry;
    if (partition.blockBytes == kBlockBytes && MapText(entry.type) == kMapPartitionType)
        return entry;
    entry = {};
    entry.signature = kPartitionMapSignature;
    entry.startBlock = 1;
    entry.blockCount = kHybridMapEntries;
    entry.dataCount = kHybridMapEntries;
    entry.status = partition.map.hfsEntry.status;
    constexpr std::string_view kName = "Apple";
    std::copy(kName.begin(), kName.end(), entry.name.begin());
    std::copy(kMapPartitionType.begin(), kMapPartitionType.end(), entry.type.begin());
    return entry;
}

}  // namespace

std::vector<FoundPartition> FindHfsPartitions(ByteSource& disk) {
    std::vector<FoundPartition> found;
    const auto map = ReadAppleMap(disk);
    if (!map || map->descriptor.signature != kDriverDescriptorSignature)
        return found;
    for (const PartitionMapEntry& entry : map->entries)
        if (IsHfsEntry(entry))
            found.push_back({{map->descriptor, map->entries.front(), entry},
                             map->blockBytes,
                             std::uint64_t{entry.startBlock} * map->blockBytes,
                             std::uint64_t{entry.blockCount} * map->blockBytes});
    return found;
}

HybridMap MakeHybridMap(const FoundPartition& partition, Sector512 start, std::uint32_t sectorCount,
                        Sector512 discEnd) {
    HybridMap map = partition.map;
    map.descriptor.blockSize = kBlockBytes;
    map.descriptor.blockCount = static_cast<std::uint32_t>(discEnd.number());
    std::fill(map.descriptor.drivers.begin() + kDriverCountOffset, map.descriptor.drivers.end(),
              std::uint8_t{0});
    map.mapEntry = MapEntryOf(partition);
    map.mapEntry.mapEntries = kHybridMapEntries;
    map.hfsEntry.mapEntries = kHybridMapEntries;
    map.hfsEntry.startBlock = static_cast<std::uint32_t>(start.number());
    map.hfsEntry.blockCount = sectorCount;
    map.hfsEntry.dataStart = 0;
    map.hfsEntry.dataCount = sectorCount;
    return map;
}

}  // namespace vellmark
