#include "ui/scenes/renderingcommands.h"

#include "ui/viewer/viewercommands.h"

namespace vorlen {

namespace {

CommandSheet newSheet() {
    CommandSheet sheet;
    sheet.window = "Rendering window";
    sheet.commands = ownRenderingCommands();
    sheet.commands.insert(sheet.commands.end(), viewerCommands().begin(), viewerCommands().end());
    sheet.menus = {
        {"Rendering", {"viewer.snapshot", "viewer.record", "rendering.export", "window.close"}},
        {"Edit", {"models.edit", "animation.timeout", "animation.angle"}},
        {"Pose", {"pose.record", "pose.select", "pose.delete", "pose.fit", commandSeparator}},
        {"Show", {"show.toolBar", "show.panel", "view.crosshair"}},
    };
    std::vector<const char*>& poses = sheet.menus[2].entries;
    poses.insert(poses.end(), viewerPoseMenu().entries.begin(), viewerPoseMenu().entries.end());
    return sheet;
}

} // namespace

const std::vector<CommandInfo>& ownRenderingCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "rendering.export",
         .text = "Export surfaces...",
         .tip = "Save the surfaces of the models as STL, OBJ, PLY, VTK or glTF"},
        {.id = "window.close", .text = "Close", .tip = "Close this window", .keys = "Ctrl+W"},
        {.id = "models.edit", .text = "Edit models...", .tip = "Create, change and delete the models of the stack"},
        {.id = "animation.timeout", .text = "Animation timeout", .tip = "Set the time between steps of the motion"},
        {.id = "animation.angle", .text = "Animation angle", .tip = "Set how far a step of the motion turns"},
        {.id = "pose.record", .text = "Record...", .tip = "Keep the present camera and lights with the stack"},
        {.id = "pose.select", .text = "Select", .tip = "Return to a recorded pose"},
        {.id = "pose.delete", .text = "Delete", .tip = "Forget a recorded pose"},
        {.id = "show.toolBar", .text = "Tool bar", .tip = "Show or hide the tool bar", .checkable = true},
        {.id = "view.crosshair",
         .text = "Crosshair",
         .tip = "Show the same place in all windows of the stack; a click on a surface sets it",
         .keys = "P",
         .checkable = true},
        {.id = "show.panel", .text = "Pose panel", .tip = "Show or hide the pose panel", .checkable = true},
    };
    return commands;
}

const CommandSheet& renderingCommands() {
    static const CommandSheet sheet = newSheet();
    return sheet;
}

} // namespace vorlen
