#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of a rendering window beside those of its viewer.
const std::vector<CommandInfo>& ownRenderingCommands();

/// All commands of a rendering window, and its menus.
const CommandSheet& renderingCommands();

} // namespace vorlen
