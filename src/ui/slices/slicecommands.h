#pragma once

#include <vector>

#include "ui/commands/commandsheet.h"

namespace vorlen {

/// The commands of the view of an image, and of what is shown of a slice.
const std::vector<CommandInfo>& imageViewCommands();
const std::vector<CommandInfo>& sliceModeCommands();

/// All commands of the slice editor, with those of the tools.
const CommandSheet& sliceEditorCommands();

} // namespace vorlen
