// Items looked for in what is open.
#pragma once

#include <cstdint>
#include <optional>

namespace vellmark {

class TVellmark;

struct FoundItem {
    std::int32_t folder = 0;  ///< that it lies in
    std::int32_t number = 0;
};

/// Asks what to look for, and which of several is meant; nothing when the person gives up.
[[nodiscard]] std::optional<FoundItem> AskForItem(TVellmark& window);

}  // namespace vellmark
