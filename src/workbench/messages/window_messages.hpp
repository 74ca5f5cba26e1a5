// The person at the window as the engine's partner. It may be called from any thread: a question of
// a job waits there until it is answered here.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "session/session_state.hpp"
#include "support/messages.hpp"

class QWidget;

namespace vellmark {

class WindowMessages final : public Messages {
  public:
    /// `owner` is the window that messages stand over; null for none.
    WindowMessages(SessionState& state, const CommandContext& context)
        : state_(state), context_(context) {}
    void setOwner(QWidget* owner) { owner_ = owner; }

    using Messages::askYesNo;
    using Messages::askYesNoRemember;
    using Messages::itemSkipped;
    using Messages::logMessage;
    using Messages::showError;
    using Messages::showMessage;
    using Messages::showTimedMessage;
    void showMessage(std::string_view text) override;
    void showTimedMessage(std::string_view text) override;
    void showError(std::string_view text) override;
    void logMessage(std::string_view text) override;
    [[nodiscard]] bool showRememberable(std::string_view text) override;
    /// Kept until the command has ended, see `tellSkipped`.
    void itemSkipped(std::string_view item, std::string_view reason) override;
    [[nodiscard]] bool askYesNo(std::string_view question) override;
    [[nodiscard]] Answer askYesNoRemember(std::string_view question) override;
    [[nodiscard]] TruncationAnswer askTruncation(TruncatedName kind, std::string_view fullName,
                                                 std::string_view proposal) override;
    [[nodiscard]] std::optional<std::string> askFileName(std::string_view proposal) override;
    [[nodiscard]] std::optional<std::string> askShorterName(std::string_view path,
                                                            std::string_view proposal,
                                                            std::size_t mostBytes) override;
    [[nodiscard]] std::optional<std::size_t> askChoice(std::string_view question,
                                                       std::span<const std::string> names) override;
    void log(int level, std::string_view line) override;
    [[nodiscard]] Language language() const override { return context_.language; }

    /// Names, in one message, the items that were left out since the last time.
    void tellSkipped();

  private:
    [[nodiscard]] QWidget* owner() const;
    void show(std::string_view text, int interval);

    SessionState& state_;
    const CommandContext& context_;
    QWidget* owner_ = nullptr;
    std::vector<std::string> skipped_;  // guarded by being used in the window's thread alone
};

}  // namespace vellmark
