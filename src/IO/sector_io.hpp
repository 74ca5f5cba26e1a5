// Sectors of an image: the record of the open medium, the slot through which every sector of a
// volume is read and written, and the way from allocation blocks to sectors. A sector is 512 bytes
// here.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "IO/content_samples.hpp"
#include "support/file_lock.hpp"
#include "support/medium_places.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

inline constexpr std::uint32_t kSectorBytes = Sector512::kUnitBytes;
/// Most sectors of one round of a long transfer.
inline constexpr std::uint32_t kStreamSectors = 64;

/// The operation codes of READ(16) and WRITE(16) (SCSI Block Commands).
inline constexpr std::int32_t kCommandRead = 136;
inline constexpr std::int32_t kCommandWrite = 138;

/// One transfer of whole sectors.
struct SectorRequest {
    std::int32_t command = 0;        ///< `kCommandRead` or `kCommandWrite`; another does nothing
    std::uint32_t count = 0;         ///< sectors
    Sector512 startSector;           ///< from the start of the image
    std::span<std::uint8_t> buffer;  ///< at least `count` sectors, the caller's
};

/// What carries a request out: 0 for a full transfer, 1 for a short one, -1 without a medium.
using TransferSlot = std::function<int(const SectorRequest&)>;

/// Why nothing may be changed on a medium. Several reasons can hold at once.
enum class ReadOnlyReason : std::uint16_t {
    File = 1,             ///< the image could only be opened for reading
    BareVolume = 2,       ///< a volume without a partition map in front of it
    OverflowRead = 4,     ///< HFS+: a fork was read that goes on in the extents overflow tree
    Journal = 8,          ///< HFS+: a journal holds changes that were not carried out
    NotUnmounted = 16,    ///< HFS+: the volume was not left cleanly
    BinaryNames = 32,     ///< HFSX: the catalog compares names by binary value
    Locked = 64,          ///< the volume's own lock
    UnknownTree = 128,    ///< HFS+: a tree orders or shapes its keys in an unknown way
    CutImage = 256,       ///< a volume goes on behind the end of the image
    PcSideUnknown = 512,  ///< the ISO 9660 side of the image cannot be looked through
    PcSideShared = 1024,  ///< the volume's own structures lie in files of the ISO 9660 side
};

class ReadOnlyReasons {
  public:
    void add(ReadOnlyReason reason) {
        bits_ = static_cast<std::uint16_t>(bits_ | static_cast<unsigned>(reason));
    }
    void remove(ReadOnlyReason reason) {
        bits_ = static_cast<std::uint16_t>(bits_ & ~static_cast<unsigned>(reason));
    }
    [[nodiscard]] bool has(ReadOnlyReason reason) const {
        return (bits_ & static_cast<unsigned>(reason)) != 0;
    }
    [[nodiscard]] bool any() const { return bits_ != 0; }

  private:
    std::uint16_t bits_ = 0;
};

/// The record of the open medium. The slot refers to the record, so it stays where it was made.
struct MediumContext {
    MediumContext();
    ~MediumContext() = default;
    MediumContext(const MediumContext&) = delete;
    MediumContext& operator=(const MediumContext&) = delete;

    FileGuard guard;                    ///< how images are opened; stays when one is closed
    std::string imagePath;              ///< empty while no image is open
    std::shared_ptr<PcFile> image;      ///< null while no image is open
    ContentSamples contents;            ///< written since the last commit
    TransferSlot transferSlot;          ///< everything that is read and written
    std::uint64_t totalSectors = 0;     ///< 0 while the size of the medium is not known
    std::uint16_t driverBlockSize = 0;  ///< bytes, of the driver descriptor; 0 without one
    std::int32_t partitionCount = 0;    ///< result of the last scan of the medium
    Sector512 partitionStart;           ///< of the volume, whose boot blocks stand there
    Sector512 blocksStart;              ///< where allocation block 0 lies: in HFS+ the same
    std::uint32_t blockSize = 0;        ///< bytes of an allocation block
    std::uint32_t sectorsPerBlock = 0;  ///< `blockSize` / 512
    ReadOnlyReasons readOnlyReasons;    ///< nothing may be changed while there is one
    /// A transfer since the opening was short or failed; stays set until the next opening.
    bool transferFailed = false;
};

enum class OpenResult { Opened, OpenedReadOnly, Failed };

struct ImageOpening {
    OpenResult result = OpenResult::Failed;
    int systemError = 0;  ///< why it failed; 0 when it did not
};

/// Opens an image for reading and writing, with nobody else at it, or else for reading only, which
/// is then a reason of the record. What the record knew of an earlier medium is forgotten first,
/// and the slot leads to `TransferSectors`. EWOULDBLOCK when others keep the image for longer than
/// the guard of the record waits.
[[nodiscard]] ImageOpening OpenImage(MediumContext& context, const std::string& path);
/// The same for work that changes nothing: the file is never opened for writing, and others may
/// read it too.
[[nodiscard]] ImageOpening OpenImageForReading(MediumContext& context, const std::string& path);
/// Closes the image and empties the path.
void CloseImage(MediumContext& context);

/// Moves whole sectors between memory and the image in one call. Returns 0 for a full transfer, 1
/// for a short one and -1 without an image. What a read did not reach, as behind the end of the
/// image, is zero in the buffer. A result other than 0 also sets `transferFailed`.
int TransferSectors(MediumContext& context, const SectorRequest& request);
/// Fills `buffer` (whole sectors) through a slot; the result is the slot's.
int ReadSectors(const TransferSlot& slot, Sector512 startSector, std::span<std::uint8_t> buffer);
/// Writes `bytes` (whole sectors) through a slot; the result is the slot's.
int WriteSectors(const TransferSlot& slot, Sector512 startSector,
                 std::span<const std::uint8_t> bytes);

/// First sector of an allocation block.
[[nodiscard]] Sector512 BlockToSector(const MediumContext& context, BlockNumber block);

enum class TargetRoom { Fits, TooLargeForFileSystem, NoRoom };

/// An image of this size or more needs a file system that holds files of 4 GiB.
inline constexpr std::uint64_t kLargeImageBytes = 0xFFFF0001;

/// Whether a file of `bytes` can be made where so much is free.
[[nodiscard]] constexpr TargetRoom JudgeTargetRoom(std::uint64_t bytes, std::uint64_t freeBytes,
                                                   bool holdsLargeFiles) {
    if (!holdsLargeFiles && bytes >= kLargeImageBytes)
        return TargetRoom::TooLargeForFileSystem;
    return bytes > freeBytes ? TargetRoom::NoRoom : TargetRoom::Fits;
}
/// The same for a folder of the PC. A folder that is not there fits: making the file gives the
/// reason.
[[nodiscard]] TargetRoom CheckTargetRoom(const std::string& folder, std::uint64_t bytes);

}  // namespace vellmark
