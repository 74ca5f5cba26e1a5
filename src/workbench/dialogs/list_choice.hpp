// One of several: partitions of a medium, signature files, items that a search found.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "support/texts.hpp"

class QWidget;

namespace vellmark {

/// The one that the person picks, counted from 0; nothing when they give up.
[[nodiscard]] std::optional<std::size_t> ChooseFromList(std::string_view question,
                                                        std::span<const std::string> names,
                                                        Language language, QWidget* owner);

}  // namespace vellmark
