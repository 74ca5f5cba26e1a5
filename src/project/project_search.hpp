// Searches over all items of a project.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "project/project_file.hpp"

namespace vellmark {

/// Hits after which a search ends unless more are wanted.
inline constexpr std::size_t kMostProjectHits = 128;

/// Items (their numbers) of the view whose name fits a pattern (Windows-1252), without regard to
/// case. A `*` stands for any characters: the part before it begins the name, the part behind it
/// stands anywhere in the rest. Names are those of the view; source names in the Hybrid view and in
/// an ISO+ project.
[[nodiscard]] std::vector<std::int32_t> FindItemsByName(const ProjectFile& project,
                                                        std::string_view pattern, ProjectView view,
                                                        std::size_t most = kMostProjectHits);

/// Files of a signature (MacRoman): up to four letters find a type or a creator that begins with
/// them, more are compared from the first letter of the type on.
[[nodiscard]] std::vector<std::int32_t> FindItemsBySignature(const ProjectFile& project,
                                                             std::string_view signature,
                                                             std::size_t most = kMostProjectHits);

/// The source names from root to an item, UTF-8, `/` between them.
[[nodiscard]] std::string ItemPath(const ProjectFile& project, std::int32_t folder,
                                   std::string_view sourceName);

}  // namespace vellmark
