#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of an analysis window, and its menus.
const CommandSheet& analysisCommands();

} // namespace vorlen
