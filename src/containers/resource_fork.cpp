#include "containers/resource_fork.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "containers/apple_single.hpp"
#include "containers/names.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

constexpr std::uint16_t kNoTypes = 0xFFFF;
constexpr std::uint32_t kDataOffsetMask = 0x00FFFFFF;
constexpr unsigned kAttributesShift = 24;
/// What 16-bit offsets and counts can reach in a map; the names behind it are not read.
constexpr std::uint64_t kMostMapBytes =
    kTypeListOffset + 0xFFFFU + 0x10000U * sizeof(ResourceReference);

/// What is wrong in a map, counted, so that a thousand faults are one sentence.
struct MapFaults {
    std::uint64_t listsOutside = 0;  ///< references that their type counts and the map has not
    std::uint64_t cut = 0;           ///< resources that end behind the fork
    bool overlaps = false;           ///< more references than the map has room for
};

// The map in memory, as far as the fork has it.
MemoryBytes ReadMap(ByteSource& fork, std::uint64_t offset, std::uint32_t length) {
    SliceSource slice(fork, offset, length);
    std::vector<std::uint8_t> bytes(
        static_cast<std::size_t>(std::min(slice.size(), kMostMapBytes)));
    bytes.resize(slice.readAt(0, bytes));
    return MemoryBytes(std::move(bytes));
}

Resource ResourceOf(ByteSource& fork, std::uint64_t dataStart, const ResourceReference& reference) {
    Resource resource;
    resource.id = reference.id;
    resource.nameOffset = reference.nameOffset;
    resource.attributes =
        static_cast<std::uint8_t>(reference.attributesAndData >> kAttributesShift);
    resource.position = dataStart + (reference.attributesAndData & kDataOffsetMask);
    be32 length;
    if (fork.readRecord(resource.position, length)) {
        resource.length = length;
        const std::uint64_t start = resource.position + Resource::kLengthBytes;
        resource.isWhole = resource.length <= fork.size() - start;
    }
    return resource;
}

// The references of a type, until the map holds no more. In a sound map each has bytes of its own,
// so `room` is an end to lists that share theirs.
ResourceType TypeOf(ByteSource& fork, MemoryBytes& map, std::uint64_t dataStart,
                    const ResourceTypeEntry& entry, std::size_t& room, MapFaults& faults) {
    ResourceType type;
    type.letters = entry.type;
    const std::uint32_t counted = entry.lastResource + 1U;
    std::uint64_t at = kTypeListOffset + std::uint64_t{entry.listOffset};
    for (std::uint32_t i = 0; i < counted; ++i, at += sizeof(ResourceReference)) {
        ResourceReference reference;
        if (!map.readRecord(at, reference)) {
            faults.listsOutside += counted - i;
            break;
        }
        if (room == 0) {
            faults.overlaps = true;
            break;
        }
        --room;
        type.resources.push_back(ResourceOf(fork, dataStart, reference));
        faults.cut += type.resources.back().isWhole ? 0 : 1;
    }
    return type;
}

Reason ProblemOf(const MapFaults& faults) {
    std::vector<Reason> parts;
    if (faults.overlaps)
        parts.emplace_back(Sentence::kResourceListsOverlap);
    if (faults.listsOutside > 0)
        parts.emplace_back(Sentence::kResourceListsOutside, faults.listsOutside);
    if (faults.cut > 0)
        parts.emplace_back(Sentence::kResourcesCut, faults.cut);
    return Reason::Joined(std::move(parts), " ");
}

}  // namespace

std::uint64_t ResourceBaseOffset(ByteSource& bytes) {
    if (!IsAppleDoubleFile(bytes))
        return 0;
    // Its table says where the fork is; files that keep to the usual entries have it there anyway.
    AppleFileHeader header;
    if (bytes.readRecord(0, header))
        for (std::uint32_t i = 0; i < header.entryCount; ++i) {
            AppleFileEntry entry;
            if (!bytes.readRecord(sizeof header + i * sizeof entry, entry))
                break;
            if (entry.id == static_cast<std::uint32_t>(AppleEntryId::ResourceFork) &&
                entry.offset >= sizeof header && entry.offset < bytes.size())
                return entry.offset;
        }
    return kAppleDoubleForkOffset;
}

std::optional<ResourceForkHeader> ReadResourceHeader(ByteSource& fork, std::uint64_t base) {
    ResourceForkHeader header;
    return fork.readRecord(base, header) ? std::optional(header) : std::nullopt;
}

ResourceTypeList ReadResourceTypes(ByteSource& map) {
    ResourceTypeList list;
    be16 lastType;
    if (!map.readRecord(kTypeListOffset, lastType) || lastType == kNoTypes)
        return list;
    list.counted = lastType + 1U;
    list.entries.resize(list.counted);
    const std::size_t got = map.readAt(kTypeListOffset + sizeof lastType,
                                       {reinterpret_cast<std::uint8_t*>(list.entries.data()),
                                        list.entries.size() * sizeof(ResourceTypeEntry)});
    list.entries.resize(got / sizeof(ResourceTypeEntry));
    return list;
}

ResourceTree WalkResourceMap(ByteSource& fork, std::uint64_t base) {
    ResourceTree tree;
    if (fork.size() <= base)
        return tree;
    const auto header = ReadResourceHeader(fork, base);
    if (!header) {
        tree.problem = Reason(Sentence::kResourceHeaderCut, fork.size() - base);
        return tree;
    }
    std::vector<Reason> problems;
    MemoryBytes map = ReadMap(fork, base + header->mapOffset, header->mapLength);
    if (map.size() < std::min<std::uint64_t>(header->mapLength, kMostMapBytes) ||
        map.size() < kTypeListOffset + sizeof(be16))
        problems.emplace_back(Sentence::kResourceMapOutside, std::uint32_t{header->mapOffset},
                              std::uint32_t{header->mapLength}, fork.size() - base);
    const ResourceTypeList types = ReadResourceTypes(map);
    if (types.entries.size() < types.counted)
        problems.emplace_back(Sentence::kResourceTypesCut, types.counted, types.entries.size());
    MapFaults faults;
    auto room = static_cast<std::size_t>(map.size() / sizeof(ResourceReference));
    tree.types.reserve(types.entries.size());
    for (const ResourceTypeEntry& entry : types.entries)
        tree.types.push_back(TypeOf(fork, map, base + header->dataOffset, entry, room, faults));
    problems.push_back(ProblemOf(faults));
    tree.problem = Reason::Joined(std::move(problems), " ");
    return tree;
}

std::size_t ResourceTree::count() const {
    std::size_t count = 0;
    for (const ResourceType& type : types)
        count += type.resources.size();
    return count;
}

const Resource* ResourceTree::find(std::string_view type, std::uint16_t id) const {
    for (const ResourceType& each : types)
        if (std::string_view(each.letters.data(), each.letters.size()) == type)
            for (const Resource& resource : each.resources)
                if (resource.id == id)
                    return &resource;
    return nullptr;
}

std::string ResourceLabel(const Resource& resource) {
    return fmt::format("id=0x{:04x}, lg={}", resource.id, resource.length);
}

std::string ResourceTypeName(const ResourceType& type) {
    return Printable(
        WideToUtf8(MacNameToWide(std::string_view(type.letters.data(), type.letters.size()))));
}

}  // namespace vellmark
