#pragma once

#include <string_view>
#include <vector>

namespace vorlen {

/// What is told of a command before there is a window that carries it out.
struct CommandInfo {
    const char* id = "";   // what it concerns and what it does, as "stack.open"; unique in its window
    const char* text = ""; // as menus show it
    const char* tip = "";  // what it does, in a line: tool tip, status tip, and the list of shortcuts
    const char* icon = ""; // a name of VRLIcons, or none
    const char* keys = ""; // as "Ctrl+R; Ctrl+Shift+Z"; unique in their window
    bool checkable = false;
    bool whileLocked = false; // usable while something is drawn or edited, in its window or in another
    bool planned = false;     // its part of the program is not there yet: it is shown and cannot be used
};

/// What separates groups of entries in a CommandMenu.
inline constexpr const char* commandSeparator = "-";

/// A menu or a part of a tool bar: ids of commands in their order, and separators.
struct CommandMenu {
    const char* title = "";
    std::vector<const char*> entries;
};

/// All commands of one kind of window, and the menus and tool bars where they stand. The registry of an open window
/// and the list of shortcuts are made from it, so that the list needs no open window.
struct CommandSheet {
    const char* window = ""; // "Main window"
    std::vector<CommandInfo> commands;
    std::vector<CommandMenu> menus;
    const char* within = ""; // the window that this is a part of: no key is in both

    /// Null when there is none.
    const CommandInfo* find(std::string_view id) const;

    /// Throws ProgramError when there is none.
    const CommandMenu& menu(std::string_view title) const;
};

} // namespace vorlen
