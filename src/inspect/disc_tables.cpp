// Descriptors, path tables and directories of ISO 9660 and Joliet.
#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "IO/iso_text.hpp"
#include "inspect/field_place.hpp"
#include "inspect/structure_table.hpp"
#include "support/encoding.hpp"

namespace vellmark {
namespace {

using Kind = FieldKind;
using Descriptor = IsoVolumeDescriptor;

constexpr int kTextRoot = 3285;
constexpr Caption kJolietDescriptor = 3274;
constexpr Caption kJolietPathTable = 3330;
constexpr Caption kJolietDirectory = 3332;
/// Of a table or directory; no disc has larger ones.
constexpr std::uint32_t kMostBytes = 4 << 20;

constexpr std::array<Caption, 1> kOnePage = {Sentence::kNone};
constexpr std::size_t kRootPlace = offsetof(Descriptor, root);

constexpr std::array<FieldRow, 7> kDescriptorRows = {{
    {0, "systemId", 3267, Kind::DiscText, VELLMARK_FIELD(Descriptor, systemId)},
    {0, "volumeId", 3268, Kind::DiscText, VELLMARK_FIELD(Descriptor, volumeId)},
    // Of numbers in both orders of bytes the first half is read.
    {0, "length", 3269, Kind::Little, offsetof(Descriptor, spaceSize), sizeof(le32)},
    {0, "pathTableSize", 3270, Kind::Little, offsetof(Descriptor, pathTableBytes), sizeof(le32)},
    {0, "pathTable", 3271, Kind::Little, VELLMARK_FIELD(Descriptor, pathTableL),
     LinkRule::DiscBlock, "go_pthtab"},
    {0, "secondPathTable", 3272, Kind::Big, VELLMARK_FIELD(Descriptor, pathTableM),
     LinkRule::DiscBlock, "go_pthtab2"},
    {0, "root", 3273, Kind::Little, kRootPlace + offsetof(IsoDirectoryRecord, extent), sizeof(le32),
     LinkRule::DiscBlock, "go_root"},
}};

void TitleOfDescriptor(const SectorScene& scene, Analysis& analysis) {
    if (scene.at<std::uint8_t>(0) == kIsoDescriptorSupplementary)
        analysis.title = kJolietDescriptor.reason();
}

std::vector<std::uint8_t> ReadHere(const SectorScene& scene, std::uint32_t wanted) {
    return scene.readOn(std::clamp<std::uint32_t>(wanted, kIsoSectorBytes, kMostBytes));
}

// The tree whose descriptor leads to the scene's sector, by the places that `named` finds in it.
template <typename Named>
std::optional<IsoTree> TreeThatNames(const SectorScene& scene, Named named) {
    for (const IsoTree tree : {IsoTree::Iso, IsoTree::Joliet})
        if (const auto& descriptor = scene.image.descriptor(tree == IsoTree::Joliet))
            for (const std::uint32_t block : named(*descriptor))
                if (block != 0 &&
                    std::uint64_t{block} * scene.image.discBlockSectors() == scene.imageSector)
                    return tree;
    return std::nullopt;
}

std::optional<IsoTree> TreeOfPathTable(const SectorScene& scene) {
    return TreeThatNames(scene, [](const Descriptor& descriptor) {
        return std::array<std::uint32_t, 4>{descriptor.pathTableL, descriptor.pathTableM,
                                            descriptor.optionalPathTableL,
                                            descriptor.optionalPathTableM};
    });
}

std::vector<std::uint8_t> ReadPathTable(const SectorScene& scene) {
    const auto tree = TreeOfPathTable(scene);
    if (!tree)
        return ReadHere(scene, kIsoSectorBytes);
    const std::uint32_t told = scene.image.descriptor(*tree == IsoTree::Joliet)->pathTableBytes;
    std::vector<std::uint8_t> bytes = ReadHere(scene, told);
    bytes.resize(std::clamp<std::size_t>(told, kSectorBytes, bytes.size()));
    return bytes;
}

// Names of an ISO tree have no zeros; those of a Joliet tree are made of words.
bool LooksLikeJoliet(std::string_view name) {
    return name.size() > 1 && name.size() % 2 == 0 && name.find('\0') != std::string_view::npos;
}

std::string_view BytesAt(const SectorScene& scene, std::size_t offset, std::size_t count) {
    const std::string_view all(reinterpret_cast<const char*>(scene.bytes.data()),
                               scene.bytes.size());
    return all.substr(std::min(offset, all.size()), count);
}

std::optional<SectorLink> DiscLink(const SectorScene& scene, std::uint64_t block) {
    return SectorLink{"position", block * scene.image.discBlockSectors(), StructureCode::Unknown};
}

/// A record of a path table, in either order of bytes.
struct PathItem {
    std::size_t offset = 0;
    std::size_t length = 0;
    std::string_view name;
    std::uint32_t extent = 0;
    std::uint16_t parent = 0;
};

std::vector<PathItem> PathItems(const SectorScene& scene) {
    // The root is its own parent, number 1.
    const bool isBig = scene.at<be16>(offsetof(IsoPathRecord, parent)) == 1;
    std::vector<PathItem> items;
    for (std::size_t at = 0; at + sizeof(IsoPathRecord) <= scene.bytes.size();) {
        const auto record = scene.at<IsoPathRecord>(at);
        const std::size_t length = sizeof record + record.nameLength + record.nameLength % 2;
        if (record.nameLength == 0 || length > scene.bytes.size() - at)
            break;
        PathItem item{at, length, BytesAt(scene, at + sizeof record, record.nameLength),
                      record.extent, record.parent};
        if (isBig) {
            item.extent = Swap32(item.extent);
            item.parent = Swap16(item.parent);
        }
        items.push_back(item);
        at += length;
    }
    return items;
}

void AddPathList(const SectorScene& scene, Analysis& analysis) {
    const std::vector<PathItem> items = PathItems(scene);
    const bool joliet =
        TreeOfPathTable(scene).value_or(
            std::any_of(items.begin(), items.end(),
                        [](const PathItem& item) { return LooksLikeJoliet(item.name); })
                ? IsoTree::Joliet
                : IsoTree::Iso) == IsoTree::Joliet;
    if (joliet)
        analysis.title = kJolietPathTable.reason();
    AnalysedList list;
    for (const int caption : {3282, 3283, 3284})
        list.columns.emplace_back(ToldText{caption});
    for (const PathItem& item : items) {
        const bool isRoot = item.name.size() == 1 && item.name[0] == '\0';
        list.rows.push_back(
            {{isRoot ? scene.word(kTextRoot)
                     : Printable(IsoTextToUtf8(item.name, joliet ? IsoTree::Joliet : IsoTree::Iso)),
              fmt::format("{}", item.parent), fmt::format("{}", item.extent)},
             {static_cast<std::uint32_t>(item.offset), static_cast<std::uint32_t>(item.length)},
             DiscLink(scene, item.extent)});
    }
    analysis.pages[0].list = std::move(list);
}

std::vector<std::uint8_t> ReadDirectory(const SectorScene& scene) {
    const std::uint32_t told = scene.at<IsoDirectoryRecord>(0).sizeBytes;
    std::vector<std::uint8_t> bytes = ReadHere(scene, told);
    bytes.resize(std::clamp<std::size_t>(told, kSectorBytes, bytes.size()));
    return bytes;
}

struct DirectoryItem {
    std::size_t offset = 0;
    IsoDirectoryRecord record;
    std::string_view name;
};

// Records do not cross a sector of the disc; a length of 0 ends one.
std::vector<DirectoryItem> DirectoryItems(const SectorScene& scene) {
    std::vector<DirectoryItem> items;
    for (std::size_t at = 0; at + sizeof(IsoDirectoryRecord) <= scene.bytes.size();) {
        const auto record = scene.at<IsoDirectoryRecord>(at);
        const std::size_t sectorEnd = (at / kIsoSectorBytes + 1) * kIsoSectorBytes;
        if (record.length < sizeof record + 1 || at + record.length > sectorEnd) {
            at = sectorEnd;
            continue;
        }
        items.push_back(
            {at, record,
             BytesAt(scene, at + sizeof record,
                     std::min<std::size_t>(record.nameLength, record.length - sizeof record))});
        at += record.length;
    }
    return items;
}

// `.` and `..` have a name of one byte, 0 and 1.
std::string NameOf(std::string_view name, IsoTree tree) {
    if (name.size() == 1 && static_cast<unsigned char>(name[0]) <= 1)
        return name[0] == '\0' ? "." : "..";
    return Printable(IsoTextToUtf8(name, tree));
}

IsoTree TreeOfDirectory(const SectorScene& scene, const std::vector<DirectoryItem>& items) {
    const auto named = TreeThatNames(scene, [](const Descriptor& descriptor) {
        return std::array<std::uint32_t, 1>{descriptor.root.extent};
    });
    const bool looks = std::any_of(items.begin(), items.end(), [](const DirectoryItem& item) {
        return LooksLikeJoliet(item.name);
    });
    return named.value_or(looks ? IsoTree::Joliet : IsoTree::Iso);
}

void AddDirectoryList(const SectorScene& scene, Analysis& analysis) {
    const std::vector<DirectoryItem> items = DirectoryItems(scene);
    const IsoTree tree = TreeOfDirectory(scene, items);
    if (tree == IsoTree::Joliet)
        analysis.title = kJolietDirectory.reason();
    AnalysedList list;
    for (const int caption : {3278, 3279, 3280, 3283})
        list.columns.emplace_back(ToldText{caption});
    // What is in the folder has the folder for parent; the folder itself what `..` names.
    const std::uint32_t own = scene.at<IsoDirectoryRecord>(0).extent;
    const std::uint32_t above = items.size() > 1 ? std::uint32_t{items[1].record.extent} : own;
    for (const DirectoryItem& item : items) {
        const std::uint32_t extent = item.record.extent;
        list.rows.push_back(
            {{NameOf(item.name, tree), fmt::format("{}", std::uint32_t{item.record.sizeBytes}),
              fmt::format("{}", extent), fmt::format("{}", list.rows.size() < 2 ? above : own)},
             {static_cast<std::uint32_t>(item.offset), item.record.length},
             DiscLink(scene, extent)});
    }
    analysis.pages[0].list = std::move(list);
}

constexpr std::array<StructureTable, 3> kTables = {{
    {StructureCode::IsoDescriptor, "TSectISO", 3266, kOnePage, kDescriptorRows, nullptr,
     TitleOfDescriptor},
    {StructureCode::IsoPathTable, "TPathISO", 3275, kOnePage, {}, ReadPathTable, AddPathList},
    {StructureCode::IsoDirectory, "TRepISO", 3331, kOnePage, {}, ReadDirectory, AddDirectoryList},
}};

}  // namespace

std::span<const StructureTable> DiscTables() {
    return kTables;
}

}  // namespace vellmark
