#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of a root window, its menus and the parts of its tool bar.
const CommandSheet& rootCommands();

} // namespace vorlen
