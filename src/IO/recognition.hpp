// What a medium holds: a bare Macintosh volume, a partition map, a boot record, a GUID table or a
// compressed disk image, and where its volumes start.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "IO/partition_structures.hpp"
#include "IO/sector_io.hpp"
#include "support/byte_source.hpp"
#include "support/messages.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// What a file is by its first and last sectors, which decides how it is opened.
enum class ImageClass {
    Plain = 0,                 ///< a volume, a partitioned disk, or nothing known: scan it
    PartitionDiskImage = 1,    ///< compressed disk image that starts with a partition map
    Bzip2DiskImage = 2,        ///< compressed disk image that starts with a bzip2 stream
    ZlibDiskImage = 3,         ///< compressed disk image that starts with a zlib stream
    TrailerDiskImage = 4,      ///< any other disk image with a trailer
    SparseImage = 5,           ///< not supported
    ProtectiveBootRecord = 6,  ///< the first entry of the boot record stands for a GUID table
    MacintoshBootRecord = 7    ///< the first entry of the boot record is a Macintosh partition
};

/// Looks at the first and last 512 bytes of a file. `PM` at the start is a disk image only with the
/// `koly` trailer: a plain disk may begin with its partition map as well.
[[nodiscard]] ImageClass ClassifyImage(ByteSource& file);

/// Why an image of a class cannot be opened; none when it can.
[[nodiscard]] Reason ClassRefusal(ImageClass imageClass);

/// One partition that the scan offers.
struct PartitionEntry {
    bool isWindows = false;  ///< how the partition is called in a list of choices
    std::string name;        ///< MacRoman, at most 64 bytes; empty in a GUID table
    Sector512 startSector;
    std::uint64_t sectorCount = 0;  ///< as it is shown: of a GUID table without the last sector
    Sector512 endSector;            ///< first sector behind the partition
    std::u16string wideName = {};   ///< of a GUID table, at most 64 units
};

/// What the first read of a medium covers.
inline constexpr std::uint32_t kScanSectors = 32;

/// Results of `ScanMedium` below 0.
inline constexpr int kNoMapAfterDescriptor = -1;
inline constexpr int kNothingRecognised = -2;
inline constexpr int kNoMacintoshPartition = -85;

/// Finds the Macintosh volumes of the open medium. Returns their number or one of the
/// failures above, and keeps that result in `partitionCount`. A bare volume and a map of the old
/// style count as one and leave the list empty. `partitionStart` becomes that of the first of
/// them; `totalSectors` and `driverBlockSize` come from a driver descriptor; a bare volume
/// is a reason to be read only. The list holds every partition found, in the order of the disk.
/// Where messages are given, their journal takes a line, and a partition without a name gets one in
/// their language.
[[nodiscard]] int ScanMedium(MediumContext& context, std::vector<PartitionEntry>& list,
                             Messages* messages = nullptr);

/// Puts the HFS partitions of a GUID table into the list, from record `position` on. The header
/// lies in `buffer`, the start of the medium; the array is read from the medium, at most 512
/// entries. Returns the number of records put.
int ParseGptEntries(MediumContext& context, std::span<const std::uint8_t> buffer,
                    const MbrEntry& bootEntry, std::size_t position,
                    std::vector<PartitionEntry>& list);

/// The first entry of the GUID table behind a protective boot record, whatever its type; its first
/// sector in 32 bits. Nothing without such a boot record, header or entry.
[[nodiscard]] std::optional<PartitionEntry> FirstGptPartition(ByteSource& image);

}  // namespace vellmark
