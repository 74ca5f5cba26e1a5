#include "session/verbs/format_choice.hpp"

namespace vellmark {

void FormatChoice::addTo(OptionSet& arguments) {
    arguments.flag("--hfsplus", isHfsPlus, "HFS+ on the Macintosh side instead of HFS");
    arguments.flag("--hfs", isHfs, "HFS, also where the settings want HFS+");
}

}  // namespace vellmark
