// One view over everything that an image holds: its ISO 9660, Joliet and Macintosh trees, each read
// in the same way. An image is opened for reading only. Nothing that it says is believed unseen:
// what is damaged gives a sentence, and what can be read goes on.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "IO/iso_reader.hpp"
#include "IO/recognition.hpp"
#include "reading/plain_image.hpp"
#include "support/messages.hpp"
#include "support/result.hpp"
#include "volume/catalog.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

enum class TreeKind {
    Iso,
    Joliet,
    Hfs  ///< HFS or HFS+
};

/// `iso`, `joliet` or `hfs`.
[[nodiscard]] std::string_view TreeKeyword(TreeKind kind);

/// One file or folder of any tree.
struct ViewEntry {
    std::string name;  ///< UTF-8, a slash in it as `:`; empty for the root
    std::string path;  ///< from the root, `/` between the names; empty for the root
    bool isFolder = false;
    bool isHidden = false;
    bool isHardLink = false;              ///< HFS+: the contents are those of another file
    bool isLocked = false;                ///< a Macintosh lets nobody change the file
    bool isCompressed = false;            ///< HFS+: the contents are not in the data fork
    std::uint64_t sizeBytes = 0;          ///< of the contents, or the data fork
    std::uint64_t resourceBytes = 0;      ///< of the resource fork
    std::optional<UnixSeconds> created;   ///< nothing where the tree has no such date
    std::optional<UnixSeconds> modified;  ///< nothing when it is not given
    std::string type;                     ///< UTF-8 of four letters; empty when there is none
    std::string creator;                  ///< the same
    std::uint64_t id = 0;                 ///< Macintosh: number in the catalog; else first block
    std::variant<IsoEntry, CatalogItem> record;  ///< as the tree has it
};

/// Facts of a tree as a whole.
struct TreeFacts {
    TreeKind kind = TreeKind::Iso;
    std::string format;  ///< "ISO 9660", "Joliet", "HFS", "HFS+" or "HFSX"
    std::string label;   ///< UTF-8
    std::uint32_t blockSize = 0;
    std::uint64_t blockCount = 0;
    std::optional<std::uint64_t> freeBlocks;   ///< nothing where a tree knows no free blocks
    std::optional<std::uint64_t> fileCount;    ///< as stored in the header; nothing without one
    std::optional<std::uint64_t> folderCount;  ///< without the root
    std::optional<UnixSeconds> created;
    std::optional<UnixSeconds> modified;
    std::uint64_t endByte = 0;  ///< where the volume ends in the image
    /// Further texts by their keys, those that are not empty.
    std::vector<std::pair<std::string_view, std::string>> texts;

    [[nodiscard]] std::uint64_t sizeBytes() const { return blockCount * blockSize; }
};

/// Gets an entry, which it may take; false when no more are wanted.
using TakeEntry = std::function<bool(ViewEntry&& entry)>;

/// What a path leads to.
struct Lookup {
    std::optional<ViewEntry> entry;  ///< nothing when there is no such entry
    Reason problem;                  ///< what is damaged on the way, if anything
};

/// One tree.
class TreeView {
  public:
    explicit TreeView(TreeFacts facts) : facts_(std::move(facts)) {}
    virtual ~TreeView() = default;
    TreeView(const TreeView&) = delete;
    TreeView& operator=(const TreeView&) = delete;

    [[nodiscard]] const TreeFacts& facts() const { return facts_; }

    /// The entry of a path with `/` between the names, compared as the tree compares names; the
    /// root for an empty path.
    [[nodiscard]] Lookup find(std::string_view path);
    /// Hands on the entries of a folder in the order of the tree, those before a damaged place too,
    /// until `take` returns false. An entry need not be kept: a folder may have more than memory.
    /// What is damaged, if anything.
    [[nodiscard]] Reason each(const ViewEntry& folder, const TakeEntry& take);
    /// The contents of a file, or its data fork. The image must outlive it.
    [[nodiscard]] virtual Result<std::unique_ptr<ByteSource>> open(const ViewEntry& file) = 0;

  protected:
    /// The same without the paths of entries. `path` has no empty parts.
    [[nodiscard]] virtual Lookup findEntry(std::string_view path) = 0;
    [[nodiscard]] virtual Reason eachEntry(const ViewEntry& folder, const TakeEntry& take) = 0;

  private:
    TreeFacts facts_;
};

class ImageView {
  public:
    /// Opens an image; of its Macintosh partitions the one of this number (from 1), or the first
    /// that holds a volume. Nothing, after a message that names the file and the reason, when it
    /// cannot be read, holds no tree, or the partition that was asked for holds none. The clock
    /// gives the zone of HFS dates and must outlive the view.
    [[nodiscard]] static std::unique_ptr<ImageView> Open(const PlainImage& image,
                                                         std::optional<unsigned> partition,
                                                         const Clock& clock, Messages& messages);

    /// The trees that are there, in the order of `TreeKind`.
    [[nodiscard]] const std::vector<std::unique_ptr<TreeView>>& trees() const { return trees_; }
    /// The tree of a kind; null when it is not there.
    [[nodiscard]] TreeView* tree(TreeKind kind) const;
    /// The Macintosh partitions in the image's maps.
    [[nodiscard]] const std::vector<PartitionEntry>& partitions() const { return partitions_; }
    [[nodiscard]] std::uint64_t sizeBytes() const { return volume_.image->size(); }
    /// The Macintosh volume, which the tree of kind `Hfs` shows.
    [[nodiscard]] VolumeContext& volume() { return volume_; }
    /// Why nothing in the image can be changed; none when it can be.
    [[nodiscard]] const Reason& imageRefusal() const { return imageRefusal_; }
    /// Why the Macintosh volume could not be changed, were the image opened for that.
    [[nodiscard]] const ReadOnlyReasons& changeReasons() const { return changeReasons_; }
    /// A Macintosh volume is there and cannot be used.
    [[nodiscard]] bool hasDamagedVolume() const { return damagedVolume_; }

  private:
    ImageView() = default;
    [[nodiscard]] Reason findTrees(std::optional<unsigned> partition, const Clock& clock,
                                   Messages& messages, bool isExpanded);
    void judgeChanges(bool isExpanded);
    [[nodiscard]] bool holdsVolumeHeader(Sector512 start);
    [[nodiscard]] Reason whyEmpty();

    VolumeContext volume_;
    std::optional<IsoReader> iso_;
    std::vector<PartitionEntry> partitions_;
    std::vector<std::unique_ptr<TreeView>> trees_;
    Reason imageRefusal_;
    ReadOnlyReasons changeReasons_;
    bool damagedVolume_ = false;
};

/// The trees of an image that can be mounted, for `ImageView`.
[[nodiscard]] std::unique_ptr<TreeView> MakeIsoTreeView(IsoReader& reader, IsoTree tree,
                                                        ByteSource& image);
[[nodiscard]] std::unique_ptr<TreeView> MakeHfsTreeView(VolumeContext& volume, const Clock& clock);

}  // namespace vellmark
