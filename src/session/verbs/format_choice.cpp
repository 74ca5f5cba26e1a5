#include "session/verbs/format_choice.hpp"

namespace vellmark {

void FormatChoice::addTo(OptionSet& arguments) {
    arguments.flag("--hfsplus", isHfsPlus, Sentence::kHelpProjectHfsPlus);
    arguments.flag("--hfs", isHfs, Sentence::kHelpProjectHfs);
}

}  // namespace vellmark
