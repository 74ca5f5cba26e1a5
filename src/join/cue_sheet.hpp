// The cue sheet of a raw disc image: a text beside the image with the positions of its tracks, one
// statement a line. Positions are minutes, seconds and frames from the start of the image.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vellmark {

/// Path of the sheet beside an image, `NAME.cue` or `NAME.CUE`; "" when there is none.
[[nodiscard]] std::string CueSheetPath(const std::string& imagePath);
/// Its text; "" when there is none, or it cannot be read.
[[nodiscard]] std::string CueSheetOf(const std::string& imagePath);

[[nodiscard]] int TracksOfCueSheet(std::string_view sheet);

/// The sheet of an image whose second track, which begins at frame `second`, and all behind it
/// have moved on by `frames`. Lines of positions end in CR LF, all others as they did. Nothing when
/// the sheet is for another image: its second track begins elsewhere, it names more than one file,
/// or a position is none.
[[nodiscard]] std::optional<std::string> MoveTracks(std::string_view sheet, std::uint32_t second,
                                                    std::uint32_t frames);

}  // namespace vellmark
