#include "ui/app/rootcommands.h"

namespace vorlen {

namespace {

std::vector<CommandInfo> fileCommands() {
    return {
        {.id = "stack.new",
         .text = "New stack",
         .tip = "Make a stack of section images",
         .icon = "filenew",
         .keys = "Ctrl+N"},
        {.id = "stack.newFromFile",
         .text = "New stack from file",
         .tip = "Make a stack of the planes of a voxel matrix file"},
        {.id = "stack.open",
         .text = "Open stack",
         .tip = "Open stack description files",
         .icon = "fileopen",
         .keys = "Ctrl+O"},
        {.id = "stack.recent", .text = "Recent stacks...", .tip = "Open one of the stacks that were open lately"},
        {.id = "stack.save",
         .text = "Save stack",
         .tip = "Save the current stack to its file",
         .icon = "filesave",
         .keys = "Ctrl+S"},
        {.id = "stack.saveAs", .text = "Save stack as...", .tip = "Save the current stack to another file"},
        {.id = "stack.close",
         .text = "Close stack",
         .tip = "Close the current stack",
         .icon = "fileclose",
         .keys = "Ctrl+W"},
        {.id = "stack.closeAll", .text = "Close all", .tip = "Close all stacks"},
        {.id = "window.new", .text = "New window", .tip = "Open another window on the same stacks"},
        {.id = "window.close", .text = "Close window", .tip = "Close this window", .keys = "Ctrl+Shift+W"},
        {.id = "program.quit", .text = "Quit", .tip = "Close all stacks and quit", .keys = "Ctrl+Q"},
    };
}

std::vector<CommandInfo> editCommands() {
    return {
        // The usual key for redo, beside ours.
        {.id = "edit.undo",
         .text = "Undo",
         .tip = "Take back the last change of the stack",
         .icon = "undo",
         .keys = "Ctrl+Z"},
        {.id = "edit.redo",
         .text = "Redo",
         .tip = "Do again what was taken back",
         .icon = "redo",
         .keys = "Ctrl+R; Ctrl+Shift+Z"},
        {.id = "edit.clearHistory",
         .text = "Clear undo history",
         .tip = "Forget what was done to the stack: it can't be undone any more, also when it is opened again"},
        {.id = "models.edit", .text = "Edit models...", .tip = "Create, change and delete the models of the stack"},
        {.id = "model.new",
         .text = "New model",
         .tip = "Make a model, and draw with it from here on",
         .keys = "Ctrl+Shift+N"},
        {.id = "model.rename", .text = "Rename model", .tip = "Give the current model another name"},
        {.id = "model.colour", .text = "Colour of model...", .tip = "Give the current model another colour"},
        {.id = "slice.insert", .text = "Insert slice...", .tip = "Put slices in front of the current one"},
        {.id = "slice.delete",
         .text = "Delete slice",
         .tip = "Take the current slice, with what is drawn on it, out of the stack"},
        {.id = "stack.findImages",
         .text = "Find images...",
         .tip = "Name the folder where the images are that the stack has lost"},
        {.id = "stack.properties",
         .text = "Stack properties...",
         .tip = "Name, unit, slice spacing and pixel size of the stack"},
        {.id = "slice.properties", .text = "Slice properties...", .tip = "Name, spacing and pixel size of the slice"},
        {.id = "stack.annotate", .text = "Annotate stack...", .tip = "Note on the stack", .icon = "text"},
        {.id = "slice.annotate", .text = "Annotate slice...", .tip = "Note on the slice", .icon = "text"},
        {.id = "program.preferences", .text = "Preferences...", .tip = "Backups, click tolerance, colours"},
    };
}

std::vector<CommandInfo> processAndAnalyzeCommands() {
    return {
        {.id = "stack.register", .text = "Register", .tip = "Align the slices of the stack", .icon = "registration"},
        {.id = "stack.reconstruct",
         .text = "Reconstruct",
         .tip = "The models of the stack in space",
         .icon = "threedimensions"},
        {.id = "models.transfer", .text = "Transfer models...", .tip = "Copy models between stacks"},
        {.id = "stack.findSpots",
         .text = "Find spots",
         .tip = "Look for bright spots in the images of the stack, in space, and make models of them"},
        {.id = "stacks.normalize", .text = "Normalize", .tip = "Bring several stacks into one space and average them"},
        {.id = "groups.compare",
         .text = "Compare groups",
         .tip = "Tell where groups of specimens differ, with the p of each place"},
        {.id = "models.filter",
         .text = "Filter models...",
         .tip = "Remove from models what lies outside of a reference model"},
        {.id = "stack.measure",
         .text = "Run",
         .tip = "Measure the models, items and slices of the stack",
         .keys = "Ctrl+M"},
        {.id = "stacks.spotDistances",
         .text = "Ombrel action1",
         .tip = "Distances of spots to the surface of a cell, for each open stack",
         .whileLocked = true},
    };
}

std::vector<CommandInfo> viewCommands() {
    return {
        {.id = "view.panorama",
         .text = "Display stack panorama",
         .tip = "All slices of the stack at once",
         .icon = "panorama",
         .checkable = true},
        {.id = "view.slice",
         .text = "Display single slice",
         .tip = "The current slice alone",
         .icon = "plainview",
         .checkable = true},
        {.id = "view.overview",
         .text = "Display overview",
         .tip = "The whole slice in a small window",
         .icon = "overview",
         .keys = "V",
         .checkable = true},
        {.id = "view.contrast",
         .text = "Contrast...",
         .tip = "Histogram of the slice, and the values shown as black and as white",
         .whileLocked = true},
        {.id = "slice.first", .text = "Select first slice", .tip = "First slice", .icon = "bottom", .keys = "Home"},
        {.id = "slice.previous",
         .text = "Select previous slice",
         .tip = "Previous slice",
         .icon = "down",
         .keys = "PgDown"},
        {.id = "slice.next", .text = "Select next slice", .tip = "Next slice", .icon = "up", .keys = "PgUp"},
        {.id = "slice.flip",
         .text = "Flip between two slices",
         .tip = "Go to the slice that was shown before this one, and back",
         .keys = "F"},
        {.id = "slice.nextLacking",
         .text = "Next slice without the model",
         .tip = "Go to the next slice that lacks the current model between others",
         .keys = "N"},
        {.id = "view.ghosts",
         .text = "Neighbours' outlines",
         .tip = "Show the outlines of the slices before and behind, dashed",
         .keys = "H",
         .checkable = true},
        {.id = "view.crosshair",
         .text = "Crosshair",
         .tip = "Show the same place in all windows of the stack: click on a slice, in a cut, or on a surface in space",
         .keys = "P",
         .checkable = true,
         .whileLocked = true},
        {.id = "crosshair.place",
         .text = "Crosshair to the pointer",
         .tip = "Point at the place under the pointer in all windows, whatever the tool",
         .keys = "Shift+P",
         .whileLocked = true},
        {.id = "crosshair.find",
         .text = "Go to the crosshair",
         .tip = "Go to the slice and the place that the crosshair points at",
         .keys = "Ctrl+Shift+P"},
        {.id = "view.scaleBar", .text = "Scale bar", .tip = "Show how long a part of the slice is", .checkable = true},
        {.id = "slice.last", .text = "Select last slice", .tip = "Last slice", .icon = "top", .keys = "End"},
    };
}

std::vector<CommandInfo> showAndHelpCommands() {
    return {
        {.id = "show.toolBar",
         .text = "Tool bar",
         .tip = "Show or hide the tool bar",
         .checkable = true,
         .whileLocked = true},
        {.id = "show.browser",
         .text = "Browser",
         .tip = "Show or hide the lists of stacks and slices",
         .checkable = true,
         .whileLocked = true},
        {.id = "show.statusBar",
         .text = "Status bar",
         .tip = "Show or hide the status bar",
         .checkable = true,
         .whileLocked = true},
        {.id = "show.models", .text = "Models", .tip = "Show or hide the panel of models", .checkable = true},
        {.id = "show.history", .text = "History", .tip = "Show or hide the list of steps", .checkable = true},
        {.id = "show.toolOptions",
         .text = "Tool options",
         .tip = "Show or hide the options of the current tool",
         .checkable = true,
         .whileLocked = true},
        {.id = "show.cuts",
         .text = "Cuts",
         .tip = "Show or hide cuts across the slices, from left to right (XZ) and from top to bottom (YZ)",
         .checkable = true,
         .whileLocked = true},
        {.id = "help.homepage",
         .text = "Vorlen Homepage [web]",
         .tip = "Open the program's page in the browser",
         .whileLocked = true},
        {.id = "help.manual",
         .text = "Vorlen Manual [web]",
         .tip = "Open the manual in the browser",
         .whileLocked = true},
        {.id = "help.mailingList",
         .text = "Subscribe mailing list [web]",
         .tip = "Open the page of the mailing list in the browser",
         .whileLocked = true},
        {.id = "help.shortcuts",
         .text = "Keyboard shortcuts",
         .tip = "List the commands of all windows, and change their keys",
         .keys = "Ctrl+?",
         .whileLocked = true},
        {.id = "help.about", .text = "About Vorlen", .tip = "Version and authors", .whileLocked = true},
    };
}

CommandSheet newSheet() {
    constexpr const char* line = commandSeparator;
    CommandSheet sheet;
    sheet.window = "Main window";
    for (const auto& commands :
         {fileCommands(), editCommands(), processAndAnalyzeCommands(), viewCommands(), showAndHelpCommands()})
        sheet.commands.insert(sheet.commands.end(), commands.begin(), commands.end());
    sheet.menus = {
        {"File",
         {"stack.new", "stack.newFromFile", "stack.open", "stack.recent", "stack.save", "stack.saveAs", "stack.close",
          "stack.closeAll", line, "window.new", "window.close", line, "program.quit"}},
        {"Edit",
         {"edit.undo", "edit.redo", "edit.clearHistory", line, "models.edit", "model.new", "model.rename",
          "model.colour", line, "slice.insert", "slice.delete", "stack.findImages", "stack.properties",
          "slice.properties", "stack.annotate", "slice.annotate", line, "program.preferences"}},
        {"Process",
         {"stack.register", "stack.reconstruct", "models.transfer", "stack.findSpots", "stacks.normalize",
          "groups.compare", "models.filter"}},
        {"Analyze", {"stack.measure", "stacks.spotDistances"}},
        {"Show",
         {"show.toolBar", "show.browser", "show.statusBar", "show.models", "show.history", "show.toolOptions",
          "show.cuts", line, "view.contrast", "view.ghosts", "view.scaleBar", line, "view.crosshair", "crosshair.place",
          "crosshair.find", line, "slice.flip", "slice.nextLacking"}},
        {"Help", {"help.homepage", "help.manual", "help.mailingList", line, "help.shortcuts", line, "help.about"}},
        {"Tool bar",
         {"stack.open", "stack.save", "stack.close", "view.panorama", "view.slice", "stack.register",
          "stack.reconstruct", "edit.undo", "edit.redo", "view.overview"}},
        {"Tool bar: slices", {"slice.first", "slice.previous", "slice.next", "slice.last"}},
    };
    return sheet;
}

} // namespace

const CommandSheet& rootCommands() {
    static const CommandSheet sheet = newSheet();
    return sheet;
}

} // namespace vorlen
