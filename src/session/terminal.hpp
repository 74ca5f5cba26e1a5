// The terminal as the engine's partner: messages and questions, progress, and the wish to stop.
#pragma once

#include <array>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "session/command_context.hpp"
#include "support/messages.hpp"
#include "support/progress.hpp"

namespace vellmark {

/// While it lives, Ctrl-C, Ctrl-\ and a request to end are noted instead of ending the process, so
/// that what was begun can be taken back, and a file that grows too large is a failed write. A
/// signal that the process was started to ignore (`nohup`) stays ignored. Where one lives already,
/// a new one forgets what was asked for before.
class StopSignals {
  public:
    StopSignals();
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;
    [[nodiscard]] static bool requested();

  private:
    std::array<struct sigaction, 6> before_{};
};

/// How a run without a window behaves.
struct TerminalOptions {
    bool quiet = false;          ///< no remarks
    bool asks = false;           ///< questions may be asked
    bool showsProgress = false;  ///< a line may be drawn
};

/// Options as the command finds its terminal.
[[nodiscard]] TerminalOptions TerminalOptionsOf(const CommandContext& context, bool quiet);

/// One line that is drawn over again and again. `chunk` and `fileEnd` say no once a signal came.
class TerminalProgress final : public Progress {
  public:
    TerminalProgress(CommandContext& context, TerminalOptions options)
        : context_(context), visible_(options.showsProgress) {}
    ~TerminalProgress() override;
    TerminalProgress(const TerminalProgress&) = delete;
    TerminalProgress& operator=(const TerminalProgress&) = delete;

    void begin(std::uint64_t totalBytes) override;
    [[nodiscard]] bool chunk(std::uint64_t bytes) override;
    [[nodiscard]] bool fileEnd(std::uint64_t bytes) override;
    void journal(int level, std::string_view line) override;
    void text(std::string_view status) override;

    /// Takes the line away, before something else is written.
    void clear();

  private:
    void draw();

    CommandContext& context_;
    bool visible_;
    bool drawn_ = false;
    std::uint64_t total_ = 0;
    std::uint64_t done_ = 0;
    int shownPercent_ = -1;
    std::string status_;
    std::chrono::steady_clock::time_point nextDraw_;
};

/// What a person typed at a question, in any case and with blanks around it: y, yes, n or no, and
/// in French o, oui, n or non too. A capital letter alone is an answer for all. Nothing for
/// anything else.
[[nodiscard]] std::optional<Answer> TypedAnswer(std::string_view line, Language language);

/// Messages go to the errors, questions too; what belongs there goes to the session's journal as
/// well. Where nobody can be asked, names are shortened as proposed, a question about one item is
/// answered with yes, and one about losing something with no. What a person types is asked for
/// again until it is an answer; the end of the input loses nothing.
class TerminalMessages final : public Messages {
  public:
    TerminalMessages(CommandContext& context, TerminalOptions options, TerminalProgress& progress)
        : context_(context), options_(options), progress_(progress) {}

    using Messages::askYesNo;
    using Messages::askYesNoRemember;
    using Messages::itemNoted;
    using Messages::itemSkipped;
    using Messages::logMessage;
    using Messages::showError;
    using Messages::showMessage;
    using Messages::showTimedMessage;
    void showMessage(std::string_view text) override;
    void showError(std::string_view text) override;
    void showTimedMessage(std::string_view text) override;
    void logMessage(std::string_view text) override;
    void itemSkipped(std::string_view item, std::string_view reason) override;
    void itemNoted(std::string_view item, std::string_view reason) override;
    [[nodiscard]] bool askYesNo(std::string_view question) override;
    [[nodiscard]] Answer askYesNoRemember(std::string_view question) override;
    [[nodiscard]] TruncationAnswer askTruncation(TruncatedName kind, std::string_view fullName,
                                                 std::string_view proposal) override;
    [[nodiscard]] std::optional<std::string> askFileName(std::string_view proposal) override;
    /// The names are numbered for it.
    [[nodiscard]] std::optional<std::size_t> askChoice(std::string_view question,
                                                       std::span<const std::string> names) override;
    void log(int level, std::string_view line) override;
    [[nodiscard]] Language language() const override { return context_.language; }

    void nameChanged(std::string_view item, std::string_view given) override;
    /// Says how many names were changed since the last time, and names the first of them, or all
    /// where every one was asked for.
    void tellChangedNames(bool all);

    /// Items left out so far.
    [[nodiscard]] std::uint64_t skipped() const { return skipped_; }

  private:
    /// How far a question with yes and no goes.
    enum class Range { OneItem, YesForAll, BothForAll };

    [[nodiscard]] Answer readAnswer(std::string_view question, Range range);
    [[nodiscard]] std::optional<std::string> readLine(std::string_view question,
                                                      std::string_view choices);

    CommandContext& context_;
    TerminalOptions options_;
    TerminalProgress& progress_;
    std::uint64_t skipped_ = 0;
    std::vector<std::string> changedNames_;
};

/// Both ports over one terminal.
struct Terminal {
    Terminal(CommandContext& context, TerminalOptions options)
        : progress(context, options), messages(context, options, progress) {}

    TerminalProgress progress;
    TerminalMessages messages;
};

}  // namespace vellmark
