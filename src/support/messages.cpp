#include "support/messages.hpp"

#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

constexpr int kTextOpenError = 1385;

}  // namespace

std::optional<std::string> Messages::askShorterName(std::string_view path,
                                                    std::string_view proposal,
                                                    std::size_t mostBytes) {
    showTimedMessage(
        Reason(Sentence::kNameCutOnPc, Printable(path), mostBytes, Printable(proposal)));
    return std::string(proposal);
}

void FileOpenError(Messages& messages, std::string_view path, const Reason& reason) {
    messages.showError(
        Reason(Sentence::kFileOpenError, Reason::Told(kTextOpenError, Printable(path)), reason));
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
