// What is said of an image before it is compiled, and what can be chosen of it.
#pragma once

#include <optional>
#include <string>

#include "compiler/build_request.hpp"
#include "project/project_file.hpp"

namespace vellmark {

class TVellmark;

struct CompileChoices {
    bool rebuild = false;
    bool postgap = true;
};

/// Shows the project with its labels and counts, and changes labels and format as the person
/// wants. Nothing when they give up; what was changed stays.
[[nodiscard]] std::optional<CompileChoices> AskCompile(TVellmark& window, ProjectFile& project,
                                                       ImageKind kind, const std::string& target);

}  // namespace vellmark
