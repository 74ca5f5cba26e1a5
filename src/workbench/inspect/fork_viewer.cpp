#include "workbench/inspect/fork_viewer.hpp"

#include <QActionGroup>
#include <QCloseEvent>
#include <QLabel>
#include <QLayout>
#include <QMenu>
#include <QScreen>
#include <QStackedWidget>
#include <QStatusBar>
#include <charconv>

#include "session/settings.hpp"
#include "support/sentences.hpp"
#include "workbench/commands/volume_changes.hpp"
#include "workbench/inspect/resource_page.hpp"
#include "workbench/inspect/segment_dialog.hpp"
#include "workbench/inspect/text_printing.hpp"
#include "workbench/main_window/main_window.hpp"
#include "workbench/properties/item_properties.hpp"

namespace vellmark {

namespace {

constexpr int kHints = 100;  // the hint of a command stands so many numbers behind its caption

int KeptPoints(const SettingsStore& store) {
    const std::string kept = store.read(setting::kViewerFont).value_or("");
    int points = 0;
    const auto [end, error] = std::from_chars(kept.data(), kept.data() + kept.size(), points);
    return error == std::errc{} && points >= kLeastPoints && points <= kMostPoints ? points
                                                                                   : kUsualPoints;
}

}  // namespace

TMacDump::TMacDump(TVellmark& window, const CatalogItem& item)
    : WorkDialog("TMacDump", QString(), window.language(), &window),
      window_(window),
      file_(window.documents().partition->volume(), item) {
    makePages();
    makeCommands();
    setPoints(KeptPoints(window.state().store));
    page_->setFocus();
}

void TMacDump::makePages() {
    pages_ = new QStackedWidget(&frame());
    page_ = new PageView("Page", pages_);
    page_->setAccessibleName(Words(Sentence::kPageOfBytes, language()));
    page_->setTurn([this](PageView::Turn where) { turn(where); });
    pages_->addWidget(page_);
    resources_ = new ResourcePage(
        window_, [this](const auto& work) { return look(0, work); }, pages_);
    pages_->addWidget(resources_);
    frame().setCentralWidget(pages_);
    constexpr Sentence kTips[] = {Sentence::kPanelSector, Sentence::kPanelImageSector,
                                  Sentence::kPanelByte};
    constexpr const char* kNames[] = {"PanneauSecteur", "PanneauImage", "PanneauOctet"};
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
        panels_[i] = new QLabel(&frame());
        panels_[i]->setObjectName(QLatin1String(kNames[i]));
        panels_[i]->setToolTip(Words(kTips[i], language()));
        panels_[i]->setMinimumWidth(panels_[i]->fontMetrics().averageCharWidth() * 12);
        frame().statusBar()->addPermanentWidget(panels_[i]);
    }
}

void TMacDump::makeCommands() {
    makeFileMenu();
    tools().addSeparator();
    makeNavigationMenu();
    tools().addSeparator();
    makeActionMenu();
    makeOptionMenu();
    tools().addSeparator();
    addHelp("viewer");
    finishMenus();
}

