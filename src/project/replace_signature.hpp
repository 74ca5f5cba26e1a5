// Types and creators of a project's files, changed all at once.
#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "project/project_file.hpp"

namespace vellmark {

/// Gives every file whose type and creator are the eight bytes of `from` (MacRoman) those of `to`.
/// `agrees`, when it is given, is asked about each. Files are untouched, containers too: the record
/// has what the image will have. Returns how many were changed.
[[nodiscard]] std::int64_t ReplaceSignature(
    ProjectFile& project, const std::array<char, 8>& from, const std::array<char, 8>& to,
    const std::function<bool(const ProjectRecord& record)>& agrees);

}  // namespace vellmark
