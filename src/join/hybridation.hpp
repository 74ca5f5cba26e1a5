// A Macintosh partition joined to a finished ISO 9660 image, so that a Macintosh reads the one and
// a PC the other: the partition follows the image, and a partition map in the first 1,536 bytes,
// which ISO 9660 leaves to the system (ECMA-119, 6.2.1), holds its position.
//
// What the disc is settles how it is done:
// - a plain image is changed in place: first the partition is put behind it, then the map in front;
// - a raw image in a file of the name `.bin` stays raw, and is changed in place as well;
// - any other raw image is repacked into a plain one, which takes its place when it is whole;
// - a Video CD gets the partition between its ISO track and its first video track (see
// video_cd.hpp).
#pragma once

#include <cstdint>
#include <string>

#include "support/file_lock.hpp"
#include "support/messages.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"

namespace vellmark {

enum class HybridationResult : int {
    Done = 1,
    Stopped = 0,              ///< by the person; the disc is as it was
    DiscNotOpened = -1,       ///< or nobody may write to it
    PartitionNotOpened = -2,  ///< or it holds no Macintosh volume behind a map
    HasMap = -3,              ///< the disc has a partition map already, or a Macintosh volume
    NotIso = -4,              ///< the disc is no ISO 9660 image, or one that cannot be joined
    ImageRefused = -5,        ///< the partition's image is sparse, has a boot record or is damaged
    NoTemporaryFile = -6,     ///< the partition's image is compressed, and cannot be expanded
    NotWritten = -7           ///< no room, or a failure of the disk; the disc is as it was
};

enum class HybridForm { Plain, Repacked, Raw, VideoCd };

struct HybridationOptions {
    bool opensRoot = false;  ///< a Macintosh opens the root's window when the disc is put in
    bool force =
        false;  ///< what stands where the map goes, and older backup files, are overwritten
    /// A person can be asked about a disc that is too large or no ISO 9660 image; else the first is
    /// no matter and the second is refused.
    bool asks = false;
    FileGuard guard = {};  ///< how disc and partition are opened
};

struct HybridationOutcome {
    HybridationResult result = HybridationResult::Stopped;
    HybridForm form = HybridForm::Plain;
    bool isHfsPlus = false;
    bool needsForce = false;      ///< stopped, where `force` would have gone on
    std::uint64_t sizeBytes = 0;  ///< of the disc, when it is done
};

/// The image that has the partition.
struct JoinPartition {
    std::string path;        ///< messages call it so, too
    PcFile* open = nullptr;  ///< where it is open already: its file, in which nothing is pending
};

/// Joins the first Macintosh partition of an image to a disc. A message says why it is not `Done`;
/// the disc is then as it was. Nothing is changed before all that can be known has been looked at.
/// Zeros behind the partition fill its last sector of 2,048 bytes, and its image stays as it is.
[[nodiscard]] HybridationOutcome Hybridate(const std::string& discPath,
                                           const JoinPartition& partition,
                                           const HybridationOptions& options, Messages& messages,
                                           Progress& progress);

}  // namespace vellmark
