#include "containers/names.hpp"
#include "reading/image_view.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "volume/hard_links.hpp"
#include "volume/mount.hpp"
#include "volume/open_fork.hpp"

namespace vellmark {

namespace {

std::string_view FormatName(const VolumeContext& volume) {
    if (!volume.isHfsPlus)
        return "HFS";
    return volume.vhb.signature == kHfsxSignature ? "HFSX" : "HFS+";
}

// The creation date of the header is GMT, as all others. Other systems write the local time of the
// zone that they were in, which is not stored: it follows from the creation date of the root
// folder, the same moment in GMT.
UnixSeconds HfsPlusCreation(VolumeContext& volume, const Clock& clock) {
    constexpr UnixSeconds kZoneStep = 15 * 60;
    constexpr UnixSeconds kFarthestZone = 14 * 60 * 60;
    const UnixSeconds header = FromMacGmt(volume.vhb.creationDate);
    std::optional<CatalogItem> root;
    if (FindPath(volume, "", clock, root) != TreeResult::Done || !root)
        return header;
    const UnixSeconds apart =
        root->created > header ? root->created - header : header - root->created;
    return apart <= kFarthestZone && apart % kZoneStep == 0 ? root->created : header;
}

TreeFacts FactsOf(VolumeContext& volume, const Clock& clock) {
    const bool plus = volume.isHfsPlus;
    TreeFacts facts;
    facts.kind = TreeKind::Hfs;
    facts.format = FormatName(volume);
    facts.label = VolumeName(volume);
    facts.blockSize = volume.blockSize;
    facts.blockCount = volume.totalBlocks();
    facts.freeBlocks = volume.freeBlocks();
    facts.fileCount = plus ? volume.vhb.fileCount : volume.mdb.fileCount;
    facts.folderCount = plus ? volume.vhb.folderCount : volume.mdb.folderCount;
    facts.created = GivenDate(plus ? HfsPlusCreation(volume, clock)
                                   : FromMacLocal(volume.mdb.creationDate, clock));
    facts.modified = GivenDate(plus ? FromMacGmt(volume.vhb.modificationDate)
                                    : FromMacLocal(volume.mdb.modificationDate, clock));
    facts.endByte = volume.blocksStart.byte() + facts.sizeBytes();
    return facts;
}

// Four letters in UTF-8; "" when all are zero.
std::string LettersOf(const std::array<char, 8>& signature, std::size_t at) {
    const std::string_view letters(signature.data() + at, 4);
    return letters == std::string_view("\0\0\0\0", 4) ? std::string{}
                                                      : WideToUtf8(MacNameToWide(letters));
}

ViewEntry EntryOf(CatalogItem item) {
    ViewEntry entry;
    entry.name = item.name;
    entry.isFolder = item.isFolder;
    entry.isHidden = (item.finderFlags & kFinderInvisible) != 0;
    entry.sizeBytes = item.data.sizeBytes;
    entry.resourceBytes = item.resource.sizeBytes;
    entry.created = GivenDate(item.created);
    entry.modified = GivenDate(item.modified);
    if (!item.isFolder) {
        entry.type = LettersOf(item.signature, 0);
        entry.creator = LettersOf(item.signature, 4);
    }
    entry.isLocked = item.isLocked;
    entry.isCompressed = item.isCompressed;
    entry.id = item.id;
    entry.record = std::move(item);
    return entry;
}

class HfsTreeView final : public TreeView {
  public:
    HfsTreeView(VolumeContext& volume, const Clock& clock)
        : TreeView(FactsOf(volume, clock)), volume_(volume), clock_(clock), links_(volume, clock) {}

    [[nodiscard]] Result<std::unique_ptr<ByteSource>> open(const ViewEntry& file) override;

  protected:
    [[nodiscard]] Lookup findEntry(std::string_view path) override;
    [[nodiscard]] Reason eachEntry(const ViewEntry& folder, const TakeEntry& take) override;

  private:
    [[nodiscard]] ViewEntry behindLink(CatalogItem item);

    VolumeContext& volume_;
    const Clock& clock_;
    HardLinks links_;
};

// A hard link is shown with the contents of the file that it leads to.
ViewEntry HfsTreeView::behindLink(CatalogItem item) {
    const bool isLink = item.linkReference != 0;
    ViewEntry entry = EntryOf(links_.resolve(std::move(item)));
    entry.isHardLink = isLink;
    return entry;
}

Result<std::unique_ptr<ByteSource>> HfsTreeView::open(const ViewEntry& file) {
    return OpenFork(volume_, std::get<CatalogItem>(file.record), false);
}

Lookup HfsTreeView::findEntry(std::string_view path) {
    std::optional<CatalogItem> item;
    Lookup found;
    found.problem =
        CatalogProblem(FindPath(volume_, path, clock_, item),
                       path.empty() ? Reason(Sentence::kPlaceAtRoot)
                                    : Reason(Sentence::kPlaceOnTheWayTo, Printable(path)));
    if (found.problem || !item)
        return found;
    found.entry = behindLink(std::move(*item));
    if (path.empty())
        found.entry->name.clear();
    return found;
}

Reason HfsTreeView::eachEntry(const ViewEntry& folder, const TakeEntry& take) {
    std::vector<CatalogItem> items;
    const auto id = static_cast<std::uint32_t>(folder.id);
    Reason problem = CatalogProblem(ListFolder(volume_, id, clock_, items),
                                    folder.path.empty()
                                        ? Reason(Sentence::kPlaceInRootFolder)
                                        : Reason(Sentence::kPlaceInFolder, Printable(folder.path)));
    for (CatalogItem& item : items)
        if (!take(behindLink(std::move(item))))
            break;
    return problem;
}

}  // namespace

std::unique_ptr<TreeView> MakeHfsTreeView(VolumeContext& volume, const Clock& clock) {
    return std::make_unique<HfsTreeView>(volume, clock);
}

}  // namespace vellmark
