#include "IO/boot_areas.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <span>
#include <string_view>

#include "IO/iso_structures.hpp"
#include "support/endian.hpp"

namespace vellmark {

namespace {

constexpr std::uint8_t kBootDescriptorType = 0;
constexpr std::string_view kBootSystem = "EL TORITO SPECIFICATION";
constexpr std::size_t kBootSystemOffset = 7;
constexpr std::size_t kBootCatalogOffset = 71;
constexpr std::uint32_t kMostDescriptors = 64;

// An entry of the catalog. Sectors of the image count 512 bytes.
constexpr std::size_t kEntryBytes = 32;
constexpr std::size_t kEntryMedium = 1;
constexpr std::size_t kEntrySectors = 6;
constexpr std::size_t kEntryImage = 8;
constexpr std::uint8_t kBootable = 0x88;
constexpr std::uint32_t kBootSectorBytes = 512;

// Lengths of the diskettes of 1.2, 1.44 and 2.88 MB that an image may stand for, by medium type.
constexpr std::array<std::uint64_t, 4> kDisketteBytes = {0, 1'228'800, 1'474'560, 2'949'120};
constexpr unsigned kHardDisk = 4;
constexpr unsigned kMediumMask = 0x0F;
// First entry of the partition table of a hard disk: first sector and number of sectors.
constexpr std::size_t kPartitionStart = 446 + 8;
constexpr std::size_t kPartitionSectors = 446 + 12;
// A table that programs which burn discs put into a loader: its own place and its length.
constexpr std::size_t kInfoPlace = 12;
constexpr std::size_t kInfoLength = 16;

std::uint32_t Little(std::span<const std::uint8_t> bytes, std::size_t at) {
    le32 word;
    std::memcpy(&word, bytes.data() + at, sizeof word);
    return word;
}

// The sector count in the catalog is what a computer loads, which may be the beginning only.
std::uint64_t ImageBytes(ByteSource& disc, std::span<const std::uint8_t> entry,
                         std::uint32_t place) {
    le16 sectors;
    std::memcpy(&sectors, entry.data() + kEntrySectors, sizeof sectors);
    std::uint64_t bytes = std::max<std::uint64_t>(
        std::uint64_t{std::uint16_t{sectors}} * kBootSectorBytes, kIsoSectorBytes);
    const unsigned medium = entry[kEntryMedium] & kMediumMask;
    if (medium < kDisketteBytes.size())
        bytes = std::max(bytes, kDisketteBytes[medium]);
    std::array<std::uint8_t, kBootSectorBytes> first{};
    if (!disc.readExactly(std::uint64_t{place} * kIsoSectorBytes, first))
        return bytes;
    if (medium == 0 && Little(first, kInfoPlace) == place)
        bytes = std::max<std::uint64_t>(bytes, Little(first, kInfoLength));
    if (medium == kHardDisk)
        bytes = std::max(bytes, (std::uint64_t{Little(first, kPartitionStart)} +
                                 Little(first, kPartitionSectors)) *
                                    kBootSectorBytes);
    return bytes;
}

bool AddCatalog(ByteSource& disc, std::uint64_t offset, std::vector<BootArea>& areas) {
    std::array<std::uint8_t, kIsoSectorBytes> catalog;
    if (!disc.readExactly(offset, catalog))
        return false;
    areas.push_back({offset, catalog.size()});
    for (std::size_t at = kEntryBytes; at < catalog.size(); at += kEntryBytes) {
        const std::span<const std::uint8_t> entry(catalog.data() + at, kEntryBytes);
        // The first entry has an image even where a computer is not to start from it.
        const std::uint32_t place = Little(entry, kEntryImage);
        if (entry[0] == kBootable || (at == kEntryBytes && entry[0] == 0 && place != 0))
            areas.push_back(
                {std::uint64_t{place} * kIsoSectorBytes, ImageBytes(disc, entry, place)});
    }
    return true;
}

}  // namespace

std::optional<std::vector<BootArea>> FindBootAreas(ByteSource& disc) {
    std::vector<BootArea> areas;
    for (std::uint32_t i = 0; i < kMostDescriptors; ++i) {
        std::array<std::uint8_t, kIsoSectorBytes> sector;
        if (!disc.readExactly(std::uint64_t{kIsoFirstDescriptor + i} * kIsoSectorBytes, sector) ||
            sector[0] == kIsoDescriptorTerminator)
            break;
        if (sector[0] == kBootDescriptorType &&
            std::memcmp(sector.data() + kBootSystemOffset, kBootSystem.data(),
                        kBootSystem.size()) == 0 &&
            !AddCatalog(disc, std::uint64_t{Little(sector, kBootCatalogOffset)} * kIsoSectorBytes,
                        areas))
            return std::nullopt;
    }
    return areas;
}

}  // namespace vellmark
