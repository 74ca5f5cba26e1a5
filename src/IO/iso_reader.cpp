#include "IO/iso_reader.hpp"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <span>

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kMostDescriptors = 64;
constexpr std::uint64_t kMostDirectoryBytes = 64u << 20;
constexpr std::size_t kMostEntries = 200'000;
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

IsoEntry EntryOf(const IsoDirectoryRecord& record, std::string_view name, IsoTree tree,
                 std::uint32_t blockSize) {
    IsoEntry entry;
    entry.isFolder = (record.flags & kIsoFlagFolder) != 0;
    entry.hidden = (record.flags & kIsoFlagHidden) != 0;
    entry.associated = (record.flags & kIsoFlagAssociated) != 0;
    entry.interleaved = record.unitSize != 0 || record.gapSize != 0;
    entry.fullName = IsoTextToUtf8(name, tree);
    entry.name =
        SafeIsoName(entry.isFolder ? entry.fullName : WithoutIsoVersion(entry.fullName, tree));
    entry.modified = IsoDateToUnix(record.date);
    entry.extentSector = std::uint64_t{record.extent} + record.extendedSize;
    entry.sizeBytes = record.sizeBytes;
    entry.extents.push_back({entry.extentSector * blockSize, record.sizeBytes,
                             std::uint32_t{record.extendedSize} * blockSize});
    return entry;
}

// What a directory is called in a sentence.
std::string FolderWords(const IsoEntry& folder) {
    return folder.name.empty() ? "The root directory"
                               : fmt::format("The directory \"{}\"", Printable(folder.name));
}

// Gathers the records of one directory.
class DirectoryListing {
  public:
    DirectoryListing(IsoTree tree, std::uint32_t blockSize) : tree_(tree), blockSize_(blockSize) {}

    // Takes the records of one sector; what is wrong with them, or "".
    [[nodiscard]] std::string addSector(std::span<const std::uint8_t> sector) {
        std::size_t at = 0;
        while (at < sector.size() && sector[at] != 0) {
            const std::size_t length = sector[at];
            IsoDirectoryRecord record;
            if (length <= sizeof(record) || length > sector.size() - at)
                return fmt::format("has a record of {} bytes at byte {} of a sector", length, at);
            std::memcpy(&record, sector.data() + at, sizeof(record));
            if (record.nameLength == 0 || record.nameLength > length - sizeof(record))
                return fmt::format("has a record with a name of {} bytes at byte {} of a sector",
                                   record.nameLength, at);
            const auto* text = reinterpret_cast<const char*>(sector.data()) + at + sizeof(record);
            if (std::string problem = add(record, {text, record.nameLength}); !problem.empty())
                return problem;
            at += length;
        }
        return {};
    }

    [[nodiscard]] bool isOpen() const { return open_; }
    [[nodiscard]] std::vector<IsoEntry>& entries() { return entries_; }

  private:
    [[nodiscard]] std::string add(const IsoDirectoryRecord& record, std::string_view name) {
        // The folder itself and the one above have names of one byte, 0 and 1.
        if (name == std::string_view("\0", 1) || name == "\1")
            return {};
        IsoEntry entry = EntryOf(record, name, tree_, blockSize_);
        if (open_) {
            IsoEntry& whole = entries_.back();
            if (entry.fullName != whole.fullName)
                return fmt::format("lacks the last part of \"{}\"", Printable(whole.name));
            whole.sizeBytes += entry.sizeBytes;
            whole.extents.push_back(entry.extents.front());
        } else {
            entries_.push_back(std::move(entry));
        }
        open_ = (record.flags & kIsoFlagMultiExtent) != 0;
        return ++records_ > kMostEntries ? fmt::format("has more than {} records", kMostEntries)
                                         : std::string{};
    }

    IsoTree tree_;
    std::uint32_t blockSize_;
    std::size_t records_ = 0;
    bool open_ = false;  // the last entry has more parts to come
    std::vector<IsoEntry> entries_;
};

