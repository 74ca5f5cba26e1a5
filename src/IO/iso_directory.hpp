// The entries of one directory of an ISO 9660 or Joliet tree, one after the other, in flat memory
// however many they are.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "IO/iso_entry.hpp"
#include "support/byte_source.hpp"
#include "support/reason.hpp"

namespace vellmark {

class IsoDirectory {
  public:
    enum class Step {
        Entry,
        End,
        Damaged  ///< what came before stands
    };

    /// `blockSize` in bytes. The image and the folder must outlive it.
    IsoDirectory(ByteSource& image, IsoTree tree, std::uint32_t blockSize, const IsoEntry& folder)
        : image_(image), folder_(folder), tree_(tree), blockSize_(blockSize) {}

    /// The next entry, without `.` and `..`; the extents of a file in several parts are joined.
    [[nodiscard]] Step next(IsoEntry& entry);
    /// After `Damaged`: what is wrong with the directory.
    [[nodiscard]] const Reason& problem() const { return problem_; }

  private:
    /// The next record, whatever it is.
    [[nodiscard]] Step nextRecord(IsoEntry& entry, bool& isLastPart);
    [[nodiscard]] Step readPiece();
    [[nodiscard]] Step fail(Reason reason);
    [[nodiscard]] Reason faultOf() const;

    ByteSource& image_;
    const IsoEntry& folder_;
    IsoTree tree_;
    std::uint32_t blockSize_;
    bool isChecked_ = false;
    std::size_t extent_ = 0;           ///< which is being read
    std::uint64_t done_ = 0;           ///< bytes of it
    std::vector<std::uint8_t> piece_;  ///< whole sectors, but at the end of an extent
    std::size_t at_ = 0;               ///< in the piece
    std::size_t records_ = 0;
    Reason problem_;
};

/// One entry from its record. `name` is that of the record, in the tree's own coding.
[[nodiscard]] IsoEntry IsoEntryOf(const IsoDirectoryRecord& record, std::string_view name,
                                  IsoTree tree, std::uint32_t blockSize);

}  // namespace vellmark
