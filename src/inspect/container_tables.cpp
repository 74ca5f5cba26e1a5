// Headers of files that travel with both of their forks.
#include <array>

#include "containers/apple_single.hpp"
#include "containers/mac_binary.hpp"
#include "inspect/field_place.hpp"
#include "inspect/structure_table.hpp"

namespace vellmark {
namespace {

using Kind = FieldKind;
using Binary = MacBinaryHeader;
using Apple = AppleFileHeader;

constexpr std::array<Caption, 1> kOnePage = {Sentence::kNone};

std::optional<std::uint64_t> BinaryResource(const SectorScene& scene) {
    const auto header = scene.at<Binary>(0);
    if (header.resourceLength == 0)
        return std::nullopt;
    constexpr std::uint64_t kUnitBytes = sizeof(Binary);
    const std::uint64_t secondary =
        (header.secondaryLength + kUnitBytes - 1) / kUnitBytes * kUnitBytes;
    return MacBinaryResourceOffset(header.dataLength) + secondary;
}

constexpr std::array<FieldRow, 5> kBinaryRows = {{
    {0, "name", Sentence::kContainerName, Kind::MacString, offsetof(Binary, nameLength),
     sizeof(Binary::nameLength) + sizeof(Binary::name)},
    {0, "signature", Sentence::kContainerSignature, Kind::MacText,
     VELLMARK_FIELD(Binary, signature)},
    {0, "dataLength", Sentence::kContainerDataLength, Kind::Big,
     VELLMARK_FIELD(Binary, dataLength)},
    {0, "resourceLength", Sentence::kContainerResourceLength, Kind::Big,
     VELLMARK_FIELD(Binary, resourceLength)},
    {0, "resourcePosition", Sentence::kContainerResourcePosition, Kind::Computed, 0, 0,
     LinkRule::OwnByte, "GoR", BinaryResource},
}};

// The entry of a fork among those that lie in the sector.
std::optional<AppleFileEntry> EntryOf(const SectorScene& scene, AppleEntryId id) {
    const std::uint32_t count = scene.at<Apple>(0).entryCount;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t offset = sizeof(Apple) + i * sizeof(AppleFileEntry);
        if (offset + sizeof(AppleFileEntry) > scene.bytes.size())
            break;
        if (const auto entry = scene.at<AppleFileEntry>(offset);
            entry.id == static_cast<std::uint32_t>(id))
            return entry;
    }
    return std::nullopt;
}

template <AppleEntryId Id>
std::optional<std::uint64_t> PositionOf(const SectorScene& scene) {
    const auto entry = EntryOf(scene, Id);
    return entry ? std::optional(std::uint64_t{entry->offset}) : std::nullopt;
}
template <AppleEntryId Id>
std::optional<std::uint64_t> LengthOf(const SectorScene& scene) {
    const auto entry = EntryOf(scene, Id);
    return entry ? std::optional(std::uint64_t{entry->length}) : std::nullopt;
}

constexpr FieldRow kMagic = {0, "signature", Sentence::kContainerMagic, Kind::BigHex,
                             VELLMARK_FIELD(Apple, magic)};
constexpr FieldRow kVersion = {0, "version", Sentence::kContainerVersion, Kind::BigHex,
                               VELLMARK_FIELD(Apple, version)};
constexpr FieldRow kEntryCount = {0, "entryCount", Sentence::kContainerEntries, Kind::Big,
                                  VELLMARK_FIELD(Apple, entryCount)};
constexpr FieldRow Computed(std::string_view key, Sentence caption, ComputeValue compute,
                            std::string_view linkName = {}) {
    return {0,
            key,
            caption,
            Kind::Computed,
            0,
            0,
            linkName.empty() ? LinkRule::None : LinkRule::OwnByte,
            linkName,
            compute};
}
constexpr FieldRow kDataPosition = Computed("dataPosition", Sentence::kContainerDataPosition,
                                            PositionOf<AppleEntryId::DataFork>, "GoD");
constexpr FieldRow kDataLength =
    Computed("dataLength", Sentence::kContainerDataLength, LengthOf<AppleEntryId::DataFork>);
constexpr FieldRow kResourcePosition =
    Computed("resourcePosition", Sentence::kContainerResourcePosition,
             PositionOf<AppleEntryId::ResourceFork>, "GoR");
constexpr FieldRow kResourceLength = Computed("resourceLength", Sentence::kContainerResourceLength,
                                              LengthOf<AppleEntryId::ResourceFork>);

constexpr std::array<FieldRow, 7> kSingleRows = {{kMagic, kVersion, kEntryCount, kDataPosition,
                                                  kDataLength, kResourcePosition, kResourceLength}};
// The data fork is the other file.
constexpr std::array<FieldRow, 5> kDoubleRows = {
    {kMagic, kVersion, kEntryCount, kResourcePosition, kResourceLength}};

constexpr std::array<StructureTable, 3> kTables = {{
    {StructureCode::MacBinary, "TMacBin", Sentence::kContainerMacBinary, kOnePage, kBinaryRows},
    {StructureCode::AppleSingle, "TAS", Sentence::kContainerAppleSingle, kOnePage, kSingleRows},
    {StructureCode::AppleDouble, "TAD", Sentence::kContainerAppleDouble, kOnePage, kDoubleRows},
}};

}  // namespace

std::span<const StructureTable> ContainerTables() {
    return kTables;
}

}  // namespace vellmark
