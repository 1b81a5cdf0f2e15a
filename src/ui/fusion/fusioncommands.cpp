#include "ui/fusion/fusioncommands.h"

#include "ui/viewer/viewercommands.h"

namespace vorlen {

namespace {

CommandSheet newSheet() {
    CommandSheet sheet;
    sheet.window = "Normalization window";
    sheet.commands = ownFusionCommands();
    sheet.commands.insert(sheet.commands.end(), viewerCommands().begin(), viewerCommands().end());
    std::vector<const char*> entries = {"fusion.new", "fusion.cancel", "fusion.summary", "fusion.export",
                                        "fusion.compare"};
    entries.insert(entries.end(), viewerFileMenu().entries.begin(), viewerFileMenu().entries.end());
    for (const char* entry : {commandSeparator, "window.new", "window.close"})
        entries.push_back(entry);
    sheet.menus = {{"Normalize", entries},
                   {"Pose", viewerPoseMenu().entries},
                   {"View", {"show.panel", "show.table", "show.attributes", commandSeparator, "fusion.variation"}}};
    return sheet;
}

} // namespace

const std::vector<CommandInfo>& ownFusionCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "fusion.new", .text = "Normalization...", .tip = "Bring stacks into one space and average them"},
        {.id = "fusion.cancel", .text = "Cancel", .tip = "Stop the normalization that runs", .keys = "Esc"},
        {.id = "fusion.summary", .text = "Summary", .tip = "Show what was done, and the errors"},
        {.id = "fusion.export", .text = "Export results...", .tip = "Save all shapes of the table in a folder"},
        {.id = "fusion.compare",
         .text = "Compare groups...",
         .tip = "Tell where the points of groups of these specimens differ"},
        {.id = "window.new", .text = "New window", .tip = "Open another window with the same configuration"},
        {.id = "window.close", .text = "Close window", .tip = "Close this window", .keys = "Ctrl+W"},
        {.id = "show.panel", .text = "Pose panel", .tip = "Show or hide the pose panel", .checkable = true},
        {.id = "show.table", .text = "Shape table", .tip = "Show or hide the table of shapes", .checkable = true},
        {.id = "show.attributes",
         .text = "Attribute panel",
         .tip = "Show or hide the attributes of the selected shapes",
         .checkable = true},
        {.id = "fusion.variation",
         .text = "Variation on the mean",
         .tip = "Colour the mean surfaces by the standard deviation of the specimens about them",
         .checkable = true},
    };
    return commands;
}

const CommandSheet& fusionCommands() {
    static const CommandSheet sheet = newSheet();
    return sheet;
}

} // namespace vorlen
