#include "IO/recognition.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <string_view>

#include "IO/apple_map.hpp"
#include "support/sentences.hpp"
#include "support/texts.hpp"

namespace vellmark {

namespace {

constexpr std::uint64_t kVolumeHeaderByte = 1024;
constexpr std::size_t kNameBytes = 64;
constexpr std::size_t kNameUnits = 64;
constexpr std::size_t kVolumeNameOffset = 36;
constexpr std::uint32_t kMostGptEntries = 512;
constexpr std::uint32_t kMostGptEntryBytes = 4096;
constexpr std::string_view kGptSignature = "EFI PART";
constexpr std::string_view kTrailerSignature = "koly";
constexpr int kUnnamedText = 1287;
constexpr std::string_view kScanLine = "nb.secteurs = %d, nb.total = %d, nb.octets = %d.";

// 48465300-0000-11AA-AA11-00306543ECAC
constexpr Guid kHfsGuid = {
    0x48465300, 0x0000, 0x11AA, {0xAA, 0x11, 0x00, 0x30, 0x65, 0x43, 0xEC, 0xAC}};

using Bytes = std::span<const std::uint8_t>;

// A record that lies wholly in the bytes.
template <typename Record>
std::optional<Record> RecordAt(Bytes bytes, std::uint64_t offset) {
    if (bytes.size() < sizeof(Record) || offset > bytes.size() - sizeof(Record))
        return std::nullopt;
    Record record;
    std::memcpy(&record, bytes.data() + offset, sizeof(Record));
    return record;
}

bool HasSignature(Bytes bytes, std::uint64_t offset, std::uint16_t signature) {
    const auto word = RecordAt<be16>(bytes, offset);
    return word && *word == signature;
}

// Reading behind the end of a short image is no failed transfer: the zeros that come for it have no
// signature, and nothing is taken from them. Failures of the system stay in the image file.
void ProbeSectors(MediumContext& context, Sector512 startSector, std::span<std::uint8_t> buffer) {
    const bool failedBefore = context.transferFailed;
    ReadSectors(context.transferSlot, startSector, buffer);
    context.transferFailed = failedBefore;
}

void PutRecord(std::vector<PartitionEntry>& list, std::size_t position, PartitionEntry entry) {
    if (position >= list.size())
        list.push_back(std::move(entry));
    else
        list[position] = std::move(entry);
}

// The name of an HFS volume, or of its entry where there is no such volume.
std::string NameOf(MediumContext& context, const PartitionMapEntry& entry, Sector512 start) {
    std::array<std::uint8_t, kSectorBytes> header{};
    ProbeSectors(context, start + kVolumeHeaderByte / kSectorBytes, header);
    if (!HasSignature(header, 0, kHfsSignature))
        return std::string(MapText(entry.name));
    return {reinterpret_cast<const char*>(header.data()) + kVolumeNameOffset + 1,
            std::min<std::size_t>(header[kVolumeNameOffset], kNameBytes)};
}

// How many of the four fields equal those of the HFS type.
int EqualFields(const Guid& type) {
    return (type.a == kHfsGuid.a) + (type.b == kHfsGuid.b) + (type.c == kHfsGuid.c) +
           (type.d == kHfsGuid.d);
}

bool IsZero(const Guid& type) {
    return type.a == 0 && type.b == 0 && type.c == 0 &&
           std::all_of(type.d.begin(), type.d.end(), [](std::uint8_t byte) { return byte == 0; });
}

std::u16string GptName(Bytes entry) {
    std::u16string name;
    for (std::size_t at = offsetof(GptEntry, name);
         at + sizeof(le16) <= entry.size() && name.size() < kNameUnits; at += sizeof(le16)) {
        const std::uint16_t unit = *RecordAt<le16>(entry, at);
        if (unit == 0)
            break;
        name += static_cast<char16_t>(unit);
    }
    return name;
}

// Sum of a start and a count from the disk, which may be any numbers.
Sector512 SectorBehind(Sector512 start, std::uint64_t count) {
    const Sector512 most(std::numeric_limits<std::uint64_t>::max());
    return count > most - start ? most : start + count;
}

PartitionEntry GptRecord(Bytes bytes, const GptEntry& entry) {
    const Sector512 first(entry.firstSector);
    const Sector512 last(entry.lastSector);
    // The count is the distance of the two, without adding one.
    return {false,
            {},
            first,
            last > first ? last - first : 0,
            last >= first ? SectorBehind(last, 1) : first,
            GptName(bytes)};
}

std::vector<std::uint8_t> ReadGptArray(MediumContext& context, const GptHeader& header) {
    const std::uint64_t bytes =
        std::uint64_t{std::min<std::uint32_t>(header.entryCount, kMostGptEntries)} *
        header.entrySize;
    std::vector<std::uint8_t> array(
        static_cast<std::size_t>((bytes + kSectorBytes - 1) / kSectorBytes * kSectorBytes));
    constexpr std::size_t kRound = std::size_t{kStreamSectors} * kSectorBytes;
    Sector512 sector(static_cast<std::uint32_t>(header.entrySector));
    for (std::size_t done = 0; done < array.size();
         done += kRound, sector = sector + kStreamSectors)
        ProbeSectors(context, sector,
                     std::span(array).subspan(done, std::min(kRound, array.size() - done)));
    array.resize(static_cast<std::size_t>(bytes));
    return array;
}

// Puts the HFS partitions of a map into the list. Their number, or nothing where there is no map.
std::optional<int> ScanMap(MediumContext& context, std::vector<PartitionEntry>& list) {
    const auto map = context.image ? ReadAppleMap(*context.image) : std::nullopt;
    if (!map)
        return std::nullopt;
    context.driverBlockSize = static_cast<std::uint16_t>(map->blockBytes);
    const std::uint64_t scale = map->blockBytes / kSectorBytes;
    int found = 0;
    for (const PartitionMapEntry& entry : map->entries) {
        if (!IsHfsEntry(entry) || entry.blockCount == 0)
            continue;
        const Sector512 start(entry.startBlock * scale);
        const std::uint64_t count = entry.blockCount * scale;
        list.push_back(
            {false, NameOf(context, entry, start), start, count, SectorBehind(start, count)});
        ++found;
    }
    if (!list.empty())
        context.partitionStart = list.front().startSector;
    return found;
}

int ScanDriverDescriptor(MediumContext& context, Bytes buffer, const DriverDescriptor& descriptor,
                         std::vector<PartitionEntry>& list) {
    context.totalSectors = descriptor.blockCount;
    const std::uint16_t told = descriptor.blockSize;
    context.driverBlockSize =
        told != 0 && told % kSectorBytes == 0 ? told : static_cast<std::uint16_t>(kSectorBytes);
    if (HasSignature(buffer, context.driverBlockSize, kOldPartitionMapSignature)) {
        context.partitionStart = Sector512(*RecordAt<be32>(buffer, context.driverBlockSize + 2u));
        return 1;
    }
    if (const auto count = ScanMap(context, list))
        return *count;
    return HasSignature(buffer, kVolumeHeaderByte, kHfsSignature) ? 1 : kNoMapAfterDescriptor;
}

int ScanBootRecord(MediumContext& context, Bytes buffer, const MasterBootRecord& record,
                   std::vector<PartitionEntry>& list, Language language) {
    int result = 0;
    std::size_t position = 0;
    for (const MbrEntry& entry : record.entries) {
        if (entry.type == 0)
            break;
        if (entry.type == kMbrTypeMacintosh) {
            ++result;
            const Sector512 start(entry.firstSector);
            PutRecord(list, position++,
                      {false, std::string(Text(kUnnamedText, language)), start, entry.sectorCount,
                       SectorBehind(start, entry.sectorCount)});
        } else if (entry.type == kMbrTypeProtective) {
            // Kept on purpose: the result becomes the number of the table's partitions, without
            // those of earlier entries, and a later Macintosh entry replaces the first partition of
            // the table in the list.
            result = ParseGptEntries(context, buffer, entry, position, list);
        }
    }
    if (result == 0)
        return kNoMacintoshPartition;
    context.partitionStart = list.front().startSector;
    return result;
}

bool HoldsVolume(MediumContext& context, const PartitionEntry& partition) {
    constexpr Sector512 kMost(std::numeric_limits<std::uint64_t>::max() / kSectorBytes);
    return partition.startSector <= kMost &&
           VolumeSignatureAt(*context.image, partition.startSector.byte()) != 0;
}

// A boot record, and maybe an Apple map behind it. The map counts where no partition of the record
// holds a volume.
int ScanBootedDisc(MediumContext& context, Bytes buffer, const MasterBootRecord& record,
                   std::vector<PartitionEntry>& list, Language language) {
    const int result = ScanBootRecord(context, buffer, record, list, language);
    if (!context.image || std::any_of(list.begin(), list.end(), [&](const PartitionEntry& entry) {
            return HoldsVolume(context, entry);
        }))
        return result;
    const std::uint16_t driverBlockSize = context.driverBlockSize;
    std::vector<PartitionEntry> ofMap;
    if (const auto count = ScanMap(context, ofMap); count && *count > 0) {
        list = std::move(ofMap);
        return *count;
    }
    context.driverBlockSize = driverBlockSize;
    return result;
}

int ScanBuffer(MediumContext& context, Bytes buffer, std::vector<PartitionEntry>& list,
               Language language) {
    if (HasSignature(buffer, 0, kDriverDescriptorSignature))
        return ScanDriverDescriptor(context, buffer, *RecordAt<DriverDescriptor>(buffer, 0), list);
    const auto record = *RecordAt<MasterBootRecord>(buffer, 0);
    if (record.signature == kBootRecordSignature)
        return ScanBootedDisc(context, buffer, record, list, language);
    const auto count = ScanMap(context, list);
    if (count && (*count > 0 || HasSignature(buffer, 0, kPartitionMapSignature)))
        return *count;
    if (context.image && VolumeSignatureAt(*context.image, 0) != 0) {
        context.readOnlyReasons.add(ReadOnlyReason::BareVolume);
        return 1;
    }
    return kNothingRecognised;
}

}  // namespace

ImageClass ClassifyImage(ByteSource& file) {
    MasterBootRecord first{};
    (void)file.readAt(0, {reinterpret_cast<std::uint8_t*>(&first), sizeof(first)});
    std::array<char, kTrailerSignature.size()> tail{};
    const std::uint64_t size = file.size();
    const bool hasTrailer = size >= kSectorBytes && file.readRecord(size - kSectorBytes, tail) &&
                            std::string_view(tail.data(), tail.size()) == kTrailerSignature;

    ImageClass result = ImageClass::Plain;
    if (first.signature == kBootRecordSignature) {
        if (first.entries[0].type == kMbrTypeProtective)
            result = ImageClass::ProtectiveBootRecord;
        else if (first.entries[0].type == kMbrTypeMacintosh)
            result = ImageClass::MacintoshBootRecord;
    }
    const std::string_view start(reinterpret_cast<const char*>(first.code.data()), 2);
    if (start[0] == 'x')
        return ImageClass::ZlibDiskImage;
    if (start == "PM")
        return hasTrailer ? ImageClass::PartitionDiskImage : ImageClass::Plain;
    if (start == "BZ")
        return ImageClass::Bzip2DiskImage;
    if (start == "sp")
        return ImageClass::SparseImage;
    if (start == "ER")
        result = ImageClass::Plain;
    return result == ImageClass::Plain && hasTrailer ? ImageClass::TrailerDiskImage : result;
}

Reason ClassRefusal(ImageClass imageClass) {
    switch (imageClass) {
        case ImageClass::PartitionDiskImage:
        case ImageClass::Bzip2DiskImage:
        case ImageClass::ZlibDiskImage:
        case ImageClass::TrailerDiskImage:
            return Sentence::kCompressedImage;
        case ImageClass::SparseImage:
            return Sentence::kSparseImageRefused;
        case ImageClass::Plain:
        case ImageClass::ProtectiveBootRecord:
        case ImageClass::MacintoshBootRecord:
            break;
    }
    return {};
}

int ScanMedium(MediumContext& context, std::vector<PartitionEntry>& list, Messages* messages) {
    list.clear();
    context.partitionStart = {};
    context.readOnlyReasons.remove(ReadOnlyReason::BareVolume);
    std::vector<std::uint8_t> buffer(std::size_t{kScanSectors} * kSectorBytes);
    ProbeSectors(context, Sector512(0), buffer);
    if (messages != nullptr)
        messages->log(
            1, FormatOperands(kScanLine, {kStreamSectors, context.totalSectors, kSectorBytes}));
    context.partitionCount = ScanBuffer(
        context, buffer, list, messages != nullptr ? messages->language() : Language::English);
    return context.partitionCount;
}

int ParseGptEntries(MediumContext& context, Bytes buffer, const MbrEntry& bootEntry,
                    std::size_t position, std::vector<PartitionEntry>& list) {
    const auto header =
        RecordAt<GptHeader>(buffer, std::uint64_t{bootEntry.firstSector} * kSectorBytes);
    if (!header)
        return 0;
    // One of the two marks is enough.
    const std::string_view signature(header->signature.data(), header->signature.size());
    if (signature != kGptSignature && header->reserved != 0)
        return 0;
    const std::uint32_t entrySize = header->entrySize;
    if (entrySize < sizeof(GptEntry) || entrySize > kMostGptEntryBytes)
        return 0;
    const std::vector<std::uint8_t> array = ReadGptArray(context, *header);
    int found = 0;
    for (std::size_t at = 0; at < array.size(); at += entrySize) {
        const Bytes bytes = Bytes(array).subspan(at, entrySize);
        const GptEntry entry = *RecordAt<GptEntry>(bytes, 0);
        if (IsZero(entry.type))
            break;
        // Any field that equals is enough.
        if (EqualFields(entry.type) == 0)
            continue;
        PutRecord(list, position++, GptRecord(bytes, entry));
        ++found;
    }
    return found;
}

std::optional<PartitionEntry> FirstGptPartition(ByteSource& image) {
    MasterBootRecord record;
    GptHeader header;
    GptEntry entry;
    if (!image.readRecord(0, record) || record.signature != kBootRecordSignature ||
        record.entries[0].type != kMbrTypeProtective)
        return std::nullopt;
    if (!image.readRecord(std::uint64_t{record.entries[0].firstSector} * kSectorBytes, header) ||
        header.entrySector > image.size() / kSectorBytes ||
        !image.readRecord(header.entrySector * kSectorBytes, entry))
        return std::nullopt;
    const Bytes bytes(reinterpret_cast<const std::uint8_t*>(&entry), sizeof entry);
    PartitionEntry first = GptRecord(bytes, entry);
    first.startSector = Sector512(static_cast<std::uint32_t>(first.startSector.number()));
    return first;
}

}  // namespace vellmark
