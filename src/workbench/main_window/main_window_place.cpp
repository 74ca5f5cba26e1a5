// Where the window stands, how wide its parts are, and the settings that it keeps.
#include <QGuiApplication>
#include <QHeaderView>
#include <QScreen>
#include <QScrollBar>
#include <QSplitter>
#include <QStyle>
#include <QTreeView>

#include "workbench/main_window/main_window.hpp"

namespace vellmark {

namespace {

// The default widths are pixels of a font of which a character is that wide.
constexpr int kUsualCharacterWidth = 6;

int InFont(const QWidget& widget, int width) {
    return width * std::max(widget.fontMetrics().averageCharWidth(), kUsualCharacterWidth) /
           kUsualCharacterWidth;
}

// Of a column whose width nobody chose: no size and no date is cut.
int UsualWidth(const QTreeView& list, int column) {
    constexpr const char* kLongest[kColumnCount] = {"",
                                                    "A sequence of QuickTime",
                                                    "1,023.9 MB --",
                                                    "1,023.9 MB --",
                                                    "00/00/0000  00:00",
                                                    "00/00/0000  00:00",
                                                    ""};
    const int margin = list.style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &list) + 1;
    const int needed =
        list.fontMetrics().horizontalAdvance(QLatin1String(kLongest[column])) + 4 * margin;
    return std::max(InFont(list, kDefaultColumnWidths[static_cast<std::size_t>(column)]), needed);
}

// Room for names of folders that are not long.
int UsualTreeWidth(const QTreeView& list) {
    return InFont(list, WindowPlace().treeWidth) * 3 / 2;
}

// The window of a first start shows all columns where the screen has room for them.
WindowPlace UsualPlace(const QTreeView& list, const QSize& screen) {
    WindowPlace place;
    const WindowPlace usual;
    place.treeWidth = UsualTreeWidth(list);
    place.width = place.treeWidth + list.verticalScrollBar()->sizeHint().width() * 2;
    for (int column = 0; column < kColumnCount; ++column)
        place.width += UsualWidth(list, column);
    place.width = std::min(place.width, screen.width() - 2 * usual.left);
    place.height =
        std::min(place.width * usual.height / usual.width, screen.height() - 2 * usual.top);
    return place;
}

}  // namespace

void TVellmark::restorePlace() {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    const Settings& settings = state().settings;
    const WindowPlace place =
        settings.window == WindowPlace() ? UsualPlace(*list_, screen.size()) : settings.window;
    resize(place.width, place.height);
    if (screen.contains(QPoint(place.left, place.top)))
        move(place.left, place.top);
    const PaneWidths usual = usualWidths();
    PaneWidths widths{settings.columns, place.treeWidth};
    // What nobody changed follows the font.
    if (widths.tree == WindowPlace().treeWidth)
        widths.tree = usual.tree;
    for (std::size_t column = 0; column < widths.columns.size(); ++column)
        if (widths.columns[column] == kDefaultColumnWidths[column])
            widths.columns[column] = usual.columns[column];
    showWidths(widths);
}

void TVellmark::keepPlace() {
    Settings& settings = state().settings;
    const QRect place = isMaximized() ? normalGeometry() : geometry();
    const QPoint corner = isMaximized() ? place.topLeft() : pos();
    const PaneWidths usual = usualWidths();
    PaneWidths now = widths();
    if (now.tree == usual.tree)
        now.tree = WindowPlace().treeWidth;
    for (std::size_t column = 0; column < now.columns.size(); ++column)
        if (now.columns[column] == usual.columns[column])
            now.columns[column] = kDefaultColumnWidths[column];
    settings.window = {corner.x(), corner.y(), place.width(), place.height(), now.tree};
    settings.columns = now.columns;
}

PaneWidths TVellmark::usualWidths() const {
    PaneWidths usual;
    for (int column = 0; column < kColumnCount; ++column)
        usual.columns[static_cast<std::size_t>(column)] = UsualWidth(*list_, column);
    usual.tree = UsualTreeWidth(*list_);
    return usual;
}

PaneWidths TVellmark::widths() const {
    PaneWidths now;
    for (int column = 0; column < kColumnCount; ++column)
        now.columns[static_cast<std::size_t>(column)] =
            list_->isColumnHidden(column) ? 0 : list_->columnWidth(column);
    now.tree = panes_->widget(0)->isHidden() ? 0 : panes_->sizes().first();
    // A tree that was pushed aside is one to be pulled out again, and not one without a handle.
    if (now.tree == 0 && !panes_->widget(0)->isHidden())
        now.tree = context_.session->settings.window.treeWidth;
    return now;
}

void TVellmark::showWidths(const PaneWidths& widths) {
    panes_->setSizes({widths.tree, std::max(1, width() - widths.tree)});
    panes_->widget(0)->setVisible(widths.tree > 0);
    for (int column = 0; column < kColumnCount; ++column) {
        const int wanted = widths.columns[static_cast<std::size_t>(column)];
        list_->setColumnHidden(column, wanted == 0);
        list_->setColumnWidth(column, wanted);
    }
}

void TVellmark::setWidths(const PaneWidths& wanted) {
    showWidths(wanted);
    keepSettings();
}

void TVellmark::applySettings(const Settings& wanted) {
    const Settings before = std::exchange(state().settings, wanted);
    if (before.has(kVlShortenNames) != wanted.has(kVlShortenNames)) {
        const bool shortens = wanted.has(kVlShortenNames);
        answers_.names = {shortens, shortens, shortens};
    }
    if (before.has(kOptionHideToolBar) != wanted.has(kOptionHideToolBar))
        setToolBarHidden(wanted.has(kOptionHideToolBar));
    keepSettings();
    showGauge();
    if (documents().isOpen())
        showDocument();
}

void TVellmark::keepSettings() {
    keepPlace();
    SaveSettings(state().settings, documents().mode, state().store);
}

}  // namespace vellmark
