// The terminal as the engine's partner: messages and questions, progress, and the wish to stop.
#pragma once

#include <cstdint>
#include <string>

#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// While it lives, Ctrl-C and a request to end are noted instead of ending the process, so that
/// what was begun can be taken back.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    [[nodiscard]] static bool requested();
};

/// How a run without a window answers.
struct TerminalOptions {
    bool quiet = false;        ///< no progress and no remarks
    bool interactive = false;  ///< questions may be asked: standard input is a terminal
};

/// Options as this process finds its standard input.
[[nodiscard]] TerminalOptions TerminalOptionsNow(bool quiet);

/// Messages go to standard error. Where nobody can be asked, a question is answered as its caller
/// would have it in a batch: names are shortened as proposed, everything else is a no.
class TerminalMessages final : public Messages {
  public:
    explicit TerminalMessages(TerminalOptions options) : options_(options) {}

    void showMessage(std::string_view text) override;
    void showTimedMessage(std::string_view text) override;
    void itemSkipped(std::string_view item, std::string_view reason) override;
    [[nodiscard]] bool askYesNo(std::string_view question) override;
    [[nodiscard]] Answer askYesNoRemember(std::string_view question) override;
    [[nodiscard]] TruncationAnswer askTruncation(TruncatedName kind, std::string_view fullName,
                                                 std::string_view proposal) override;

    /// Items left out so far.
    [[nodiscard]] std::uint64_t skipped() const { return skipped_; }

  private:
    TerminalOptions options_;
    std::uint64_t skipped_ = 0;
};

/// One line on standard error, only when that is a terminal.
class TerminalProgress final : public Progress {
  public:
    explicit TerminalProgress(TerminalOptions options);
    ~TerminalProgress() override;
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    void begin(std::uint64_t totalBytes) override;
    [[nodiscard]] bool chunk(std::uint64_t bytes) override;
    [[nodiscard]] bool fileEnd(std::uint64_t bytes) override;
    void text(std::string_view status) override;

  private:
    void draw();
    void clear();

    bool visible_;
    bool drawn_ = false;
    std::uint64_t total_ = 0;
    std::uint64_t done_ = 0;
    int shownPercent_ = -1;
    std::string status_;
};

}  // namespace vellmark
