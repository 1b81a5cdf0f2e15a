#include "ui/viewer/viewercommands.h"

namespace vorlen {

const std::vector<CommandInfo>& viewerCommands() {
    static const std::vector<CommandInfo> commands = {
        {.id = "viewer.snapshot", .text = "Snapshot", .tip = "Save the picture to a file"},
        {.id = "viewer.record", .text = "Record", .tip = "Record a video"},
        {.id = "pose.standard1", .text = "Standard pose 1", .tip = "Look along the z axis"},
        {.id = "pose.standard2", .text = "Standard pose 2", .tip = "Look along the x axis"},
        {.id = "pose.standard3", .text = "Standard pose 3", .tip = "Look along the y axis"},
        {.id = "pose.reverse1", .text = "Reverse standard pose 1", .tip = "Look along the z axis from the other side"},
        {.id = "pose.reverse2", .text = "Reverse standard pose 2", .tip = "Look along the x axis from the other side"},
        {.id = "pose.reverse3", .text = "Reverse standard pose 3", .tip = "Look along the y axis from the other side"},
        {.id = "pose.fit", .text = "Fit to window", .tip = "Let the shapes fill the picture", .keys = "F"},
        {.id = "motion.animation", .text = "Toggle animation", .tip = "Show the selected shapes in turn, or stop"},
        {.id = "motion.random",
         .text = "Toggle random motion",
         .tip = "Turn the scene at random, or stop (R in the picture)"},
        {.id = "motion.spinning", .text = "Toggle spinning motion", .tip = "Let the scene spin, or stop"},
        {.id = "motion.angle", .text = "Set motion angle...", .tip = "Set how far a step of the motion turns"},
        {.id = "motion.timeout", .text = "Set motion timeout...", .tip = "Set the time between steps of the motion"},
    };
    return commands;
}

const CommandMenu& viewerFileMenu() {
    static const CommandMenu menu = {"File", {"viewer.snapshot", "viewer.record"}};
    return menu;
}

const CommandMenu& viewerPoseMenu() {
    static const CommandMenu menu = {"Pose",
                                     {"pose.standard1", "pose.standard2", "pose.standard3", "pose.reverse1",
                                      "pose.reverse2", "pose.reverse3", commandSeparator, "motion.animation",
                                      "motion.random", "motion.spinning", "motion.angle", "motion.timeout"}};
    return menu;
}

} // namespace vorlen
