#include "support/messages.hpp"

#include "support/encoding.hpp"

namespace vellmark {

namespace {

constexpr int kTextOpenError = 1385;

}  // namespace

void FileOpenError(Messages& messages, std::string_view path, std::string_view reason) {
    messages.showError(FormatText(kTextOpenError, messages.language(), Printable(path)) + " " +
                       std::string(reason) + ".");
}

Answer RememberedAnswer::answer(Messages& messages, std::string_view question) {
    switch (kept) {
        case Remembered::NoToAll:
            return Answer::NoToAll;
        case Remembered::YesToEach:
            return Answer::Yes;
        case Remembered::YesToAll:
            return Answer::YesToAll;
        case Remembered::Ask:
            break;
    }
    const Answer given = messages.askYesNoRemember(question);
    if (given == Answer::YesToAll)
        kept = Remembered::YesToAll;
    if (given == Answer::NoToAll)
        kept = Remembered::NoToAll;
    return given;
}

}  // namespace vellmark
