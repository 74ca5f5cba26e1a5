// Writes the files of an image one after the other, small ones gathered into large pieces.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/pc_file.hpp"
#include "support/progress.hpp"

namespace vellmark {

enum class CopyResult {
    Done,
    Stopped,       ///< the user stopped the work
    SourceFailed,  ///< the source cannot be read, or was not the same all the time
    TargetFailed   ///< the image could not be written
};

class ImageWriter {
  public:
    /// Writes to `image` from byte `offset` on.
    ImageWriter(PcFile& image, std::uint64_t offset, Progress& progress);

    /// Copies `sizeBytes` bytes of a file, told to the progress under `name`, and moves on to the
    /// next multiple of `blockSize`. Bytes that are skipped stay zero.
    [[nodiscard]] CopyResult copyFile(PcFile& source, std::string_view name,
                                      std::uint32_t sizeBytes, std::uint32_t blockSize);
    /// The same for a fork that is no file of its own.
    [[nodiscard]] CopyResult copyFork(ByteSource& fork, std::string_view name,
                                      std::uint32_t sizeBytes, std::uint32_t blockSize);
    /// Writes what is still gathered.
    [[nodiscard]] CopyResult finish();

  private:
    /// Tells the progress of a copy, and how far a large one is: `copyPiece(done, piece)` brings
    /// that many bytes to their place.
    template <typename CopyPiece>
    [[nodiscard]] CopyResult copy(ByteSource& source, std::string_view name,
                                  std::uint32_t sizeBytes, std::uint32_t blockSize,
                                  CopyPiece copyPiece);
    [[nodiscard]] CopyResult copySmall(ByteSource& source, std::uint32_t sizeBytes,
                                       std::uint32_t blockSize);

    PcFile& image_;
    Progress& progress_;
    std::uint64_t offset_;  // where the gathered bytes go
    std::vector<std::uint8_t> buffer_;
    std::size_t filled_ = 0;
};

}  // namespace vellmark
