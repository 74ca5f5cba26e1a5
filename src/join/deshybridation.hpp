// A hybrid disc image without its Macintosh side again.
#pragma once

#include <cstdint>
#include <string>

#include "support/file_lock.hpp"
#include "support/messages.hpp"

namespace vellmark {

enum class DeshybridationResult : int {
    Done = 0,
    NotOpened = -1,    ///< or nobody may write to it
    NoPartition = -2,  ///< no descriptor, map and Macintosh partition in it, or no ISO 9660 image
    NotWritten = -3    ///< a failure of the disk; a message has said what is left of the image
};

/// Why the map alone is gone, and not the partition.
enum class PartitionKept {
    No,
    HoldsIsoFiles,  ///< something of the ISO 9660 side lies behind its start
    IsoDamaged,     ///< a directory cannot be read, and nothing is known
    InBootRecord    ///< a partition of the boot record reaches behind its start
};

struct DeshybridationOutcome {
    DeshybridationResult result = DeshybridationResult::NotOpened;
    PartitionKept kept = PartitionKept::No;
    std::uint64_t sizeBytes = 0;  ///< of the image, when it is done
};

/// Takes driver descriptor and partition map away: the first 2,560 bytes become zeros, of a disc
/// with a boot record in place of the descriptor the entries of the map in them alone. The file
/// then ends where the first Macintosh partition began, unless files, directories or boot images of
/// the ISO 9660 side, or partitions of the boot record, lie behind that place. Works on plain and
/// on raw images. A message says why it is not
/// `Done`; the image is then as it was, unless the disk failed after the first change.
[[nodiscard]] DeshybridationOutcome Deshybridate(const std::string& path, Messages& messages,
                                                 const FileGuard& guard = {});

}  // namespace vellmark
