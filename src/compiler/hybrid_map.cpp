#include "compiler/hybrid_map.hpp"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace vellmark {

namespace {

constexpr std::uint16_t kBlockBytes = 512;
constexpr std::uint32_t kMostBlockBytes = 32'768;
constexpr std::uint32_t kMostMapEntries = 1024;
constexpr std::uint32_t kHybridMapEntries = 2;
constexpr std::string_view kMapType = "Apple_partition_map";
constexpr std::string_view kHfsType = "Apple_HFS";
/// Of a driver descriptor, from its `drivers` on: device, then the number of drivers.
constexpr std::size_t kDriverCountOffset = 8;

std::string_view TypeOf(const PartitionMapEntry& entry) {
    const auto end = std::find(entry.type.begin(), entry.type.end(), '\0');
    return {entry.type.data(), static_cast<std::size_t>(end - entry.type.begin())};
}

// A map whose blocks have another size, or that does not begin with its own entry, gives no usable
// entry for a map in blocks of 512.
PartitionMapEntry MapEntryOf(const FoundPartition& partition) {
    PartitionMapEntry entry = partition.map.mapEntry;
    if (partition.blockBytes == kBlockBytes && TypeOf(entry) == kMapType)
        return entry;
    entry = {};
    entry.signature = kPartitionMapSignature;
    entry.startBlock = 1;
    entry.blockCount = kHybridMapEntries;
    entry.dataCount = kHybridMapEntries;
    entry.status = partition.map.hfsEntry.status;
    constexpr std::string_view kName = "Apple";
    std::copy(kName.begin(), kName.end(), entry.name.begin());
    std::copy(kMapType.begin(), kMapType.end(), entry.type.begin());
    return entry;
}

}  // namespace

std::optional<FoundPartition> FindHfsPartition(ByteSource& disk) {
    FoundPartition found;
    HybridMap& map = found.map;
    if (!disk.readRecord(0, map.descriptor) ||
        map.descriptor.signature != kDriverDescriptorSignature)
        return std::nullopt;
    found.blockBytes = map.descriptor.blockSize;
    if (found.blockBytes == 0 || found.blockBytes % kBlockBytes != 0 ||
        found.blockBytes > kMostBlockBytes || !disk.readRecord(found.blockBytes, map.mapEntry))
        return std::nullopt;
    const std::uint32_t entries = std::min<std::uint32_t>(map.mapEntry.mapEntries, kMostMapEntries);
    for (std::uint32_t i = 1; i <= entries; ++i) {
        PartitionMapEntry entry;
        if (!disk.readRecord(std::uint64_t{i} * found.blockBytes, entry) ||
            entry.signature != kPartitionMapSignature)
            return std::nullopt;
        if (TypeOf(entry) != kHfsType)
            continue;
        map.hfsEntry = entry;
        found.offset = std::uint64_t{entry.startBlock} * found.blockBytes;
        found.sizeBytes = std::uint64_t{entry.blockCount} * found.blockBytes;
        return found;
    }
    return std::nullopt;
}

HybridMap MakeHybridMap(const FoundPartition& partition, std::uint32_t startBlock,
                        std::uint32_t blockCount, std::uint32_t discBlocks) {
    HybridMap map = partition.map;
    map.descriptor.blockSize = kBlockBytes;
    map.descriptor.blockCount = discBlocks;
    std::fill(map.descriptor.drivers.begin() + kDriverCountOffset, map.descriptor.drivers.end(),
              std::uint8_t{0});
    map.mapEntry = MapEntryOf(partition);
    map.mapEntry.mapEntries = kHybridMapEntries;
    map.hfsEntry.mapEntries = kHybridMapEntries;
    map.hfsEntry.startBlock = startBlock;
    map.hfsEntry.blockCount = blockCount;
    map.hfsEntry.dataStart = 0;
    map.hfsEntry.dataCount = blockCount;
    return map;
}

}  // namespace vellmark
