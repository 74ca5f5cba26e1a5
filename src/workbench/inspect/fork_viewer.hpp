// The viewer: the forks of a file as pages of bytes, and the whole image around them. It writes
// nothing to the volume.
#pragma once

#include <functional>
#include <optional>

#include "inspect/fork_page.hpp"
#include "inspect/structure_code.hpp"
#include "support/progress.hpp"
#include "workbench/dialogs/work_dialog.hpp"
#include "workbench/inspect/page_view.hpp"
#include "workbench/inspect/sector_trail.hpp"
#include "workbench/inspect/viewed_file.hpp"
#include "workbench/inspect/viewer_dialogs.hpp"

class QLabel;
class QStackedWidget;

namespace vellmark {

class ResourcePage;
class TVellmark;

class TMacDump final : public WorkDialog {
  public:
    /// How the viewer ends: the next selected file follows, or none.
    static constexpr int kNextFile = 0;
    static constexpr int kNoMore = 2;

    /// An item without forks stands for none: then there is the image alone.
    TMacDump(TVellmark& window, const CatalogItem& item);

    /// Shows the file until the person has seen enough of it.
    int view();
    /// The same, of what there is the given fork first.
    int viewFrom(ViewedFork fork);
    void reject() override;

  protected:
    void closeEvent(QCloseEvent* event) override;

  private:
    void makePages();
    void makeCommands();
    void makeFileMenu();
    void makeNavigationMenu();
    void makeActionMenu();
    void makeOptionMenu();

    // fork_viewer_pages.cpp
    /// Shows a page of the fork, which the caller goes to.
    void turnTo(ViewedFork fork);
    void showFork(ViewedFork fork);
    void showTree();
    void beginFork(ViewedFork fork);
    void goTo(std::uint64_t sector);
    void stepTo(std::uint64_t sector);
    void turn(PageView::Turn turn);
    void askAndGo();
    void goToPrevious();
    void travel(bool back);
    void showPage(std::uint64_t sector);
    void redraw();
    void showPanels();
    void showTitle();
    void updateCommands();

    // fork_viewer_search.cpp
    void search();
    void searchAgain();
    void runSearch(std::uint64_t from);
    [[nodiscard]] std::optional<std::vector<std::uint8_t>> wantedBytes();
    void showMatch(std::uint64_t offset);
    /// Runs work that only looks; the status bar tells how far it is from a sector on. False when
    /// it did not run.
    bool look(std::uint64_t sector, const std::function<void(Progress& progress)>& work);

    /// Shows what the sector holds, and goes where the person goes from there; whether that was
    /// anywhere.
    bool analyse(StructureCode as);
    void showProperties();
    void print();
    void saveSegment();
    void chooseFontSize();
    void setPoints(int points);
    void setStyle(PageStyle style);

    [[nodiscard]] const InspectedBytes& bytes() { return file_.bytes(fork_); }
    [[nodiscard]] std::uint64_t current() const { return current_.value_or(0); }
    [[nodiscard]] QString number(std::uint64_t value) const;

    TVellmark& window_;
    ViewedFile file_;
    ViewedFork fork_ = ViewedFork::None;
    PageStyle style_;
    int points_ = kUsualPoints;
    std::optional<std::uint64_t> current_;   // the sector on the page
    std::optional<std::uint64_t> previous_;  // the one shown before, of the same fork
    std::uint64_t last_ = 0;
    SectorTrail trail_;

    SearchWish wish_;
    bool canSearchAgain_ = false;
    std::optional<std::uint64_t> match_;  // byte of the fork

    QStackedWidget* pages_ = nullptr;
    PageView* page_ = nullptr;
    ResourcePage* resources_ = nullptr;
    QLabel* panels_[3] = {};
    QAction* forks_[3] = {};  // by `ViewedFork`
    QAction* again_ = nullptr;
    QAction* back_ = nullptr;
    QAction* forward_ = nullptr;
    std::vector<QAction*> ofPages_;  // that need a page
};

/// Shows the forks of a file; how the viewer ended.
int ViewForks(TVellmark& window, const CatalogItem& file);
/// Shows the image of the open volume.
void ViewImage(TVellmark& window);

}  // namespace vellmark
