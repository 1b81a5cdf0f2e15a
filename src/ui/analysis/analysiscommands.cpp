#include "ui/analysis/analysiscommands.h"

namespace vorlen {

const CommandSheet& analysisCommands() {
    static const CommandSheet sheet = {
        "Analysis window",
        {
            {.id = "window.close", .text = "Close", .tip = "Close this window", .keys = "Ctrl+W"},
            {.id = "sheet.save",
             .text = "Save ...",
             .tip = "Saves the sheet in front as tab-separated text",
             .keys = "Ctrl+S"},
            {.id = "sheet.copy",
             .text = "Copy",
             .tip = "Copies the selected cells with their headers",
             .keys = "Ctrl+C"},
        },
        {{"File", {"window.close", "sheet.save"}}, {"Edit", {"sheet.copy"}}},
    };
    return sheet;
}

} // namespace vorlen
