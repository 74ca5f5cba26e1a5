#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "containers/names.hpp"
#include "session/image_view.hpp"
#include "support/encoding.hpp"
#include "volume/mount.hpp"

namespace vellmark {

namespace {

// A folder of HFS+ whose name no one can type holds the files that hard links lead to (TN1150).
constexpr std::u16string_view kLinkFolder(u"\0\0\0\0HFS+ Private Data", 21);

constexpr UnixSeconds kDaySeconds = 86400;

// A date field of 0 is none; with a zone its instant is up to a day away.
std::optional<UnixSeconds> Given(UnixSeconds date) {
    return date <= -kMacEpochOffset + kDaySeconds ? std::nullopt : std::optional(date);
}

std::string_view FormatName(const VolumeContext& volume) {
    if (!volume.isHfsPlus)
        return "HFS";
    return volume.vhb.signature == kHfsxSignature ? "HFSX" : "HFS+";
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
    // The creation date is local time in HFS+ too, by the format's own exception.
    facts.created =
        Given(FromMacLocal(plus ? volume.vhb.creationDate : volume.mdb.creationDate, clock));
    facts.modified = Given(plus ? FromMacGmt(volume.vhb.modificationDate)
                                : FromMacLocal(volume.mdb.modificationDate, clock));
    facts.endByte = volume.volumeOffset * kSectorBytes + facts.sizeBytes();
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
    entry.created = Given(item.created);
    entry.modified = Given(item.modified);
    if (!item.isFolder) {
        entry.type = LettersOf(item.signature, 0);
        entry.creator = LettersOf(item.signature, 4);
    }
    entry.id = item.id;
    entry.record = std::move(item);
    return entry;
}

std::string ProblemOf(TreeResult result, std::string_view place) {
    if (result == TreeResult::Done)
        return {};
    return fmt::format("The Macintosh catalog {} {}.",
                       result == TreeResult::Failed ? "cannot be read" : "is damaged", place);
}

class HfsTreeView final : public TreeView {
  public:
    HfsTreeView(VolumeContext& volume, const Clock& clock)
        : TreeView(FactsOf(volume, clock)), volume_(volume), clock_(clock) {}

    [[nodiscard]] std::unique_ptr<ByteSource> open(const ViewEntry& file,
                                                   std::string& problem) override;

  protected:
    [[nodiscard]] std::optional<ViewEntry> findEntry(std::string_view path,
                                                     std::string& problem) override;
    [[nodiscard]] std::vector<ViewEntry> listEntries(const ViewEntry& folder,
                                                     std::string& problem) override;

  private:
    [[nodiscard]] ViewEntry behindLink(CatalogItem item);
    [[nodiscard]] const std::map<std::string, CatalogItem>& linkTargets();

    VolumeContext& volume_;
    const Clock& clock_;
    std::optional<std::map<std::string, CatalogItem>> linkTargets_;  // by name
};

// A hard link is shown with the contents of the file that it leads to.
ViewEntry HfsTreeView::behindLink(CatalogItem item) {
    if (item.linkReference == 0)
        return EntryOf(std::move(item));
    const auto target = linkTargets().find(fmt::format("iNode{}", item.linkReference));
    if (target == linkTargets().end())
        return EntryOf(std::move(item));
    ViewEntry shown = EntryOf(target->second);
    shown.name = item.name;
    return shown;
}

// Read once, when the first link is met. A damaged place shows when the folder itself is listed.
const std::map<std::string, CatalogItem>& HfsTreeView::linkTargets() {
    if (linkTargets_)
        return *linkTargets_;
    linkTargets_.emplace();
    std::vector<CatalogItem> items;
    (void)ListFolder(volume_, kRootFolderId, clock_, items);
    const auto folder = std::find_if(items.begin(), items.end(), [](const CatalogItem& item) {
        return item.isFolder && item.catalogName.hfsPlus == kLinkFolder;
    });
    if (folder == items.end())
        return *linkTargets_;
    const std::uint32_t folderId = folder->id;
    items.clear();
    (void)ListFolder(volume_, folderId, clock_, items);
    for (CatalogItem& item : items)
        if (!item.isFolder && item.linkReference == 0)
            linkTargets_->emplace(item.name, std::move(item));
    return *linkTargets_;
}

std::unique_ptr<ByteSource> HfsTreeView::open(const ViewEntry& file, std::string& problem) {
    const auto& item = std::get<CatalogItem>(file.record);
    std::vector<BlockRun> runs;
    problem = item.linkReference != 0
                  ? "It is a hard link to a file that is not there."
                  : ProblemOf(ForkRuns(volume_, item, false, runs), "where it lists the blocks");
    return problem.empty() ? std::make_unique<ForkSource>(volume_, std::move(runs), file.sizeBytes)
                           : nullptr;
}

std::optional<ViewEntry> HfsTreeView::findEntry(std::string_view path, std::string& problem) {
    std::optional<CatalogItem> item;
    problem =
        ProblemOf(FindPath(volume_, path, clock_, item),
                  path.empty() ? "at its root" : fmt::format("on the way to {}", Printable(path)));
    if (!problem.empty() || !item)
        return std::nullopt;
    ViewEntry entry = behindLink(std::move(*item));
    if (path.empty())
        entry.name.clear();
    return entry;
}

std::vector<ViewEntry> HfsTreeView::listEntries(const ViewEntry& folder, std::string& problem) {
    std::vector<CatalogItem> items;
    const auto id = static_cast<std::uint32_t>(folder.id);
    problem =
        ProblemOf(ListFolder(volume_, id, clock_, items),
                  folder.path.empty() ? "in the root folder"
                                      : fmt::format("in the folder {}", Printable(folder.path)));
    std::vector<ViewEntry> entries;
    entries.reserve(items.size());
    for (CatalogItem& item : items)
        entries.push_back(behindLink(std::move(item)));
    return entries;
}

}  // namespace

std::unique_ptr<TreeView> MakeHfsTreeView(VolumeContext& volume, const Clock& clock) {
    return std::make_unique<HfsTreeView>(volume, clock);
}

}  // namespace vellmark
