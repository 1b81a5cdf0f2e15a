#include "ui/slices/slicecommands.h"

#include "ui/tools/toollist.h"
#include "ui/tools/vrlsliceeditwidgetmediatoreditiondelegate.h"

namespace vorlen {

namespace {

std::vector<const char*> idsOf(const std::vector<CommandInfo>& commands) {
    std::vector<const char*> ids;
    ids.reserve(commands.size());
    for (const CommandInfo& command : commands)
        ids.push_back(command.id);
    return ids;
}

/// The commands of the tools by the menus where they stand. Those of no menu go by their keys alone.
std::vector<CommandMenu> toolCommandMenus() {
    std::vector<CommandMenu> menus = {{"Tools", {}}, {"Draw", {}}, {"Edit", {}}, {"Selection", {}}};
    for (const ToolCommand& command : toolCommands()) {
        const bool isTool = command.stays || command.menu == ToolMenu::None;
        const int place = command.menu == ToolMenu::Draw ? 1 : command.menu == ToolMenu::Edit ? 2 : isTool ? 0 : 3;
        menus[static_cast<std::size_t>(place)].entries.push_back(command.info.id);
    }
    return menus;
}

CommandSheet newSheet() {
    CommandSheet sheet;
    sheet.window = "Slice editor";
    sheet.menus = toolCommandMenus();
    for (const ToolCommand& command : toolCommands())
        sheet.commands.push_back(command.info);
    sheet.commands.push_back(cancelToolCommand());
    sheet.menus.back().entries.push_back(cancelToolCommand().id);
    const std::pair<const char*, const std::vector<CommandInfo>&> others[] = {
        {"While points are edited", pointEditionCommands()},
        {"View", imageViewCommands()},
        {"Show", sliceModeCommands()},
    };
    for (const auto& [title, commands] : others) {
        sheet.menus.push_back({title, idsOf(commands)});
        sheet.commands.insert(sheet.commands.end(), commands.begin(), commands.end());
    }
    return sheet;
}

} // namespace

const std::vector<CommandInfo>& imageViewCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "zoom.in", .text = "Zoom in", .tip = "Enlarge the image", .icon = "zoomin", .keys = "+"},
        {.id = "zoom.out", .text = "Zoom out", .tip = "Show more of the image", .icon = "zoomout", .keys = "-"},
        {.id = "zoom.fit", .text = "Best fit", .tip = "Show the whole image", .icon = "zoomfit", .keys = "="},
        {.id = "page.up", .text = "Scroll up", .tip = "Up by a third of the view", .icon = "panUp", .keys = "Ctrl+Up"},
        {.id = "page.down",
         .text = "Scroll down",
         .tip = "Down by a third of the view",
         .icon = "panDown",
         .keys = "Ctrl+Down"},
        {.id = "page.right",
         .text = "Scroll right",
         .tip = "Right by a third of the view",
         .icon = "panRight",
         .keys = "Ctrl+Right"},
        {.id = "page.left",
         .text = "Scroll left",
         .tip = "Left by a third of the view",
         .icon = "panLeft",
         .keys = "Ctrl+Left"},
        {.id = "step.up", .text = "[stepUp]", .tip = "Up by a pixel", .keys = "Up"},
        {.id = "step.down", .text = "[stepDown]", .tip = "Down by a pixel", .keys = "Down"},
        {.id = "step.right", .text = "[stepRight]", .tip = "Right by a pixel", .keys = "Right"},
        {.id = "step.left", .text = "[stepLeft]", .tip = "Left by a pixel", .keys = "Left"},
        {.id = "view.center", .text = "[Center]", .tip = "Bring what is under the pointer to the centre", .keys = "C"},
    };
    return commands;
}

const std::vector<CommandInfo>& sliceModeCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "show.images",
         .text = "Display images only",
         .tip = "Hide the outlines and points",
         .icon = "modebg",
         .checkable = true},
        {.id = "show.items",
         .text = "Display items only",
         .tip = "Hide the images",
         .icon = "modefg",
         .checkable = true},
        {.id = "show.all",
         .text = "Display images and items",
         .tip = "Show outlines and points over the images",
         .icon = "modebgfg",
         .checkable = true},
    };
    return commands;
}

const CommandSheet& sliceEditorCommands() {
    static const CommandSheet sheet = newSheet();
    return sheet;
}

} // namespace vorlen
