// Names of Windows-1252 without regard to case.
#pragma once

#include <string>
#include <string_view>

namespace vellmark {

/// The letters of Windows-1252 in lower case, accents kept.
[[nodiscard]] std::string FoldAnsi(std::string_view name);

}  // namespace vellmark
