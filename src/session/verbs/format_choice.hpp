// Which Macintosh volume a new project has, as a command line may say it.
#pragma once

#include "project/project_file.hpp"
#include "session/options.hpp"

namespace vellmark {

struct FormatChoice {
    bool isHfsPlus = false;
    bool isHfs = false;

    /// Declares the options on a verb.
    void addTo(OptionSet& arguments);
    [[nodiscard]] bool contradicts() const { return isHfs && isHfsPlus; }
    /// What was said stands above what the settings have put into `defaults`.
    void apply(ProjectDefaults& defaults) const {
        defaults.isHfsPlus = isHfsPlus || (defaults.isHfsPlus && !isHfs);
    }
};

}  // namespace vellmark
