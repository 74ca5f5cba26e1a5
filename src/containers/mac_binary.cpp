#include "containers/mac_binary.hpp"

#include <algorithm>
#include <limits>
#include <span>
#include <string_view>

#include "containers/crc16.hpp"

namespace vellmark {
namespace {

constexpr std::uint64_t kUnitBytes = sizeof(MacBinaryHeader);
constexpr std::uint16_t kLowFlags = 0xFF;
constexpr std::uint8_t kSecondVersion = 129;

constexpr std::uint64_t RoundUp(std::uint64_t bytes) {
    return (bytes + kUnitBytes - 1) / kUnitBytes * kUnitBytes;
}

/// Bytes before the first zero. The name's field ends a name of 63 bytes, not the type behind it:
/// otherwise no name of that length would ever be recognised.
std::size_t TextLength(const std::array<char, 63>& field) {
    return static_cast<std::size_t>(std::find(field.begin(), field.end(), '\0') - field.begin());
}

std::uint16_t ChecksumOf(const MacBinaryHeader& header) {
    return Crc16(AsBytes(header).first(offsetof(MacBinaryHeader, checksum)));
}

bool HasChecksum(const MacBinaryHeader& header) {
    return header.checksum == ChecksumOf(header);
}

bool NameFits(const MacBinaryHeader& header) {
    return header.nameLength >= 1 && header.nameLength <= header.name.size();
}

MacFileInfo InfoOf(const MacBinaryHeader& header, bool isLaterVersion) {
    MacFileInfo info;
    info.name.assign(header.name.data(), header.nameLength);
    info.finder.signature = header.signature;
    info.finder.flags = header.finderFlags;
    if (isLaterVersion)
        info.finder.flags = static_cast<std::uint16_t>(header.finderFlags | header.finderFlagsLow);
    info.finder.locationV = header.locationV;
    info.finder.locationH = header.locationH;
    info.created = header.created;
    info.modified = header.modified;
    info.dataLength = header.dataLength;
    info.resourceLength = header.resourceLength;
    return info;
}

/// What a reader can recognise again: up to the first zero, and without leading blanks. A name of
/// nothing but blanks keeps them.
std::string WrittenName(std::string_view name) {
    name = name.substr(0, name.find('\0'));
    if (const std::size_t first = name.find_first_not_of(' '); first != std::string_view::npos)
        name.remove_prefix(first);
    return std::string(name);
}

/// A fork, and zeros up to a whole unit.
ContainerFault CopyPadded(ByteSource& fork, ByteSink& target, std::uint64_t offset) {
    if (const ContainerFault fault = CopyFork(fork, target, offset); fault != ContainerFault::None)
        return fault;
    const std::array<std::uint8_t, kUnitBytes> zeros{};
    const std::uint64_t padding = RoundUp(fork.size()) - fork.size();
    return padding == 0 || target.writeAt(offset + fork.size(),
                                          std::span(zeros).first(static_cast<std::size_t>(padding)))
               ? ContainerFault::None
               : ContainerFault::TargetFailed;
}

}  // namespace

bool IsMacBinary(const MacBinaryHeader& header, std::int64_t fileSize) {
    if (header.oldVersion != 0 || header.zero82 != 0 || !NameFits(header) ||
        TextLength(header.name) != header.nameLength)
        return false;
    const auto zeros = std::count(header.signature.begin(), header.signature.end(), '\0');
    if (zeros != 0 && zeros != static_cast<std::ptrdiff_t>(header.signature.size()))
        return false;
    const std::uint64_t sum = std::uint64_t{header.dataLength} + header.resourceLength;
    if (sum == 0)
        return false;
    // The padding and the header are not counted: a file that lost its tail is still MacBinary.
    return fileSize < 1 || (sum <= std::numeric_limits<std::int32_t>::max() &&
                            sum <= static_cast<std::uint64_t>(fileSize));
}

bool IsMacBinaryFile(ByteSource& file) {
    MacBinaryHeader header;
    if (!file.readRecord(0, header))
        return false;
    // A file that was cut short is still what its header says, where that has a checksum.
    return IsMacBinary(header, HasChecksum(header) ? 0 : static_cast<std::int64_t>(file.size()));
}

MacContainer ReadMacBinary(ByteSource& file) {
    MacContainer container;
    MacBinaryHeader header;
    if (!file.readRecord(0, header)) {
        container.fault = ContainerFault::HeaderCut;
        return container;
    }
    if (header.oldVersion != 0 || header.zero82 != 0) {
        container.fault = ContainerFault::NotThisFormat;
        return container;
    }
    if (!NameFits(header)) {
        container.fault = ContainerFault::HeaderInvalid;
        return container;
    }
    const bool isLaterVersion = HasChecksum(header);
    container.usable = true;
    container.info = InfoOf(header, isLaterVersion);
    const std::uint64_t dataOffset =
        kUnitBytes + (isLaterVersion ? RoundUp(header.secondaryLength) : 0);
    const std::uint64_t resourceOffset = dataOffset + RoundUp(header.dataLength);
    container.data = SliceSource(file, dataOffset, header.dataLength);
    container.resource = SliceSource(file, resourceOffset, header.resourceLength);
    if (EndsBeyond(file, dataOffset, header.dataLength))
        container.fault = ContainerFault::DataForkCut;
    else if (EndsBeyond(file, resourceOffset, header.resourceLength))
        container.fault = ContainerFault::ResourceForkCut;
    return container;
}

std::uint64_t MacBinaryResourceOffset(std::uint64_t dataLength) {
    return kUnitBytes + RoundUp(dataLength);
}

MacBinaryHeader MakeMacBinaryHeader(const MacFileInfo& info) {
    MacBinaryHeader header;
    const std::size_t length = std::min(info.name.size(), header.name.size());
    header.nameLength = static_cast<std::uint8_t>(length);
    std::copy_n(info.name.begin(), length, header.name.begin());
    header.signature = info.finder.signature;
    header.finderFlags = info.finder.flags;
    if ((info.finder.flags & kLowFlags) != 0) {
        header.finderFlags = static_cast<std::uint16_t>(info.finder.flags & ~kLowFlags);
        header.finderFlagsLow = static_cast<std::uint8_t>(info.finder.flags & kLowFlags);
        header.version = header.neededVersion = kSecondVersion;
    }
    header.locationV = info.finder.locationV;
    header.locationH = info.finder.locationH;
    header.dataLength = info.dataLength;
    header.resourceLength = info.resourceLength;
    header.created = info.created;
    header.modified = info.modified;
    if (header.version != 0)
        header.checksum = ChecksumOf(header);
    return header;
}

ContainerFault WriteMacBinary(ByteSink& target, const MacFileInfo& info, ByteSource& data,
                              ByteSource& resource) {
    constexpr std::uint64_t kLongest = std::numeric_limits<std::uint32_t>::max();
    if (data.size() > kLongest || resource.size() > kLongest)
        return ContainerFault::ForkTooLong;
    MacFileInfo written = info;
    written.name = WrittenName(info.name);
    written.dataLength = static_cast<std::uint32_t>(data.size());
    written.resourceLength = static_cast<std::uint32_t>(resource.size());
    if (written.name.empty())
        return ContainerFault::HeaderInvalid;
    if (!target.writeRecord(0, MakeMacBinaryHeader(written)))
        return ContainerFault::TargetFailed;
    if (const ContainerFault fault = CopyPadded(data, target, kUnitBytes);
        fault != ContainerFault::None)
        return fault;
    return CopyPadded(resource, target, MacBinaryResourceOffset(data.size()));
}

bool IsCustomIconFile(const MacFileInfo& info) {
    return std::string_view(info.finder.signature.data(), 8) == "ICNSMACS" &&
           info.name.starts_with("Icon\r") && info.dataLength != 0;
}

}  // namespace vellmark
