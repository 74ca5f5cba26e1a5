#include "session/terminal.hpp"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <string>

#include "session/session_state.hpp"
#include "support/encoding.hpp"

namespace vellmark {

namespace {

// The one value that a signal handler can reach.
std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

// The last one is a reader of the output that went away: the failed write tells that too, and does
// not leave temporary files behind.
constexpr std::array<int, 4> kSignals = {SIGINT, SIGTERM, SIGHUP, SIGPIPE};

constexpr int kTextCompiling = 1390;

constexpr auto kRedrawAfter = std::chrono::milliseconds(50);
constexpr std::string_view kEraseLine = "\r\x1b[K";

void NoteSignal(int) {
    stopRequested = true;
}

// The texts break lines for the width of a dialog; a terminal breaks them itself.
std::string OneLine(std::string_view text) {
    std::string line(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

}  // namespace

StopSignals::StopSignals() {
    stopRequested = false;
    for (std::size_t i = 0; i < kSignals.size(); ++i) {
        // Without SA_RESTART a question that waits for its answer is ended too.
        struct sigaction action {};
        action.sa_handler = kSignals[i] == SIGPIPE ? SIG_IGN : NoteSignal;
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
    showMessage("skipped " + std::string(item) + ": " + std::string(reason));
}

bool TerminalMessages::askYesNo(std::string_view question) {
    if (!options_.asks) {
        showMessage(question);
        return false;
    }
    const std::string answer = readAnswer(question, "y/n");
    return answer == "y" || answer == "Y";
}

Answer TerminalMessages::askYesNoRemember(std::string_view question) {
    if (!options_.asks)
        return Answer::YesToAll;
    const std::string answer = readAnswer(question, "y/n, Y yes to all, N no to all");
    return answer == "y"   ? Answer::Yes
           : answer == "Y" ? Answer::YesToAll
           : answer == "N" ? Answer::NoToAll
                           : Answer::No;
}

TruncationAnswer TerminalMessages::askTruncation(TruncatedName, std::string_view fullName,
                                                 std::string_view proposal) {
    TruncationAnswer answer{true, !options_.asks, std::string(proposal)};
    if (options_.asks) {
        const std::string line =
            readAnswer("The name " + std::string(fullName) + " is too long. Shorten it to " +
                           std::string(proposal) + "?",
                       "y/n, Y yes to all");
        answer.accepted = line != "n" && line != "N";
        answer.automatic = line == "Y";
    }
    return answer;
}

std::optional<std::string> TerminalMessages::askFileName(std::string_view proposal) {
    if (!options_.asks)
        return std::string(proposal);
    std::string line = readAnswer("Name for " + Printable(proposal) + "?", "Enter keeps it");
    if (context_.input.fail()) {
        showMessage("No name was given; nothing more is copied.");
        return std::nullopt;
    }
    return line.empty() ? std::string(proposal) : line;
}

std::optional<std::size_t> TerminalMessages::askChoice(std::string_view question,
                                                       std::span<const std::string> names) {
    if (!options_.asks)
        return std::nullopt;
    progress_.clear();
    for (std::size_t i = 0; i < names.size(); ++i)
        context_.errors << i + 1 << ". " << Printable(names[i]) << '\n';
    const std::string line = readAnswer(question, "1-" + std::to_string(names.size()));
    std::size_t number = 0;
    const char* end = line.data() + line.size();
    const auto [rest, error] = std::from_chars(line.data(), end, number);
    if (error != std::errc{} || rest != end || number < 1 || number > names.size())
        return std::nullopt;
    return number - 1;
}

std::string TerminalMessages::readAnswer(std::string_view question, std::string_view choices) {
    std::string line;
    progress_.clear();
    context_.errors << OneLine(question) << " [" << choices << "] " << std::flush;
    std::getline(context_.input, line);
    return line;
}

}  // namespace vellmark
