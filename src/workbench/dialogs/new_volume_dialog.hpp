// What a new volume is to be like.
#pragma once

#include <optional>

#include "volume/formatter.hpp"

class QWidget;

namespace vellmark {

/// Asks until a volume can be like that; nothing when the person gives up. `isHfsPlus` is the
/// format that is proposed.
[[nodiscard]] std::optional<FormatInput> AskNewVolume(bool isHfsPlus, Language language,
                                                      QWidget* owner);

}  // namespace vellmark
