#include "containers/fonts/type1_font.hpp"

#include <algorithm>
#include <limits>
#include <utility>

#include "support/sentences.hpp"

namespace vellmark {
namespace {

constexpr std::string_view kPostType = "POST";
constexpr std::string_view kProgramStart = "%!";
constexpr std::string_view kFontName = "/FontName /";
/// Kind of section and a zero, in front of the bytes of a `POST` resource.
constexpr std::uint64_t kPostHeadBytes = 2;
constexpr std::size_t kMostClearText = 1 << 20;
/// PostScript knows no longer ones.
constexpr std::size_t kMostNameBytes = 127;

std::vector<const Resource*> PostResources(const ResourceTree& tree) {
    std::vector<const Resource*> found;
    for (const ResourceType& type : tree.types)
        if (std::string_view(type.letters.data(), type.letters.size()) == kPostType)
            for (const Resource& resource : type.resources)
                found.push_back(&resource);
    return found;
}

SliceSource ProgramOf(ByteSource& fork, const Resource& resource) {
    return {fork, resource.position + Resource::kLengthBytes + kPostHeadBytes,
            resource.length - std::min<std::uint64_t>(resource.length, kPostHeadBytes)};
}

bool BeginsProgram(ByteSource& fork, const Resource& resource) {
    std::array<char, kProgramStart.size()> start{};
    return ProgramOf(fork, resource).readRecord(0, start) &&
           std::string_view(start.data(), start.size()) == kProgramStart;
}

// The order of the map is that of the program, but for maps in which it begins elsewhere: those
// were written by systems that count on the numbers.
void SortWhereNeeded(ByteSource& fork, std::vector<const Resource*>& resources) {
    const auto byId = [](const Resource* a, const Resource* b) { return a->id < b->id; };
    const auto lowest = std::min_element(resources.begin(), resources.end(), byId);
    if (lowest != resources.end() && !BeginsProgram(fork, *resources.front()) &&
        BeginsProgram(fork, **lowest))
        std::stable_sort(resources.begin(), resources.end(), byId);
}

/// A section of the file with the resources that it is made of.
struct Section {
    std::uint8_t type = 0;
    std::uint64_t bytes = 0;
    std::vector<const Resource*> resources;
};

bool EndsFont(std::uint8_t type) {
    return type == static_cast<std::uint8_t>(Type1Section::EndOfFont) ||
           type == static_cast<std::uint8_t>(Type1Section::EndOfFile);
}

Result<std::vector<Section>> SectionsOf(ByteSource& fork,
                                        const std::vector<const Resource*>& resources) {
    std::vector<Section> sections;
    std::uint64_t all = 0;
    for (const Resource* resource : resources) {
        std::uint8_t type = 0;
        if (!resource->isWhole || resource->length < kPostHeadBytes ||
            !fork.readExactly(resource->position + Resource::kLengthBytes, {&type, 1}))
            return Failed(Sentence::kFontCut);
        if (EndsFont(type))
            break;
        if (type == static_cast<std::uint8_t>(Type1Section::Comment))
            continue;
        // What lies in the other fork cannot be followed, nor is a kind known that comes later.
        if (type != static_cast<std::uint8_t>(Type1Section::Text) &&
            type != static_cast<std::uint8_t>(Type1Section::Binary))
            return Failed(Sentence::kFontSectionUnknown, type);
        if (sections.empty() || sections.back().type != type)
            sections.push_back({type, 0, {}});
        sections.back().bytes += resource->length - kPostHeadBytes;
        sections.back().resources.push_back(resource);
        all += resource->length;
        // More than the fork has: resources share their bytes.
        if (all > fork.size() || all > std::numeric_limits<std::uint32_t>::max())
            return Failed(Sentence::kFontCut);
    }
    return sections;
}

}  // namespace

Result<std::optional<PiecedSource>> PfbOf(ByteSource& fork, const ResourceTree& tree) {
    std::vector<const Resource*> resources = PostResources(tree);
    if (resources.empty())
        return std::nullopt;
    SortWhereNeeded(fork, resources);
    const Result<std::vector<Section>> sections = SectionsOf(fork, resources);
    if (!sections)
        return Failed(sections.error());
    PiecedSource pfb;
    for (const Section& section : *sections) {
        PfbSection head;
        head.type = section.type;
        head.length = static_cast<std::uint32_t>(section.bytes);
        pfb.addRecord(head);
        for (const Resource* resource : section.resources)
            pfb.addSlice(ProgramOf(fork, *resource));
    }
    pfb.addBytes({PfbSection{}.mark, static_cast<std::uint8_t>(Type1Section::EndOfFile)});
    return std::optional(std::move(pfb));
}

std::string ClearTextOfPfb(ByteSource& pfb) {
    std::string text;
    PfbSection head;
    for (std::uint64_t at = 0;
         pfb.readRecord(at, head) && head.mark == PfbSection{}.mark &&
         head.type == static_cast<std::uint8_t>(Type1Section::Text) && text.size() < kMostClearText;
         at += sizeof head + head.length) {
        SliceSource section(pfb, at + sizeof head, head.length);
        std::vector<std::uint8_t> bytes(static_cast<std::size_t>(
            std::min<std::uint64_t>(section.size(), kMostClearText - text.size())));
        bytes.resize(section.readAt(0, bytes));
        text.append(bytes.begin(), bytes.end());
    }
    return text;
}

std::string FontNameOfType1(const std::string& clearText) {
    const std::size_t found = clearText.find(kFontName);
    if (found == std::string::npos)
        return {};
    const std::size_t start = found + kFontName.size();
    const auto ends = [](char c) { return c <= ' ' || c >= 0x7F; };
    const auto end =
        std::find_if(clearText.begin() + static_cast<std::ptrdiff_t>(start), clearText.end(), ends);
    std::string name(clearText.begin() + static_cast<std::ptrdiff_t>(start), end);
    return name.size() > kMostNameBytes ? std::string{} : name;
}

}  // namespace vellmark
