// Apple disk images (UDIF, `.dmg`) expanded into plain images. A trailer of 512 bytes ends the
// file and holds the place of its property list; the `<data>` sections of that list are Base64
// texts of the block tables, whose entries say how each run of sectors is stored. All numbers of
// the format are big-endian.
#pragma once

#include <cstdint>
#include <string>

#include "IO/recognition.hpp"
#include "support/byte_source.hpp"
#include "support/file_lock.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// How an expansion ended.
enum class ExpandEnd : std::uint8_t {
    Done,
    NotBegun,  ///< a file cannot be opened or made, or the one to expand is no disk image
    Failed,    ///< what was written by then is not whole
    Stopped    ///< `Progress` said no
};

struct ExpandOptions {
    bool verify = false;      ///< compare the checksums that the image carries
    bool isPassing = false;   ///< the plain image is passed on, and need not outlast a power cut
    std::string status = {};  ///< what the progress says about it
    FileGuard guard = {};     ///< of a file that the plain image replaces
    unsigned threads = 0;  ///< that expand blocks, at most four; 0 for as many as there are cores
};

/// What came of an expansion.
struct ExpandResult {
    ExpandEnd end = ExpandEnd::Done;
    Reason problem = {};          ///< why it is not done, without the file's name
    Reason remark = {};           ///< what is odd about an image that was expanded
    bool isIncomplete = false;    ///< it was expanded as it is, and zeros stand for what it lacks
    std::uint64_t sizeBytes = 0;  ///< of the plain image
    std::uint64_t checksumsCompared = 0;  ///< with `verify`
};

/// Expands a disk image into `target`, an empty file, from its offset 0 on. Runs of zeros become
/// holes of it. Blocks are expanded by several threads and written by the calling one in the order
/// of the tables, and so the result does not depend on their timing. Flat memory, below 64 MiB.
///
/// Where the trailer holds the number of sectors, all tables are followed until so many were seen,
/// sections that are no tables are passed over, and each block goes to its own position. Where it
/// does not, the format version in the trailer is the highest number of tables, a section that is
/// no table is a failure unless the trailer's checksum shows that no table is missing, and each
/// block follows the one before it.
///
/// `Failed` without a usable trailer, for a table or block that is damaged or of a type that is not
/// known, and when something cannot be read or written.
[[nodiscard]] ExpandResult ExpandImage(ByteSource& source, PcFile& target, Progress& progress,
                                       const ExpandOptions& options = {});

/// `ClassifyImage`, except that a boot record in front of block tables and a usable trailer is a
/// raw first block of a compressed image.
[[nodiscard]] ImageClass ClassifyDiskImage(ByteSource& file);

/// Whether the file is a compressed image by its class, and ends in a trailer whose property list
/// can be looked for. A file can look like a compressed image by its first bytes alone.
[[nodiscard]] bool IsCompressedImage(ByteSource& file);

/// Why an image cannot be opened as it is; none when it can.
[[nodiscard]] Reason ImageRefusal(ByteSource& file);

/// Expands the file of one path into that of another, which appears, in place of an older one, only
/// when it is whole. `Failed` too for a sparse image and for a disk with a boot record, which needs
/// no expanding. `problem` names the file.
[[nodiscard]] ExpandResult ExpandImageFile(const std::string& inPath, const std::string& outPath,
                                           Progress& progress, const ExpandOptions& options = {});

}  // namespace vellmark
