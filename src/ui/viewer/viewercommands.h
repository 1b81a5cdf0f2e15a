#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of a viewer, for the sheets of the windows that hold one.
const std::vector<CommandInfo>& viewerCommands();

/// Entries for the menus of such a window.
const CommandMenu& viewerFileMenu();
const CommandMenu& viewerPoseMenu();

} // namespace vorlen
