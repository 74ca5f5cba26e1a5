// Which path of a project gives way to which.
#pragma once

#include <optional>
#include <string>

namespace vellmark {

class TVellmark;

/// Both as a person types them.
struct PathsWanted {
    std::string oldPath;
    std::string newPath;
};

/// What the person wants; nothing when they give up.
[[nodiscard]] std::optional<PathsWanted> AskPaths(TVellmark& window);

}  // namespace vellmark
