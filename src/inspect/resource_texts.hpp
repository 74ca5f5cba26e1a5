// Resources that are texts.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vellmark {

/// The texts in a resource of one of the types `STR `, `STR#`, `vers` and `TEXT`, in UTF-8, each as
/// it is to be shown: lines end in LF, and other controls are U+FFFD. Of `vers`: the version, then
/// what is shown of it. Nothing for another type, and where the bytes are too few for what they
/// count.
[[nodiscard]] std::optional<std::vector<std::string>> DecodeTexts(
    std::string_view type, std::span<const std::uint8_t> bytes);

}  // namespace vellmark
