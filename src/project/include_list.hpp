// Lists of what is to be included: text files with one path or pattern a line.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "support/messages.hpp"
#include "support/result.hpp"

namespace vellmark {

/// The lines of a list, as a person would give them as arguments; lines end in LF or CR LF, blanks
/// around them and a byte order mark are passed over. An empty line and one that can be no path
/// (control characters, more than 4,096 bytes) are left out, each named by its number, and counted
/// in `skipped`. A reason when the file cannot be read or names nothing.
[[nodiscard]] Result<std::vector<std::string>> ReadIncludeList(const std::string& path,
                                                               std::int64_t& skipped,
                                                               Messages& messages);

}  // namespace vellmark
