// A reader of the ISO 9660 and Joliet trees of a disc image (ECMA-119, and the Joliet extension of
// it). It believes nothing that the image says without looking: damaged discs give a sentence.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "IO/iso_text.hpp"
#include "support/byte_source.hpp"
#include "support/clock.hpp"

namespace vellmark {

/// What a volume descriptor tells. Texts are UTF-8 without the blanks that fill their fields.
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

/// A run of an entry's contents.
struct IsoExtent {
    std::uint64_t offset = 0;  ///< bytes from the start of the image
    std::uint32_t sizeBytes = 0;
    std::uint32_t attributeBytes = 0;  ///< of the extended attribute record right before it
};

/// One file or folder of a directory.
struct IsoEntry {
    std::string name;      ///< UTF-8, without version, safe to be a file's name on a PC
    std::string fullName;  ///< UTF-8, as the disc has it, with its version
    bool isFolder = false;
    bool hidden = false;       ///< not to be shown (the "existence" flag)
    bool associated = false;   ///< belongs to the file of the same name, such as a resource fork
    bool interleaved = false;  ///< written with gaps; its contents cannot be read
    std::uint64_t extentSector = 0;  ///< first logical block of the contents
    std::uint64_t sizeBytes = 0;     ///< of all extents
    UnixSeconds modified = 0;        ///< 0 when the disc has no usable date
    std::vector<IsoExtent> extents;  ///< in the order of the contents
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
    /// What the descriptor of a tree tells; of Joliet only when `hasJoliet`.
    [[nodiscard]] const IsoVolumeInfo& info(IsoTree tree) const { return of(tree).info; }
    /// The root folder of a tree, its name empty; of Joliet only when `hasJoliet`.
    [[nodiscard]] const IsoEntry& root(IsoTree tree) const { return of(tree).root; }

    /// The entries of a folder in the order of the disc, without `.` and `..`; the extents of a
    /// file in several parts are joined. Nothing, and a sentence in `error`, when the directory is
    /// damaged.
    [[nodiscard]] std::optional<std::vector<IsoEntry>> list(IsoTree tree, const IsoEntry& folder,
                                                            std::string& error) const;

    /// The entry of a path with `/` between its parts; an empty path is the root. ISO names are
    /// compared without regard to case, with or without their version; Joliet names as they are
    /// first, then without regard to the case of ASCII letters. Nothing with an empty `error` when
    /// there is no such entry, nothing with a sentence when a directory on the way is damaged.
    [[nodiscard]] std::optional<IsoEntry> find(IsoTree tree, std::string_view path,
                                               std::string& error) const;

  private:
    struct Tree {
        IsoVolumeInfo info;
        IsoEntry root;
    };

    explicit IsoReader(ByteSource& image) : image_(&image) {}
    [[nodiscard]] static std::optional<Tree> ReadTree(const IsoVolumeDescriptor& descriptor,
                                                      IsoTree tree);
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
/// more, and no folder is inside itself.
class IsoWalkGuard {
  public:
    static constexpr std::size_t kMostLevels = 64;
    /// Whether the walk may go into this folder, `level` below the root (0). A folder is entered
    /// once.
    [[nodiscard]] bool enter(const IsoEntry& folder, std::size_t level) {
        return level <= kMostLevels && entered_.insert(folder.extentSector).second;
    }

  private:
    std::set<std::uint64_t> entered_;
};

}  // namespace vellmark
