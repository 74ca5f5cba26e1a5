#include "containers/apple_single.hpp"

#include <algorithm>
#include <array>
#include <limits>
#include <optional>
#include <vector>

#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"

namespace vellmark {
namespace {

/// The date that no Macintosh knows, which stands for a date that is not known.
constexpr MacSeconds kDateUnknown = 0x80000000;
/// Greatest offset or length that an entry holds.
constexpr std::uint64_t kMostOffset = std::numeric_limits<std::uint32_t>::max();

/// In this order. The data fork stands last, so that a companion has the first three.
constexpr std::array<AppleEntryId, 4> kWrittenEntries = {
    AppleEntryId::FileDates, AppleEntryId::FinderInfo, AppleEntryId::ResourceFork,
    AppleEntryId::DataFork};

bool HasMagic(ByteSource& file, std::uint32_t magic) {
    be32 found;
    return file.readRecord(0, found) && found == magic;
}

/// The entries that a reader asks for. What is not in the table has an empty slice.
struct EntryTable {
    std::uint64_t endOffset = 0;
    bool isCut = false;
    std::optional<AppleFileEntry> data;
    std::optional<AppleFileEntry> resource;
    std::optional<AppleFileEntry> finder;
};

void Note(std::optional<AppleFileEntry>& slot, const AppleFileEntry& entry) {
    if (!slot)
        slot = entry;
}

EntryTable ReadEntryTable(ByteSource& file) {
    EntryTable table;
    AppleFileHeader header;
    if (!file.readRecord(0, header)) {
        table.isCut = true;
        return table;
    }
    std::vector<AppleFileEntry> entries(header.entryCount);
    const std::size_t told = entries.size() * sizeof(AppleFileEntry);
    const std::size_t got =
        file.readAt(sizeof(header), {reinterpret_cast<std::uint8_t*>(entries.data()), told});
    entries.resize(got / sizeof(AppleFileEntry));
    table.isCut = got < told;
    table.endOffset = sizeof(header) + told;
    for (const AppleFileEntry& entry : entries) {
        switch (static_cast<AppleEntryId>(static_cast<std::uint32_t>(entry.id))) {
            case AppleEntryId::DataFork:
                Note(table.data, entry);
                break;
            case AppleEntryId::ResourceFork:
                Note(table.resource, entry);
                break;
            case AppleEntryId::FinderInfo:
                Note(table.finder, entry);
                break;
            case AppleEntryId::FileDates:  // a file that comes in has the dates of its PC file
                break;
        }
    }
    return table;
}

SliceSource SliceOf(ByteSource& file, const std::optional<AppleFileEntry>& entry) {
    return entry ? SliceSource(file, entry->offset, entry->length) : SliceSource();
}

/// Takes what is there of the 32 bytes: some writers keep the first half only.
FinderInfo ReadFinderInfo(ByteSource& file, const EntryTable& table) {
    std::array<std::uint8_t, sizeof(FinderInfo)> bytes{};
    SliceSource entry = SliceOf(file, table.finder);
    if (entry.readAt(0, bytes) < sizeof(FinderInfo::signature))
        return {};
    FinderInfo finder;
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(&finder));
    return finder;
}

ContainerFault FaultOf(const ByteSource& file, const EntryTable& table, bool withData) {
    if (table.isCut)
        return ContainerFault::HeaderCut;
    const auto overlaps = [&](const std::optional<AppleFileEntry>& entry) {
        return entry && entry->length > 0 && entry->offset < table.endOffset;
    };
    const auto endsBeyond = [&](const std::optional<AppleFileEntry>& entry) {
        return entry && EndsBeyond(file, entry->offset, entry->length);
    };
    if ((withData && overlaps(table.data)) || overlaps(table.resource) || overlaps(table.finder))
        return ContainerFault::EntryOverlapsHeader;
    if (withData && endsBeyond(table.data))
        return ContainerFault::DataForkCut;
    if (endsBeyond(table.resource))
        return ContainerFault::ResourceForkCut;
    return endsBeyond(table.finder) ? ContainerFault::FinderInfoCut : ContainerFault::None;
}

MacContainer ReadAppleFile(ByteSource& file, std::uint32_t magic) {
    MacContainer container;
    if (!HasMagic(file, magic)) {
        container.fault = ContainerFault::NotThisFormat;
        return container;
    }
    const bool withData = magic == kAppleSingleMagic;
    const EntryTable table = ReadEntryTable(file);
    container.fault = FaultOf(file, table, withData);
    // A companion is of use without anything in it: the data fork lies elsewhere.
    container.usable = container.fault != ContainerFault::HeaderCut || !withData;
    if (container.fault == ContainerFault::HeaderCut)
        return container;
    container.info.finder = ReadFinderInfo(file, table);
    container.resource = SliceOf(file, table.resource);
    if (table.resource)
        container.info.resourceLength = table.resource->length;
    if (withData && table.data) {
        container.data = SliceOf(file, table.data);
        container.info.dataLength = table.data->length;
    }
    return container;
}

/// Header, dates, Finder information and resource fork; `data` is null in a companion.
ContainerFault WriteAppleFile(ByteSink& target, const MacFileInfo& info, ByteSource* data,
                              ByteSource& resource) {
    const std::size_t entryCount = data != nullptr ? 4 : 3;
    const std::uint64_t lengths[] = {sizeof(AppleFileDates), sizeof(FinderInfo), resource.size(),
                                     data != nullptr ? data->size() : 0};
    std::vector<std::uint8_t> head;
    const auto append = [&head](const auto& record) {
        const std::span<const std::uint8_t> bytes = AsBytes(record);
        head.insert(head.end(), bytes.begin(), bytes.end());
    };
    append(AppleFileHeader{data != nullptr ? kAppleSingleMagic : kAppleDoubleMagic,
                           kAppleFileVersion,
                           {},
                           static_cast<std::uint16_t>(entryCount)});
    std::uint64_t offset = sizeof(AppleFileHeader) + entryCount * sizeof(AppleFileEntry);
    for (std::size_t i = 0; i < entryCount; ++i) {
        if (offset > kMostOffset || lengths[i] > kMostOffset)
            return ContainerFault::ForkTooLong;
        append(AppleFileEntry{static_cast<std::uint32_t>(kWrittenEntries[i]),
                              static_cast<std::uint32_t>(offset),
                              static_cast<std::uint32_t>(lengths[i])});
        offset += lengths[i];
    }
    append(AppleFileDates{info.created, info.modified, info.accessed.value_or(kDateUnknown),
                          info.backedUp});
    append(info.finder);
    if (!target.writeAt(0, head))
        return ContainerFault::TargetFailed;
    const ContainerFault fault = CopyFork(resource, target, head.size());
    if (fault != ContainerFault::None || data == nullptr)
        return fault;
    return CopyFork(*data, target, head.size() + resource.size());
}

}  // namespace

