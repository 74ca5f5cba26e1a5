#include "IO/iso_reader.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kMostDescriptors = 64;
constexpr std::string_view kStandard = "CD001";
constexpr std::array<std::string_view, 3> kJolietEscapes = {"%/@", "%/C", "%/E"};

template <std::size_t Size>
std::string_view View(const std::array<char, Size>& field) {
    return {field.data(), Size};
}

bool IsJoliet(const IsoVolumeDescriptor& descriptor) {
    const std::string_view escapes = View(descriptor.escapes);
    return std::any_of(kJolietEscapes.begin(), kJolietEscapes.end(),
                       [&](std::string_view escape) { return escapes.starts_with(escape); });
}

IsoVolumeInfo InfoOf(const IsoVolumeDescriptor& descriptor, IsoTree tree) {
    IsoVolumeInfo info;
    info.systemId = IsoFieldText(View(descriptor.systemId), tree);
    info.volumeId = IsoFieldText(View(descriptor.volumeId), tree);
    info.volumeSetId = IsoFieldText(View(descriptor.volumeSetId), tree);
    info.publisher = IsoFieldText(View(descriptor.publisher), tree);
    info.preparer = IsoFieldText(View(descriptor.preparer), tree);
    info.application = IsoFieldText(View(descriptor.application), tree);
    info.copyrightFile = IsoFieldText(View(descriptor.copyrightFile), tree);
    info.abstractFile = IsoFieldText(View(descriptor.abstractFile), tree);
    info.bibliographicFile = IsoFieldText(View(descriptor.bibliographicFile), tree);
    info.created = IsoDateText(descriptor.created);
    info.modified = IsoDateText(descriptor.modified);
    info.createdAt = IsoLongDateToUnix(descriptor.created);
    info.modifiedAt = IsoLongDateToUnix(descriptor.modified);
    info.spaceSize = descriptor.spaceSize;
    info.blockSize = descriptor.blockSize;
    return info;
}

// How well a name of the disc answers to the one asked for: 0 not at all, more is better.
int MatchOf(IsoTree tree, const IsoEntry& entry, std::string_view wanted) {
    if (entry.fullName == wanted || entry.name == wanted)
        return 2;
    const std::string upper = AsciiUpper(wanted);
    const bool equal = AsciiUpper(entry.fullName) == upper || AsciiUpper(entry.name) == upper ||
                       AsciiUpper(entry.name) == WithoutIsoVersion(upper, tree);
    return equal ? 1 : 0;
}

}  // namespace

std::optional<IsoReader::Tree> IsoReader::ReadTree(const IsoVolumeDescriptor& descriptor,
                                                   IsoTree tree) {
    Tree result{InfoOf(descriptor, tree), {}};
    const std::uint32_t blockSize = result.info.blockSize;
    if (blockSize != 512 && blockSize != 1024 && blockSize != 2048)
        return std::nullopt;
    result.root = IsoEntryOf(descriptor.root, {}, tree, blockSize);
    // Some writers forget the flag here, and nothing but a folder can be the root.
    result.root.isFolder = true;
    return result;
}

std::optional<IsoReader> IsoReader::OpenTree(ByteSource& image,
                                             const IsoVolumeDescriptor& descriptor) {
    IsoReader reader(image);
    reader.trees_[0] = ReadTree(descriptor, IsoTree::Iso);
    return reader.trees_[0] ? std::optional(std::move(reader)) : std::nullopt;
}

std::optional<IsoReader> IsoReader::Open(ByteSource& image) {
    IsoReader reader(image);
    for (std::uint32_t i = 0; i < kMostDescriptors; ++i) {
        IsoVolumeDescriptor descriptor;
        const std::uint64_t offset = std::uint64_t{kIsoFirstDescriptor + i} * kIsoSectorBytes;
        if (!image.readRecord(offset, descriptor) || View(descriptor.standard) != kStandard ||
            descriptor.type == kIsoDescriptorTerminator)
            break;
        if (descriptor.type == kIsoDescriptorPrimary && !reader.trees_[0])
            reader.trees_[0] = ReadTree(descriptor, IsoTree::Iso);
        else if (descriptor.type == kIsoDescriptorSupplementary && !reader.trees_[1] &&
                 IsJoliet(descriptor))
            reader.trees_[1] = ReadTree(descriptor, IsoTree::Joliet);
    }
    if (!reader.trees_[0])
        return std::nullopt;
    return reader;
}

Result<std::vector<IsoEntry>> IsoReader::list(IsoTree tree, const IsoEntry& folder) const {
    std::vector<IsoEntry> entries;
    IsoDirectory directory = open(tree, folder);
    IsoEntry entry;
    IsoDirectory::Step step = directory.next(entry);
    for (; step == IsoDirectory::Step::Entry; step = directory.next(entry))
        entries.push_back(std::move(entry));
    if (step == IsoDirectory::Step::Damaged)
        return Failed(directory.problem());
    return entries;
}

// The entry of a folder that answers best to a name; nothing when none does.
Result<std::optional<IsoEntry>> IsoReader::bestMatch(IsoTree tree, const IsoEntry& folder,
                                                     std::string_view wanted) const {
    std::optional<IsoEntry> best;
    int bestMatch = 0;
    IsoDirectory directory = open(tree, folder);
    IsoEntry entry;
    IsoDirectory::Step step = directory.next(entry);
    for (; step == IsoDirectory::Step::Entry; step = directory.next(entry)) {
        // Of a file and what is associated with it, the name means the file.
        const int match = MatchOf(tree, entry, wanted) * 2 - (entry.associated ? 1 : 0);
        if (match > bestMatch) {
            best = std::move(entry);
            bestMatch = match;
        }
    }
    if (step == IsoDirectory::Step::Damaged)
        return Failed(directory.problem());
    return best;
}

Result<std::optional<IsoEntry>> IsoReader::find(IsoTree tree, std::string_view path) const {
    Result<std::optional<IsoEntry>> found = root(tree);
    while (found && *found && !path.empty()) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        const std::string_view part = path.substr(0, slash);
        path.remove_prefix(std::min(slash + 1, path.size()));
        if (part.empty())
            continue;
        const IsoEntry folder = std::move(**found);
        found = folder.isFolder ? bestMatch(tree, folder, part) : std::nullopt;
    }
    return found;
}

std::size_t IsoFileSource::readAt(std::uint64_t offset, std::span<std::uint8_t> out) {
    std::size_t done = 0;
    for (const IsoExtent& extent : extents_) {
        if (done == out.size())
            break;
        if (offset >= extent.sizeBytes) {
            offset -= extent.sizeBytes;
            continue;
        }
        const std::size_t want = static_cast<std::size_t>(
            std::min<std::uint64_t>(out.size() - done, extent.sizeBytes - offset));
        const std::size_t got = image_.readAt(extent.offset + offset, out.subspan(done, want));
        done += got;
        if (got < want)
            break;
        offset = 0;
    }
    return done;
}

}  // namespace vellmark
