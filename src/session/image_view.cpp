#include "session/image_view.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "support/encoding.hpp"
#include "support/pc_file.hpp"
#include "support/pc_folder.hpp"
#include "support/texts.hpp"
#include "volume/mount.hpp"

namespace vellmark {

namespace {

constexpr int kTextOpenError = 1385;
constexpr int kTextEmptyFile = 1409;
constexpr std::uint64_t kVolumeHeaderSector = 2;

// The parts of a path that are there, one `/` between them.
std::string Normalized(std::string_view path) {
    std::string normal;
    while (!path.empty()) {
        const std::size_t slash = std::min(path.find('/'), path.size());
        if (slash > 0)
            normal.append(normal.empty() ? "" : "/").append(path.substr(0, slash));
        path.remove_prefix(std::min(slash + 1, path.size()));
    }
    return normal;
}

}  // namespace

std::string_view TreeKeyword(TreeKind kind) {
    switch (kind) {
        case TreeKind::Iso:
            return "iso";
        case TreeKind::Joliet:
            return "joliet";
        case TreeKind::Hfs:
            break;
    }
    return "hfs";
}

std::optional<ViewEntry> TreeView::find(std::string_view path, std::string& problem) {
    problem.clear();
    const std::string normal = Normalized(path);
    std::optional<ViewEntry> entry = findEntry(normal, problem);
    if (entry) {
        // The way as it was asked for, the last name as the tree has it.
        const std::size_t slash = normal.rfind('/');
        entry->path = normal.substr(0, slash == std::string::npos ? 0 : slash + 1) + entry->name;
    }
    return entry;
}

std::vector<ViewEntry> TreeView::list(const ViewEntry& folder, std::string& problem) {
    problem.clear();
    std::vector<ViewEntry> entries = listEntries(folder, problem);
    for (ViewEntry& entry : entries)
        entry.path = folder.path.empty() ? entry.name : folder.path + "/" + entry.name;
    return entries;
}

std::unique_ptr<ImageView> ImageView::Open(const std::string& path, const Clock& clock,
                                           Messages& messages) {
    const std::string name = Printable(path);
    if (PcFactsOf(path).kind == PcKind::Special) {
        messages.showMessage(
            fmt::format("{} is a pipe, a socket or a device, not an image file.", name));
        return nullptr;
    }
    std::unique_ptr<ImageView> view(new ImageView);
    const ImageOpening opening = OpenImageForReading(view->volume_, path);
    if (opening.result == OpenResult::Failed) {
        messages.showMessage(opening.systemError == EISDIR
                                 ? fmt::format("{} is a folder, not an image.", name)
                                 : fmt::format("{} {}.", FormatText(kTextOpenError, name),
                                               SystemErrorText(opening.systemError)));
        return nullptr;
    }
    if (view->sizeBytes() != 0)
        view->findTrees(clock);
    if (view->trees_.empty()) {
        messages.showMessage(fmt::format("{}: {}", name, view->whyEmpty()));
        return nullptr;
    }
    return view;
}

void ImageView::findTrees(const Clock& clock) {
    iso_ = IsoReader::Open(*volume_.image);
    if (iso_)
        trees_.push_back(MakeIsoTreeView(*iso_, IsoTree::Iso, *volume_.image));
    if (iso_ && iso_->hasJoliet())
        trees_.push_back(MakeIsoTreeView(*iso_, IsoTree::Joliet, *volume_.image));
    (void)ScanMedium(volume_, partitions_);
    std::vector<std::uint64_t> starts = {0, volume_.volumeOffset};
    for (const PartitionEntry& partition : partitions_)
        starts.push_back(partition.startSector);
    if (MountRequest(volume_))
        trees_.push_back(MakeHfsTreeView(volume_, clock));
    else
        damagedVolume_ = std::any_of(starts.begin(), starts.end(),
                                     [&](std::uint64_t start) { return holdsVolumeHeader(start); });
}

bool ImageView::holdsVolumeHeader(std::uint64_t startSector) {
    be16 signature;
    const std::uint64_t sectors = volume_.image->size() / kSectorBytes;
    return startSector + kVolumeHeaderSector < sectors &&
           volume_.image->readRecord((startSector + kVolumeHeaderSector) * kSectorBytes,
                                     signature) &&
           (signature == kHfsSignature || signature == kHfsPlusSignature ||
            signature == kHfsxSignature);
}

// Why an image without a tree has none.
std::string ImageView::whyEmpty() {
    if (volume_.image->error() != 0)
        return fmt::format("It cannot be read: {}.", volume_.image->errorText());
    if (sizeBytes() == 0)
        return std::string(Text(kTextEmptyFile));
    switch (ClassifyImage(*volume_.image)) {
        case ImageClass::PartitionDiskImage:
        case ImageClass::Bzip2DiskImage:
        case ImageClass::ZlibDiskImage:
        case ImageClass::TrailerDiskImage:
            return "It is a compressed disk image, which this version cannot open yet.";
        case ImageClass::SparseImage:
            return "It is a sparse disk image, which cannot be opened.";
        case ImageClass::Plain:
        case ImageClass::ProtectiveBootRecord:
        case ImageClass::MacintoshBootRecord:
            break;
    }
    if (damagedVolume_)
        return "It holds a Macintosh volume that is damaged or cut short and cannot be opened.";
    return "It holds no ISO 9660 tree and no Macintosh volume; it is no image, or is damaged or "
           "cut short.";
}

TreeView* ImageView::tree(TreeKind kind) const {
    const auto found = std::find_if(trees_.begin(), trees_.end(), [kind](const auto& tree) {
        return tree->facts().kind == kind;
    });
    return found == trees_.end() ? nullptr : found->get();
}

}  // namespace vellmark
