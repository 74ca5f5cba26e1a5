// In which views a file lands: by what it is, by the view it is added to, and by what the person
// says about files of the other system.
#pragma once

#include <string_view>

#include "project/project_record.hpp"
#include "support/messages.hpp"

namespace vellmark {

/// What the rules distinguish.
enum class FileClass {
    MacContainer,    ///< MacBinary or BinHex
    AppleContainer,  ///< AppleDouble or AppleSingle
    Executable,      ///< `.exe` anywhere in the source name, in lower case
    Plain
};

struct InclusionAnswers {
    RememberedAnswer macContainer;
    RememberedAnswer appleContainer;
    RememberedAnswer executable;
};
/// For a batch in which nobody is asked.
inline constexpr InclusionAnswers kYesToAll = {
    {Remembered::YesToAll}, {Remembered::YesToAll}, {Remembered::YesToAll}};

[[nodiscard]] FileClass ClassOf(const ProjectRecord& record);

/// Sets the inclusions of a file that is added to `view`. `shownPath` names it in the question. An
/// answer to all is kept in `answers`.
void DecideViews(ProjectRecord& record, ProjectView view, std::string_view shownPath,
                 InclusionAnswers& answers, Messages& messages);

}  // namespace vellmark
