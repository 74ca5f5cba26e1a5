#include "containers/fonts/mac_font_fork.hpp"

#include <algorithm>
#include <array>
#include <vector>

#include "containers/fonts/type1_font.hpp"
#include "containers/resource_fork.hpp"
#include "support/sentences.hpp"

namespace vellmark {
namespace {

constexpr std::uint32_t kDataOffset = 256;
constexpr std::uint32_t kMostDataOffset = 0x00FFFFFF;
/// Offsets in a map have 16 bits.
constexpr std::size_t kMostMapBytes = 0xFFFF;
constexpr std::size_t kMostFontName = 31;

/// What stands in front of the type list of a map.
struct MapHead {
    ResourceForkHeader header;
    std::uint8_t zero[8]{};
    be16 typesOffset = std::uint16_t{kTypeListOffset};
    be16 namesOffset;
    be16 lastType;
};
static_assert(sizeof(MapHead) == 30);

ResourceTypeEntry TypeEntry(std::string_view type, std::size_t count, std::size_t listOffset) {
    ResourceTypeEntry entry{};
    std::copy_n(type.begin(), entry.type.size(), entry.type.begin());
    entry.lastResource = static_cast<std::uint16_t>(count - 1);
    entry.listOffset = static_cast<std::uint16_t>(listOffset);
    return entry;
}

ResourceReference Reference(std::uint16_t id, std::uint16_t nameOffset, std::uint32_t dataOffset) {
    ResourceReference reference{};
    reference.id = id;
    reference.nameOffset = nameOffset;
    reference.attributesAndData = dataOffset;
    return reference;
}

ResourceForkHeader HeaderOf(std::uint64_t dataLength, std::size_t mapLength) {
    ResourceForkHeader header{};
    header.dataOffset = kDataOffset;
    header.mapOffset = static_cast<std::uint32_t>(kDataOffset + dataLength);
    header.dataLength = static_cast<std::uint32_t>(dataLength);
    header.mapLength = static_cast<std::uint32_t>(mapLength);
    return header;
}

void AddHeader(PiecedSource& fork, const ResourceForkHeader& header) {
    fork.addRecord(header);
    fork.addBytes(std::vector<std::uint8_t>(kDataOffset - sizeof header));
}

// A family of one outline font for all sizes, plain. Its number stands in it twice.
constexpr std::array<std::uint8_t, 78> kFamily = {
    0x00, 0x00, 0x0C, 0x2A, 0x00, 0x00, 0x00, 0xFF, 0x0D, 0x52, 0xFB, 0x32, 0x00, 0x00, 0x09, 0x9A,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x03, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x0C, 0x2A, 0x00, 0x00, 0x00, 0x00, 0x00, 0x06,
    0x00, 0x00, 0x00, 0x00, 0xFF, 0xCA, 0xFB, 0x9E, 0x0A, 0x00, 0x0E, 0x9A};
constexpr std::size_t kFamilyIdPlaces[] = {2, 58};

std::vector<std::uint8_t> FamilyOf(std::uint16_t id) {
    std::vector<std::uint8_t> family(kFamily.begin(), kFamily.end());
    for (const std::size_t place : kFamilyIdPlaces) {
        family[place] = static_cast<std::uint8_t>(id >> 8);
        family[place + 1] = static_cast<std::uint8_t>(id);
    }
    return family;
}

constexpr std::uint16_t kFirstPostId = 501;
/// What resources of printer fonts hold at most, but for their kind and a zero.
constexpr std::uint32_t kMostPostBytes = 2046;

struct Post {
    std::uint8_t type = 0;
    SliceSource bytes;

