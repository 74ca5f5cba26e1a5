// The block tables of a disk image, entry by entry, each checked before it is handed out.
#pragma once

#include <cstdint>
#include <map>
#include <optional>

#include "IO/disk_image_crc.hpp"
#include "IO/disk_image_format.hpp"
#include "IO/disk_image_list.hpp"
#include "support/byte_source.hpp"
#include "support/reason.hpp"

namespace vellmark {

/// Reads the trailer. A reason when there is none, or when its property list does not stand
/// directly behind the data and inside the file, or is longer than any image needs it.
[[nodiscard]] Reason ReadTrailer(ByteSource& source, DiskImageTrailer& trailer);

/// One run of sectors of the plain image.
struct BlockPlace {
    BlockType type = BlockType::Zero;
    std::uint64_t position = 0;   ///< byte of the plain image
    std::uint64_t sizeBytes = 0;  ///< in the plain image
    std::uint64_t storedOffset = 0;
    std::uint64_t storedBytes = 0;  ///< inside the file; 0 for zeros
    unsigned table = 0;             ///< from 1
    unsigned number = 0;            ///< in its table, from 1

    [[nodiscard]] bool isZeros() const {
        return type == BlockType::Zero || type == BlockType::Ignored;
    }
};

/// Sectors that blocks went to.
class SectorRuns {
  public:
    /// Why a run cannot be added: sectors of it were added before, or there are more separate runs
    /// than are kept; none when it was added.
    [[nodiscard]] Reason add(std::uint64_t first, std::uint64_t count);

  private:
    std::map<std::uint64_t, std::uint64_t> runs_;  ///< end by start; no two of them touch
};

/// `block 3 of table 1 (zlib)`.
[[nodiscard]] Reason BlockName(const BlockPlace& block);

class BlockTables {
  public:
    BlockTables(ByteSource& source, const DiskImageTrailer& trailer, Progress& progress);

    enum class Next { Found, End, Failed };
    /// Goes to the next table that belongs to the image; `End` behind the last of them.
    [[nodiscard]] Next nextTable();
    /// Goes to the next block of the table; entries that stand for nothing are passed over.
    [[nodiscard]] Next nextBlock(BlockPlace& block);
    /// Back to the first block of the table.
    void rewindTable();

    /// What the table expands to.
    [[nodiscard]] const DiskImageChecksum& checksum() const { return header_.checksum; }
    /// The table's number, from 1.
    [[nodiscard]] unsigned number() const { return table_; }
    /// Why it failed; none when `Progress` said no.
    [[nodiscard]] const Reason& problem() const { return problem_; }
    /// `Progress` said no, which is a failure too.
    [[nodiscard]] bool isStopped() const { return sections_.isStopped(); }
    /// Sectors of the image that the blocks so far do not stand for; 0 where the trailer does not
    /// say how many there are.
    [[nodiscard]] std::uint64_t missingSectors() const {
        return isSized() ? sectorCount_ - covered_ : 0;
    }

  private:
    [[nodiscard]] bool isSized() const { return sectorCount_ > 0; }
    [[nodiscard]] bool sawAllTables() const {
        return table_ > 0 && allTables_.isCrc32() && tablesCrc_.value() == allTables_.value;
    }
    Next fail(Reason problem);
    [[nodiscard]] Reason place(const BlockEntry& entry, BlockPlace& block);
    [[nodiscard]] Reason placeStored(const BlockEntry& entry, BlockPlace& block) const;

    ByteSource& source_;
    DataSections sections_;
    std::uint64_t sectorCount_;  ///< of the image; 0 when the trailer does not say
    std::uint32_t mostTables_;   ///< where it does not
    DiskImageChecksum allTables_;
    RunningCrc tablesCrc_;  ///< what `allTables_` would be of the tables so far
    BlockTableHeader header_{};
    unsigned table_ = 0;
    unsigned block_ = 0;
    SectorRuns runs_;                ///< of the blocks so far, where the sectors are counted
    bool isAgain_ = false;           ///< the table was rewound: its blocks are in `runs_`
    std::uint64_t covered_ = 0;      ///< sectors of the blocks so far
    std::uint64_t coveredThen_ = 0;  ///< the same at the start of the table
    Reason problem_;
};

}  // namespace vellmark
