#pragma once

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of a registration window and its menus. Those that nudge the slice go by their keys while the picture
/// has the focus.
const CommandSheet& registrationCommands();

} // namespace vorlen
