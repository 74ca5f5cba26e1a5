// The Macintosh partition of an image as it is joined to a disc: whole sectors of 2,048 bytes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "IO/expanded_image.hpp"
#include "join/hybrid_map.hpp"
#include "join/hybridation.hpp"
#include "support/byte_source.hpp"
#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"
#include "volume/volume_context.hpp"

namespace vellmark {

enum class JoinSourceResult {
    Found,
    Stopped,         ///< by the person, while it was expanded
    NoPartition,     ///< it has no map, no Macintosh partition, or no volume in that
    Refused,         ///< sparse, cut short, with a boot record, or it cannot be expanded
    NoTemporaryFile  ///< nowhere to expand it
};

/// Reads the partition from its first byte on, zeros behind its end.
class JoinSource final : public ByteSource {
  public:
    /// Opens the file, unless it is open. False after a message.
    [[nodiscard]] bool open(const JoinPartition& image, const FileGuard& guard, Messages& messages);
    /// Finds the first partition of type "Apple_HFS" in it. A compressed disk image is expanded
    /// into a temporary file that lives as long as this. `opensRoot` lets a Macintosh open the
    /// window of the root folder when the disc is put in; the image itself stays as it is.
    /// A message says why it is not `Found`.
    [[nodiscard]] JoinSourceResult prepare(bool opensRoot, Messages& messages, Progress& progress);

    /// Bytes, a multiple of 2,048: the partition and the zeros behind it.
    [[nodiscard]] std::uint64_t size() const override { return size_; }
    /// Sectors of 512 bytes of the partition itself, from whose end the second header of a volume
    /// is found.
    [[nodiscard]] std::uint64_t partitionBlocks() const {
        return (stored_ + kSectorBytes - 1) / kSectorBytes;
    }
    [[nodiscard]] std::size_t readAt(std::uint64_t offset, std::span<std::uint8_t> out) override;
    [[nodiscard]] std::uint64_t copyTo(PcFile& target, ByteMove move) override;

    [[nodiscard]] const FoundPartition& partition() const { return partition_; }
    [[nodiscard]] const std::string& path() const { return path_; }
    /// Nothing of the partition was missing when it was read.
    [[nodiscard]] bool isWhole() const { return isWhole_; }
    /// Whether the volume is HFS+.
    [[nodiscard]] bool isHfsPlus() const { return isHfsPlus_; }

  private:
    [[nodiscard]] JoinSourceResult expand(Messages& messages, Progress& progress);
    [[nodiscard]] JoinSourceResult checkVolume(Messages& messages) const;
    void measure();
    void findRootWord();

    std::string path_;
    VolumeContext image_;  ///< its file alone, where it was not open
    std::unique_ptr<ExpandedImage> expanded_;
    ByteSource* disk_ = nullptr;
    FoundPartition partition_;
    std::uint64_t stored_ = 0;  ///< bytes of the partition that the image has
    std::uint64_t size_ = 0;
    std::uint64_t rootWordAt_ = 0;  ///< where the folder to open stands; 0: it stays
    bool isHfsPlus_ = false;
    bool isWhole_ = true;
};

}  // namespace vellmark
