// A reader of the ISO 9660 and Joliet trees of a disc image (ECMA-119, and the Joliet extension of
// it). It believes nothing that the image says without looking: damaged discs give a reason.
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "IO/iso_directory.hpp"
#include "IO/iso_entry.hpp"
#include "IO/iso_text.hpp"
#include "support/byte_source.hpp"
#include "support/clock.hpp"
#include "support/result.hpp"
#include "support/walk_guard.hpp"

namespace vellmark {

/// What a volume descriptor holds. Texts are UTF-8 without the blanks that fill their fields.
struct IsoVolumeInfo {
    std::string systemId;
    std::string volumeId;
    std::string volumeSetId;
    std::string publisher;
    std::string preparer;
    std::string application;
    std::string copyrightFile;
    std::string abstractFile;
    std::string bibliographicFile;
    std::string created;          ///< see `IsoDateText`
    std::string modified;         ///< see `IsoDateText`
    UnixSeconds createdAt = 0;    ///< the same instant; 0 when it is not given
    UnixSeconds modifiedAt = 0;   ///< the same
    std::uint32_t spaceSize = 0;  ///< logical blocks
    std::uint32_t blockSize = 0;  ///< bytes of a logical block: 512, 1024 or 2048
};

class IsoReader {
  public:
    /// Looks for volume descriptors. Nothing when there is no primary one. The source must outlive
    /// the reader.
    [[nodiscard]] static std::optional<IsoReader> Open(ByteSource& image);
    /// A reader of the one tree that a descriptor leads to, whatever its names are made of, in
    /// place of the ISO tree. Nothing when its sizes cannot be right.
    [[nodiscard]] static std::optional<IsoReader> OpenTree(ByteSource& image,
                                                           const IsoVolumeDescriptor& descriptor);

    [[nodiscard]] bool hasJoliet() const { return trees_[1].has_value(); }
    /// What the descriptor of a tree holds; of Joliet only when `hasJoliet`.
    [[nodiscard]] const IsoVolumeInfo& info(IsoTree tree) const { return of(tree).info; }
    /// The root folder of a tree, its name empty; of Joliet only when `hasJoliet`.
    [[nodiscard]] const IsoEntry& root(IsoTree tree) const { return of(tree).root; }

    /// The entries of a folder one after the other. The folder must outlive the result.
    [[nodiscard]] IsoDirectory open(IsoTree tree, const IsoEntry& folder) const {
        return {*image_, tree, of(tree).info.blockSize, folder};
    }
    /// The same at once: up to 200,000 entries. A reason when the directory is damaged.
    [[nodiscard]] Result<std::vector<IsoEntry>> list(IsoTree tree, const IsoEntry& folder) const;

    /// The entry of a path with `/` between its parts; an empty path is the root. ISO names are
    /// compared without regard to case, with or without their version; Joliet names as they are
    /// first, then without regard to the case of ASCII letters. Nothing when there is no such
    /// entry, a reason when a directory on the way is damaged.
    [[nodiscard]] Result<std::optional<IsoEntry>> find(IsoTree tree, std::string_view path) const;

  private:
    struct Tree {
        IsoVolumeInfo info;
        IsoEntry root;
    };

    explicit IsoReader(ByteSource& image) : image_(&image) {}
    [[nodiscard]] static std::optional<Tree> ReadTree(const IsoVolumeDescriptor& descriptor,
                                                      IsoTree tree);
    [[nodiscard]] Result<std::optional<IsoEntry>> bestMatch(IsoTree tree, const IsoEntry& folder,
                                                            std::string_view wanted) const;
    [[nodiscard]] const Tree& of(IsoTree tree) const {
        return *trees_[static_cast<std::size_t>(tree)];
    }

    ByteSource* image_;
    std::array<std::optional<Tree>, 2> trees_;
};

/// The contents of one file. The image must outlive it.
class IsoFileSource final : public ByteSource {
  public:
    /// An interleaved file reads as nothing.
    IsoFileSource(ByteSource& image, const IsoEntry& file)
        : image_(image),
          extents_(file.interleaved ? std::vector<IsoExtent>{} : file.extents),
          size_(file.sizeBytes) {}
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;

  private:
    ByteSource& image_;
    std::vector<IsoExtent> extents_;
    std::uint64_t size_;
};

/// Keeps a walk over a damaged tree from going in circles: the format allows 8 levels, discs have
/// more, and no two folders lie in the same bytes.
class IsoWalkGuard {
  public:
    static constexpr std::size_t kMostLevels = 64;
    /// Whether the walk may go into this folder, `level` below the root (0). A folder is entered
    /// once, and not when some of its bytes were those of another folder: a disc whose folders
    /// overlap holds more of them than any walk could end.
    [[nodiscard]] bool enter(const IsoEntry& folder, std::size_t level) {
        return level <= kMostLevels && entered_.insert(folder.extentSector).second &&
               std::all_of(folder.extents.begin(), folder.extents.end(),
                           [this](const IsoExtent& extent) {
                               return seen_.add(extent.offset, extent.sizeBytes);
                           });
    }

  private:
    std::set<std::uint64_t> entered_;
    SeenBytes seen_;
};

}  // namespace vellmark
