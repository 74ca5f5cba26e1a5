#include "session/terminal.hpp"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <string>

#include "session/session_state.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"

namespace vellmark {

namespace {

// The one value that a signal handler can reach.
std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

constexpr std::array<int, 6> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGPIPE, SIGXFSZ};

// A reader of the output that went away, and a file that may not grow any more: the failed write
// tells that too, and does not leave temporary files behind.
bool IsFailedWrite(int signal) {
    return signal == SIGPIPE || signal == SIGXFSZ;
}

constexpr int kTextCompiling = 1390;

/// Changed names that are listed unless all are asked for.
constexpr std::size_t kNamesTold = 3;

/// So often a question is put before it counts as not answered.
constexpr int kMostTries = 10;

constexpr auto kRedrawAfter = std::chrono::milliseconds(50);
constexpr std::string_view kEraseLine = "\r\x1b[K";

void NoteSignal(int) {
    stopRequested = true;
}

// The texts break lines for the width of a dialog; a terminal breaks them itself. Whatever name is
// in them does nothing to it.
std::string OneLine(std::string_view text) {
    std::string line(text);
    std::replace_if(
        line.begin(), line.end(), [](char c) { return c == '\n' || c == '\t'; }, ' ');
    return Printable(line);
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t first = text.find_first_not_of(kBlanks);
    return first == text.npos ? std::string_view{}
                              : text.substr(first, text.find_last_not_of(kBlanks) + 1 - first);
}

bool IsYes(Answer answer) {
    return answer == Answer::Yes || answer == Answer::YesToAll;
}

}  // namespace

std::optional<Answer> TypedAnswer(std::string_view line, Language language) {
    const std::string_view typed = Trimmed(line);
    const bool isFrench = language == Language::French;
    if (typed == "N")
        return Answer::NoToAll;
    if (typed == "Y" || (isFrench && typed == "O"))
        return Answer::YesToAll;
    std::string small(typed);
    std::transform(small.begin(), small.end(), small.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    if (small == "n" || small == "no" || (isFrench && small == "non"))
        return Answer::No;
    if (small == "y" || small == "yes" || (isFrench && (small == "o" || small == "oui")))
        return Answer::Yes;
    return std::nullopt;
}

StopSignals::StopSignals() {
    stopRequested = false;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        // Without SA_RESTART a question that waits for its answer is ended too.
        struct sigaction action {};
        action.sa_handler = IsFailedWrite(kSignals[i]) ? SIG_IGN : NoteSignal;
        ::sigaction(kSignals[i], nullptr, &before_[i]);
        if (before_[i].sa_handler != SIG_IGN)
            ::sigaction(kSignals[i], &action, nullptr);
    }
}

StopSignals::~StopSignals() {
    for (std::size_t i = 0; i < kSignals.size(); ++i)
        ::sigaction(kSignals[i], &before_[i], nullptr);
}

bool StopSignals::requested() {
    return stopRequested;
}

TerminalOptions TerminalOptionsOf(const CommandContext& context, bool quiet) {
    return {quiet, context.asks, context.showsProgress && !quiet};
}

TerminalProgress::~TerminalProgress() {
    clear();
}

void TerminalProgress::begin(std::uint64_t totalBytes) {
    total_ = totalBytes;
    done_ = 0;
    status_ = Text(kTextCompiling, context_.language);
}

bool TerminalProgress::chunk(std::uint64_t bytes) {
    done_ += bytes;
    const int percent = total_ == 0 ? 0 : static_cast<int>(std::min(done_, total_) * 100 / total_);
    if (percent != shownPercent_ && total_ > 0) {
        shownPercent_ = percent;
        draw();
    }
    return !StopSignals::requested();
}

bool TerminalProgress::fileEnd(std::uint64_t bytes) {
    return chunk(bytes);
}

void TerminalProgress::text(std::string_view status) {
    status_ = OneLine(status);
    draw();
}

void TerminalProgress::journal(int level, std::string_view line) {
    if (context_.session)
        context_.session->journal.step(level, line);
}

// A terminal takes longer to draw a line than a small file takes to be read.
void TerminalProgress::draw() {
    const auto now = std::chrono::steady_clock::now();
    if (!visible_ || now < nextDraw_)
        return;
    nextDraw_ = now + kRedrawAfter;
    context_.errors << kEraseLine << status_;
    if (total_ > 0)
        context_.errors << ' ' << std::max(shownPercent_, 0) << " %";
    context_.errors << std::flush;
    drawn_ = true;
}

void TerminalProgress::clear() {
    if (drawn_)
        context_.errors << kEraseLine << std::flush;
    drawn_ = false;
}

