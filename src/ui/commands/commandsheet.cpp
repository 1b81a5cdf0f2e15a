#include "ui/commands/commandsheet.h"

#include <string>

#include "numerics/exception.h"

namespace vorlen {

const CommandInfo* CommandSheet::find(std::string_view id) const {
    for (const CommandInfo& info : commands)
        if (info.id == id)
            return &info;
    return nullptr;
}

const CommandMenu& CommandSheet::menu(std::string_view title) const {
    for (const CommandMenu& menu : menus)
        if (menu.title == title)
            return menu;
    throw ProgramError("const CommandMenu& CommandSheet::menu(std::string_view) const",
                       "There is no menu \"" + std::string(title) + "\"");
}

} // namespace vorlen
