#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of a window that compares groups, but those of its viewer.
const std::vector<CommandInfo>& ownComparisonCommands();

/// All commands of the window and its menus.
const CommandSheet& comparisonCommands();

} // namespace vorlen
