// Every command of the window as a row: what it is called, when it may be given, what it does.
// Menus, tool bars and context menus are lists of the names of rows.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "session/session_commands.hpp"

namespace vellmark {

class TVellmark;

/// What a command needs beside what `MayDo` says of its rule.
enum CommandNeed : unsigned {
    kNeedsItem = 1,       ///< something selected on the side that has the focus, the root not
    kNeedsListItem = 2,   ///< something selected in the list
    kNeedsPaste = 4,      ///< files in the clipboard
    kNeedsQuiet = 8,      ///< no job runs
    kNeedsAnything = 16,  ///< a selection, be it the root
    kNeedsRows = 32,      ///< what is open can be looked at
    kNeedsPlain = 64,     ///< an image that can be joined
};

struct CommandRow {
    std::string_view name;  ///< its identity
    int caption = 0;        ///< number of a text
    int hint = 0;           ///< number of a text, 0 for none; one that begins with "." goes to the
                            ///< status bar alone
    const char* shortcut = "";
    std::string_view modes;  ///< where it is shown: P Project, V Partition, I ISO+
    std::optional<SessionCommand> rule = {};
    unsigned needs = 0;
    void (*run)(TVellmark& window) = nullptr;  ///< null: it only stands there
    bool (*isChecked)(const TVellmark& window) = nullptr;
};

/// All rows. Names stand once.
[[nodiscard]] std::span<const CommandRow> CommandRows();
/// The row of a name, which there is.
[[nodiscard]] const CommandRow& RowNamed(std::string_view name);

/// A menu, a tool bar or a context menu.
struct CommandMenu {
    std::string_view name;
    int caption = 0;  ///< number of a text; 0 for those without one
    int hint = 0;
    std::string_view modes;
    /// Names of rows and of menus within; "-" is a separator, "recent" the recent files.
    std::span<const std::string_view> items;
};

/// The menus of the bar, in their order.
[[nodiscard]] std::span<const CommandMenu> MenuBar();
/// Menus within menus.
[[nodiscard]] std::span<const CommandMenu> SubMenus();
[[nodiscard]] std::span<const CommandMenu> ToolBars();
/// Those of the list, one a mode, then those of the tree.
[[nodiscard]] const CommandMenu& ContextMenu(FileMode mode, bool isList);

}  // namespace vellmark