void TerminalMessages::showMessage(std::string_view text) {
    progress_.clear();
    context_.errors << "vellmark: " << OneLine(text) << '\n';
}

void TerminalMessages::showError(std::string_view text) {
    if (context_.session)
        context_.session->journal.failure(text);
    showMessage(text);
}

void TerminalMessages::logMessage(std::string_view text) {
    if (context_.session)
        context_.session->journal.message(text);
    showTimedMessage(text);
}

void TerminalMessages::log(int level, std::string_view line) {
    progress_.journal(level, line);
}

void TerminalMessages::showTimedMessage(std::string_view text) {
    if (!options_.quiet)
        showMessage(text);
}

void TerminalMessages::itemSkipped(std::string_view item, std::string_view reason) {
    ++skipped_;
    showMessage(words(Reason(Sentence::kItemSkipped, item, reason)));
}

void TerminalMessages::itemNoted(std::string_view item, std::string_view reason) {
    ++skipped_;
    showMessage(words(Reason(Sentence::kNamed, item, reason)));
}

void TerminalMessages::nameChanged(std::string_view item, std::string_view given) {
    changedNames_.push_back(std::string(item) + ": " + std::string(given));
}

void TerminalMessages::tellChangedNames(bool all) {
    if (changedNames_.empty())
        return;
    const std::size_t count = changedNames_.size();
    const std::size_t told = all ? count : std::min(count, kNamesTold);
    showTimedMessage(words(Reason(told < count ? Sentence::kNamesChangedAmong
                                  : count == 1 ? Sentence::kOneNameChanged
                                               : Sentence::kNamesChanged,
                                  count)));
    for (std::size_t i = 0; i < told; ++i)
        showTimedMessage("  " + changedNames_[i]);
    changedNames_.clear();
}

bool TerminalMessages::askYesNo(std::string_view question) {
    if (!options_.asks) {
        showMessage(question);
        return false;
    }
    return IsYes(readAnswer(question, Range::OneItem));
}

Answer TerminalMessages::askYesNoRemember(std::string_view question) {
    return options_.asks ? readAnswer(question, Range::BothForAll) : Answer::YesToAll;
}

TruncationAnswer TerminalMessages::askTruncation(TruncatedName, std::string_view fullName,
                                                 std::string_view proposal) {
    TruncationAnswer answer{.automatic = !options_.asks, .name = std::string(proposal)};
    if (options_.asks) {
        const Answer given =
            readAnswer(words(Reason(Sentence::kAskShorten, fullName, proposal)), Range::YesForAll);
        answer.accepted = IsYes(given);
        answer.automatic = given == Answer::YesToAll;
    }
    return answer;
}

std::optional<std::string> TerminalMessages::askFileName(std::string_view proposal) {
    if (!options_.asks)
        return std::string(proposal);
    std::optional<std::string> line =
        readLine(words(Reason(Sentence::kAskFileName, Printable(proposal))),
                 words(Sentence::kEnterKeepsName));
    if (line && line->empty())
        line = proposal;
    return line;
}

std::optional<std::size_t> TerminalMessages::askChoice(std::string_view question,
                                                       std::span<const std::string> names) {
    if (!options_.asks)
        return std::nullopt;
    progress_.clear();
    for (std::size_t i = 0; i < names.size(); ++i)
        context_.errors << i + 1 << ". " << Printable(names[i]) << '\n';
    const std::string line =
        std::string(Trimmed(readLine(question, "1-" + std::to_string(names.size())).value_or("")));
    std::size_t number = 0;
    const char* end = line.data() + line.size();
    const auto [rest, error] = std::from_chars(line.data(), end, number);
    if (error != std::errc{} || rest != end || number < 1 || number > names.size())
        return std::nullopt;
    return number - 1;
}

Answer TerminalMessages::readAnswer(std::string_view question, Range range) {
    std::string hint = words(Sentence::kChoiceYesNo);
    if (range != Range::OneItem)
        hint += words(Sentence::kChoiceYesForAll);
    if (range == Range::BothForAll)
        hint += words(Sentence::kChoiceNoForAll);
    for (int tries = 0; tries < kMostTries; ++tries) {
        const std::optional<std::string> line = readLine(question, hint);
        if (!line)
            break;
        if (const auto answer = TypedAnswer(*line, context_.language))
            return *answer;
    }
    return Answer::None;
}

// Nothing at the end of the input, and after a signal.
std::optional<std::string> TerminalMessages::readLine(std::string_view question,
                                                      std::string_view choices) {
    progress_.clear();
    context_.errors << OneLine(question) << " [" << choices << "] " << std::flush;
    std::string line;
    if (std::getline(context_.input, line))
        return line;
    context_.errors << '\n';
    return std::nullopt;
}

}  // namespace vellmark
