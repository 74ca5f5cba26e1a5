// Looking for bytes from the viewer.
#include <QLabel>
#include <QTimer>

#include "inspect/fork_search.hpp"
#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "workbench/inspect/fork_viewer.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextNoMatch = 3052;
constexpr int kTables[] = {3031, 3032, 3033};
constexpr int kShowMs = 100;

}  // namespace

bool TMacDump::look(std::uint64_t sector, const std::function<void(Progress& progress)>& work) {
    QTimer watch;
    connect(&watch, &QTimer::timeout, this, [&] {
        if (JobProgress* const job = window_.jobs().progress()) {
            panels_[0]->setText(number(sector + job->state().doneBytes / kSectorBytes));
            showHint(Words(Sentence::kEscStops, language()));
        }
    });
    watch.start(kShowMs);
    const bool isDone = window_.runJob(JobKind::Look, work);
    showHint(QString());
    showPanels();
    return isDone;
}

void TMacDump::search() {
    const std::optional<SearchWish> wish = AskForSearch(wish_, language(), this);
    if (!wish)
        return;
    wish_ = *wish;
    match_.reset();
    runSearch((current() + (wish_.atSectorStarts ? 1 : 0)) * kSectorBytes);
}

// Behind the last match, unless the person has gone elsewhere since.
void TMacDump::searchAgain() {
    const bool isThere = match_ && *match_ / kSectorBytes == current();
    runSearch(isThere ? *match_ + 1 : current() * kSectorBytes);
}

std::optional<std::vector<std::uint8_t>> TMacDump::wantedBytes() {
    if (wish_.isHexadecimal) {
        if (const auto found = BytesOfHexDigits(wish_.text))
            return std::vector<std::uint8_t>(found->begin(), found->end());
        window_.messages().showMessage(Reason(Sentence::kNoHexDigits, Printable(wish_.text)));
        return std::nullopt;
    }
    auto wanted = BytesOfText(wish_.text, style_.table);
    if (!wanted)
        window_.messages().showMessage(
            Reason(Sentence::kTextNotInTable, Printable(wish_.text),
                   Reason(ToldText{kTables[static_cast<std::size_t>(style_.table)]})));
    return wanted;
}

void TMacDump::runSearch(std::uint64_t from) {
    const auto wanted = wantedBytes();
    if (!wanted)
        return;
    SearchResult found;
    if (!look(from / kSectorBytes, [&](Progress& progress) {
            found = SearchFork(*bytes().source, {*wanted, from, wish_.atSectorStarts}, progress);
        }))
        return;
    canSearchAgain_ = found.end != SearchEnd::NotFound;
    if (found.end == SearchEnd::Found)
        showMatch(found.offset);
    showPanels();
    updateCommands();
    if (found.end == SearchEnd::NotFound)
        window_.messages().showMessage(Reason::Joined(
            {Reason(ToldText{kTextNoMatch}), Reason::Plain(Printable(wish_.text))}, ""));
    else if (found.end == SearchEnd::Failed)
        window_.messages().showMessage(
            Reason(Sentence::kSectorNotThere, found.offset / kSectorBytes));
}

void TMacDump::showMatch(std::uint64_t offset) {
    if (offset / kSectorBytes != current())
        goTo(offset / kSectorBytes);
    match_ = offset;
    const auto wanted = wantedBytes();
    const auto at = static_cast<std::size_t>(offset % kSectorBytes);
    page_->mark(at, wanted->size());
    page_->selectCharacters(at, wanted->size());
}

}  // namespace vellmark
