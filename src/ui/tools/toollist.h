#pragma once

#include <functional>
#include <vector>

#include <QString>

#include "ui/commands/commandsheet.h"

namespace vorlen {

class Model;
class StackSliceSelectionInfo;
class ToolHost;
class VRLSliceEditWidgetMediatorDelegate;

/// Where a command of a tool stands: in a submenu of the context menu, in the context menu itself, or in none.
enum class ToolMenu { Draw, Edit, Top, None };

QString toolMenuTitle(ToolMenu menu);
bool isToolMenuEnabled(ToolMenu menu, const StackSliceSelectionInfo& selected);

/// Which models a command offers to choose from, as a submenu.
enum class ToolModels { None, OfSlice, OfStack, Polygons };

/// A command of the slice editor, carried out by a tool.
struct ToolCommand {
    using Tool = VRLSliceEditWidgetMediatorDelegate;
    using ToolMaker = Tool* (*)(ToolHost& host);
    using Enabled = bool (*)(const StackSliceSelectionInfo& selected);

    CommandInfo info; // its keys act while the canvas has the keyboard
    ToolMenu menu;
    Enabled isEnabled;
    /// Makes the tool. Commands of one maker share the tool.
    ToolMaker make;
    /// Carries the command out, for the model of this name where the command offers models.
    std::function<void(Tool& tool, const QString& model)> start = {};
    ToolModels models = ToolModels::None;
    /// Whether the model can be chosen; all of them where there is no such rule.
    std::function<bool(const Model& model, const StackSliceSelectionInfo& selected)> offers = {};
    /// Whether what is selected is deselected first.
    bool deselects = false;
    /// Whether the tool stays on: it is made the one that has the canvas while no other runs.
    bool stays = false;
};

/// The commands of all tools, in the order of the menus.
const std::vector<ToolCommand>& toolCommands();

/// What ends whatever tool runs.
const CommandInfo& cancelToolCommand();

/// The id of the command that brings the tool back that selects.
inline constexpr const char* selectingToolId = "tool.select";

/// The maker of the tool that has the canvas while no other runs.
ToolCommand::ToolMaker restingToolMaker();

} // namespace vorlen
