#include "ui/registration/registrationcommands.h"

namespace vorlen {

namespace {

std::vector<CommandInfo> registrationAndEditCommands() {
    return {
        {.id = "registration.apply",
         .text = "Apply",
         .tip = "Give the slice the registration that is shown",
         .keys = "Ctrl+Return"},
        {.id = "registration.reset", .text = "Reset", .tip = "No shift and no rotation", .keys = "Ctrl+0"},
        {.id = "registration.restore", .text = "Restore", .tip = "Go back to the registration that the slice has"},
        {.id = "registration.lock",
         .text = "Locked",
         .tip = "The slice keeps its registration",
         .keys = "Ctrl+L",
         .checkable = true},
        {.id = "registration.run",
         .text = "Register this slice",
         .tip = "Look for the place of this slice on the one before it",
         .keys = "Ctrl+G"},
        {.id = "registration.runAll",
         .text = "Register all slices",
         .tip = "Look for the places of all slices, one after the other",
         .keys = "Ctrl+Shift+G"},
        {.id = "registration.bend",
         .text = "Bend slices...",
         .tip = "Bend squeezed or torn slices onto each other, into a new stack"},
        {.id = "registration.cancelRun",
         .text = "Stop",
         .tip = "Stop automatic registration, keeping the slices that are done, the bending, or the setting of "
                "landmarks",
         .keys = "Esc",
         .whileLocked = true},
        {.id = "window.close", .text = "Close", .tip = "Close this window", .keys = "Ctrl+W", .whileLocked = true},
        {.id = "edit.undo",
         .text = "Undo",
         .tip = "Take back the last change of the stack, or what was not applied",
         .icon = "undo",
         .keys = "Ctrl+Z"},
        {.id = "edit.redo",
         .text = "Redo",
         .tip = "Do again what was taken back",
         .icon = "redo",
         .keys = "Ctrl+R; Ctrl+Shift+Z"},
    };
}

std::vector<CommandInfo> adjustCommands() {
    return {
        {.id = "nudge.left", .text = "Left", .tip = "A pixel to the left", .keys = "Left"},
        {.id = "nudge.right", .text = "Right", .tip = "A pixel to the right", .keys = "Right"},
        {.id = "nudge.up", .text = "Up", .tip = "A pixel up", .keys = "Up"},
        {.id = "nudge.down", .text = "Down", .tip = "A pixel down", .keys = "Down"},
        {.id = "nudge.farLeft", .text = "Far left", .tip = "Ten pixels to the left", .keys = "Shift+Left"},
        {.id = "nudge.farRight", .text = "Far right", .tip = "Ten pixels to the right", .keys = "Shift+Right"},
        {.id = "nudge.farUp", .text = "Far up", .tip = "Ten pixels up", .keys = "Shift+Up"},
        {.id = "nudge.farDown", .text = "Far down", .tip = "Ten pixels down", .keys = "Shift+Down"},
        {.id = "nudge.bitLeft", .text = "A bit left", .tip = "A tenth of a pixel to the left", .keys = "Ctrl+Left"},
        {.id = "nudge.bitRight", .text = "A bit right", .tip = "A tenth of a pixel to the right", .keys = "Ctrl+Right"},
        {.id = "nudge.bitUp", .text = "A bit up", .tip = "A tenth of a pixel up", .keys = "Ctrl+Up"},
        {.id = "nudge.bitDown", .text = "A bit down", .tip = "A tenth of a pixel down", .keys = "Ctrl+Down"},
        {.id = "turn.left", .text = "Turn left", .tip = "A tenth of a degree counter-clockwise", .keys = "Alt+Left; ,"},
        {.id = "turn.right", .text = "Turn right", .tip = "A tenth of a degree clockwise", .keys = "Alt+Right; ."},
    };
}

std::vector<CommandInfo> sliceAndViewCommands() {
    return {
        {.id = "slice.first",
         .text = "First slice",
         .tip = "The second slice of the stack",
         .icon = "bottom",
         .keys = "Home"},
        {.id = "slice.previous", .text = "Previous slice", .tip = "The slice before", .icon = "down", .keys = "PgDown"},
        {.id = "slice.next", .text = "Next slice", .tip = "The slice after", .icon = "up", .keys = "PgUp"},
        {.id = "slice.last", .text = "Last slice", .tip = "The last slice of the stack", .icon = "top", .keys = "End"},
        {.id = "slice.worstFirst",
         .text = "List worst fit first",
         .tip = "List the slices by how badly they fit the one before them",
         .checkable = true},
        {.id = "view.bigger", .text = "Bigger", .tip = "Show the images larger", .icon = "zoomin", .keys = "+"},
        {.id = "view.smaller", .text = "Smaller", .tip = "Show the images smaller", .icon = "zoomout", .keys = "-"},
        {.id = "view.frames",
         .text = "Frames",
         .tip = "Borders and centre lines of both images",
         .keys = "F",
         .checkable = true},
        {.id = "view.blink", .text = "Blink", .tip = "Show the two slices in turns", .keys = "B", .checkable = true},
        {.id = "view.checkerboard",
         .text = "Checkerboard",
         .tip = "Show the two slices in squares side by side",
         .keys = "K",
         .checkable = true},
        {.id = "view.strips",
         .text = "Cuts through the stack",
         .tip = "Show the stack as registered from the side, where misaligned slices stand out",
         .keys = "T",
         .checkable = true},
        {.id = "landmarks.set",
         .text = "Set landmarks",
         .tip = "Click the same spots on both slices, one after the other",
         .keys = "L",
         .checkable = true},
        {.id = "landmarks.fit",
         .text = "Fit landmarks",
         .tip = "The shift and rotation that bring the pairs together best",
         .keys = "Ctrl+F"},
        {.id = "landmarks.clear", .text = "Clear landmarks", .tip = "Forget the landmarks of this slice"},
    };
}

CommandSheet newRegistrationSheet() {
    constexpr const char* line = commandSeparator;
    CommandSheet sheet;
    sheet.window = "Registration window";
    for (const auto& commands : {registrationAndEditCommands(), adjustCommands(), sliceAndViewCommands()})
        sheet.commands.insert(sheet.commands.end(), commands.begin(), commands.end());
    sheet.menus = {
        {"Registration",
         {"registration.apply", "registration.reset", "registration.restore", "registration.lock", line,
          "registration.run", "registration.runAll", "registration.bend", "registration.cancelRun", line,
          "window.close"}},
        {"Edit", {"edit.undo", "edit.redo"}},
        {"Adjust",
         {"nudge.left", "nudge.right", "nudge.up", "nudge.down", line, "nudge.farLeft", "nudge.farRight", "nudge.farUp",
          "nudge.farDown", line, "nudge.bitLeft", "nudge.bitRight", "nudge.bitUp", "nudge.bitDown", line, "turn.left",
          "turn.right"}},
        {"Slices", {"slice.first", "slice.previous", "slice.next", "slice.last", line, "slice.worstFirst"}},
        {"Landmarks", {"landmarks.set", "landmarks.fit", "landmarks.clear"}},
        {"View",
         {"view.bigger", "view.smaller", line, "view.frames", "view.blink", "view.checkerboard", line, "view.strips"}},
    };
    return sheet;
}

} // namespace

const CommandSheet& registrationCommands() {
    static const CommandSheet sheet = newRegistrationSheet();
    return sheet;
}

} // namespace vorlen