    [[nodiscard]] std::uint32_t length() const {
        return static_cast<std::uint32_t>(bytes.size()) + 2;
    }
};

// A section whose bytes are not there, or none of the kinds that are known, makes the file none.
bool TakeSection(ByteSource& pfb, std::uint64_t& at, std::vector<Post>& posts) {
    PfbSection head;
    if (!pfb.readRecord(at, head) || head.mark != PfbSection{}.mark ||
        (head.type != static_cast<std::uint8_t>(Type1Section::Text) &&
         head.type != static_cast<std::uint8_t>(Type1Section::Binary)) ||
        EndsBeyond(pfb, at + sizeof head, head.length))
        return false;
    at += sizeof head;
    const std::uint64_t end = at + head.length;
    while (at < end) {
        const std::uint64_t length = std::min<std::uint64_t>(end - at, kMostPostBytes);
        posts.push_back({head.type, SliceSource(pfb, at, length)});
        at += length;
    }
    return true;
}

// Some files end without the last mark.
bool EndsAt(ByteSource& pfb, std::uint64_t at) {
    if (at > 0 && at == pfb.size())
        return true;
    std::array<std::uint8_t, 2> end{};
    return pfb.readRecord(at, end) && end[0] == PfbSection{}.mark &&
           end[1] == static_cast<std::uint8_t>(Type1Section::EndOfFile);
}

std::size_t MapLengthOf(const std::vector<Post>& posts) {
    return sizeof(MapHead) + sizeof(ResourceTypeEntry) + posts.size() * sizeof(ResourceReference);
}

PiecedSource ForkOf(const std::vector<Post>& posts, std::uint64_t dataLength) {
    const std::size_t mapLength = MapLengthOf(posts);
    MapHead map;
    map.header = HeaderOf(dataLength, mapLength);
    map.namesOffset = static_cast<std::uint16_t>(mapLength);
    map.lastType = 0;
    PiecedSource fork;
    AddHeader(fork, map.header);
    for (const Post& post : posts) {
        fork.addRecord(be32(post.length()));
        fork.addBytes({post.type, 0});
        fork.addSlice(post.bytes);
    }
    fork.addRecord(map);
    fork.addRecord(TypeEntry("POST", posts.size(), 10));
    std::uint16_t id = kFirstPostId;
    std::uint32_t offset = 0;
    for (const Post& post : posts) {
        fork.addRecord(Reference(id++, kNoResourceName, offset));
        offset += static_cast<std::uint32_t>(Resource::kLengthBytes) + post.length();
    }
    return fork;
}

}  // namespace

std::uint16_t FontIdAfter(std::uint16_t id) {
    return id < kFirstFontId || id >= kLastFontId ? kFirstFontId
                                                  : static_cast<std::uint16_t>(id + 1);
}

Result<PiecedSource> SuitcaseOf(ByteSource& font, std::string_view name, std::uint16_t id) {
    const std::uint64_t familyOffset = Resource::kLengthBytes + font.size();
    if (familyOffset > kMostDataOffset)
        return Failed(Sentence::kFontTooLong);
    name = name.substr(0, kMostFontName);
    std::vector<std::uint8_t> pascal{static_cast<std::uint8_t>(name.size())};
    pascal.insert(pascal.end(), name.begin(), name.end());
    const std::size_t namesOffset =
        sizeof(MapHead) + 2 * (sizeof(ResourceTypeEntry) + sizeof(ResourceReference));
    MapHead map;
    map.header = HeaderOf(familyOffset + Resource::kLengthBytes + kFamily.size(),
                          namesOffset + 2 * pascal.size());
    map.namesOffset = static_cast<std::uint16_t>(namesOffset);
    map.lastType = 1;
    PiecedSource fork;
    AddHeader(fork, map.header);
    fork.addRecord(be32(static_cast<std::uint32_t>(font.size())));
    fork.addSlice(SliceSource(font, 0, font.size()));
    fork.addRecord(be32(static_cast<std::uint32_t>(kFamily.size())));
    fork.addBytes(FamilyOf(id));
    fork.addRecord(map);
    fork.addRecord(TypeEntry("sfnt", 1, 18));
    fork.addRecord(TypeEntry("FOND", 1, 30));
    fork.addRecord(Reference(id, 0, 0));
    fork.addRecord(Reference(id, 0, static_cast<std::uint32_t>(familyOffset)));
    fork.addBytes(pascal);
    fork.addBytes(pascal);
    return fork;
}

Result<PiecedSource> PrinterFontOf(ByteSource& pfb) {
    std::vector<Post> posts;
    std::uint64_t at = 0;
    while (!EndsAt(pfb, at))
        // Without sections the file has no end either, and no map holds so many resources.
        if (!TakeSection(pfb, at, posts) || at > kMostDataOffset)
            return Failed(at > kMostDataOffset ? Sentence::kFontTooLong : Sentence::kNoPfb);
    posts.push_back({static_cast<std::uint8_t>(Type1Section::EndOfFont), {}});
    std::uint64_t dataLength = 0;
    for (const Post& post : posts)
        dataLength += Resource::kLengthBytes + post.length();
    if (dataLength > kMostDataOffset || MapLengthOf(posts) > kMostMapBytes)
        return Failed(Sentence::kFontTooLong);
    return ForkOf(posts, dataLength);
}

}  // namespace vellmark
