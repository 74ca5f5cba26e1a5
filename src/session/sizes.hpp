// Sizes as a person types them.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace vellmark {

inline constexpr std::uint64_t kMegabyte = 1u << 20;

/// Bytes of `100M`, `1G` or `2048K`, with a B behind the letter or without it, in any case; of a
/// number alone as many times `unitBytes`. Nothing for any other text.
[[nodiscard]] std::optional<std::uint64_t> SizeOf(std::string_view text, std::uint64_t unitBytes);

}  // namespace vellmark
