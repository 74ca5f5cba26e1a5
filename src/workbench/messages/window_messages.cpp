#include "workbench/messages/window_messages.hpp"

#include <QApplication>
#include <QCursor>
#include <optional>

#include "support/sentences.hpp"
#include "workbench/dialogs/file_choice.hpp"
#include "workbench/dialogs/list_choice.hpp"
#include "workbench/dialogs/name_dialogs.hpp"
#include "workbench/jobs/main_thread.hpp"
#include "workbench/messages/message_dialogs.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTimedMs = 3000;
constexpr int kLoggedMs = 2000;

// Of a list in a message; the rest is counted.
constexpr std::size_t kMostSkippedShown = 12;

// While a message stands, the pointer is that of a person who is asked and not of one who waits.
class PointerBack {
  public:
    PointerBack() {
        if (const QCursor* const waiting = QApplication::overrideCursor()) {
            waiting_ = *waiting;
            QApplication::changeOverrideCursor(Qt::ArrowCursor);
        }
    }
    ~PointerBack() {
        if (waiting_)
            QApplication::changeOverrideCursor(*waiting_);
    }
    PointerBack(const PointerBack&) = delete;
    PointerBack& operator=(const PointerBack&) = delete;

  private:
    std::optional<QCursor> waiting_;
};

template <typename Function>
auto AskInMainThread(Function function) {
    return InMainThread([&] {
        const PointerBack pointer;
        return function();
    });
}

}  // namespace

QWidget* WindowMessages::owner() const {
    QWidget* const dialog = QApplication::activeModalWidget();
    return dialog ? dialog : owner_;
}

void WindowMessages::show(std::string_view text, int interval) {
    AskInMainThread([&] { (void)TMessOK(ToQString(text), language(), interval, owner()).exec(); });
}

void WindowMessages::showMessage(std::string_view text) {
    show(text, 0);
}

void WindowMessages::showTimedMessage(std::string_view text) {
    show(text, kTimedMs);
}

void WindowMessages::showError(std::string_view text) {
    InMainThread([&] { state_.journal.failure(text); });
    show(text, 0);
}

void WindowMessages::logMessage(std::string_view text) {
    InMainThread([&] { state_.journal.message(text); });
    show(text, kLoggedMs);
}

bool WindowMessages::showRememberable(std::string_view text) {
    return AskInMainThread([&] { return TMessAnn(ToQString(text), language(), owner()).show(); });
}

void WindowMessages::itemSkipped(std::string_view item, std::string_view reason) {
    InMainThread([&] {
        skipped_.push_back(
            words(Reason(Sentence::kItemSkipped, std::string(item), std::string(reason))));
        state_.journal.failure(skipped_.back());
    });
}

void WindowMessages::tellSkipped() {
    if (skipped_.empty())
        return;
    std::string text;
    for (std::size_t i = 0; i < skipped_.size() && i < kMostSkippedShown; ++i)
        text += skipped_[i] + "\n";
    if (skipped_.size() > kMostSkippedShown)
        text += words(Reason(Sentence::kAndMore, skipped_.size() - kMostSkippedShown));
    skipped_.clear();
    showMessage(text);
}

bool WindowMessages::askYesNo(std::string_view question) {
    return AskInMainThread([&] { return TMessON(ToQString(question), language(), owner()).ask(); });
}

Answer WindowMessages::askYesNoRemember(std::string_view question) {
    return AskInMainThread(
        [&] { return TMessONT(ToQString(question), language(), owner()).ask(); });
}

TruncationAnswer WindowMessages::askTruncation(TruncatedName kind, std::string_view fullName,
                                               std::string_view proposal) {
    return AskInMainThread([&] {
        if (kind == TruncatedName::Imported)
            return AskImportedName(fullName, proposal, state_, language(), owner());
        return AskTruncation(kind, fullName, proposal, language(), owner());
    });
}

std::optional<std::string> WindowMessages::askFileName(std::string_view proposal) {
    // What has a folder is a whole path, and not a name in a folder that was chosen before.
    const bool isPath = proposal.find('/') != std::string_view::npos;
    return AskInMainThread([&] {
        return isPath ? AskExpandedPath(proposal, language(), owner())
                      : AskPcName(proposal, language(), owner());
    });
}

std::optional<std::string> WindowMessages::askShorterName(std::string_view path,
                                                          std::string_view proposal,
                                                          std::size_t mostBytes) {
    return AskInMainThread(
        [&] { return AskShorterName(path, proposal, mostBytes, language(), owner()); });
}

std::optional<std::size_t> WindowMessages::askChoice(std::string_view question,
                                                     std::span<const std::string> names) {
    return AskInMainThread([&] { return ChooseFromList(question, names, language(), owner()); });
}

void WindowMessages::log(int level, std::string_view line) {
    InMainThread([&] { state_.journal.step(level, line); });
}

}  // namespace vellmark
