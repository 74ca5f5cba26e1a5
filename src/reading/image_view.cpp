#include "reading/image_view.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>

#include "IO/apple_map.hpp"
#include "IO/disk_image.hpp"
#include "IO/raw_image.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/mount.hpp"
#include "volume/pc_side.hpp"
#include "volume/read_only.hpp"

namespace vellmark {

namespace {

constexpr int kTextEmptyFile = 1409;

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

Lookup TreeView::find(std::string_view path) {
    const std::string normal = Normalized(path);
    Lookup found = findEntry(normal);
    if (found.entry) {
        // The way as it was asked for, the last name as the tree has it.
        const std::size_t slash = normal.rfind('/');
        found.entry->path =
            normal.substr(0, slash == std::string::npos ? 0 : slash + 1) + found.entry->name;
    }
    return found;
}

Reason TreeView::each(const ViewEntry& folder, const TakeEntry& take) {
    return eachEntry(folder, [&](ViewEntry&& entry) {
        entry.path = folder.path.empty() ? entry.name : folder.path + "/" + entry.name;
        return take(std::move(entry));
    });
}

std::unique_ptr<ImageView> ImageView::Open(const PlainImage& image,
                                           std::optional<unsigned> partition, const Clock& clock,
                                           Messages& messages) {
    std::unique_ptr<ImageView> view(new ImageView);
    view->volume_.guard = image.guard();
    if (!OpenImageFile(view->volume_, image.path(), Access::Read, messages))
        return nullptr;
    Reason problem;
    if (view->sizeBytes() != 0)
        problem = view->findTrees(partition, clock, messages, image.isTemporary());
    if (!problem && view->trees_.empty())
        problem = view->whyEmpty();
    if (!problem)
        return view;
    messages.showError(Reason(Sentence::kNamedReason, Printable(image.name()), problem));
    return nullptr;
}

// Why the partition that was asked for cannot be shown.
Reason ImageView::findTrees(std::optional<unsigned> partition, const Clock& clock,
                            Messages& messages, bool isExpanded) {
    iso_ = IsoReader::Open(*volume_.image);
    if (iso_)
        trees_.push_back(MakeIsoTreeView(*iso_, IsoTree::Iso, *volume_.image));
    if (iso_ && iso_->hasJoliet())
        trees_.push_back(MakeIsoTreeView(*iso_, IsoTree::Joliet, *volume_.image));
    (void)ScanMedium(volume_, partitions_, &messages);
    std::vector<Sector512> starts = {Sector512(0), volume_.partitionStart};
    for (const PartitionEntry& entry : partitions_)
        starts.push_back(entry.startSector);
    if (partition)
        if (Reason problem = ChoosePartition(volume_, partitions_, *partition))
            return problem;
    if (volume_.isMounted || MountRequest(volume_)) {
        judgeChanges(isExpanded);
        trees_.push_back(MakeHfsTreeView(volume_, clock));
    } else {
        damagedVolume_ = std::any_of(starts.begin(), starts.end(),
                                     [&](Sector512 start) { return holdsVolumeHeader(start); });
    }
    return {};
}

// The image was opened for reading on purpose, which does not mean that it may only be read.
void ImageView::judgeChanges(bool isExpanded) {
    FindPcSide(volume_);
    changeReasons_ = volume_.readOnlyReasons;
    if (::access(volume_.imagePath.c_str(), W_OK) == 0)
        changeReasons_.remove(ReadOnlyReason::File);
    imageRefusal_ =
        isExpanded ? ClassRefusal(ImageClass::TrailerDiskImage) : ImageRefusal(*volume_.image);
}

bool ImageView::holdsVolumeHeader(Sector512 start) {
    return start.number() < volume_.image->size() / kSectorBytes &&
           VolumeSignatureAt(*volume_.image, start.byte()) != 0;
}

// Why an image without a tree has none.
Reason ImageView::whyEmpty() {
    if (volume_.image->error() != 0)
        return Reason(Sentence::kItCannotBeReadAs, volume_.image->failure());
    if (sizeBytes() == 0)
        return ToldText{kTextEmptyFile};
    if (Reason refusal = ImageRefusal(*volume_.image))
        return refusal;
    if (volume_.readOnlyReasons.has(ReadOnlyReason::CutImage))
        return Sentence::kImageEndsBeforeVolume;
    if (damagedVolume_)
        return Sentence::kHoldsDamagedVolume;
    if (const auto form = FindDiscForm(*volume_.image);
        form && form->isRaw() && IsRawIso(*volume_.image, *form))
        return Reason(Sentence::kRawImageNotShown, kRawSectorBytes, kIsoSectorBytes);
    return Sentence::kHoldsNoTree;
}

TreeView* ImageView::tree(TreeKind kind) const {
    const auto found = std::find_if(trees_.begin(), trees_.end(), [kind](const auto& tree) {
        return tree->facts().kind == kind;
    });
    return found == trees_.end() ? nullptr : found->get();
}

}  // namespace vellmark
