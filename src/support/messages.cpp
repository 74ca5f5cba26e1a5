#include "support/messages.hpp"

namespace vellmark {

Answer RememberedAnswer::answer(Messages& messages, std::string_view question) {
    if (kept != Remembered::Ask)
        return kept == Remembered::YesToAll ? Answer::YesToAll : Answer::NoToAll;
    const Answer given = messages.askYesNoRemember(question);
    if (given == Answer::YesToAll)
        kept = Remembered::YesToAll;
    if (given == Answer::NoToAll)
        kept = Remembered::NoToAll;
    return given;
}

}  // namespace vellmark
