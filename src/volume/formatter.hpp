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
    std::string label;  ///< Windows-1252; HFS takes 27 letters, HFS+ 61
    std::uint32_t sizeMegabytes = 0;
    bool zeroAll = false;  ///< write every byte, so that the image has no holes
    bool isHfsPlus = false;
    Language language = Language::English;  ///< of the steps that are shown
};

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
