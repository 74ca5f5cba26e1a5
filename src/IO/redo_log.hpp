// What lets a change of an image survive a power cut or a process that is ended: before sectors
// that belong together are overwritten, they lie in a file beside the image, from which the change
// is completed when the image is opened the next time.
//
// The file: a header of 560 bytes, then pieces, each with offset and length in bytes (64 bits each)
// and its bytes. All numbers have their most significant byte first.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "support/byte_source.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// Bytes that are to stand at an offset of the image.
struct RedoPiece {
    std::uint64_t offset = 0;
    std::span<const std::uint8_t> bytes;
};

/// Where the file of an image lies: beside it, wherever links lead.
[[nodiscard]] std::string RedoLogPath(const std::string& imagePath);

/// Writes the file, which is on the device when this returns. The sector at `witnessOffset`, one
/// that every change of the image changes, later tells whether the image is still the same one.
/// False when it could not be written; there is no file then.
[[nodiscard]] bool WriteRedoLog(PcFile& image, const std::string& imagePath,
                                std::span<const RedoPiece> pieces, std::uint64_t witnessOffset);
/// Forgets a change that is complete, or whose image has given way to a new one.
void RemoveRedoLog(const std::string& imagePath);

enum class RedoResult {
    None,       ///< nothing was left to do
    Completed,  ///< the image now holds the change
    Foreign,    ///< the image has been changed by others since; the file is gone
    Failed      ///< the change could not be written; the file stays
};

/// Completes an interrupted change. `image` is open for writing, and nobody else writes to it.
[[nodiscard]] RedoResult ReplayRedoLog(PcFile& image, const std::string& imagePath);

}  // namespace vellmark
