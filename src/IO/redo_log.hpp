// What lets a change of an image survive a power cut or a process that is ended: before sectors
// that belong together are overwritten, they lie in a file of their own, from which the change is
// completed when the image is changed the next time.
//
// The file: a header of 568 bytes, then sums of contents that the change wrote before, each with
// offset (64 bits) and the CRC-32 of the sector there, then pieces in rising order, each with
// offset and length in bytes (64 bits each), a CRC-32 of each of its sectors as it was before, and
// its bytes as they are to be. All numbers have their most significant byte first.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "IO/content_samples.hpp"
#include "support/file_lock.hpp"
#include "support/pc_file.hpp"
#include "support/reason.hpp"

namespace vellmark {

inline constexpr std::size_t kRedoSectorBytes = 512;

/// Whole sectors that are to stand at an offset of the image.
struct RedoPiece {
    std::uint64_t offset = 0;
    std::span<const std::uint8_t> bytes;
};

/// The sector that marks the image as being changed, for whoever sees it without its log. It
/// is one of those that the change writes: the first to be written, in this form, and the last, in
/// the form that it is to have.
struct RedoMark {
    std::uint64_t offset = 0;
    std::array<std::uint8_t, kRedoSectorBytes> bytes{};
};

/// A whole log in memory. The pieces lie in `bytes`.
struct RedoLog {
    std::uint64_t imageBytes = 0;  ///< length of the image
    RedoMark mark;
    std::map<std::uint64_t, std::uint32_t> contents;  ///< as `ContentSamples::sums`
    std::vector<RedoPiece> pieces;
    /// For each piece the CRC-32 of its sectors before the change.
    std::vector<std::vector<std::uint32_t>> before;
    std::vector<std::uint8_t> bytes;
};

/// Where the log of an image lies as a rule: beside it, wherever links lead.
[[nodiscard]] std::string RedoLogPath(const std::string& imagePath);

struct RedoWriting {
    std::string path;  ///< of the log
    int error = 0;     ///< the system's number of what kept it from being made; 0 when it is there
};

/// Makes the log, which is on the device when this returns, as open to others as the image is. It
/// lies beside the image, or in the folder of the guard where nobody may write into the image's.
/// The pieces are in rising order and lie within the image, and one of them covers the mark. Where
/// it could not be made there is none, and nothing of the image may be overwritten.
/// `contents` are what the change wrote before.
[[nodiscard]] RedoWriting WriteRedoLog(PcFile& image, const std::string& imagePath,
                                       const FileGuard& guard, std::span<const RedoPiece> pieces,
                                       const RedoMark& mark, const ContentSamples& contents);

/// Forgets the logs of an image that has given way to a new one. What is no log stays.
void RemoveRedoLogs(const std::string& imagePath, const FileGuard& guard);

enum class RedoState {
    None,     ///< there is no log
    Pending,  ///< the image is between the state before the change and the one after it
    Foreign,  ///< the image is in neither: it has been changed or replaced by others since
    Unusable  ///< it is not known which, see `problem`; there may be something to complete
};

struct FoundRedoLog {
    RedoState state = RedoState::None;
    std::string path;
    Reason problem;                      ///< why the log is unusable, as a part of a sentence
    std::shared_ptr<const RedoLog> log;  ///< of `Pending`
};

/// Looks for a log of the image. Changes nothing.
[[nodiscard]] FoundRedoLog FindRedoLog(PcFile& image, const std::string& imagePath,
                                       const FileGuard& guard);

/// Writes bytes at an offset of the image.
using WriteBytes = std::function<bool(std::uint64_t offset, std::span<const std::uint8_t> bytes)>;

/// Carries a logged change out: the mark, the pieces, the marked sector as it is to be, each on the
/// device before the next. False when a transfer failed.
[[nodiscard]] bool CarryOut(std::span<const RedoPiece> pieces, const RedoMark& mark, PcFile& image,
                            const WriteBytes& write);

/// Shows an image as it will be when the change is completed.
[[nodiscard]] ReadPatch ShownThrough(std::shared_ptr<const RedoLog> log);

/// Gives a log that is of no use a name under which nobody looks for it. "" when that failed.
[[nodiscard]] std::string PutRedoLogAside(const std::string& path);

}  // namespace vellmark
