#include "compiler/iso_reach.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

#include "IO/iso_structures.hpp"
#include "compiler/iso_folders.hpp"
#include "support/endian.hpp"

namespace vellmark {

namespace {

/// A boot catalog of El Torito, and where a volume descriptor tells it.
constexpr std::uint8_t kBootDescriptorType = 0;
constexpr std::string_view kBootSystem = "EL TORITO SPECIFICATION";
constexpr std::size_t kBootSystemOffset = 7;
constexpr std::size_t kBootCatalogOffset = 71;
constexpr std::size_t kBootEntryBytes = 32;
constexpr std::size_t kBootImageOffset = 8;
constexpr std::uint8_t kBootable = 0x88;
constexpr std::uint32_t kMostDescriptors = 64;

bool GoesBehind(const IsoEntry& entry, std::uint64_t limit) {
    return std::any_of(entry.extents.begin(), entry.extents.end(), [&](const IsoExtent& extent) {
        return extent.sizeBytes != 0 && extent.offset + extent.sizeBytes > limit;
    });
}

IsoReach TreeReach(const IsoReader& reader, IsoTree tree, std::uint64_t limit) {
    bool isBehind = GoesBehind(reader.root(tree), limit);
    const auto visit = [&](const IsoEntry&, const std::vector<IsoEntry>& entries) {
        isBehind = isBehind || std::any_of(entries.begin(), entries.end(),
                                           [&](const IsoEntry& e) { return GoesBehind(e, limit); });
        return !isBehind;
    };
    const std::string damage = ForEachIsoFolder(reader, tree, visit);
    return isBehind ? IsoReach::Behind : !damage.empty() ? IsoReach::Unknown : IsoReach::Within;
}

bool CatalogReaches(ByteSource& disc, std::uint64_t offset, std::uint64_t limit) {
    std::array<std::uint8_t, kIsoSectorBytes> catalog;
    if (offset >= limit || !disc.readExactly(offset, catalog))
        return true;
    for (std::size_t at = kBootEntryBytes; at < catalog.size(); at += kBootEntryBytes) {
        le32 image;
        std::memcpy(&image, catalog.data() + at + kBootImageOffset, sizeof image);
        if (catalog[at] == kBootable && std::uint64_t{image} * kIsoSectorBytes >= limit)
            return true;
    }
    return false;
}

}  // namespace

IsoReach TreesReach(const IsoReader& reader, std::uint64_t limit) {
    IsoReach reach = TreeReach(reader, IsoTree::Iso, limit);
    if (reader.hasJoliet() && reach != IsoReach::Behind)
        if (const IsoReach joliet = TreeReach(reader, IsoTree::Joliet, limit);
            joliet != IsoReach::Within)
            reach = joliet;
    return reach;
}

bool BootImagesReach(ByteSource& disc, std::uint64_t limit) {
    for (std::uint32_t i = 0; i < kMostDescriptors; ++i) {
        std::array<std::uint8_t, kIsoSectorBytes> sector;
        if (!disc.readExactly(std::uint64_t{kIsoFirstDescriptor + i} * kIsoSectorBytes, sector) ||
            sector[0] == kIsoDescriptorTerminator)
            return false;
        if (sector[0] != kBootDescriptorType ||
            std::memcmp(sector.data() + kBootSystemOffset, kBootSystem.data(),
                        kBootSystem.size()) != 0)
            continue;
        le32 catalog;
        std::memcpy(&catalog, sector.data() + kBootCatalogOffset, sizeof catalog);
        if (CatalogReaches(disc, std::uint64_t{catalog} * kIsoSectorBytes, limit))
            return true;
    }
    return false;
}

}  // namespace vellmark
