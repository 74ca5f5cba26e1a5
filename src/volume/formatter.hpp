// Makes a new, empty HFS or HFS+ volume in an empty image: driver descriptor, partition map,
// headers, bitmap and both trees.
#pragma once

#include <cstdint>
#include <string>

#include "support/mac_dates.hpp"
#include "support/pc_file.hpp"
#include "support/progress.hpp"
#include "support/texts.hpp"

namespace vellmark {

/// What a volume can have: below, the system files do not fit; above, the sizes of the system files
/// (HFS) or the sectors of the partition map (HFS+) no longer fit 32 bits.
inline constexpr std::uint32_t kSmallestVolumeMb = 1;
inline constexpr std::uint32_t kLargestHfsVolumeMb = 131'071;
inline constexpr std::uint32_t kLargestHfsPlusVolumeMb = 2'000'000;

struct FormatInput {
    std::string label;  ///< UTF-8, one that `LabelFromShown` takes
    std::uint32_t sizeMegabytes = 0;
    bool zeroAll = false;  ///< write every byte, so that the image has no holes
    bool isHfsPlus = false;
    /// Bytes of an allocation block of HFS, as `FitsAsBlock` takes them; 0: the usual size.
    std::uint32_t blockSize = 0;
    Language language = Language::English;  ///< of the steps that are shown
};

/// Bytes of an allocation block: the usual size of an HFS volume, of which there are 8,192 or a few
/// more, and the smallest, of which there are at most 65,535. A file takes a whole block at least.
[[nodiscard]] std::uint32_t UsualHfsBlock(std::uint32_t sizeMegabytes);
[[nodiscard]] std::uint32_t SmallestHfsBlock(std::uint32_t sizeMegabytes);
/// Whether it is a multiple of 512 from the smallest size to the usual one.
[[nodiscard]] bool FitsAsBlock(std::uint64_t bytes, std::uint32_t sizeMegabytes);

enum class FormatResult {
    Done,
    Stopped,     ///< by the user
    WriteFailed  ///< see the file's error
};

/// Writes the whole structure into the new file.
[[nodiscard]] FormatResult FormatVolume(const FormatInput& input, PcFile& image, const Clock& clock,
                                        Progress& progress);

/// Bytes of the image that `FormatVolume` makes.
[[nodiscard]] std::uint64_t FormattedBytes(const FormatInput& input);

}  // namespace vellmark
