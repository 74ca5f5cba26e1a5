// The directories and path tables of an image, written through temporary files and copied to their
// places when the file data is in.
#pragma once

#include <array>
#include <string>

#include "compiler/iso_layout.hpp"
#include "support/mac_dates.hpp"
#include "support/pc_file.hpp"

namespace vellmark {

/// Six temporary files: L path table, M path table and directories of ISO, then of Joliet. They are
/// removed with the object, whatever the result.
class TempTableSet {
  public:
    /// The files are made in `folder`; see `isOpen`.
    explicit TempTableSet(const std::string& folder);
    ~TempTableSet();
    TempTableSet(const TempTableSet&) = delete;
    TempTableSet& operator=(const TempTableSet&) = delete;

    [[nodiscard]] bool isOpen() const;
    [[nodiscard]] PcFile& file(std::size_t index) { return files_[index]; }

    static constexpr std::size_t kCount = 6;

  private:
    std::array<PcFile, kCount> files_;
};

/// Writes the directories and both path tables of both trees into the temporary files. False when
/// one of them could not be written.
[[nodiscard]] bool WriteTables(const DiscPlan& plan, const IsoLayout& layout, const FileArea& area,
                               const Clock& clock, TempTableSet& tables);

/// Copies the temporary files to their places in the image.
[[nodiscard]] bool CopyTables(const IsoLayout& layout, TempTableSet& tables, PcFile& image);

/// A date of a directory record, in UTC; years that the byte cannot store become the nearest.
[[nodiscard]] IsoShortDate ToIsoDate(UnixSeconds at);

}  // namespace vellmark
