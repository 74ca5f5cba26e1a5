#include "workbench/commands/command_bar.hpp"

#include <QActionGroup>
#include <QMainWindow>
#include <QMenuBar>
#include <QSet>
#include <QStyle>
#include <algorithm>

#include "support/encoding.hpp"
#include "workbench/drawing/pictures.hpp"
#include "workbench/messages/words.hpp"

namespace vellmark {

namespace {

constexpr int kTextAbort = 2098;
constexpr int kTextDisplay = 2052;
constexpr int kTextOpenFolder = 2056;
constexpr int kTextOpenFolderHint = 2256;

constexpr std::string_view kSeparator = "-";
constexpr std::string_view kRecent = "recent";
// By working mode.
constexpr std::string_view kRecentMenus[] = {"Reop1", "Reop2", "Re1"};

/// Pictures of commands: by the number of their caption.
struct CaptionPicture {
    int caption;
    const char* picture;
};
constexpr CaptionPicture kPictures[] = {
    {2001, "new"},        {2016, "new"},        {2031, "new"},        {2002, "open"},
    {2017, "open"},       {2032, "open"},       {2003, "save"},       {2018, "save"},
    {2033, "save"},       {2007, "close"},      {2024, "close"},      {2035, "close"},
    {2009, "properties"}, {2023, "properties"}, {2037, "properties"}, {2005, "compile"},
    {2036, "compile"},    {2011, "print"},      {2026, "print"},      {2041, "print"},
    {2046, "delete"},     {2047, "rename"},     {2048, "properties"}, {2049, "copy-out"},
    {2050, "copy-in"},    {2051, "new-folder"}, {2053, "properties"}, {2054, "search"},
    {2063, "refresh"},    {2064, "refresh"},    {2088, "swap"},       {2103, "help"},
    {2314, "parent"},     {2321, "wizard"},     {1270, "view-iso"},   {1271, "view-hybrid"},
    {1272, "view-hfs"},
};

constexpr const char* kViewPictures[] = {"view-iso", "view-hybrid", "view-hfs"};

const char* PictureOf(int caption) {
    const auto row =
        std::find_if(std::begin(kPictures), std::end(kPictures),
                     [caption](const CaptionPicture& each) { return each.caption == caption; });
    return row == std::end(kPictures) ? nullptr : row->picture;
}

QByteArray Key(std::string_view name) {
    return {name.data(), static_cast<qsizetype>(name.size())};
}

bool IsOfMode(std::string_view modes, FileMode mode) {
    return mode != FileMode::Unknown &&
           modes.find("PVI"[static_cast<int>(mode)]) != std::string_view::npos;
}

// The letter behind the first single `&`, 0 for none.
QChar KeyOf(const QString& caption) {
    for (qsizetype i = 0; i + 1 < caption.size(); ++i)
        if (caption[i] == u'&') {
            if (caption[i + 1] != u'&')
                return caption[i + 1].toUpper();
            ++i;
        }
    return {};
}

}  // namespace

void GiveKeys(QWidget& menu) {
    QSet<QChar> taken;
    for (const QAction* action : menu.actions())
        if (const QChar key = KeyOf(action->text()); !key.isNull())
            taken.insert(key);
    for (QAction* action : menu.actions()) {
        const QString caption = action->text();
        if (action->isSeparator() || !KeyOf(caption).isNull())
            continue;
        for (qsizetype i = 0; i < caption.size(); ++i)
            if (caption[i].isLetterOrNumber() && !taken.contains(caption[i].toUpper())) {
                taken.insert(caption[i].toUpper());
                action->setText(caption.left(i) + u'&' + caption.mid(i));
                break;
            }
    }
}

CommandBar::CommandBar(QMainWindow& window, TVellmark& commands) : window_(window) {
    makeActions(commands);
    for (const CommandMenu& sub : SubMenus())
        makeMenu(sub);
    for (const CommandMenu& menu : MenuBar())
        window.menuBar()->addMenu(makeMenu(menu));
    for (const bool isList : {true, false})
        for (const FileMode mode : {FileMode::Project, FileMode::Partition, FileMode::IsoPlus})
            makeMenu(ContextMenu(mode, isList));
    for (const CommandMenu& rows : ToolBars()) {
        auto* bar = new QToolBar(&window);
        bar->setObjectName(QLatin1String(Key(rows.name)));
        bar->setMovable(false);
        for (const std::string_view name : rows.items)
            bar->addAction(&action(name));
        window.addToolBar(bar);
        toolBars_.push_back(bar);
    }
    // One of each is chosen, and shown so.
    for (const std::string_view name : {"Proj1", "Maff1", "Mod", "Langue1"}) {
        auto* const choices = new QActionGroup(&window);
        for (QAction* const each : menu(name).actions())
            if (each->isCheckable())
                choices->addAction(each);
    }
    // Without a menu of its own, for the key alone.
    window.addAction(&action("F5"));
}

void CommandBar::makeActions(TVellmark& commands) {
    for (const CommandRow& row : CommandRows()) {
        auto* action = new QAction(&window_);
        action->setObjectName(QLatin1String(Key(row.name)));
        action->setShortcut(QKeySequence(QLatin1String(row.shortcut)));
        action->setCheckable(row.isChecked != nullptr);
        if (row.run)
            QObject::connect(action, &QAction::triggered, &window_,
                             [&commands, run = row.run] { run(commands); });
        actions_.insert(Key(row.name), action);
    }
}

QMenu* CommandBar::makeMenu(const CommandMenu& rows) {
    auto* menu = new QMenu(&window_);
    menu->setObjectName(QLatin1String(Key(rows.name)));
    menus_.insert(Key(rows.name), menu);
    fill(*menu, rows);
    QObject::connect(menu, &QMenu::aboutToShow, &window_, [this] { beforeShowing_(); });
    return menu;
}

void CommandBar::fill(QMenu& menu, const CommandMenu& rows) {
    for (const std::string_view name : rows.items) {
        if (name == kSeparator)
            menu.addSeparator();
        else if (QMenu* const sub = menus_.value(Key(name)))
            menu.addMenu(sub);
        else if (name != kRecent)
            menu.addAction(&action(name));
    }
}

QAction& CommandBar::action(std::string_view name) const {
    return *actions_.value(Key(name));
}

QMenu& CommandBar::menu(std::string_view name) const {
    return *menus_.value(Key(name));
}

QToolBar& CommandBar::toolBar(FileMode mode) const {
    return *toolBars_[static_cast<std::size_t>(std::max(0, static_cast<int>(mode)))];
}

QString CommandBar::captionOf(const CommandRow& row, bool isAbort) const {
    return Words(isAbort && row.rule == SessionCommand::Compile ? kTextAbort : row.caption,
                 language_);
}

void CommandBar::setLanguage(Language language) {
    language_ = language;
    for (const CommandRow& row : CommandRows()) {
        QAction& each = action(row.name);
        each.setText(captionOf(row, false));
        const QString hint = Words(row.hint, language);
        each.setStatusTip(hint.startsWith(u'.') ? hint.mid(1) : QString());
        each.setToolTip(hint.startsWith(u'.') || hint.isEmpty() ? captionOf(row, false).remove(u'&')
                                                                : hint);
    }
    for (const auto& rows : {MenuBar(), SubMenus()})
        for (const CommandMenu& each : rows) {
            menu(each.name).setTitle(Words(each.caption, language));
            menu(each.name).menuAction()->setStatusTip(Words(each.hint, language).mid(1));
        }
    for (QMenu* const each : std::as_const(menus_))
        GiveKeys(*each);
    GiveKeys(*window_.menuBar());
}

void CommandBar::setDark(bool isDark) {
    for (const CommandRow& row : CommandRows())
        if (const char* const picture = PictureOf(row.caption))
            action(row.name).setIcon(ToolIcon(QLatin1String(picture), isDark));
}

bool CommandBar::isEnabled(const CommandRow& row, const CommandState& state) const {
    if (!row.run)
        return false;
    const bool isAbort = state.isCompiling && row.rule == SessionCommand::Compile;
    if (isAbort)
        return true;
    if ((row.needs & kNeedsQuiet) != 0 && state.isBusy)
        return false;
    // What is open is not to be looked at now.
    if (!state.documents)
        return !row.rule && (row.needs & kNeedsRows) == 0;
    const bool lacks = ((row.needs & kNeedsItem) != 0 && !state.hasItem) ||
                       ((row.needs & kNeedsAnything) != 0 && !state.hasAnything) ||
                       ((row.needs & kNeedsListItem) != 0 && !state.hasListSelection) ||
                       ((row.needs & kNeedsPaste) != 0 && !state.hasPaste) ||
                       ((row.needs & kNeedsPlain) != 0 && !state.isJoinable);
    return !lacks && (!row.rule || MayDo(*state.documents, *row.rule));
}

void CommandBar::update(const CommandState& state, FileMode mode, const TVellmark& window) {
    mode_ = mode;
    for (const CommandRow& row : CommandRows()) {
        QAction& each = action(row.name);
        const bool isShown = IsOfMode(row.modes, mode);
        each.setVisible(isShown);
        each.setEnabled(isShown && isEnabled(row, state));
        if (row.isChecked && state.documents)
            each.setChecked(row.isChecked(window));
        if (row.rule == SessionCommand::Compile)
            each.setText(captionOf(row, state.isCompiling));
    }
    for (const auto& rows : {MenuBar(), SubMenus()})
        for (const CommandMenu& each : rows)
            menu(each.name).menuAction()->setVisible(IsOfMode(each.modes, mode));
    if (mode != FileMode::Unknown)
        menu(kRecentMenus[static_cast<std::size_t>(mode)]).setEnabled(hasRecent_ && !state.isBusy);
    // Many have no such program.
    action("EdIcon").setVisible(state.hasIconComposer);
    // Files are displayed, folders opened.
    QAction& display = action("AffPart");
    display.setText(Words(state.isFolderSelected ? kTextOpenFolder : kTextDisplay, language_));
    display.setStatusTip(
        Words(state.isFolderSelected ? kTextOpenFolderHint : RowNamed("AffPart").hint, language_)
            .mid(1));
    if (state.documents)
        action("ModeVue").setIcon(
            ToolIcon(QLatin1String(kViewPictures[static_cast<int>(state.documents->view)]),
                     window_.palette().window().color().lightness() < 128));
    for (const std::string_view name : {"Projets1", "Partitions1", "IsoPlus1", "PopPart"})
        GiveKeys(menu(name));
}

void CommandBar::setRecentFiles(FileMode mode, const std::vector<std::string>& paths) {
    if (mode == FileMode::Unknown)
        return;
    QMenu& recent = menu(kRecentMenus[static_cast<std::size_t>(mode)]);
    recent.clear();
    for (std::size_t i = 0; i < paths.size(); ++i) {
        // A name with an ampersand in it has no key there.
        QString shown = ToQString(Printable(paths[i]));
        shown.replace(u'&', QStringLiteral("&&"));
        QAction* const each = recent.addAction(QStringLiteral("&%1. %2").arg(i + 1).arg(shown));
        // Opening it makes this menu anew, which is done with the row before.
        QObject::connect(
            each, &QAction::triggered, &window_, [this, path = paths[i]] { openRecent_(path); },
            Qt::QueuedConnection);
    }
    hasRecent_ = !paths.empty();
    recent.setEnabled(hasRecent_);
}

void CommandBar::setToolBarHidden(FileMode mode, bool isHidden) {
    for (std::size_t i = 0; i < toolBars_.size(); ++i)
        toolBars_[i]->setVisible(!isHidden && static_cast<std::size_t>(mode) == i);
}

}  // namespace vellmark
