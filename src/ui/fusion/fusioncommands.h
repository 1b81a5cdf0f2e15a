#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of a normalization window but for those of its viewer.
const std::vector<CommandInfo>& ownFusionCommands();

/// All of them, and the window's menus.
const CommandSheet& fusionCommands();

} // namespace vorlen
