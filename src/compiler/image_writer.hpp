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
    TargetFailed,  ///< the image could not be written
    PlaceTaken     ///< the place lies before the end of what was written
};

class ImageWriter {
  public:
    ImageWriter(PcFile& image, Progress& progress);

    /// Copies `sizeBytes` bytes of a file, reported to the progress under `name`, to byte `place`
    /// of the image, behind all that was copied before. Bytes that are passed over stay zero.
    [[nodiscard]] CopyResult copyFile(PcFile& source, std::string_view name, std::uint64_t place,
                                      std::uint32_t sizeBytes);
    /// The same for a fork that is no file of its own.
    [[nodiscard]] CopyResult copyFork(ByteSource& fork, std::string_view name, std::uint64_t place,
                                      std::uint32_t sizeBytes);
    /// Writes what is still gathered.
    [[nodiscard]] CopyResult finish();

  private:
    /// Tells the progress of a copy, and how far a large one is: `copyPiece(done, piece)` brings
    /// that many bytes to their place.
    template <typename CopyPiece>
    [[nodiscard]] CopyResult copy(ByteSource& source, std::string_view name, std::uint64_t place,
                                  std::uint32_t sizeBytes, CopyPiece copyPiece);
    [[nodiscard]] CopyResult goTo(std::uint64_t place);
    [[nodiscard]] CopyResult copySmall(ByteSource& source, std::uint32_t sizeBytes);

    PcFile& image_;
    Progress& progress_;
    std::uint64_t offset_ = 0;  // where the gathered bytes go
    std::vector<std::uint8_t> buffer_;
    std::size_t filled_ = 0;
};

}  // namespace vellmark
