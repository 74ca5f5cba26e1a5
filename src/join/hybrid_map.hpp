// The driver descriptor and the partition map that lie in the first 1,536 bytes of a hybrid disc
// (Inside Macintosh: Devices, "SCSI Manager"), in blocks of 512 bytes.
#pragma once

#include <cstdint>
#include <vector>

#include "IO/partition_structures.hpp"
#include "support/byte_source.hpp"
#include "support/medium_places.hpp"

namespace vellmark {

/// What stands in front of a partition: blocks 0, 1 and 2 of a disc.
struct HybridMap {
    DriverDescriptor descriptor;
    PartitionMapEntry mapEntry;  ///< the map itself
    PartitionMapEntry hfsEntry;
};
inline constexpr std::uint32_t kHybridMapBytes = 1536;
static_assert(sizeof(HybridMap) == kHybridMapBytes && alignof(HybridMap) == 1);

/// The map of a disk, and one of its partitions of type "Apple_HFS".
struct FoundPartition {
    HybridMap map;  ///< as they stand there; the first entry may be of any type
    std::uint32_t blockBytes = 0;
    std::uint64_t offset = 0;     ///< bytes from the start of the disk
    std::uint64_t sizeBytes = 0;  ///< as stored in its entry
};

/// Finds all of them, in the order of the map. None where there is no descriptor, no map behind it
/// or no such partition.
[[nodiscard]] std::vector<FoundPartition> FindHfsPartitions(ByteSource& disk);

/// The map of a hybrid disc that has this partition, of `sectorCount` sectors of 512 bytes, at
/// `start` and ends before `discEnd`. Drivers that the old disk names stay behind with it.
[[nodiscard]] HybridMap MakeHybridMap(const FoundPartition& partition, Sector512 start,
                                      std::uint32_t sectorCount, Sector512 discEnd);

}  // namespace vellmark