void TMacDump::makeFileMenu() {
    QMenu& menu = addMenu(3000, 3100, "DF1");
    auto* const group = new QActionGroup(this);
    const WorkCommand kForks[] = {{"Data", 3001, 3101}, {"Ress", 3002, 3102}};
    const auto add = [&](ViewedFork fork, QAction& action) {
        action.setCheckable(true);
        group->addAction(&action);
        if (file_.length(fork) > 0)
            action.setText(QStringLiteral("%1 [%2]").arg(action.text()).arg(file_.length(fork)));
        action.setEnabled(file_.length(fork) > 0);
        forks_[static_cast<std::size_t>(fork)] = &action;
    };
    for (const ViewedFork fork : {ViewedFork::Data, ViewedFork::Resource})
        add(fork, addCommand(menu, kForks[static_cast<std::size_t>(fork)],
                             [this, fork] { showFork(fork); }));
    QAction& tree = addCommand(menu, {"Arb", 3006, 3106}, [this] { showTree(); });
    tree.setCheckable(true);
    tree.setEnabled(file_.length(ViewedFork::Resource) > 0);
    group->addAction(&tree);
    QAction& image = addCommand(menu, {"Image", 0}, [this] { showFork(ViewedFork::Image); });
    image.setText(Words(Sentence::kWholeImage, language()));
    image.setStatusTip(Words(Sentence::kWholeImageHint, language()));
    add(ViewedFork::Image, image);
    menu.addSeparator();
    addCommand(menu, {"Att1", 3003, 3103, {}, "properties"}, [this] {
        showProperties();
    }).setEnabled(file_.firstFork() != ViewedFork::None);
    ofPages_.push_back(
        &addCommand(menu, {"Imp1", 3005, 3105, QKeySequence(QStringLiteral("Ctrl+Alt+P")), "print"},
                    [this] { print(); }));
    menu.addSeparator();
    addCommand(menu, {"Dret1", 3004, 3104}, [this] { reject(); });
}

void TMacDump::makeNavigationMenu() {
    QMenu& menu = addMenu(3010, 3110, "Ed1");
    const auto add = [&](const char* name, int caption, const char* key, const char* picture,
                         auto run) -> QAction& {
        QAction& action = addCommand(
            menu, {name, caption, caption + kHints, QKeySequence(QLatin1String(key)), picture},
            std::move(run));
        ofPages_.push_back(&action);
        return action;
    };
    add("Go1", 3011, "Ctrl+G", nullptr, [this] { askAndGo(); });
    add("Hom", 3015, "", nullptr, [this] { turn(PageView::Turn::First); });
    add("Fin", 3014, "", nullptr, [this] { turn(PageView::Turn::Last); });
    add("Prec", 3016, "Alt+Backspace", nullptr, [this] { goToPrevious(); });
    menu.addSeparator();
    for (const bool isBack : {true, false}) {
        QAction& action =
            addCommand(menu,
                       {isBack ? "Reculer" : "Avancer", 0, 0,
                        QKeySequence(QLatin1String(isBack ? "Alt+Left" : "Alt+Right"))},
                       [this, isBack] { travel(isBack); });
        action.setText(Words(isBack ? Sentence::kTrailBack : Sentence::kTrailForward, language()));
        action.setStatusTip(
            Words(isBack ? Sentence::kTrailBackHint : Sentence::kTrailForwardHint, language()));
        (isBack ? back_ : forward_) = &action;
    }
    menu.addSeparator();
    add("Ch1", 3012, "Ctrl+F", "search", [this] { search(); });
    again_ = &addCommand(menu, {"Reb1", 3013, 3113, QKeySequence(Qt::Key_F3)},
                         [this] { searchAgain(); });
}

void TMacDump::makeActionMenu() {
    QMenu& menu = addMenu(3020, 3120, "Act0");
    ofPages_.push_back(
        &addCommand(menu, {"co1", 3023, 3123, QKeySequence(QStringLiteral("Ctrl+C")), "copy"},
                    [this] { page_->copyAll(); }));
    ofPages_.push_back(&addCommand(
        menu, {"Act1", 3021, 3121, QKeySequence(QStringLiteral("Ctrl+Return")), "report"},
        [this] { (void)analyse(StructureCode::Unknown); }));
    QMenu* const as = menu.addMenu(Words(Sentence::kAnalyseAs, language()));
    as->menuAction()->setStatusTip(Words(Sentence::kAnalyseAsHint, language()));
    ofPages_.push_back(as->menuAction());
    for (unsigned code = 1; code < kStructureCodes; ++code) {
        const auto structure = static_cast<StructureCode>(code);
        QAction* const action = as->addAction(Words(TitleOf(structure), language()));
        action->setObjectName(QStringLiteral("Comme%1").arg(code));
        connect(action, &QAction::triggered, this, [this, structure] { (void)analyse(structure); });
    }
    ofPages_.push_back(
        &addCommand(menu, {"Act2", 3022, 3122, {}, "save"}, [this] { saveSegment(); }));
    menu.addSeparator();
    menu.addActions(resources_->commands());
}

