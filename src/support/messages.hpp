// The port through which the engine speaks to a person. The engine never knows who answers: a
// dialog, a terminal, answers given in advance, or the script of a test. It calls from the thread
// that does the work, and a question waits there for its answer; whoever asks in another thread
// brings the call there.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "support/reason.hpp"
#include "support/texts.hpp"

namespace vellmark {

/// The answer to a question whose answer may be kept for the rest of the command. `None`: the
/// person went away without one, and nothing may be lost by it.
enum class Answer { No, Yes, NoToAll, YesToAll, None };

/// Which name a truncation question is about.
enum class TruncatedName {
    Iso,
    Hfs,
    HfsPlus,
    Imported  ///< of a file or folder that comes to an HFS volume
};

/// What the person made of a name that is too long.
struct TruncationAnswer {
    bool accepted = true;    ///< false: the item is left out of that view
    bool automatic = false;  ///< true: the proposal is taken for every later name as well
    std::string name = {};   ///< the name to use when accepted
    bool addsCrc = false;    ///< true: one that is taken then gets digits of a checksum
};

class Messages {
  public:
    virtual ~Messages() = default;

    /// A message that waits until it was read.
    virtual void showMessage(std::string_view text) = 0;
    /// A message that goes away by itself.
    virtual void showTimedMessage(std::string_view text) { showMessage(text); }
    /// A failure; it also goes to the journal.
    virtual void showError(std::string_view text) { showMessage(text); }
    /// A message that also goes to the journal and goes away by itself.
    virtual void logMessage(std::string_view text) { showTimedMessage(text); }
    /// A message that need not be seen again. True when the person wants it to stay away; the
    /// caller keeps that.
    [[nodiscard]] virtual bool showRememberable(std::string_view text) {
        showMessage(text);
        return false;
    }
    /// A message about one item that was left out while the rest of the command goes on.
    virtual void itemSkipped(std::string_view item, std::string_view reason) = 0;
    /// The same about one that is there, but not as it was meant to be.
    virtual void itemNoted(std::string_view item, std::string_view reason) {
        itemSkipped(item, reason);
    }
    /// An item got names that are not its own: shortened, with characters replaced, or with digits.
    /// `given` lists which, and where: `HFS "A very long na.txt", Joliet "..."`. Both are fit for a
    /// terminal.
    virtual void nameChanged(std::string_view /*item*/, std::string_view /*given*/) {}
    /// True for yes.
    [[nodiscard]] virtual bool askYesNo(std::string_view question) = 0;
    /// Four answers; the two "to all" ones are kept by the caller.
    [[nodiscard]] virtual Answer askYesNoRemember(std::string_view question) = 0;
    /// A name that is too long, and the proposal to shorten it.
    [[nodiscard]] virtual TruncationAnswer askTruncation(TruncatedName kind,
                                                         std::string_view fullName,
                                                         std::string_view proposal) = 0;

    /// Another name for a file that is to be made; nothing when the person gives none. Where nobody
    /// is asked, the proposal.
    [[nodiscard]] virtual std::optional<std::string> askFileName(std::string_view proposal) {
        return std::string(proposal);
    }

    /// A shorter name for a file or folder of that path which is to be made on the PC, where names
    /// have `mostBytes` at most; nothing when the person gives none. Where nobody is asked, the
    /// proposal, with a message.
    [[nodiscard]] virtual std::optional<std::string> askShorterName(std::string_view path,
                                                                    std::string_view proposal,
                                                                    std::size_t mostBytes);

    /// Which of these names the person picks, counted from 0; nothing without an answer or a
    /// person.
    [[nodiscard]] virtual std::optional<std::size_t> askChoice(
        std::string_view /*question*/, std::span<const std::string> /*names*/) {
        return std::nullopt;
    }

    /// One line for the journal, kept where one is open; `level` 1 is a step, 2 a file.
    virtual void log(int /*level*/, std::string_view /*line*/) {}

    /// The same with a reason, in the person's words.
    void showMessage(const Reason& reason) { showMessage(words(reason)); }
    void showTimedMessage(const Reason& reason) { showTimedMessage(words(reason)); }
    void showError(const Reason& reason) { showError(words(reason)); }
    void logMessage(const Reason& reason) { logMessage(words(reason)); }
    void itemNoted(std::string_view item, const Reason& reason) { itemNoted(item, words(reason)); }
    void itemSkipped(std::string_view item, const Reason& reason) {
        itemSkipped(item, words(reason));
    }
    [[nodiscard]] bool askYesNo(const Reason& question) { return askYesNo(words(question)); }
    [[nodiscard]] Answer askYesNoRemember(const Reason& question) {
        return askYesNoRemember(words(question));
    }
    [[nodiscard]] std::string words(const Reason& reason) const { return reason.words(language()); }

    /// The language of the person.
    [[nodiscard]] virtual Language language() const { return Language::English; }
    /// The text of that number in the person's language, "" when there is none.
    [[nodiscard]] std::string_view text(int number) const { return Text(number, language()); }
};

/// Tells that a file could not be opened, and why.
void FileOpenError(Messages& messages, std::string_view path, const Reason& reason);

/// What is kept of the answers to one question that a batch asks for many items.
enum class Remembered : int {
    NoToAll = -1,
    Ask = 0,
    YesToEach = 1,  ///< as if yes was said to every item by itself; nobody's answer gives it
    YesToAll = 2
};

/// One such question. The kept answer lives as long as its record, never longer than the program.
struct RememberedAnswer {
    Remembered kept = Remembered::Ask;

    /// The answer for this item: the kept one, else the person's, which is kept when it is for all.
    [[nodiscard]] Answer answer(Messages& messages, std::string_view question);
    [[nodiscard]] Answer answer(Messages& messages, const Reason& question) {
        return answer(messages, messages.words(question));
    }
    /// True for yes to this item or to all.
    template <typename Question>
    [[nodiscard]] bool ask(Messages& messages, const Question& question) {
        const Answer given = answer(messages, question);
        return given == Answer::Yes || given == Answer::YesToAll;
    }
};

}  // namespace vellmark