// How well a name of the disc answers to the one asked for: 0 not at all, more is better.
int MatchOf(IsoTree tree, const IsoEntry& entry, std::string_view wanted) {
    if (entry.fullName == wanted || entry.name == wanted)
        return 2;
    const std::string upper = AsciiUpper(wanted);
    const bool equal = AsciiUpper(entry.fullName) == upper || AsciiUpper(entry.name) == upper ||
                       AsciiUpper(entry.name) == WithoutIsoVersion(upper, tree);
    return equal ? 1 : 0;
}

const IsoEntry* BestMatch(IsoTree tree, const std::vector<IsoEntry>& entries,
                          std::string_view wanted) {
    const IsoEntry* best = nullptr;
    int bestMatch = 0;
    for (const IsoEntry& entry : entries) {
        // Of a file and what is associated with it, the name means the file.
        const int match = MatchOf(tree, entry, wanted) * 2 - (entry.associated ? 1 : 0);
        if (match > bestMatch) {
            best = &entry;
            bestMatch = match;
        }
    }
    return best;
}

}  // namespace

std::optional<IsoReader::Tree> IsoReader::ReadTree(const IsoVolumeDescriptor& descriptor,
                                                   IsoTree tree) {
    Tree result{InfoOf(descriptor, tree), {}};
    const std::uint32_t blockSize = result.info.blockSize;
    if (blockSize != 512 && blockSize != 1024 && blockSize != 2048)
        return std::nullopt;
    result.root = EntryOf(descriptor.root, {}, tree, blockSize);
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

std::optional<std::vector<IsoEntry>> IsoReader::list(IsoTree tree, const IsoEntry& folder,
                                                     std::string& error) const {
    error.clear();
    const auto fail = [&](std::string_view reason) {
        error = fmt::format("{} {}.", FolderWords(folder), reason);
        return std::nullopt;
    };
    if (!folder.isFolder)
        return fail("is a file");
    if (folder.sizeBytes > kMostDirectoryBytes)
        return fail(fmt::format("claims a size of {} bytes", folder.sizeBytes));
    DirectoryListing listing(tree, of(tree).info.blockSize);
    std::array<std::uint8_t, kIsoSectorBytes> sector;
    for (const IsoExtent& extent : folder.extents) {
        if (extent.offset > image_->size() || extent.sizeBytes > image_->size() - extent.offset)
            return fail(fmt::format("lies outside the image ({} bytes at sector {})",
                                    extent.sizeBytes, folder.extentSector));
        for (std::uint64_t done = 0; done < extent.sizeBytes; done += sector.size()) {
            const std::span<std::uint8_t> piece(sector.data(),
                                                static_cast<std::size_t>(std::min<std::uint64_t>(
                                                    sector.size(), extent.sizeBytes - done)));
            if (!image_->readExactly(extent.offset + done, piece))
                return fail("cannot be read");
            if (const std::string problem = listing.addSector(piece); !problem.empty())
                return fail(problem);
        }
    }
    if (listing.isOpen())
        return fail(
            fmt::format("lacks the last part of \"{}\"", Printable(listing.entries().back().name)));
    return std::move(listing.entries());
}

std::optional<IsoEntry> IsoReader::find(IsoTree tree, std::string_view path,
                                        std::string& error) const {
    error.clear();
    IsoEntry entry = root(tree);
    while (!path.empty()) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        const std::string_view part = path.substr(0, slash);
        path.remove_prefix(std::min(slash + 1, path.size()));
        if (part.empty())
            continue;
        if (!entry.isFolder)
            return std::nullopt;
        const auto entries = list(tree, entry, error);
        const IsoEntry* found = entries ? BestMatch(tree, *entries, part) : nullptr;
        if (found == nullptr)
            return std::nullopt;
        entry = IsoEntry(*found);
    }
    return entry;
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
