#include "IO/iso_coverage.hpp"

#include <algorithm>
#include <optional>
#include <set>
#include <string_view>
#include <utility>

#include "IO/boot_areas.hpp"
#include "IO/iso_reader.hpp"
#include "IO/iso_structures.hpp"

namespace vellmark {

namespace {

constexpr std::uint32_t kMostDescriptors = 64;
constexpr std::string_view kStandard = "CD001";

class Coverage {
  public:
    explicit Coverage(ByteSource& image) : image_(image), unseenBytes_(image.size()) {}
    IsoCoverage run();

  private:
    void add(std::uint64_t offset, std::uint64_t sizeBytes);
    void addPathTables(const IsoVolumeDescriptor& descriptor);
    [[nodiscard]] bool addTree(const IsoVolumeDescriptor& descriptor);
    [[nodiscard]] bool addFolder(const IsoReader& reader, const IsoEntry& folder);
    void addExtents(const IsoEntry& entry);

    struct OpenFolder {
        IsoEntry folder;
        std::size_t level = 0;
    };

    ByteSource& image_;
    std::vector<ByteRange> ranges_;
    std::set<std::pair<std::uint64_t, std::uint64_t>> entered_;  ///< place and size of folders
    std::uint64_t unseenBytes_;  ///< directories of a sound disc take no more than the image has
    std::vector<OpenFolder> open_;
};

void Coverage::add(std::uint64_t offset, std::uint64_t sizeBytes) {
    const std::uint64_t size = image_.size();
    if (offset < size && sizeBytes != 0)
        ranges_.push_back({offset, offset + std::min(sizeBytes, size - offset)});
}

void Coverage::addPathTables(const IsoVolumeDescriptor& descriptor) {
    const std::uint32_t blockSize = descriptor.blockSize;
    for (const std::uint32_t block :
         {std::uint32_t{descriptor.pathTableL}, std::uint32_t{descriptor.optionalPathTableL},
          std::uint32_t{descriptor.pathTableM}, std::uint32_t{descriptor.optionalPathTableM}})
        if (block != 0)
            add(std::uint64_t{block} * blockSize, descriptor.pathTableBytes);
}

void Coverage::addExtents(const IsoEntry& entry) {
    for (const IsoExtent& extent : entry.extents) {
        add(extent.offset, extent.sizeBytes);
        add(extent.offset - std::min<std::uint64_t>(extent.attributeBytes, extent.offset),
            extent.attributeBytes);
    }
}

// False when it is not known which bytes they are.
bool Coverage::addFolder(const IsoReader& reader, const IsoEntry& folder) {
    addExtents(folder);
    const auto entries = reader.list(IsoTree::Iso, folder);
    if (!entries)
        return false;
    const std::size_t level = open_.back().level + 1;
    open_.pop_back();
    for (const IsoEntry& entry : *entries) {
        if (entry.isFolder)
            open_.push_back({entry, level});
        else if (entry.interleaved)
            return false;
        else
            addExtents(entry);
    }
    return true;
}

bool Coverage::addTree(const IsoVolumeDescriptor& descriptor) {
    const std::optional<IsoReader> reader = IsoReader::OpenTree(image_, descriptor);
    if (!reader)
        return false;
    addPathTables(descriptor);
    open_ = {{reader->root(IsoTree::Iso), 0}};
    while (!open_.empty()) {
        const IsoEntry folder = open_.back().folder;
        if (!entered_.insert({folder.extentSector, folder.sizeBytes}).second) {
            open_.pop_back();
            continue;
        }
        if (open_.back().level > IsoWalkGuard::kMostLevels || folder.sizeBytes > unseenBytes_)
            return false;
        unseenBytes_ -= folder.sizeBytes;
        if (!addFolder(*reader, folder))
            return false;
    }
    return true;
}

// Ranges in rising order, joined where they touch.
std::vector<ByteRange> Joined(std::vector<ByteRange> ranges) {
    std::sort(ranges.begin(), ranges.end(),
              [](const ByteRange& a, const ByteRange& b) { return a.offset < b.offset; });
    std::vector<ByteRange> joined;
    for (const ByteRange& range : ranges) {
        if (!joined.empty() && range.offset <= joined.back().end)
            joined.back().end = std::max(joined.back().end, range.end);
        else
            joined.push_back(range);
    }
    return joined;
}

IsoCoverage Coverage::run() {
    bool isWhole = true;
    bool hasTree = false;
    for (std::uint32_t i = 0; i < kMostDescriptors; ++i) {
        IsoVolumeDescriptor descriptor;
        const std::uint64_t offset = std::uint64_t{kIsoFirstDescriptor + i} * kIsoSectorBytes;
        if (!image_.readRecord(offset, descriptor) ||
            std::string_view(descriptor.standard.data(), descriptor.standard.size()) != kStandard)
            break;
        add(offset, sizeof descriptor);
        if (descriptor.type == kIsoDescriptorTerminator)
            break;
        hasTree = hasTree || descriptor.type == kIsoDescriptorPrimary;
        if (isWhole && (descriptor.type == kIsoDescriptorPrimary ||
                        descriptor.type == kIsoDescriptorSupplementary))
            isWhole = addTree(descriptor);
    }
    // The mark alone, which some volumes carry in front of them, stands for no tree.
    if (!hasTree)
        return {};
    const auto areas = FindBootAreas(image_);
    for (const BootArea& area : areas.value_or(std::vector<BootArea>{}))
        add(area.offset, area.sizeBytes);
    return {Joined(std::move(ranges_)), isWhole && areas};
}

}  // namespace

IsoCoverage CoverIso(ByteSource& image) {
    return Coverage(image).run();
}

}  // namespace vellmark