bool IsAppleSingleFile(ByteSource& file) {
    return HasMagic(file, kAppleSingleMagic);
}

bool IsAppleDoubleFile(ByteSource& file) {
    return HasMagic(file, kAppleDoubleMagic);
}

std::string CompanionPath(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t nameStart = slash == std::string_view::npos ? 0 : slash + 1;
    return std::string(path.substr(0, nameStart)) + "._" + std::string(path.substr(nameStart));
}

bool IsAppleDoublePair(std::string_view path) {
    const std::string companionPath = CompanionPath(path);
    // One that is a pipe would be waited for.
    if (PcFactsOf(companionPath).kind != PcKind::File)
        return false;
    PcFile companion(companionPath, PcFile::Mode::Read);
    return companion.isOpen() && IsAppleDoubleFile(companion);
}

MacContainer ReadSingleForks(ByteSource& file) {
    return ReadAppleFile(file, kAppleSingleMagic);
}

MacContainer ReadDoubleResource(ByteSource& companion) {
    return ReadAppleFile(companion, kAppleDoubleMagic);
}

ContainerFault WriteAppleSingle(ByteSink& target, const MacFileInfo& info, ByteSource& data,
                                ByteSource& resource) {
    return WriteAppleFile(target, info, &data, resource);
}

ContainerFault WriteAppleDouble(ByteSink& target, ByteSink& companion, const MacFileInfo& info,
                                ByteSource& data, ByteSource& resource) {
    const ContainerFault fault = WriteAppleFile(companion, info, nullptr, resource);
    return fault != ContainerFault::None ? fault : CopyFork(data, target, 0);
}

}  // namespace vellmark