void TMacDump::makeOptionMenu() {
    QMenu& menu = addMenu(3025, 3125, "Opt");
    const auto addChoices = [&](const char* name, int caption, auto names, auto choose) {
        QMenu* const choices = menu.addMenu(words(caption));
        choices->setObjectName(QLatin1String(name));
        choices->menuAction()->setStatusTip(words(caption + kHints).mid(1));
        auto* const group = new QActionGroup(this);
        for (std::size_t i = 0; i < names.size(); ++i) {
            const int text = caption + 1 + static_cast<int>(i);
            QAction& action = addCommand(*choices, {names[i], text, text + kHints},
                                         [choose, i] { choose(static_cast<int>(i)); });
            action.setCheckable(true);
            action.setChecked(i == 0);
            group->addAction(&action);
        }
    };
    addChoices("Aff1", 3030, std::array{"Mac1", "Win1", "Dos1"}, [this](int table) {
        setStyle({style_.base, static_cast<CharTable>(table)});
    });
    addChoices("Num1", 3035, std::array{"Dec1", "Hex1"}, [this](int base) {
        setStyle({base == 0 ? kDecimal : kHexadecimal, style_.table});
    });
    addCommand(menu, {"Co", 3026, 3126}, [this] { chooseFontSize(); });
}

int TMacDump::view() {
    const ViewedFork first = file_.firstFork();
    return first == ViewedFork::None ? kNoMore : viewFrom(first);
}

int TMacDump::viewFrom(ViewedFork fork) {
    showFork(fork);
    return exec();
}

// What runs is stopped first, as it reads what the viewer holds.
void TMacDump::reject() {
    if (window_.jobs().isRunning())
        window_.askToStop(false);
    else
        done(kNextFile);
}

// With several files selected, closing one by its own button closes them all.
void TMacDump::closeEvent(QCloseEvent* event) {
    event->ignore();
    reject();
    if (!isVisible())
        setResult(kNoMore);
}

void TMacDump::setStyle(PageStyle style) {
    style_ = style;
    resources_->setStyle(style);
    redraw();
}

void TMacDump::chooseFontSize() {
    const std::optional<int> points = AskFontSize(points_, language(), this);
    if (!points || *points == points_)
        return;
    (void)window_.state().store.write(setting::kViewerFont, std::to_string(*points));
    setPoints(*points);
    redraw();
}

void TMacDump::setPoints(int points) {
    points_ = points;
    page_->setPoints(points);
    resources_->setPoints(points);
    layout()->activate();
    resize(sizeHint().boundedTo(screen()->availableSize()));
}

void TMacDump::showProperties() {
    const DialogEnd end = ShowVolumeItem(window_, file_.item());
    if (end != DialogEnd::Written)
        return;
    KeepVolume(window_);
    const auto items = VolumeItemsOf(window_, {static_cast<std::int32_t>(file_.item().id)});
    if (!items.empty())
        file_.setItem(items.front());
    showTitle();
}

void TMacDump::print() {
    PrintLines(windowTitle(), page_->toPlainText().split(u'\n'), points_, this);
}

void TMacDump::saveSegment() {
    SegmentJob job{*bytes().source, style_, current(), last_, points_, windowTitle()};
    SaveDataSegment(window_, job, this, [this](const std::function<void(Progress&)>& work) {
        return look(current(), work);
    });
    showPanels();
}

int ViewForks(TVellmark& window, const CatalogItem& file) {
    return TMacDump(window, file).view();
}

void ViewImage(TVellmark& window) {
    (void)TMacDump(window, {}).viewFrom(ViewedFork::Image);
}

}  // namespace vellmark
