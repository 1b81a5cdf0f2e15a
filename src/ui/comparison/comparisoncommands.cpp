#include "ui/comparison/comparisoncommands.h"

#include "ui/viewer/viewercommands.h"

namespace vorlen {

namespace {

CommandSheet newSheet() {
    CommandSheet sheet;
    sheet.window = "Comparison window";
    sheet.commands = ownComparisonCommands();
    sheet.commands.insert(sheet.commands.end(), viewerCommands().begin(), viewerCommands().end());
    std::vector<const char*> entries = {"comparison.new", "comparison.cancel", "comparison.save"};
    entries.insert(entries.end(), viewerFileMenu().entries.begin(), viewerFileMenu().entries.end());
    entries.insert(entries.end(), {commandSeparator, "window.close"});
    sheet.menus = {{"Compare", entries}, {"Pose", viewerPoseMenu().entries}, {"View", {"show.panel"}}};
    return sheet;
}

} // namespace

const std::vector<CommandInfo>& ownComparisonCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "comparison.new", .text = "Comparison...", .tip = "Choose groups of specimens and compare them"},
        {.id = "comparison.cancel", .text = "Cancel", .tip = "Stop the comparison that runs", .keys = "Esc"},
        {.id = "comparison.save",
         .text = "Save results...",
         .tip = "Write the maps, the surface and the summary, as vorlen-cli compare does",
         .keys = "Ctrl+S"},
        {.id = "window.close", .text = "Close window", .tip = "Close this window", .keys = "Ctrl+W"},
        {.id = "show.panel", .text = "Pose panel", .tip = "Show or hide the pose panel", .checkable = true},
    };
    return commands;
}

const CommandSheet& comparisonCommands() {
    static const CommandSheet sheet = newSheet();
    return sheet;
}

} // namespace vorlen
