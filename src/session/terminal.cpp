#include "session/terminal.hpp"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <iostream>

namespace vellmark {

namespace {

// The one value that a signal handler can reach.
std::atomic<bool> stopRequested{false};
static_assert(std::atomic<bool>::is_always_lock_free);

constexpr std::array<int, 3> kStopSignals = {SIGINT, SIGTERM, SIGHUP};

void NoteSignal(int) {
    stopRequested = true;
}

// The texts break lines for the width of a dialog; a terminal breaks them itself.
std::string OneLine(std::string_view text) {
    std::string line(text);
    std::replace(line.begin(), line.end(), '\n', ' ');
    return line;
}

std::string ReadAnswer(std::string_view question, std::string_view choices) {
    std::string line;
    std::cerr << OneLine(question) << " [" << choices << "] " << std::flush;
    std::getline(std::cin, line);
    return line;
}

}  // namespace

StopSignals::StopSignals() {
    stopRequested = false;
    // Without SA_RESTART a question that waits for its answer is ended too.
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    for (const int signal : kStopSignals)
        ::sigaction(signal, &action, nullptr);
}

StopSignals::~StopSignals() {
    for (const int signal : kStopSignals)
        std::signal(signal, SIG_DFL);
}

bool StopSignals::requested() {
    return stopRequested;
}

TerminalOptions TerminalOptionsNow(bool quiet) {
    return {quiet, ::isatty(STDIN_FILENO) != 0};
}

void TerminalMessages::showMessage(std::string_view text) {
    std::cerr << "vellmark: " << OneLine(text) << '\n';
}

void TerminalMessages::showTimedMessage(std::string_view text) {
    if (!options_.quiet)
        showMessage(text);
}

void TerminalMessages::itemSkipped(std::string_view item, std::string_view reason) {
    ++skipped_;
    std::cerr << "vellmark: skipped " << item << ": " << OneLine(reason) << '\n';
}

bool TerminalMessages::askYesNo(std::string_view question) {
    if (!options_.interactive) {
        showMessage(question);
        return false;
    }
    const std::string answer = ReadAnswer(question, "y/n");
    return answer == "y" || answer == "Y";
}

Answer TerminalMessages::askYesNoRemember(std::string_view question) {
    if (!options_.interactive)
        return Answer::No;
    const std::string answer = ReadAnswer(question, "y/n/Y yes to all/N no to all");
    return answer == "y"   ? Answer::Yes
           : answer == "Y" ? Answer::YesToAll
           : answer == "N" ? Answer::NoToAll
                           : Answer::No;
}

TruncationAnswer TerminalMessages::askTruncation(TruncatedName, std::string_view fullName,
                                                 std::string_view proposal) {
    TruncationAnswer answer{true, !options_.interactive, std::string(proposal)};
    if (options_.interactive) {
        const std::string line =
            ReadAnswer("The name " + std::string(fullName) + " is too long. Shorten it to " +
                           std::string(proposal) + "?",
                       "y/n/Y yes to all");
        answer.accepted = line != "n" && line != "N";
        answer.automatic = line == "Y";
    }
    return answer;
}

TerminalProgress::TerminalProgress(TerminalOptions options)
    : visible_(!options.quiet && ::isatty(STDERR_FILENO) != 0) {}

TerminalProgress::~TerminalProgress() {
    clear();
}

void TerminalProgress::begin(std::uint64_t totalBytes) {
    total_ = totalBytes;
    done_ = 0;
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

void TerminalProgress::draw() {
    if (!visible_)
        return;
    std::cerr << "\r\x1b[K" << status_;
    if (total_ > 0)
        std::cerr << ' ' << shownPercent_ << " %";
    std::cerr << std::flush;
    drawn_ = true;
}

void TerminalProgress::clear() {
    if (drawn_)
        std::cerr << "\r\x1b[K" << std::flush;
    drawn_ = false;
}

}  // namespace vellmark
