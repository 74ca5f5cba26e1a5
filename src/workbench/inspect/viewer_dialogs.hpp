// The small dialogs of the viewer.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "support/texts.hpp"

class QWidget;

namespace vellmark {

/// The typed text of a sector, its number filled in before; nothing when the person gives up.
[[nodiscard]] std::optional<std::string> AskForSector(const std::string& current, Language language,
                                                      QWidget* owner);

struct SearchWish {
    std::string text;
    bool isHexadecimal = false;   ///< digits of bytes, and no text
    bool atSectorStarts = false;  ///< only at the first byte of each sector
};
/// What is to be looked for, the last wish filled in before; nothing when the person gives up.
[[nodiscard]] std::optional<SearchWish> AskForSearch(const SearchWish& last, Language language,
                                                     QWidget* owner);

inline constexpr int kUsualPoints = 8;
inline constexpr int kLeastPoints = 6;
inline constexpr int kMostPoints = 24;
/// TSelCorps: a size of the font, in points; nothing when the person gives up.
[[nodiscard]] std::optional<int> AskFontSize(int now, Language language, QWidget* owner);

}  // namespace vellmark
