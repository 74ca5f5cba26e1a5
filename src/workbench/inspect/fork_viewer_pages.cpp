// The pages of the viewer: which sector of what is shown, and how one comes to another.
#include <QApplication>
#include <QLabel>
#include <QStackedWidget>

#include "support/encoding.hpp"
#include "support/sentences.hpp"
#include "transfer/import_batch.hpp"
#include "workbench/inspect/fork_viewer.hpp"
#include "workbench/inspect/resource_page.hpp"
#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

constexpr int kTextTitle = 3045;
constexpr int kTextData = 3046;
constexpr int kTextResource = 3047;

}  // namespace

QString TMacDump::number(std::uint64_t value) const {
    return ToQString(NumberText(value, style_.base));
}

void TMacDump::beginFork(ViewedFork fork) {
    fork_ = fork;
    current_.reset();
    previous_.reset();
    match_.reset();
    last_ = LastSector(*bytes().source);
    canSearchAgain_ = false;
    showTitle();
}

void TMacDump::turnTo(ViewedFork fork) {
    beginFork(fork);
    forks_[static_cast<std::size_t>(fork)]->setChecked(true);
    pages_->setCurrentWidget(page_);
    page_->setFocus();
}

void TMacDump::showFork(ViewedFork fork) {
    turnTo(fork);
    goTo(0);
}

void TMacDump::showTree() {
    beginFork(ViewedFork::Resource);
    pages_->setCurrentWidget(resources_);
    resources_->showFork(bytes().source);
    showHint(QString());
    showPanels();
    updateCommands();
}

void TMacDump::showTitle() {
    const bool isImage = fork_ == ViewedFork::Image;
    const std::string name = isImage ? PcNameOfPath(window_.documents().path()) : file_.item().name;
    const QString part = isImage ? Words(Sentence::kWholeImage, language())
                                 : words(fork_ == ViewedFork::Data ? kTextData : kTextResource);
    setWindowTitle(WordsWith(kTextTitle, language(), Printable(name), part.toStdString(),
                             file_.length(fork_), "Vellmark"));
}

void TMacDump::goTo(std::uint64_t sector) {
    trail_.jump({fork_, sector});
    previous_ = std::exchange(current_, sector);
    showPage(sector);
}

void TMacDump::stepTo(std::uint64_t sector) {
    trail_.step({fork_, sector});
    previous_ = std::exchange(current_, sector);
    showPage(sector);
}

void TMacDump::showPage(std::uint64_t sector) {
    const ForkPage page = ReadPage(*bytes().source, sector, style_);
    page_->showLines(page.lines, page.offset(), style_.base);
    showHint(bytes().problem ? Words(bytes().problem, language()) : QString());
    showPanels();
    updateCommands();
}

void TMacDump::redraw() {
    if (current_)
        showPage(*current_);
}

// A tree of resources is at no sector.
void TMacDump::showPanels() {
    if (pages_->currentWidget() != page_) {
        for (QLabel* const panel : panels_)
            panel->clear();
        return;
    }
    const auto inImage = bytes().imageSector(current());
    panels_[0]->setText(number(current()));
    panels_[1]->setText(inImage ? number(*inImage) : QString());
    panels_[2]->setText(number(current() * kSectorBytes));
}

void TMacDump::turn(PageView::Turn where) {
    const bool isUp = where == PageView::Turn::Previous || where == PageView::Turn::First;
    if (current() == (isUp ? 0 : last_)) {
        QApplication::beep();
        return;
    }
    if (where == PageView::Turn::First || where == PageView::Turn::Last)
        goTo(isUp ? 0 : last_);
    else
        stepTo(isUp ? current() - 1 : current() + 1);
}

void TMacDump::askAndGo() {
    const auto typed = AskForSector(NumberText(current(), style_.base), language(), this);
    if (!typed)
        return;
    const auto sector = SectorToGoTo(*typed, style_.base, current(), last_);
    if (!sector)
        QApplication::beep();
    else if (*sector != current())
        goTo(*sector);
}

void TMacDump::goToPrevious() {
    if (previous_)
        goTo(*previous_);
    else
        QApplication::beep();
}

void TMacDump::travel(bool back) {
    // From the tree the way back leads to the page that it was opened from.
    const bool isPage = pages_->currentWidget() == page_;
    const ViewedPlace place = back && !isPage ? trail_.here() : trail_.go(back);
    if (place.fork != fork_ || !isPage)
        turnTo(place.fork);
    previous_ = std::exchange(current_, place.sector);
    showPage(place.sector);
}

void TMacDump::updateCommands() {
    const bool isPage = pages_->currentWidget() == page_;
    for (QAction* const each : ofPages_)
        each->setEnabled(isPage);
    again_->setEnabled(isPage && canSearchAgain_);
    back_->setEnabled(trail_.hasBack() || (!isPage && !trail_.isEmpty()));
    forward_->setEnabled(trail_.hasForward());
}

}  // namespace vellmark
