// Boot records and GUID tables of PC disks.
#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "inspect/boot_sector.hpp"
#include "inspect/field_place.hpp"
#include "inspect/field_values.hpp"
#include "inspect/sector_links.hpp"
#include "inspect/structure_table.hpp"

namespace vellmark {
namespace {

using Kind = FieldKind;
using Fat = FatBootSector;
using Fat32 = Fat32BootSector;
using Gpt = GptHeaderFields;

constexpr std::array<Caption, 1> kOnePage = {Sentence::kNone};

// ---- Master boot record

constexpr std::array<FieldRow, 1> kMbrRows = {{
    {0, "signature", 3295, Kind::SignatureHex, VELLMARK_FIELD(MasterBootRecord, signature)},
}};

struct PartitionTypeName {
    std::uint8_t type;
    Sentence sentence;
    std::string_view name;
};
constexpr std::array<PartitionTypeName, 13> kPartitionTypes = {{
    {0x01, Sentence::kPartitionOf, "FAT12"},
    {0x04, Sentence::kPartitionOf, "FAT16"},
    {0x06, Sentence::kPartitionOf, "FAT16"},
    {0x0E, Sentence::kPartitionOf, "FAT16"},
    {0x05, Sentence::kPartitionExtended, ""},
    {0x0F, Sentence::kPartitionExtended, ""},
    {0x07, Sentence::kPartitionOf, "HPFS/NTFS"},
    {0x0B, Sentence::kPartitionOf, "FAT32"},
    {0x0C, Sentence::kPartitionOf, "FAT32"},
    {0x12, Sentence::kPartitionOf, "EISA"},
    {kMbrTypeMacintosh, Sentence::kPartitionOf, "Macintosh"},
    {kMbrTypeProtective, Sentence::kPartitionOf, "EFI/GPT"},
    {0xEF, Sentence::kPartitionOf, "EFI/GPT"},
}};

std::string PartitionTypeText(std::uint8_t type, Language language) {
    const auto* const row = std::find_if(kPartitionTypes.begin(), kPartitionTypes.end(),
                                         [type](const auto& each) { return each.type == type; });
    return row == kPartitionTypes.end() ? fmt::format("???? (0x{:02x})", type)
                                        : Reason(row->sentence, row->name).words(language);
}

std::string BothBases(std::uint32_t number) {
    return fmt::format("{0} (0x{0:x})", number);
}

// A row without a first sector ends the table.
void AddMbrList(const SectorScene& scene, Analysis& analysis) {
    AnalysedList list;
    for (const int caption : {3296, 3297, 3298})
        list.columns.emplace_back(ToldText{caption});
    for (std::size_t i = 0; i < kMbrEntryCount; ++i) {
        const std::size_t offset = offsetof(MasterBootRecord, entries) + i * sizeof(MbrEntry);
        const auto entry = scene.at<MbrEntry>(offset);
        if (entry.firstSector == 0)
            break;
        list.rows.push_back(
            {{PartitionTypeText(entry.type, scene.language), BothBases(entry.firstSector),
              BothBases(entry.sectorCount)},
             {static_cast<std::uint32_t>(offset), sizeof entry},
             SectorLink{"position", entry.firstSector,
                        entry.type == kMbrTypeProtective ? StructureCode::GptHeader
                                                         : StructureCode::Unknown}});
    }
    analysis.pages[0].list = std::move(list);
}

// ---- Boot sector of a FAT volume

bool IsFat32(const SectorScene& scene) {
    return scene.at<Fat>(0).fatSectors16 == 0;
}

std::optional<std::uint64_t> TotalSectors(const SectorScene& scene) {
    const auto fat = scene.at<Fat>(0);
    return fat.sectorCount16 != 0 ? std::uint64_t{fat.sectorCount16}
                                  : std::uint64_t{fat.sectorCount32};
}

std::optional<std::uint64_t> FatSectors(const SectorScene& scene) {
    return IsFat32(scene) ? std::uint64_t{scene.at<Fat32>(0).fatSectors32}
                          : std::uint64_t{scene.at<Fat>(0).fatSectors16};
}

// Sector of the image: behind the FATs, or in FAT32 where its first cluster lies.
std::optional<std::uint64_t> RootSector(const SectorScene& scene) {
    constexpr std::uint32_t kFirstCluster = 2;
    const auto fat = scene.at<Fat>(0);
    std::uint64_t sector = fat.reservedSectors + *FatSectors(scene) * fat.fatCount;
    if (IsFat32(scene)) {
        const std::uint32_t cluster = scene.at<Fat32>(0).rootCluster;
        sector += std::uint64_t{cluster - std::min(cluster, kFirstCluster)} * fat.sectorsPerCluster;
    }
    return scene.inspected.imageSector(
        scene.sector + sector * std::max<std::uint32_t>(1, fat.sectorBytes / kSectorBytes));
}

constexpr std::array<Caption, 2> kBootPages = {3300, 3301};
constexpr std::array<FieldRow, 12> kBootRows = {{
    {0, "sectorCount", 3312, Kind::Computed, 0, 0, LinkRule::None, "", TotalSectors},
    {0, "sectorSize", 3303, Kind::Little, VELLMARK_FIELD(Fat, sectorBytes)},
    {0, "fatSize", 3308, Kind::Computed, 0, 0, LinkRule::None, "", FatSectors},
    {0, "root", 3317, Kind::Computed, 0, 0, LinkRule::Sector, "go_racine", RootSector},
    {1, "oem", 3302, Kind::AnsiText, VELLMARK_FIELD(Fat, oem)},
    {1, "clusterSectors", 3304, Kind::Little, VELLMARK_FIELD(Fat, sectorsPerCluster)},
    {1, "fatCount", 3305, Kind::Little, VELLMARK_FIELD(Fat, fatCount)},
    {1, "rootEntries", 3306, Kind::Little, VELLMARK_FIELD(Fat, rootEntries)},
    {1, "medium", 3307, Kind::LittleHex, VELLMARK_FIELD(Fat, medium)},
    {1, "sides", 3309, Kind::Little, VELLMARK_FIELD(Fat, sides)},
    {1, "trackSectors", 3310, Kind::Little, VELLMARK_FIELD(Fat, trackSectors)},
    {1, "hiddenSectors", 3311, Kind::Little, VELLMARK_FIELD(Fat, hiddenSectors)},
}};

// These stand at one place or the other.
constexpr std::array<FieldRow, 4> kIdentityRows = {{
    {0, "drive", 3313, Kind::Little, VELLMARK_FIELD(FatIdentity, driveNumber)},
    {0, "serial", 3314, Kind::LittleHex, VELLMARK_FIELD(FatIdentity, serialNumber)},
    {0, "label", 3315, Kind::AnsiText, VELLMARK_FIELD(FatIdentity, label)},
    {0, "fatType", 3316, Kind::AnsiText, VELLMARK_FIELD(FatIdentity, systemType)},
}};

void AddFields(const SectorScene& scene, Analysis& analysis, std::span<const FieldRow> rows,
               std::size_t base, std::size_t page) {
    for (const FieldRow& row : rows)
        for (AnalysedField& field : FieldsOf(scene, analysis.code, row, base))
            analysis.pages[page].fields.push_back(std::move(field));
}

void AddIdentity(const SectorScene& scene, Analysis& analysis) {
    AddFields(scene, analysis, kIdentityRows,
              IsFat32(scene) ? offsetof(Fat32, identity) : offsetof(Fat, identity), 0);
}

// ---- GUID tables

constexpr std::array<FieldRow, 14> kGptRows = {{
    {0, "signature", 3360, Kind::AnsiText, VELLMARK_FIELD(Gpt, signature)},
    {0, "revision", 3361, Kind::Revision, VELLMARK_FIELD(Gpt, revision)},
    {0, "headerSize", 3362, Kind::Little, VELLMARK_FIELD(Gpt, headerSize)},
    {0, "headerCheck", 3363, Kind::Little, VELLMARK_FIELD(Gpt, headerCheck)},
    {0, "reserved", 3364, Kind::Little, VELLMARK_FIELD(Gpt, reserved)},
    {0, "ownSector", 3365, Kind::Little, VELLMARK_FIELD(Gpt, ownSector)},
    {0, "otherSector", 3366, Kind::Little, VELLMARK_FIELD(Gpt, otherSector), LinkRule::GptHeader,
     "go_altern"},
    {0, "firstUsable", 3367, Kind::Little, VELLMARK_FIELD(Gpt, firstUsable)},
    {0, "lastUsable", 3368, Kind::Little, VELLMARK_FIELD(Gpt, lastUsable)},
    {0, "disk", 3369, Kind::GuidText, VELLMARK_FIELD(Gpt, disk)},
    {0, "entries", 3370, Kind::Little, VELLMARK_FIELD(Gpt, entrySector), LinkRule::GptArray,
     "go_racine"},
    {0, "entryCount", 3371, Kind::Little, VELLMARK_FIELD(Gpt, entryCount)},
    {0, "entrySize", 3372, Kind::Little, VELLMARK_FIELD(Gpt, entrySize)},
    {0, "entriesCheck", 3373, Kind::Little, VELLMARK_FIELD(Gpt, entriesCheck)},
}};

constexpr std::array<FieldRow, 5> kEntryRows = {{
    {0, "type", 3381, Kind::GuidText, VELLMARK_FIELD(GptEntry, type)},
    {0, "partition", 3382, Kind::GuidText, VELLMARK_FIELD(GptEntry, id)},
    {0, "firstSector", 3383, Kind::Little, VELLMARK_FIELD(GptEntry, firstSector), LinkRule::Sector,
     "lba"},
    {0, "lastSector", 3384, Kind::Little, VELLMARK_FIELD(GptEntry, lastSector), LinkRule::Sector,
     "lba"},
    {0, "name", 3385, Kind::UnicodeText, VELLMARK_FIELD(GptEntry, name)},
}};

struct GuidName {
    std::string_view guid;
    Sentence name;
};
constexpr std::array<GuidName, 3> kGuidNames = {{
    {"{c12a7328-f81f-11d2-BA4B-00A0C93EC93B}", Sentence::kGptSystemPartition},
    {"{ebd0a0a2-b9e5-4433-87C0-68B6B72699C7}", Sentence::kGptDataPartition},
    {"{e3c9e316-0b5c-4db8-817D-F92DF00215AE}", Sentence::kGptReservedPartition},
}};

/// Entries that are shown at once, and the size of one where no header tells another.
constexpr std::uint32_t kShownEntries = 6;
constexpr std::uint32_t kLargestEntry = 4096;

std::uint32_t EntrySize(const SectorScene& scene) {
    Gpt header;
    if (scene.image.image()->readRecord(kSectorBytes, header) &&
        header.entrySector == scene.imageSector && header.entrySize >= sizeof(GptEntry) &&
        header.entrySize <= kLargestEntry)
        return header.entrySize;
    return sizeof(GptEntry);
}

std::vector<std::uint8_t> ReadEntries(const SectorScene& scene) {
    std::vector<std::uint8_t> bytes(kShownEntries * EntrySize(scene));
    // What is not there reads as zeros, which are no entry.
    (void)scene.inspected.source->readAt(scene.sector * kSectorBytes, bytes);
    return bytes;
}

bool IsEntry(const SectorScene& scene, std::size_t offset) {
    const auto type = scene.at<std::array<std::uint8_t, sizeof(Guid)>>(offset);
    return std::any_of(type.begin(), type.end(), [](std::uint8_t byte) { return byte != 0; });
}

AnalysedField ClearTextOf(const SectorScene& scene, std::size_t offset) {
    const std::string guid = GuidShown(scene.at<Guid>(offset));
    AnalysedField field;
    field.key = "typeName";
    field.caption = ToldText{3386};
    for (const GuidName& row : kGuidNames)
        if (row.guid == guid)
            field.value = Reason(row.name).words(scene.language);
    return field;
}

// A page for each entry; a table without one shows the first all the same.
void AddEntries(const SectorScene& scene, Analysis& analysis) {
    const std::uint32_t size = EntrySize(scene);
    for (std::uint32_t i = 0; i < kShownEntries; ++i) {
        const std::size_t offset = std::size_t{i} * size;
        if (!IsEntry(scene, offset) && (i > 0 || IsEntry(scene, size)))
            continue;
        analysis.pages.push_back({Reason::Plain(fmt::format("{}", i + 1)), {}, std::nullopt});
        AddFields(scene, analysis, kEntryRows, offset, analysis.pages.size() - 1);
        for (AnalysedField& field : analysis.pages.back().fields)
            for (SectorLink& link : field.links)
                link.name = fmt::format("{}{}{}", i == 0 ? "lba" : "lab", i + 1,
                                        field.key == "lastSector" ? "_last" : "");
        analysis.pages.back().fields.push_back(ClearTextOf(scene, offset));
    }
}

constexpr std::array<StructureTable, 4> kTables = {{
    {StructureCode::MasterBootRecord, "TMBR", 3294, kOnePage, kMbrRows, nullptr, AddMbrList},
    {StructureCode::BootSector, "TBoot", 3299, kBootPages, kBootRows, nullptr, AddIdentity},
    {StructureCode::GptHeader, "Tefi", 3359, kOnePage, kGptRows},
    {StructureCode::GptEntries, "Tgptguid", 3380, {}, {}, ReadEntries, AddEntries},
}};

}  // namespace

std::span<const StructureTable> PcDiskTables() {
    return kTables;
}

}  // namespace vellmark
