#include "IO/apple_map.hpp"

#include <algorithm>
#include <limits>

namespace vellmark {

namespace {

constexpr std::uint32_t kUsualBlock = 512;
constexpr std::uint64_t kVolumeHeaderByte = 1024;

bool ReadEntry(ByteSource& disk, std::uint64_t offset, PartitionMapEntry& entry) {
    return disk.readRecord(offset, entry) && entry.signature == kPartitionMapSignature;
}

// The block size with which the map is found behind the descriptor; 0 for no map. Discs for drives
// with blocks of 2,048 bytes may have a map in blocks of 512, whose fourth entry stands where one
// in the larger blocks would begin.
std::uint32_t FindBlockSize(ByteSource& disk, const DriverDescriptor& descriptor) {
    PartitionMapEntry entry;
    const std::uint32_t told = descriptor.blockSize;
    const bool isThere = told != 0 && told % kUsualBlock == 0 && ReadEntry(disk, told, entry);
    if (isThere && (told == kUsualBlock || MapText(entry.type) == kMapPartitionType))
        return told;
    if (ReadEntry(disk, kUsualBlock, entry))
        return kUsualBlock;
    return isThere ? told : 0;
}

}  // namespace

std::optional<AppleMap> ReadAppleMap(ByteSource& disk) {
    AppleMap map;
    std::uint64_t offset = 0;
    if (disk.readRecord(0, map.descriptor) &&
        map.descriptor.signature == kDriverDescriptorSignature) {
        map.blockBytes = FindBlockSize(disk, map.descriptor);
        offset = map.blockBytes;
    } else {
        map.descriptor = {};
    }
    PartitionMapEntry entry;
    // Discs that a PC starts from have its boot record where the descriptor would be.
    if (offset == 0 && !ReadEntry(disk, 0, entry))
        offset = kUsualBlock;
    if (map.blockBytes == 0 || !ReadEntry(disk, offset, entry))
        return std::nullopt;
    map.offset = offset;
    const std::uint32_t count = std::min<std::uint32_t>(entry.mapEntries, kMostMapEntries);
    do {
        map.entries.push_back(entry);
        offset += map.blockBytes;
    } while (map.entries.size() < count && ReadEntry(disk, offset, entry));
    return map;
}

std::string_view MapText(const std::array<char, 32>& field) {
    const auto end = std::find(field.begin(), field.end(), '\0');
    return {field.data(), static_cast<std::size_t>(end - field.begin())};
}

bool IsHfsEntry(const PartitionMapEntry& entry) {
    const std::string_view type = MapText(entry.type);
    return kHfsPartitionType.starts_with(type) || type == kHfsxPartitionType;
}

std::uint16_t VolumeSignatureAt(ByteSource& disk, std::uint64_t start) {
    be16 signature;
    if (start > std::numeric_limits<std::uint64_t>::max() - kVolumeHeaderByte ||
        !disk.readRecord(start + kVolumeHeaderByte, signature))
        return 0;
    return signature == kHfsSignature || IsHfsPlusSignature(signature) ? std::uint16_t{signature}
                                                                       : std::uint16_t{0};
}

}  // namespace vellmark
