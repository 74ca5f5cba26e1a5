#include "inspect/structure_code.hpp"

#include <array>
#include <charconv>

#include "IO/iso_structures.hpp"
#include "IO/partition_structures.hpp"
#include "IO/sector_io.hpp"
#include "inspect/boot_sector.hpp"
#include "inspect/structure_table.hpp"
#include "support/encoding.hpp"
#include "volume/tree_node.hpp"

namespace vellmark {
namespace {

using Bytes = std::span<const std::uint8_t>;

constexpr std::uint16_t kPcBootSignature = 0xAA55;
constexpr std::uint8_t kHighestLevel = 8;
constexpr std::uint8_t kDotRecordBytes = sizeof(IsoDirectoryRecord) + 1;

unsigned Le16(Bytes bytes, std::size_t offset) {
    return bytes[offset] | bytes[offset + 1] << 8;
}
unsigned Be16(Bytes bytes, std::size_t offset) {
    return bytes[offset] << 8 | bytes[offset + 1];
}
bool HasSignature(Bytes bytes, std::uint16_t signature) {
    return Be16(bytes, 0) == signature;
}

bool IsNode(Bytes bytes, NodeKind kind) {
    constexpr std::size_t kKind = offsetof(NodeDescriptor, kind);
    const std::uint8_t level = bytes[offsetof(NodeDescriptor, height)];
    return bytes[kKind] == static_cast<std::uint8_t>(kind) && level >= 1 &&
           level <= kHighestLevel && Be16(bytes, offsetof(NodeDescriptor, recordCount)) != 0;
}

// A header node has three records; the low byte of their number is what is looked at.
bool IsTreeHeader(Bytes bytes) {
    return bytes[offsetof(NodeDescriptor, kind)] == static_cast<std::uint8_t>(NodeKind::Header) &&
           bytes[offsetof(NodeDescriptor, recordCount) + 1] == 3;
}

bool IsIsoDescriptor(Bytes bytes) {
    return (bytes[0] == kIsoDescriptorPrimary || bytes[0] == kIsoDescriptorSupplementary) &&
           std::string_view(reinterpret_cast<const char*>(bytes.data()) + 1, 5) == "CD001";
}

// The root is its own parent, number 1 in either order of bytes; the lowest byte of its place is
// seldom 0.
bool IsPathTable(Bytes bytes) {
    const unsigned parent = Le16(bytes, offsetof(IsoPathRecord, parent));
    return bytes[0] == 1 && parent == (bytes[offsetof(IsoPathRecord, extent)] != 0 ? 1U : 256U);
}

}  // namespace

StructureCode IdentifySector(Bytes bytes, std::uint64_t sector) {
    if (bytes.size() < kSectorBytes)
        return StructureCode::Unknown;
    const bool hasBootSignature =
        Le16(bytes, offsetof(MasterBootRecord, signature)) == kPcBootSignature;
    if (IsHfsPlusSignature(static_cast<std::uint16_t>(Be16(bytes, 0))))
        return StructureCode::HfsPlusHeader;
    if (HasSignature(bytes, kHfsSignature))
        return StructureCode::MasterDirectoryBlock;
    if (HasSignature(bytes, kDriverDescriptorSignature) &&
        Be16(bytes, offsetof(DriverDescriptor, blockSize)) % kSectorBytes == 0)
        return StructureCode::DriverDescriptor;
    if (HasSignature(bytes, kPartitionMapSignature))
        return StructureCode::PartitionMapEntry;
    if (IsTreeHeader(bytes))
        return StructureCode::TreeHeader;
    if (IsNode(bytes, NodeKind::Leaf))
        return StructureCode::LeafNode;
    if (IsNode(bytes, NodeKind::Index))
        return StructureCode::IndexNode;
    if (IsIsoDescriptor(bytes))
        return StructureCode::IsoDescriptor;
    if (IsPathTable(bytes))
        return StructureCode::IsoPathTable;
    if (bytes[0] == kDotRecordBytes && bytes[kDotRecordBytes] == kDotRecordBytes)
        return StructureCode::IsoDirectory;
    if (bytes[kJumpEndOffset] == kJumpEnd && hasBootSignature)
        return StructureCode::BootSector;
    if (sector == 0 && hasBootSignature)
        return StructureCode::MasterBootRecord;
    return StructureCode::Unknown;
}

Reason TitleOf(StructureCode code) {
    return TableOf(code).title.reason();
}

std::optional<StructureCode> StructureNamed(std::string_view name) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
    const bool isNumber = error == std::errc{} && end == name.data() + name.size();
    for (unsigned code = 1; code < kStructureCodes; ++code) {
        const auto structure = static_cast<StructureCode>(code);
        if (isNumber ? number == code : AsciiUpper(name) == AsciiUpper(TableOf(structure).form))
            return structure;
    }
    return std::nullopt;
}

}  // namespace vellmark
