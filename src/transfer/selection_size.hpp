// How much files and folders of the PC are, before they are copied.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>

namespace vellmark {

/// Bytes of the files and of all that lies in the folders, links followed as a copy follows them,
/// each folder counted once. What cannot be read counts for nothing. `isStopped` is asked at each
/// item, and ends it.
[[nodiscard]] std::uint64_t SelectionBytes(std::span<const std::string> paths,
                                           const std::function<bool()>& isStopped);

}  // namespace vellmark
